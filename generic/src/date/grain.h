// The two grains that values count a time of day in, for code that is the same at both.
#ifndef VDX_DATE_GRAIN_H
#define VDX_DATE_GRAIN_H

#include <cstdint>

#include "date/calendar.h"

namespace vdx {

struct Ticks {
  using Value = vdx_datetime;
  using Count = std::uint32_t;  // up to kTicksMask, above the ticks of a day
  static constexpr Count kPerSecond = kTicksPerSecond;

  static constexpr std::int32_t day(const Value& value) { return value.day; }
  static constexpr Count time(const Value& value) { return time(value.time); }
  static constexpr Count time(std::int32_t word) { return static_cast<Count>(word & kTicksMask); }
};

struct Micros {
  using Value = vdx_bigdatetime;
  using Count = std::uint64_t;  // below a day
  static constexpr Count kPerSecond = kMicrosPerSecond;

  static constexpr std::int32_t day(Value value) { return day_of_big(value); }
  static constexpr Count time(Value value) { return static_cast<Count>(micros_of_big(value)); }
};

// A time of day as seconds and what is left of its grain below a second.
struct Seconds {
  std::uint32_t whole;
  std::uint32_t rest;
};

template <typename Grain>
constexpr Seconds seconds_of(typename Grain::Count time) {
  const auto whole = static_cast<std::uint32_t>(time / Grain::kPerSecond);
  return {whole, static_cast<std::uint32_t>(time - whole * Grain::kPerSecond)};
}

}  // namespace vdx

#endif
