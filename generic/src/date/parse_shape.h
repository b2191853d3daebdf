// The straight path of the parser: the layouts that rows of real data have, recognised by which of
// their first sixteen bytes are digits and read without a loop.
//
//   2008-01-02  2008-01-02 13:05  2008-01-02 13:05:09  2008-01-02 13:05:09.123456
//   Jan  2 2008  Jan  2 2008  1:05PM
//
// A text is taken only if the grammar would read the same from it; of any other the fields are
// unspecified. In every character set the bytes of these layouts are characters of their own that
// fold to themselves.
#ifndef VDX_DATE_PARSE_SHAPE_H
#define VDX_DATE_PARSE_SHAPE_H

#include <algorithm>
#include <bit>

#include "date/parse.h"
#include "intl/locale.h"
#include "number/digits.h"

namespace vdx {

inline constexpr std::uint64_t kDigitValues = 0x0F0F0F0F0F0F0F0F;

// Byte i of the result is the number in the digits i and i + 1 of the text; a blank counts as 0.
VDX_INLINE std::uint64_t pairs(std::uint64_t text) {
  const std::uint64_t values = text & kDigitValues;
  return values * 10 + (values >> 8);
}

VDX_INLINE std::int32_t byte_of(std::uint64_t word, unsigned i) {
  return static_cast<std::int32_t>(word >> (8 * i) & 0xFF);
}

// 2008-01-02 alone, or with a blank or T and then 13:05, 13:05:09 or 13:05:09 with a point and 1 to
// 6 digits. Each separator of the date is a minus sign, a slash or a point.
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
  // As eight digits: two zeros, then the fraction filled up with zeros to six.
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

// The English month of three upper-case letters, -1 if there is none.
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
        entries[kSlot(key)] = {key, i};  // the factor was searched: twelve different slots
      }
    }
  };
  static constexpr Table kTable;
  const Entry& entry = kTable.entries[kSlot(letters)];
  return entry.letters == letters ? entry.month : -1;
}

// The first four bytes of a name, its terminator among them if it is that short; the bytes after
// the terminator are unspecified.
inline std::uint32_t start_of(const char* name) {
  if (can_read_ahead(name, 4)) [[likely]]
    return load<std::uint32_t>(name);
  std::uint32_t bytes = 0;
  for (unsigned i = 0; i < 4 && name[i] != '\0'; ++i)
    bytes |= static_cast<std::uint32_t>(static_cast<unsigned char>(name[i])) << (8 * i);
  return bytes;
}

// The first name that is the three letters, full ones before short ones. All names are compared: a
// loop that stopped at the match would mispredict.
inline std::int32_t find_three(std::uint32_t letters, const char* const* months,
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
  // The default names are known when this is compiled; any others are compared one by one.
  if (text.months == kDefaultLocale.months.table() &&
      text.short_months == kDefaultLocale.short_months.table())
    return english_month(letters);
  if (!is_letter(letters) || !is_letter(letters >> 8) || !is_letter(letters >> 16)) return -1;
  // Characters of several bytes fold to letters too, so bytes do not decide there.
  if (text.attributes != nullptr && text.attributes->max_bytes > 1) return -1;
  if (text.months == nullptr || text.short_months == nullptr) return -1;
  return find_three(letters, text.months, text.short_months);
}

// Jan  2 2008 alone, or with a blank and 1:05PM. Day and hour take two places each.
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
  // Of the digits, those of bytes 4 and 12 may be blanks.
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
  // No branch on the half of the day: texts have both equally often.
  const bool is_time = (static_cast<std::uint32_t>(half == 'A') | is_afternoon) != 0 &&
                       (text.bytes[18] & 0xDF) == 'M' && last <= 9 && hour - 1 < 12;
  record.hour = static_cast<std::int32_t>(hour % 12 + 12 * is_afternoon);
  record.minute = (byte_of(words.high, 7) & 15) * 10 + static_cast<std::int32_t>(last);
  return is_time;
}

// Tries the layouts. Sets the fields of the record that the text has; the caller sets has_date.
VDX_INLINE bool read_shape(const DateText& text, DateGrain grain, DateFields& fields) {
  const std::int32_t length = text.length;
  if (length < 10 || length > 26) [[unlikely]]
    return false;
  if (text.bytes[0] >= 'A') return (length == 11 || length == 19) && read_month_first(text, fields);
  // Lengths 10, 16, 19 and 21 to 26.
  return (0x7E90400 >> length & 1) != 0 && read_year_first(text, grain, fields);
}

}  // namespace vdx

#endif
