// Arithmetic of exact numerics, and their rescaling and rounding.
//
// Operands and results are Exact: a sign, a magnitude of 256 bits, a scale of 0 to 77. An operation
// is done exactly, its result is rescaled to the scale that the caller asks for (half away from zero,
// quotients truncated) and only then held against the precision. Each has a short way, in registers,
// for operands and a result of which no scale must change, as in a column, and for products and
// quotients of at most two limbs; everything else goes by WideValue, in memory and out of line.
#include "number/numeric.h"

#include <algorithm>

#include "frame/check.h"
#include "vdxcomn/number.h"

namespace vdx {

constinit const std::array<Divisor, kMaxPrecision + 1> kPowerDivisors = [] {
  std::array<Divisor, kMaxPrecision + 1> divisors{};
  for (std::size_t i = 0; i < divisors.size(); ++i)
    divisors[i] = make_divisor<PortableWide>(kPowersOfTen[i]);
  return divisors;
}();

namespace {

constexpr const Magnitude& power_of_ten(std::int32_t exponent) {
  return kPowersOfTen[static_cast<std::size_t>(exponent)];
}

// A magnitude before it is rescaled. The longest is a dividend of 4 limbs times 10^(77 + 77), two
// factors of 4 limbs each; divisions need one limb more.
struct WideValue {
  static constexpr std::size_t kLimbs = 13;
  std::uint64_t limbs[kLimbs];
  std::size_t count;  // without leading zero limbs
  std::int32_t scale;
  bool negative;

  void set(const Magnitude& magnitude) {
    std::memcpy(limbs, magnitude.data(), sizeof magnitude);
    count = used_limbs(limbs, 4);
  }
  void multiply(const WideValue& other, const Magnitude& factor) {
    const std::size_t size = used_limbs(factor.data(), 4);
    multiply_limbs(limbs, other.limbs, other.count, factor.data(), size);
    count = used_limbs(limbs, other.count + size);
  }
  Magnitude low() const {
    Magnitude magnitude{};
    std::memcpy(magnitude.data(), limbs, std::min<std::size_t>(count, 4) * 8);
    return magnitude;
  }
};

// The value at another scale; false where its magnitude passes 256 bits.
bool rescale_wide(WideValue& value, std::int32_t scale, Magnitude& magnitude) {
  std::int32_t up = scale - value.scale;
  if (up >= 0) {
    magnitude = value.low();
    return value.count <= 4 && scale_up(magnitude, up);
  }
  // A product may have twice the places that one power of ten takes away. Truncating first and
  // rounding last is the same as rounding once: half the power that is left is a whole number, so a
  // fraction that was cut cannot lift a value to it.
  for (; up < -kMaxPrecision && value.count != 0; up += kMaxPrecision)
    value.count = divide_by_power<false>(value.limbs, value.count, kMaxPrecision);
  if (value.count != 0)
    value.count = divide_by_power<true>(value.limbs, value.count, std::min(-up, kMaxPrecision));
  magnitude = value.low();
  return value.count <= 4;
}

// What the caller asks of an operation: the precision and scale in the result's image.
struct Request {
  std::int32_t precision, scale;
  vdx_num* result;

  VDX_INLINE std::int32_t put(bool fits, const Magnitude& magnitude, bool negative) const {
    return put_image(fits, magnitude, negative, precision, scale, result);
  }

