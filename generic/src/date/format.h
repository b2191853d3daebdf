// Dates and times as text in the numbered styles.
//
// Each layout is compiled into a writer of its own, at each of the two grains. A table leads from
// the number of a style to its layout: it differs for whole values, dates alone and times alone.
#ifndef VDX_DATE_FORMAT_H
#define VDX_DATE_FORMAT_H

#include <array>
#include <cstdint>
#include <type_traits>

#include "date/format_layout.h"
#include "date/grain.h"
#include "frame/compiler.h"
#include "vdxcomn/date.h"

namespace vdx {

// Results in place of the bytes placed; 0 means that the text was cut to the length.
inline constexpr std::int32_t kUnknownStyle = -1;
inline constexpr std::int32_t kNoMonthNames = -2;

// Writes one layout. length: bytes of the buffer, negative for no limit; months: twelve names, null
// where there are none.
template <typename Grain>
using LayoutWriter = std::int32_t(std::int32_t day, typename Grain::Count time, char* buffer,
                                  std::int32_t length, const char* const* months);

VDX_HIDDEN extern const std::array<LayoutWriter<Ticks>*, kLayouts> kTickWriters;
VDX_HIDDEN extern const std::array<LayoutWriter<Micros>*, kLayouts> kMicroWriters;

template <typename Grain>
VDX_INLINE std::int32_t format(const StyleTable& styles, std::int32_t day,
                               typename Grain::Count time, char* buffer, std::int32_t length,
                               std::uint32_t style, const char* const* months) {
  if (style > kLastStyle || styles[style] == kNoLayout) [[unlikely]]
    return kUnknownStyle;
  if constexpr (std::is_same_v<Grain, Ticks>)
    return kTickWriters[styles[style]](day, time, buffer, length, months);
  else
    return kMicroWriters[styles[style]](day, time, buffer, length, months);
}

// One for each datatype. Nothing is checked of a value.

inline std::int32_t format_datetime(const vdx_datetime& value, char* buffer, std::int32_t length,
                                    std::uint32_t style, const char* const* months) {
  return format<Ticks>(kStyles, value.day, Ticks::time(value), buffer, length, style, months);
}

inline std::int32_t format_date4(const vdx_date4& value, char* buffer, std::int32_t length,
                                 std::uint32_t style, const char* const* months) {
  return format_datetime(datetime_of_date4(value), buffer, length, style, months);
}

inline std::int32_t format_bigdatetime(const vdx_bigdatetime& value, char* buffer,
                                       std::int32_t length, std::uint32_t style,
                                       const char* const* months) {
  return format<Micros>(kStyles, Micros::day(value), Micros::time(value), buffer, length, style,
                        months);
}

inline std::int32_t format_datea(const vdx_datea& value, char* buffer, std::int32_t length,
                                 std::uint32_t style, const char* const* months) {
  return format<Ticks>(kDateStyles, value, 0, buffer, length, style, months);
}

inline std::int32_t format_timea(const vdx_timea& value, char* buffer, std::int32_t length,
                                 std::uint32_t style, const char* const* months) {
  return format<Ticks>(kTimeStyles, 0, Ticks::time(value), buffer, length, style, months);
}

inline std::int32_t format_bigtime(const vdx_bigtime& value, char* buffer, std::int32_t length,
                                   std::uint32_t style, const char* const* months) {
  return format<Micros>(kTimeStyles, 0, Micros::time(value), buffer, length, style, months);
}

}  // namespace vdx

#endif
