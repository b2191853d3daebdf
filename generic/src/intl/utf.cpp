// UTF-8 and UTF-16, character by character. utf_shuffle.h does blocks where the processor can shuffle
// bytes, else utf_sse2.h where it can.
//
// On performance: whether a character has one, two or three bytes is as unpredictable as the texts,
// so the lengths are computed without branches.
#include "intl/utf.h"

#include <algorithm>

#include "intl/utf_shuffle.h"

namespace vdx {
namespace {

// A character of UTF-8: its code point and bytes; 0 bytes where it is malformed.
struct Character {
  std::uint32_t code;
  std::uint32_t bytes;
};

VDX_INLINE bool is_trail(std::uint32_t byte) { return (byte & 0xC0) == 0x80; }

// `left` is at least 1. Shortest forms alone, no surrogates, nothing above U+10FFFF.
VDX_INLINE Character character_at(const std::uint8_t* p, std::size_t left) {
  constexpr Character kNone = {0, 0};
  const std::uint32_t lead = *p;
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC2 || left < 2 || !is_trail(p[1])) return kNone;
  std::uint32_t code = (lead & 0x1F) << 6 | (p[1] & 0x3Fu);
  if (lead < 0xE0) return {code, 2};
  if (left < 3 || !is_trail(p[2])) return kNone;
  code = (code & 0x3FF) << 6 | (p[2] & 0x3Fu);
  if (lead < 0xF0) return code < 0x800 || is_surrogate(code) ? kNone : Character{code, 3};
  if (lead > 0xF4 || left < 4 || !is_trail(p[3])) return kNone;
  code = (lead & 7) << 18 | (p[1] & 0x3Fu) << 12 | (p[2] & 0x3Fu) << 6 | (p[3] & 0x3Fu);
  return code < 0x10000 || code > 0x10FFFF ? kNone : Character{code, 4};
}

// Takes code points as UTF-16. A character never has more units than it has bytes in UTF-8, so a
// room of as many units as bytes is enough.
template <bool Swapped>
struct Utf16Sink {
  std::uint8_t* to;
  std::size_t room;
  std::size_t placed;  // kept
  std::size_t next = placed;

  bool has_room(std::size_t units) const { return room - placed >= units; }

  // For a single unit both stores write it.
  void character(std::uint32_t code) {
    const bool is_pair = code > 0xFFFF;
    put_unit<Swapped>(to, next, is_pair ? 0xD7C0 + (code >> 10) : code);
    next += is_pair;
    put_unit<Swapped>(to, next, is_pair ? 0xDC00 | (code & 0x3FF) : code);
    ++next;
  }

