#include "convert/exact_value.h"

namespace vdx {

std::int32_t write_exact(const Call& call, const Exact& value) {
  exact_numeric::set_length(call);
  return write_numeric(value, call.format->precision, call.format->scale, call.destination);
}

std::int32_t write_exact(const Call& call, const Text& text) {
  const std::int32_t precision = call.format->precision, scale = call.format->scale;
  exact_numeric::set_length(call);
  if (precision < 1 || precision > kMaxPrecision) return VDX_BAD_PRECISION;
  if (scale < 0 || scale > kMaxPrecision) return VDX_BAD_SCALE;
  Exact value;
  if (parse_numeric(text.bytes, text.length, text.attributes, scale, value) ==
      NumericStatus::syntax) {
    *call.length = 0;
    return VDX_SYNTAX;
  }
  return write_numeric(value, precision, scale, call.destination);
}

}  // namespace vdx
