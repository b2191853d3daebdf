// UTF-16 out of line: texts that are cut, transcoded or wide. A unit is two bytes in native byte
// order, in a destination swapped if the format asks for it; lengths of records are in bytes, all
// others here in units unless they are named bytes.
#include "convert/unicode_value.h"

#include <algorithm>

namespace vdx {

namespace {

constexpr std::uint16_t swapped_bytes(std::uint16_t unit) {
  return static_cast<std::uint16_t>(unit << 8 | unit >> 8);
}

// The destination's room in units: all of it, and what a terminator leaves for text.
struct UnitRoom {
  std::int32_t whole;
  std::int32_t text;

  explicit UnitRoom(const vdx_datafmt& format)
      : whole(format.maxlength / 2),
        text(whole > 0 ? whole - static_cast<std::int32_t>(format.format & VDX_FMT_TERMINATE) : 0) {
  }
};

bool is_swapped(const Call& call) { return (call.format->format & VDX_FMT_SWAP) != 0; }

// The code of n bytes of text that fit, padded and terminated as asked.
std::int32_t finish_units(const Call& call, std::size_t n, std::int32_t code) {
  const auto bytes = static_cast<std::int32_t>(n);
  *call.length = bytes;
  if ((call.format->format & kFinishFlags) == 0) return code;
  const std::int32_t finished = finish_utf16(*call.format, call.destination, bytes, *call.length);
  return finished == VDX_SUCCESS ? code : finished;
}

// The code of a text of which n units were kept. One that is too long by its terminator alone is an
// overflow, as from any other source.
[[gnu::cold, gnu::noinline]] std::int32_t finish_cut_units(const Call& call, std::size_t n,
                                                           bool only_terminator) {
  pad_cut_utf16(*call.format, call.destination, static_cast<std::int32_t>(2 * n), *call.length);
  return only_terminator ? VDX_OVERFLOW : VDX_TRUNCATED;
}

std::int32_t malformed(const Call& call) {
  *call.length = 0;
  return VDX_MALFORMED_UNICODE;
}

const std::uint8_t* source_bytes(const Call& call) {
  return static_cast<const std::uint8_t*>(call.source);
}

std::uint8_t fold_at(const std::uint8_t* unit) { return char_fold(kUtf16, unit, 2); }

constexpr std::uint8_t kNothing[1] = {0};

// A text that was transcoded as far as there was room, or well-formed text.
[[gnu::cold, gnu::noinline]] std::int32_t cut_as_utf16(const Call& call, const Text& text,
                                                       const Transcoded& result) {
  const UnitRoom room(*call.format);
  const std::uint8_t* const rest = text.bytes + result.taken;
  const std::size_t left = static_cast<std::size_t>(text.length) - result.taken;
  if (result.outcome == Transcoding::malformed || well_formed(text.attributes, rest, left) != left)
    return malformed(call);
  // The next character needs more than is left for text, two units at most: with the terminator's
  // unit there are no more than two.
  std::uint16_t units[2];
  const auto spare = static_cast<std::size_t>(room.whole) - result.placed;
  const bool only_terminator =
      room.text < room.whole &&
      to_utf16(text.attributes, rest, left, units, spare, false).outcome == Transcoding::done;
  return finish_cut_units(call, result.placed, only_terminator);
}

}  // namespace

bool is_utf16(const Call& call) {
  const std::size_t n = units_of(call);
  return call.source_format->maxlength % 2 == 0 && well_formed_utf16(call.source, n) == n;
}

std::int32_t misfit_as_utf16(const Call& call, const unsigned char* text, std::int32_t n,
                             Misfit style) {
  const vdx_datafmt& format = *call.format;
  const std::int32_t room = format.maxlength / 2;
  auto* const to = static_cast<unsigned char*>(call.destination);
  *call.length = 2 * std::min(n, room);
  if (style == Misfit::cut) {
    widen_ascii(text, static_cast<std::size_t>(std::min(n, room)), to, is_swapped(call));
  } else if (room > 1) {
    const std::uint16_t asterisk = '*';
    store(to, is_swapped(call) ? swapped_bytes(asterisk) : asterisk);
    store(to + 2, std::uint16_t{0});
    *call.length = 2;
    static_cast<void>(finish_utf16(format, to, 2, *call.length));
  }
  if ((format.format & VDX_FMT_TERMINATE) != 0 && room > 0)
    store(to + 2 * room - 2, std::uint16_t{0});
  return VDX_OVERFLOW;
}

std::int32_t write_as_utf16(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const UnitRoom room(format);
  const auto n = static_cast<std::size_t>(text.length);
  const Transcoded result = to_utf16(text.attributes, text.bytes, n, call.destination,
                                     static_cast<std::size_t>(room.text), is_swapped(call));
  if (result.outcome != Transcoding::done) [[unlikely]]
    return cut_as_utf16(call, text, result);
  const std::int32_t code = result.substituted ? VDX_TRANSLATION : VDX_SUCCESS;
  return finish_units(call, 2 * result.placed, code);
}

std::int32_t write_made_text_as_utf16(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const UnitRoom room(format);
  const Transcoded result =
      to_utf16(text.attributes, text.bytes, static_cast<std::size_t>(text.length), call.destination,
               static_cast<std::size_t>(room.text), is_swapped(call));
  if (result.outcome == Transcoding::malformed) return malformed(call);
  if (result.outcome == Transcoding::full) {
    end_cut_utf16(format, call.destination, static_cast<std::int32_t>(2 * result.placed),
                  *call.length);
    return VDX_OVERFLOW;
  }
  const std::int32_t code = result.substituted ? VDX_TRANSLATION : VDX_SUCCESS;
  return finish_units(call, 2 * result.placed, code);
}

Text wide_text(const Call& call) {
  const std::uint8_t* from = source_bytes(call);
  std::size_t n = units_of(call);
  while (n > 1 && load<std::uint16_t>(from + 2 * n - 2) == ' ') --n;
  for (; n > 1 && load<std::uint16_t>(from) == ' '; --n) from += 2;
  // Readers of numbers first look for ASCII bytes, and a unit may consist of two of them. No text that
  // begins with such a unit is a number, so only texts whose first unit can open one go on.
  if (fold_at(from) == 0 && (char_class(kUtf16, from, 2) & kClassCurrency) == 0)
    return {kNothing, 1, kLatin1};
  return {from, static_cast<std::int32_t>(2 * n), kUtf16};
}

bool local_text(const Call& call, const vdx_charattr& set, std::uint8_t* to, std::int32_t room,
                std::int32_t& length) {
  const std::uint8_t* from = source_bytes(call);
  std::size_t n = units_of(call);
  while (n > 0 && fold_at(from + 2 * n - 2) == ' ') --n;
  for (; n > 0 && fold_at(from) == ' '; --n) from += 2;
  length = 0;
  while (n > 0) {
    if (length == room) return false;
    if (const std::uint8_t fold = fold_at(from); fold != 0) {
      to[length++] = fold;
      from += 2;
      --n;
      continue;
    }
    std::size_t run = 1;
    while (run < n && fold_at(from + 2 * run) == 0) ++run;
    const Transcoded result =
        from_utf16(set, from, run, to + length, static_cast<std::size_t>(room - length));
    if (result.outcome != Transcoding::done) return false;
    length += static_cast<std::int32_t>(result.placed);
    from += 2 * run;
    n -= run;
  }
  return true;
}

std::int32_t units_to_units(const Call& call) {
  const UnitRoom room(*call.format);
  const std::uint8_t* const from = source_bytes(call);
  std::size_t n = units_of(call);
  const std::size_t all = n;
  const bool is_cut = all > static_cast<std::size_t>(room.text);
  if (is_cut) {
    n = static_cast<std::size_t>(room.text);
    // A pair of surrogates is one character.
    if (n > 0 && (load<std::uint16_t>(from + 2 * n - 2) & 0xFC00) == 0xD800) --n;
  }
  auto* const to = static_cast<unsigned char*>(call.destination);
  if (is_swapped(call)) {
    for (std::size_t i = 0; i < n; ++i)
      store(to + 2 * i, swapped_bytes(load<std::uint16_t>(from + 2 * i)));
  } else {
    std::memmove(to, from, 2 * n);
  }
  if (is_cut) [[unlikely]]
    return finish_cut_units(call, n, all == static_cast<std::size_t>(room.whole));
  return finish_units(call, 2 * n, VDX_SUCCESS);
}

}  // namespace vdx
