#include "number/com_num.h"

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

// A magnitude on its way to a result: a product of two, or a dividend of one and two powers of ten,
// and two more limbs for carries.
struct WideValue {
  static constexpr std::size_t kLimbs = 14;
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
  // Cutting first and rounding last rounds like rounding once: half of what goes is a multiple of
  // what was cut.
  for (; up < -kMaxPrecision && value.count != 0; up += kMaxPrecision)
    value.count = divide_by_power<false>(value.limbs, value.count, kMaxPrecision);
  if (value.count != 0)
    value.count = divide_by_power<true>(value.limbs, value.count, std::min(-up, kMaxPrecision));
  magnitude = value.low();
  return value.count <= 4;
}

// The image of a magnitude at its scale; where it does not fit, the largest of the precision.
VDX_INLINE std::int32_t put_image(bool fits, const Magnitude& given, bool negative,
                                  std::int32_t precision, std::int32_t scale, void* image) {
  const Magnitude& limit = power_of_ten(precision);
  Magnitude magnitude = given;
  std::int32_t code = VDX_SUCCESS;
  if (!fits || !less(magnitude, limit)) [[unlikely]] {
    magnitude = limit;
    for (std::uint64_t& limb : magnitude)
      if (limb-- != 0) break;
    code = VDX_OVERFLOW;
  }
  const std::size_t bytes = kBytesOfPrecision[static_cast<std::size_t>(precision)] - 1U;
  auto* const out = static_cast<std::uint8_t*>(image);
  out[0] = static_cast<std::uint8_t>(precision);
  out[1] = static_cast<std::uint8_t>(scale);
  out[2] = negative && !is_zero(magnitude) ? 1 : 0;
  std::uint8_t* const digits = out + 3;
  std::uint8_t* const end = digits + bytes;
  std::memset(digits, 0, kNumericBytes - 3);
  const std::size_t top = (bytes - 1) / 8;
  store(digits, reverse_bytes(magnitude[top] << (7 - (bytes - 1) % 8) * 8));
  const auto limb = [end, &magnitude](std::size_t i) {
    store(end - 8 * (i + 1), reverse_bytes(magnitude[i]));
  };
  switch (top) {
    default:
      limb(2);
      [[fallthrough]];
    case 2:
      limb(1);
      [[fallthrough]];
    case 1:
      limb(0);
      [[fallthrough]];
    case 0:
      break;
  }
  return code;
}

// What an operation was asked for, and its operands.
struct Operation {
  Exact a, b;
  std::int32_t precision, scale;
  vdx_num* result;

  std::int32_t put(bool fits, const Magnitude& magnitude, bool negative) const {
    return put_image(fits, magnitude, negative, precision, scale, result);
  }

  std::int32_t put(WideValue& value) const {
    Magnitude magnitude;
    const bool fits = rescale_wide(value, scale, magnitude);
    return put(fits, magnitude, value.negative);
  }
};

// a + b at one scale, where `size` limbs hold either; the sum has one more. Signs are as
// unpredictable as values: a difference is a sum with the complement, and is complemented again
// where it comes out below zero.
VDX_INLINE void add_signed(const std::uint64_t* a, bool a_negative, const std::uint64_t* b,
                           bool b_negative, std::size_t size, WideValue& sum) {
  const std::uint64_t differ = a_negative != b_negative ? 1 : 0;
  std::uint64_t carry = differ;
  for (std::size_t i = 0; i < size; ++i) sum.limbs[i] = add_carry(a[i], b[i] ^ (0 - differ), carry);
  const std::uint64_t below = differ & (carry ^ 1);
  sum.limbs[size] = carry & (differ ^ 1);
  carry = below;
  for (std::size_t i = 0; i < size; ++i)
    sum.limbs[i] = add_carry(sum.limbs[i] ^ (0 - below), 0, carry);
  sum.negative = a_negative != (below != 0);
}

// Operands whose common scale takes more than 256 bits.
[[gnu::cold, gnu::noinline]] void add_wide(const Exact& a, const Exact& b, WideValue& sum) {
  std::uint64_t wide[2][8] = {};
  const Exact* const values[] = {&a, &b};
  for (std::size_t i = 0; i < 2; ++i) {
    const Exact& value = *values[i];
    multiply_limbs(wide[i], value.magnitude.data(), 4, power_of_ten(sum.scale - value.scale).data(),
                   4);
  }
  add_signed(wide[0], a.negative, wide[1], b.negative, 8, sum);
  sum.count = used_limbs(sum.limbs, 9);
}

