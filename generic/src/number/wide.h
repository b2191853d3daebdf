// Products and quotients of 128 bits. Two sets of routines with one shape: what the compiler and
// processor offer, and plain 64-bit code; Wide names the one the library uses.
#ifndef VDX_NUMBER_WIDE_H
#define VDX_NUMBER_WIDE_H

#include <bit>
#include <cstdint>
#include <initializer_list>

namespace vdx {

struct U128 {
  std::uint64_t high;
  std::uint64_t low;
};

struct Quotient {
  std::uint64_t quotient;
  std::uint64_t remainder;
};

struct PortableWide {
  static constexpr U128 multiply(std::uint64_t a, std::uint64_t b) {
    const std::uint64_t a0 = a & 0xffffffff, a1 = a >> 32, b0 = b & 0xffffffff, b1 = b >> 32;
    const std::uint64_t low = a0 * b0;
    const std::uint64_t middle = a1 * b0 + (low >> 32);
    const std::uint64_t cross = a0 * b1 + (middle & 0xffffffff);
    return {a1 * b1 + (middle >> 32) + (cross >> 32), (cross << 32) | (low & 0xffffffff)};
  }

  // high must be below the divisor, so that the quotient fits.
  static constexpr Quotient divide(std::uint64_t high, std::uint64_t low, std::uint64_t divisor) {
    // Two steps of long division by a divisor of two 32-bit digits, shifted so that its top bit is
    // set: an estimated digit is then at most two too large.
    const int shift = std::countl_zero(divisor);
    const std::uint64_t d = divisor << shift;
    const std::uint64_t d1 = d >> 32, d0 = d & 0xffffffff;
    std::uint64_t rest = shift == 0 ? high : (high << shift) | (low >> (64 - shift));
    const std::uint64_t tail = low << shift;
    std::uint64_t quotient = 0;
    for (const std::uint64_t next : {tail >> 32, tail & 0xffffffff}) {
      std::uint64_t digit = rest / d1, left = rest % d1;
      while (digit > 0xffffffff || digit * d0 > ((left << 32) | next)) {
        --digit;
        left += d1;
        if (left > 0xffffffff) break;
      }
      rest = ((rest << 32) | next) - digit * d;
      quotient = (quotient << 32) | digit;
    }
    return {quotient, rest >> shift};
  }
};

#if defined(__SIZEOF_INT128__) && !defined(VDX_PORTABLE)

struct NativeWide {
  __extension__ using Integer = unsigned __int128;

  static constexpr U128 multiply(std::uint64_t a, std::uint64_t b) {
    const Integer product = static_cast<Integer>(a) * b;
    return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
  }

  static Quotient divide(std::uint64_t high, std::uint64_t low, std::uint64_t divisor) {
#if defined(__x86_64__)
    // The language has no way to say that the quotient fits, and would call a routine.
    std::uint64_t quotient, remainder;
    __asm__("divq %4" : "=a"(quotient), "=d"(remainder) : "0"(low), "1"(high), "r"(divisor) : "cc");
    return {quotient, remainder};
#else
    const Integer dividend = (static_cast<Integer>(high) << 64) | low;
    return {static_cast<std::uint64_t>(dividend / divisor),
            static_cast<std::uint64_t>(dividend % divisor)};
#endif
  }
};

using Wide = NativeWide;

#else

using Wide = PortableWide;

#endif

}  // namespace vdx

#endif
