// The clock as local time.
#include "frame/platform.h"

namespace vdx {

bool local_time(std::tm& now) {
  const std::time_t clock = std::time(nullptr);
  // localtime_r alone need not look at the time zone.
  tzset();
  return clock != static_cast<std::time_t>(-1) && localtime_r(&clock, &now) != nullptr;
}

}  // namespace vdx
