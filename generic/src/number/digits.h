// Decimal digits, eight or sixteen at a time.
//
// Text is looked at in blocks of sixteen bytes: byte i of the text is byte i of the block. A mask
// holds one bit a byte, bit i for byte i. A lane is a piece of a word or of a vector that holds a
// number of its own; digits are joined and split lane by lane, so nothing here branches on what the
// digits are.
//
// Division by a constant d multiplies by a reciprocal m = (2^k + e) / d, the least whole one. The
// product v * m is v / d * 2^k and v * e / d more. While v * e is below 2^k, that is less than a d-th
// of 2^k, and the next whole quotient is at least a d-th away: shifted right by k, the product is the
// quotient rounded down. Each reciprocal below has its k and e beside it.
#ifndef VDX_NUMBER_DIGITS_H
#define VDX_NUMBER_DIGITS_H

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/memory.h"

namespace vdx {

// 128 bits as two words, with the byte shifts that aligning text needs.
struct Words {
  std::uint64_t low, high;
};

VDX_INLINE Words shift_left_bytes(Words w, unsigned bytes) {  // bytes 0 to 15
  const unsigned bits = 8 * (bytes & 7);
  const std::uint64_t carry = (w.low >> 1) >> (63 - bits);
  const Words shifted{w.low << bits, (w.high << bits) | carry};
  const std::uint64_t far =
      0 - static_cast<std::uint64_t>(bytes >> 3);  // a mask: no branch to guess
  return {shifted.low & ~far, (shifted.high & ~far) | (shifted.low & far)};
}

inline constexpr std::uint64_t kAsciiZeros = 0x3030303030303030;

// Eight digit values (bytes 0 to 9, the first in the lowest byte) as a number.
VDX_INLINE std::uint64_t number_of_8(std::uint64_t digits) {
  digits = digits * 10 + (digits >> 8);  // pairs in bytes 0, 2, 4, 6: at most 99, so none carries
  // With pairs a, b, c, d in this order, the first product has 10^6 * a + 100 * c in its upper half
  // and the second 10^4 * b + d; what is above leaves the word, the lower halves do not carry.
  return (((digits & 0x000000FF000000FF) * (100 + (1000000ULL << 32))) +
          (((digits >> 16) & 0x000000FF000000FF) * (1 + (10000ULL << 32)))) >>
         32;
}

// Whether a word, from which the character '0' was taken by exclusive or, holds digits alone.
VDX_INLINE bool are_digits(std::uint64_t values) {
  // Adding 0x76 sets the top bit of the lowest byte above 9, or carries out of it where it had that
  // bit itself. Digits carry nothing.
  return (((values + 0x7676767676767676) | values) & 0x8080808080808080) == 0;
}

// Masks: the sixteen bytes from index n keep the values of the last n of sixteen digits and make the
// others zero.
inline constexpr unsigned char kKeepDigits[32] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
                                                  0,  0,  0,  0,  0,  15, 15, 15, 15, 15, 15,
                                                  15, 15, 15, 15, 15, 15, 15, 15, 15, 15};

// A block of text.
class Block {
 public:
  // The number written by the last n (0 to 16) of the bytes, which are digits.
  std::uint64_t number(unsigned n) const;

  // The n (0 to 16) bytes at p; the remaining bytes are unspecified.
  static Block of(const void* p, std::uint32_t n) {
    Block block;
    if (can_read_ahead(p, 16)) [[likely]] {
      block.read(p);
      return block;
    }
    unsigned char copy[16] = {};
    std::memcpy(copy, p, n);
    block.read(copy);
    return block;
  }

  // The sixteen bytes at p.
  static Block whole(const void* p) {
    Block block;
    block.read(p);
    return block;
  }

  // Copies n (0 to 16) bytes; the bytes after them keep their values. All sixteen are read at both
  // places and written at `to`.
  VDX_INLINE static void merge(void* to, const void* from, std::uint32_t n) {
    alignas(16) static constexpr std::uint64_t kMask[4] = {~std::uint64_t{0}, ~std::uint64_t{0}, 0,
                                                           0};
    const Block mask = whole(reinterpret_cast<const char*>(kMask) + 16 - n);
#if defined(VDX_SSE2)
    _mm_storeu_si128(static_cast<__m128i*>(to),
                     _mm_or_si128(_mm_and_si128(mask.bytes_, whole(from).bytes_),
                                  _mm_andnot_si128(mask.bytes_, whole(to).bytes_)));
#else
    const Words in = whole(from).words_, old = whole(to).words_;
    store(to, (in.low & mask.words_.low) | (old.low & ~mask.words_.low));
    store(static_cast<char*>(to) + 8,
          (in.high & mask.words_.high) | (old.high & ~mask.words_.high));
#endif
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
  static std::uint32_t bits(__m128i flags) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(flags));
  }
  void read(const void* p) { bytes_ = _mm_loadu_si128(static_cast<const __m128i*>(p)); }
  __m128i bytes_;
