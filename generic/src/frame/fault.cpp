// The caller's record is written as one copy of the bytes that it has.
#include "frame/fault.h"

#include <algorithm>
#include <cstring>

namespace vdx {

namespace {

// Of n bytes at an offset, those that the caller's record has.
void put(vdx_fault* record, std::size_t at, const void* bytes, std::size_t n) {
  if (record->size <= at) return;
  std::memcpy(reinterpret_cast<char*>(record) + at, bytes, std::min(n, record->size - at));
}

template <std::size_t N>
std::int32_t place(FaultText text, char (&to)[N]) {
  const std::size_t n = std::min(text.length, N);
  if (n != 0) std::memcpy(to, text.bytes, n);
  return static_cast<std::int32_t>(n);
}

}  // namespace

void note_fault(const vdx_context* context, std::int32_t code, std::int32_t source,
                std::int32_t destination, const Finding& finding, FaultText limit, FaultText text) {
  vdx_fault* const record = fault_of(context);
  if (record == nullptr) return;
  vdx_fault fault{};
  fault.code = code;
  fault.reason = finding.reason;
  fault.source = source;
  fault.destination = destination;
  fault.row = -1;
  fault.offset = finding.offset;
  fault.length = finding.length;
  fault.value = finding.value;
  fault.lowest = finding.lowest;
  fault.highest = finding.highest;
  fault.limit_length = place(limit, fault.limit);
  fault.text_length = place(text, fault.text);
  constexpr std::size_t kFirst = offsetof(vdx_fault, code);  // the size stays the caller's
  put(record, kFirst, &fault.code, sizeof fault - kFirst);
}

void note_row(const vdx_context* context, std::int64_t row) {
  if (vdx_fault* const record = fault_of(context))
    put(record, offsetof(vdx_fault, row), &row, sizeof row);
}

}  // namespace vdx
