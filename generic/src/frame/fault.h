// The inside of faults: what a reader finds out about a text that it refuses, and how that gets into
// the caller's record.
//
// A finding is optional for every grammar: null on the way of values, so that readers pay nothing
// for it. After a failure the text is read once more, by the same grammar, with a finding.
#ifndef VDX_FRAME_FAULT_H
#define VDX_FRAME_FAULT_H

#include <cstddef>
#include <cstdint>

#include "vdxcomn/fault.h"

namespace vdx {

struct Finding {
  std::int32_t reason = VDX_REASON_NONE;
  std::int64_t offset = 0;
  std::int64_t length = 0;
  std::int64_t value = 0, lowest = 0, highest = 0;
  bool negative = false;  // a number with a minus sign

  void note(std::int32_t why, std::int64_t at, std::int64_t bytes) {
    reason = why;
    offset = at;
    length = bytes;
  }
  // A number from its sign or first digit up to `end`; whether it fits is for others to say.
  void note_number(bool minus, std::int64_t begin, std::int64_t end) {
    negative = minus;
    note(VDX_REASON_NONE, begin, end - begin);
  }
  void note_range(std::int64_t read, std::int64_t least, std::int64_t most) {
    value = read;
    lowest = least;
    highest = most;
  }
};

// The versions of contexts that are accepted, and those that can have a record.
inline constexpr std::int32_t kFirstVersion = 114;
inline constexpr std::int32_t kFaultVersion = 115;

// The caller's record; null without one. Contexts of older versions end before the field.
inline vdx_fault* fault_of(const vdx_context* context) {
  return context != nullptr && context->version >= kFaultVersion ? context->fault : nullptr;
}

// A short text of a record.
struct FaultText {
  const char* bytes = nullptr;
  std::size_t length = 0;
};

// Fills the record of a context, if it has one, with row -1.
[[gnu::cold]] void note_fault(const vdx_context* context, std::int32_t code, std::int32_t source,
                              std::int32_t destination, const Finding& finding,
                              FaultText limit = {}, FaultText text = {});

// Sets the row of the fault that was noted last.
[[gnu::cold]] void note_row(const vdx_context* context, std::int64_t row);

// Hides the record of a context for as long as it lives: a column keeps its first fault.
class FaultKept {
 public:
  explicit FaultKept(vdx_context* context) : context_(context), fault_(fault_of(context)) {
    if (fault_ != nullptr) context_->fault = nullptr;
  }
  ~FaultKept() {
    if (fault_ != nullptr) context_->fault = fault_;
  }
  FaultKept(const FaultKept&) = delete;
  FaultKept& operator=(const FaultKept&) = delete;

 private:
  vdx_context* context_;
  vdx_fault* fault_;
};

}  // namespace vdx

#endif
