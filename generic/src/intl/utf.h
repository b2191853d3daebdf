// UTF-8 and UTF-16 without a record of attributes: what unicode.cpp builds the conversions from.
#ifndef VDX_INTL_UTF_H
#define VDX_INTL_UTF_H

#include <cstddef>
#include <cstdint>

#include "frame/memory.h"
#include "intl/unicode.h"

namespace vdx {

inline constexpr char32_t kReplacement = 0xFFFD;

// Of a unit or a code point.
constexpr bool is_surrogate(std::uint32_t code) { return (code & ~0x7FFu) == 0xD800; }
constexpr bool is_high_surrogate(std::uint32_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool is_low_surrogate(std::uint32_t unit) { return (unit & 0xFC00) == 0xDC00; }

// At any address.
VDX_INLINE std::uint16_t unit_at(const std::uint8_t* units, std::size_t i) {
  return load<std::uint16_t>(units + 2 * i);
}

// Whether units i and i + 1 of n, the first of them a surrogate, are one character.
VDX_INLINE bool surrogate_pair_at(const std::uint8_t* units, std::size_t i, std::size_t n) {
  return n - i > 1 && is_high_surrogate(unit_at(units, i)) &&
         is_low_surrogate(unit_at(units, i + 1));
}

template <bool Swapped>
VDX_INLINE void put_unit(std::uint8_t* units, std::size_t i, std::uint32_t unit) {
  if constexpr (Swapped) unit = (unit << 8 & 0xFF00) | (unit >> 8 & 0xFF);
  store(units + 2 * i, static_cast<std::uint16_t>(unit));
}

// Places the leading bytes below Limit (0x80 or 0x100) as units and returns their number. There are
// n bytes, and room for n units. If not to_the_end, some of those at its end may be left.
template <std::uint32_t Limit, bool Swapped>
std::size_t widen_run(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                      bool to_the_end = true);

// Places the leading units below Limit (0x80 or 0x100) as bytes and returns their number; likewise.
template <std::uint32_t Limit>
std::size_t narrow_run(const std::uint8_t* units, std::size_t n, std::uint8_t* to,
                       bool to_the_end = true);

// may_shuffle: whether to use what the processor has beyond the build's own instructions. The results
// are the same.
template <bool Swapped>
Transcoded utf8_to_utf16(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room, bool may_shuffle = true);

Transcoded utf16_to_utf8(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room, bool may_shuffle = true);

}  // namespace vdx

#endif
