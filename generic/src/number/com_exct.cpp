// Exact numerics as byte strings of the caller's (vdx_exact): tables and arithmetic.
//
// A byte string is a sign byte, 0 or 1, and a big-endian magnitude of length - 1 bytes; leading zero
// bytes are allowed. The value is the magnitude over 10^scale. Lengths in tables count the sign byte.
// Division works on digits of 32 bits, least significant first, so that everything fits native
// 64-bit arithmetic: this is not a path of conversions, which divide limbs (limbs.h).
#include <bit>
#include <cstring>

#include "number/magnitude.h"
#include "vdxcomn/number.h"

namespace vdx {
namespace {

constexpr std::int32_t kRowBytes = 34;  // a length, then 33 bytes: the sign and 256 bits

// Index i is for a magnitude of i + 1 bytes: the most digits that it always holds, that is the largest
// p with 10^p - 1 at most 2^(8 * (i + 1)) - 1.
constexpr std::array<std::uint8_t, 36> kLengthToPrecision = [] {
  std::array<std::uint8_t, 36> table{};
  for (std::size_t i = 0; i < 32; ++i) {
    Magnitude largest{};
    for (std::size_t byte = 0; byte <= i; ++byte)
      largest[byte / 8] |= std::uint64_t{255} << (8 * (byte % 8));
    std::uint8_t digits = 0;
    while (digits < kMaxPrecision && !less(largest, kPowersOfTen[digits + 1U])) ++digits;
    table[i] = digits;
  }
  table[32] = table[33] = table[34] = 255;
  return table;
}();

// A row is the length of the byte string of 10^p, and that byte string, filled up with zeros.
constexpr auto kPowerRows = [] {
  std::array<std::array<std::uint8_t, kRowBytes>, kMaxPrecision + 1> rows{};
  for (std::size_t p = 0; p < rows.size(); ++p) {
    const std::size_t length = kBytesOfPrecision[p];
    rows[p][0] = static_cast<std::uint8_t>(length);
    for (std::size_t byte = 0; byte + 1 < length; ++byte) {
      rows[p][length - byte] =
          static_cast<std::uint8_t>(kPowersOfTen[p][byte / 8] >> (8 * (byte % 8)));
    }
  }
  return rows;
}();

// An operand of a division. The documented limit of 132 bytes is 33 digits; one more takes what
// normalising shifts out.
constexpr std::size_t kWorkBytes = 132;
struct Work {
  std::array<std::uint32_t, kWorkBytes / 4 + 1> digits{};
  std::size_t size = 0;  // without leading zeros