  void keep() { placed = next; }

#if defined(VDX_SSE2)
  void ascii(__m128i block) {
    widen_16<Swapped>(block, to + 2 * placed);
    next = placed += 16;
  }
  void ascii_few(const std::uint8_t* text, std::size_t n) {
    widen_few<Swapped>(text, n, to + 2 * placed);
    next = placed += n;
  }
#endif
};

struct Checker {
  static bool has_room(std::size_t) { return true; }
  static void character(std::uint32_t) {}
  static void keep() {}
#if defined(VDX_SSE2)
  static void ascii(__m128i) {}
  static void ascii_few(const std::uint8_t*, std::size_t) {}
#endif
};

#if !defined(VDX_SSE2)
template <typename Sink>
std::size_t utf8_blocks(const std::uint8_t*, std::size_t i, std::size_t, Sink&) {
  return i;
}
#endif

VDX_INLINE std::uint32_t trail(std::uint32_t code) { return 0x80 | (code & 0x3F); }

// The bytes of a code point below 0x10000, the first one lowest.
struct ShortForm {
  std::uint32_t word;
  std::uint32_t bytes;
};

VDX_INLINE ShortForm short_form(std::uint32_t code) {
  const std::uint32_t is_short = code < 0x80;
  const std::uint32_t is_longer = code >= 0x800;
  const std::uint32_t three = 0xE0 | code >> 12 | trail(code >> 6) << 8 | trail(code) << 16;
  const std::uint32_t two = three >> 8 | 0x40;
  const std::uint32_t many = two ^ ((two ^ three) & (0 - is_longer));
  return {many ^ ((many ^ code) & (0 - is_short)), 2 + is_longer - is_short};
}

// Stores exactly its bytes, the last one first: a short form stores its first byte more than once.
VDX_INLINE void put_short(std::uint8_t* to, ShortForm form) {
  const std::uint32_t last = form.bytes - 1;
  const std::uint32_t middle = last / 2;
  to[last] = static_cast<std::uint8_t>(form.word >> 8 * last);
  to[middle] = static_cast<std::uint8_t>(form.word >> 8 * middle);
  to[0] = static_cast<std::uint8_t>(form.word);
}

VDX_INLINE void put_long(std::uint8_t* to, std::uint32_t code) {
  store(to,
        0xF0 | code >> 18 | trail(code >> 12) << 8 | trail(code >> 6) << 16 | trail(code) << 24);
}

VDX_INLINE std::uint32_t pair_code(const std::uint8_t* units, std::size_t i) {
  return 0x10000 + ((unit_at(units, i) & 0x3FFu) << 10 | (unit_at(units, i + 1) & 0x3FFu));
}

// Places eight units if they are all ASCII.
VDX_INLINE bool narrow_8(const std::uint8_t* units, std::uint8_t* to) {
#if defined(VDX_SSE2)
  const __m128i block = block_at(units);
  if (narrow_bits<0x80>(block, block) != 0xFFFF) return false;
  put_half(to, _mm_packus_epi16(block, block));
  return true;
#else
  (void)units, (void)to;
  return false;
#endif
}

}  // namespace

template <std::uint32_t Limit, bool Swapped>
std::size_t widen_run(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                      [[maybe_unused]] bool to_the_end) {
#if defined(VDX_SSE2)
  return widen_blocks<Limit, Swapped>(from, n, to, to_the_end);
#else
  std::size_t i = 0;
  for (; i < n && from[i] < Limit; ++i) put_unit<Swapped>(to, i, from[i]);
  return i;
#endif
}

template <std::uint32_t Limit>
std::size_t narrow_run(const std::uint8_t* units, std::size_t n, std::uint8_t* to,
                       [[maybe_unused]] bool to_the_end) {
#if defined(VDX_SSE2)
  return narrow_blocks<Limit>(units, n, to, to_the_end);
#else
  std::size_t i = 0;
  for (; i < n && unit_at(units, i) < Limit; ++i)
    to[i] = static_cast<std::uint8_t>(unit_at(units, i));
  return i;
#endif
}

using Runs = std::size_t(const std::uint8_t*, std::size_t, std::uint8_t*, bool);
template Runs widen_run<0x80, false>;
template Runs widen_run<0x80, true>;
template Runs widen_run<0x100, false>;
template Runs widen_run<0x100, true>;
template Runs narrow_run<0x80>;
template Runs narrow_run<0x100>;

template <bool Swapped>
Transcoded utf8_to_utf16(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room, bool may_shuffle) {
  const bool shuffles = may_shuffle && can_shuffle();
  std::size_t i = widen_run<0x80, Swapped>(from, std::min(n, room), to, !shuffles);
  Utf16Sink<Swapped> sink{to, room, i};
  while (i < n) {
    if (shuffles) [[likely]]
      shuffle_blocks<Utf8Shuffler<Swapped>>(from, i, n, to, sink.placed, room);
    else
      i = utf8_blocks(from, i, n, sink);
    if (i == n) break;
    const Character c = character_at(from + i, n - i);
    if (c.bytes == 0) return {i, sink.placed, Transcoding::malformed, false};
    if (!sink.has_room(c.bytes == 4 ? 2 : 1)) return {i, sink.placed, Transcoding::full, false};
    sink.next = sink.placed;
    sink.character(c.code);
    sink.keep();
    i += c.bytes;
  }
  return {n, sink.placed, Transcoding::done, false};
}

