// Character sets, character services and locales.
#include <cctype>

#include "intl/locale.h"
#include "support.h"
#include "vdxcomn/intl.h"

namespace {

const std::uint8_t* bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

// Bytes of the first character, its ASCII form, and its classes, one letter each: Alpha, Upper,
// Lower, Digit, Space, Punctuation, $.
std::string facts(const vdx_charattr& set, std::string_view c) {
  decltype(&comn_isalpha) const holds[] = {comn_isalpha, comn_isupper, comn_islower,   comn_isdigit,
                                           comn_isspace, comn_ispunct, comn_iscurrency};
  const auto size = static_cast<std::int32_t>(c.size());
  std::string result = std::to_string(comn_whole_char(&set, bytes(c), size)) + ' ' +
                       std::to_string(comn_to_ascii(&set, bytes(c), size)) + ' ';
  const bool is_alnum = comn_isalnum(&set, bytes(c), size) == 1;
  for (std::size_t i = 0; i < std::size(holds); ++i)
    if (holds[i](&set, bytes(c), size) == 1) result += "AULDSP$"[i];
  EXPECT_EQ(result.find_first_of("AD") != std::string::npos, is_alnum);
  return result;
}

TEST(Charset, AsciiIsAlikeInEverySet) {
  for (const vdx::NamedCharset& set : vdx::kCharsets)
    for (int code = 0; code < 128; ++code) {
      const char c = static_cast<char>(code);
      std::string expected = "1 " + std::to_string(code) + ' ';
      if (isalpha(code)) expected += isupper(code) ? "AU" : "AL";
      if (isdigit(code)) expected += "D";
      if (isspace(code)) expected += "S";
      if (ispunct(code)) expected += code == '$' ? "P$" : "P";
      EXPECT_EQ(facts(*set.attributes, {&c, 1}), expected) << set.name;
      EXPECT_EQ(set.attributes->to_upper[code], toupper(code));
      EXPECT_EQ(set.attributes->to_lower[code], tolower(code));
    }
}

TEST(Charset, Characters) {
  const vdx_charattr &iso = vdx::kLatin1, &ascii = vdx::kAscii, &utf8 = vdx::kUtf8,
                     &sjis = vdx::kSjis;
  vdx_charattr four_bytes = sjis;
  four_bytes.lead_class[255] |= 0xF0;
  const struct {
    const vdx_charattr& set;
    std::string_view text;
    const char* facts;
  } rows[] = {
      // clang-format off
      // Small e, capital E with an accent, yen, no-break space; a byte outside.
      {iso, "\xE9", "1 0 AL"}, {iso, "\xC9", "1 0 AU"}, {iso, "\xA5", "1 0 P$"}, {iso, "\xA0", "1 0 "},
      {ascii, "\xC9", "1 0 "},
      // Wide 7 and yen, hiragana a, an ideograph that ends in a backslash byte, half-width katakana.
      {sjis, "\x82\x56", "2 55 D"}, {sjis, "\x81\x8F", "2 0 P$"}, {sjis, "\x82\xA0", "2 0 A"},
      {sjis, "\x95\x5C", "2 0 A"}, {sjis, "\xB1", "1 0 A"},
      // A wide 7 that is cut, and one with a bad second byte.
      {sjis, {"\x82\x56", 1}, "2 0 "}, {sjis, "\x82\x20", "2 0 "},
      // Small e with an accent, capital alpha, euro, a wide blank.
      {utf8, "\xC3\xA9", "2 0 AL"}, {utf8, "\xCE\x91", "2 0 AU"}, {utf8, "\xE2\x82\xAC", "3 0 P$"},
      {utf8, "\xE3\x80\x80", "3 32 S"},
      // A wide 0 that is cut, the same with a bad third byte, and an overlong digit.
      {utf8, {"\xEF\xBC\x90", 2}, "3 0 "}, {utf8, "\xEF\xBC\x10", "3 0 "}, {utf8, "\xE0\x80\xB0", "3 0 "},
      {four_bytes, "\x81\x40\x89\x38", "2 32 S"}, {four_bytes, {"\x81\x30", 1}, "2 0 "},
      // clang-format on
  };
  for (const auto& row : rows) EXPECT_EQ(facts(row.set, row.text), row.facts) << &row - rows;
  EXPECT_EQ(comn_whole_char(&four_bytes, bytes("\x81\x30\x89\x38"), 4), 4);
  for (int code = 0xFF01; code <= 0xFF5E; ++code) {  // the wide form of every sign of ASCII
    const char wide[] = {'\xEF', static_cast<char>(0x80 | (code >> 6 & 63)),
                         static_cast<char>(0x80 | (code & 63))};
    EXPECT_EQ(comn_to_ascii(&utf8, bytes({wide, 3}), 3), code - 0xFEE0);
  }
}

TEST(Charset, CaseOfTexts) {
  const struct {
    const vdx_charattr& set;
    std::string text, upper, lower;
  } rows[] = {
      // clang-format off
      {vdx::kLatin1, "aZ1\xE9\xC0\xDF\xFF\xD7\xF7\xB5", "AZ1\xC9\xC0\xDF\xFF\xD7\xF7\xB5",
       "az1\xE9\xE0\xDF\xFF\xD7\xF7\xB5"},
      {vdx::kAscii, "aZ\xE9", "AZ\xE9", "az\xE9"}, {vdx::kUtf8, "\xC3\xA9xX", "\xC3\xA9XX", "\xC3\xA9xx"},
      // The second byte of the first character looks like a letter.
      {vdx::kSjis, "\x83\x61q\x83\x41Q\x82", "\x83\x61Q\x83\x41Q\x82", "\x83\x61q\x83\x41q\x82"},
      {vdx::kUtf8, "", "", ""},
      // clang-format on
  };
  for (const auto& row : rows) {
    std::string upper = row.text, lower = row.text;
    const auto size = static_cast<std::int32_t>(row.text.size());
    comn_to_upper(&row.set, reinterpret_cast<std::uint8_t*>(upper.data()), size);
    comn_to_lower(&row.set, reinterpret_cast<std::uint8_t*>(lower.data()), size);
    EXPECT_TRUE(upper == row.upper && lower == row.lower) << &row - rows;
  }
}

TEST(Locale, AllocateAndDrop) {
  vdx_test::Failing failing;
  vdx_context& context = failing.context;
  vdx_locale* locale = nullptr;
  for (const vdx::NamedCharset& set : vdx::kCharsets) {
    ASSERT_EQ(comn_loc_alloc(&context, set.name, &locale), XS_SUCCEED);
    // The format's, else the context's, else the process's.
    vdx_datafmt own = {}, none = {};
    own.locale = locale;
    vdx_context with = context;
    with.locale = locale;
    EXPECT_EQ(com_intl_charattr(nullptr, nullptr), com_get_charattrib());
    EXPECT_EQ(com_intl_charattr(&context, &none), &vdx::kLatin1);
    EXPECT_EQ(com_intl_charattr(&with, &none), set.attributes);
    EXPECT_EQ(com_intl_charattr(&context, &own), set.attributes);
    EXPECT_EQ(com_intl_charattr(nullptr, &own), set.attributes);
    EXPECT_EQ(comn_loc_drop(&context, locale), XS_SUCCEED);
  }
  EXPECT_EQ(comn_loc_alloc(&context, "utf16", &locale), XS_FAIL);
  EXPECT_EQ(locale, nullptr);
  failing.fail_at = failing.calls + 1;
  locale = reinterpret_cast<vdx_locale*>(&context);
  EXPECT_EQ(comn_loc_alloc(&context, "utf8", &locale), XS_MEM_ERROR);
  EXPECT_EQ(locale, nullptr);
}

TEST(Locale, Settings) {
  vdx_locale *locale = nullptr, *other = nullptr;
  ASSERT_EQ(comn_loc_alloc(nullptr, "sjis", &locale), XS_SUCCEED);
  ASSERT_EQ(comn_loc_alloc(nullptr, "utf8", &other), XS_SUCCEED);
  const struct {
    std::int32_t what, value, expected;
    const std::int32_t& setting;
  } numbers[] = {
      // clang-format off
      {VDX_LOC_DATE_ORDER, 6, 1, locale->date_order}, {VDX_LOC_DATE_ORDER, 7, 0, locale->date_order},
      {VDX_LOC_FIRST_DAY, 1, 1, locale->first_day}, {VDX_LOC_FIRST_DAY, 8, 0, locale->first_day},
      {VDX_LOC_TWELVE_HOUR, 1, 1, locale->twelve_hour}, {INT32_MIN, 1, 0, locale->first_day},
      // clang-format on
  };
  for (const auto& row : numbers) {
    const std::int32_t after = row.expected == 1 ? row.value : row.setting;
    EXPECT_EQ(comn_loc_set(locale, row.what, &row.value, 2), XS_FAIL);
    EXPECT_EQ(comn_loc_set(locale, row.what, &row.value, 4), row.expected);
    EXPECT_EQ(row.setting, after) << row.what << " to " << row.value;
  }

  const std::string longest(VDX_LOC_NAME_MAX, 'm'), too_long(VDX_LOC_NAME_MAX + 1, 'm');
  const char* const* const months = locale->months.table();
  const char* const* const days = locale->weekdays.table();
  const struct {
    std::int32_t what;
    std::string_view value;
    std::int32_t length;
    std::string stored;  // empty: refused
    const char* const& place;
  } names[] = {
      // clang-format off
      {VDX_LOC_MONTH + 0, "Januar", VDX_NULLTERM, "Januar", months[0]},
      {VDX_LOC_MONTH + 11, "Dezember!", 8, "Dezember", months[11]},
      {VDX_LOC_SHORT_MONTH + 2, "M\xE4r", 3, "M\xE4r", locale->short_months.table()[2]},
      {VDX_LOC_WEEKDAY + 6, longest, VDX_NULLTERM, longest, days[6]},
      {VDX_LOC_MONTH + 1, too_long, VDX_LOC_NAME_MAX + 1, "", months[1]},
      {VDX_LOC_MONTH + 1, {"a\0b", 3}, 3, "", months[1]},
      // clang-format on
  };
  for (const auto& row : names) {
    const bool is_set = !row.stored.empty();
    const std::string after = is_set ? row.stored : row.place;
    EXPECT_EQ(comn_loc_set(locale, row.what, row.value.data(), row.length),
              is_set ? XS_SUCCEED : XS_FAIL);
    EXPECT_EQ(row.place, after);
  }

  // A copy has its own names.
  EXPECT_EQ(comn_loc_copy(nullptr, locale, other), XS_SUCCEED);
  EXPECT_EQ(comn_loc_copy(nullptr, locale, locale), XS_SUCCEED);
  EXPECT_EQ(comn_loc_set(locale, VDX_LOC_MONTH, "changed", VDX_NULLTERM), XS_SUCCEED);
  EXPECT_EQ(comn_loc_drop(nullptr, locale), XS_SUCCEED);
  EXPECT_STREQ(other->months.table()[0], "Januar");
  EXPECT_EQ(other->weekdays.table()[6], longest);
  EXPECT_EQ(other->date_order, 6);
  EXPECT_STREQ(other->charset->name, "sjis");
  EXPECT_EQ(comn_loc_drop(nullptr, other), XS_SUCCEED);
}

// The reports of each file: null pointers, then broken contracts.
constexpr std::tuple<const char*, int, int> kReports[] = {
    {"date", 48, 0},      {"part", 21, 12}, {"dateformat", 12, 0},
    {"dateparse", 24, 6}, {"dtloc", 6, 7},  {"dateloc", 4, 7},
    {"locale", 7, 4},     {"chars", 6, 2},  {"charset", 11, 7}};

// Every function of dates, locales and character sets, called wrongly in every way and resumed: each
// returns what its header says and stores nothing.
[[noreturn]] void break_every_contract() {
  vdx_test::handle_checks(vdx_test::Handler::kResume);
  com_toggle_abort(0);
  vdx_locale dropped(vdx::kCharsets[2]), good(vdx::kCharsets[2]), *out = nullptr;
  dropped.loaded = 0;
  vdx_context context{};  // whose locale is dropped
  context.locale = &dropped;
  vdx_datafmt format{};
  format.locale = &dropped;
  std::int32_t i = 1;
  daterec r{};
  vdx_datetime d{1, 1};
  vdx_date4 s{1, 1};
  std::uint64_t b = 1;
  char to = 'a';
  std::uint8_t c = 'a';
  const char* const* const names = vdx::kEnglishMonths;
  std::int64_t sum = 0;
  const auto nulls = [&](auto functions, auto... args) {
    std::apply([&](auto... each) { ((sum += vdx_test::with_each_null(each, args...)), ...); },
               functions);
  };
  const auto answers = [&](auto... results) { ((sum += std::int64_t{results}), ...); };
  constexpr auto all = [](auto... functions) { return std::tuple(functions...); };

  // clang-format off
  nulls(all(com_datecrack, com_timecrack, com__timecrack, com_datemake, com_timemake,
            com_datetimemake), &d, &r);
  nulls(all(com_bigdatecrack, com__bigdatecrack, com_bigtimecrack, com__bigtimecrack,
            com_bigdatemake, com_bigtimemake, com_bigdatetimemake), &b, &r);
  nulls(all(com__datecrack), &i, &r);
  nulls(all(com_dateacmp, com_timeacmp), &i, &i);
  nulls(all(com_datecmp), &d, &d), nulls(all(com_date4cmp), &s, &s), nulls(all(com_bigdatetimecmp), &b, &b);
  nulls(all(com__datea_check_range, com__timea_check_range), &i);
  nulls(all(com__datetime_check_range, com_datezero), &d);
  nulls(all(com_date4zero), &s), nulls(all(com_setdatetime), &d, 2, 2);
  nulls(all(com__date4todt), &s, &d), nulls(all(com__dateatodate), &i, &d);

  nulls(all(com__datepart, com_datepart), 0U, &d, 7), nulls(all(com__bigdatepart), 0U, &b, 7);
  nulls(all(com__datename, com_datename), nullptr, 0U, &d, &to, 1, &i);
  nulls(all(com__bigdatename), nullptr, 0U, &b, &to, 1, &i);
  nulls(all(com__date_add, com__dateadd_both), 0U, 1, &d), nulls(all(com__bigdateadd_both), 0U, 1, &b);
  nulls(all(com__datediff), 4U, &d, &d, &i), nulls(all(com__bigdatediff), 4U, &b, &b, &i);
  answers(com__datepart(15, &d, 7), com_datepart(~0U, &d, 7), com__bigdatepart(15, &b, 7),
          com__datename(nullptr, 15, &d, &to, 1, &i), com_datename(nullptr, ~0U, &d, &to, 1, &i),
          com__bigdatename(nullptr, 15, &b, &to, 1, &i), com__date_add(15, 1, &d),
          com__dateadd_both(~0U, 1, &d), com__bigdateadd_both(15, 1, &b),
          com__datename(&context, 0, &d, &to, 1, &i), com_datename(&context, 0, &d, &to, 1, &i),
          com__bigdatename(&context, 0, &b, &to, 1, &i));

  nulls(all(com__datetochar), &d, &to, 1, 0U, nullptr), nulls(all(com__date4tochar), &s, &to, 1, 0U, nullptr);
  nulls(all(com__dateatochar, com__timeatochar), &i, &to, 1, 0U, nullptr);
  nulls(all(com__bigdatetimetochar, com__bigtimetochar), &b, &to, 1, 0U, nullptr);

  nulls(all(com__datefromchar_mb), &d, &c, 1, 0, 1, names, names, nullptr, &i);
  nulls(all(com__dateafromchar_mb, com__timeafromchar_mb), &i, &c, 1, 0, 1, names, names, nullptr);
  nulls(all(com__bigdatetimefromchar_mb, com__bigtimefromchar_mb), &b, &c, 1, 0, 1, names, names, nullptr);
  nulls(all(com__timefromchar_mb), &d, &c, 1, 0, nullptr, &i);
  answers(com__datefromchar_mb(&d, &c, -1, 0, 1, names, names, nullptr, &i),
          com__dateafromchar_mb(&i, &c, -1, 0, 1, names, names, nullptr),
          com__timeafromchar_mb(&i, &c, -1, 0, 1, names, names, nullptr),
          com__bigdatetimefromchar_mb(&b, &c, -1, 0, 1, names, names, nullptr),
          com__bigtimefromchar_mb(&b, &c, -1, 0, 1, names, names, nullptr),
          com__timefromchar_mb(&d, &c, -1, 0, nullptr, &i));

  nulls(all(comn_dtloc_format), nullptr, nullptr, VDX_DATETIME, &d, &to, 1, &i);
  nulls(all(comn_dtloc_format_fmt), nullptr, nullptr, 0U, VDX_DATETIME, &d, &to, 1, &i);
  answers(comn_dtloc_format(nullptr, nullptr, VDX_I4, &d, &to, 1, &i),
          comn_dtloc_format(nullptr, nullptr, VDX_DATETIME, &d, &to, -1, &i),
          comn_dtloc_format(&context, nullptr, VDX_DATETIME, &d, &to, 1, &i),
          comn_dtloc_format_fmt(nullptr, nullptr, 0, 99, &d, &to, 1, &i),
          comn_dtloc_format_fmt(nullptr, nullptr, 0, VDX_DATETIME, &d, &to, -1, &i),
          comn_dtloc_format_fmt(nullptr, &dropped, 0, VDX_DATETIME, &d, &to, 1, &i),
          comn_get_datetochar_fmt(&context, nullptr));

  nulls(all(comn_intl_month), nullptr, nullptr, 0, 0, &to, 1, &i);
  nulls(all(comn_intl_day), nullptr, nullptr, 0, &to, 1, &i);
  answers(comn_intl_month(nullptr, nullptr, 0, 0, &to, -1, &i), comn_intl_month(&context, nullptr, 0, 0, &to, 1, &i),
          comn_intl_day(nullptr, nullptr, 0, &to, -1, &i), comn_intl_day(nullptr, &dropped, 0, &to, 1, &i),
          comn_intl_get_dtfmt(nullptr, &dropped), com_intl_dateorder(&context, nullptr),
          com_intl_firstday(&context, &dropped));

  nulls(all(comn_loc_alloc), nullptr, "utf8", &out), nulls(all(comn_loc_copy), nullptr, &good, &good);
  nulls(all(comn_loc_drop), nullptr, &good), nulls(all(comn_loc_set), &good, 1, &i, 4);
  answers(comn_loc_copy(nullptr, &dropped, &good), comn_loc_drop(nullptr, &dropped),
          comn_loc_set(&dropped, VDX_LOC_DATE_ORDER, &i, 4));
  const bool is_default = com_intl_charattr(&context, &format) == com_get_charattrib();

  nulls(all(comn_isalpha, comn_to_upper), &vdx::kUtf8, &c, 1), nulls(all(comn_whole_char), &vdx::kUtf8, &c, 1);
  answers(comn_to_ascii(&vdx::kUtf8, &c, 0));
  comn_to_lower(&vdx::kUtf8, &c, -1);

  nulls(all(comn_charset_convert), nullptr, nullptr, "a", 1, nullptr, &to, 1, &i);
  nulls(all(com_intl_xlate), nullptr, "ascii", "utf8", "a", 1, &to, 1, &i);
  nulls(all(com__fou_utf8_to_utf16), "a", 1, &to, 1, &i);
  answers(comn_charset_convert(nullptr, nullptr, "a", -1, nullptr, &to, 1, &i),
          comn_charset_convert(nullptr, nullptr, "a", 1, nullptr, &to, -1, &i),
          comn_charset_convert(&context, &good, "a", 1, nullptr, &to, 1, &i),
          comn_charset_convert(nullptr, &dropped, "a", 1, &good, &to, 1, &i),
          com_intl_xlate(nullptr, "ascii", "utf8", "a", -2, &to, 1, &i),
          com__fou_utf8_to_utf16("a", -1, &to, 1, &i), com__fou_utf8_to_utf16("a", 1, &to, VDX_NULLTERM, &i));
  // clang-format on

  // 50 refusals as by a conversion and twelve as by a formatter; all others are 0.
  const bool stays = d.day == 1 && d.time == 1 && s.day == 1 && b == 1 && i == 1 && to == 'a' &&
                     c == 'a' && r.year == 0 && r.scale == 0 && out == nullptr;
  std::exit(stays && is_default && sum == 50 * VDX_OVERFLOW - 12 ? 0 : 1);
}

TEST(IntlDeath, EveryFunctionReportsItsFileAndReturns) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::string expression = "^";
  for (const auto& [file, pointers, assertions] : kReports) {
    const std::string place = std::string(", file 'com_") + file + ".cpp' line [0-9]+\n";
    expression += "(\nInvalid NULL pointer " + place + "){" + std::to_string(pointers) + "}";
    if (assertions > 0)
      expression += "(\n\rassertion failed" + place + "\r){" + std::to_string(assertions) + "}";
  }
  EXPECT_EXIT(break_every_contract(), testing::ExitedWithCode(0),
              vdx_test::has_match(expression + "$"));
}

}  // namespace
