// Columns inside: the fast ways of com_column.cpp. A way converts a block of rows at once and lists
// those that it cannot take, which then go through the single conversion; where it takes a row, it
// stores what that would store, and the code is VDX_SUCCESS.
#ifndef VDX_CONVERT_COLUMN_H
#define VDX_CONVERT_COLUMN_H

#include <cstddef>
#include <cstdint>

namespace vdx {

// Rows of a block: their scratch stays in the first cache, and bitmaps go by whole words.
inline constexpr std::size_t kBlockRows = 256;

// The texts of a block: row i is from at(i) to before at(i + 1).
struct BlockTexts {
  const unsigned char* values;
  const std::int64_t* offsets;
};

// Converts n (1 to kBlockRows) texts to packed values. Lists the rows that are left, whose destination
// keeps its bytes; returns how many.
using TextWay = std::size_t(const BlockTexts& texts, std::size_t n, unsigned char* destination,
                            std::uint16_t* left);

// The most bytes of the text of an integer of 32 bits.
inline constexpr std::int64_t kLongestInteger = 11;

// Converts n packed integers to texts without a gap, whose destination has kLongestInteger bytes for
// each; those whose bit in `given` is clear have none. ends receives where each text ends.
using DigitsWay = void(const unsigned char* source, std::size_t n, const std::uint64_t* given,
                       unsigned char* destination, std::int64_t* ends);

// The ways of this processor for datatype codes; null where there is none.
TextWay* text_way(std::int32_t destination);
DigitsWay* digits_way(std::int32_t source);

}  // namespace vdx

#endif
