// Text as a value of its own: text to text, its padding, quoting and character sets.
#ifndef VDX_CONVERT_TEXT_VALUE_H
#define VDX_CONVERT_TEXT_VALUE_H

#include "convert/kinds.h"

namespace vdx {

// How much of a text was taken, and how much that made.
struct Quoted {
  std::size_t taken;
  std::size_t placed;
};

// Copies text with each apostrophe doubled, as many whole characters as there is room for; the two
// of a doubled one are never parted.
Quoted quote_text(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                  std::uint8_t* to, std::size_t room);

// Text that is cut, quoted or of another character set than the destination's.
[[gnu::noinline]] std::int32_t write_changed_text(const Call& call, const Text& text,
                                                  const vdx_charattr& set);
[[gnu::noinline]] std::int32_t write_changed_varchar(const Call& call, const Text& text,
                                                     const vdx_charattr& set);

// Text that stays what it is has a straight path: one copy.
VDX_INLINE std::int32_t write_as_text(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const vdx_charattr& set = attributes_of(call.context, call.format);
  if (&set != &text.attributes || (format.format & VDX_FMT_QUOTE) != 0 ||
      !text_fits(format, text.length)) [[unlikely]]
    return write_changed_text(call, text, set);
  std::memcpy(call.destination, text.bytes, static_cast<std::size_t>(text.length));
  *call.length = text.length;
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_text(format, call.destination, text.length, *call.length);
}

VDX_INLINE std::int32_t write_as_varchar(const Call& call, const Text& text) {
  const vdx_charattr& set = attributes_of(call.context, call.format);
  if (&set != &text.attributes || text.length > 256) [[unlikely]]
    return write_changed_varchar(call, text, set);
  store(call.destination, static_cast<std::int16_t>(text.length));
  std::memcpy(static_cast<unsigned char*>(call.destination) + 2, text.bytes,
              static_cast<std::size_t>(text.length));
  *call.length = sizeof(vdx_varchar);
  return VDX_SUCCESS;
}

}  // namespace vdx

#endif
