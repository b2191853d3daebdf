#include "number/float_exact.h"

#include "number/float_rounding.h"

namespace vdx {
namespace {

// Powers of five in one limb: 5^27 has 63 bits, 5^28 has 66. A power of ten is one of five and one
// of two, which shifts out of the two lowest limbs of its table.
constexpr std::int32_t kLimbFives = 27;
inline std::uint64_t limb_power_of_5(std::int32_t exponent) {
  const Magnitude& ten = kPowersOfTen[static_cast<std::size_t>(exponent)];
  return ten[0] >> exponent | ten[1] << 1 << (63 - exponent);
}

// Calls with powers of five whose product is 5^exponent.
template <typename Use>
void for_powers_of_5(std::int32_t exponent, Use use) {
  for (; exponent > 0; exponent -= kLimbFives)
    use(limb_power_of_5(exponent < kLimbFives ? exponent : kLimbFives));
}

// m * 2^bits, or all ones where that passes 256 bits.
void shift_up(Magnitude& m, std::int32_t bits) {
  for (; bits > 0; bits -= 63) {
    const std::int32_t step = bits < 63 ? bits : 63;
    if (multiply_add(m, std::uint64_t{1} << step, 0) != 0) {
      m.fill(~std::uint64_t{0});
      return;
    }
  }
}

// m / 2^bits (1 or more), halves rounded up.
void shift_down(Magnitude& m, std::int32_t bits) {
  const Magnitude old = m;
  const std::int32_t limbs = (bits - 1) / 64, step = (bits - 1) % 64;
  const auto at = [&old](std::int32_t i) { return i < 4 ? old[static_cast<std::size_t>(i)] : 0; };
  // One bit less first: the last bit then is the half.
  for (std::int32_t i = 0; i < 4; ++i)
    m[static_cast<std::size_t>(i)] = at(i + limbs) >> step | at(i + limbs + 1) << 1 << (63 - step);
  const std::uint64_t half = m[0] & 1;
  for (std::size_t i = 0; i < 4; ++i) m[i] = m[i] >> 1 | (i < 3 ? m[i + 1] << 63 : 0);
  multiply_add(m, 1, half);
}

// The float nearest to m / 10^scale, m being above zero, by m * 2^256 / 5^scale. 5^77 has 179 bits,
// so the quotient has 77 or more: its upper 64 and whether anything follows decide.
template <typename F>
std::int32_t round_quotient(const Magnitude& m, std::int32_t scale, F& value) {
  std::array<std::uint64_t, 8> work = {0, 0, 0, 0, m[0], m[1], m[2], m[3]};
  bool more = false;
  // A remainder of one of the divisions is a remainder of the division by the product.
  for_powers_of_5(scale, [&work, &more](std::uint64_t divisor) {
    std::uint64_t rest = 0;
    for (std::size_t i = work.size(); i-- > 0;) {
      if (rest == 0 && work[i] == 0) continue;
      const Quotient step = Wide::divide(rest, work[i], divisor);
      work[i] = step.quotient;
      rest = step.remainder;
    }
    more = more || rest != 0;
  });
  std::size_t top = work.size() - 1;
  while (work[top] == 0) --top;  // stops above the last limb: 77 bits take two
  const int shift = std::countl_zero(work[top]);
  const std::uint64_t next = work[top - 1];
  for (std::size_t i = 0; i + 1 < top; ++i) more = more || work[i] != 0;
  more = more || next << shift != 0;
  const std::uint64_t high = work[top] << shift | next >> 1 >> (63 - shift);
  // 10^scale is 5^scale * 2^scale.
  const std::int32_t exponent = 64 * static_cast<std::int32_t>(top) - shift - 256 - scale;
  return round_binary(high, more, exponent, value);
}

}  // namespace

template <typename F>
std::int32_t nearest_float(const Exact& exact, F& value) {
  const Magnitude& m = exact.magnitude;
  std::int32_t code = kUndecided;
  if ((m[1] | m[2] | m[3]) == 0) code = round_decimal(m[0], -exact.scale, value);
  if (code == kUndecided) code = round_quotient(m, exact.scale, value);
  value = with_sign(value, exact.negative);
  return code;
}

Exact exact_double(double value, std::int32_t scale) {
  using Format = FloatFormat<double>;
  const auto image = std::bit_cast<std::uint64_t>(value);
  const FloatParts<double> parts(image & ~Format::kSign);
  Exact exact{(image & Format::kSign) != 0, scale, {parts.size, 0, 0, 0}};
  Magnitude& m = exact.magnitude;
  // The fives of the power of ten make at most 53 + 179 bits; its twos join the exponent.
  for_powers_of_5(scale, [&m](std::uint64_t power) { multiply_add(m, power, 0); });
  const std::int32_t exponent = parts.exponent + scale;
  if (exponent >= 0)
    shift_up(m, exponent);
  else
    shift_down(m, -exponent);
  if (is_zero(m)) exact.negative = false;
  return exact;
}

template std::int32_t nearest_float(const Exact&, float&);
template std::int32_t nearest_float(const Exact&, double&);

}  // namespace vdx
