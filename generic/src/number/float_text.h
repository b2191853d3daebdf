// The shortest text of a float that reads back the same. F is float or double.
#ifndef VDX_NUMBER_FLOAT_TEXT_H
#define VDX_NUMBER_FLOAT_TEXT_H

#include "number/digits.h"

namespace vdx {

// In the layout of std::to_chars: fixed or scientific, whichever is shorter, fixed where both are
// equally long. "nan" whatever its sign and payload.
template <typename F>
ShortText float_text(F value);

}  // namespace vdx

#endif
