// What comn_time makes of a local time, whatever clock it came from.
#ifndef VDX_DATE_LOCAL_TIME_H
#define VDX_DATE_LOCAL_TIME_H

#include <cstdint>

#include "vdxcomn/date.h"

namespace vdx {

// The contract of comn_time for a given time, of which year to second are read.
std::int32_t give_local_time(const daterec& now, std::int32_t order, std::int32_t twelve_hour,
                             char* buffer, std::int32_t length, std::int32_t* needed,
                             daterec* record);

}  // namespace vdx

#endif
