// Hexadecimal digits, and texts longer than those that every conversion is tried with.
#include "characters.h"
#include "number/hex.h"

namespace {

using namespace vdx_test;

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

TEST(Hexadecimal, EveryLengthBothWays) {
  Random random(3);
  for (std::size_t n = 0; n <= 70; ++n) {
    Exact bytes(n), digits(2 * n), back(n);
    std::string text;
    for (std::size_t i = 0; i < n; ++i) {
      bytes.data[i] = static_cast<std::uint8_t>(random.below(256));
      (text += kHexDigits[bytes.data[i] >> 4]) += kHexDigits[bytes.data[i] & 15];
    }
    vdx::hex_encode(bytes.data, n, digits.data);
    EXPECT_EQ(digits.first(2 * n), text);
    for (std::size_t i = 0; i < 2 * n; ++i)
      if (text[i] >= 'a' && random.below(2) != 0) digits.data[i] &= 0xDF;
    EXPECT_TRUE(vdx::hex_decode(digits.data, n, back.data));
    EXPECT_EQ(back.first(n), bytes.first(n));
  }
}

TEST(Hexadecimal, EveryByteAtEveryPlace) {
  for (std::size_t n = 1; n <= 40; ++n)
    for (std::size_t at = 0; at < 2 * n; ++at)
      for (int c = 0; c < 256; ++c) {
        Bytes text(2 * n, '9'), bytes(n);
        text[at] = static_cast<std::uint8_t>(c);
        const std::size_t found = kHexDigits.find(static_cast<char>(c));
        const bool is_digit = found != std::string_view::npos;
        ASSERT_EQ(vdx::all_hex(text.data(), 2 * n), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::all_hex(text.data(), at + 1), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::hex_decode(text.data(), n, bytes.data()), is_digit) << n << ' ' << at;
        if (!is_digit) continue;
        const std::size_t value = found < 16 ? found : found - 6;
        ASSERT_EQ(bytes[at / 2], at % 2 == 0 ? value * 16 + 9 : 9 * 16 + value);
      }
}

TEST(LongText, IsReadToItsEnd) {
  Table table;
  const std::u32string zeros(100000, U'\uFF10');
  const std::string cut(512, '7');
  const struct {
    std::int32_t from;
    Bytes source;
    std::int32_t to, code, length;
    Set set = Set::utf8;
  } rows[] = {
      // The end is no character, or half of one, however far behind the room.
      {VDX_CHAR, bytes_of(cut + "\xFF"), VDX_CHAR, VDX_MALFORMED_UNICODE, 0},
      {VDX_CHAR, bytes_of(cut + "\x82"), VDX_VARCHAR, VDX_MALFORMED_UNICODE, 258, Set::sjis},
      // Numbers are of any length, dates are not.
      {VDX_UNITEXT, encode_utf16(zeros + U"7"), VDX_I4, 1, 4},
      {VDX_UNITEXT, encode_utf16(zeros), VDX_DATEA, VDX_SYNTAX, 0},
  };
  for (const auto& row : rows)
    for (const std::int32_t room : {1, 600}) {
      SCOPED_TRACE(&row - rows);
      const Format format{.maxlength = room, .locale = locale_of(row.set)};
      const Result result = convert(table.context, row.from, row.source, row.to, format);
      EXPECT_TRUE(result.code == row.code && result.length == row.length) << result;
      EXPECT_TRUE(row.to != VDX_I4 || result.as<std::int32_t>() == 7);
    }
}

}  // namespace
