// The default matrix: which function serves each pair of built-in datatypes.
#ifndef VDX_CONVERT_MATRIX_H
#define VDX_CONVERT_MATRIX_H

#include <array>

#include "convert/call.h"

namespace vdx {

struct Cell {
  bool named;           // the pair has a conversion in the complete library
  vdx_convfn function;  // null where it is missing
};

inline constexpr std::size_t kCells = static_cast<std::size_t>(kCodes) * kCodes;

// Row by row, kCodes cells a source.
const std::array<Cell, kCells>& matrix();

}  // namespace vdx

#endif