  [[gnu::noinline]] std::int32_t put(WideValue& value) const {
    Magnitude magnitude;
    const bool fits = rescale_wide(value, scale, magnitude);
    return put(fits, magnitude, value.negative);
  }
};

// a + b at one scale; returns whether the sum is negative. No branch looks at the signs: where they
// differ, the complement of b is added, and the sum is complemented again if it is below zero.
template <std::size_t kSize>
VDX_INLINE bool add_signed(const std::array<std::uint64_t, kSize>& a, bool a_negative,
                           const std::array<std::uint64_t, kSize>& b, bool b_negative,
                           std::array<std::uint64_t, kSize + 1>& sum) {
  const std::uint64_t differ = a_negative != b_negative ? 1 : 0;
  std::uint64_t carry = differ;
  VDX_UNROLL
  for (std::size_t i = 0; i < kSize; ++i) sum[i] = add_carry(a[i], b[i] ^ (0 - differ), carry);
  const std::uint64_t below = differ & (carry ^ 1);
  sum[kSize] = carry & (differ ^ 1);
  carry = below;
  VDX_UNROLL
  for (std::size_t i = 0; i < kSize; ++i) sum[i] = add_carry(sum[i] ^ (0 - below), 0, carry);
  return a_negative != (below != 0);
}

// Operands and result of different scales. At the finer scale an operand may take 512 bits, and the
// sum one more.
[[gnu::noinline]] std::int32_t add_scaled(const Exact& a, const Exact& b, const Request& request) {
  std::array<std::uint64_t, 8> finer[2];
  std::array<std::uint64_t, 9> all;
  WideValue sum;
  sum.scale = std::max(a.scale, b.scale);
  const Exact* const operands[] = {&a, &b};
  for (std::size_t i = 0; i < 2; ++i)
    multiply_limbs(finer[i].data(), power_of_ten(sum.scale - operands[i]->scale).data(), 4,
                   operands[i]->magnitude.data(), 4);
  sum.negative = add_signed(finer[0], a.negative, finer[1], b.negative, all);
  std::memcpy(sum.limbs, all.data(), sizeof all);
  sum.count = used_limbs(sum.limbs, all.size());
  return request.put(sum);
}

VDX_INLINE std::int32_t add(const Exact& a, const Exact& b, const Request& request) {
  if (a.scale != b.scale || a.scale != request.scale) [[unlikely]] {
    const Exact left = a, right = b;  // copies: operands with an address would leave the registers
    const Request wanted = request;
    return add_scaled(left, right, wanted);
  }
  std::array<std::uint64_t, 5> sum;
  const bool negative = add_signed(a.magnitude, a.negative, b.magnitude, b.negative, sum);
  return request.put(sum[4] == 0, {sum[0], sum[1], sum[2], sum[3]}, negative);
}

VDX_INLINE std::int32_t subtract(const Exact& a, const Exact& b, const Request& request) {
  Exact negated = b;
  negated.negative = !b.negative;
  return add(a, negated, request);
}

[[gnu::noinline]] std::int32_t multiply_wide(const Exact& a, const Exact& b,
                                             const Request& request) {
  WideValue left, product;
  left.set(a.magnitude);
  product.multiply(left, b.magnitude);
  product.scale = a.scale + b.scale;
  product.negative = a.negative != b.negative;
  return request.put(product);
}

VDX_INLINE std::int32_t multiply(const Exact& a, const Exact& b, const Request& request) {
  const Magnitude x = a.magnitude, y = b.magnitude;
  if ((x[2] | x[3] | y[2] | y[3]) != 0 || a.scale + b.scale != request.scale) [[unlikely]] {
    const Exact left = a, right = b;
    const Request wanted = request;
    return multiply_wide(left, right, wanted);
  }
  // Two limbs hold all magnitudes of 38 digits.
  const U128 low = Wide::multiply(x[0], y[0]), high = Wide::multiply(x[1], y[1]);
  const U128 left = Wide::multiply(x[0], y[1]), right = Wide::multiply(x[1], y[0]);
  std::uint64_t carry = 0;
  std::uint64_t one = add_carry(low.high, left.low, carry);
  std::uint64_t two = add_carry(high.low, left.high, carry);
  std::uint64_t three = high.high + carry;
  carry = 0;
  one = add_carry(one, right.low, carry);
  two = add_carry(two, right.high, carry);
  three += carry;
  return request.put(true, {low.low, one, two, three}, a.negative != b.negative);
}

[[gnu::noinline]] std::int32_t divide_wide(const Exact& a, const Exact& b, const Request& request) {
  WideValue top;
  top.set(a.magnitude);
  std::int32_t up = request.scale - a.scale + b.scale;
  if (up < 0) {
    // Truncating the dividend first does not change a truncated quotient.
    top.count = divide_by_power<false>(top.limbs, top.count, -up);
  } else {
    while (up != 0 && top.count != 0) {
      const std::int32_t step = std::min(up, kMaxPrecision);
      const WideValue before = top;
      top.multiply(before, power_of_ten(step));
      up -= step;
    }
  }
  const Divisor divisor = make_divisor(b.magnitude);
  Magnitude quotient{};
  bool fits = true;
  if (top.count >= divisor.size) {
    std::uint64_t limbs[WideValue::kLimbs];
    const std::size_t count = top.count - divisor.size + 1;
    divide_limbs(top.limbs, top.count, divisor, limbs);
    const std::size_t used = used_limbs(limbs, count);
    fits = used <= 4;
    for (std::size_t i = 0; i < std::min<std::size_t>(used, 4); ++i) quotient[i] = limbs[i];
  }
  return request.put(fits, quotient, a.negative != b.negative);
}

// a / b, truncated; b is not zero.
VDX_INLINE U128 divide_double(U128 a, U128 b) {
  if (b.high == 0) {
    const std::uint64_t high = a.high / b.low;
    return {high, Wide::divide(a.high - high * b.low, a.low, b.low).quotient};
  }
  // Half the dividend by the divisor's top 64 bits fits a limb. It gives the quotient or one more, for
  // which Warren, "Hacker's Delight", has the proof: less one, it is never too large and at most one
  // too small.
  const int shift = std::countl_zero(b.high);
  const std::uint64_t top = b.high << shift | (b.low >> 1) >> (63 - shift);
  std::uint64_t quotient =
      Wide::divide(a.high >> 1, a.high << 63 | a.low >> 1, top).quotient >> (63 - shift);
  quotient -= quotient != 0 ? 1 : 0;
  const U128 away = Wide::multiply(quotient, b.low);
  std::uint64_t borrow = 0;
  const std::uint64_t low = subtract_borrow(a.low, away.low, borrow);
  const std::uint64_t high = a.high - away.high - quotient * b.high - borrow;
  quotient += static_cast<std::uint64_t>((high > b.high) | ((high == b.high) & (low >= b.low)));
  return {0, quotient};
}

VDX_INLINE std::int32_t divide(const Exact& a, const Exact& b, const Request& request) {
  if (is_zero(b.magnitude)) [[unlikely]]
    return VDX_ARITHMETIC;
  const Magnitude x = a.magnitude, y = b.magnitude;
  if ((x[2] | x[3] | y[2] | y[3]) != 0 || a.scale - b.scale != request.scale) {
    const Exact left = a, right = b;
    const Request wanted = request;
    return divide_wide(left, right, wanted);
  }
  const U128 quotient = divide_double({x[1], x[0]}, {y[1], y[0]});
  return request.put(true, {quotient.low, quotient.high, 0, 0}, a.negative != b.negative);
}

template <std::int32_t (*Operator)(const Exact&, const Exact&, const Request&)>
VDX_INLINE std::int32_t operate(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  Exact left, right;
  if (read_numeric(a, left) != VDX_SUCCESS || read_numeric(b, right) != VDX_SUCCESS) [[unlikely]]
    return VDX_INVALID;
  // The result may be an operand: what it asks for is read before anything is written.
  const Request request{result->precision, result->scale, result};
  if (const std::int32_t code = check_numeric_format(request.precision, request.scale);
      code != VDX_SUCCESS) [[unlikely]]
    return code;
  return Operator(left, right, request);
}

// -1, 0 or 1.
std::int32_t compare(const Exact& a, const Exact& b) {
  if (a.negative != b.negative) return a.negative ? -1 : 1;
  Magnitude left = a.magnitude, right = b.magnitude;
  const std::int32_t away = a.negative ? -1 : 1;
  // A value that does not fit 256 bits at the finer scale is larger than the other, which does.
  if (a.scale < b.scale && !scale_up(left, b.scale - a.scale)) return away;
  if (b.scale < a.scale && !scale_up(right, a.scale - b.scale)) return -away;
  return less(left, right) ? -away : less(right, left) ? away : 0;
}

}  // namespace

std::int32_t put_largest(bool negative, std::int32_t precision, std::int32_t scale, void* image) {
  Magnitude largest = kPowersOfTen[static_cast<std::size_t>(precision)];
  for (std::uint64_t& limb : largest)
    if (limb-- != 0) break;
  put_image(true, largest, negative, precision, scale, image);
  return VDX_OVERFLOW;
}

bool rescale(Exact& value, std::int32_t scale) {
  if (value.scale == scale) return true;
  if (value.scale < scale) {
    const std::int32_t up = scale - value.scale;
    value.scale = scale;
    return scale_up(value.magnitude, up);
  }
  WideValue wide;
  wide.set(value.magnitude);
  wide.scale = value.scale - scale;
  const bool fits = rescale_wide(wide, 0, value.magnitude);
  value.scale = scale;
  if (is_zero(value.magnitude)) value.negative = false;
  return fits;
}

std::int32_t write_numeric(const Exact& value, std::int32_t precision, std::int32_t scale,
                           void* image) {
  if (const std::int32_t code = check_numeric_format(precision, scale); code != VDX_SUCCESS)
      [[unlikely]]
    return code;
  if (value.scale == scale) [[likely]]
    return put_image(true, value.magnitude, value.negative, precision, scale, image);
  Exact exact = value;
  const bool fits = rescale(exact, scale);
  return put_image(fits, exact.magnitude, exact.negative, precision, scale, image);
}

}  // namespace vdx

