// Text to the nearest float. F is float or double throughout.
#ifndef VDX_NUMBER_FLOAT_READER_H
#define VDX_NUMBER_FLOAT_READER_H

#include "intl/charattr.h"
#include "number/float_rounding.h"
#include "number/plain_number.h"

namespace vdx {

// A plain number without an exponent, in at most sixteen bytes, whose digits and power of ten a
// double holds; false for any other text.
template <typename F>
VDX_INLINE bool read_short_decimal(const std::uint8_t* text, std::uint32_t n, F& value) {
  const Block block = Block::of(text, n);
  PlainNumber number;
  if (!recognise_masks<kWithPoint>(text, ShortBytes(block, n), number)) [[unlikely]]
    return false;
  const std::uint32_t places = number.places;
  const std::uint64_t whole = number_in(text, block, number.point, number.whole_digits);
  const std::uint64_t fraction = number_in(text, block, number.end, places);
  const std::uint64_t size = whole * limb_power(static_cast<std::int32_t>(places)) + fraction;
  if (size > kMostDoubleInteger) [[unlikely]]
    return false;
  F result;
  if (!round_again(static_cast<double>(size) / kDoubleTens[places], result)) [[unlikely]]
    return false;
  value = with_sign(result, number.minus != 0);
  return true;
}

template <typename F>
std::int32_t read_any_float(const std::uint8_t* text, std::int32_t length,
                            const vdx_charattr& attributes, F& value);

// Reads the text by the grammar for what it finds, and returns the same as its reader.
struct Finding;
template <typename F>
std::int32_t explain_float(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, Finding& finding);

// Reads a text of any length into the nearest float, ties to even: blanks, a sign, blanks, digits
// with at most one point, an exponent, blanks; nan and inf, in any case, may take the place of
// the digits. Blank text is 0. Returns VDX_SUCCESS, VDX_OVERFLOW with the largest float of the sign,
// VDX_UNDERFLOW with a zero of the sign, or VDX_SYNTAX with the value unchanged.
template <typename F>
VDX_INLINE std::int32_t read_float(const std::uint8_t* text, std::int32_t length,
                                   const vdx_charattr& attributes, F& value) {
  if (length > 0 && length <= 16 &&
      read_short_decimal(text, static_cast<std::uint32_t>(length), value)) [[likely]]
    return VDX_SUCCESS;
  return read_any_float(text, length, attributes, value);
}

}  // namespace vdx

#endif
