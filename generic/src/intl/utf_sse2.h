// UTF-8 and UTF-16 sixteen bytes at a time. Where a function here stops, utf.cpp goes on character
// by character, and always in builds without these instructions.
//
// Nothing outside the texts is read, and nothing after the bytes placed is written: the end of a
// text is read as a whole block that repeats some bytes before it.
#ifndef VDX_INTL_UTF_SSE2_H
#define VDX_INTL_UTF_SSE2_H

#include <array>
#include <bit>

#include "intl/utf.h"

#if defined(VDX_SSE2)
namespace vdx {

VDX_INLINE __m128i block_at(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
VDX_INLINE void put_block(std::uint8_t* p, __m128i block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), block);
}
VDX_INLINE __m128i half_at(const std::uint8_t* p) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}
VDX_INLINE void put_half(std::uint8_t* p, __m128i block) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), block);
}

// Bit i: byte i is not ASCII.
VDX_INLINE std::uint32_t high_bits(__m128i block) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(block));
}
// Bit i: byte i starts a character of UTF-8.
VDX_INLINE std::uint32_t start_bits(__m128i block) {
  return high_bits(_mm_cmpgt_epi8(block, _mm_set1_epi8(-65)));
}

template <bool Swapped>
VDX_INLINE __m128i widened_low(__m128i block) {
  return Swapped ? _mm_unpacklo_epi8(_mm_setzero_si128(), block)
                 : _mm_unpacklo_epi8(block, _mm_setzero_si128());
}

template <bool Swapped>
VDX_INLINE void widen_16(__m128i block, std::uint8_t* to) {
  put_block(to, widened_low<Swapped>(block));
  put_block(to + 16, widened_low<Swapped>(_mm_unpackhi_epi64(block, block)));
}

// Sixteen or fewer.
template <bool Swapped>
VDX_INLINE void widen_few(const std::uint8_t* from, std::size_t n, std::uint8_t* to) {
  if (n >= 8) {
    const __m128i last = half_at(from + n - 8);
    put_block(to, widened_low<Swapped>(half_at(from)));
    put_block(to + 2 * n - 16, widened_low<Swapped>(last));
  } else if (n >= 4) {
    const auto quad = [=](std::size_t at) {
      return widened_low<Swapped>(_mm_cvtsi32_si128(load<std::int32_t>(from + at)));
    };
    const __m128i last = quad(n - 4);
    put_half(to, quad(0));
    put_half(to + 2 * n - 8, last);
  } else {
    for (std::size_t i = 0; i < n; ++i) put_unit<Swapped>(to, i, from[i]);
  }
}

// How many of fewer than sixteen bytes come before the first that is not ASCII.
VDX_INLINE std::size_t ascii_run_of_few(const std::uint8_t* from, std::size_t n) {
  constexpr std::uint64_t kHigh = 0x8080808080808080;
  const auto first_of = [](std::uint64_t high) {
    return static_cast<std::size_t>(std::countr_zero(high)) / 8;
  };
  if (n >= 8) {
    if (const std::uint64_t high = load<std::uint64_t>(from) & kHigh; high != 0)
      return first_of(high);
    const std::uint64_t high = load<std::uint64_t>(from + n - 8) & kHigh;
    return high != 0 ? n - 8 + first_of(high) : n;
  }
  if (n >= 4) {
    const std::uint64_t words = load<std::uint32_t>(from) |
                                std::uint64_t{load<std::uint32_t>(from + n - 4)} << (8 * (n - 4));
    return (words & kHigh) != 0 ? first_of(words & kHigh) : n;
  }
  std::size_t i = 0;
  while (i < n && from[i] < 0x80) ++i;
  return i;
}

