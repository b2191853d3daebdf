// The default matrix: which function serves each pair of built-in datatypes.
#ifndef VDX_CONVERT_MATRIX_H
#define VDX_CONVERT_MATRIX_H

#include <array>

#include "convert/call.h"

namespace vdx {

inline constexpr std::size_t kCells = static_cast<std::size_t>(kCodes) * kCodes;

// Row by row, kCodes cells a source; null where the pair has no conversion.
using Matrix = std::array<vdx_convfn, kCells>;
const Matrix& matrix();

}  // namespace vdx

#endif
