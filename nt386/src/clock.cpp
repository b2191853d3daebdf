// The clock as local time.
#include "frame/platform.h"

namespace vdx {

// The C runtime's rules rather than the system's, for they follow the variable TZ.
bool local_time(std::tm& now) {
  const std::time_t clock = std::time(nullptr);
  _tzset();
  return clock != static_cast<std::time_t>(-1) && localtime_s(&now, &clock) == 0;
}

}  // namespace vdx
