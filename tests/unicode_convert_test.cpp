// Conversions from and to UTF-16: values against the same conversions of single-byte text, texts
// against a slow model of units.
#include <string>

#include "checks.h"
#include "support.h"

namespace {

using vdx_test::Bytes;
using vdx_test::bytes_of;
using vdx_test::convert;
using vdx_test::Format;
using vdx_test::image;
using vdx_test::kGuard;
using vdx_test::Result;
using vdx_test::Table;
using vdx_test::varchar_image;

Bytes units(std::u16string_view text, bool swapped = false) {
  Bytes bytes;
  for (const char16_t unit : text) {
    const auto low = static_cast<std::uint8_t>(unit), high = static_cast<std::uint8_t>(unit >> 8);
    bytes.insert(bytes.end(), {swapped ? high : low, swapped ? low : high});
  }
  return bytes;
}

std::string utf8(std::u16string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t c = text[i];
    if ((c & 0xFC00) == 0xD800) c = 0x10000 + ((c & 0x3FF) << 10) + (text[++i] & 0x3FF);
    if (c < 0x80) {
      bytes += static_cast<char>(c);
      continue;
    }
    const int rest = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    bytes += static_cast<char>((0xF0 << (3 - rest) & 0xF0) | c >> (6 * rest));
    for (int at = 6 * rest - 6; at >= 0; at -= 6) bytes += static_cast<char>(0x80 | (c >> at & 63));
  }
  return bytes;
}

// The flags of four bits: terminated, padded in two ways, swapped.
std::uint32_t flags_of(std::uint32_t bits) { return (bits & 7) | (bits >> 3) * VDX_FMT_SWAP; }

std::u16string widened(std::u16string text) {
  for (char16_t& unit : text)
    if (unit >= ' ' && unit < 0x7F)
      unit = unit == ' ' ? u'\u3000' : static_cast<char16_t>(unit + 0xFEE0);
  return text;
}

struct Locale {
  vdx_locale* locale = nullptr;
  explicit Locale(const char* charset) {
    EXPECT_EQ(comn_loc_alloc(nullptr, charset, &locale), XS_SUCCEED);
  }
  ~Locale() { comn_loc_drop(nullptr, locale); }
  Locale(const Locale&) = delete;
  Locale& operator=(const Locale&) = delete;
};

// Everything that is read from text, in every dress that a text can have.
TEST(UnicodeConvert, ReadsValuesAsFromUtf8) {
  Table table;
  const Locale locale("utf8");
  ASSERT_EQ(comn_loc_set(locale.locale, VDX_LOC_MONTH + 2, "M\xC3\xA4rz", VDX_NULLTERM), 1);
  const std::u16string rows[] = {
      u"0", u"-42", u" + 42 ", u"255", u"256", u"-129", u"32768", u"-2147483648", u"2147483648",
      u"9223372036854775807", u"-9223372036854775809", u"18446744073709551616", u"4 2", u"+-1",
      u"-", u" ", u"x", u"12x", u"99999999999999999999x", u"$1,234.56", u"-$ 0.00005", u"1.5e3",
      u"2008-01-02 13:05:09.123", u"Jan  2 2008  1:05PM", u"2008-13-02", u"13:05:09.9", u"+1.25",
      u"1753-01-01", u"0001-01-01", u"2 M\u00E4rz 2008", u"\u20AC 12.50", u"\u221242", u"\u00A512",
      // Units whose bytes are digits, blanks and signs, and others that stand for nothing.
      u"\u3131", u"\u2020\u3131", u"\u2D31\u3030", u"7\u2020\u2020", u"\U0001F600", u"1\u00E91",
      u"\u0431\u0432", std::u16string(1, u'\0'), u"\t5", u"0xaBc", u"0X", u"1 2", u"00ff7", u"5\t"};
  const int destinations[] = {VDX_I1,          VDX_I2,       VDX_I4,      VDX_I8,    VDX_UI2,
                              VDX_UI4,         VDX_UI8,      VDX_BIT,     VDX_MONEY, VDX_MNY4,
                              VDX_NUM,         VDX_FLT4,     VDX_FLT8,    VDX_DATE4, VDX_DATEA,
                              VDX_TIMEA,       VDX_DATETIME, VDX_LONGBIN, VDX_IMAGE, VDX_VARBIN,
                              VDX_BIGDATETIME, VDX_BIGTIME};
  for (const std::u16string& row : rows)
    for (const int destination : destinations) {
      if (com_conv_func(&table.context, VDX_UNITEXT, destination) == nullptr) continue;
      for (const std::u16string& text :
           {row, widened(row), std::u16string(20, u' ') + row, row + std::u16string(200, u' '),
            std::u16string(900, u' ') + widened(row) + std::u16string(900, u'\u3000')}) {
        SCOPED_TRACE(utf8(row) + " to " + std::to_string(destination) +
                     ", units: " + std::to_string(text.size()));
        const Format format{0, -1, 30, 4, locale.locale};
        const Result expected =
            convert(table.context, VDX_CHAR, bytes_of(utf8(text)), destination, format);
        const Result result = convert(table.context, VDX_UNICHAR, units(text), destination, format);
        EXPECT_EQ(result.code, expected.code);
        EXPECT_EQ(result.length, expected.length);
        if (expected.code != VDX_SYNTAX) {
          EXPECT_EQ(result.bytes, expected.bytes);
        }
      }
    }
  // Wide forms are read in sets that lack them, too; a number may be longer than any buffer.
  for (const std::u16string& text : {std::u16string(u"2008-01-02"), widened(u"2008-01-02")})
    EXPECT_EQ(convert(table.context, VDX_UNICHAR, units(text), VDX_DATEA).as<std::int32_t>(),
              39447);
  const std::u16string zeros(100000, u'\uFF10');
  EXPECT_EQ(convert(table.context, VDX_UNITEXT, units(zeros + u"7"), VDX_I4).as<int>(), 7);
  EXPECT_EQ(convert(table.context, VDX_UNITEXT, units(zeros), VDX_DATEA).code, VDX_SYNTAX);
}

