// Floats as values: how they become other numbers and text.
#ifndef VDX_CONVERT_FLOAT_VALUE_H
#define VDX_CONVERT_FLOAT_VALUE_H

#include "convert/kinds.h"

namespace vdx {}  // namespace vdx

#endif