  void trim() {
    while (size > 0 && digits[size - 1] == 0) --size;
  }
};

// The magnitude of a value times 10^exponent; false where the lengths or the power are too large.
bool read_scaled(const vdx_exact& value, std::int32_t exponent, Work& work) {
  const std::size_t bytes = static_cast<std::size_t>(value.length) - 1;
  const std::size_t power_bytes =
      exponent == 0 ? 0 : kBytesOfPrecision[static_cast<std::size_t>(exponent)] - 1U;
  if (bytes + power_bytes > kWorkBytes) return false;
  for (std::size_t i = 0; i < bytes; ++i)
    work.digits[i / 4] |= std::uint32_t{value.value[bytes - i]} << (8 * (i % 4));
  work.size = (bytes + 3) / 4;
  for (; exponent > 0; exponent -= 9) {  // 10^9 is the largest power in 32 bits
    const auto factor = limb_power(exponent < 9 ? exponent : 9);
    std::uint64_t carry = 0;
    for (std::uint32_t& digit : work.digits) {
      carry += digit * factor;
      digit = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    work.size = work.digits.size();
  }
  work.trim();
  return true;
}

void shift_left(Work& work, int bits) {
  if (bits == 0) return;
  std::uint32_t carry = 0;
  for (std::uint32_t& digit : work.digits) {
    const std::uint32_t next = digit >> (32 - bits);
    digit = digit << bits | carry;
    carry = next;
  }
}

// Long division as by hand. The divisor is shifted until its top bit is set, so that the estimate of
// a digit from the two upper digits is at most two too large; the next digit of both corrects it to
// at most one, which the subtraction shows by a borrow. The shifted remainder is left in the dividend.
void divide_work(Work& dividend, Work& divisor, Work& quotient) {
  if (dividend.size < divisor.size) return;
  const std::size_t n = divisor.size;
  const int shift = std::countl_zero(divisor.digits[n - 1]);
  shift_left(divisor, shift);
  shift_left(dividend, shift);
  const std::uint64_t top = divisor.digits[n - 1];
  const std::uint64_t second = n > 1 ? divisor.digits[n - 2] : 0;
  for (std::size_t j = dividend.size - n + 1; j-- > 0;) {
    std::uint32_t* const part = &dividend.digits[j];
    const std::uint64_t head = std::uint64_t{part[n]} << 32 | part[n - 1];
    std::uint64_t digit = head / top, rest = head % top;
    const std::uint64_t next = n > 1 ? part[n - 2] : 0;
    while (rest <= 0xffffffff && (digit > 0xffffffff || digit * second > (rest << 32 | next))) {
      --digit;
      rest += top;
    }
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i <= n; ++i) {
      const std::uint64_t away = digit * (i < n ? divisor.digits[i] : 0) + borrow;
      borrow = (away >> 32) + (part[i] < static_cast<std::uint32_t>(away) ? 1 : 0);
      part[i] -= static_cast<std::uint32_t>(away);
    }
    if (borrow != 0) {  // the estimate was one too large: add the divisor back
      --digit;
      std::uint64_t carry = 0;
      for (std::size_t i = 0; i <= n; ++i) {
        carry += std::uint64_t{part[i]} + (i < n ? divisor.digits[i] : 0);
        part[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
      }
    }
    quotient.digits[j] = static_cast<std::uint32_t>(digit);
  }
  quotient.size = dividend.size - n + 1;
  quotient.trim();
}

std::uint8_t byte_of(const Work& work, std::size_t i) {
  return i / 4 < work.size ? static_cast<std::uint8_t>(work.digits[i / 4] >> (8 * (i % 4)))
                           : std::uint8_t{0};
}

bool fits_precision(const Work& work, std::uint8_t precision) {
  if (work.size > 8) return false;
  Magnitude magnitude{};
  for (std::size_t i = 0; i < work.size; ++i)
    magnitude[i / 2] |= std::uint64_t{work.digits[i]} << (32 * (i % 2));
  return less(magnitude, kPowersOfTen[precision]);
}

bool in_table(std::int32_t p, std::int32_t i) {
  return p >= 0 && p <= kMaxPrecision && i >= 0 && i < kRowBytes;
}

}  // namespace
}  // namespace vdx

using namespace vdx;

extern "C" {

std::int32_t comb_get_Len_To_Prec(std::int32_t index) {
  return index >= 0 && index < 36 ? kLengthToPrecision[static_cast<std::size_t>(index)] : 0;
}

std::int32_t comb_get_Prec_To_Len(std::int32_t precision) {
  return in_table(precision, 0) ? kBytesOfPrecision[static_cast<std::size_t>(precision)] : 0;
}

std::int32_t comb_get_Byte_Power_val(std::int32_t p, std::int32_t i) {
  const std::uint8_t* byte = comb_get_Byte_Power_ptr(p, i);
  return byte == nullptr ? 0 : *byte;
}

const std::uint8_t* comb_get_Byte_Power_ptr(std::int32_t p, std::int32_t i) {
  if (!in_table(p, i)) return nullptr;
  return kPowerRows[static_cast<std::size_t>(p)].data() + i;
}

std::int32_t com__exctnume_inc(vdx_exact* value) {
  std::int32_t i = value->length - 1;
  while (i > 0 && value->value[i] == 255) --i;
  if (i <= 0) return 1;
  ++value->value[i];
  for (++i; i < value->length; ++i) value->value[i] = 0;
  return 0;
}

std::int32_t com__exctnume_divby10(vdx_exact* value) {
  std::uint32_t remainder = 0;
  for (std::int32_t i = 1; i < value->length; ++i) {
    remainder = remainder << 8 | value->value[i];
    value->value[i] = static_cast<std::uint8_t>(remainder / 10);
    remainder %= 10;
  }
  if (value->length > 1 && value->value[1] == 0) {
    --value->length;
    std::memmove(value->value + 1, value->value + 2, static_cast<std::size_t>(value->length) - 1);
  }
  return static_cast<std::int32_t>(remainder);
}

std::int32_t com__exctnume_div(const vdx_exact* dividend, const vdx_exact* divisor,
                               vdx_exact* quotient) {
  // A quotient of fewer decimals than the operands leave takes the power of ten to the divisor.
  const std::int32_t exponent = quotient->scale - dividend->scale + divisor->scale;
  if (exponent > kMaxPrecision || exponent < -kMaxPrecision || quotient->precision > kMaxPrecision)
    return 1;
  Work top, bottom, result;
  if (!read_scaled(*dividend, exponent > 0 ? exponent : 0, top) ||
      !read_scaled(*divisor, exponent < 0 ? -exponent : 0, bottom))
    return 1;
  if (bottom.size == 0) return 3;
  divide_work(top, bottom, result);
  const std::size_t bytes = static_cast<std::size_t>(quotient->length) - 1;
  for (std::size_t i = bytes; i < 4 * result.size; ++i)
    if (byte_of(result, i) != 0) return 1;
  if (!fits_precision(result, quotient->precision)) return 1;
  const bool negative = result.size != 0 && dividend->value[0] != divisor->value[0];
  quotient->value[0] = negative ? 1 : 0;
  for (std::size_t i = 0; i < bytes; ++i) quotient->value[bytes - i] = byte_of(result, i);
  return 0;
}

}  // extern "C"
