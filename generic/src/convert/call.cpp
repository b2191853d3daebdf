// The reports of failed checks, out of line: a conversion has one cold jump for each.
#include "convert/call.h"
#include "frame/check.h"

namespace vdx {

std::int32_t pointer_missing(const char* file, std::int32_t line) {
  com_raise_invalid_null_pointer(file, line);
  return VDX_OVERFLOW;
}

std::int32_t contract_broken(const char* file, std::int32_t line) {
  com_bomb(file, line);
  return VDX_OVERFLOW;
}

}  // namespace vdx
