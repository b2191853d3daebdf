// A mutex that is ready from the start of the process, so that no call to make it can fail.
#ifndef VDX_FRAME_TURN_H
#define VDX_FRAME_TURN_H

#include <mutex>

namespace vdx {

#if defined(_WIN32)
// The C++ library's own mutex is made on first use there.
class Turn {
 public:
  void lock();
  void unlock();

 private:
  void* lock_ = nullptr;
};
#else
using Turn = std::mutex;
#endif

}  // namespace vdx

#endif
