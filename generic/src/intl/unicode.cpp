// Conversions of the single- and double-byte sets, by tables, and between any two sets.
#include "intl/unicode.h"

#include <algorithm>
#include <cstring>

#include "intl/utf.h"

namespace vdx {
namespace {

struct SjisBlock {
  std::uint64_t has;    // bit i: the block's code point i
  std::uint16_t first;  // index in kSjisBytes of its lowest code point
};

#include "intl/charset_codes_generated.inc"

// A single- or double-byte set. Bytes and units below kDirect are the same; every character takes
// one unit. decode() returns the unit of any other character, of `bytes` bytes, 0 if the bytes are
// none; encode() returns the bytes of any other unit, lead * 256 + trail, 0 if the set lacks it.
struct Ascii {
  static constexpr std::uint32_t kDirect = 0x80;
  static std::size_t bytes_at(const std::uint8_t*) { return 1; }
  static std::uint32_t decode(const std::uint8_t*, std::size_t) { return 0; }
  static std::uint32_t encode(std::uint32_t) { return 0; }
};

struct Latin1 : Ascii {
  static constexpr std::uint32_t kDirect = 0x100;
};

// Set bits of a word. std::popcount is a call in builds for processors without the instruction.
std::uint32_t bits_set(std::uint64_t word) {
  word -= word >> 1 & 0x5555555555555555;
  word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
  word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0F;
  return static_cast<std::uint32_t>(word * 0x0101010101010101 >> 56);
}

struct Sjis {
  static constexpr std::uint32_t kDirect = 0x80;
  static constexpr std::uint32_t kTrails = 188;
  // Lead bytes 0xF0 to 0xF9 map to the start of the private use area.
  static constexpr std::uint32_t kUserLead = 0xF0;
  static constexpr std::uint32_t kUserFirst = 0xE000;
  static constexpr std::uint32_t kUserCount = 10 * kTrails;

  static std::size_t bytes_at(const std::uint8_t* p) { return kSjis.lead_class[*p]; }

  static std::uint32_t decode(const std::uint8_t* p, std::size_t bytes) {
    const std::uint32_t lead = *p;
    if (bytes == 1) return lead >= 0xA1 && lead <= 0xDF ? 0xFF61 + (lead - 0xA1) : 0;
    const std::uint32_t trail = p[1];
    if (trail < 0x40 || trail == 0x7F || trail > 0xFC) return 0;
    const std::uint32_t column = trail - (trail < 0x7F ? 0x40 : 0x41);
    if (lead - kUserLead < 10) return kUserFirst + (lead - kUserLead) * kTrails + column;
    const std::uint32_t row = kSjisRows[lead];
    return row == 0 ? 0 : kSjisCodes[row - 1][column];
  }

