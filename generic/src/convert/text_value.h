// Text as a value of its own: text to text, its padding, quoting and character sets.
#ifndef VDX_CONVERT_TEXT_VALUE_H
#define VDX_CONVERT_TEXT_VALUE_H

#include "convert/kinds.h"

namespace vdx {}  // namespace vdx

#endif
