// Hexadecimal digits.
#include "number/hex.h"
#include "support.h"

namespace {

using namespace vdx_test;

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

// Every length, and every byte at every place of the shorter ones.
TEST(Hexadecimal, IsWrittenAndRead) {
  Random random(3);
  for (std::size_t n = 0; n <= 70; ++n) {
    Exact bytes(n), digits(2 * n), back(n);
    std::string text;
    for (std::size_t i = 0; i < n; ++i) {
      bytes.data[i] = static_cast<std::uint8_t>(random.below(256));
      (text += kHexDigits[bytes.data[i] >> 4]) += kHexDigits[bytes.data[i] & 15];
    }
    vdx::hex_encode(bytes.data, n, digits.data);
    ASSERT_EQ(digits.first(2 * n), text);
    for (std::size_t at = 0; at < 2 * n && n <= 40; ++at)
      for (int c = 0; c < 256; ++c) {
        const std::uint8_t was = std::exchange(digits.data[at], static_cast<std::uint8_t>(c));
        const std::size_t found = kHexDigits.find(static_cast<char>(c));
        const bool is_digit = found != std::string_view::npos;
        ASSERT_EQ(vdx::all_hex(digits.data, 2 * n), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::all_hex(digits.data, at + 1), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::hex_decode(digits.data, n, back.data), is_digit) << n << ' ' << at;
        const std::size_t value = found < 16 ? found : found - 6, byte = bytes.data[at / 2];
        const std::size_t wanted = at % 2 == 0 ? value * 16 + byte % 16 : byte / 16 * 16 + value;
        ASSERT_TRUE(!is_digit || back.data[at / 2] == wanted) << n << ' ' << at << ' ' << c;
        digits.data[at] = was;
      }
    ASSERT_TRUE(vdx::hex_decode(digits.data, n, back.data));
    ASSERT_EQ(back.first(n), bytes.first(n));
  }
}

}  // namespace
