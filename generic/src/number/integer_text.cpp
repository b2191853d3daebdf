#include "number/integer_text.h"

namespace vdx {

namespace {

// The characters of a text one by one, each folded to a single byte.
template <bool kMultibyte>
class Characters {
 public:
  Characters(const std::uint8_t* text, std::int32_t length, const vdx_charattr* attributes)
      : at_(text), end_(text + length), attributes_(attributes) {}

  bool more() const { return at_ != end_; }

  std::uint8_t peek() {
    if constexpr (!kMultibyte) return *at_;
    bytes_ = char_bytes(*attributes_, at_, end_ - at_);
    return char_fold(*attributes_, at_, bytes_);
  }

  void next() { at_ += kMultibyte ? bytes_ : 1; }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  const vdx_charattr* attributes_;
  std::int32_t bytes_ = 1;
};

// One digit more, away from zero; false, with the value as it stands, when it would leave the range.
template <typename T>
bool append_digit(T& value, T digit, bool minus) {
  using Limits = std::numeric_limits<T>;
  if (minus) {
    if (value < Limits::min() / 10) return false;
    value = static_cast<T>(value * 10);
    if (value < Limits::min() + digit) return false;
    value = static_cast<T>(value - digit);
  } else {
    if (value > Limits::max() / 10) return false;
    value = static_cast<T>(value * 10);
    if (value > Limits::max() - digit) return false;
    value = static_cast<T>(value + digit);
  }
  return true;
}

template <typename T, bool kMultibyte>
std::int32_t run_machine(Characters<kMultibyte> characters, T& out) {
  enum { leading, digits, trailing } state = leading;
  bool sign = false;
  bool minus = false;
  T value = 0;
  while (characters.more()) {
    const std::uint8_t c = characters.peek();
    if (state == leading) {
      if (c == '-' || c == '+') {
        if (sign || (std::is_unsigned_v<T> && c == '-')) {
          out = 0;
          return kScanSyntax;
        }
        sign = true;
        minus = c == '-';
      } else if (c != ' ') {
        state = digits;
        continue;
      }
    } else if (state == digits && c >= '0' && c <= '9') {
      if (!append_digit(value, static_cast<T>(c - '0'), minus)) {
        out = std::is_unsigned_v<T> ? std::numeric_limits<T>::max() : value;
        return kScanOverflow;
      }
    } else if (c == ' ') {
      state = trailing;
    } else {
      out = value;
      return kScanSyntax;
    }
    characters.next();
  }
  out = value;
  return kScanDone;
}

}  // namespace

void plain_integer_long(const std::uint8_t* text, std::uint32_t n, PlainInteger& number) {
  while (n > 32 && load<std::uint64_t>(text + n - 8) == kEightBlanks) n -= 8;
  while (n > 32 && *text == ' ') ++text, --n;
  if (n > 32) return;
  if (n <= 16) {
    number = plain_integer_16(text, n);
    return;
  }
  const Block first = Block::whole(text);
  const Block second = Block::of(text + 16, n - 16);
  const NumberShape shape(first.digits() | second.digits() << 16,
                          first.equal(' ') | second.equal(' ') << 16,
                          first.equal('-') | second.equal('-') << 16,
                          first.equal('+') | second.equal('+') << 16, 0xFFFFFFFFU >> (32 - n));
  const std::uint32_t count = shape.end - shape.start;
  if (shape.plain == 0 || count > 19) return;
  number = {0, 1, shape.minus};
  if (shape.end < 16) {
    number.magnitude = number_in(text, first, shape.end, count);
    return;
  }
  for (std::uint32_t i = shape.start; i + 16 < shape.end; ++i)
    number.magnitude = number.magnitude * 10 + (text[i] - std::uint64_t{'0'});
  number.magnitude *= 10000000000000000;
  number.magnitude += Block::whole(text + shape.end - 16).number(count < 16 ? count : 16);
}

template <typename T>
[[gnu::noinline]] std::int32_t scan_any_integer(const std::uint8_t* text, std::int32_t length,
                                                T& out, const vdx_charattr* attributes) {
  if (attributes == nullptr || attributes->max_bytes <= 1)
    return run_machine(Characters<false>(text, length, attributes), out);
  return run_machine(Characters<true>(text, length, attributes), out);
}

template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::int32_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::int64_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::uint32_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::uint64_t&,
                                       const vdx_charattr*);

}  // namespace vdx
