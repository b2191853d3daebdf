// Decimal digits, eight or sixteen at a time.
//
// Text is looked at in blocks of sixteen bytes: byte i of the text is byte i of the block. A mask
// holds one bit a byte, bit i for byte i. Digits are converted by multiply-and-add inside 64-bit
// words, so nothing here branches on what the digits are.
#ifndef VDX_NUMBER_DIGITS_H
#define VDX_NUMBER_DIGITS_H

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(VDX_PORTABLE)
#define VDX_SSE2 1
#include <emmintrin.h>
#endif

// Sanitizers watch bytes that the hardware lets us read; there, and in the portable build, blocks
// are copied by their exact length.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define VDX_EXACT_LOADS 1
#endif
#endif
#if defined(VDX_PORTABLE) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VDX_EXACT_LOADS 1
#endif

namespace vdx {

static_assert(std::endian::native == std::endian::little, "blocks hold text in little-endian words");

template <class T>
inline T load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class T>
inline void store(void* to, T value) {
  std::memcpy(to, &value, sizeof value);
}

// 128 bits as two words, with the byte shifts that aligning text needs.
struct Words {
  std::uint64_t low, high;
};

inline Words shift_left_bytes(Words w, unsigned bytes) {  // bytes 0 to 15
  const unsigned bits = 8 * (bytes & 7);
  const std::uint64_t carry = (w.low >> 1) >> (63 - bits);
  const Words shifted{w.low << bits, (w.high << bits) | carry};
  const std::uint64_t far = 0 - static_cast<std::uint64_t>(bytes >> 3);  // a mask: no branch to guess
  return {shifted.low & ~far, (shifted.high & ~far) | (shifted.low & far)};
}

inline Words shift_right_bytes(Words w, unsigned bytes) {  // bytes 0 to 15
  const unsigned bits = 8 * (bytes & 7);
  const std::uint64_t carry = (w.high << 1) << (63 - bits);
  const Words shifted{(w.low >> bits) | carry, w.high >> bits};
  const std::uint64_t far = 0 - static_cast<std::uint64_t>(bytes >> 3);
  return {(shifted.low & ~far) | (shifted.high & far), shifted.high & ~far};
}

// Text block of sixteen bytes.
class Block {
 public:
  // The n (0 to 16) bytes at p; what the bytes after them hold is not said.
  static Block of(const void* p, std::uint32_t n) {
    Block block;
#if !defined(VDX_EXACT_LOADS)
    // Sixteen bytes that stay inside one page can be read whenever the first of them can.
    if ((reinterpret_cast<std::uintptr_t>(p) & 4095) <= 4096 - 16) [[likely]] {
      block.read(p);
      return block;
    }
#endif
    unsigned char copy[16] = {};
    std::memcpy(copy, p, n);
    block.read(copy);
    return block;
  }

  // Sixteen bytes that are all there.
  static Block whole(const void* p) {
    Block block;
    block.read(p);
    return block;
  }

#if defined(VDX_SSE2)
  std::uint32_t equal(char c) const { return bits(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }
  std::uint32_t digits() const {
    const __m128i distance = _mm_sub_epi8(bytes_, _mm_set1_epi8('0'));
    return bits(_mm_cmpeq_epi8(_mm_min_epu8(distance, _mm_set1_epi8(9)), distance));
  }
  Words words() const {
    return {static_cast<std::uint64_t>(_mm_cvtsi128_si64(bytes_)),
            static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(bytes_, bytes_)))};
  }

 private:
  static std::uint32_t bits(__m128i flags) { return static_cast<std::uint32_t>(_mm_movemask_epi8(flags)); }
  void read(const void* p) { bytes_ = _mm_loadu_si128(static_cast<const __m128i*>(p)); }
  __m128i bytes_;
#else
  std::uint32_t equal(char c) const {
    const std::uint64_t pattern = kOnes * static_cast<unsigned char>(c);
    return bits(zero_bytes(words_.low ^ pattern)) | bits(zero_bytes(words_.high ^ pattern)) << 8;
  }
  std::uint32_t digits() const { return bits(digit_bytes(words_.low)) | bits(digit_bytes(words_.high)) << 8; }
  Words words() const { return words_; }

 private:
  static constexpr std::uint64_t kOnes = 0x0101010101010101, kTops = 0x8080808080808080;
  // The top bit of each byte that is zero; no carry passes from byte to byte.
  static std::uint64_t zero_bytes(std::uint64_t w) { return ~(((w & ~kTops) + ~kTops) | w | ~kTops); }
  // '0' to '9' are the bytes below 128 that reach it with 0x50 added and pass it with 0x46.
  static std::uint64_t digit_bytes(std::uint64_t w) {
    const std::uint64_t low7 = w & ~kTops;
    return (low7 + kOnes * 0x50) & ~(low7 + kOnes * 0x46) & ~w & kTops;
  }
  static std::uint32_t bits(std::uint64_t tops) {
    return static_cast<std::uint32_t>(((tops >> 7) * 0x0102040810204080) >> 56);
  }
  void read(const void* p) { words_ = {load<std::uint64_t>(p), load<std::uint64_t>(static_cast<const char*>(p) + 8)}; }
  Words words_;
#endif
};

