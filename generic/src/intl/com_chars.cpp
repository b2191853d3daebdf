// Questions about single characters.
#include "frame/check.h"
#include "intl/charattr.h"
#include "vdxcomn/intl.h"

namespace {

// Bytes of the character, 0 if it is cut.
std::int32_t complete_char(const vdx_charattr& attributes, const std::uint8_t* character,
                           std::int32_t length) {
  const std::int32_t n = vdx::whole_char_bytes(attributes, character, length);
  return n <= length ? n : 0;
}

void map_bytes(const vdx_charattr& attributes, const std::uint8_t* table, std::uint8_t* text,
               std::int32_t length) {
  for (std::int32_t at = 0; at < length;) {
    const std::int32_t n = vdx::char_bytes(attributes, text + at, length - at);
    if (n == 1) text[at] = table[text[at]];
    at += n;
  }
}

}  // namespace

#define VDX_CHECK_CHARACTER(attributes, character, length) \
  VDX_CHECK_POINTER(attributes, 0);                        \
  VDX_CHECK_POINTER(character, 0);                         \
  VDX_ASSERT((length) >= 1, 0)

#define VDX_CLASS_TEST(name, classes)                                              \
  std::int32_t name(const vdx_charattr* attributes, const std::uint8_t* character, \
                    std::int32_t length) {                                         \
    VDX_CHECK_CHARACTER(attributes, character, length);                            \
    const std::int32_t n = complete_char(*attributes, character, length);          \
    return n > 0 && (vdx::char_class(*attributes, character, n) & (classes)) != 0; \
  }

#define VDX_CASE_CHANGE(name, table)                                                   \
  void name(const vdx_charattr* attributes, std::uint8_t* text, std::int32_t length) { \
    VDX_CHECK_POINTER(attributes, );                                                   \
    VDX_CHECK_POINTER(text, );                                                         \
    VDX_ASSERT(length >= 0, );                                                         \
    map_bytes(*attributes, attributes->table, text, length);                           \
  }

extern "C" {

std::int32_t comn_whole_char(const vdx_charattr* attributes, const std::uint8_t* character,
                             std::int32_t length) {
  VDX_CHECK_CHARACTER(attributes, character, length);
  return vdx::whole_char_bytes(*attributes, character, length);
}

std::int32_t comn_to_ascii(const vdx_charattr* attributes, const std::uint8_t* character,
                           std::int32_t length) {
  VDX_CHECK_CHARACTER(attributes, character, length);
  const std::int32_t n = complete_char(*attributes, character, length);
  const std::uint8_t fold = n > 0 ? vdx::char_fold(*attributes, character, n) : std::uint8_t{0};
  return fold < 128 ? fold : 0;
}

VDX_CLASS_TEST(comn_isalpha, vdx::kClassLetter)
VDX_CLASS_TEST(comn_isupper, vdx::kClassUpper)
VDX_CLASS_TEST(comn_islower, vdx::kClassLower)
VDX_CLASS_TEST(comn_isdigit, vdx::kClassDigit)
VDX_CLASS_TEST(comn_isalnum, vdx::kClassLetter | vdx::kClassDigit)
VDX_CLASS_TEST(comn_isspace, vdx::kClassBlank)
VDX_CLASS_TEST(comn_ispunct, vdx::kClassPunctuation)
VDX_CLASS_TEST(comn_iscurrency, vdx::kClassCurrency)

VDX_CASE_CHANGE(comn_to_upper, to_upper)
VDX_CASE_CHANGE(comn_to_lower, to_lower)

}  // extern "C"
