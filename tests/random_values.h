// Random values of every datatype, drawn alike by every build and on every platform.
#ifndef VDX_TESTS_RANDOM_VALUES_H
#define VDX_TESTS_RANDOM_VALUES_H

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "vdxcomn.h"

namespace vdx_test {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_;
  }
  std::uint64_t below(std::uint64_t n) { return (next() >> (n >> 31 == 0 ? 33 : 11)) % n; }
  // A number of any size: as many bits as come up.
  std::uint64_t sized() { return next() >> below(64); }
  template <class List>
  const auto& of(const List& list) {
    return list[below(std::size(list))];
  }

 private:
  std::uint64_t state_;
};

constexpr std::size_t kRandomRoom = 320;  // bytes that hold any of these values

// A text of a number, a date, of hexadecimal digits or of anything; its length.
inline std::size_t random_text(Random& random, char* to) {
  static constexpr std::string_view kTexts[] = {// clang-format off
      "Jan  2 2008  1:05PM", "2008-01-02 13:05:09.123456", "31.12.1999", "23:59:59.999",
      "$1,234.5678", "-0.00005", "1e-40", "-1.7976931348623157e308", "nan", "0x00ff7f", "it's", "   ",
      "\xC3\xA9\xE2\x82\xAC", "\xF0\x9F\x98\x80 smile", "19000101"};
  // clang-format on
  const auto number = [&](std::uint32_t n) { return static_cast<int>(random.below(n)); };
  int n = 0;
  switch (random.below(5)) {
    case 0:
      n = std::snprintf(to, 64, "%" PRId64, static_cast<std::int64_t>(random.sized()));
      break;
    case 1: {
      const int exponent = number(80) - 40;
      const std::uint64_t fraction = random.sized(), whole = random.sized();
      n = std::snprintf(to, 64, "-%" PRIu64 ".%" PRIu64 "e%d", whole, fraction, exponent);
      break;
    }
    case 2: {
      const int second = number(61), minute = number(61), hour = number(25), day = number(33),
                month = number(14), year = number(11000);
      n = std::snprintf(to, 64, "%d-%d-%d %d:%d:%d", year, month, day, hour, minute, second);
      break;
    }
    case 3:
      return random.of(kTexts).copy(to, 64);
    default:
      n = 1 + number(40);
      for (int i = 0; i < n; ++i) to[i] = static_cast<char>(random.sized());
  }
  return static_cast<std::size_t>(n);
}

// A value of the datatype, most of them valid, zeros after it. Its length: the datatype's own,
// or else that of its text.
inline std::int32_t random_value(Random& random, std::int32_t datatype, unsigned char* to) {
  const std::int32_t fixed = comn_typelen(datatype, -1);
  const auto put = [to, fixed](const auto& value) {
    std::memcpy(to, &value, sizeof value);
    return fixed;
  };
  const auto number = [&](std::uint32_t n) { return static_cast<std::int32_t>(random.below(n)); };
  std::memset(to, 0, kRandomRoom);
  switch (datatype) {
    case VDX_NUM:
    case VDX_DECIMAL: {
      vdx_num value{};
      value.precision = static_cast<std::uint8_t>(1 + random.below(77));
      value.scale = static_cast<std::uint8_t>(random.below(78));
      value.value[0] = static_cast<std::uint8_t>(random.below(2));
      const std::int32_t bytes = comb_get_Prec_To_Len(value.precision), used = 1 + number(33);
      for (std::int32_t i = bytes > used ? bytes - used : 1; i < bytes; ++i)
        value.value[i] = static_cast<std::uint8_t>(random.next());
      return put(value);
    }
    case VDX_BIT:
      return put(static_cast<std::uint8_t>(random.below(2)));
    case VDX_DATETIME:  // drawn from left to right
      return put(vdx_datetime{number(3012154) - 53690, number(25920001)});
    case VDX_DATEA:
      return put(number(3652061) - 693597);
    case VDX_TIMEA:
      return put(number(25920001));
    case VDX_BIGDATETIME:
      return put(random.next() % 315569520000000001);
    case VDX_BIGTIME:
      return put(random.next() % 86400000001);
    case VDX_VARCHAR:
    case VDX_VARBIN:
    case VDX_UNICHAR:
      break;
    default:
      if (fixed > 0) return put(random.below(2) != 0 ? random.sized() : 0 - random.sized());
  }
  char text[128];
  const std::size_t n = random_text(random, text);
  if (datatype == VDX_VARCHAR || datatype == VDX_VARBIN) {
    std::memcpy(to + 2, text, n);
    return put(static_cast<std::int16_t>(n));
  }
  const std::size_t unit = datatype == VDX_UNICHAR || datatype == VDX_UNITEXT ? 2 : 1;
  for (std::size_t i = 0; i < n; ++i) to[unit * i] = static_cast<unsigned char>(text[i]);
  if (unit == 2 && random.below(8) == 0) to[2 * random.below(n) + 1] = 0xD8;
  return static_cast<std::int32_t>(unit * n);
}

}  // namespace vdx_test

#endif
