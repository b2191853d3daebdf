// Character sets, character services and locales.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "checks.h"
#include "intl/locale.h"
#include "vdxcomn/intl.h"

namespace {

const std::uint8_t* bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::int32_t length_of(std::string_view text) { return static_cast<std::int32_t>(text.size()); }

// The classes of a character, one letter each: Alpha, Upper, Lower, Digit, Space, Punctuation, $.
std::string classes(const vdx_charattr& set, std::string_view c) {
  struct Test {
    char letter;
    std::int32_t (*holds)(const vdx_charattr*, const std::uint8_t*, std::int32_t);
  } const tests[] = {{'A', comn_isalpha},   {'U', comn_isupper}, {'L', comn_islower},
                     {'D', comn_isdigit},   {'S', comn_isspace}, {'P', comn_ispunct},
                     {'$', comn_iscurrency}};
  std::string result;
  for (const Test& test : tests)
    if (test.holds(&set, bytes(c), length_of(c)) == 1) result += test.letter;
  const bool is_alnum = result.find_first_of("AD") != std::string::npos;
  EXPECT_EQ(comn_isalnum(&set, bytes(c), length_of(c)), is_alnum ? 1 : 0);
  return result;
}

TEST(Charset, AsciiIsAlikeInEverySet) {
  for (const vdx::NamedCharset& set : vdx::kCharsets)
    for (int code = 0; code < 128; ++code) {
      SCOPED_TRACE(testing::Message() << set.name << " " << code);
      const char c = static_cast<char>(code);
      const std::string_view text(&c, 1);
      std::string expected;
      if (isalpha(code)) expected += isupper(code) ? "AU" : "AL";
      if (isdigit(code)) expected += "D";
      if (isspace(code)) expected += "S";
      if (ispunct(code)) expected += code == '$' ? "P$" : "P";
      EXPECT_EQ(classes(*set.attributes, text), expected);
      EXPECT_EQ(comn_to_ascii(set.attributes, bytes(text), 1), code);
      EXPECT_EQ(comn_whole_char(set.attributes, bytes(text), 1), 1);
      EXPECT_EQ(set.attributes->to_upper[code], toupper(code));
      EXPECT_EQ(set.attributes->to_lower[code], tolower(code));
    }
}

TEST(Charset, Characters) {
  const vdx_charattr &iso = vdx::kLatin1, &ascii = vdx::kAscii, &utf8 = vdx::kUtf8,
                     &sjis = vdx::kSjis;
  struct Row {
    const char* what;
    const vdx_charattr& set;
    std::string_view text;
    std::int32_t whole;
    std::int32_t ascii;
    const char* classes;
  } const rows[] = {
      {"E acute", iso, "\xC9", 1, 0, "AU"},
      {"feminine ordinal", iso, "\xAA", 1, 0, "A"},
      {"cent", iso, "\xA2", 1, 0, "P$"},
      {"yen", iso, "\xA5", 1, 0, "P$"},
      {"no-break space", iso, "\xA0", 1, 0, ""},
      {"byte outside", ascii, "\xC9", 1, 0, ""},

      {"wide 7", sjis, "\x82\x56", 2, '7', "D"},
      {"wide A", sjis, "\x82\x60", 2, 'A', "AU"},
      {"wide blank", sjis, "\x81\x40", 2, ' ', "S"},
      {"wide minus", sjis, "\x81\x7C", 2, '-', "P"},
      {"wide yen", sjis, "\x81\x8F", 2, 0, "P$"},
      {"hiragana a", sjis, "\x82\xA0", 2, 0, "A"},
      {"ideograph that ends in a backslash byte", sjis, "\x95\x5C", 2, 0, "A"},
      {"greek alpha", sjis, "\x83\xBF", 2, 0, "AL"},
      {"half-width katakana", sjis, "\xB1", 1, 0, "A"},
      {"open byte", sjis, "\xFD", 1, 0, ""},
      {"cut wide 7", sjis, {"\x82\x56", 1}, 2, 0, ""},
      {"bad trail", sjis, "\x82\x20", 2, 0, ""},

      {"e acute", utf8, "\xC3\xA9", 2, 0, "AL"},
      {"capital alpha", utf8, "\xCE\x91", 2, 0, "AU"},
      {"pound", utf8, "\xC2\xA3", 2, 0, "P$"},
      {"arabic digit", utf8, "\xD9\xA3", 2, 0, ""},
      {"euro", utf8, "\xE2\x82\xAC", 3, 0, "P$"},
      {"wide Z", utf8, "\xEF\xBC\xBA", 3, 'Z', "AU"},
      {"wide blank", utf8, "\xE3\x80\x80", 3, ' ', "S"},
      {"ideograph", utf8, "\xE6\x9C\x88", 3, 0, "A"},
      {"ideograph of four bytes", utf8, "\xF0\xA0\x80\x80", 4, 0, "A"},
      {"last code point", utf8, "\xF4\x8F\xBF\xBF", 4, 0, ""},
      {"cut wide 0", utf8, {"\xEF\xBC\x90", 2}, 3, 0, ""},
      {"bad continuation", utf8, "\xEF\xBC\x41", 3, 0, ""},
      {"bad second byte", utf8, "\xC3\x41", 2, 0, ""},
      {"overlong digit", utf8, "\xE0\x80\xB0", 3, 0, ""},
      {"continuation alone", utf8, "\xA9", 1, 0, ""},
      {"byte of no character", utf8, "\xFF", 1, 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(comn_whole_char(&row.set, bytes(row.text), length_of(row.text)), row.whole);
    EXPECT_EQ(comn_to_ascii(&row.set, bytes(row.text), length_of(row.text)), row.ascii);
    EXPECT_EQ(classes(row.set, row.text), row.classes);
  }
}

TEST(Charset, TextsFoldCharacterByCharacter) {
  struct Row {
    const vdx_charattr& set;
    std::string_view text;
    std::string folded;  // "?" for a character without a single-byte form
  } const rows[] = {
      {vdx::kSjis,
       "\x81\x7C\x81\x7B"
       "1\x82\x52\x82\x4F\x82\x58\x81\x44\x81\x43\x81\x46\x81\x5E\x81\x90"
       "\x81\x40\x82\x60\x82\x9A\x95\x5C-\x82",
       "-+1309.,:/$ Az?-?"},
      {vdx::kUtf8,
       "\xEF\xBC\x8D\xEF\xBC\x8B\xE2\x88\x92"
       "1\xEF\xBC\x93\xEF\xBC\x90\xEF\xBC\x99\xEF\xBC\x8E"
       "\xEF\xBC\x8C\xEF\xBC\x84\xE3\x80\x80\xEF\xBC\xA1\xEF\xBD\x9A\xEF\xBD\x9E\xC3\xA9-\xEF\xBC",
       "-+-1309.,$ Az~?-?"},
      {vdx::kLatin1, "1\xE9\xA0", "1\xE9\xA0"},
  };
  for (const Row& row : rows) {
    std::string folded;
    for (std::int32_t at = 0; at < length_of(row.text);) {
      const std::uint8_t* p = bytes(row.text) + at;
      const std::int32_t n = vdx::char_bytes(row.set, p, length_of(row.text) - at);
      const std::uint8_t fold = vdx::char_fold(row.set, p, n);
      folded += fold != 0 ? static_cast<char>(fold) : '?';
      at += n;
    }
    EXPECT_EQ(folded, row.folded);
  }
}

TEST(Charset, FourByteSets) {
  vdx_charattr set = vdx::kSjis;
  set.lead_class[255] |= 0xF0;
  EXPECT_EQ(comn_whole_char(&set, bytes("\x81\x30\x89\x38"), 4), 4);
  EXPECT_EQ(comn_whole_char(&set, bytes("\x81\x40\x89\x38"), 4), 2);
  EXPECT_EQ(comn_whole_char(&set, bytes("\x81\x30"), 1), 2);
  EXPECT_EQ(comn_whole_char(&vdx::kSjis, bytes("\x81\x30"), 2), 2);
  EXPECT_EQ(comn_to_ascii(&set, bytes("\x81\x30\x89\x38"), 4), 0);
}

TEST(Charset, CaseOfTexts) {
  struct Row {
    const vdx_charattr& set;
    std::string_view text, upper, lower;
  } const rows[] = {
      {vdx::kLatin1, "aZ1\xE9\xC0\xDF\xFF\xD7\xF7\xB5", "AZ1\xC9\xC0\xDF\xFF\xD7\xF7\xB5",
       "az1\xE9\xE0\xDF\xFF\xD7\xF7\xB5"},
      {vdx::kAscii, "aZ\xE9", "AZ\xE9", "az\xE9"},
      // The second byte of the first character looks like a letter.
      {vdx::kSjis, "\x83\x61q\x83\x41Q\x82", "\x83\x61Q\x83\x41Q\x82", "\x83\x61q\x83\x41q\x82"},
      {vdx::kUtf8, "\xC3\xA9xX", "\xC3\xA9XX", "\xC3\xA9xx"},
      {vdx::kUtf8, "", "", ""},
  };
  for (const Row& row : rows) {
    std::string upper(row.text), lower(row.text);
    comn_to_upper(&row.set, reinterpret_cast<std::uint8_t*>(upper.data()), length_of(upper));
    comn_to_lower(&row.set, reinterpret_cast<std::uint8_t*>(lower.data()), length_of(lower));
    EXPECT_EQ(upper, row.upper);
    EXPECT_EQ(lower, row.lower);
  }
}

std::int32_t allocations;
void* allocate(vdx_context*, size_t size) { return ++allocations, malloc(size); }
void* refuse(vdx_context*, size_t) { return nullptr; }

TEST(Locale, AllocateAndDrop) {
  vdx_context context = {};
  context.version = VDX_VERSION;
  for (const vdx::NamedCharset& set : vdx::kCharsets) {
    SCOPED_TRACE(set.name);
    vdx_locale* locale = nullptr;
    ASSERT_EQ(comn_loc_alloc(nullptr, set.name, &locale), XS_SUCCEED);
    vdx_datafmt format = {};
    EXPECT_EQ(com_intl_charattr(nullptr, nullptr), com_get_charattrib());
    EXPECT_EQ(com_intl_charattr(&context, &format), &vdx::kLatin1);
    context.locale = locale;
    EXPECT_EQ(com_intl_charattr(&context, &format), set.attributes);
    EXPECT_EQ(com_intl_charattr(&context, nullptr), set.attributes);
    // The format's comes first.
    context.locale = nullptr;
    format.locale = locale;
    EXPECT_EQ(com_intl_charattr(&context, &format), set.attributes);
    EXPECT_EQ(com_intl_charattr(nullptr, &format), set.attributes);
    EXPECT_EQ(comn_loc_drop(nullptr, locale), XS_SUCCEED);
  }
  vdx_locale* locale = reinterpret_cast<vdx_locale*>(&context);
  EXPECT_EQ(comn_loc_alloc(&context, "utf16", &locale), XS_FAIL);
  EXPECT_EQ(locale, nullptr);
  context.allocate = refuse;
  EXPECT_EQ(comn_loc_alloc(&context, "utf8", &locale), XS_MEM_ERROR);
  EXPECT_EQ(locale, nullptr);
  context.allocate = allocate;
  ASSERT_EQ(comn_loc_alloc(&context, "utf8", &locale), XS_SUCCEED);
  EXPECT_EQ(allocations, 1);
  EXPECT_EQ(comn_loc_drop(&context, locale), XS_SUCCEED);
}

TEST(Locale, Settings) {
  vdx_locale *locale = nullptr, *other = nullptr;
  ASSERT_EQ(comn_loc_alloc(nullptr, "sjis", &locale), XS_SUCCEED);
  ASSERT_EQ(comn_loc_alloc(nullptr, "utf8", &other), XS_SUCCEED);
  const vdx_locale& standard = vdx::locale_of(nullptr, nullptr);
  EXPECT_EQ(standard.date_order * 1000 + standard.date_style * 100 + standard.twelve_hour * 10 +
                standard.first_day,
            1007);
  EXPECT_STREQ(standard.months.table()[11], "December");
  EXPECT_STREQ(standard.short_months.table()[8], "Sep");
  EXPECT_STREQ(standard.weekdays.table()[0], "Sunday");

  struct Number {
    std::int32_t what, value, expected;
    const std::int32_t& setting;
  } const numbers[] = {
      {VDX_LOC_DATE_ORDER, 6, 1, locale->date_order},
      {VDX_LOC_DATE_ORDER, 7, 0, locale->date_order},
      {VDX_LOC_DATE_STYLE, 121, 1, locale->date_style},
      {VDX_LOC_TWELVE_HOUR, 1, 1, locale->twelve_hour},
      {VDX_LOC_TWELVE_HOUR, 2, 0, locale->twelve_hour},
      {VDX_LOC_FIRST_DAY, 1, 1, locale->first_day},
      {VDX_LOC_FIRST_DAY, 8, 0, locale->first_day},
      {VDX_LOC_FIRST_DAY, 0, 0, locale->first_day},
      {99, 1, 0, locale->date_order},
  };
  for (const Number& row : numbers) {
    SCOPED_TRACE(testing::Message() << row.what << " to " << row.value);
    const std::int32_t before = row.setting;
    EXPECT_EQ(comn_loc_set(locale, row.what, &row.value, 2), XS_FAIL);
    EXPECT_EQ(comn_loc_set(locale, row.what, &row.value, 4), row.expected);
    EXPECT_EQ(row.setting, row.expected == 1 ? row.value : before);
  }

  const std::string longest(VDX_LOC_NAME_MAX, 'm'), too_long(VDX_LOC_NAME_MAX + 1, 'm');
  struct Name {
    std::int32_t what;
    std::string_view value;
    std::int32_t length;
    const char* stored;  // null: refused
    const char* const& place;
  } const names[] = {
      {VDX_LOC_MONTH + 0, "Januar", VDX_NULLTERM, "Januar", locale->months.table()[0]},
      {VDX_LOC_MONTH + 11, "Dezember!", 8, "Dezember", locale->months.table()[11]},
      {VDX_LOC_SHORT_MONTH + 2, "M\xE4r", 3, "M\xE4r", locale->short_months.table()[2]},
      {VDX_LOC_WEEKDAY + 6, longest, VDX_NULLTERM, longest.c_str(), locale->weekdays.table()[6]},
      {VDX_LOC_WEEKDAY + 5, longest, VDX_LOC_NAME_MAX, longest.c_str(),
       locale->weekdays.table()[5]},
      {VDX_LOC_MONTH + 1, too_long, VDX_NULLTERM, nullptr, locale->months.table()[1]},
      {VDX_LOC_MONTH + 1, too_long, VDX_LOC_NAME_MAX + 1, nullptr, locale->months.table()[1]},
      {VDX_LOC_MONTH + 1, "", VDX_NULLTERM, nullptr, locale->months.table()[1]},
      {VDX_LOC_MONTH + 1, "x", 0, nullptr, locale->months.table()[1]},
      {VDX_LOC_MONTH + 1, {"a\0b", 3}, 3, nullptr, locale->months.table()[1]},
      {VDX_LOC_MONTH + 12, "x", 1, nullptr, locale->months.table()[11]},
      {VDX_LOC_WEEKDAY + 7, "x", 1, nullptr, locale->weekdays.table()[6]},
  };
  for (const Name& row : names) {
    SCOPED_TRACE(testing::Message() << row.what << " '" << row.value << "'");
    const std::string before = row.place;
    EXPECT_EQ(comn_loc_set(locale, row.what, row.value.data(), row.length),
              row.stored != nullptr ? XS_SUCCEED : XS_FAIL);
    EXPECT_EQ(std::string(row.place), row.stored != nullptr ? row.stored : before);
  }

  // A copy has its own names.
  EXPECT_EQ(comn_loc_copy(nullptr, locale, other), XS_SUCCEED);
  EXPECT_EQ(comn_loc_copy(nullptr, locale, locale), XS_SUCCEED);
  EXPECT_EQ(comn_loc_set(locale, VDX_LOC_MONTH, "changed", VDX_NULLTERM), XS_SUCCEED);
  EXPECT_EQ(comn_loc_drop(nullptr, locale), XS_SUCCEED);
  EXPECT_STREQ(other->months.table()[0], "Januar");
  EXPECT_EQ(other->weekdays.table()[6], longest);
  EXPECT_EQ(other->date_order, 6);
  EXPECT_EQ(other->first_day, 1);
  EXPECT_STREQ(other->charset->name, "sjis");
  EXPECT_EQ(comn_loc_drop(nullptr, other), XS_SUCCEED);
}

// Nine null pointers, then seven broken contracts, each resumed and answered with 0.
[[noreturn]] void resume_everything() {
  vdx_test::handle_checks(vdx_test::Handler::kResume);
  com_toggle_abort(0);
  vdx_locale dropped(vdx::kCharsets[2]), good(vdx::kCharsets[2]), *out = nullptr;
  dropped.loaded = 0;
  vdx_datafmt format = {};
  format.locale = &dropped;
  std::uint8_t c = 'a';
  std::int32_t sum = comn_loc_alloc(nullptr, nullptr, &out) + comn_loc_alloc(nullptr, "x", nullptr);
  sum += comn_loc_copy(nullptr, nullptr, &good) + comn_loc_copy(nullptr, &good, nullptr);
  sum += comn_loc_drop(nullptr, nullptr) + comn_loc_set(nullptr, 1, &sum, 4);
  sum += comn_loc_set(&good, 1, nullptr, 4) + comn_isalpha(nullptr, &c, 1);
  comn_to_upper(&vdx::kUtf8, nullptr, 1);
  fputs(" ; ", stderr);
  sum += comn_loc_copy(nullptr, &dropped, &good) + comn_loc_copy(nullptr, &good, &dropped);
  sum += comn_loc_drop(nullptr, &dropped) + comn_loc_set(&dropped, 1, &sum, 4);
  sum += comn_to_ascii(&vdx::kUtf8, &c, 0);
  comn_to_lower(&vdx::kUtf8, &c, -1);
  const bool is_default = com_intl_charattr(nullptr, &format) == &vdx::kLatin1;
  exit(sum == 0 && is_default && c == 'a' ? 0 : 1);
}

TEST(IntlDeath, ChecksStandAndResume) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      resume_everything(), testing::ExitedWithCode(0),
      vdx_test::has_match("^(\nInvalid NULL pointer , file 'com_[a-z]+.cpp' line [0-9]+\n){9} ; "
                          "(\n\rassertion failed, file '[a-z_]+.(cpp|h)' line [0-9]+\n\r){7}$"));
}

}  // namespace