#else
  std::uint32_t equal(char c) const {
    const std::uint64_t pattern = kOnes * static_cast<unsigned char>(c);
    return bits(zero_bytes(words_.low ^ pattern)) | bits(zero_bytes(words_.high ^ pattern)) << 8;
  }
  std::uint32_t digits() const {
    return bits(digit_bytes(words_.low)) | bits(digit_bytes(words_.high)) << 8;
  }
  Words words() const { return words_; }

 private:
  static constexpr std::uint64_t kOnes = 0x0101010101010101, kTops = 0x8080808080808080;
  // The top bit of each byte that is zero; no carry passes from byte to byte.
  static std::uint64_t zero_bytes(std::uint64_t w) {
    return ~(((w & ~kTops) + ~kTops) | w | ~kTops);
  }
  // Of the bytes below 128, those from '0' (0x30) on reach 0x80 with 0x50 added, those above '9'
  // (0x39) with 0x46.
  static std::uint64_t digit_bytes(std::uint64_t w) {
    const std::uint64_t low7 = w & ~kTops;
    return (low7 + kOnes * 0x50) & ~(low7 + kOnes * 0x46) & ~w & kTops;
  }
  static std::uint32_t bits(std::uint64_t tops) {
    return static_cast<std::uint32_t>(((tops >> 7) * 0x0102040810204080) >> 56);
  }
  void read(const void* p) {
    words_ = {load<std::uint64_t>(p), load<std::uint64_t>(static_cast<const char*>(p) + 8)};
  }
  Words words_;
#endif
};

VDX_INLINE std::uint64_t Block::number(unsigned n) const {
  const unsigned char* const keep = kKeepDigits + n;
#if defined(VDX_SSE2)
  const __m128i digits =
      _mm_and_si128(bytes_, _mm_loadu_si128(reinterpret_cast<const __m128i*>(keep)));
  const __m128i pairs =
      _mm_add_epi16(_mm_mullo_epi16(_mm_and_si128(digits, _mm_set1_epi16(255)), _mm_set1_epi16(10)),
                    _mm_srli_epi16(digits, 8));
  const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
  const __m128i eights =
      _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(10000 | 1 << 16));
  const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
  return (both & 0xFFFFFFFF) * 100000000 + (both >> 32);
#else
  return number_of_8(words_.low & load<std::uint64_t>(keep)) * 100000000 +
         number_of_8(words_.high & load<std::uint64_t>(keep + 8));
#endif
}

// The number written by the n (0 to 16) digits that end before byte `end` (n to 16) of a text, of
// which `block` holds the first bytes.
VDX_INLINE std::uint64_t number_in(const void* text, Block block, unsigned end, unsigned n) {
  if (can_read_back(text, 16)) [[likely]]
    return Block::whole(static_cast<const char*>(text) + end - 16).number(n);
  const Words aligned = shift_left_bytes(block.words(), 16 - end);
  unsigned char copy[16];
  store(copy, aligned.low);
  store(copy + 8, aligned.high);
  return Block::whole(copy).number(n);
}

// The eight digits of v (below 10^8) as values 0 to 9, the most significant in the lowest byte.
VDX_INLINE std::uint64_t digits_of_8(std::uint64_t v) {
  // Masks clear what a shift moves in from the lane above.
  const std::uint64_t upper = (v * 109951163) >> 40;  // / 10000: e is 2224
  std::uint64_t x = upper | (v - upper * 10000) << 32;
  std::uint64_t quotient = ((x * 10486) >> 20) & 0x0000007F0000007F;  // / 100: e is 24
  x = quotient | (x - quotient * 100) << 16;
  quotient = ((x * 103) >> 10) & 0x000F000F000F000F;  // / 10: e is 6
  return quotient | (x - quotient * 10) << 8;
}

// Sixteen digits of a number, the most significant first.
class Digits16 {
 public:
#if defined(VDX_SSE2)
  // The upper and the lower eight digits, each below 10^8.
  VDX_INLINE Digits16(std::uint64_t upper, std::uint64_t lower)
      : bytes_(_mm_packus_epi16(lanes(upper), lanes(lower))) {}

