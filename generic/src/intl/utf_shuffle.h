// UTF-8 and UTF-16 by shuffling bytes: all characters of a block are computed at once, whatever their
// lengths, each where its first byte or unit is; a table then says which bytes to keep, and one
// instruction moves them together. The method is that of Lemire and Keiser, 2021.
//
// Pairs of surrogates end a block: utf.cpp places them, as it finds out what is malformed.
//
// A store writes a whole register, of which the next one overwrites what is too much. So blocks stop
// early enough that what follows them covers it; the last characters are made in a buffer.
#ifndef VDX_INTL_UTF_SHUFFLE_H
#define VDX_INTL_UTF_SHUFFLE_H

#include "intl/utf_sse2.h"

#if defined(VDX_SSE2) && defined(__GNUC__)
#define VDX_SHUFFLES 1
#include <smmintrin.h>

// Code for processors that can_shuffle().
#define VDX_SHUFFLING __attribute__((target("sse4.1,popcnt")))

namespace vdx {

// Reads what was found out when the library was loaded.
inline bool can_shuffle() {
  return __builtin_cpu_supports("sse4.1") != 0 && __builtin_cpu_supports("popcnt") != 0;
}

struct alignas(16) Shuffle {
  std::uint8_t from[16];
};
using Shuffles = std::array<Shuffle, 256>;

// keeps(index, byte): whether a shuffle keeps a byte. Kept ones move to the front.
template <typename Keeps>
constexpr Shuffles shuffles(Keeps keeps) {
  Shuffles all{};
  for (std::uint32_t index = 0; index < 256; ++index) {
    std::size_t to = 0;
    for (std::uint8_t byte = 0; byte < 16; ++byte)
      if (keeps(index, byte)) all[index].from[to++] = byte;
    while (to < 16) all[index].from[to++] = 0x80;
  }
  return all;
}

// Bit i drops unit i.
inline constexpr Shuffles kUnitShuffles =
    shuffles([](std::uint32_t drop, std::uint8_t byte) { return (drop >> byte / 2 & 1) == 0; });
// Characters of two bytes, of which bit i drops the first.
inline constexpr Shuffles kPairShuffles = shuffles([](std::uint32_t one, std::uint8_t byte) {
  return byte % 2 == 1 || (one >> byte / 2 & 1) == 0;
});
// Characters at the end of four bytes each. Bit i: it has one byte; bit 4 + i: it has two or one.
inline constexpr Shuffles kTripleShuffles = shuffles([](std::uint32_t index, std::uint8_t byte) {
  const std::uint32_t is_one = index >> byte / 4 & 1, is_short = index >> (4 + byte / 4) & 1;
  return byte % 4 >= 1 + is_short + is_one;
});

VDX_INLINE VDX_SHUFFLING __m128i shuffled(__m128i block, const Shuffle& shuffle) {
  return _mm_shuffle_epi8(block, _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle.from)));
}

VDX_INLINE VDX_SHUFFLING std::size_t ones(std::uint32_t bits) {
  return static_cast<std::size_t>(__builtin_popcount(bits));
}

// What a block gave: bytes or units consumed and placed, and whether it stopped at a character that
// is not for it.
struct Shuffled {
  std::size_t taken;
  std::size_t placed;
  bool stopped;
};

