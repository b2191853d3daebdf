// The thread-local keys that comn_create_key made and comn_drop_key has not dropped. The system
// neither checks a key nor tells whose it is, and other libraries have keys, too.
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
  // False, with nothing done, if the key is too large.
  bool add(vdx_key key) {
    if (key < Most) made_[key].store(true, std::memory_order_relaxed);
    return key < Most;
  }
  // Forgets the key. True for exactly one of several concurrent callers.
  bool remove(vdx_key key) {
    return key < Most && made_[key].exchange(false, std::memory_order_relaxed);
  }

 private:
  std::array<std::atomic<bool>, Most> made_{};
};

}  // namespace vdx

#endif
