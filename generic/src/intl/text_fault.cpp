#include "intl/text_fault.h"

#include "intl/unicode.h"
#include "intl/utf.h"

namespace vdx {

std::size_t bytes_at(const FaultyText& text, std::size_t at) {
  if (text.attributes.encoding != Encoding::utf16)
    return static_cast<std::size_t>(
        char_bytes(text.attributes, text.bytes + at, static_cast<std::int64_t>(text.length - at)));
  const std::size_t units = text.length / 2;
  if (text.length - at < 2) return 1;
  const bool is_pair = is_high_surrogate(unit_at(text.bytes, at / 2)) &&
                       surrogate_pair_at(text.bytes, at / 2, units);
  return is_pair ? 4 : 2;
}

void add_excerpt(const FaultyText& text, const Finding& finding, FaultWords& words) {
  constexpr std::size_t kMost = sizeof(vdx_fault::text);
  auto at = static_cast<std::size_t>(finding.offset);
  const std::size_t end = at + static_cast<std::size_t>(finding.length);
  while (at < end) {
    const auto size = bytes_at(text, at);
    std::uint8_t bytes[4 * 4] = {};
    const Transcoded character = transcode(text.attributes, text.bytes + at, size, kUtf8, bytes,
                                           sizeof bytes, Missing::stop);
    const bool is_control =
        bytes[0] < ' ' || bytes[0] == 127 || (bytes[0] == 0xC2 && bytes[1] < 0xA0);
    const bool is_odd =
        character.outcome != Transcoding::done || character.placed == 0 || is_control;
    const std::size_t n = is_odd ? 4 * size : character.placed;
    const std::size_t rest = at + size < end ? 3 : 0;
    if (words.length + n + rest > kMost) return words.add("...", 3);
    for (std::size_t i = 0; is_odd && i < size; ++i) {
      static constexpr char kDigits[] = "0123456789abcdef";
      words.add("\\x", 2);
      words.add(kDigits[text.bytes[at + i] >> 4]);
      words.add(kDigits[text.bytes[at + i] & 15]);
    }
    if (!is_odd) words.add(bytes, character.placed);
    at += size;
  }
}

void explain_malformed(const FaultyText& text, Finding& finding) {
  const std::size_t at = well_formed(text.attributes, text.bytes, text.length);
  if (at >= text.length) return;
  const auto left = static_cast<std::int64_t>(text.length - at);
  const bool is_cut = text.attributes.encoding == Encoding::utf16
                          ? left < 2 || (left < 4 && is_high_surrogate(unit_at(text.bytes, at / 2)))
                          : whole_char_bytes(text.attributes, text.bytes + at, left) > left;
  finding.note(is_cut ? VDX_REASON_CUT : VDX_REASON_MALFORMED, static_cast<std::int64_t>(at),
               is_cut ? left : static_cast<std::int64_t>(bytes_at(text, at)));
}

void explain_missing(const FaultyText& text, const vdx_charattr& to, Finding& finding) {
  std::uint8_t some[256];
  for (std::size_t at = 0;;) {
    const bool to_units = to.encoding == Encoding::utf16;
    const Transcoded part = to_units ? to_utf16(text.attributes, text.bytes + at, text.length - at,
                                                some, sizeof some / 2, false, Missing::stop)
                                     : transcode(text.attributes, text.bytes + at, text.length - at,
                                                 to, some, sizeof some, Missing::stop);
    at += part.taken;
    if (part.outcome == Transcoding::full) continue;
    if (part.outcome == Transcoding::missing)
      finding.note(VDX_REASON_NOT_IN_SET, static_cast<std::int64_t>(at),
                   static_cast<std::int64_t>(bytes_at(text, at)));
    return;
  }
}

void explain_room(const FaultyText& text, const vdx_charattr& to, bool quoted, std::int64_t room,
                  Finding& finding) {
  std::int64_t placed = 0;
  std::size_t at = 0;
  while (at < text.length) {
    const auto size = bytes_at(text, at);
    std::uint8_t bytes[16];
    std::size_t n = size;
    if (to.encoding == Encoding::utf16 && text.attributes.encoding != Encoding::utf16)
      n = 2 * to_utf16(text.attributes, text.bytes + at, size, bytes, 8, false).placed;
    else if (&to != &text.attributes)
      n = transcode(text.attributes, text.bytes + at, size, to, bytes, sizeof bytes).placed;
    const bool is_wide = text.attributes.encoding == Encoding::utf16;
    const bool doubled = quoted && (is_wide     ? size == 2 && unit_at(text.bytes, at / 2) == '\''
                                    : size == 1 ? text.bytes[at] == '\''
                                                : false);
    placed += static_cast<std::int64_t>(doubled ? n + 1 : n);
    if (placed > room) break;
    at += size;
  }
  finding.note(VDX_REASON_NO_ROOM, static_cast<std::int64_t>(at),
               static_cast<std::int64_t>(text.length - at));
  finding.highest = room;
}

void explain_transcoding(const vdx_context* context, const FaultyText& text, const vdx_charattr& to,
                         std::int64_t room, std::int32_t code) {
  if (fault_of(context) == nullptr) return;
  Finding finding;
  FaultWords words;
  if (code == VDX_MALFORMED_UNICODE)
    explain_malformed(text, finding);
  else if (code == VDX_TRANSLATION)
    explain_missing(text, to, finding);
  else
    explain_room(text, to, false, room, finding);
  add_excerpt(text, finding, words);
  note_fault(context, code, VDX_CHAR, VDX_CHAR, finding, {}, words.text());
}

}  // namespace vdx
