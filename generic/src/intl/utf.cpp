// UTF-8 and UTF-16.
#include "intl/utf.h"

namespace vdx {
namespace {

// A character of UTF-8: its code point and bytes; 0 bytes for what is none.
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

}  // namespace

template <bool Swapped>
std::size_t widen_run(const std::uint8_t* from, std::size_t n, std::uint8_t* to) {
  std::size_t i = 0;
  for (; i < n && from[i] < 0x80; ++i) put_unit<Swapped>(to, i, from[i]);
  return i;
}

template std::size_t widen_run<false>(const std::uint8_t*, std::size_t, std::uint8_t*);
template std::size_t widen_run<true>(const std::uint8_t*, std::size_t, std::uint8_t*);

template <std::uint32_t Limit>
std::size_t narrow_run(const std::uint8_t* units, std::size_t n, std::uint8_t* to) {
  std::size_t i = 0;
  for (; i < n && unit_at(units, i) < Limit; ++i)
    to[i] = static_cast<std::uint8_t>(unit_at(units, i));
  return i;
}

template std::size_t narrow_run<0x80>(const std::uint8_t*, std::size_t, std::uint8_t*);
template std::size_t narrow_run<0x100>(const std::uint8_t*, std::size_t, std::uint8_t*);

template <bool Swapped>
Transcoded utf8_to_utf16(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room) {
  std::size_t i = 0;
  std::size_t o = 0;
  while (i < n) {
    const Character c = character_at(from + i, n - i);
    if (c.bytes == 0) return {i, o, Transcoding::malformed, false};
    const std::size_t units = c.bytes == 4 ? 2 : 1;
    if (units > room - o) return {i, o, Transcoding::full, false};
    if (units == 1) {
      put_unit<Swapped>(to, o, c.code);
    } else {
      put_unit<Swapped>(to, o, 0xD7C0 + (c.code >> 10));
      put_unit<Swapped>(to, o + 1, 0xDC00 | (c.code & 0x3FF));
    }
    i += c.bytes;
    o += units;
  }
  return {i, o, Transcoding::done, false};
}

template Transcoded utf8_to_utf16<false>(const std::uint8_t*, std::size_t, std::uint8_t*,
                                         std::size_t);
template Transcoded utf8_to_utf16<true>(const std::uint8_t*, std::size_t, std::uint8_t*,
                                        std::size_t);

Transcoded utf16_to_utf8(const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                         std::size_t room) {
  std::size_t i = 0;
  std::size_t o = 0;
  while (i < n) {
    std::uint32_t c = unit_at(from, i);
    std::size_t units = 1;
    if (is_surrogate(c)) {
      if (!surrogate_pair_at(from, i, n)) return {i, o, Transcoding::malformed, false};
      c = 0x10000 + ((c & 0x3FF) << 10 | (unit_at(from, i + 1) & 0x3FFu));
      units = 2;
    }
    const std::size_t bytes = c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u;
    if (bytes > room - o) return {i, o, Transcoding::full, false};
    if (bytes == 1) {
      to[o] = static_cast<std::uint8_t>(c);
    } else {
      for (std::size_t at = bytes - 1; at > 0; --at, c >>= 6)
        to[o + at] = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
      to[o] = static_cast<std::uint8_t>(0xF00 >> bytes | c);
    }
    i += units;
    o += bytes;
  }
  return {i, o, Transcoding::done, false};
}

std::size_t well_formed_utf16(const void* units, std::size_t n) {
  const auto* from = static_cast<const std::uint8_t*>(units);
  std::size_t i = 0;
  while (i < n) {
    const std::uint32_t unit = unit_at(from, i);
    if (!is_surrogate(unit)) {
      ++i;
    } else {
      if (!surrogate_pair_at(from, i, n)) return i;
      i += 2;
    }
  }
  return n;
}

std::size_t well_formed_utf8(const std::uint8_t* bytes, std::size_t n) {
  std::size_t i = 0;
  while (i < n) {
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
    widen_run<true>(bytes, n, units);
  else
    widen_run<false>(bytes, n, units);
}

}  // namespace vdx
