// Fixed lengths of the built-in datatypes.
#ifndef VDX_FRAME_TYPELEN_H
#define VDX_FRAME_TYPELEN_H

#include <array>
#include <cstdint>

#include "vdxcomn/types.h"

namespace vdx {

// By datatype code; 0 if the length is that of each value.
inline constexpr auto kFixedLength = [] {
  std::array<std::int16_t, VDX_DATATYPES> length{};
#define DATATYPE(code, name, source, destination, bytes, ...) length[code] = bytes;
#include "lists/datatypes.list"
  return length;
}();

constexpr std::int32_t type_length(std::int32_t datatype, std::int32_t length) {
  if (datatype < 0 || datatype >= VDX_DATATYPES) return length;
  const std::int32_t fixed = kFixedLength[static_cast<std::uint32_t>(datatype)];
  return fixed != 0 ? fixed : length;
}

}  // namespace vdx

#endif
