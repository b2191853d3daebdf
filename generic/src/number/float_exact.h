// Floats and exact numerics, from one to the other.
#ifndef VDX_NUMBER_FLOAT_EXACT_H
#define VDX_NUMBER_FLOAT_EXACT_H

#include "number/float_format.h"
#include "number/numeric.h"

namespace vdx {

// The float (F is float or double) nearest to a numeric of scale 0 to 77, ties to even. Returns
// VDX_SUCCESS, VDX_OVERFLOW with the largest float of the sign, or VDX_UNDERFLOW with a zero of the
// sign.
template <typename F>
std::int32_t nearest_float(const Exact& exact, F& value);

// A finite double, to the last bit, rounded half away from zero at a scale of 0 to 77. What passes
// 256 bits becomes the largest magnitude of 256 bits, which no numeric can hold either.
Exact exact_double(double value, std::int32_t scale);

}  // namespace vdx

#endif
