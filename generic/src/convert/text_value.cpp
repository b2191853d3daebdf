// Text to text that is not a plain copy. A text is placed: as many whole characters as the room takes
// are written in the destination's character set, with each apostrophe doubled if quoting is asked
// for. Cuts lie between characters, and never between the two apostrophes of a pair.
#include "convert/text_value.h"

#include <algorithm>

#include "intl/unicode.h"

namespace vdx {

namespace {

constexpr std::uint8_t kApostrophe = '\'';

struct Placed {
  std::int32_t code;
  std::size_t n;
};

// Bytes of the destination for characters; a terminator needs one of its own.
std::size_t text_room(const vdx_datafmt& format) {
  const std::int32_t terminator = (format.format & VDX_FMT_TERMINATE) != 0 ? 1 : 0;
  return static_cast<std::size_t>(std::max(format.maxlength - terminator, 0));
}

std::size_t char_size(const vdx_charattr& set, const std::uint8_t* p, std::size_t left) {
  return static_cast<std::size_t>(char_bytes(set, p, static_cast<std::int64_t>(left)));
}

// The bytes of those whole characters that fit the room.
std::size_t whole_characters(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                             std::size_t room) {
  if (n <= room) return n;
  if (set.max_bytes <= 1) return room;
  std::size_t at = 0;
  while (at < room) {
    const std::size_t size = char_size(set, from + at, n - at);
    if (size > room - at) break;
    at += size;
  }
  return at;
}

// Whether all of the bytes are well-formed.
bool is_text(const vdx_charattr& set, const std::uint8_t* from, std::size_t n) {
  return well_formed(set, from, n) == n;
}

// The text in another set. Malformed input is reported even beyond the point of truncation.
Placed place_in_other_set(const Text& text, const vdx_charattr& set, std::uint8_t* to,
                          std::size_t room) {
  const auto n = static_cast<std::size_t>(text.length);
  const Transcoded result = transcode(text.attributes, text.bytes, n, set, to, room);
  if (result.outcome == Transcoding::done)
    return {result.substituted ? VDX_TRANSLATION : VDX_SUCCESS, result.placed};
  if (result.outcome == Transcoding::full &&
      is_text(text.attributes, text.bytes + result.taken, n - result.taken))
    return {VDX_TRUNCATED, result.placed};
  return {VDX_MALFORMED_UNICODE, 0};
}

Placed place(const Text& text, const vdx_charattr& set, std::uint8_t* to, std::size_t room) {
  if (&set != &text.attributes) return place_in_other_set(text, set, to, room);
  const auto n = static_cast<std::size_t>(text.length);
  const std::size_t placed = whole_characters(set, text.bytes, n, room);
  std::memcpy(to, text.bytes, placed);
  return {placed < n ? VDX_TRUNCATED : VDX_SUCCESS, placed};
}

Placed place_quoted(const Text& text, const vdx_charattr& set, std::uint8_t* to, std::size_t room) {
  if (&set == &text.attributes) {
    const auto n = static_cast<std::size_t>(text.length);
    const Quoted quoted = quote_text(set, text.bytes, n, to, room);
    return {quoted.taken < n ? VDX_TRUNCATED : VDX_SUCCESS, quoted.placed};
  }
  // In pieces: the destination cannot hold the text before it is quoted, as bytes after it stay.
  std::uint8_t some[256];
  const std::uint8_t* from = text.bytes;
  auto left = static_cast<std::size_t>(text.length);
  std::size_t n = 0;
  bool substituted = false;
  for (;;) {
    const Transcoded part = transcode(text.attributes, from, left, set, some, sizeof some);
    if (part.outcome == Transcoding::malformed) return {VDX_MALFORMED_UNICODE, 0};
    const Quoted quoted = quote_text(set, some, part.placed, to + n, room - n);
    n += quoted.placed;
    from += part.taken;
    left -= part.taken;
    substituted |= part.substituted;
    if (quoted.taken < part.placed)
      return is_text(text.attributes, from, left) ? Placed{VDX_TRUNCATED, n}
                                                  : Placed{VDX_MALFORMED_UNICODE, 0};
    if (part.outcome == Transcoding::done) return {substituted ? VDX_TRANSLATION : VDX_SUCCESS, n};
  }
}

std::size_t apostrophes(const vdx_charattr& set, const std::uint8_t* text, std::size_t n) {
  std::size_t found = 0;
  for (std::size_t at = 0; at < n;) {
    const std::size_t size = char_size(set, text + at, n - at);
    found += size == 1 && text[at] == kApostrophe ? 1 : 0;
    at += size;
  }
  return found;
}

// Bytes that the whole text needs. Where the sets differ, it is known to be well-formed.
std::size_t full_size(const Text& text, const vdx_charattr& set, bool quoted) {
  auto left = static_cast<std::size_t>(text.length);
  if (&set == &text.attributes) return left + (quoted ? apostrophes(set, text.bytes, left) : 0);
  std::uint8_t some[256];
  const std::uint8_t* from = text.bytes;
  std::size_t size = 0;
  for (;;) {
    const Transcoded part = transcode(text.attributes, from, left, set, some, sizeof some);
    size += part.placed + (quoted ? apostrophes(set, some, part.placed) : 0);
    if (part.outcome != Transcoding::full) return size;
    from += part.taken;
    left -= part.taken;
  }
}

}  // namespace

Quoted quote_text(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                  std::uint8_t* to, std::size_t room) {
  Quoted quoted{0, 0};
  while (quoted.taken < n) {
    const std::uint8_t* const character = from + quoted.taken;
    const std::size_t size = set.max_bytes <= 1 ? 1 : char_size(set, character, n - quoted.taken);
    const bool doubled = size == 1 && *character == kApostrophe;
    if (size + (doubled ? 1 : 0) > room - quoted.placed) break;
    quoted.taken += size;
    for (std::size_t i = 0; i < size; ++i) to[quoted.placed + i] = character[i];
    if (doubled) to[quoted.placed + 1] = kApostrophe;
    quoted.placed += size + (doubled ? 1 : 0);
  }
  return quoted;
}

std::int32_t write_whole_text(const vdx_datafmt& format, void* destination,
                              const std::uint8_t* text, std::int32_t n, std::int32_t& length) {
  std::memcpy(destination, text, static_cast<std::size_t>(n));
  length = n;
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_text(format, destination, n, length);
}

std::int32_t write_changed_text(const Call& call, const Text& text, const vdx_charattr& set) {
  const vdx_datafmt& format = *call.format;
  auto* const to = static_cast<std::uint8_t*>(call.destination);
  const bool quoted = (format.format & VDX_FMT_QUOTE) != 0;
  const std::size_t room = text_room(format);
  const Placed placed = quoted ? place_quoted(text, set, to, room) : place(text, set, to, room);
  const auto n = static_cast<std::int32_t>(placed.n);
  *call.length = n;
  if (placed.code == VDX_MALFORMED_UNICODE) return placed.code;
  if (placed.code == VDX_TRUNCATED) {
    pad_cut_text(format, to, n, *call.length);
    // A text that is too long by its terminator alone is an overflow, as from any other source.
    const auto most = static_cast<std::size_t>(format.maxlength);
    return room < most && full_size(text, set, quoted) == most ? VDX_OVERFLOW : VDX_TRUNCATED;
  }
  const std::int32_t finished = finish_text(format, to, n, *call.length);
  return finished == VDX_SUCCESS ? placed.code : finished;
}

std::int32_t write_made_text_quoted(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const auto n = static_cast<std::size_t>(text.length);
  const Quoted quoted = quote_text(text.attributes, text.bytes, n,
                                   static_cast<std::uint8_t*>(call.destination), text_room(format));
  *call.length = static_cast<std::int32_t>(quoted.placed);
  if (quoted.taken == n) return finish_text(format, call.destination, *call.length, *call.length);
  end_cut_text(format, call.destination, *call.length, *call.length);
  return VDX_OVERFLOW;
}

std::int32_t write_changed_varchar(const Call& call, const Text& text, const vdx_charattr& set) {
  *call.length = sizeof(vdx_varchar);
  const Placed placed =
      place(text, set, static_cast<std::uint8_t*>(call.destination) + 2, kCountedRoom);
  store(call.destination, static_cast<std::int16_t>(placed.n));  // 0 where the text is refused
  return placed.code;
}

}  // namespace vdx
