#include "arithmetic.h"

#include <cmath>
#include <cstdio>

namespace vdx_test {

// a + sign * b, which is not below zero.
static std::string combine(std::string a, std::string b, int sign) {
  const std::size_t size = std::max(a.size(), b.size()) + 1;
  a.insert(0, size - a.size(), '0');
  b.insert(0, size - b.size(), '0');
  int carry = 0;
  for (std::size_t i = size; i-- > 0;) {
    const int digit = a[i] - '0' + sign * (b[i] - '0') + carry;
    carry = digit < 0 ? -1 : digit / 10;
    a[i] = static_cast<char>('0' + (digit + 10) % 10);
  }
  return without_leading_zeros(a);
}

std::string without_leading_zeros(const std::string& digits) {
  return digits.substr(std::min(digits.size(), digits.find_first_not_of('0')));
}

int compare(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a < b ? -1 : a > b ? 1 : 0;
}

std::string add(const std::string& a, const std::string& b) { return combine(a, b, 1); }
std::string subtract(const std::string& a, const std::string& b) { return combine(a, b, -1); }

std::string multiply(const std::string& a, const std::string& b) {
  std::string out(a.size() + b.size(), '0');
  for (std::size_t i = a.size(); i-- > 0;) {
    int carry = 0;
    for (std::size_t j = b.size(); j-- > 0; carry /= 10) {
      carry += out[i + j + 1] - '0' + (a[i] - '0') * (b[j] - '0');
      out[i + j + 1] = static_cast<char>('0' + carry % 10);
    }
    out[i] = static_cast<char>('0' + carry);
  }
  return without_leading_zeros(out);
}

std::string divide(const std::string& a, const std::string& b) {
  std::string out, rest;
  for (const char c : a) {
    rest = without_leading_zeros(rest + c);
    out += '0';
    for (; compare(rest, b) >= 0; ++out.back()) rest = subtract(rest, b);
  }
  return without_leading_zeros(out);
}

Bytes big_endian(const std::string& digits, std::size_t size) {
  Bytes bytes(size);
  for (const char c : digits) {
    int carry = c - '0';
    for (std::size_t i = size; i-- > 0; carry >>= 8) {
      carry += bytes[i] * 10;
      bytes[i] = static_cast<std::uint8_t>(carry);
    }
    EXPECT_EQ(carry, 0) << digits;
  }
  return bytes;
}

std::string digits_of(Bytes big_endian) {
  std::string digits;
  while (std::any_of(big_endian.begin(), big_endian.end(), [](int b) { return b != 0; })) {
    int rest = 0;
    for (std::uint8_t& byte : big_endian) {
      rest = rest * 256 + byte;
      byte = static_cast<std::uint8_t>(rest / 10);
      rest %= 10;
    }
    digits += static_cast<char>('0' + rest);
  }
  std::reverse(digits.begin(), digits.end());
  return digits;
}

std::string random_digits(Random& random, std::uint64_t most) {
  const std::uint64_t kind = random.below(4);
  const char same = "0945"[random.below(4)];
  std::string digits(random.below(most + 1), same);
  for (char& digit : digits)
    if (kind == 1)
      digit = random.below(8) == 0   ? static_cast<char>('0' + random.below(10))
              : random.below(2) == 0 ? '0'
                                     : '9';
    else if (kind != 0)
      digit = static_cast<char>('0' + random.below(10));
  if (kind == 2 && !digits.empty()) digits[0] = '1';
  return without_leading_zeros(digits);
}

Number number_of(std::string text, std::int64_t scale) {
  const bool negative = text[0] == '-';
  text.erase(0, negative ? 1 : 0);
  const std::size_t point = text.find('.');
  if (point != std::string::npos) {
    text.erase(point, 1);
    scale += static_cast<std::int64_t>(text.size() - point);
  }
  return {negative, without_leading_zeros(text), scale};
}

// Every binary fraction is a decimal one; the C library writes out all of it.
Number number_of(double value) {
  if (std::isnan(value)) return {std::signbit(value), "", 0, true};
  if (std::isinf(value)) return {value < 0, std::string(400, '9'), 0, false, true};
  char text[1500];
  std::snprintf(text, sizeof text, "%.1074f", value);
  std::string digits(text);
  digits.erase(digits.find_last_not_of('0') + 1);
  return number_of(digits);
}

std::string text_of(const Number& n) {
  const auto places = static_cast<std::size_t>(std::max<std::int64_t>(n.scale, 0));
  std::string text = digits_at(n, n.scale < 0 ? 0 : n.scale, false);
  if (text.size() <= places) text.insert(0, places + 1 - text.size(), '0');
  if (places > 0) text.insert(text.size() - places, 1, '.');
  return (n.negative ? "-" : "") + text;
}

std::string digits_at(const Number& n, std::int64_t scale, bool round) {
  if (n.digits.empty()) return "";
  if (scale >= n.scale)
    return n.digits + std::string(static_cast<std::size_t>(scale - n.scale), '0');
  const auto drop = static_cast<std::size_t>(n.scale - scale);
  if (n.digits.size() < drop) return "";
  const std::size_t kept = n.digits.size() - drop;
  return add(n.digits.substr(0, kept), round && n.digits[kept] >= '5' ? "1" : "");
}

Number sum(const Number& a, const Number& b) {
  const std::int64_t scale = std::max(a.scale, b.scale);
  const std::string left = digits_at(a, scale, false), right = digits_at(b, scale, false);
  if (a.negative == b.negative) return {a.negative, add(left, right), scale};
  if (compare(left, right) < 0) return {b.negative, subtract(right, left), scale};
  return {a.negative, subtract(left, right), scale};
}

Number product(const Number& a, const Number& b) {
  return {a.negative != b.negative, multiply(a.digits, b.digits), a.scale + b.scale};
}

Number quotient(const Number& a, const Number& b, std::int64_t scale) {
  return {a.negative != b.negative, divide(digits_at(a, scale + b.scale, false), b.digits), scale};
}

Bytes numeric_image(int precision, std::int64_t scale, bool negative, const std::string& digits) {
  Bytes bytes = {static_cast<std::uint8_t>(precision), static_cast<std::uint8_t>(scale),
                 static_cast<std::uint8_t>(negative)};
  const Bytes magnitude = big_endian(digits, magnitude_bytes(precision));
  bytes.insert(bytes.end(), magnitude.begin(), magnitude.end());
  bytes.resize(35);
  return bytes;
}

std::size_t magnitude_bytes(int precision) {
  const Bytes most = big_endian(std::string(static_cast<std::size_t>(precision), '9'), 40);
  return static_cast<std::size_t>(
      most.end() - std::find_if(most.begin(), most.end(), [](int b) { return b != 0; }));
}

Fitted fitted(const Number& n, int precision, int scale) {
  const auto size = static_cast<std::size_t>(precision);
  Number value{n.negative, digits_at(n, scale, true), scale};
  const bool fits = value.digits.size() <= size;
  if (!fits) value.digits.assign(size, '9');
  value.negative = n.negative && !value.digits.empty();
  return {fits ? VDX_SUCCESS : VDX_OVERFLOW,
          numeric_image(precision, scale, value.negative, value.digits), value};
}

}  // namespace vdx_test