TEST(UnicodeConvert, RefusesWhatIsNoUtf16) {
  Table table;
  const Bytes rows[] = {Bytes{0x31},
                        units(u"12\xDC00"),
                        units(u"\xD800"),
                        units(u"1\xD83D "),
                        units(std::u16string(70, u'1') + u"\xDE00\xD83D"),
                        Bytes(257, ' ')};
  for (std::int32_t destination = 0; destination < VDX_DATATYPES; ++destination) {
    if (destination == 20 || com_conv_func(&table.context, VDX_UNICHAR, destination) == nullptr)
      continue;
    const std::int32_t length = destination == VDX_UNICHAR ? 0 : comn_typelen(destination, 0);
    for (const Bytes& row : rows) {
      const Result result = convert(table.context, VDX_UNICHAR, row, destination, {0, -1, 10, 0});
      EXPECT_EQ(result.code, VDX_MALFORMED_UNICODE) << destination;
      EXPECT_EQ(result.length, length) << destination;
    }
  }
}

// The text of a value in units is its text in bytes, with twice the room.
TEST(UnicodeConvert, WritesValuesAsWideText) {
  Table table;
  const Locale locale("iso_1");
  ASSERT_EQ(comn_loc_set(locale.locale, VDX_LOC_SHORT_MONTH, "J\xE4n", VDX_NULLTERM), 1);
  table.context.locale = locale.locale;
  const std::pair<int, Bytes> sources[] = {
      {VDX_I1, {200}},
      {VDX_I2, image(std::int16_t{-32768})},
      {VDX_I4, image(std::int32_t{-7})},
      {VDX_I8, image(INT64_MIN)},
      {VDX_UI2, image(std::uint16_t{65535})},
      {VDX_UI4, image(std::uint32_t{0})},
      {VDX_UI8, image(UINT64_MAX)},
      {VDX_BIT, {1}},
      {VDX_BIT, {2}},
      {VDX_MNY4, image(std::int32_t{-12345})},
      {VDX_MONEY, image(vdx_money{INT32_MIN, 0})},
      {VDX_FLT8, image(-1.5e-300)},
      {VDX_NUM, image(vdx_num{3, 1, {0, 1}})},
      {VDX_DATETIME, image(vdx_datetime{39447, 14130000})},
      {VDX_DATE4, image(vdx_date4{39447, 785})},
      {VDX_DATEA, image(std::int32_t{2958464})},
      {VDX_BIGTIME, image(std::uint64_t{1})},
      {VDX_IMAGE, Bytes(13, 0xAB)},
      {VDX_BIN, Bytes(29, 0x1F)},
  };
  for (const auto& [source, value] : sources) {
    if (com_conv_func(&table.context, source, VDX_UNICHAR) == nullptr) continue;
    for (std::uint32_t bits = 0; bits < 16; ++bits)
      for (std::int32_t room = 0; room < 62; ++room) {
        const std::size_t swapped = bits >> 3;
        SCOPED_TRACE(testing::Message() << source << " flags " << bits << " room " << room);
        const Result narrow = convert(table.context, source, value, VDX_CHAR, {bits & 7, room / 2});
        const Result wide =
            convert(table.context, source, value, VDX_UNITEXT, {flags_of(bits), room});
        EXPECT_EQ(wide.code, narrow.code);
        for (std::size_t i = 0; i < narrow.bytes.size(); ++i) {
          EXPECT_EQ(wide.bytes[2 * i + swapped], narrow.bytes[i]);
          EXPECT_EQ(wide.bytes[2 * i + 1 - swapped], narrow.bytes[i] == kGuard ? kGuard : 0);
        }
        if (room % 2 == 0) {
          EXPECT_EQ(wide.length, narrow.length < 0 ? narrow.length : 2 * narrow.length);
        } else {  // half a unit is zero where something follows the text
          EXPECT_EQ(wide.bytes.back(), wide.length == room ? 0 : kGuard);
        }
      }
  }
}

