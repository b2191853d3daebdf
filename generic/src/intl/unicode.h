// Between the bytes of a character set and UTF-16.
//
// A unit is two bytes of UTF-16, in native byte order unless a parameter says that its bytes are
// swapped; units need no alignment. Nothing here allocates. A character is never cut: if the next
// one does not fit whole, the conversion stops before it. After the bytes placed nothing is
// written, unless the source is malformed; beyond the room, never. If the next character is
// malformed, that is the outcome whether there is room or not. In a double-byte set a lead byte and
// the byte after it are one character, whether the set has it or not, as everywhere in the library.
#ifndef VDX_INTL_UNICODE_H
#define VDX_INTL_UNICODE_H

#include <cstddef>
#include <cstdint>

#include "intl/charattr.h"

namespace vdx {

enum class Transcoding : std::uint8_t {
  done,       // all of the source was taken
  full,       // the destination has no room for the next character
  malformed,  // the source is not well-formed at `taken`: UTF-8 or UTF-16, or a cut character
  missing,    // the character at `taken` is not in the destination's set, or in no set
};

// How to treat characters that the destination's set lacks, and bytes that are no character of a
// single- or double-byte set.
enum class Missing : std::uint8_t {
  substitute,  // place a question mark or, in UTF-16, U+FFFD
  stop,        // stop before them
};

struct Transcoded {
  std::size_t taken;   // of the source: bytes, or units where the source is UTF-16
  std::size_t placed;  // in the destination: bytes, or units where the destination is UTF-16
  Transcoding outcome;
  bool substituted;  // a substitute was placed
};

// n bytes of the set as UTF-16.
Transcoded to_utf16(const vdx_charattr& set, const std::uint8_t* from, std::size_t n, void* to,
                    std::size_t room_units, bool swapped, Missing missing = Missing::substitute);

// UTF-16 as bytes of the set.
Transcoded from_utf16(const vdx_charattr& set, const void* from, std::size_t units,
                      std::uint8_t* to, std::size_t room, Missing missing = Missing::substitute);

// Bytes of one set, which may be kUtf16, as bytes of another. Equal sets are checked (UTF-8 must be
// well-formed) and copied, also bytes that are no characters.
Transcoded transcode(const vdx_charattr& from_set, const std::uint8_t* from, std::size_t n,
                     const vdx_charattr& to_set, std::uint8_t* to, std::size_t room,
                     Missing missing = Missing::substitute);

// How many of the units come before the first unpaired surrogate: all of them in well-formed text.
std::size_t well_formed_utf16(const void* units, std::size_t n);

// How many of the bytes come before the first that is not well-formed UTF-8.
std::size_t well_formed_utf8(const std::uint8_t* bytes, std::size_t n);

// How many of the bytes come before the first that is not well-formed UTF-8 or UTF-16 or, in a
// double-byte set, the first of a cut character.
std::size_t well_formed(const vdx_charattr& set, const std::uint8_t* bytes, std::size_t n);

// Places the units before the first that is not ASCII as bytes and returns their number; `to` has
// room for n.
std::size_t narrow_ascii(const void* units, std::size_t n, std::uint8_t* to);

// n ASCII bytes as units.
void widen_ascii(const std::uint8_t* bytes, std::size_t n, void* to, bool swapped);

}  // namespace vdx

#endif
