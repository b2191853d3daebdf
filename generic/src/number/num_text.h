// Exact numerics from and to text.
#ifndef VDX_NUMBER_NUM_TEXT_H
#define VDX_NUMBER_NUM_TEXT_H

#include "intl/charattr.h"
#include "number/com_num.h"

namespace vdx {

// A text of the shape that writers of text take: sixteen bytes behind it may be read.
struct NumericText {
  static constexpr std::uint32_t kMost = 80;  // sign, 78 digits and a point
  unsigned char bytes[kMost + 48];
  std::uint32_t begin, end;

  std::uint32_t length() const { return end - begin; }
  const unsigned char* data() const { return bytes + begin; }
};

// All digits of the scale, at least one before the point; no point at scale 0. The scale is at most
// 77.
void put_numeric(const Exact& value, NumericText& text);

enum class NumericStatus {
  done,
  overflow,  // past 256 bits: the value is the largest of its sign
  syntax,
};

// Text of any length in the given character set, at a scale of 0 to 77, halves rounded away from
// zero: blanks, a sign, digits with at most one point, an exponent, blanks. Blank text is zero. The
// value is set unless it was a syntax error.
NumericStatus parse_numeric(const std::uint8_t* text, std::int32_t length,
                            const vdx_charattr& attributes, std::int32_t scale, Exact& value);

// The same by the whole grammar, one character at a time.
NumericStatus parse_numeric_grammar(const std::uint8_t* text, std::int32_t length,
                                    const vdx_charattr& attributes, std::int32_t scale,
                                    Exact& value);

}  // namespace vdx

#endif
