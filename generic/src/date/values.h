// The six calendar datatypes: their images, which images are values, how they are read from text
// and shown as text.
#ifndef VDX_DATE_VALUES_H
#define VDX_DATE_VALUES_H

#include "date/calendar.h"
#include "date/format.h"
#include "date/parse.h"
#include "frame/memory.h"
#include "intl/locale.h"

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

// The readers of texts that need no more than the value. A date4 is read as a datetime.
inline std::int32_t read_datetime(const DateText& text, vdx_datetime& value) {
  bool rounded;
  return read_datetime(text, value, rounded);
}
inline std::int32_t read_date4(const DateText& text, vdx_date4& value) {
  vdx_datetime wide;
  const std::int32_t code = read_datetime(text, wide);
  return code != 0 ? code : date4_of_datetime(wide, value) ? 0 : kDateBadYear;
}

template <typename T>
using DateReader = std::int32_t (*)(const DateText& text, T& value);

template <typename T>
using DateFormatter = std::int32_t (*)(const T& value, char* buffer, std::int32_t length,
                                       std::uint32_t style, const char* const* months);

template <std::int32_t Code, typename T, std::int64_t UnitsPerSecond, bool (*Valid)(const T&),
          DateReader<T> Read, DateFormatter<T> Format>
struct CalendarType {
  using Image = T;
  static constexpr std::int32_t kCode = Code;
  static constexpr std::int64_t kPerSecond = UnitsPerSecond;
  static constexpr auto is_valid = Valid;
  static constexpr auto read_text = Read;
  static constexpr auto format = Format;
};

// date4 counts minutes, but converts as the datetime that it is.
// clang-format off
using DatetimeType    = CalendarType<VDX_DATETIME, vdx_datetime, kTicksPerSecond, is_valid_datetime, read_datetime, format_datetime>;
using Date4Type       = CalendarType<VDX_DATE4, vdx_date4, kTicksPerSecond, is_valid_date4, read_date4, format_date4>;
using DateaType       = CalendarType<VDX_DATEA, vdx_datea, kTicksPerSecond, is_valid_datea, read_datea, format_datea>;
using TimeaType       = CalendarType<VDX_TIMEA, vdx_timea, kTicksPerSecond, is_valid_timea, read_timea, format_timea>;
using BigdatetimeType = CalendarType<VDX_BIGDATETIME, vdx_bigdatetime, kMicrosPerSecond, is_valid_bigdatetime, read_bigdatetime, format_bigdatetime>;
using BigtimeType     = CalendarType<VDX_BIGTIME, vdx_bigtime, kMicrosPerSecond, is_valid_bigtime, read_bigtime, format_bigtime>;
// clang-format on

// The style of dates as text in a locale: its own if it has a layout, else 0.
inline std::uint32_t text_style(const vdx_locale& locale) {
  const auto style = static_cast<std::uint32_t>(locale.date_style);
  return is_style(style) ? style : 0;
}

// Stand-ins for month names that are longer than the formatters take: one byte each that no style
// shows. place_names puts the names in afterwards.
inline constexpr const char* kMonthMarks[12] = {"\1", "\2",  "\3",  "\4",  "\5",  "\6",
                                                "\7", "\10", "\11", "\12", "\13", "\14"};

// Copies the n bytes of text into room (0 or more) bytes, with the locale's names in place of the
// marks. Returns the bytes placed, 0 where the text was cut.
std::int32_t place_names(const vdx_locale& locale, const char* text, std::int32_t n, char* buffer,
                         std::int32_t room);

template <typename Type>
[[gnu::cold, gnu::noinline]] std::int32_t format_with_long_names(const typename Type::Image& image,
                                                                 std::uint32_t style,
                                                                 const vdx_locale& locale,
                                                                 char* buffer, std::int32_t room) {
  char marked[kLongestDateText];
  const std::int32_t n = Type::format(image, marked, sizeof marked, style, kMonthMarks);
  return n <= 0 ? n : place_names(locale, marked, n, buffer, room);
}

// Writes the text of a value (a valid image of the type, at any address) with the locale's names
// into room (0 or more) bytes. Returns the code of the conversion; length receives the bytes
// placed. shows_long: the locale's, or false where the caller knows that to be its value.
template <typename Type>
VDX_INLINE std::int32_t date_text(const void* value, std::uint32_t style, const vdx_locale& locale,
                                  bool shows_long, void* buffer, std::int32_t room,
                                  std::int32_t& length) {
  const auto image = load<typename Type::Image>(value);
  auto* const text = static_cast<char*>(buffer);
  const std::int32_t placed =
      shows_long ? format_with_long_names<Type>(image, style, locale, text, room)
                 : Type::format(image, text, room, style, locale.shown_months.table());
  if (placed > 0) [[likely]] {
    length = placed;
    return VDX_SUCCESS;
  }
  length = placed == 0 ? room : 0;
  return placed == 0 ? VDX_OVERFLOW : placed == -1 ? VDX_BAD_STYLE : VDX_NO_MONTH_NAMES;
}

}  // namespace vdx

#endif