// The characters that start in 16 bytes. 18 bytes are read, at most 16 units written. Bit i of `carry`
// says that byte i belongs to a character of the block before; then it says so of the next block. The
// next block always starts 16 bytes on, so that it need not wait for this one.
template <bool Swapped>
VDX_INLINE VDX_SHUFFLING Shuffled shuffle_utf8(const std::uint8_t* from, std::uint8_t* to,
                                               std::uint32_t& carry) {
  const __m128i first = block_at(from), second = block_at(from + 1), third = block_at(from + 2);

  // Bit i of these tells of byte i.
  const __m128i lead_3 = _mm_set1_epi8(-32), lead_4 = _mm_set1_epi8(-16);
  const __m128i is_three = _mm_cmpeq_epi8(_mm_max_epu8(first, lead_3), first);
  const __m128i above = _mm_set1_epi8(-64);
  std::uint32_t drop = high_bits(_mm_cmpgt_epi8(above, first));  // bytes after the first
  const std::uint32_t leads = high_bits(first) & ~drop;
  const std::uint32_t expected = leads << 1 | high_bits(is_three) << 2 | carry;
  // Long forms of short characters, surrogates, and characters of four bytes.
  const __m128i is_early = _mm_cmpgt_epi8(_mm_set1_epi8(-96), second);  // below 0xA0
  const __m128i c0_c1 = _mm_cmpeq_epi8(_mm_and_si128(first, _mm_set1_epi8(-2)), above);
  const __m128i four = _mm_cmpeq_epi8(_mm_max_epu8(first, lead_4), first);
  const __m128i e0 = _mm_and_si128(_mm_cmpeq_epi8(first, lead_3), is_early);
  const __m128i ed = _mm_andnot_si128(is_early, _mm_cmpeq_epi8(first, _mm_set1_epi8(-19)));
  const std::uint32_t others =
      high_bits(_mm_or_si128(_mm_or_si128(c0_c1, four), _mm_or_si128(e0, ed)));
  const std::uint32_t wrong = ((drop ^ expected) & 0xFFFF) | others;

  std::size_t taken = 16;
  if (wrong != 0) [[unlikely]] {
    // Back to where the character starts, which may be before the block.
    taken = static_cast<std::size_t>(std::countr_zero(wrong));
    while (taken > 0 && (expected >> taken & 1) != 0) --taken;
    if (taken == 0) return {0, 0, true};
    drop |= 0xFFFF & ~std::uint32_t{0} << taken;
  }
  carry = wrong != 0 ? 0 : expected >> 16;

  // The two bytes of each unit: of two bytes of UTF-8 the last ten bits, of a third one before them
  // the last four.
  const __m128i x = _mm_blendv_epi8(first, second, is_three);
  const __m128i y = _mm_blendv_epi8(second, third, is_three);
  const __m128i top = _mm_and_si128(_mm_and_si128(_mm_slli_epi16(first, 4), is_three), lead_4);
  const __m128i middle = _mm_and_si128(_mm_srli_epi16(x, 2), _mm_set1_epi8(0x0F));
  const __m128i upper = _mm_or_si128(top, middle);
  const __m128i lower = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(x, 6), above),
                                     _mm_and_si128(y, _mm_set1_epi8(0x3F)));
  // The highest bit tells ASCII.
  const __m128i high = _mm_blendv_epi8(_mm_setzero_si128(), upper, first);
  const __m128i low = _mm_blendv_epi8(first, lower, first);
  const __m128i one = Swapped ? high : low, other = Swapped ? low : high;
  const std::size_t half = 8 - ones(drop & 0xFF);
  put_block(to, shuffled(_mm_unpacklo_epi8(one, other), kUnitShuffles[drop & 0xFF]));
  put_block(to + 2 * half, shuffled(_mm_unpackhi_epi8(one, other), kUnitShuffles[drop >> 8]));
  return {taken, 16 - ones(drop), wrong != 0};
}

// Eight units up to the first surrogate. At most 28 bytes are written.
VDX_INLINE VDX_SHUFFLING Shuffled shuffle_utf16(const std::uint8_t* from, std::uint8_t* to) {
  const __m128i units = block_at(from), zero = _mm_setzero_si128();
  const __m128i upper = _mm_and_si128(units, _mm_set1_epi16(-0x800));
  const __m128i is_one = _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(-0x80)), zero);
  const __m128i is_short = _mm_cmpeq_epi16(upper, zero);
  // Bit i: unit i makes one byte; bit 8 + i: two or one.
  const std::uint32_t lengths = high_bits(_mm_packs_epi16(is_one, is_short));

  const __m128i mark = _mm_set1_epi16(0x80), six = _mm_set1_epi16(0x3F);
  const __m128i last =
      _mm_blendv_epi8(_mm_or_si128(_mm_and_si128(units, six), mark), units, is_one);
  const __m128i middle =
      _mm_or_si128(_mm_or_si128(_mm_and_si128(_mm_srli_epi16(units, 6), six), mark),
                   _mm_and_si128(is_short, _mm_set1_epi16(0x40)));
  const __m128i pairs = _mm_or_si128(middle, _mm_slli_epi16(last, 8));
  if (lengths >> 8 == 0xFF) {
    put_block(to, shuffled(pairs, kPairShuffles[lengths & 0xFF]));
    return {8, 24 - ones(lengths), false};
  }
  const __m128i leads =
      _mm_slli_epi16(_mm_or_si128(_mm_srli_epi16(units, 12), _mm_set1_epi16(0xE0)), 8);
  const std::uint32_t low = (lengths & 0xF) | (lengths >> 4 & 0xF0);
  const std::uint32_t high = (lengths >> 4 & 0xF) | (lengths >> 8 & 0xF0);
  put_block(to, shuffled(_mm_unpacklo_epi16(leads, pairs), kTripleShuffles[low]));
  put_block(to + 12 - ones(low), shuffled(_mm_unpackhi_epi16(leads, pairs), kTripleShuffles[high]));
  const std::uint32_t surrogates = high_bits(_mm_cmpeq_epi16(upper, _mm_set1_epi16(-0x2800)));
  if (surrogates == 0) [[likely]]
    return {8, 24 - ones(lengths), false};
  const auto taken = static_cast<std::size_t>(std::countr_zero(surrogates)) / 2;
  const std::uint32_t kept = (1U << taken) - 1;
  return {taken, 3 * taken - ones(lengths & (kept << 8 | kept)), true};
}

