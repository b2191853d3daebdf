// Exact numerics from and to text.
#ifndef VDX_NUMBER_NUM_TEXT_H
#define VDX_NUMBER_NUM_TEXT_H

#include "intl/charattr.h"
#include "number/numeric.h"

namespace vdx {

// A text of the shape that writers of text take: sixteen bytes behind it may be read.
struct NumericText {
  static constexpr std::uint32_t kEnd = 104;  // of every text; digits are put in pieces before it
  unsigned char bytes[kEnd + 16];
  std::uint32_t begin;

  std::uint32_t length() const { return kEnd - begin; }
  const unsigned char* data() const { return bytes + begin; }
};

// All digits of the scale (0 to 77), at least one before the point; no point at scale 0: at most 80
// bytes.
void put_numeric(const Exact& value, NumericText& text);

// Text of any length in the given character set as an image, halves rounded away from zero: blanks,
// a sign, blanks, digits with at most one point, an exponent, blanks. Blank text is zero. Gives the
// codes of write_numeric, or VDX_SYNTAX with nothing written.
std::int32_t parse_numeric(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, std::int32_t precision,
                           std::int32_t scale, void* image);

// The same by the whole grammar, one character at a time; precision and scale are valid.
std::int32_t parse_numeric_grammar(const std::uint8_t* text, std::int32_t length,
                                   const vdx_charattr& attributes, std::int32_t precision,
                                   std::int32_t scale, void* image);

}  // namespace vdx

#endif
