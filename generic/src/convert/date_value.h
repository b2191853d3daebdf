// The calendar kinds: days, times of day, and both together. The value that passes between them is a
// day and a time of day in the units of the source.
//
// A time that becomes coarser is rounded to the nearest unit and stays inside its day. A date
// outside the destination's calendar leaves 1900-01-01 00:00 there.
#ifndef VDX_CONVERT_DATE_VALUE_H
#define VDX_CONVERT_DATE_VALUE_H

#include "convert/kinds.h"
#include "convert/text_value.h"
#include "date/values.h"

namespace vdx {

template <std::int64_t UnitsPerSecond>
struct Moment {
  std::int32_t day;  // 0, 1900-01-01, where the source has no date
  std::int64_t time;
};

using TickMoment = Moment<kTicksPerSecond>;
using MicroMoment = Moment<kMicrosPerSecond>;

// The same in other units, and the code: only digits of a microsecond can be dropped.
template <std::int64_t UnitsPerSecond>
inline std::int32_t in_units(const Moment<UnitsPerSecond>& moment, Moment<UnitsPerSecond>& result) {
  result = moment;
  return VDX_SUCCESS;
}
inline std::int32_t in_units(const TickMoment& moment, MicroMoment& result) {
  result = {moment.day, micros_of_ticks(static_cast<std::int32_t>(moment.time))};
  return VDX_SUCCESS;
}
inline std::int32_t in_units(const MicroMoment& moment, TickMoment& result) {
  result = {moment.day, ticks_of_micros(moment.time)};
  return moment.time * 3 % 10000 == 0 ? VDX_SUCCESS : VDX_TRUNCATED;
}

inline std::int32_t parse_code(const Call& call, std::int32_t result) {
  if (result == 0) [[likely]]
    return VDX_SUCCESS;
  if (result > 0) return VDX_OVERFLOW;
  *call.length = 0;
  return VDX_SYNTAX;
}

// A kind says how images of its type are read and made of a moment; the type says how they are read
// from a text:
//   moment_of(image)      of a valid image
//   make(moment, image)   the code; image is zero where there is none
//   kTellsDigits          whether a time that lost digits is reported
template <typename Kind, typename Type>
struct calendar : fixed<typename Type::Image> {
  using Image = typename Type::Image;
  using Value = Moment<Type::kPerSecond>;

  // A value that knows what it was.
  struct Read : Value {
    using Calendar = Type;
  };

  static bool readable(const Call& call) { return Type::is_valid(load<Image>(call.source)); }
  static Read read(const Call& call) { return {Kind::moment_of(load<Image>(call.source))}; }

  template <std::int64_t UnitsPerSecond>
  static std::int32_t write(const Call& call, const Moment<UnitsPerSecond>& moment) {
    fixed<Image>::set_length(call);
    Value value;
    const std::int32_t exactness = in_units(moment, value);
    Image image{};
    const std::int32_t code = Kind::make(value, image);
    return fixed<Image>::put(call, image,
                             code == VDX_SUCCESS && Kind::kTellsDigits ? exactness : code);
  }

