// Long-hand: numbers of any size, calculated digit by digit.
#ifndef VDX_TESTS_ARITHMETIC_H
#define VDX_TESTS_ARITHMETIC_H

#include <string>

#include "support.h"

namespace vdx_test {

// Whole numbers are strings of decimal digits without leading zeros: zero is the empty one.
std::string without_leading_zeros(const std::string& digits);
int compare(const std::string& a, const std::string& b);  // -1, 0 or 1
std::string add(const std::string& a, const std::string& b);
std::string subtract(const std::string& a, const std::string& b);  // b is not the greater
std::string multiply(const std::string& a, const std::string& b);
std::string divide(const std::string& a, const std::string& b);  // truncates; b is not zero

Bytes big_endian(const std::string& digits, std::size_t size);
std::string digits_of(Bytes big_endian);

// Digits, as many at most, at random or in runs: where carries and estimates fail.
std::string random_digits(Random& random, std::uint64_t most);

struct Number {
  bool negative = false;
  std::string digits;
  std::int64_t scale = 0;  // digits after the point; below 0: so many zeros follow the digits
  bool nan = false, infinite = false;
  bool zero() const { return !nan && digits.empty(); }
};

// Digits with a sign and a point or not; and all digits of a double.
Number number_of(std::string text, std::int64_t scale = 0);
Number number_of(double value);
std::string text_of(const Number& n);

// The digits of the same value at another scale: cut, or rounded half away from zero.
std::string digits_at(const Number& n, std::int64_t scale, bool round);

Number sum(const Number& a, const Number& b);
Number product(const Number& a, const Number& b);
Number quotient(const Number& a, const Number& b, std::int64_t scale);

// The image of a numeric, and the bytes of its magnitude that a precision takes.
Bytes numeric_image(int precision, std::int64_t scale, bool negative, const std::string& digits);
std::size_t magnitude_bytes(int precision);

struct Fitted {
  std::int32_t code;
  Bytes image;
  Number value;
};

// A number as a numeric: the largest magnitude where it does not fit.
Fitted fitted(const Number& n, int precision, int scale);

}  // namespace vdx_test

#endif