// Text to UTF-16 by the letter.
Result unit_model(std::u16string_view text, std::uint32_t flags, std::int32_t room) {
  const bool terminate = (flags & VDX_FMT_TERMINATE) != 0;
  const std::size_t limit = static_cast<std::size_t>(room / 2) - (terminate && room > 1 ? 1 : 0);
  Result result{1, 0, Bytes(static_cast<std::size_t>(room), kGuard)};
  if (text.size() > limit) {
    result.code = VDX_TRUNCATED;
    text = text.substr(0, limit > 0 && (text[limit - 1] & 0xFC00) == 0xD800 ? limit - 1 : limit);
  }
  std::u16string all(text);
  const auto whole = static_cast<std::size_t>(room / 2);
  if ((flags & 6) == 6 && all.size() + terminate <= whole)
    result.code = VDX_BAD_PADDING;
  else if ((flags & 6) != 0)
    all.resize(whole, (flags & VDX_FMT_PADNULL) != 0 ? u'\0' : u' ');
  if (terminate && whole > 0 && result.code != VDX_BAD_PADDING) {
    if ((flags & 6) == 0)
      all += u'\0';
    else
      all.back() = u'\0';
  }
  const Bytes bytes = units(all, (flags & VDX_FMT_SWAP) != 0);
  std::copy(bytes.begin(), bytes.end(), result.bytes.begin());
  result.length = static_cast<std::int32_t>(bytes.size());
  if ((flags & 6) != 0 && result.code != VDX_BAD_PADDING && whole >= terminate) {
    if (room % 2 != 0) result.bytes.back() = 0;
    result.length = room;
  }
  return result;
}

TEST(UnicodeConvert, CutsTextOnWholeCharacters) {
  Table table;
  const Locale locale("utf8");
  const std::u16string text = u"a'\u00E9\u4E2D\U0001F600z\U0010FFFF'";
  for (std::uint32_t bits = 0; bits < 16; ++bits)
    for (std::int32_t room = 0; room < 30; ++room) {
      const std::uint32_t flags = flags_of(bits);
      SCOPED_TRACE(testing::Message() << "flags " << flags << " room " << room);
      const Result expected = unit_model(text, flags, room);
      const Format format{flags, room, 0, 0, locale.locale};
      EXPECT_EQ(convert(table.context, VDX_UNICHAR, units(text), VDX_UNITEXT, format), expected);
      EXPECT_EQ(convert(table.context, VDX_TEXT, bytes_of(utf8(text)), VDX_UNITEXT, format),
                expected);
      EXPECT_EQ(convert(table.context, VDX_VARCHAR, varchar_image(utf8(text)), VDX_UNITEXT, format),
                expected);
    }
  // Into other sets as from UTF-8.
  for (const char* charset : {"iso_1", "sjis", "utf8"}) {
    const Locale destination(charset);
    table.context.locale = destination.locale;
    for (std::uint32_t bits = 0; bits < 16; ++bits)
      for (std::int32_t room = 0; room < 30; ++room) {
        SCOPED_TRACE(testing::Message() << charset << " flags " << bits << " room " << room);
        const Format format{(bits & 7) | (bits >> 3) * VDX_FMT_QUOTE, room, 0, 0, locale.locale};
        for (const int datatype : {VDX_LONGCHAR, VDX_VARCHAR})
          EXPECT_EQ(convert(table.context, VDX_UNICHAR, units(text), datatype, format),
                    convert(table.context, VDX_CHAR, bytes_of(utf8(text)), datatype, format));
      }
    table.context.locale = nullptr;
  }
  // Bytes that are no characters, before and behind the cut.
  for (const char* malformed : {"ab\xFF", "abcdefgh\xC3"})
    EXPECT_EQ(convert(table.context, VDX_CHAR, bytes_of(malformed), VDX_UNICHAR,
                      {0, 8, 0, 0, locale.locale})
                  .code,
              VDX_MALFORMED_UNICODE);
}

TEST(UnicodeConvertDeath, RefusesTheRetiredCode) {
  Table table;
  const vdx_convfn function = com_conv_func(&table.context, VDX_UNITEXT, 20);
  EXPECT_EQ(function, &comn_unichartoi8);
  EXPECT_EQ(com_conv_func(&table.context, VDX_UNICHAR, 20), function);
  EXPECT_FATAL(convert(table.context, VDX_UNICHAR, units(u"1"), 20, {0, 8}),
               "assertion failed, file 'com_unichar.list' line 7");
}

}  // namespace
