// Text to text: between character sets, with padding and quoting. Text of one set on both sides that
// fits is copied here, everything else is out of line.
#ifndef VDX_CONVERT_TEXT_VALUE_H
#define VDX_CONVERT_TEXT_VALUE_H

#include "convert/kinds.h"

namespace vdx {

// Bytes consumed from the source and bytes written.
struct Quoted {
  std::size_t taken;
  std::size_t placed;
};

// Copies as many whole characters as there is room for and doubles each apostrophe; a pair is never
// cut.
Quoted quote_text(const vdx_charattr& set, const std::uint8_t* from, std::size_t n,
                  std::uint8_t* to, std::size_t room);

// Text that is cut or quoted, or whose character set is not the destination's.
[[gnu::noinline]] std::int32_t write_changed_text(const Call& call, const Text& text,
                                                  const vdx_charattr& set);
[[gnu::noinline]] std::int32_t write_changed_varchar(const Call& call, const Text& text,
                                                     const vdx_charattr& set);

// The quoted text of a value; an overflow where it does not fit.
std::int32_t write_made_text_quoted(const Call& call, const Text& text);

// Columns are short: up to 32 bytes are copied as two pieces that may overlap, without a call.
struct Sixteen {
  std::uint64_t words[2];
};

template <typename Piece>
VDX_INLINE void copy_ends(unsigned char* to, const unsigned char* from, std::size_t n) {
  const auto first = load<Piece>(from), last = load<Piece>(from + n - sizeof(Piece));
  store(to, first);
  store(to + n - sizeof(Piece), last);
}

VDX_INLINE void copy_text(unsigned char* to, const unsigned char* from, std::size_t n) {
  if (n > 32)
    std::memcpy(to, from, n);
  else if (n >= 16)
    copy_ends<Sixteen>(to, from, n);
  else if (n >= 8)
    copy_ends<std::uint64_t>(to, from, n);
  else if (n >= 4)
    copy_ends<std::uint32_t>(to, from, n);
  else
    for (std::size_t i = 0; i < n; ++i) to[i] = from[i];
}

VDX_INLINE void fill_blanks(unsigned char* to, std::size_t n) {
  if (n >= 8 && n <= 32) {
    for (std::size_t i = 0; i + 8 < n; i += 8) store(to + i, kEightBlanks);
    store(to + n - 8, kEightBlanks);
  } else {
    std::memset(to, ' ', n);
  }
}

// Text that is neither cut nor changed: one copy, then the blanks.
VDX_INLINE std::int32_t write_as_text(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const vdx_charattr& set = *call.set;
  if (&set != &text.attributes || (format.format & VDX_FMT_QUOTE) != 0 ||
      !text_fits(format, text.length)) [[unlikely]]
    return write_changed_text(call, text, set);
  auto* const to = static_cast<unsigned char*>(call.destination);
  copy_text(to, text.bytes, static_cast<std::size_t>(text.length));
  *call.length = text.length;
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  if ((format.format & kFinishFlags) == VDX_FMT_PADBLANK) {
    fill_blanks(to + text.length, static_cast<std::size_t>(format.maxlength - text.length));
    *call.length = format.maxlength;
    return VDX_SUCCESS;
  }
  return finish_text(format, call.destination, text.length, *call.length);
}

VDX_INLINE std::int32_t write_as_varchar(const Call& call, const Text& text) {
  const vdx_charattr& set = *call.set;
  if (&set != &text.attributes || text.length > kCountedRoom) [[unlikely]]
    return write_changed_varchar(call, text, set);
  store(call.destination, static_cast<std::int16_t>(text.length));
  copy_text(static_cast<unsigned char*>(call.destination) + 2, text.bytes,
            static_cast<std::size_t>(text.length));
  *call.length = sizeof(vdx_varchar);
  return VDX_SUCCESS;
}

}  // namespace vdx

#endif
