// Exact numerics as values: the kind of num and decimal, and how they become other numbers.
#ifndef VDX_CONVERT_EXACT_VALUE_H
#define VDX_CONVERT_EXACT_VALUE_H

#include "convert/kinds.h"

namespace vdx {}  // namespace vdx

#endif
