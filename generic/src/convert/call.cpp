#include "convert/ways.h"
#include "frame/check.h"

namespace vdx {

std::int32_t write_exact(const Call& call, const Exact& value) {
  *call.length = sizeof(vdx_num);
  return write_numeric(value, call.format->precision, call.format->scale, call.destination);
}

std::int32_t contract_failed(Call call, const char* file, std::int32_t line) {
  const bool null = call.context == nullptr || call.source_format == nullptr || call.source == nullptr ||
                    call.format == nullptr || call.destination == nullptr || call.length == nullptr;
  if (null)
    com_raise_invalid_null_pointer(file, line);
  else
    com_bomb(file, line);
  return VDX_OVERFLOW;
}

}  // namespace vdx