template <bool kSubtract>
VDX_INLINE std::int32_t add(Operation& operation) {
  Exact& a = operation.a;
  Exact& b = operation.b;
  if constexpr (kSubtract) b.negative = !b.negative;
  WideValue sum;
  sum.scale = std::max(a.scale, b.scale);
  if (a.scale != b.scale) [[unlikely]] {
    Exact finer_a = a, finer_b = b;
    if (!scale_up(finer_a.magnitude, sum.scale - a.scale) ||
        !scale_up(finer_b.magnitude, sum.scale - b.scale)) {
      add_wide(a, b, sum);
      return operation.put(sum);
    }
    a = finer_a;
    b = finer_b;
  }
  add_signed(a.magnitude.data(), a.negative, b.magnitude.data(), b.negative, 4, sum);
  if (sum.scale == operation.scale) [[likely]] {
    const Magnitude low{sum.limbs[0], sum.limbs[1], sum.limbs[2], sum.limbs[3]};
    return operation.put(sum.limbs[4] == 0, low, sum.negative);
  }
  sum.count = used_limbs(sum.limbs, 5);
  return operation.put(sum);
}

VDX_INLINE std::int32_t multiply(Operation& operation) {
  WideValue a, product;
  a.set(operation.a.magnitude);
  product.multiply(a, operation.b.magnitude);
  product.scale = operation.a.scale + operation.b.scale;
  product.negative = operation.a.negative != operation.b.negative;
  return operation.put(product);
}

VDX_INLINE std::int32_t divide(Operation& operation) {
  const Exact& a = operation.a;
  const Exact& b = operation.b;
  if (is_zero(b.magnitude)) return VDX_ARITHMETIC;
  const bool negative = a.negative != b.negative;
  WideValue top;
  top.set(a.magnitude);
  std::int32_t up = operation.scale - a.scale + b.scale;
  if (up < 0) {
    // The whole part of a quotient is that of the dividend's whole part by the same divisor.
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
    std::memcpy(quotient.data(), limbs, std::min<std::size_t>(used, 4) * 8);
  }
  return operation.put(fits, quotient, negative);
}

template <std::int32_t (*Operator)(Operation&)>
VDX_INLINE std::int32_t operate(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  Operation operation;
  if (read_numeric(a, operation.a) != VDX_SUCCESS || read_numeric(b, operation.b) != VDX_SUCCESS)
    return VDX_INVALID;
  // The result may be an operand: what it asks for is read before anything is written.
  operation.precision = result->precision;
  operation.scale = result->scale;
  operation.result = result;
  if (operation.precision < 1 || operation.precision > kMaxPrecision) return VDX_BAD_PRECISION;
  if (operation.scale > kMaxPrecision) return VDX_BAD_SCALE;
  return Operator(operation);
}

// -1, 0 or 1.
std::int32_t compare(const Exact& a, const Exact& b) {
  if (a.negative != b.negative) return a.negative ? -1 : 1;
  Magnitude left = a.magnitude, right = b.magnitude;
  const std::int32_t away = a.negative ? -1 : 1;
  // At a finer scale than 256 bits have room for, either is larger than all that has room.
  if (a.scale < b.scale && !scale_up(left, b.scale - a.scale)) return away;
  if (b.scale < a.scale && !scale_up(right, a.scale - b.scale)) return -away;
  return less(left, right) ? -away : less(right, left) ? away : 0;
}

}  // namespace

bool rescale(Exact& value, std::int32_t scale) {
  if (value.scale == scale) return true;
  if (value.scale < scale) {
    const std::int32_t up = std::min(scale - value.scale, kMaxPrecision + 1);
    value.scale = scale;
    return scale_up(value.magnitude, up);
  }
  WideValue wide;
  wide.set(value.magnitude);
  wide.scale = std::min(value.scale - scale, 2 * kMaxPrecision);  // drops every digit of 256 bits
  const bool fits = rescale_wide(wide, 0, value.magnitude);
  value.scale = scale;
  if (is_zero(value.magnitude)) value.negative = false;
  return fits;
}

std::int32_t write_numeric(const Exact& value, std::int32_t precision, std::int32_t scale,
                           void* image) {
  if (precision < 1 || precision > kMaxPrecision) return VDX_BAD_PRECISION;
  if (scale < 0 || scale > kMaxPrecision) return VDX_BAD_SCALE;
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
  return vdx::operate<vdx::add<false>>(a, b, result);
}

std::int32_t comn_numsub(const vdx_num* a, const vdx_num* b, vdx_num* result) {
  VDX_CHECK_OPERANDS(VDX_OVERFLOW);
  VDX_CHECK_POINTER(result, VDX_OVERFLOW);
  return vdx::operate<vdx::add<true>>(a, b, result);
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
