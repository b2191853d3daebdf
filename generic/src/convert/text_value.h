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

// Text that fits, of any length and with any flags.
[[gnu::noinline]] std::int32_t write_whole_text(const vdx_datafmt& format, void* destination,
                                                const std::uint8_t* text, std::int32_t n,
                                                std::int32_t& length);

// Columns are short: up to 32 bytes are copied as two pieces that may overlap, without a call.
inline constexpr std::uint32_t kShortText = 32;

struct Sixteen {
  std::uint64_t words[2];
};

template <typename Piece>
VDX_INLINE void copy_ends(unsigned char* to, const unsigned char* from, std::size_t n) {
  const auto first = load<Piece>(from), last = load<Piece>(from + n - sizeof(Piece));
  store(to, first);
  store(to + n - sizeof(Piece), last);
}

// n: at most kShortText
VDX_INLINE void copy_short_text(unsigned char* to, const unsigned char* from, std::size_t n) {
  if (n >= 16) {
    copy_ends<Sixteen>(to, from, n);
  } else if (n >= 8) {
    copy_ends<std::uint64_t>(to, from, n);
  } else if (n >= 4) {
    copy_ends<std::uint32_t>(to, from, n);
  } else if (n != 0) {
    const unsigned char first = from[0], middle = from[n / 2], last = from[n - 1];
    to[0] = first;
    to[n / 2] = middle;
    to[n - 1] = last;
  }
}

VDX_INLINE void fill_short_blanks(unsigned char* to, std::size_t n) {
  const auto both_ends = [to, n](auto blanks) {
    store(to, blanks);
    store(to + n - sizeof blanks, blanks);
  };
  if (n >= 16)
    both_ends(Sixteen{{kEightBlanks, kEightBlanks}});
  else if (n >= 8)
    both_ends(kEightBlanks);
  else if (n >= 4)
    both_ends(static_cast<std::uint32_t>(kEightBlanks));
  else if (n != 0)
    to[0] = to[n / 2] = to[n - 1] = ' ';
}

// Text that is neither cut nor changed: one copy, then the blanks. Where it calls a function, that is
// the last thing it does, and what is passed by reference is a copy: so short texts need no frame.
VDX_INLINE std::int32_t write_as_text(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  if (call.set != &text.attributes || (format.format & VDX_FMT_QUOTE) != 0 ||
      !text_fits(format, text.length)) [[unlikely]]
    return write_changed_text(Call(call), Text(text), *call.set);
  const auto n = static_cast<std::uint32_t>(text.length);
  const std::uint32_t finish = format.format & kFinishFlags;
  const std::uint32_t blanks =
      finish == VDX_FMT_PADBLANK ? static_cast<std::uint32_t>(format.maxlength) - n : 0;
  if ((finish | VDX_FMT_PADBLANK) != VDX_FMT_PADBLANK || n > kShortText || blanks > kShortText)
    return write_whole_text(format, call.destination, text.bytes, text.length, *call.length);
  auto* const to = static_cast<unsigned char*>(call.destination);
  copy_short_text(to, text.bytes, n);
  fill_short_blanks(to + n, blanks);
  *call.length = static_cast<std::int32_t>(n + blanks);
  return VDX_SUCCESS;
}

VDX_INLINE std::int32_t write_as_varchar(const Call& call, const Text& text) {
  if (call.set != &text.attributes || text.length > kCountedRoom) [[unlikely]]
    return write_changed_varchar(Call(call), Text(text), *call.set);
  store(call.destination, static_cast<std::int16_t>(text.length));
  auto* const to = static_cast<unsigned char*>(call.destination) + 2;
  const auto n = static_cast<std::uint32_t>(text.length);
  if (n > kShortText)
    std::memcpy(to, text.bytes, n);
  else
    copy_short_text(to, text.bytes, n);
  *call.length = sizeof(vdx_varchar);
  return VDX_SUCCESS;
}

}  // namespace vdx

#endif