template Transcoded utf8_to_utf16<false>(const std::uint8_t*, std::size_t, std::uint8_t*,
                                         std::size_t, bool);
template Transcoded utf8_to_utf16<true>(const std::uint8_t*, std::size_t, std::uint8_t*,
                                        std::size_t, bool);

Transcoded utf16_to_utf8(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room, bool may_shuffle) {
  const bool shuffles = may_shuffle && can_shuffle();
  std::size_t i = narrow_run<0x80>(from, std::min(n, room), to, !shuffles);
  std::size_t o = i;
  while (i < n) {
    if (shuffles) [[likely]]
      shuffle_blocks<Utf16Shuffler>(from, i, n, to, o, room);
    // Units that have room even if each takes three bytes. Each store writes a whole word; later
    // characters overwrite what is too much. So the last few units, which may be half a pair, are
    // left to the exact stores below.
    constexpr std::size_t kCover = 4;
    const std::size_t end = i + std::min(n - i, (room - o) / 3);
    while (!shuffles && end - i > kCover) {
      if (end - i >= 8 && narrow_8(from + 2 * i, to + o)) {
        i += 8;
        o += 8;
        continue;
      }
      const std::size_t block_end = std::min(end - kCover, i + 8);
      for (; i < block_end; ++i) {
        const std::uint32_t unit = unit_at(from, i);
        if (is_surrogate(unit)) {
          if (!surrogate_pair_at(from, i, end)) break;
          put_long(to + o, pair_code(from, i++));
          o += 4;
        } else {
          const ShortForm form = short_form(unit);
          store(to + o, form.word);
          o += form.bytes;
        }
      }
      if (i < block_end) break;
    }
    if (i == n) break;
    const std::uint32_t unit = unit_at(from, i);
    const bool is_pair = is_surrogate(unit);
    if (is_pair && !surrogate_pair_at(from, i, n)) return {i, o, Transcoding::malformed, false};
    const ShortForm form = short_form(unit);
    const std::size_t bytes = is_pair ? 4 : form.bytes;
    if (bytes > room - o) return {i, o, Transcoding::full, false};
    if (is_pair)
      put_long(to + o, pair_code(from, i++));
    else
      put_short(to + o, form);
    ++i;
    o += bytes;
  }
  return {n, o, Transcoding::done, false};
}

std::size_t well_formed_utf16(const void* units, std::size_t n) {
  const auto* from = static_cast<const std::uint8_t*>(units);
  std::size_t i = 0;
  while (i < n) {
#if defined(VDX_SSE2)
    for (; n - i >= 8; i += 8) {
      const __m128i high = _mm_and_si128(block_at(from + 2 * i), _mm_set1_epi16(-0x800));
      if (high_bits(_mm_cmpeq_epi16(high, _mm_set1_epi16(-0x2800))) != 0) break;
    }
#endif
    for (const std::size_t end = std::min(n, i + 8); i < end; ++i) {
      if (!is_surrogate(unit_at(from, i))) continue;
      if (!surrogate_pair_at(from, i, n)) return i;
      ++i;
    }
  }
  return n;
}

std::size_t well_formed_utf8(const std::uint8_t* bytes, std::size_t n) {
  Checker checker;
  std::size_t i = 0;
#if defined(VDX_SSE2)
  if (n < 16) i = ascii_run_of_few(bytes, n);
#endif
  while (i < n) {
    i = utf8_blocks(bytes, i, n, checker);
    if (i == n) break;
    const Character c = character_at(bytes + i, n - i);
    if (c.bytes == 0) return i;
    i += c.bytes;
  }
  return n;
}

std::size_t narrow_ascii(const void* units, std::size_t n, std::uint8_t* to) {
  return narrow_run<0x80>(static_cast<const std::uint8_t*>(units), n, to);
}

void widen_ascii(const std::uint8_t* bytes, std::size_t n, void* to, bool swapped) {
  auto* units = static_cast<std::uint8_t*>(to);
  if (swapped)
    widen_run<0x80, true>(bytes, n, units);
  else
    widen_run<0x80, false>(bytes, n, units);
}

}  // namespace vdx
