// The text-output rule. A unit is a byte of text or two bytes of UTF-16. Where n bytes of text and its
// terminator fit, the rest of the room is filled as one padding flag asks (both are VDX_BAD_PADDING),
// or a terminator follows. Where they do not fit, the last unit becomes the terminator, if asked for.
#include "convert/text_out.h"

namespace vdx {

namespace {

void fill(void* destination, std::int32_t from, std::int32_t to, int byte) {
  std::memset(static_cast<unsigned char*>(destination) + from, byte,
              static_cast<std::size_t>(to - from));
}

}  // namespace

void copy_long_text(unsigned char* to, const unsigned char* from, std::uint32_t n) {
  std::memcpy(to, from, n);
}

void fill_utf16_blanks(void* destination, std::int32_t n, std::int32_t room, bool swapped) {
  auto* const bytes = static_cast<unsigned char*>(destination);
  const auto blank = static_cast<std::uint16_t>(swapped ? 0x2000 : 0x0020);
  if (n % 2 != 0 && n < room) bytes[n++] = 0;
  for (; n + 1 < room; n += 2) store(bytes + n, blank);
  if (n < room) bytes[n] = 0;
}

namespace {

// Where the last whole unit of the destination begins; negative where there is none.
template <std::int32_t kUnit>
std::int32_t last_unit(std::int32_t room) {
  return room / kUnit * kUnit - kUnit;
}

// Blanks and terminator are units of kUnit bytes.
template <std::int32_t kUnit>
std::int32_t finish(const vdx_datafmt& format, void* destination, std::int32_t n,
                    std::int32_t& length) {
  const std::int32_t room = format.maxlength;
  const std::int32_t last = last_unit<kUnit>(room);
  const bool terminate = (format.format & VDX_FMT_TERMINATE) != 0;
  if (n > room || (terminate && n > last)) {
    if (terminate && last >= 0) fill(destination, last, last + kUnit, 0);
    return VDX_OVERFLOW;
  }
  if ((format.format & VDX_FMT_PADNULL) != 0) {
    if ((format.format & VDX_FMT_PADBLANK) != 0) return VDX_BAD_PADDING;
    fill(destination, n, room, 0);
    length = room;
  } else if ((format.format & VDX_FMT_PADBLANK) != 0) {
    if constexpr (kUnit == 1)
      fill(destination, n, room, ' ');
    else
      fill_utf16_blanks(destination, n, room, (format.format & VDX_FMT_SWAP) != 0);
    if (terminate) fill(destination, last, last + kUnit, 0);
    length = room;
  } else if (terminate) {
    length = n + n % kUnit + kUnit;
    fill(destination, n, length, 0);
  }
  return VDX_SUCCESS;
}

template <std::int32_t kUnit>
void end_cut(const vdx_datafmt& format, void* destination, std::int32_t n, std::int32_t& length) {
  length = n;
  const std::int32_t last = last_unit<kUnit>(format.maxlength);
  if ((format.format & VDX_FMT_TERMINATE) == 0 || last < 0) return;
  fill(destination, n, n + kUnit, 0);
  fill(destination, last, last + kUnit, 0);
  length = n + kUnit;
}

template <std::int32_t kUnit>
void pad_cut(const vdx_datafmt& format, void* destination, std::int32_t n, std::int32_t& length) {
  const std::uint32_t paddings = format.format & (VDX_FMT_PADNULL | VDX_FMT_PADBLANK);
  const bool pads = paddings == VDX_FMT_PADNULL || paddings == VDX_FMT_PADBLANK;
  std::int32_t padded = n;
  if (pads) static_cast<void>(finish<kUnit>(format, destination, n, padded));
  end_cut<kUnit>(format, destination, n, length);
  if (padded > length) length = padded;
}

}  // namespace

std::int32_t finish_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                         std::int32_t& length) {
  return finish<1>(format, destination, n, length);
}

std::int32_t finish_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                          std::int32_t& length) {
  return finish<2>(format, destination, n, length);
}

void end_cut_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                  std::int32_t& length) {
  end_cut<1>(format, destination, n, length);
}

void end_cut_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                   std::int32_t& length) {
  end_cut<2>(format, destination, n, length);
}

void pad_cut_text(const vdx_datafmt& format, void* destination, std::int32_t n,
                  std::int32_t& length) {
  pad_cut<1>(format, destination, n, length);
}

void pad_cut_utf16(const vdx_datafmt& format, void* destination, std::int32_t n,
                   std::int32_t& length) {
  pad_cut<2>(format, destination, n, length);
}

std::int32_t finish_bytes(const vdx_datafmt& format, void* destination, std::int32_t n,
                          std::int32_t& length) {
  if ((format.format & VDX_FMT_PADNULL) != 0 && format.maxlength > n) {
    fill(destination, n, format.maxlength, 0);
    length = format.maxlength;
  }
  return VDX_SUCCESS;
}

std::int32_t misfit(const vdx_datafmt& format, void* destination, std::int32_t& length,
                    const unsigned char* text, std::int32_t n, Misfit style) {
  auto* const bytes = static_cast<unsigned char*>(destination);
  const std::int32_t room = format.maxlength;
  length = n < room ? n : room;
  if (style == Misfit::cut) {
    std::memcpy(bytes, text, static_cast<std::size_t>(length));
  } else if (room > 1) {
    bytes[0] = '*';
    bytes[1] = 0;
    length = 1;
    static_cast<void>(finish_text(format, bytes, 1, length));
  }
  if ((format.format & VDX_FMT_TERMINATE) != 0 && room >= 1) bytes[room - 1] = 0;
  return VDX_OVERFLOW;
}

}  // namespace vdx
