// The clock as local time.
#include <ctime>

#include "frame/platform.h"

namespace vdx {

// The C runtime's rules rather than the system's, for they follow the variable TZ.
bool local_time(daterec& now) {
  const std::time_t clock = std::time(nullptr);
  std::tm local{};
  _tzset();
  if (clock == static_cast<std::time_t>(-1) || localtime_s(&local, &clock) != 0) return false;
  now.year = local.tm_year + 1900;
  now.month = local.tm_mon;
  now.day = local.tm_mday;
  now.day_of_year = local.tm_yday + 1;
  now.weekday = local.tm_wday;
  now.hour = local.tm_hour;
  now.minute = local.tm_min;
  now.second = local.tm_sec < 59 ? local.tm_sec : 59;
  return true;
}

}  // namespace vdx
