#include "convert/text_out.h"

namespace vdx {

namespace {

void fill(void* destination, std::int32_t from, std::int32_t to, int byte) {
  std::memset(static_cast<unsigned char*>(destination) + from, byte, static_cast<std::size_t>(to - from));
}

}  // namespace

std::int32_t finish_text(const vdx_datafmt& format, void* destination, std::int32_t n, std::int32_t& length) {
  auto* const bytes = static_cast<unsigned char*>(destination);
  const std::int32_t room = format.maxlength;
  const bool terminate = (format.format & VDX_FMT_TERMINATE) != 0;
  if (!text_fits(format, n)) {
    if (terminate && room >= 1) bytes[room - 1] = 0;
    return VDX_OVERFLOW;
  }
  if ((format.format & VDX_FMT_PADNULL) != 0) {
    if ((format.format & VDX_FMT_PADBLANK) != 0) return VDX_BAD_PADDING;
    fill(bytes, n, room, 0);
    length = room;
  } else if ((format.format & VDX_FMT_PADBLANK) != 0) {
    fill(bytes, n, room, ' ');
    if (terminate) bytes[room - 1] = 0;
    length = room;
  } else if (terminate) {
    bytes[n] = 0;
    length = n + 1;
  }
  return VDX_SUCCESS;
}

std::int32_t finish_bytes(const vdx_datafmt& format, void* destination, std::int32_t n, std::int32_t& length) {
  if ((format.format & VDX_FMT_PADNULL) != 0 && format.maxlength > n) {
    fill(destination, n, format.maxlength, 0);
    length = format.maxlength;
  }
  return VDX_SUCCESS;
}

std::int32_t misfit(const vdx_datafmt& format, void* destination, std::int32_t& length, const unsigned char* text,
                    std::int32_t n, Misfit style) {
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