  static std::uint32_t encode(std::uint32_t unit) {
    if (unit - kUserFirst < kUserCount) {
      const std::uint32_t column = (unit - kUserFirst) % kTrails;
      return (kUserLead + (unit - kUserFirst) / kTrails) << 8 |
             (column + (column < 0x3F ? 0x40 : 0x41));
    }
    const SjisBlock& block = kSjisBlocks[kSjisBlockOf[unit >> 6]];
    const std::uint64_t bit = std::uint64_t{1} << (unit & 63);
    if ((block.has & bit) == 0) return 0;
    return kSjisBytes[block.first + bits_set(block.has & (bit - 1))];
  }
};

template <typename Set, bool Swapped>
Transcoded decode_set(const std::uint8_t* from, std::size_t n, std::uint8_t* to, std::size_t room,
                      Missing missing) {
  Transcoded state{0, 0, Transcoding::done, false};
  for (;;) {
    const std::size_t run = widen_run<Set::kDirect, Swapped>(
        from + state.taken, std::min(n - state.taken, room - state.placed), to + 2 * state.placed);
    state.taken += run;
    state.placed += run;
    if (state.taken == n) return state;
    const std::size_t bytes = Set::bytes_at(from + state.taken);
    state.outcome = bytes > n - state.taken ? Transcoding::malformed : Transcoding::full;
    if (state.outcome == Transcoding::malformed || state.placed == room) return state;
    std::uint32_t code = Set::decode(from + state.taken, bytes);
    if (code == 0) {
      state.outcome = Transcoding::missing;
      if (missing == Missing::stop) return state;
      state.substituted = true;
      code = kReplacement;
    }
    put_unit<Swapped>(to, state.placed, code);
    state.taken += bytes;
    state.placed += 1;
    state.outcome = Transcoding::done;
  }
}

template <typename Set>
Transcoded encode_set(const std::uint8_t* from, std::size_t n, std::uint8_t* to, std::size_t room,
                      Missing missing) {
  Transcoded state{0, 0, Transcoding::done, false};
  for (;;) {
    const std::size_t run = narrow_run<Set::kDirect>(
        from + 2 * state.taken, std::min(n - state.taken, room - state.placed), to + state.placed);
    state.taken += run;
    state.placed += run;
    if (state.taken == n) return state;
    const std::uint32_t unit = unit_at(from, state.taken);
    std::uint32_t code = 0;
    std::size_t units = 1;
    if (unit < Set::kDirect) {
      code = unit;
    } else if (!is_surrogate(unit)) {
      code = Set::encode(unit);
    } else {
      units = surrogate_pair_at(from, state.taken, n) ? 2 : 0;
      if (units == 0) {
        state.outcome = Transcoding::malformed;
        return state;
      }
    }
    const bool is_missing = code == 0 && unit != 0;
    if (is_missing && missing == Missing::stop) {
      state.outcome = Transcoding::missing;
      return state;
    }
    if (is_missing) code = '?';
    const std::size_t bytes = code > 0xFF ? 2 : 1;
    if (bytes > room - state.placed) {
      state.outcome = Transcoding::full;
      return state;
    }
    if (bytes == 2) to[state.placed] = static_cast<std::uint8_t>(code >> 8);
    to[state.placed + bytes - 1] = static_cast<std::uint8_t>(code);
    state.taken += units;
    state.placed += bytes;
    state.substituted |= is_missing;
  }
}

template <bool Swapped>
Transcoded decode_any(Encoding encoding, const std::uint8_t* from, std::size_t n, std::uint8_t* to,
                      std::size_t room, Missing missing) {
  switch (encoding) {
    case Encoding::utf8:
      return utf8_to_utf16<Swapped>(from, n, to, room);
    case Encoding::sjis:
      return decode_set<Sjis, Swapped>(from, n, to, room, missing);
    case Encoding::ascii:
      return decode_set<Ascii, Swapped>(from, n, to, room, missing);
    case Encoding::latin1:
    case Encoding::utf16:  // not between UTF-16 and itself
      break;
  }
  return decode_set<Latin1, Swapped>(from, n, to, room, missing);
}

// How many of the first n bytes are whole characters, in a well-formed text of `left` bytes.
std::size_t whole_characters(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                             std::size_t left) {
  if (set.max_bytes == 1) return n;
  if (set.encoding == Encoding::utf8) {
    while (n < left && n > 0 && (from[n] & 0xC0) == 0x80) --n;
    return n;
  }
  std::size_t i = 0;
  while (i < n) {
    const std::size_t bytes = Sjis::bytes_at(from + i);
    if (bytes > n - i) break;
    i += bytes;
  }
  return i;
}

Transcoded copy_checked(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                        std::uint8_t* to, std::size_t room) {
  const std::size_t good = well_formed(set, from, n);
  const std::size_t placed = good <= room ? good : whole_characters(set, from, room, good);
  if (placed != 0) std::memmove(to, from, placed);
  const Transcoding outcome = placed < good ? Transcoding::full
                              : good < n    ? Transcoding::malformed
                                            : Transcoding::done;
  return {placed, placed, outcome, false};
}

}  // namespace

Transcoded to_utf16(const vdx_charattr& set, const std::uint8_t* from, std::size_t n, void* to,
                    std::size_t room_units, bool swapped, Missing missing) {
  auto* units = static_cast<std::uint8_t*>(to);
  return swapped ? decode_any<true>(set.encoding, from, n, units, room_units, missing)
                 : decode_any<false>(set.encoding, from, n, units, room_units, missing);
}

Transcoded from_utf16(const vdx_charattr& set, const void* from, std::size_t units,
                      std::uint8_t* to, std::size_t room, Missing missing) {
  const auto* bytes = static_cast<const std::uint8_t*>(from);
  switch (set.encoding) {
    case Encoding::utf8:
      return utf16_to_utf8(bytes, units, to, room);
    case Encoding::sjis:
      return encode_set<Sjis>(bytes, units, to, room, missing);
    case Encoding::ascii:
      return encode_set<Ascii>(bytes, units, to, room, missing);
    case Encoding::latin1:
    case Encoding::utf16:  // not between UTF-16 and itself
      break;
  }
  return encode_set<Latin1>(bytes, units, to, room, missing);
}

std::size_t well_formed(const vdx_charattr& set, const std::uint8_t* bytes, std::size_t n) {
  if (set.encoding == Encoding::utf8) return well_formed_utf8(bytes, n);
  if (set.encoding == Encoding::utf16) return 2 * well_formed_utf16(bytes, n / 2);
  return whole_characters(set, bytes, n, n);
}

// A function of its own has its result made where the caller wants it. A copy would wait for the stores
// of its parts.
static Transcoded from_units(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                             std::uint8_t* to, std::size_t room, Missing missing) {
  Transcoded result = from_utf16(set, from, n / 2, to, room, missing);
  result.taken *= 2;
  return result;
}

Transcoded transcode(const vdx_charattr& from_set, const std::uint8_t* from, std::size_t n,
                     const vdx_charattr& to_set, std::uint8_t* to, std::size_t room,
                     Missing missing) {
  if (from_set.encoding == to_set.encoding) return copy_checked(from_set, from, n, to, room);
  if (from_set.encoding == Encoding::utf16) return from_units(to_set, from, n, to, room, missing);
  constexpr std::size_t kUnits = 256;
  std::uint16_t units[kUnits];
  Transcoded state{0, 0, Transcoding::done, false};
  for (;;) {
    const std::uint8_t* const start = from + state.taken;
    const std::size_t left = n - state.taken;
    Transcoded read = to_utf16(from_set, start, left, units, kUnits, false, missing);
    const Transcoded written =
        from_utf16(to_set, units, read.placed, to + state.placed, room - state.placed, missing);
    state.outcome = read.outcome;
    if (written.outcome != Transcoding::done) {
      // Read again up to the last character that was placed, to find its end in the source.
      read = to_utf16(from_set, start, left, units, written.taken, false, missing);
      state.outcome = written.outcome;
    }
    state.taken += read.taken;
    state.placed += written.placed;
    state.substituted |= read.substituted || written.substituted;
    if (written.outcome != Transcoding::done || read.outcome != Transcoding::full) return state;
  }
}

}  // namespace vdx
