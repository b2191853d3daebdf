// The one recogniser of plain numbers, for integers, money, exact numerics and floats.
//
// A plain number is what nearly every text of a number is:
//
//   blanks [sign] blanks digits [. digits] [e [sign] digits] blanks
//
// A reader says which of the optional parts its numbers have. At least one digit must be there; it
// may follow the point. Every byte of a plain number stands for itself in every character set: a
// byte that opens a longer character has no place in it. A text that is not recognised is not
// wrong, only unusual: the reader then takes its grammar, which goes by characters and alone
// decides what such texts mean. Where both read a text they agree.
//
// Texts of up to 32 bytes, of numerics up to 48, are recognised from masks, with no branch on where
// their parts are; longer ones, those with blanks after the sign, and some with an exponent, by runs
// of digits.
#ifndef VDX_NUMBER_PLAIN_NUMBER_H
#define VDX_NUMBER_PLAIN_NUMBER_H

#include <limits>

#include "number/digits.h"
#include "number/magnitude.h"

namespace vdx {

enum PlainParts : unsigned { kDigitsAlone = 0, kWithPoint = 1, kWithExponent = 2 };

// The parts of a plain number. The digits before the point and after it are in the text; without
// places, `fraction` is at most two bytes after the last digit and is not to be read.
struct PlainNumber {
  const std::uint8_t* whole;
  const std::uint8_t* fraction;
  std::uint32_t whole_digits;
  std::uint32_t places;
  std::uint32_t point;    // where the whole digits end, as an offset from the text
  std::uint32_t end;      // where the places, or the whole digits without a point, end
  std::uint32_t minus;    // 1 after a minus sign, else 0
  std::int32_t exponent;  // 0 where there is none; of at most four digits
};

// The bytes of a short text as masks, bit i for byte i. Bits outside of `inside` are unspecified.
struct ShortBytes {  // 1 to 16 bytes
  Block block;
  std::uint32_t inside;

  VDX_INLINE ShortBytes(Block bytes, std::uint32_t n)
      : block(bytes), inside((std::uint32_t{1} << n) - 1) {}
  std::uint32_t digits() const { return block.digits(); }
  std::uint32_t equal(char c) const { return block.equal(c); }
};

struct LongBytes {  // 17 to 32 bytes
  Block first, second;
  std::uint32_t inside;

  VDX_INLINE LongBytes(const std::uint8_t* text, std::uint32_t n)
      : first(Block::whole(text)),
        second(Block::of(text + 16, n - 16)),
        inside(0xFFFFFFFFU >> (32 - n)) {}
  std::uint32_t digits() const { return first.digits() | second.digits() << 16; }
  std::uint32_t equal(char c) const { return first.equal(c) | second.equal(c) << 16; }
};

struct LongestBytes {  // 33 to 48 bytes
  Block first, second, third;
  std::uint64_t inside;

