// A digit's value is its nibble, 0 to 15. Bytes are converted sixteen at a time in vectors, then four
// at a time in a 64-bit word with a digit or a nibble in each byte, the last ones by a table. Reading
// collects whether all characters were digits and looks at that once: texts that are not digits are
// rare. `kOnes * n` has n in each byte of a word; sums stay below 256 in each, so that none carries.
#include "number/hex.h"

#include <array>

#include "number/digits.h"

namespace vdx {

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101;

constexpr std::uint8_t kNone = 0xFF;  // above every value, also combined with others by "or"
constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNone);
  for (std::uint8_t i = 0; i < 10; ++i) values['0' + std::size_t{i}] = i;
  for (std::uint8_t i = 10; i < 16; ++i)
    values['a' + std::size_t{i} - 10] = values['A' + std::size_t{i} - 10] = i;
  return values;
}();

constexpr char kDigits[] = "0123456789abcdef";

// The digits of four bytes. The bytes are spread to 16 bits each, then the nibbles to a byte each, the
// upper one first.
std::uint64_t digits_of_4(std::uint32_t bytes) {
  std::uint64_t x = bytes;
  x = (x | x << 16) & 0x0000FFFF0000FFFF;
  x = (x | x << 8) & 0x00FF00FF00FF00FF;
  x = (x >> 4 | x << 8) & 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t letters = (x + 6 * kOnes) >> 4 & kOnes;  // 10 and above reach 16
  return x + '0' * kOnes + letters * ('a' - '0' - 10);
}

// The four bytes that eight characters stand for. Where a character is no digit, `others` gets the
// high bit of its byte.
std::uint32_t bytes_of_8(std::uint64_t characters, std::uint64_t& others) {
  constexpr std::uint64_t kHigh = 0x80 * kOnes;
  const std::uint64_t x = characters & ~kHigh;
  const std::uint64_t lower = x | 0x20 * kOnes;  // letters as lower-case ones
  // With 0x80 - n added, the bytes from n on have their high bit set.
  const std::uint64_t digit = (x + (0x80 - '0') * kOnes) & ~(x + (0x80 - '9' - 1) * kOnes);
  const std::uint64_t letter = (lower + (0x80 - 'a') * kOnes) & ~(lower + (0x80 - 'f' - 1) * kOnes);
  others |= (characters | ~(digit | letter)) & kHigh;
  std::uint64_t values = (x & 0x0F * kOnes) + ((letter & kHigh) >> 7) * 9;  // 'a' ends in 1, for 10
  values = (values << 4 | values >> 8) & 0x00FF00FF00FF00FF;
  values = (values | values >> 8) & 0x0000FFFF0000FFFF;
  return static_cast<std::uint32_t>(values | values >> 16);
}

#if defined(VDX_SSE2)

__m128i digits_of_nibbles(__m128i nibbles) {
  const __m128i letters = _mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9));
  return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')),
                      _mm_and_si128(letters, _mm_set1_epi8('a' - '0' - 10)));
}

__m128i at_most(__m128i bytes, char bound) {
  return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(bound)), bytes);
}

// The values of sixteen characters. Bytes of `all` stay set where they are digits, else become 0.
__m128i values_of_16(const std::uint8_t* characters, __m128i& all) {
  const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(characters));
  const __m128i number = _mm_sub_epi8(c, _mm_set1_epi8('0'));
  const __m128i rank = _mm_sub_epi8(_mm_or_si128(c, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
  const __m128i digit = at_most(number, 9);
  const __m128i letter = at_most(rank, 5);
  all = _mm_and_si128(all, _mm_or_si128(digit, letter));
  return _mm_or_si128(_mm_and_si128(digit, number),
                      _mm_and_si128(letter, _mm_add_epi8(rank, _mm_set1_epi8(10))));
}

// The byte that each pair of values makes, in the low half of 16 bits. The first value is the upper
// nibble.
__m128i joined_pairs(__m128i values) {
  return _mm_and_si128(_mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)),
                       _mm_set1_epi16(0xFF));
}

bool all_set(__m128i bytes) { return _mm_movemask_epi8(bytes) == 0xFFFF; }

#endif

}  // namespace

std::uint8_t hex_value(std::uint8_t digit) { return kValues[digit]; }

void hex_encode(const std::uint8_t* bytes, std::size_t n, std::uint8_t* digits) {
  std::size_t i = 0;
#if defined(VDX_SSE2)
  const __m128i low_nibbles = _mm_set1_epi8(15);
  for (; n - i >= 16; i += 16) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    const __m128i first = digits_of_nibbles(_mm_and_si128(_mm_srli_epi16(in, 4), low_nibbles));
    const __m128i second = digits_of_nibbles(_mm_and_si128(in, low_nibbles));
    auto* const to = reinterpret_cast<__m128i*>(digits + 2 * i);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(first, second));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(first, second));
  }
#endif
  for (; n - i >= 4; i += 4) store(digits + 2 * i, digits_of_4(load<std::uint32_t>(bytes + i)));
  for (; i < n; ++i) {
    digits[2 * i] = static_cast<std::uint8_t>(kDigits[bytes[i] >> 4]);
    digits[2 * i + 1] = static_cast<std::uint8_t>(kDigits[bytes[i] & 15]);
  }
}

bool hex_decode(const std::uint8_t* digits, std::size_t n, std::uint8_t* bytes) {
  std::size_t i = 0;
#if defined(VDX_SSE2)
  __m128i all = _mm_set1_epi8(-1);
  for (; n - i >= 16; i += 16) {
    const __m128i low = joined_pairs(values_of_16(digits + 2 * i, all));
    const __m128i high = joined_pairs(values_of_16(digits + 2 * i + 16, all));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + i), _mm_packus_epi16(low, high));
  }
  if (!all_set(all)) return false;
#endif
  std::uint64_t others = 0;
  for (; n - i >= 4; i += 4)
    store(bytes + i, bytes_of_8(load<std::uint64_t>(digits + 2 * i), others));
  std::uint8_t seen = 0;
  for (; i < n; ++i) {
    const std::uint8_t first = kValues[digits[2 * i]], second = kValues[digits[2 * i + 1]];
    seen |= first | second;
    bytes[i] = static_cast<std::uint8_t>(first << 4 | second);
  }
  return others == 0 && seen <= 15;
}

bool all_hex(const std::uint8_t* characters, std::size_t n) {
  std::size_t i = 0;
#if defined(VDX_SSE2)
  __m128i all = _mm_set1_epi8(-1);
  for (; n - i >= 16; i += 16) static_cast<void>(values_of_16(characters + i, all));
  if (!all_set(all)) return false;
#endif
  std::uint64_t others = 0;
  for (; n - i >= 8; i += 8)
    static_cast<void>(bytes_of_8(load<std::uint64_t>(characters + i), others));
  std::uint8_t seen = 0;
  for (; i < n; ++i) seen |= kValues[characters[i]];
  return others == 0 && seen <= 15;
}

}  // namespace vdx
