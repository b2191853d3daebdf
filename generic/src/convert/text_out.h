// Writes text into a destination. The room is maxlength bytes. Where a terminator is asked for it is
// part of the room, and counts in the length. Text that fits is padded or terminated as the format's
// flags ask; of text that does not fit a part is kept, and the code says so.
#ifndef VDX_CONVERT_TEXT_OUT_H
#define VDX_CONVERT_TEXT_OUT_H

#include "convert/call.h"

namespace vdx {

// Bytes of text or bytes that a varchar or varbin takes after its count.
inline constexpr std::int32_t kCountedRoom = sizeof(vdx_varchar::bytes);
static_assert(kCountedRoom == sizeof(vdx_varbin::bytes));

inline constexpr std::uint32_t kFinishFlags =
    VDX_FMT_TERMINATE | VDX_FMT_PADNULL | VDX_FMT_PADBLANK;

// Whether n bytes of text, and the terminator if one is asked for, fit the destination.
inline bool text_fits(const vdx_datafmt& format, std::int64_t n) {
  return n + static_cast<std::int64_t>(format.format & VDX_FMT_TERMINATE) <= format.maxlength;
}

// Pads and terminates after n bytes of text were written. Text that did not fit is an overflow
// whose last byte becomes the terminator if one is asked for.
std::int32_t finish_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                         std::int32_t& length);

// The same for n bytes of UTF-16: blanks and terminator are units, VDX_FMT_SWAP swaps the blanks'
// bytes. Half a unit is made whole before anything follows it; a last odd byte of room is zero.
std::int32_t finish_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                          std::int32_t& length);

// Ends a text of which n bytes, whole characters, were kept because it does not fit: if a terminator
// is asked for, and has room, it follows them and the last byte of the destination is zero as well.
void end_cut_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                  std::int32_t& length);
void end_cut_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                   std::int32_t& length);

// The same, but a single padding flag fills what the next character would have needed.
void pad_cut_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                  std::int32_t& length);
void pad_cut_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                   std::int32_t& length);

// Fills what n bytes leave of a byte destination if that is asked for.
std::int32_t finish_bytes(const vdx_datafmt& format, void* destination, std::int32_t n,
                          std::int32_t& length);

// Fills from byte n up to byte room with UTF-16 blanks.
void fill_utf16_blanks(void* destination, std::int32_t n, std::int32_t room, bool swapped);

// What becomes of a text that does not fit.
enum class Misfit {
  asterisk,  // "*" where there is room for it and a zero byte
  cut,       // as many bytes as there is room for
};

[[gnu::cold, gnu::noinline]] std::int32_t misfit(const vdx_datafmt& format, void* destination,
                                                 std::int32_t& length, const unsigned char* text,
                                                 std::int32_t n, Misfit style);

// The low n (0 to 8) bytes of a word.
VDX_INLINE std::uint64_t low_bytes(std::uint32_t n) {
  static constexpr std::uint64_t kMasks[9] = {0,
                                              0xFF,
                                              0xFFFF,
                                              0xFFFFFF,
                                              0xFFFFFFFF,
                                              0xFFFFFFFFFF,
                                              0xFFFFFFFFFFFF,
                                              0xFFFFFFFFFFFFFF,
                                              0xFFFFFFFFFFFFFFFF};
  return kMasks[n];
}

VDX_INLINE void merge_word(unsigned char* to, std::uint64_t word, std::uint32_t n) {
  const std::uint64_t keep = ~low_bytes(n);
  store(to, (load<std::uint64_t>(to) & keep) | (word & ~keep));
}

// Out of line, because texts so long are rare.
[[gnu::noinline]] void copy_long_text(unsigned char* to, const unsigned char* from,
                                      std::uint32_t n);

// Writes a text (a ShortText, or a class like it) of at most `room` bytes. A branch on the length
// would be mispredicted: whole words are stored, and the bytes after the text get back what they
// held.
template <typename AnyText>
VDX_INLINE void put_text(void* destination, std::int32_t room, const AnyText& text) {
  auto* const to = static_cast<unsigned char*>(destination);
  const unsigned char* const from = text.data();
  const std::uint32_t n = text.length();
  const std::uint32_t head = n < 8 ? n : 8;
  if (room >= 16) [[likely]] {
    Block::merge(to, from, n < 16 ? n : 16);
    if (n <= 16) return;
    if (room >= 32 && n <= 32) [[likely]]
      Block::merge(to + 16, from + 16, n - 16);
    else
      copy_long_text(to + 16, from + 16, n - 16);
  } else if (room >= 8) {
    // Two words, which overlap where the room is below 16; both hold the same bytes there.
    const auto back = static_cast<std::uint32_t>(room) - 8;
    const std::uint64_t keep = ~low_bytes(n < back ? 0 : n - back);
    const std::uint64_t last =
        (load<std::uint64_t>(to + back) & keep) | (load<std::uint64_t>(from + back) & ~keep);
    merge_word(to, load<std::uint64_t>(from), head);
    store(to + back, last);
  } else {
    for (std::uint32_t i = 0; i < n; ++i) to[i] = from[i];
  }
}

// Text of a value into a destination of a text type.
template <typename AnyText>
VDX_INLINE std::int32_t write_text(const Call& call, const AnyText& text, Misfit style) {
  const vdx_datafmt& format = *call.format;
  const auto n = static_cast<std::int32_t>(text.length());
  if (!text_fits(format, n)) [[unlikely]]
    return misfit(format, call.destination, *call.length, text.data(), n, style);
  put_text(call.destination, format.maxlength, text);
  *call.length = n;
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_text(format, call.destination, n, *call.length);
}

// Text of a value into a varchar: format flags and capacity do not matter there.
template <typename AnyText>
VDX_INLINE std::int32_t write_varchar(const Call& call, const AnyText& text) {
  store(call.destination, static_cast<std::int16_t>(text.length()));
  put_text(static_cast<unsigned char*>(call.destination) + 2, kCountedRoom, text);
  *call.length = sizeof(vdx_varchar);
  return VDX_SUCCESS;
}

}  // namespace vdx

#endif
