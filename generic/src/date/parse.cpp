// The entries of the parser, and its straight path: layouts that are told by the kinds of their
// first sixteen bytes.
#include "date/parse.h"

#include <algorithm>
#include <bit>

#include "date/calendar.h"
#include "frame/check.h"
#include "intl/locale.h"
#include "number/digits.h"
#include "vdxcomn/dateparse.h"

namespace vdx {
namespace {

// In every character set the bytes of the shapes are characters of their own that fold to
// themselves.

constexpr std::uint64_t kDigitValues = 0x0F0F0F0F0F0F0F0F;

// Byte i is the number that bytes i and i + 1 write; a blank counts as 0.
VDX_INLINE std::uint64_t pairs(std::uint64_t text) {
  const std::uint64_t values = text & kDigitValues;
  return values * 10 + (values >> 8);
}

VDX_INLINE std::int32_t byte_of(std::uint64_t word, unsigned i) {
  return static_cast<std::int32_t>(word >> (8 * i) & 0xFF);
}

// 2008-01-02, followed by nothing or a blank or T and 13:05, 13:05:09 or 13:05:09 with a point and
// 1 to 6 digits. A slash or a point may stand for each minus sign.
VDX_INLINE bool read_year_first(const DateText& text, DateGrain grain, DateFields& fields) {
  const std::int32_t length = text.length;
  if ((text.style != 0 && text.style != 9) || text.order == 4) [[unlikely]]
    return false;
  const Block block = Block::of(text.bytes, static_cast<std::uint32_t>(std::min(length, 16)));
  const Words words = block.words();
  const auto is_separator = [](std::int32_t c) { return static_cast<std::uint32_t>(c - '-') < 3; };
  if (!is_separator(byte_of(words.low, 4)) || !is_separator(byte_of(words.low, 7))) [[unlikely]]
    return false;
  const std::uint64_t low = pairs(words.low), high = pairs(words.high);
  daterec& record = fields.record;
  record.year = byte_of(low, 0) * 100 + byte_of(low, 2);
  record.month = byte_of(low, 5) - 1;
  record.day = byte_of(high, 0);
  if (length == 10) return (block.digits() & 0x3FF) == 0x36F;

  const std::int32_t between = byte_of(words.high, 2);
  if (block.digits() != 0xDB6F || byte_of(words.high, 5) != ':') [[unlikely]]
    return false;
  if (between != ' ' && (between | 0x20) != 't') [[unlikely]]
    return false;
  record.hour = byte_of(high, 3);
  record.minute = byte_of(high, 6);
  if (length == 16) return true;

  const auto rest = static_cast<std::uint32_t>(length - 16);
  const Block tail = Block::of(text.bytes + 16, rest);
  const Words last = tail.words();
  if (byte_of(last.low, 0) != ':') [[unlikely]]
    return false;
  record.second = byte_of(pairs(last.low), 1);
  const std::uint32_t digits = tail.digits();
  if (rest == 3) return (digits & 6) == 6;
  const unsigned places = rest - 4;  // 1 to 6
  const std::uint32_t wanted = 6U | ((1U << places) - 1) << 4;
  if (byte_of(last.low, 3) != '.' || (digits & wanted) != wanted) [[unlikely]]
    return false;
  // The digits behind two zeros, and zeros behind them up to six.
  const std::uint64_t fraction = (last.low >> 32 | last.high << 32) & kDigitValues;
  const std::uint64_t kept = fraction & ((std::uint64_t{1} << (8 * places)) - 1);
  record.fraction = static_cast<std::int32_t>(number_of_8(kept << 16));
  if (grain == DateGrain::kTicks) fields.rounded = round_to_milliseconds(record.fraction);
  return true;
}

constexpr std::uint32_t three(const char* name) {
  return static_cast<std::uint32_t>(name[0] & 0xDF) |
         static_cast<std::uint32_t>(name[1] & 0xDF) << 8 |
         static_cast<std::uint32_t>(name[2] & 0xDF) << 16;
}

// The English month of three upper-case letters, -1 where they are none.
VDX_INLINE std::int32_t english_month(std::uint32_t letters) {
  struct Entry {
    std::uint32_t letters;
    std::int32_t month;
  };
  static constexpr auto kSlot = [](std::uint32_t key) { return key * 0x966BAEA1U >> 28; };
  struct Table {
    Entry entries[16] = {};
    consteval Table() {
      for (Entry& entry : entries) entry = {0, -1};
      for (std::int32_t i = 0; i < 12; ++i) {
        const std::uint32_t key = three(kEnglishShortMonths[i]);
        entries[kSlot(key)] = {key, i};  // the factor gives each a slot of its own
      }
    }
  };
  static constexpr Table kTable;
  const Entry& entry = kTable.entries[kSlot(letters)];
  return entry.letters == letters ? entry.month : -1;
}

// Up to four bytes of a name, its terminator among them if it is that short; what follows that is
// not said.
inline std::uint32_t start_of(const char* name) {
  if (can_read_ahead(name, 4)) [[likely]]
    return load<std::uint32_t>(name);
  std::uint32_t bytes = 0;
  for (unsigned i = 0; i < 4 && name[i] != '\0'; ++i)
    bytes |= static_cast<std::uint32_t>(static_cast<unsigned char>(name[i])) << (8 * i);
  return bytes;
}

// The first name that is the three letters, full ones before short ones: every name is compared, so
// that which month it is leads no branch astray.
std::int32_t find_three(std::uint32_t letters, const char* const* months,
                        const char* const* short_months) {
  const auto is = [letters](const char* name) {
    return std::uint32_t{(start_of(name) & 0xFFDFDFDF) == letters};
  };
  std::uint32_t full = 0, brief = 0;  // bit i for month i
  for (std::int32_t i = 11; i >= 0; --i) {
    full = 2 * full + is(months[i]);
    brief = 2 * brief + is(short_months[i]);
  }
  const std::uint32_t found = full | brief << 12;
  return found == 0 ? -1 : std::countr_zero(found) % 12;
}

VDX_INLINE std::int32_t find_month(const DateText& text, std::uint32_t letters) {
  const auto is_letter = [](std::uint32_t c) { return (c & 0xFF) - 'A' < 26; };
  // The names that hold where no locale is set are known; of the others each has to be looked at.
  if (text.months == kDefaultLocale.months.table() &&
      text.short_months == kDefaultLocale.short_months.table())
    return english_month(letters);
  if (!is_letter(letters) || !is_letter(letters >> 8) || !is_letter(letters >> 16)) return -1;
  // Longer characters fold to letters too.
  if (text.attributes != nullptr && text.attributes->max_bytes > 1) return -1;
  if (text.months == nullptr || text.short_months == nullptr) return -1;
  return find_three(letters, text.months, text.short_months);
}

// Jan  2 2008, followed by nothing or a blank and 1:05PM; day and hour have two places.
VDX_INLINE bool read_month_first(const DateText& text, DateFields& fields) {
  const Block block = Block::of(text.bytes, static_cast<std::uint32_t>(std::min(text.length, 16)));
  const Words words = block.words();
  const std::uint32_t digits = block.digits(), blanks = block.equal(' ');
  const std::uint64_t after = words.low >> 56 | words.high << 8;  // from byte 7 on
  const std::uint64_t numbers = pairs(after);
  const std::int32_t month = find_month(text, static_cast<std::uint32_t>(words.low & 0xDFDFDF));
  daterec& record = fields.record;
  record.month = month;
  record.day = byte_of(pairs(words.low), 4);
  record.year = byte_of(numbers, 0) * 100 + byte_of(numbers, 2);
  // Bits of single bytes: 4 and 12 may be blank.
  constexpr std::uint32_t kEither = 0x1010;
  if (text.length == 11)
    return (digits & 0x7EF) == 0x7A0 && (blanks & 0x48) == 0x48 &&
           ((digits | blanks) & 0x10) != 0 && month >= 0;
  if ((digits & ~kEither) != 0xA7A0 || (blanks & 0x848) != 0x848 ||
      ((digits | blanks) & kEither) != kEither || byte_of(words.high, 6) != ':' || month < 0)
      [[unlikely]]
    return false;
  const std::uint32_t last = text.bytes[16] - std::uint32_t{'0'};
  const std::uint32_t half = text.bytes[17] & 0xDFU;
  const auto is_afternoon = static_cast<std::uint32_t>(half == 'P');
  const auto hour = static_cast<std::uint32_t>(byte_of(numbers, 5));
  // Half of all texts are of either half: no branch between them.
  const bool is_time = (static_cast<std::uint32_t>(half == 'A') | is_afternoon) != 0 &&
                       (text.bytes[18] & 0xDF) == 'M' && last <= 9 && hour - 1 < 12;
  record.hour = static_cast<std::int32_t>(hour % 12 + 12 * is_afternoon);
  record.minute = (byte_of(words.high, 7) & 15) * 10 + static_cast<std::int32_t>(last);
  return is_time;
}

VDX_INLINE bool read_shape(const DateText& text, DateGrain grain, DateFields& fields) {
  const std::int32_t length = text.length;
  if (length < 10 || length > 26) [[unlikely]]
    return false;
  if (text.bytes[0] >= 'A') return (length == 11 || length == 19) && read_month_first(text, fields);
  // Lengths 10, 16, 19 and 21 to 26.
  return (0x7E90400 >> length & 1) != 0 && read_year_first(text, grain, fields);
}

VDX_INLINE std::int32_t make_datetime(const DateFields& fields, vdx_datetime& value) {
  if (make_ticks(fields.record, value.time) != 0) return kDateBadYear;
  return fields.has_date ? make_day(fields.record, value.day) : 0;
}

VDX_INLINE std::int32_t make_big(const DateFields& fields, std::uint64_t& value) {
  if (fields.has_date) return make_bigdatetime(fields.record, value);
  const std::int32_t code = make_micros(fields.record, value);
  if (code == 0) value += kFirstBigdatetime;
  return code;
}

// Apart from the straight path, whose fields then stay in registers.
[[gnu::noinline]] std::int32_t datetime_by_grammar(const DateText& text, DateMode mode,
                                                   vdx_datetime& value, bool& rounded) {
  DateFields fields;
  const std::int32_t code = parse_by_grammar(text, mode, DateGrain::kTicks, fields);
  rounded = fields.rounded;
  return code != 0 ? code : make_datetime(fields, value);
}

[[gnu::noinline]] std::int32_t big_by_grammar(const DateText& text, DateMode mode,
                                              std::uint64_t& value) {
  DateFields fields;
  const std::int32_t code = parse_by_grammar(text, mode, DateGrain::kMicroseconds, fields);
  return code != 0 ? code : make_big(fields, value);
}

// Every entry that counts ticks makes a whole datetime and keeps what it wants of it.
VDX_INLINE std::int32_t read_datetime(const DateText& text, DateMode mode, vdx_datetime& value,
                                      bool& rounded) {
  DateFields fields;
  if (!read_shape(text, DateGrain::kTicks, fields)) [[unlikely]] {
    const DateText copy = text;
    vdx_datetime read{0, 0};
    bool is_rounded = false;
    const std::int32_t code = datetime_by_grammar(copy, mode, read, is_rounded);
    value = read;
    rounded = is_rounded;
    return code;
  }
  fields.has_date = true;
  rounded = fields.rounded;
  return make_datetime(fields, value);
}

VDX_INLINE std::int32_t read_big(const DateText& text, DateMode mode, std::uint64_t& value) {
  DateFields fields;
  if (!read_shape(text, DateGrain::kMicroseconds, fields)) [[unlikely]] {
    std::uint64_t read = 0;
    const std::int32_t code = big_by_grammar(text, mode, read);
    value = read;
    return code;
  }
  fields.has_date = true;
  return make_big(fields, value);
}

}  // namespace

bool parse_by_shape(const DateText& text, DateGrain grain, DateFields& fields) {
  fields = DateFields{};
  fields.has_date = true;
  return read_shape(text, grain, fields);
}

std::int32_t bigdatetime_from_text(vdx_bigdatetime* destination, const DateText& text) {
  std::uint64_t value = 0;
  const std::int32_t code = read_big(text, DateMode::kWhole, value);
  *destination = code == 0 ? value : 0;
  return code;
}

std::int32_t bigtime_from_text(vdx_bigtime* destination, const DateText& text) {
  std::uint64_t value = 0;
  const std::int32_t code = read_big(text, DateMode::kTime, value);
  if (code == 0) *destination = static_cast<std::uint64_t>(micros_of_big(value));
  return code;
}

// One word of what a text gives; untouched where the text fails.
template <typename Word>
inline std::int32_t read_part(const DateText& text, DateMode mode, Word vdx_datetime::*word,
                              Word* destination) {
  vdx_datetime value{0, 0};
  bool is_rounded = false;
  const std::int32_t code = read_datetime(text, mode, value, is_rounded);
  if (code == 0) *destination = value.*word;
  return code;
}

}  // namespace vdx

