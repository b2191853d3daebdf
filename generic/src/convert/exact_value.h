// Exact numerics as values: the kind of num and decimal, and how they become other numbers, text
// and bytes.
#ifndef VDX_CONVERT_EXACT_VALUE_H
#define VDX_CONVERT_EXACT_VALUE_H

#include "convert/kinds.h"
#include "number/num_text.h"

namespace vdx {

// Toward zero, and only then into the range: what is cut off never makes a value negative.
template <Integral T>
inline std::int32_t narrow(const Exact& value, T& result) {
  const Magnitude whole = whole_part(value);
  const bool wide = (whole[1] | whole[2] | whole[3]) != 0;
  const bool negative = value.negative && !is_zero(whole);
  const std::uint64_t most = signed_magnitude(nearest_limit<T>(negative)).magnitude;
  if (wide || whole[0] > most) [[unlikely]]
    return saturate(negative, result);
  result = static_cast<T>(negative ? 0 - whole[0] : whole[0]);
  return VDX_SUCCESS;
}

inline std::int32_t narrow(const Exact& value, Bit& result) {
  result = is_zero(value.magnitude) ? Bit::zero : Bit::one;
  return VDX_SUCCESS;
}

// Halves away from zero at four places.
template <typename T>
inline std::int32_t narrow(const Exact& value, Money<T>& result) {
  Exact count = value;
  bool fits = rescale(count, 4);
  count.scale = 0;
  std::int64_t wide = 0;
  fits = fits && narrow(count, wide) == VDX_SUCCESS;
  if (!fits) wide = nearest_limit<std::int64_t>(value.negative);
  fits = narrow(wide, result.count) == VDX_SUCCESS && fits;
  return fits ? VDX_SUCCESS : VDX_OVERFLOW;
}

inline NumericText text_of(const Call&, const Exact& value) {
  NumericText text;
  put_numeric(value, text);
  return text;
}

[[gnu::noinline]] inline std::int32_t write_long_numeric(const Call call, const Exact& value) {
  const NumericText text = text_of(call, value);
  const auto n = static_cast<std::int32_t>(text.length());
  if (!text_fits(*call.format, n)) [[unlikely]]
    return misfit(*call.format, call.destination, *call.length, text.data(), n, Misfit::cut);
  std::memcpy(call.destination, text.data(), text.length());
  *call.length = n;
  if ((call.format->format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_text(*call.format, call.destination, n, *call.length);
}

// Most go straight into the destination, piece by piece.
inline std::int32_t write_as_text(const Call& call, const Exact& value) {
  const vdx_datafmt& format = *call.format;
  NumericPieces pieces{};
  if (!split_numeric(value, pieces)) return write_long_numeric(call, value);
  const DirectInteger head({pieces.head, value.negative ? 1U : 0U});
  const auto places = static_cast<std::uint32_t>(value.scale);
  const std::uint32_t whole = head.length() + (pieces.has_middle ? 16 : 0);
  const auto n = static_cast<std::int32_t>(places == 0 ? whole : whole + 1 + places);
  if (format.maxlength < head.kRoom || !text_fits(format, n)) [[unlikely]]
    return write_long_numeric(call, value);
  auto* const to = static_cast<unsigned char*>(call.destination);
  head.put(to);
  if (pieces.has_middle) put_16_digits(to + whole - 16, pieces.middle);
  if (places != 0) put_places(to + whole, pieces.fraction, places);
  *call.length = n;
  if ((format.format & kFinishFlags) == 0) [[likely]]
    return VDX_SUCCESS;
  return finish_text(format, call.destination, n, *call.length);
}

// A numeric keeps its image, which is longer than a C++ type of its value would say.
inline std::int32_t write_as_bytes(const Call& call, const Exact&) {
  return write_bytes(call, call.source, kNumericBytes);
}
inline std::int32_t write_as_varbin(const Call& call, const Exact&) {
  return write_varbin(call, call.source, kNumericBytes);
}

std::int32_t write_exact(const Call& call, const Exact& value);
std::int32_t write_exact(const Call& call, const Text& text);

struct exact_numeric {
  static constexpr std::int32_t kLength = kNumericBytes;
  static void set_length(const Call& call) { *call.length = kLength; }

  using Checked = Exact;
  VDX_INLINE static bool read(const Call& call, Exact& value) {
    return read_numeric(call.source, value) == VDX_SUCCESS;
  }
  static bool readable(const Call& call) {
    Exact value;
    return read(call, value);
  }
  static Exact read(const Call& call) {
    return image_value(static_cast<const std::uint8_t*>(call.source));
  }

  static std::int32_t write(const Call& call, const Exact& value) {
    return write_exact(call, value);
  }
  static std::int32_t write(const Call& call, const Text& text) { return write_exact(call, text); }

  // Whatever says how it becomes a numeric.
  template <typename V>
  requires requires(const Call& call, const V& value) { write_as_numeric(call, value); }
  static std::int32_t write(const Call& call, const V& value) {
    return write_as_numeric(call, value);
  }
};

}  // namespace vdx

#endif
