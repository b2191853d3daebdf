// Bytes as hexadecimal digits and back: sixteen bytes at a time with SIMD, words elsewhere.
#ifndef VDX_NUMBER_HEX_H
#define VDX_NUMBER_HEX_H

#include <cstddef>
#include <cstdint>

namespace vdx {

// Two lower-case digits a byte.
void hex_encode(const std::uint8_t* bytes, std::size_t n, std::uint8_t* digits);

// Writes n bytes from twice as many digits of either case. False where one is no digit; the bytes are
// unspecified then. n may be 0, with any pointers.
bool hex_decode(const std::uint8_t* digits, std::size_t n, std::uint8_t* bytes);

// Whether all of the n characters are digits of either case.
bool all_hex(const std::uint8_t* characters, std::size_t n);

// The value of a digit, above 15 for any other character.
std::uint8_t hex_value(std::uint8_t digit);

}  // namespace vdx

#endif