template <std::uint32_t Limit, bool Swapped>
VDX_INLINE std::size_t widen_blocks(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                                    bool to_the_end) {
  const auto high = [](__m128i block) { return Limit == 0x80 ? high_bits(block) : 0u; };
  if (n < 16) {
    const std::size_t run = Limit == 0x80 ? ascii_run_of_few(from, n) : n;
    widen_few<Swapped>(from, run, to);
    return run;
  }
  if (n <= 64) {
    // Blocks from both ends may overlap or be the same: one branch on the length less.
    const __m128i a = block_at(from), z = block_at(from + n - 16);
    const std::size_t second = n > 32 ? 16 : 0;
    const __m128i b = block_at(from + second), y = block_at(from + n - 16 - second);
    if (high(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(y, z))) == 0) {
      widen_16<Swapped>(a, to);
      widen_16<Swapped>(b, to + 2 * second);
      widen_16<Swapped>(y, to + 2 * (n - 16 - second));
      widen_16<Swapped>(z, to + 2 * (n - 16));
      return n;
    }
  }
  std::size_t i = 0;
  for (; n - i >= 64; i += 64) {
    const __m128i a = block_at(from + i), b = block_at(from + i + 16);
    const __m128i c = block_at(from + i + 32), d = block_at(from + i + 48);
    if (high(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0) break;
    widen_16<Swapped>(a, to + 2 * i);
    widen_16<Swapped>(b, to + 2 * i + 32);
    widen_16<Swapped>(c, to + 2 * i + 64);
    widen_16<Swapped>(d, to + 2 * i + 96);
  }
  for (; n - i >= 16; i += 16) {
    const __m128i block = block_at(from + i);
    if (const std::uint32_t bits = high(block); bits != 0) {
      if (!to_the_end) return i;
      const auto run = static_cast<std::size_t>(std::countr_zero(bits));
      widen_few<Swapped>(from + i, run, to + 2 * i);
      return i + run;
    }
    widen_16<Swapped>(block, to + 2 * i);
  }
  if (i == n) return n;
  const __m128i last = block_at(from + n - 16);
  const std::uint32_t bits = high(last);
  if (bits == 0) {
    widen_16<Swapped>(last, to + 2 * n - 32);
    return n;
  }
  if (!to_the_end) return i;
  const std::size_t run = n - 16 + static_cast<std::size_t>(std::countr_zero(bits)) - i;
  widen_few<Swapped>(from + i, run, to + 2 * i);
  return i + run;
}

// Fewer than eight units, all of them bytes.
VDX_INLINE void narrow_few(const std::uint8_t* units, std::size_t n, std::uint8_t* to) {
  if (n >= 4) {
    const __m128i first = half_at(units), last = half_at(units + 2 * n - 8);
    store(to, _mm_cvtsi128_si32(_mm_packus_epi16(first, first)));
    store(to + n - 4, _mm_cvtsi128_si32(_mm_packus_epi16(last, last)));
  } else {
    for (std::size_t i = 0; i < n; ++i) to[i] = units[2 * i];
  }
}

// Bit i: unit i of the two blocks is below the limit.
template <std::uint32_t Limit>
VDX_INLINE std::uint32_t narrow_bits(__m128i a, __m128i b) {
  const __m128i high = _mm_set1_epi16(static_cast<short>(0x10000 - Limit));
  const __m128i zero = _mm_setzero_si128();
  return high_bits(_mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(a, high), zero),
                                   _mm_cmpeq_epi16(_mm_and_si128(b, high), zero)));
}

template <std::uint32_t Limit>
VDX_INLINE std::size_t narrow_blocks(const std::uint8_t* units, std::size_t n, std::uint8_t* to,
                                     bool to_the_end) {
  std::size_t i = 0;
  if (n >= 8 && n <= 32) {
    // Blocks from both ends, which may overlap.
    const std::size_t second = n > 16 ? 16 : 0;  // bytes
    const std::uint8_t* const end = units + 2 * n;
    const __m128i a = block_at(units), b = block_at(units + second);
    const __m128i y = block_at(end - 16 - second), z = block_at(end - 16);
    if (narrow_bits<Limit>(_mm_or_si128(a, b), _mm_or_si128(y, z)) == 0xFFFF) {
      if (second != 0) {
        put_block(to, _mm_packus_epi16(a, b));
        put_block(to + n - 16, _mm_packus_epi16(y, z));
      } else {
        put_half(to, _mm_packus_epi16(a, a));
        put_half(to + n - 8, _mm_packus_epi16(z, z));
      }
      return n;
    }
  }
  for (; n - i >= 32; i += 32) {
    const __m128i a = block_at(units + 2 * i), b = block_at(units + 2 * i + 16);
    const __m128i c = block_at(units + 2 * i + 32), d = block_at(units + 2 * i + 48);
    if (narrow_bits<Limit>(_mm_or_si128(a, c), _mm_or_si128(b, d)) != 0xFFFF) break;
    put_block(to + i, _mm_packus_epi16(a, b));
    put_block(to + i + 16, _mm_packus_epi16(c, d));
  }
  for (; n - i >= 8; i += 8) {
    const __m128i block = block_at(units + 2 * i);
    if (narrow_bits<Limit>(block, block) != 0xFFFF) break;
    put_half(to + i, _mm_packus_epi16(block, block));
  }
  if (!to_the_end && n >= 8) return i;
  // Fewer than eight units are left, or one of the first eight is not below the limit.
  std::size_t run = 0;
  while (run < n - i && unit_at(units, i + run) < Limit) ++run;
  narrow_few(units + 2 * i, run, to + i);
  return i + run;
}