  VDX_INLINE LongestBytes(const std::uint8_t* text, std::uint32_t n)
      : first(Block::whole(text)),
        second(Block::whole(text + 16)),
        third(Block::of(text + 32, n - 32)),
        inside((std::uint64_t{1} << n) - 1) {}
  std::uint64_t digits() const {
    return first.digits() | second.digits() << 16 | std::uint64_t{third.digits()} << 32;
  }
  std::uint64_t equal(char c) const {
    return first.equal(c) | second.equal(c) << 16 | std::uint64_t{third.equal(c)} << 32;
  }
};

// An exponent from its letter, at `at`, to the end of all but blanks, at `stop`. Eight bytes are
// read at once, so texts with a shorter front are left to others.
VDX_INLINE bool recognise_exponent(const std::uint8_t* text, std::uint64_t digits, std::uint32_t at,
                                   std::uint32_t stop, std::int32_t& exponent) {
  if ((text[at] | 32) != 'e' || at + 1 == stop || stop < 8) return false;
  const bool down = text[at + 1] == '-';
  const std::uint32_t first = at + 1 + (down || text[at + 1] == '+' ? 1U : 0U);
  const std::uint32_t count = stop - first;
  const auto run = static_cast<std::uint32_t>(std::countr_one(digits >> first));
  if (run != count || count == 0 || count > 4) return false;
  const std::uint64_t tail = load<std::uint64_t>(text + stop - 8) & 0x0F0F0F0F0F0F0F0F;
  const std::uint32_t others = 64 - 8 * count;  // bits of the bytes before the digits
  const auto size = static_cast<std::int32_t>(number_of_8(tail >> others << others));
  exponent = down ? -size : size;
  return true;
}

template <unsigned kParts, typename Masks>
VDX_INLINE bool recognise_masks(const std::uint8_t* text, const Masks& bytes, PlainNumber& number) {
  using Mask = decltype(bytes.inside);
  constexpr auto kBits = static_cast<std::uint32_t>(std::numeric_limits<Mask>::digits);
  const Mask inside = bytes.inside;
  Mask points = (kParts & kWithPoint) != 0 ? bytes.equal('.') & inside : 0;
  Mask digits = bytes.digits() & inside;
  Mask field = digits | points;
  const Mask first = field & (0 - field);
  Mask others = 0;  // what an exponent accounts for
  number.exponent = 0;
  if constexpr ((kParts & kWithExponent) != 0) {
    // Adding the lowest bit of a run carries it to where the run ends.
    const auto end = static_cast<std::uint32_t>(std::countr_zero(std::uint64_t{field} + first));
    const Mask rest = inside & ~bytes.equal(' ');
    const auto stop = kBits - static_cast<std::uint32_t>(std::countl_zero(rest));
    if (digits != 0 && end < stop) {
      if (!recognise_exponent(text, digits, end, stop, number.exponent)) return false;
      others = ~Mask{0} << end;
      points &= ~others;
      field &= ~others;
      digits &= ~others;
    }
  }
  const Mask minus = bytes.equal('-') & first >> 1;
  const Mask signs = minus | (bytes.equal('+') & first >> 1);
  // A second run, a second point, and what has no place at all. Adding the lowest bit of one
  // unbroken run carries it out of the run.
  const Mask wrong = (field & (field + first)) | (points & (points - 1)) |
                     (inside & ~(field | signs | bytes.equal(' ') | others));
  if (digits == 0 || wrong != 0) [[unlikely]]
    return false;
  const auto start = static_cast<std::uint32_t>(std::countr_zero(field));
  number.end = kBits - static_cast<std::uint32_t>(std::countl_zero(field));
  number.point = points != 0 ? static_cast<std::uint32_t>(std::countr_zero(points)) : number.end;
  number.places = points != 0 ? number.end - number.point - 1 : 0;
  number.whole_digits = number.point - start;
  number.whole = text + start;
  number.fraction = text + number.point + 1;
  number.minus = minus != 0 ? 1 : 0;
  return true;
}

// The digits from p on.
VDX_INLINE std::uint32_t digit_run(const std::uint8_t* p, const std::uint8_t* end) {
  std::uint32_t run = 0;
  for (std::ptrdiff_t left; (left = end - p - run) > 0; run += 16) {
    const auto n = static_cast<std::uint32_t>(left < 16 ? left : 16);
    const std::uint32_t others = ~Block::of(p + run, n).digits() |
                                 static_cast<std::uint32_t>(std::uint64_t{0xFFFFFFFF} << n);
    if (const int ones = std::countr_zero(others); ones < 16)
      return run + static_cast<std::uint32_t>(ones);
  }
  return run;
}

// What is left of a text without the blanks around it.
VDX_INLINE void trim_blanks(const std::uint8_t*& p, const std::uint8_t*& end) {
  while (p != end && *p == ' ') ++p;
  while (end - p >= 8 && load<std::uint64_t>(end - 8) == kEightBlanks) end -= 8;
  while (p != end && end[-1] == ' ') --end;
}

// The text from p to end has no blanks around it; offsets count from p.
template <unsigned kParts>
VDX_INLINE bool recognise_runs(const std::uint8_t* p, const std::uint8_t* end,
                               PlainNumber& number) {
  if (p == end) return false;
  const std::uint8_t* const text = p;
  number.minus = *p == '-' ? 1 : 0;
  p += (*p == '-') | (*p == '+');  // no branch: signs are as unpredictable as values
  while (p != end && *p == ' ') ++p;
  number.exponent = 0;
  number.whole = p;
  number.whole_digits = digit_run(p, end);
  p += number.whole_digits;
  number.point = number.end = static_cast<std::uint32_t>(p - text);
  number.fraction = p + 1;
  number.places = 0;
  if ((kParts & kWithPoint) != 0 && p != end && *p == '.') {
    number.places = digit_run(p + 1, end);
    p += 1 + number.places;
    number.end = static_cast<std::uint32_t>(p - text);
  }
  if (number.whole_digits + number.places == 0) return false;
  if ((kParts & kWithExponent) != 0 && p != end && (*p | 32) == 'e') {
    ++p;
    const bool down = p != end && *p == '-';
    p += p != end && (*p == '-' || *p == '+') ? 1 : 0;
    if (p == end || end - p > 4) return false;
    for (; p != end && *p >= '0' && *p <= '9'; ++p)
      number.exponent = number.exponent * 10 + (*p - '0');
    if (down) number.exponent = -number.exponent;
  }
  return p == end;
}

// A text of any length, at least one byte.
template <unsigned kParts>
VDX_INLINE bool recognise(const std::uint8_t* text, std::uint32_t n, PlainNumber& number) {
  const std::uint8_t* end = text + n;
  if (n > 32) {
    trim_blanks(text, end);
    n = static_cast<std::uint32_t>(end - text);
    if (n > 32) return recognise_runs<kParts>(text, end, number);
    if (n == 0) return false;
  }
  if (n > 16 ? recognise_masks<kParts>(text, LongBytes(text, n), number)
             : recognise_masks<kParts>(text, ShortBytes(Block::of(text, n), n), number)) [[likely]]
    return true;
  trim_blanks(text, end);
  return recognise_runs<kParts>(text, end, number);
}

// The number that the n (0 to 16) digits at p write. They are digits of a text, or follow one by at
// most two bytes, as the missing places of a plain number do.
VDX_INLINE std::uint64_t number_at(const std::uint8_t* p, std::uint32_t n) {
  if (can_read_back(p, 16)) [[likely]]
    return Block::whole(p + n - 16).number(n);
  return n == 0 ? 0 : number_in(p, Block::of(p, n), n, n);
}

// The same of up to 19 digits, which always fit.
VDX_INLINE std::uint64_t long_number_at(const std::uint8_t* p, std::uint32_t n) {
  if (n <= 16) [[likely]]
    return number_at(p, n);
  std::uint64_t head = 0;
  for (; n > 16; --n, ++p) head = head * 10 + (*p - std::uint64_t{'0'});
  return head * limb_power(16) + number_at(p, n);
}

}  // namespace vdx

#endif
