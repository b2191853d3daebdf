// Integers from and to text, as other libraries of the family call them: a character set and no
// context.
#include <cstring>

#include "frame/check.h"
#include "number/integer_text.h"
#include "vdxcomn/convert.h"

// The parsers of each width.
#define VDX_PARSER(name, type)                                                  \
  std::int32_t name(const std::uint8_t* text, std::int32_t length, type* value, \
                    const vdx_charattr* attributes) {                           \
    VDX_CHECK_POINTER(text, 0);                                                 \
    VDX_CHECK_POINTER(value, 0);                                                \
    return vdx::scan_integer(text, length, *value, attributes);                 \
  }
VDX_PARSER(com__chtoi2_mb, std::int16_t)
VDX_PARSER(com__chtoi4_mb, std::int32_t)
VDX_PARSER(com__chtoi8_mb, std::int64_t)
VDX_PARSER(com__chtoui2_mb, std::uint16_t)
VDX_PARSER(com__chtoui4_mb, std::uint32_t)
VDX_PARSER(com__chtoui8_mb, std::uint64_t)
#undef VDX_PARSER

std::int32_t com__itochar(std::int32_t value, char* text, std::int32_t size) {
  VDX_CHECK_POINTER(text, 0);
  const vdx::ShortText digits = vdx::integer_text(vdx::signed_magnitude(value));
  const auto length = static_cast<std::int32_t>(digits.length());
  if (size > 0 && length > size) {
    *text = '*';
    return 1;
  }
  std::memcpy(text, digits.data(), digits.length());
  return length;
}