#define VDX_CHECK_OPERANDS(failure) \
  VDX_CHECK_POINTER(a, failure);    \
  VDX_CHECK_POINTER(b, failure)

std::int32_t comn_numadd(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  VDX_CHECK_OPERANDS(VDX_OVERFLOW);
  VDX_CHECK_POINTER(result, VDX_OVERFLOW);
  return vdx::operate<vdx::add>(a, b, result);
}

std::int32_t comn_numsub(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  VDX_CHECK_OPERANDS(VDX_OVERFLOW);
  VDX_CHECK_POINTER(result, VDX_OVERFLOW);
  return vdx::operate<vdx::subtract>(a, b, result);
}

std::int32_t comn_nummul(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  VDX_CHECK_OPERANDS(VDX_OVERFLOW);
  VDX_CHECK_POINTER(result, VDX_OVERFLOW);
  return vdx::operate<vdx::multiply>(a, b, result);
}

std::int32_t comn_numdivide(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  VDX_CHECK_OPERANDS(VDX_OVERFLOW);
  VDX_CHECK_POINTER(result, VDX_OVERFLOW);
  return vdx::operate<vdx::divide>(a, b, result);
}

std::int32_t comn_numcmp(const vdx_num* a, const vdx_num* b) {
  VDX_CHECK_OPERANDS(VDX_INVALID);
  vdx::Exact left, right;
  if (vdx::read_numeric(a, left) != VDX_SUCCESS || vdx::read_numeric(b, right) != VDX_SUCCESS)
    return VDX_INVALID;
  return vdx::compare(left, right);
}
