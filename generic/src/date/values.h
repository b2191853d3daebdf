// The six calendar datatypes: what their images are, which images are values, how they are shown.
#ifndef VDX_DATE_VALUES_H
#define VDX_DATE_VALUES_H

#include "date/calendar.h"
#include "date/format_layout.h"
#include "intl/locale.h"
#include "number/digits.h"
#include "vdxcomn/dateformat.h"

namespace vdx {

constexpr bool is_valid_datetime(const vdx_datetime& value) {
  return value.day >= kFirstDatetimeDay && value.day <= kLastDay &&
         timea_in_range(value.time & kTicksMask);
}
constexpr bool is_valid_date4(const vdx_date4& value) { return value.minute < 1440; }
constexpr bool is_valid_datea(const vdx_datea& value) { return datea_in_range(value); }
constexpr bool is_valid_timea(const vdx_timea& value) { return timea_in_range(value); }
constexpr bool is_valid_bigdatetime(const vdx_bigdatetime& value) {
  return bigdatetime_in_range(value);
}
constexpr bool is_valid_bigtime(const vdx_bigtime& value) { return bigtime_in_range(value); }

template <typename T>
using DateFormatter = std::int32_t (*)(const T* value, char* buffer, std::int32_t length,
                                       std::uint32_t style, const char* const* months);

template <std::int32_t Code, typename T, std::int64_t UnitsPerSecond, bool (*Valid)(const T&),
          DateFormatter<T> Format>
struct CalendarType {
  using Image = T;
  static constexpr std::int32_t kCode = Code;
  static constexpr std::int64_t kPerSecond = UnitsPerSecond;
  static constexpr auto is_valid = Valid;
  static constexpr auto format = Format;
};

// date4 counts minutes, but converts as the datetime that it is.
// clang-format off
using DatetimeType    = CalendarType<VDX_DATETIME, vdx_datetime, kTicksPerSecond, is_valid_datetime, com__datetochar>;
using Date4Type       = CalendarType<VDX_DATE4, vdx_date4, kTicksPerSecond, is_valid_date4, com__date4tochar>;
using DateaType       = CalendarType<VDX_DATEA, vdx_datea, kTicksPerSecond, is_valid_datea, com__dateatochar>;
using TimeaType       = CalendarType<VDX_TIMEA, vdx_timea, kTicksPerSecond, is_valid_timea, com__timeatochar>;
using BigdatetimeType = CalendarType<VDX_BIGDATETIME, vdx_bigdatetime, kMicrosPerSecond, is_valid_bigdatetime, com__bigdatetimetochar>;
using BigtimeType     = CalendarType<VDX_BIGTIME, vdx_bigtime, kMicrosPerSecond, is_valid_bigtime, com__bigtimetochar>;
// clang-format on

// The style that texts take in a locale.
std::uint32_t text_style(const vdx_locale& locale);

// One name for each month, of one byte that no style shows: what stands in for names that are longer
// than the formatters take.
inline constexpr const char* kMonthMarks[12] = {"\1", "\2",  "\3",  "\4",  "\5",  "\6",
                                                "\7", "\10", "\11", "\12", "\13", "\14"};

// The text of n bytes with the locale's names in place of the marks, in room (0 or more) bytes: the
// bytes placed, 0 where it was cut.
std::int32_t place_names(const vdx_locale& locale, const char* text, std::int32_t n, char* buffer,
                         std::int32_t room);

template <typename Type>
[[gnu::cold, gnu::noinline]] std::int32_t format_with_long_names(const typename Type::Image& image,
                                                                 std::uint32_t style,
                                                                 const vdx_locale& locale,
                                                                 char* buffer, std::int32_t room) {
  char marked[kLongestDateText];
  const std::int32_t n = Type::format(&image, marked, sizeof marked, style, kMonthMarks);
  return n <= 0 ? n : place_names(locale, marked, n, buffer, room);
}

// The text of a value, a valid image of the type, with the locale's names in room (0 or more) bytes,
// and its code; length is what was placed. shows_long is the locale's, or false where the caller
// knows that it is.
template <typename Type>
VDX_INLINE std::int32_t date_text(const void* value, std::uint32_t style, const vdx_locale& locale,
                                  bool shows_long, void* buffer, std::int32_t room,
                                  std::int32_t& length) {
  const auto image = load<typename Type::Image>(value);
  auto* const text = static_cast<char*>(buffer);
  const std::int32_t placed =
      shows_long ? format_with_long_names<Type>(image, style, locale, text, room)
                 : Type::format(&image, text, room, style, locale.shown_months.table());
  if (placed > 0) [[likely]] {
    length = placed;
    return VDX_SUCCESS;
  }
  length = placed == 0 ? room : 0;
  return placed == 0 ? VDX_OVERFLOW : placed == -1 ? VDX_BAD_STYLE : VDX_NO_MONTH_NAMES;
}

}  // namespace vdx

#endif
