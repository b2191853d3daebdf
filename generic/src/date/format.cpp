// The writers of all layouts.
#include "date/format.h"

#include <bit>
#include <cstring>

namespace vdx {
namespace {

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

// Ticks show whole milliseconds; microseconds are rounded to them, without a carry.
template <typename Grain>
VDX_INLINE void fill_time(typename Grain::Count time, ShownFields& fields) {
  const Seconds seconds = seconds_of<Grain>(time);
  const std::uint32_t minutes = seconds.whole / 60;
  fields.hour = minutes / 60;
  fields.minute = minutes - fields.hour * 60;
  fields.second = seconds.whole - minutes * 60;
  if constexpr (std::is_same_v<Grain, Ticks>) {
    fields.millisecond = seconds.rest * 10 / 3;
    fields.microsecond = fields.millisecond * 1000;
  } else {
    fields.microsecond = seconds.rest;
    fields.millisecond = (seconds.rest + 500) / 1000;
  }
}

// The first `length` bytes of a text that is longer.
template <typename Grain>
[[gnu::cold, gnu::noinline]] std::int32_t cut(LayoutWriter<Grain>* write, std::int32_t day,
                                              typename Grain::Count time, char* buffer,
                                              std::int32_t length, const char* const* months) {
  char whole[kLongestDateText];
  static_cast<void>(write(day, time, whole, -1, months));
  std::memcpy(buffer, whole, static_cast<std::size_t>(length));
  return 0;
}

// Computes only the fields that the layout shows.
template <typename Grain, std::size_t Row>
std::int32_t write(std::int32_t day, typename Grain::Count time, char* buffer, std::int32_t length,
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
  if constexpr (shows_time(Row)) fill_time<Grain>(time, fields);
  const auto size = static_cast<std::int32_t>(layout_width(kStyleRows[Row].layout) + name.length);
  if (length >= 0 && length < size) [[unlikely]]
    return cut<Grain>(&write<Grain, Row>, day, time, buffer, length, months);
  write_layout<Row>(buffer, fields, name);
  return size;
}

template <typename Grain, std::size_t... Row>
constexpr std::array<LayoutWriter<Grain>*, kLayouts> writers(std::index_sequence<Row...>) {
  return {&write<Grain, Row>...};
}

}  // namespace

constexpr std::array<LayoutWriter<Ticks>*, kLayouts> kTickWriters =
    writers<Ticks>(std::make_index_sequence<kLayouts>{});
constexpr std::array<LayoutWriter<Micros>*, kLayouts> kMicroWriters =
    writers<Micros>(std::make_index_sequence<kLayouts>{});

}  // namespace vdx
