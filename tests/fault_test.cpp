// What a record says of a failure, and that it changes nothing else.
#include <cmath>

#include "characters.h"
#include "frame/fault.h"

namespace {

using namespace vdx_test;

struct Faulty : Table {
  vdx_fault fault{};
  Faulty() {
    fault.size = sizeof fault;
    context.fault = &fault;
  }
  std::string sentence() const {
    char text[256];
    std::int32_t length = 0;
    EXPECT_EQ(comn_fault_text(&context, &fault, text, sizeof text, &length), VDX_SUCCESS);
    return {text, static_cast<std::size_t>(length)};
  }
};

struct Row {
  std::int32_t destination;
  const char32_t* text;
  std::int64_t offset, length;  // in characters
  const char* sentence;
  Format format = {};
};

TEST(Fault, SaysWhereAndWhy) {
  const Row rows[] = {
      {VDX_I4, U"2330830000", 0, 10, "\"2330830000\" is above 2147483647"},
      {VDX_I2, U" -40000 ", 1, 6, "\"-40000\" is below -32768"},
      {VDX_UI8, U"-1", 0, 1, "the number cannot be negative"},
      {VDX_I4, U"+ -1", 2, 1, "\"-\" is a second sign"},
      {VDX_I4, U"4 2", 2, 1, "\"2\" is left over"},
      {VDX_I1, U"12x", 2, 1, "\"x\" is unexpected"},
      {VDX_MONEY, U"$1,23,4", 5, 1, "\",\" does not follow three digits"},
      {VDX_MONEY, U"1.2.3", 3, 1, "\".\" is a second point"},
      {VDX_MONEY, U"$ -$1", 3, 1, "\"$\" is a second currency symbol"},
      {VDX_MNY4, U"-$300,000.5 ", 0, 11, "\"-$300,000.5\" is below -214748.3648"},
      {VDX_FLT8, U"1e", 2, 0, "a number is missing at the end"},
      {VDX_FLT8, U"1e+x", 3, 1, "\"x\" is unexpected"},
      {VDX_FLT8, U"naan", 2, 1, "\"a\" is unexpected"},
      {VDX_FLT8, U"- .e5", 3, 1, "\"e\" is unexpected"},
      {VDX_FLT4, U" 4e38", 1, 4, "\"4e38\" is above 3.4028235e+38"},
      {VDX_FLT8, U"-1e-999", 0, 7, "\"-1e-999\" is nearer to zero than 5e-324"},
      {VDX_NUM, U"-123.4", 0, 6, "\"-123.4\" is below -9.99", {0, -1, 3, 2}},
      {VDX_NUM, U"1", 0, 0, "precision 78 is not 1 to 77", {0, -1, 78, 2}},
      {VDX_NUM, U"1..2", 2, 1, "\".\" is a second point", {0, -1, 9, 2}},
      {VDX_BIN, U" 0xab g", 6, 1, "\"g\" is left over"},
      {VDX_VARBIN, U"abxd", 2, 1, "\"x\" is no hexadecimal digit"},
      {VDX_BIN, U"0x0102030405", 6, 6, "\"030405\" does not fit into 2 bytes", {0, 2}},
      {VDX_DATETIME, U"2008-13-02", 5, 2, "month 13 is not 1 to 12"},
      {VDX_DATETIME, U"feb 30 2008 ", 4, 2, "day 30 is not 1 to 29"},
      {VDX_DATEA, U"20080230", 6, 2, "day 30 is not 1 to 29"},
      {VDX_BIGDATETIME, U"10:61 0000-01-01", 6, 4, "year 0 is not 1 to 9999"},
      {VDX_TIMEA, U"25:00", 0, 2, "hour 25 is not 0 to 23"},
      {VDX_BIGTIME, U"1:02:3.99999999", 7, 8, "fraction 99999999 is not 0 to 999999"},
      {VDX_DATETIME, U"13:05 AM", 6, 2, "\"AM\" contradicts hour 13"},
      {VDX_DATETIME, U"5 jun 2008 yesterday", 11, 9, "\"yesterday\" is no month"},
      {VDX_DATETIME, U"5 jun 2008 7", 11, 1, "\"7\" is left over"},
      {VDX_DATETIME, U"1/2", 3, 0, "a part of the date is missing at the end"},
      {VDX_DATETIME, U"1752-12-31", 0, 10, "\"1752-12-31\" is below 1753-01-01"},
      {VDX_DATE4, U"2079-06-07", 0, 10, "\"2079-06-07\" is above 2079-06-06 23:59"},
      {VDX_DATE4, U"1899-12-31", 0, 10, "\"1899-12-31\" is below 1900-01-01"},
      {VDX_CHAR, U"abcdef", 4, 2, "\"ef\" does not fit into 4 bytes", {0, 4}},
      {VDX_CHAR, U"it's", 2, 2, "\"'s\" does not fit into 3 bytes", {VDX_FMT_QUOTE, 3}},
      {VDX_CHAR, U"ab", 1, 1, "\"b\" does not fit into 1 bytes", {VDX_FMT_TERMINATE, 2}},
  };
  Faulty faulty;
  for (const Row& row : rows)
    for (const bool is_wide : {false, true}) {
      const std::u32string text = row.text;
      const Bytes value = is_wide ? encode_utf16(text) : *encode(Set::latin1, text);
      const std::int64_t unit = is_wide ? 2 : 1;
      const Result result = convert(faulty.context, is_wide ? VDX_UNICHAR : VDX_CHAR, value,
                                    row.destination, row.format);
      EXPECT_EQ(faulty.fault.code, result.code);
      EXPECT_EQ(faulty.fault.row, -1);
      EXPECT_EQ(faulty.sentence(), row.sentence);
      EXPECT_EQ(std::tuple(faulty.fault.offset, faulty.fault.length),
                std::tuple(row.offset * unit, row.length * unit))
          << row.sentence << (is_wide ? ", UTF-16" : "");
    }
}

TEST(Fault, KnowsCharactersAndOtherSources) {
  Faulty faulty;
  const auto check = [&](std::int32_t source, const Bytes& value, std::int32_t destination,
                         const Format& format, const std::string& wanted) {
    const Result result = convert(faulty.context, source, value, destination, format);
    EXPECT_LT(result.code, 0);
    std::ostringstream got;
    got << faulty.fault.offset << '+' << faulty.fault.length << ' ' << faulty.sentence();
    EXPECT_EQ(got.str(), wanted);
  };
  vdx_locale* const utf8 = locale_of(Set::utf8);
  vdx_locale* const sjis = locale_of(Set::sjis);
  const auto text = [](std::string_view bytes) { return bytes_of(bytes); };
  check(VDX_CHAR, text("ab\xE3\x81"), VDX_UNICHAR, {0, -1, 0, 0, utf8},
        "2+2 \"\\xe3\\x81\" is a part of a character");
  check(VDX_CHAR, text("\xC3\xA9\xFFz"), VDX_UNICHAR, {0, -1, 0, 0, utf8},
        "2+1 \"\\xff\" is no character");
  check(VDX_CHAR, text("\xC3\xA9\xE2\x82\xAC"), VDX_CHAR, {0, -1, 0, 0, utf8, nullptr},
        "2+3 \"\xE2\x82\xAC\" is not in the character set");
  check(VDX_CHAR, text("1\x82\x50\x82\xA0"), VDX_I4, {0, -1, 0, 0, sjis},
        "3+2 \"\xE3\x81\x82\" is unexpected");
  check(
      VDX_VARCHAR,
      [] {
        auto b = Bytes(258);
        b[0] = 2, b[2] = '7', b[3] = 1;
        return b;
      }(),
      VDX_I4, {}, "1+1 \"\\x01\" is unexpected");
  check(VDX_UNICHAR, slice(encode_utf16(U"a\U0001F600"), 0, 4), VDX_CHAR, {},
        "2+2 \"\\x3d\\xd8\" is a part of a character");
  check(VDX_I8, image(std::int64_t{2330830000}), VDX_I4, {},
        "0+0 \"2330830000\" is above 2147483647");
  check(VDX_FLT8, image(-1e300), VDX_MONEY, {}, "0+0 \"-1e+300\" is below -922337203685477.5808");
  check(VDX_FLT8, image(std::nan("")), VDX_I4, {}, "0+0 the source is not a number");
  check(VDX_BIT, {2}, VDX_I4, {}, "0+0 the source is no value of its datatype");
  check(VDX_I4, image(12345), VDX_CHAR, {0, 3}, "0+0 the value does not fit into 3 bytes");
  check(VDX_DATEA, image(std::int32_t{-60000}), VDX_DATETIME, {},
        "0+0 \"1735-09-23\" is below 1753-01-01");
}

// Valid texts, damaged in one byte: what is at fault is where the damage is, or after it, behind
// bytes that some value begins with. The damage may be what ends the part of a date that is at fault.
TEST(Fault, FindsADamagedByte) {
  struct Reader {
    std::int32_t destination;
    std::vector<std::string> texts;
  };
  const std::vector<std::string> integers = {" 1234567 ", "+ 42"},
                                 dates = {"2008-01-02 13:05:09.123", "Feb  2 2008  1:05PM",
                                          "20080102", "02/03/2004 10:15:01:004"};
  const Reader readers[] = {{VDX_I1, {" 12 ", "+7"}},
                            {VDX_I2, {" 1234 "}},
                            {VDX_I4, integers},
                            {VDX_I8, {"-12345678901", " - 42"}},
                            {VDX_UI2, {"123"}},
                            {VDX_UI4, integers},
                            {VDX_UI8, integers},
                            {VDX_BIT, {"1", " 0"}},
                            {VDX_FLT4, {"1.5e10", " -.5"}},
                            {VDX_FLT8, {"-12.50e+100 ", " inf", "nan"}},
                            {VDX_MONEY, {"$1,234,567.8912", " - 12.5 "}},
                            {VDX_MNY4, {"$12,345.67"}},
                            {VDX_NUM, {"-12345.678 ", "1.5e-3"}},
                            {VDX_BIN, {" 0x0aFF12 "}},
                            {VDX_DATETIME, dates},
                            {VDX_DATE4, {"2008-01-02 13:05", "Feb 2 2008"}},
                            {VDX_DATEA, dates},
                            {VDX_TIMEA, {"13:05:09.123", "5 PM"}},
                            {VDX_BIGDATETIME, dates},
                            {VDX_BIGTIME, {"13:05:09.123456", "12AM"}}};
  Faulty faulty;
  for (const Set set : kSets)
    for (const Reader& reader : readers)
      for (const std::string& valid : reader.texts)
        for (std::size_t at = 0; at < valid.size(); ++at)
          for (const char damage : std::string_view("x-.,/:+ $09aeM\x01\x7F\x81\xE9")) {
            std::string text = valid;
            text[at] = damage;
            const bool is_number =
                reader.destination < VDX_DATETIME ||
                (reader.destination > VDX_DATE4 && reader.destination < VDX_DATEA) ||
                (reader.destination >= VDX_I8 && reader.destination <= VDX_UI8);
            const Format format{0, -1, 12, 4, locale_of(set)};
            faulty.fault.code = 0;
            const auto code_of = [&](const std::string& bytes) {
              return convert(faulty.context, VDX_CHAR, bytes_of(bytes), reader.destination, format)
                  .code;
            };
            if (const std::int32_t code = code_of(text); code >= 0) {
              EXPECT_EQ(faulty.fault.code, 0) << "success leaves a record alone";
              continue;
            }
            const vdx_fault fault = faulty.fault;
            const auto offset = static_cast<std::size_t>(fault.offset);
            const std::size_t end = offset + static_cast<std::size_t>(fault.length);
            const auto say = [&] {
              return testing::Message()
                     << valid << " -> " << text << " into " << reader.destination << ": " << offset
                     << " to " << end << ", " << faulty.sentence();
            };
            EXPECT_NE(fault.reason, VDX_REASON_NONE) << say();
            EXPECT_LE(end, text.size()) << say();
            EXPECT_TRUE(end + (is_number ? 0 : 1) > at || offset >= at) << say();
            if (offset <= at || !is_number) continue;
            bool is_viable = false;
            for (const char* more : {"", "0", "1", "000", "an", "f"})
              is_viable |= offset != 0 && code_of(text.substr(0, offset) + more) != VDX_SYNTAX;
            EXPECT_TRUE(is_viable) << valid << " -> " << text << " at " << offset;
          }
}

// All pairs, random values: codes, lengths and bytes are those without a record, whose bytes beyond
// its size stay; and a context that ends before the field is not read there.
TEST(Fault, ChangesNothing) {
  Random random(115);
  Table plain;
  plain.context.version = 114;
  plain.context.fault = reinterpret_cast<vdx_fault*>(8);  // not to be followed
  Faulty faulty;
  std::uint8_t value[kRandomRoom];
  int failures = 0;
  for (std::int32_t source = 0; source < VDX_DATATYPES; ++source)
    for (std::int32_t destination = 0; destination < VDX_DATATYPES; ++destination)
      for (int i = 0; i < 60; ++i) {
        if (com_conv_func(&plain.context, source, destination) == nullptr) break;
        const auto n = static_cast<std::size_t>(random_value(random, source, value));
        if (n == 0 || n > kRandomRoom || destination == 20) continue;
        if (source == VDX_VARCHAR || source == VDX_VARBIN)
          if (value[0] == 0 && value[1] == 0) continue;
        const Bytes bytes(value, value + n);
        Format format{static_cast<std::uint32_t>(random.below(128)),
                      -1,
                      static_cast<std::int32_t>(random.below(80)),
                      static_cast<std::int32_t>(random.below(80)),
                      locale_of(random.of(kSets)),
                      locale_of(random.of(kSets))};
        if (comn_typelen(destination, 0) == 0 || destination == VDX_UNICHAR)
          format.maxlength = static_cast<std::int32_t>(random.below(48));
        vdx_fault untouched;
        std::memset(&untouched, 0x5A, sizeof untouched);
        faulty.fault = untouched;
        faulty.fault.size = static_cast<std::uint32_t>(random.below(sizeof(vdx_fault) + 1));
        const std::uint32_t size = faulty.fault.size;
        const Result without = convert(plain.context, source, bytes, destination, format);
        const Result with = convert(faulty.context, source, bytes, destination, format);
        EXPECT_EQ(with, without) << source << " to " << destination;
        const std::size_t kept = with.code < 0 && size > 4 ? size : 4;
        const auto* const record = reinterpret_cast<const char*>(&faulty.fault);
        EXPECT_EQ(std::memcmp(record + kept, reinterpret_cast<const char*>(&untouched) + kept,
                              sizeof untouched - kept),
                  0);
        EXPECT_EQ(faulty.fault.size, size);
        if (with.code < 0 && size >= 8) {
          EXPECT_EQ(faulty.fault.code, with.code);
          ++failures;
          if (size >= 12) {
            EXPECT_NE(faulty.fault.reason, VDX_REASON_NONE)
                << source << " to " << destination << " code " << with.code;
          }
        }
      }
  EXPECT_GT(failures, 5000);
}

TEST(Fault, TranscodingAndRows) {
  Faulty faulty;
  char out[8];
  std::int32_t length;
  EXPECT_EQ(com_intl_xlate(&faulty.context, "utf8", "iso_1", "a\xE2\x82\xAC", 4, out, 8, &length),
            VDX_TRANSLATION);
  EXPECT_EQ(std::tuple(faulty.fault.offset, faulty.fault.length), std::tuple(1, 3));
  EXPECT_EQ(com_intl_xlate(&faulty.context, "latin", "utf8", "a", 1, out, 8, &length),
            VDX_TRANSLATION);
  EXPECT_EQ(faulty.sentence(), "the character set is not known");
  EXPECT_EQ(comn_charset_convert(&faulty.context, locale_of(Set::utf8), "abc\xC3\xA9", 5, nullptr,
                                 out, 3, &length),
            VDX_TRUNCATED);
  EXPECT_EQ(faulty.sentence(), "\"\xC3\xA9\" does not fit into 3 bytes");
  EXPECT_EQ(faulty.fault.offset, 3);
  // A cut sentence keeps whole characters.
  EXPECT_EQ(comn_fault_text(nullptr, &faulty.fault, out, 2, &length), VDX_TRUNCATED);
  EXPECT_EQ(length, 1);
  vdx::note_row(&faulty.context, 7);
  EXPECT_EQ(faulty.fault.row, 7);
  {
    const vdx::FaultKept kept(&faulty.context);
    vdx::note_row(&faulty.context, 8);
  }
  EXPECT_EQ(faulty.fault.row, 7);
}

TEST(Fault, WordsOfCodes) {
  std::string names;
  for (std::int32_t code = 1; code >= -230; --code)
    if (const std::string name = comn_code_name(code); name != "unknown") {
      names += name.substr(0, 3);
      EXPECT_EQ(std::strlen(comn_code_sqlstate(code)), 5u);
      EXPECT_STRNE(comn_code_text(code), comn_code_text(99));
    }
  EXPECT_STREQ(comn_code_name(VDX_OVERFLOW), "VDX_OVERFLOW");
  EXPECT_STREQ(comn_code_name(1), "VDX_SUCCESS");
  EXPECT_EQ(names.size() / 3, 14u + 16u);
  EXPECT_EQ(comn_version_number(), VDX_VERSION_NUMBER);
  int major, minor, patch;
  EXPECT_EQ(std::sscanf(comn_version(), "%d.%d.%d", &major, &minor, &patch), 3);
  EXPECT_EQ(major * 1000000 + minor * 1000 + patch, VDX_VERSION_NUMBER);
}

}  // namespace
