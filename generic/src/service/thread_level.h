// Maps the sixteen priorities of comn_set_priority to seven scheduling levels. Each platform has a
// value of its own for a level.
#ifndef VDX_SERVICE_THREAD_LEVEL_H
#define VDX_SERVICE_THREAD_LEVEL_H

#include <cstdint>

namespace vdx {

inline constexpr std::int32_t kPriorities = 16;
inline constexpr std::int32_t kLevels = 7;

// By priority: idle, lowest, below normal, normal, above normal, highest, time critical.
inline constexpr std::uint8_t kThreadLevel[kPriorities] = {0, 0, 0, 1, 1, 2, 2, 3,
                                                           3, 3, 4, 4, 5, 5, 6, 6};

}  // namespace vdx

#endif