  // Bit i is set where digit i is not zero.
  std::uint32_t nonzero() const {
    return ~static_cast<std::uint32_t>(
               _mm_movemask_epi8(_mm_cmpeq_epi8(bytes_, _mm_setzero_si128()))) &
           0xFFFF;
  }
  void put(unsigned char* to) const {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(bytes_, _mm_set1_epi8('0')));
  }

 private:
  // Eight digits in lanes of 16 bits. The number is split into halves of four digits; each is
  // divided by 1000, 100, 10 and 1, and each quotient has ten times its left neighbour taken away.
  //
  // 0xD1B71759 is 2^45 / 10000 with e = 1168; 10^8 * e is below 2^45. For the halves, which are below
  // 10^4, the reciprocals 8389 (k = 23, e = 392), 5243 (k = 19, e = 12) and 13108 (k = 17, e = 8) are
  // multiplied in and shifted in two steps that drop 16 bits each: what 32 exceeds k by is made up
  // for by the 4 that `pair` has more and by the powers of two of the second step, which for the last
  // lane are 2^15 twice.
  VDX_INLINE static __m128i lanes(std::uint64_t value) {
    const __m128i whole = _mm_cvtsi64_si128(static_cast<long long>(value));
    const __m128i upper =
        _mm_srli_epi64(_mm_mul_epu32(whole, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
    const __m128i lower = _mm_sub_epi32(whole, _mm_mul_epu32(upper, _mm_set1_epi32(10000)));
    const __m128i pair = _mm_slli_epi64(_mm_unpacklo_epi16(upper, lower), 2);
    const __m128i doubled = _mm_unpacklo_epi16(pair, pair);
    const __m128i spread = _mm_unpacklo_epi32(doubled, doubled);
    const __m128i scaled = _mm_mulhi_epu16(
        spread, _mm_setr_epi16(8389, 5243, 13108, -32768, 8389, 5243, 13108, -32768));
    const __m128i prefixes = _mm_mulhi_epu16(
        scaled, _mm_setr_epi16(1 << 7, 1 << 11, 1 << 13, -32768, 1 << 7, 1 << 11, 1 << 13, -32768));
    const __m128i tens = _mm_slli_epi64(_mm_mullo_epi16(prefixes, _mm_set1_epi16(10)), 16);
    return _mm_sub_epi16(prefixes, tens);
  }

  __m128i bytes_;
#else
  Digits16(std::uint64_t upper, std::uint64_t lower)
      : words_{digits_of_8(upper), digits_of_8(lower)} {}

  std::uint32_t nonzero() const { return bits(words_.low) | bits(words_.high) << 8; }
  void put(unsigned char* to) const {
    store(to, words_.low | kAsciiZeros);
    store(to + 8, words_.high | kAsciiZeros);
  }

 private:
  static std::uint32_t bits(
      std::uint64_t digits) {  // a digit above zero reaches 128 with 127 added
    const std::uint64_t tops = (digits + 0x7F7F7F7F7F7F7F7F) & 0x8080808080808080;
    return static_cast<std::uint32_t>(((tops >> 7) * 0x0102040810204080) >> 56);
  }
  Words words_;
#endif
};

// A short text on the stack, from begin to end. Sixteen bytes after the end can be read.
struct ShortText {
  unsigned char bytes[48];
  std::uint32_t begin, end;

  std::uint32_t length() const { return end - begin; }
  const unsigned char* data() const { return bytes + begin; }
};

// The distance of an integer from zero, and its sign: 1 for a negative one, else 0. No branch looks at
// signs, which are as unpredictable as values.
struct SignedMagnitude {
  std::uint64_t magnitude, sign;
};

template <std::integral T>
constexpr SignedMagnitude signed_magnitude(T value) {
  const auto wide = static_cast<std::uint64_t>(value);
  if constexpr (std::is_unsigned_v<T>) return {wide, 0};
  const std::uint64_t sign = wide >> 63;
  return {(wide ^ (0 - sign)) + sign, sign};
}

// Where put_integer ends its digits: twenty digits, a sign and what is written before them have room.
inline constexpr std::uint32_t kDigitsEnd = 24;

// Puts the digits of a number without leading zeros, at least one, before kDigitsEnd, and a minus
// sign before them if there is one. kMost is the largest magnitude there can be.
template <std::uint64_t kMost = ~std::uint64_t{0}>
VDX_INLINE void put_integer(ShortText& text, SignedMagnitude value) {
  const auto [magnitude, sign] = value;
  constexpr std::uint64_t kTen8 = 100000000;
  constexpr std::uint64_t kTen16 = kTen8 * kTen8;
  std::uint64_t rest = magnitude;
  std::uint32_t head_digits = 0;
  if (kMost >= kTen16 && magnitude >= kTen16) [[unlikely]] {
    const std::uint64_t head = magnitude / kTen16;  // at most four digits
    rest = magnitude - head * kTen16;
    const Digits16 digits(0, head);
    head_digits = 16 - static_cast<std::uint32_t>(std::countr_zero(digits.nonzero()));
    unsigned char spread[16];
    digits.put(spread);
    store(text.bytes + kDigitsEnd - 20, load<std::uint32_t>(spread + 12));
  }
  const Digits16 digits(rest / kTen8, rest % kTen8);
  digits.put(text.bytes + kDigitsEnd - 16);
  // The last digit stays, and after a head all do.
  const std::uint32_t keep = digits.nonzero() | (head_digits != 0 ? 1U : 0x8000U);
  text.begin = kDigitsEnd - 16 + static_cast<std::uint32_t>(std::countr_zero(keep)) - head_digits;
  text.bytes[text.begin - 1] = '-';
  text.begin -= static_cast<std::uint32_t>(sign);
  text.end = kDigitsEnd;
}

template <std::uint64_t kMost = ~std::uint64_t{0}>
VDX_INLINE ShortText integer_text(SignedMagnitude value) {
  ShortText text;
  put_integer<kMost>(text, value);
  return text;
}

// The numbers 0 to 99 as two digits, in the order of a store; blank_first shows 5 as " 5".
constexpr std::array<std::uint16_t, 100> digit_pairs(bool blank_first) {
  std::array<std::uint16_t, 100> pairs{};
  for (std::uint32_t i = 0; i < 100; ++i) {
    const std::uint32_t tens = i < 10 && blank_first ? ' ' : '0' + i / 10;
    pairs[i] = static_cast<std::uint16_t>(tens | ('0' + i % 10) << 8);
  }
  return pairs;
}

inline constexpr auto kPairs = digit_pairs(false);

// The text of a number below 10^8 without leading zeros, its first digit in the lowest byte; zero
// bytes follow the last one.
struct WordText {
  std::uint64_t bytes;
  std::uint32_t length;

  // With what its destination holds after it.
  std::uint64_t before(std::uint64_t held) const {
    return bytes | (held & ~std::uint64_t{0xFF} << (8 * length - 8));
  }
};

VDX_INLINE WordText word_text(std::uint64_t number) {
  if (number < 10000) {
    const std::uint64_t upper = number * 5243 >> 19;  // / 100: e is 12
    const std::uint32_t text = kPairs[upper] | std::uint32_t{kPairs[number - upper * 100]} << 16;
    const std::uint32_t length = 1U + (number >= 10) + (number >= 100) + (number >= 1000);
    return {text >> (32 - 8 * length), length};
  }
  const std::uint64_t digits = digits_of_8(number);
  const int zeros = std::countr_zero(digits | 1ULL << 56) & ~7;  // bits; the last digit stays
  return {(digits | kAsciiZeros) >> zeros, 8 - static_cast<std::uint32_t>(zeros) / 8};
}

// A number in a destination, its pieces stored straight from registers, one over the other, and
// ending where the text ends: a text put together in memory would be read back before its pieces
// have arrived there. The length of a short number is known from its digits, so it comes first.
class DirectInteger {
 public:
  // The least room that it needs, whatever its length: a word is written behind the sign.
  static constexpr std::int32_t kRoom = 9;

  VDX_INLINE explicit DirectInteger(SignedMagnitude value)
      : sign_(static_cast<std::uint32_t>(value.sign)) {
    const std::uint64_t number = value.magnitude;
    if (number < kTen8) {
      first_ = word_text(number);
      return;
    }
    std::uint64_t upper = number / kTen8;
    pieces_ = 1;
    lower_ = number - upper * kTen8;
    if (upper >= kTen8) {
      const std::uint64_t head = upper / kTen8;  // at most four digits
      pieces_ = 2;
      middle_ = upper - head * kTen8;
      upper = head;
    }
    first_ = word_text(upper);
  }

  std::uint32_t length() const { return sign_ + first_.length + 8 * pieces_; }

  VDX_INLINE void put(unsigned char* to) const {
    unsigned char* const digits = to + sign_;
    const std::uint64_t held = load<std::uint64_t>(digits);
    *to = '-';
    if (pieces_ == 0) {
      store(digits, first_.before(held));
      return;
    }
    store(digits, first_.bytes);
    if (pieces_ == 2)
      Digits16(middle_, lower_).put(digits + first_.length);
    else
      store(digits + first_.length, digits_of_8(lower_) | kAsciiZeros);
  }

 private:
  static constexpr std::uint64_t kTen8 = 100000000;

  std::uint32_t sign_;
  std::uint32_t pieces_ = 0;  // of eight digits, after the first one
  WordText first_;
  std::uint64_t middle_ = 0, lower_ = 0;
};

}  // namespace vdx

#endif
