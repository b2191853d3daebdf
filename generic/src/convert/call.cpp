// The reports of failed checks, out of line: a conversion has one cold jump for each.
#include "convert/call.h"
#include "frame/check.h"

namespace vdx {

std::int32_t pointer_missing(const char* function, const char* file, std::int32_t line) {
  fail_pointer(file, line, function, "one of the six arguments");
  return VDX_OVERFLOW;
}

std::int32_t contract_broken(const char* function, const char* file, std::int32_t line) {
  fail_assertion(file, line, function, "datatypes, lengths and locales that it takes");
  return VDX_OVERFLOW;
}

}  // namespace vdx
