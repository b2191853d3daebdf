// The thread-local keys that callers made: systems check none, and some are other libraries'.
#ifndef VDX_SERVICE_OWN_KEYS_H
#define VDX_SERVICE_OWN_KEYS_H

#include <array>
#include <atomic>
#include <cstddef>

#include "vdxcomn/thread.h"

namespace vdx {

template <std::size_t Most>
class OwnKeys {
 public:
  bool has(vdx_key key) const { return key < Most && made_[key].load(std::memory_order_relaxed); }
  // False for a key beyond those that there may be.
  bool add(vdx_key key) {
    if (key < Most) made_[key].store(true, std::memory_order_relaxed);
    return key < Most;
  }
  // Whether it was one, which it is for one caller alone.
  bool remove(vdx_key key) {
    return key < Most && made_[key].exchange(false, std::memory_order_relaxed);
  }

 private:
  std::array<std::atomic<bool>, Most> made_{};
};

}  // namespace vdx

#endif
