// Hexadecimal digits, and texts longer than those that every conversion is tried with.
#include "characters.h"
#include "number/hex.h"

namespace {

using namespace vdx_test;

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

TEST(Hexadecimal, EveryLengthBothWays) {
  Random random(3);
  for (std::size_t n = 0; n <= 70; ++n) {
    Bytes bytes(n);
    std::string text;
    for (std::uint8_t& b : bytes) {
      b = static_cast<std::uint8_t>(random.below(256));
      (text += kHexDigits[b >> 4]) += kHexDigits[b & 15];
    }
    Bytes digits(2 * n + 1, kGuard);
    vdx::hex_encode(bytes.data(), n, digits.data());
    EXPECT_EQ(std::string(digits.begin(), digits.end() - 1), text);
    EXPECT_EQ(digits.back(), kGuard);
    for (std::uint8_t& d : digits)
      if (d >= 'a' && random.below(2) != 0) d &= 0xDF;
    Bytes back(n + 1, kGuard);
    EXPECT_TRUE(vdx::hex_decode(digits.data(), n, back.data()));
    EXPECT_EQ(Bytes(back.begin(), back.end() - 1), bytes);
    EXPECT_EQ(back.back(), kGuard);
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

TEST(LongText, FillsCountedRecordsToTheLastByte) {
  Table table;
  const std::string d(256, '7'), b(128, 'w');
  const std::u32string kana(85, U'\u3042'), more = kana + std::u32string(42, U'\u3042');
  const std::u32string zeros(100000, U'\uFF10');
  const Bytes half = bytes_of("abc\x82"), far = bytes_of(d + d + "\xFF");
  const auto in = [](Set set, const std::u32string& text) { return *encode(set, U"'" + text); };
  // Length and bytes, without what follows them in a record.
  const auto counted = [](const auto& text) {
    Bytes bytes = varchar_image(std::string(text.begin(), text.end()));
    bytes.resize(2 + text.size());
    return bytes;
  };
  const struct {
    std::int32_t from;
    Bytes source;
    std::int32_t to, code, length;
    Bytes start;  // of the destination
    Set set = Set::utf8, to_set = Set::utf8;
  } rows[] = {
      {VDX_CHAR, bytes_of(d + d), VDX_VARBIN, 1, 258, counted(b + b)},
      {VDX_CHAR, bytes_of(d + d + "7"), VDX_VARBIN, VDX_TRUNCATED, 258, {0, 1, 7, 'w'}},
      {VDX_CHAR, bytes_of(d + d + "x"), VDX_VARBIN, VDX_SYNTAX, 0, {}},
      {VDX_VARBIN, counted(b), VDX_VARCHAR, 1, 258, counted(d)},
      {VDX_VARBIN, counted(b + "7"), VDX_VARCHAR, VDX_OVERFLOW, 258, counted(d)},
      // Whole characters; quotation marks stay single.
      {VDX_CHAR, in(Set::utf8, kana), VDX_VARCHAR, 1, 258, counted(in(Set::utf8, kana))},
      {VDX_CHAR, in(Set::utf8, more), VDX_VARCHAR, VDX_TRUNCATED, 258,
       counted(in(Set::utf8, kana))},
      {VDX_CHAR, in(Set::utf8, more), VDX_VARCHAR, 1, 258, counted(in(Set::sjis, more)), Set::utf8,
       Set::sjis},
      {VDX_CHAR, in(Set::utf8, more + U"\u3042"), VDX_VARCHAR, VDX_TRUNCATED, 258,
       counted(in(Set::sjis, more)), Set::utf8, Set::sjis},
      // The end cuts a character in two, or is none, however far behind the room.
      {VDX_CHAR, far, VDX_CHAR, VDX_MALFORMED_UNICODE, 0, {}, Set::utf8, Set::latin1},
      {VDX_CHAR, half, VDX_CHAR, VDX_MALFORMED_UNICODE, 0, {}, Set::sjis, Set::latin1},
      {VDX_CHAR, half, VDX_VARCHAR, VDX_MALFORMED_UNICODE, 258, {}, Set::sjis, Set::latin1},
      // Numbers are of any length, dates are not.
      {VDX_UNITEXT, encode_utf16(zeros + U"7"), VDX_I4, 1, 4, image(7)},
      {VDX_UNITEXT, encode_utf16(zeros), VDX_DATEA, VDX_SYNTAX, 0, {}},
  };
  for (const auto& row : rows)
    for (const std::int32_t room : {1, 600}) {
      SCOPED_TRACE(&row - rows);
      const Result result = convert(table.context, row.from, row.source, row.to,
                                    {.flags = VDX_FMT_QUOTE,
                                     .maxlength = room,
                                     .locale = locale_of(row.set),
                                     .to_locale = locale_of(row.to_set)});
      EXPECT_EQ(result.code, row.code);
      EXPECT_EQ(result.length, row.length);
      EXPECT_TRUE(std::equal(row.start.begin(), row.start.end(), result.bytes.begin())) << result;
    }
}

TEST(LongText, NoUtf16IsFoundAtTheEnd) {
  Table table;
  for (std::int32_t to = 0; to < VDX_DATATYPES; ++to) {
    const vdx_convfn function = com_conv_func(&table.context, VDX_UNICHAR, to);
    if (to == 20 || function == nullptr) continue;
    Bytes text = encode_utf16(std::u32string(70, U'1'));
    text.push_back(' ');
    const std::int32_t length = to == VDX_UNICHAR ? 0 : comn_typelen(to, 0);
    for (int odd = 1; odd >= 0; --odd) {
      const Result result = convert(table.context, VDX_UNICHAR, text, to, {.precision = 10});
      EXPECT_TRUE(result.code == VDX_MALFORMED_UNICODE && result.length == length) << to;
      text.pop_back();
      for (const std::uint32_t unit : {0xDE00U, 0xD83DU}) {
        const Bytes half = encode_unit(unit);
        text.insert(text.end(), half.begin(), half.end());
      }
    }
  }
}

TEST(LongTextDeath, RefusesTheRetiredCodeOfI8) {
  Table table;
  EXPECT_EQ(com_conv_func(&table.context, VDX_UNITEXT, 20), &comn_unichartoi8);
  EXPECT_FATAL(convert(table.context, VDX_UNICHAR, encode_unit('1'), 20, {0, 8}),
               "assertion failed, file 'com_unichar.list' line 7");
}

}  // namespace
