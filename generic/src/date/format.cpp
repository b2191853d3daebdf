// Dates and times to text.
#include "date/calendar.h"
#include "date/format_layout.h"
#include "frame/check.h"
#include "vdxcomn/dateformat.h"

namespace vdx {
namespace {

constexpr std::int32_t kUnknownStyle = -1;
constexpr std::int32_t kNoMonthNames = -2;

VDX_INLINE MonthName month_name(const char* name) {
  if (can_read_ahead(name, 16)) [[likely]] {
    const Block block = Block::whole(name);
    const Words words = block.words();
    return {words.low, static_cast<std::uint8_t>(words.high),
            static_cast<std::uint32_t>(std::countr_zero(block.equal('\0') | 1U << kMonthNameMost))};
  }
  std::uint32_t length = 0;
  while (length < kMonthNameMost && name[length] != '\0') ++length;
  char copy[16] = {};
  std::memcpy(copy, name, length);
  return {load<std::uint64_t>(copy), static_cast<std::uint8_t>(copy[8]), length};
}

// A time of day and how its fields are told from it.
struct Ticks {
  std::uint32_t count;
  VDX_INLINE void fill(ShownFields& fields) const {
    const std::uint32_t seconds = count / 300;
    const std::uint32_t minutes = seconds / 60;
    fields.hour = minutes / 60;
    fields.minute = minutes - fields.hour * 60;
    fields.second = seconds - minutes * 60;
    fields.millisecond = (count - seconds * 300) * 10 / 3;
    fields.microsecond = fields.millisecond * 1000;
  }
};

struct Microseconds {
  std::uint64_t count;  // below a day
  VDX_INLINE void fill(ShownFields& fields) const {
    const auto seconds = static_cast<std::uint32_t>(count / 1000000);
    const std::uint32_t minutes = seconds / 60;
    fields.hour = minutes / 60;
    fields.minute = minutes - fields.hour * 60;
    fields.second = seconds - minutes * 60;
    fields.microsecond = static_cast<std::uint32_t>(count - seconds * std::uint64_t{1000000});
    fields.millisecond = (fields.microsecond + 500) / 1000;
  }
};

template <typename Time>
using Show = std::int32_t(std::int32_t day, Time time, char* buffer, std::int32_t length,
                          const char* const* months);

// The first `length` bytes of a text that is longer.
template <typename Time>
[[gnu::cold, gnu::noinline]] std::int32_t cut(Show<Time>* show, std::int32_t day, Time time,
                                              char* buffer, std::int32_t length,
                                              const char* const* months) {
  char whole[kLongestDateText];
  static_cast<void>(show(day, time, whole, -1, months));
  std::memcpy(buffer, whole, static_cast<std::size_t>(length));
  return 0;
}

// A whole style in one piece of code: only what it shows is told from the value.
template <typename Time, std::size_t Row>
std::int32_t show(std::int32_t day, Time time, char* buffer, std::int32_t length,
                  const char* const* months) {
  ShownFields fields;
  MonthName name;
  name.length = 0;
  if constexpr (shows_name(Row))
    if (months == nullptr) [[unlikely]]
      return kNoMonthNames;
  if constexpr (shows_date(Row)) {
    const Civil date = civil_of_day(day);
    fields.year = static_cast<std::uint32_t>(date.year);
    fields.month = static_cast<std::uint32_t>(date.month);
    fields.day = static_cast<std::uint32_t>(date.day);
    if constexpr (shows_name(Row)) name = month_name(months[fields.month]);
  }
  if constexpr (shows_time(Row)) time.fill(fields);
  const auto size = static_cast<std::int32_t>(layout_width(kStyleRows[Row].layout) + name.length);
  if (length >= 0 && length < size) [[unlikely]]
    return cut<Time>(&show<Time, Row>, day, time, buffer, length, months);
  write_layout<Row>(buffer, fields, name);
  return size;
}

template <typename Time>
inline constexpr auto kShow = []<std::size_t... Row>(std::index_sequence<Row...>) {
  return std::array{&show<Time, Row>...};
}
(std::make_index_sequence<kLayouts>{});

template <typename Time>
VDX_INLINE std::int32_t format(std::int32_t day, Time time, char* buffer, std::int32_t length,
                               const StyleTable& styles, std::uint32_t style,
                               const char* const* months) {
  if (style > kLastStyle || styles[style] == kNoLayout) [[unlikely]]
    return kUnknownStyle;
  return kShow<Time>[styles[style]](day, time, buffer, length, months);
}

constexpr Ticks ticks_of_word(std::int32_t word) {
  return {static_cast<std::uint32_t>(word & kTicksMask)};
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t com__datetochar(const vdx_datetime* value, char* buffer, std::int32_t length,
                             std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);
  const vdx::Ticks ticks = vdx::ticks_of_word(value->time);
  return vdx::format(value->day, ticks, buffer, length, vdx::kStyles, style, months);
}

std::int32_t com__date4tochar(const vdx_date4* value, char* buffer, std::int32_t length,
                              std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  const vdx_datetime wide = vdx::datetime_of_date4(*value);
  return com__datetochar(&wide, buffer, length, style, months);
}

std::int32_t com__bigdatetimetochar(const vdx_bigdatetime* value, char* buffer, std::int32_t length,
                                    std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);
  const vdx::Microseconds time{static_cast<std::uint64_t>(vdx::micros_of_big(*value))};
  return vdx::format(vdx::day_of_big(*value), time, buffer, length, vdx::kStyles, style, months);
}

std::int32_t com__dateatochar(const vdx_datea* value, char* buffer, std::int32_t length,
                              std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);
  return vdx::format(*value, vdx::Ticks{0}, buffer, length, vdx::kDateStyles, style, months);
}

std::int32_t com__timeatochar(const vdx_timea* value, char* buffer, std::int32_t length,
                              std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);
  const vdx::Ticks ticks = vdx::ticks_of_word(*value);
  return vdx::format(0, ticks, buffer, length, vdx::kTimeStyles, style, months);
}

std::int32_t com__bigtimetochar(const vdx_bigtime* value, char* buffer, std::int32_t length,
                                std::uint32_t style, const char* const* months) {
  VDX_CHECK_POINTER(value, vdx::kUnknownStyle);
  VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);
  const vdx::Microseconds time{static_cast<std::uint64_t>(vdx::micros_of_big(*value))};
  return vdx::format(0, time, buffer, length, vdx::kTimeStyles, style, months);
}

}  // extern "C"
