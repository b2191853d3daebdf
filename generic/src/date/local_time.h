// comn_time without the clock, so that a test can give the time.
#ifndef VDX_DATE_LOCAL_TIME_H
#define VDX_DATE_LOCAL_TIME_H

#include <cstdint>

#include "vdxcomn/date.h"

namespace vdx {

// As comn_time for the given time, of which year to second are read.
std::int32_t give_local_time(const daterec& now, std::int32_t order, std::int32_t twelve_hour,
                             char* buffer, std::int32_t length, std::int32_t* needed,
                             daterec* record);

}  // namespace vdx

#endif
