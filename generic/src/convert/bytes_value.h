// Byte strings as values: from hexadecimal text, from and to images.
#ifndef VDX_CONVERT_BYTES_VALUE_H
#define VDX_CONVERT_BYTES_VALUE_H

#include "convert/kinds.h"

namespace vdx {}  // namespace vdx

#endif