  // Texts are read in style 0, with the order and names of the source's locale. One that is no date
  // or time leaves the destination unchanged.
  static std::int32_t write(const Call& call, const Text& text) {
    fixed<Image>::set_length(call);
    const vdx_locale& locale = locale_of(call.context, call.source_format);
    Image image{};
    std::int32_t length = text.length;
    while (length > 0 && text.bytes[length - 1] == ' ') --length;  // columns are padded
    const std::int32_t result =
        Type::read_text({text.bytes, length, 0, locale.date_order, locale.months.table(),
                         locale.short_months.table(), &text.attributes},
                        image);
    if (result == 0) store(call.destination, image);
    return parse_code(call, result);
  }
};

struct day_count : calendar<day_count, DateaType> {
  static constexpr bool kTellsDigits = false;  // no time is left
  static TickMoment moment_of(vdx_datea day) { return {day, 0}; }
  static std::int32_t make(const TickMoment& moment, vdx_datea& day) {
    day = moment.day;
    return VDX_SUCCESS;
  }
};

template <typename Type>
struct time_of_day : calendar<time_of_day<Type>, Type> {
  using Image = typename Type::Image;
  using Value = Moment<Type::kPerSecond>;
  static constexpr bool kTellsDigits = true;
  static Value moment_of(Image time) { return {0, static_cast<std::int64_t>(time)}; }
  static std::int32_t make(const Value& moment, Image& time) {
    time = static_cast<Image>(moment.time);
    return VDX_SUCCESS;
  }
};

template <typename Type>
struct instant;

template <>
struct instant<DatetimeType> : calendar<instant<DatetimeType>, DatetimeType> {
  static constexpr bool kTellsDigits = true;
  static TickMoment moment_of(const vdx_datetime& value) {
    return {value.day, value.time & kTicksMask};
  }
  static std::int32_t make(const TickMoment& moment, vdx_datetime& value) {
    if (moment.day < kFirstDatetimeDay) return VDX_UNDERFLOW;
    value = {moment.day, static_cast<std::int32_t>(moment.time)};
    return VDX_SUCCESS;
  }
};

// Everything becomes a date4 as a datetime does: to the nearest minute, perhaps past midnight, with
// one code for all that it cannot hold.
template <>
struct instant<Date4Type> : calendar<instant<Date4Type>, Date4Type> {
  static constexpr bool kTellsDigits = false;
  static TickMoment moment_of(const vdx_date4& value) {
    return instant<DatetimeType>::moment_of(datetime_of_date4(value));
  }
  static std::int32_t make(const TickMoment& moment, vdx_date4& value) {
    const vdx_datetime wide{moment.day, static_cast<std::int32_t>(moment.time)};
    return date4_of_datetime(wide, value) ? VDX_SUCCESS : VDX_OVERFLOW;
  }
};

template <>
struct instant<BigdatetimeType> : calendar<instant<BigdatetimeType>, BigdatetimeType> {
  static constexpr bool kTellsDigits = true;
  static MicroMoment moment_of(vdx_bigdatetime value) {
    return {day_of_big(value), micros_of_big(value)};
  }
  static std::int32_t make(const MicroMoment& moment, vdx_bigdatetime& value) {
    const std::int64_t days = std::int64_t{moment.day} - kFirstDay;
    value = static_cast<std::uint64_t>(days * kMicrosPerDay + moment.time) + kFirstBigdatetime;
    return VDX_SUCCESS;
  }
};

// Values of the calendar kinds have texts of their own making.
template <typename V>
concept CalendarValue = requires {
  typename V::Calendar;
};

// Text of a calendar value, in the style and with the names of the destination's locale.
template <typename Type>
VDX_INLINE std::int32_t date_text_for(const Call& call, void* buffer, std::int32_t room,
                                      std::int32_t& length) {
  const vdx_locale& locale = locale_of(call.context, call.format);
  const bool is_plain = locale.shows_plain;
  const std::uint32_t style = is_plain ? 0 : text_style(locale);
  return date_text<Type>(call.source, style, locale, !is_plain && locale.shows_long, buffer, room,
                         length);
}

// The same to a destination that another form of the text goes to: Write stores it.
template <typename Type, std::int32_t (*Write)(const Call&, const Text&)>
VDX_INLINE std::int32_t write_date_text(const Call& call) {
  std::uint8_t text[kLongestDateText];
  std::int32_t n;
  const std::int32_t code = date_text_for<Type>(call, text, sizeof text, n);
  if (code != VDX_SUCCESS) [[unlikely]] {
    *call.length = 0;
    return code;
  }
  return Write(call, {text, n, attributes_of(call.context, call.format)});
}

// A month's name may hold an apostrophe.
template <typename Type>
[[gnu::cold, gnu::noinline]] std::int32_t write_date_quoted(const Call& call) {
  return write_date_text<Type, write_made_text_quoted>(call);
}

template <CalendarValue Value>
VDX_INLINE std::int32_t write_as_text(const Call& call, const Value&) {
  const vdx_datafmt& format = *call.format;
  if ((format.format & VDX_FMT_QUOTE) != 0) [[unlikely]]
    return write_date_quoted<typename Value::Calendar>(call);
  const std::int32_t code = date_text_for<typename Value::Calendar>(call, call.destination,
                                                                    format.maxlength, *call.length);
  if (code == VDX_SUCCESS && (format.format & kFinishFlags) == 0) [[likely]]
    return code;
  if (code != VDX_SUCCESS && code != VDX_OVERFLOW) return code;
  // A text that was cut is one byte too long for the room at least.
  const std::int32_t size = code == VDX_SUCCESS ? *call.length : format.maxlength + 1;
  return finish_text(format, call.destination, size, *call.length);
}

template <CalendarValue Value>
VDX_INLINE std::int32_t write_as_varchar(const Call& call, const Value&) {
  std::int32_t placed;
  const std::int32_t code = date_text_for<typename Value::Calendar>(
      call, static_cast<unsigned char*>(call.destination) + 2, kCountedRoom, placed);
  store(call.destination, static_cast<std::int16_t>(placed));
  *call.length = sizeof(vdx_varchar);
  return code;
}

}  // namespace vdx

#endif