// Eight digit values (bytes 0 to 9, the first in the lowest byte) as a number.
inline std::uint64_t number_of_8(std::uint64_t digits) {
  digits = digits * 10 + (digits >> 8);  // pairs in bytes 0, 2, 4, 6
  return (((digits & 0x000000FF000000FF) * (100 + (1000000ULL << 32))) +
          (((digits >> 16) & 0x000000FF000000FF) * (1 + (10000ULL << 32)))) >> 32;
}

// The number written by the n (0 to 16) digits that end before byte `end` (n to 16) of the words.
inline std::uint64_t number_of(Words text, unsigned end, unsigned n) {
  static constexpr std::uint8_t kKeep[32] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
                                             0,  0,  0,  0,  0,  15, 15, 15, 15, 15, 15,
                                             15, 15, 15, 15, 15, 15, 15, 15, 15, 15};
  const Words aligned = shift_left_bytes(text, 16 - end);
  const std::uint64_t first = aligned.low & load<std::uint64_t>(kKeep + n);
  const std::uint64_t last = aligned.high & load<std::uint64_t>(kKeep + n + 8);
  return number_of_8(first) * 100000000 + number_of_8(last);
}

// The eight digits of v (below 10^8) as values 0 to 9, the most significant in the lowest byte.
inline std::uint64_t digits_of_8(std::uint64_t v) {
  const std::uint64_t thousands = (v * 109951163) >> 40;  // v / 10000
  std::uint64_t x = thousands | (v - thousands * 10000) << 32;
  std::uint64_t quotient = ((x * 10486) >> 20) & 0x0000007F0000007F;  // each / 100
  x = quotient | (x - quotient * 100) << 16;
  quotient = ((x * 103) >> 10) & 0x000F000F000F000F;  // each / 10
  return quotient | (x - quotient * 10) << 8;
}

inline constexpr std::uint64_t kAsciiZeros = 0x3030303030303030;

// A short text in registers, first byte lowest.
struct ShortText {
  std::uint64_t words[3];
  std::uint32_t length;  // 1 to 24
};

// The distance of an integer from zero.
template <std::integral T>
constexpr std::uint64_t magnitude_of(T value) {
  const auto wide = static_cast<std::uint64_t>(value);
  if constexpr (std::is_signed_v<T>) return value < 0 ? 0 - wide : wide;
  return wide;
}

// The text of an integer of at most 15 digits: no leading zeros, a minus sign if asked for. Zero
// bytes follow it.
inline ShortText text_of_15(std::uint64_t magnitude, bool negative) {
  const unsigned sign = negative ? 1 : 0;
  const std::uint64_t top = magnitude / 100000000;
  const Words digits{digits_of_8(top), digits_of_8(magnitude - top * 100000000)};
  const std::uint64_t far = 0 - static_cast<std::uint64_t>(top == 0);  // a mask: no branch to guess
  const std::uint64_t leading = (digits.low & ~far) | (digits.high & far) | 1ULL << 63;
  const unsigned zeros = static_cast<unsigned>(std::countr_zero(leading)) / 8 + static_cast<unsigned>(far & 8);
  Words text = shift_right_bytes({digits.low | kAsciiZeros, digits.high | kAsciiZeros}, zeros - sign);
  text.low -= (text.low - '-') & (0xFF & (0 - static_cast<std::uint64_t>(sign)));
  return {{text.low, text.high, 0}, 16 - zeros + sign};
}

// The same for any integer.
inline ShortText integer_text(std::uint64_t magnitude, bool negative) {
  if (magnitude < 1000000000000000) [[likely]] return text_of_15(magnitude, negative);
  const unsigned sign = negative ? 1 : 0;
  const std::uint64_t top = magnitude / 10000000000000000;
  const std::uint64_t rest = magnitude - top * 10000000000000000;
  unsigned char out[40];
  out[0] = '-';
  const std::uint64_t head = digits_of_8(top);  // top has at most four digits
  const unsigned zeros = top == 0 ? 8 : static_cast<unsigned>(std::countr_zero(head)) / 8;
  store(out + sign, (head | kAsciiZeros) >> 1 >> (8 * zeros - 1));  // zeros is 4 to 8
  const std::uint64_t middle = rest / 100000000;
  std::uint64_t first = digits_of_8(middle) | kAsciiZeros;
  store(out + sign + 8 - zeros, first);
  store(out + sign + 16 - zeros, digits_of_8(rest - middle * 100000000) | kAsciiZeros);
  std::uint32_t length = sign + 24 - zeros;
  return {{load<std::uint64_t>(out), load<std::uint64_t>(out + 8), load<std::uint64_t>(out + 16)}, length};
}

}  // namespace vdx

#endif