// By the number of bytes of a character, 4 at most: the sum of the mark bits of its bytes, as the
// multiplications of take_characters weigh them, the mask of those bytes, and the first and the
// span of the code points that take that many.
struct Utf8Form {
  std::uint32_t marks, keep, first, span;
};
inline constexpr std::array<Utf8Form, 65> kUtf8Forms = [] {
  std::array<Utf8Form, 65> forms{};
  for (Utf8Form& form : forms) form = {0, 0, 1, 0};  // computes the code 0, out of range
  forms[1] = {0, 0xFF, 0, 0x7F};
  forms[2] = {0x3080, 0xFFFF, 0x80, 0x7FF - 0x80};
  forms[3] = {0xE2080, 0xFFFFFF, 0x800, 0xFFFF - 0x800};
  forms[4] = {0x3C82080, 0xFFFFFFFF, 0x10000, 0x10FFFF - 0x10000};
  return forms;
}();

// Calls use(code) for each character of a block. `starts` has a bit for each byte that starts a
// character; its highest bit is where the last one ends. Returns the bytes consumed, or 0 if a
// character is malformed; codes already passed to use() must then be discarded. There are never
// more codes than bytes, those from 0x10000 on counted twice. Ahead: four bytes may be read from
// each start on; else the four bytes that each character ends with.
template <bool Ahead, typename Use>
VDX_INLINE std::size_t take_characters(const std::uint8_t* block, std::uint64_t starts, Use use) {
  std::size_t at = 0;
  std::uint32_t bad = (starts & 1) == 0;
  for (starts &= starts - 1; starts != 0; starts &= starts - 1) {
    const auto end = static_cast<std::size_t>(std::countr_zero(starts));
    const Utf8Form& form = kUtf8Forms[end - at];
    std::uint32_t v = __builtin_bswap32(load<std::uint32_t>(Ahead ? block + at : block + end - 4));
    if constexpr (Ahead) v >>= (32 - 8 * (end - at)) & 31;
    v &= form.keep;
    const std::uint32_t code = (v & 0xFF) + (v >> 8 & 0xFF) * 0x40 + (v >> 16 & 0xFF) * 0x1000 +
                               (v >> 24) * 0x40000 - form.marks;
    bad |= static_cast<std::uint32_t>(code - form.first > form.span) |
           static_cast<std::uint32_t>(is_surrogate(code));
    use(code);
    at = end;
  }
  return bad != 0 ? 0 : at;
}

// Passes text to a sink from byte i on, where a character starts, as far as blocks go and the text
// is well-formed. Returns where it stopped. The sink has
//   has_room(n)         whether the characters of n bytes fit
//   ascii(block)        sixteen ASCII characters
//   ascii_few(text, n)  up to sixteen of them
//   character(code)     any character, kept when keep() follows, else to be discarded
template <typename Sink>
VDX_INLINE std::size_t utf8_blocks(const std::uint8_t* text, std::size_t i, std::size_t n,
                                   Sink& sink) {
  const auto use = [&sink](std::uint32_t code) { sink.character(code); };
  while (n - i >= 18 && sink.has_room(16)) {
    const __m128i block = block_at(text + i);
    if (high_bits(block) == 0) {
      sink.ascii(block);
      i += 16;
      continue;
    }
    std::uint64_t starts = start_bits(block);
    if (n - i >= 66 && sink.has_room(64))
      for (std::size_t at = 16; at < 64; at += 16)
        starts |= std::uint64_t{start_bits(block_at(text + i + at))} << at;
    const std::size_t taken = take_characters<true>(text + i, starts, use);
    if (taken == 0) return i;
    sink.keep();
    i += taken;
  }
  const std::size_t left = n - i;
  if (left == 0 || left > 16 || n < 16 || !sink.has_room(left)) return i;
  const __m128i last = block_at(text + n - 16);
  if (high_bits(last) >> (16 - left) == 0) {
    sink.ascii_few(text + i, left);
    return n;
  }
  if (i < 3) return i;
  const std::size_t taken = take_characters<false>(
      text + i, start_bits(last) >> (16 - left) | std::uint32_t{1} << left, use);
  if (taken != 0) sink.keep();
  return i + taken;
}

}  // namespace vdx
#endif

#endif
