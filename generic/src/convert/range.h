// What becomes of a value outside of its destination's range, for all integers and money: the
// nearest limit is stored, and the code says so.
#ifndef VDX_CONVERT_RANGE_H
#define VDX_CONVERT_RANGE_H

#include <concepts>
#include <limits>
#include <type_traits>

#include "vdxcomn/types.h"

namespace vdx {

template <typename T>
concept Integral = std::integral<T> && !std::same_as<T, bool>;

template <Integral T>
constexpr T nearest_limit(bool below) {
  return below ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
}

// A negative value is an underflow of ui2, ui4 and ui8. For i1, which is unsigned as well, and for
// signed types every value outside is an overflow.
template <Integral T>
constexpr std::int32_t range_code(bool below) {
  return below && std::is_unsigned_v<T> && sizeof(T) > 1 ? VDX_UNDERFLOW : VDX_OVERFLOW;
}

// Both at once: stores the limit and returns the code.
template <Integral T>
constexpr std::int32_t saturate(bool below, T& to) {
  to = nearest_limit<T>(below);
  return range_code<T>(below);
}

}  // namespace vdx

#endif
