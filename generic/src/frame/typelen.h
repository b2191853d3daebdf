// Fixed lengths of the built-in datatypes.
#ifndef VDX_FRAME_TYPELEN_H
#define VDX_FRAME_TYPELEN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "vdxcomn/types.h"

namespace vdx {

// By datatype code; 0 where the length is that of the value.
inline constexpr auto kFixedLength = [] {
  std::array<std::int16_t, VDX_DATATYPES> length{};
  const auto set = [&length](std::initializer_list<int> codes, std::size_t bytes) {
    for (int code : codes)
      length[static_cast<std::size_t>(code)] = static_cast<std::int16_t>(bytes);
  };
  set({VDX_I1, VDX_BIT}, 1);
  set({VDX_I2, VDX_UNICHAR, VDX_UI2}, 2);
  set({VDX_I4, VDX_FLT4, VDX_DATE4, VDX_MNY4, VDX_DATEA, VDX_TIMEA, VDX_UI4}, 4);
  set({VDX_FLT8, VDX_DATETIME, VDX_MONEY, VDX_I8, VDX_UI8, VDX_BIGDATETIME, VDX_BIGTIME}, 8);
  set({VDX_NUM, VDX_DECIMAL}, sizeof(vdx_num));
  set({VDX_VARCHAR, VDX_VARBIN}, sizeof(vdx_varchar));
  return length;
}();

constexpr std::int32_t type_length(std::int32_t datatype, std::int32_t length) {
  if (datatype < 0 || datatype >= VDX_DATATYPES) return length;
  const std::int32_t fixed = kFixedLength[static_cast<std::size_t>(datatype)];
  return fixed != 0 ? fixed : length;
}

}  // namespace vdx

#endif