// What a direction does with a block, and its bounds.
template <bool Swapped>
struct Utf8Shuffler {
  static constexpr std::size_t kFrom = 1, kTo = 2;  // bytes of a byte, of a unit
  // The shortest text of which a block can be taken. What follows the block makes more than the stores
  // wrote too much: at least 22 bytes of UTF-8 make seven units, and the block's second half two.
  static constexpr std::size_t kLeast = 40;
  static constexpr std::size_t kRoom = 18;
  std::uint32_t carry = 0;

  VDX_INLINE VDX_SHUFFLING Shuffled block(const std::uint8_t* from, std::uint8_t* to) {
    return shuffle_utf8<Swapped>(from, to, carry);
  }
  // Takes the rest of the last character, or the character back if it is malformed.
  VDX_INLINE VDX_SHUFFLING void end(const std::uint8_t* from, std::size_t& i, std::size_t& o) {
    const auto is_rest = [from](std::size_t at) { return (from[at] & 0xC0) == 0x80; };
    const std::size_t rest = carry == 0 ? 0 : carry == 1 ? 1 : 2;
    if (rest >= 1 && (!is_rest(i) || (rest == 2 && !is_rest(i + 1)))) {
      do --i;
      while (is_rest(i));
      --o;
    } else {
      i += rest;
    }
    carry = 0;
  }
};
struct Utf16Shuffler {
  static constexpr std::size_t kFrom = 2, kTo = 1;
  static constexpr std::size_t kLeast = 24;
  static constexpr std::size_t kRoom = 32;

  VDX_INLINE VDX_SHUFFLING static Shuffled block(const std::uint8_t* from, std::uint8_t* to) {
    return shuffle_utf16(from, to);
  }
  static void end(const std::uint8_t*, std::size_t&, std::size_t&) {}
};

// Goes on at byte or unit i of n, with o placed, as far as blocks go.
template <typename Shuffler>
VDX_SHUFFLING void shuffle_blocks(const std::uint8_t* from, std::size_t& taken, std::size_t n,
                                  std::uint8_t* to, std::size_t& placed, std::size_t room) {
  constexpr std::size_t kFrom = Shuffler::kFrom, kTo = Shuffler::kTo;
  Shuffler shuffler;
  std::size_t i = taken, o = placed;
  Shuffled done{0, 0, false};
  while (n - i >= Shuffler::kLeast && room - o >= Shuffler::kRoom && !done.stopped) {
    done = shuffler.block(from + kFrom * i, to + kTo * o);
    i += done.taken;
    o += done.placed;
  }
  shuffler.end(from, i, o);
  taken = i;
  placed = o;
  const std::size_t left = n - i;
  if (done.stopped || left >= Shuffler::kLeast || left == 0) return;
  // Zero bytes follow the copy. They are characters of one byte and one unit, so that what they make
  // is easily taken off.
  std::uint8_t text[64] = {}, made[128];
  std::memcpy(text, from + kFrom * i, kFrom * left);
  i = o = 0;
  do {
    done = shuffler.block(text + kFrom * i, made + kTo * o);
    i += done.taken;
    o += done.placed;
  } while (i < left && !done.stopped);
  shuffler.end(text, i, o);
  if (i > left) {
    o -= i - left;
    i = left;
  }
  if (o > room - placed) return;
  std::memcpy(to + kTo * placed, made, kTo * o);
  taken += i;
  placed += o;
}

}  // namespace vdx
#else
namespace vdx {

constexpr bool can_shuffle() { return false; }
template <bool Swapped>
struct Utf8Shuffler {};
struct Utf16Shuffler {};
template <typename Shuffler>
void shuffle_blocks(const std::uint8_t*, std::size_t&, std::size_t, std::uint8_t*, std::size_t&,
                    std::size_t) {}

}  // namespace vdx
#endif

#endif
