#include "convert/exact_value.h"

namespace vdx {

std::int32_t write_exact(const Call& call, const Exact& value) {
  exact_numeric::set_length(call);
  return write_numeric(value, call.format->precision, call.format->scale, call.destination);
}

std::int32_t write_exact(const Call& call, const Text& text) {
  exact_numeric::set_length(call);
  const std::int32_t code =
      parse_numeric(text.bytes, text.length, text.attributes, call.format->precision,
                    call.format->scale, call.destination);
  if (code == VDX_SYNTAX) *call.length = 0;
  return code;
}

}  // namespace vdx
