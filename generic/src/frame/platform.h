// What the library needs of the platform; posix/src and nt386/src each supply it.
#ifndef VDX_FRAME_PLATFORM_H
#define VDX_FRAME_PLATFORM_H

#include "vdxcomn/date.h"

namespace vdx {

// Leaves after a failed check was reported on stderr: for a handler of the caller's where one is
// set, else the process ends. With resumable the handler may also return, and so does this
// function; without, stderr is closed first, once a process, and nothing returns here.
void fatal_exit(bool resumable);

// Breaks the current time down as local time: fills year to second. Returns false, with nothing
// filled, where the platform cannot tell. A leap second counts as the second before it.
bool local_time(daterec& now);

}  // namespace vdx

#endif