// The pointers that every entry but the clock's has, in their order.
#define VDX_CHECK_TEXT()             \
  VDX_CHECK_POINTER(destination, 0); \
  VDX_CHECK_POINTER(text, 0);        \
  VDX_CHECK_POINTER(months, 0);      \
  VDX_CHECK_POINTER(short_months, 0)

extern "C" {

int32_t com__datefromchar_mb(vdx_datetime* destination, const uint8_t* text, int32_t length,
                             int32_t style, int32_t order, const char* const* months,
                             const char* const* short_months, const vdx_charattr* attributes,
                             int32_t* rounded) {
  VDX_CHECK_TEXT();
  VDX_CHECK_POINTER(rounded, 0);
  VDX_ASSERT(length >= 0, 0);
  vdx_datetime value{0, 0};
  bool is_rounded = false;
  std::int32_t code =
      vdx::read_datetime({text, length, style, order, months, short_months, attributes},
                         vdx::DateMode::kWhole, value, is_rounded);
  if (code == 0) code = !vdx::datetime_in_range(value);
  *destination = value;
  *rounded = is_rounded;
  return code;
}

int32_t com__dateafromchar_mb(vdx_datea* destination, const uint8_t* text, int32_t length,
                              int32_t style, int32_t order, const char* const* months,
                              const char* const* short_months, const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_part({text, length, style, order, months, short_months, attributes},
                        vdx::DateMode::kDate, &vdx_datetime::day, destination);
}

int32_t com__timeafromchar_mb(vdx_timea* destination, const uint8_t* text, int32_t length,
                              int32_t style, int32_t order, const char* const* months,
                              const char* const* short_months, const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_part({text, length, style, order, months, short_months, attributes},
                        vdx::DateMode::kTime, &vdx_datetime::time, destination);
}

int32_t com__timefromchar_mb(vdx_datetime* destination, const uint8_t* text, int32_t length,
                             int32_t style, const vdx_charattr* attributes, int32_t* rounded) {
  VDX_CHECK_POINTER(destination, 0);
  VDX_CHECK_POINTER(text, 0);
  VDX_CHECK_POINTER(rounded, 0);
  VDX_ASSERT(length >= 0, 0);
  vdx_datetime value{0, 0};
  bool is_rounded = false;
  const std::int32_t code =
      vdx::datetime_by_grammar({text, length, style, 0, nullptr, nullptr, attributes},
                               vdx::DateMode::kClock, value, is_rounded);
  *destination = value;
  *rounded = is_rounded;
  return code;
}

}  // extern "C"
