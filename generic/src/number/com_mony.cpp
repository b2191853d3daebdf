#include "number/money_value.h"

#include "number/magnitude.h"
#include "vdxcomn/money.h"

namespace vdx {
namespace {

// Arithmetic gives 0, 1 and 3 alone; the others are here so that every status has its code.
std::int32_t to_public(std::int32_t status) {
  static constexpr std::int32_t kCodes[] = {VDX_SUCCESS, VDX_OVERFLOW, VDX_SYNTAX,  VDX_ARITHMETIC,
                                            VDX_SUCCESS, VDX_SUCCESS,  VDX_OVERFLOW};
  return kCodes[status];
}

inline std::int64_t get(const vdx_money* money) { return money_value(*money); }
inline std::int32_t get(const vdx_mny4* money) { return *money; }
inline void put(vdx_money* money, std::int64_t value) { set_money(*money, value); }
inline void put(vdx_mny4* money, std::int32_t value) { *money = value; }

template <typename Int>
using Operation = std::int32_t (*)(Int a, Int b, Int& result);

template <auto kOperation, typename Money>
inline std::int32_t binary(const Money* a, const Money* b, Money* result) {
  auto value = get(a);
  const std::int32_t status = kOperation(value, get(b), value);
  put(result, value);
  return status;
}

// Products and quotients of short money are those of money, narrowed.
template <Operation<std::int64_t> kOperation>
std::int32_t narrowed(std::int32_t a, std::int32_t b, std::int32_t& result) {
  std::int64_t wide;
  const std::int32_t status = kOperation(a, b, wide);  // leaves zero where it fails
  result = static_cast<std::int32_t>(wide);
  if (result == wide) return status;
  result = 0;
  return kMoneyOverflow;
}

std::int32_t multiply(std::int64_t a, std::int64_t b, std::int64_t& result) {
  return multiply_money(a, b, result);
}

std::int32_t divide(std::int64_t a, std::int64_t b, std::int64_t& result) {
  return divide_money(a, b, result);
}

std::int32_t no_remainder() { return kMoneyOverflow; }

std::int32_t minus(const vdx_money* a, vdx_money* result) {
  const std::int64_t value = with_sign(static_cast<std::uint64_t>(get(a)), true);
  put(result, value);
  return value == kMoneyMin ? kMoneyOverflow : kMoneyDone;
}

std::int32_t minus(const vdx_mny4* a, vdx_mny4* result) {
  if (*a == std::numeric_limits<std::int32_t>::min()) return kMoneyOverflow;
  *result = -*a;
  return kMoneyDone;
}

// Adds 1 or -1; the wrapped value stays.
template <int kStep>
std::int32_t step(vdx_money* money) {
  const auto bits = static_cast<std::uint64_t>(get(money)) + static_cast<std::uint64_t>(kStep);
  const auto value = static_cast<std::int64_t>(bits);
  put(money, value);
  return value == (kStep > 0 ? kMoneyMin : kMoneyMax) ? kMoneyOverflow : kMoneyDone;
}

std::int32_t scale(vdx_money* money, std::uint32_t factor, std::int32_t addend) {
  std::int64_t value = get(money);
  const std::int32_t status = scale_money(value, factor, addend);
  put(money, value);
  return status;
}

std::int32_t down(vdx_money* money, std::uint32_t divisor) {
  std::int64_t value = get(money);
  const std::int32_t remainder = divide_small(value, divisor);
  put(money, value);
  return remainder;
}

std::int32_t peel_digit(vdx_money* money, char* digit) {
  *digit = static_cast<char>('0' + down(money, 10));
  return get(money) != 0 ? 1 : 0;
}

std::int32_t prepare(vdx_money* money, std::int32_t count) {
  const std::int64_t value = get(money);
  std::uint64_t size = signed_magnitude(value).magnitude;
  std::uint64_t remainder = 0;
  // Eight bytes hold the magnitude; each division drops one leading zero byte, and the last one
  // that goes ends the work.
  for (int bytes = 8; count > 0 && bytes > 0; --count) {
    remainder = size % 10;
    size /= 10;
    if ((size >> (8 * (bytes - 1))) == 0) --bytes;
  }
  if (remainder >= 5) ++size;
  std::int64_t result;
  signed_result(size, false, result);
  put(money, result);
  return value < 0 ? -1 : 0;
}

template <typename Money>
std::int32_t copy(const Money* source, Money* destination) {
  put(destination, get(source));
  return kMoneyDone;
}

template <typename Money>
std::int32_t compare(const Money* a, const Money* b) {
  return (get(a) > get(b) ? 1 : 0) - (get(a) < get(b) ? 1 : 0);
}

void divide_by_word(const vdx_money* dividend, const vdx_money* divisor, vdx_money* quotient) {
  put(quotient,
      static_cast<std::int64_t>(static_cast<std::uint64_t>(get(dividend)) / divisor->low));
}

constexpr std::uint64_t kMillion = 1000000;

// Two groups of three digits, given as six digit values, with a comma before each.
inline std::uint64_t groups_of_3(std::uint64_t digits) {
  return ((digits & 0xffffff) << 8 | (digits >> 24) << 40) + 0x3030302C3030302C;
}

// A whole part with separators. Groups go out in pairs, the first pair without its leading zeros.
class GroupedWhole {
 public:
  explicit GroupedWhole(std::uint64_t whole) {
    const std::uint64_t above = whole / kMillion;
    pairs_[0] = above / kMillion;
    pairs_[1] = above - pairs_[0] * kMillion;
    pairs_[2] = whole - above * kMillion;
    first_ = pairs_[0] != 0 ? 0 : pairs_[1] != 0 ? 1 : 2;
    const std::uint64_t digits = digits_of_8(pairs_[first_]) >> 16;
    const int zeros = std::countr_zero(digits | 1ULL << 40) / 8;  // 0 to 5 of the six
    const int skipped = zeros + (zeros < 3 ? 1 : 2);
    head_ = groups_of_3(digits) >> (8 * skipped);
    head_length_ = 8 - skipped;
  }

  std::int32_t length() const { return head_length_ + 8 * (2 - first_); }
  std::uint64_t head() const { return head_; }  // all of it below a million, zero bytes after it

  // Writes eight bytes or more, and nothing more than eight past the start of the last pair.
  void write(char* out) const {
    store(out, head_);
    out += head_length_;
    for (int i = first_ + 1; i < 3; ++i, out += 8)
      store(out, groups_of_3(digits_of_8(pairs_[i]) >> 16));
  }

 private:
  std::uint64_t pairs_[3];
  std::uint64_t head_;
  std::int32_t head_length_;
  int first_;
};

char* write_plain(std::int64_t value, char* buffer, std::int32_t length, std::int32_t places) {
  const ShortText text = money_text(value, places);
  const auto size = static_cast<std::int32_t>(text.length());
  if (size > length) return nullptr;
  char* const start = buffer + (length - size);
  const unsigned char* const from = text.data();
  if (size <= 8) {
    store_bytes(start, load<std::uint64_t>(from), text.length());
    return start;
  }
  store(start, load<std::uint64_t>(from));
  if (size > 16) store(start + 8, load<std::uint64_t>(from + 8));
  store(start + size - 8, load<std::uint64_t>(from + size - 8));
  return start;
}

// The whole part of most money, below 10^12: four groups at fixed places before the end, of which a
// mask lets through what is not a leading zero. `end` is where they end, sixteen bytes or more
// after the start of the buffer; returns where the text begins, with its sign.
char* put_groups(std::uint64_t whole, bool negative, char* end) {
  static constexpr std::uint8_t kLengths[] = {0, 1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15};
  alignas(16) static constexpr std::uint64_t kMask[4] = {0, 0, ~std::uint64_t{0},
                                                         ~std::uint64_t{0}};
  const std::uint64_t upper = whole / kMillion;
  const std::uint64_t lower = whole - upper * kMillion;
  const std::uint32_t length = kLengths[decimal_digits(whole)];
  const char* const mask = reinterpret_cast<const char*>(kMask) + length;
  const std::uint64_t first = load<std::uint64_t>(mask), last = load<std::uint64_t>(mask + 8);
  char* const start = end - length;
  // Before it, the sign, or a blank where the next digit would have put a comma. By masks: values
  // are as unpredictable as signs.
  const std::uint32_t minus = 0U - static_cast<std::uint32_t>(negative);
  const std::uint32_t blank = 0U - static_cast<std::uint32_t>(length % 4 == 3);
  const std::uint32_t other = (blank & ' ') | (~blank & static_cast<std::uint8_t>(start[-1]));
  const std::uint64_t groups = groups_of_3(digits_of_8(upper) >> 16) & first;
  const std::uint64_t tail = groups_of_3(digits_of_8(lower) >> 16) & last;
  store(end - 16, groups | (load<std::uint64_t>(end - 16) & ~first));
  store(end - 8, tail | (load<std::uint64_t>(end - 8) & ~last));
  start[-1] = static_cast<char>((minus & '-') | (~minus & other));
  return start - negative;
}

char* write_grouped(std::int64_t value, char* buffer, std::int32_t length, std::int32_t places) {
  const MoneyParts parts = money_parts(signed_magnitude(value).magnitude, places);
  if (length >= 21 && parts.whole < kMillion * kMillion) [[likely]] {
    char* const end = buffer + length - 1 - parts.places;
    store_bytes(end, fraction_text(parts.fraction), 1 + parts.places);
    return put_groups(parts.whole, value < 0, end);
  }
  const GroupedWhole whole(parts.whole);
  const std::uint64_t tail = fraction_text(parts.fraction);
  const std::int32_t tail_length = 1 + static_cast<std::int32_t>(parts.places);
  const std::int32_t sign = value < 0 ? 1 : 0;
  const std::int32_t size = whole.length() + tail_length;
  if (sign + size > length) return nullptr;
  char* const start = buffer + (length - size);
  if (size < 8) {
    store_bytes(start, whole.head() | tail << (8 * whole.length()),
                static_cast<std::uint32_t>(size));
  } else {
    whole.write(start);
    store_bytes(start + whole.length(), tail, 1 + parts.places);
  }
  if (sign != 0) {
    start[-1] = '-';
  } else if (size < length && whole.length() % 4 == 3) {
    start[-1] = ' ';  // where the next digit would have put a comma before it
  }
  return start - sign;
}

char* write_at_end(std::int64_t value, char* buffer, std::int32_t length, std::int32_t flags) {
  return (flags & 255) == 1 ? write_grouped(value, buffer, length, flags >> 8)
                            : write_plain(value, buffer, length, flags >> 8);
}

}  // namespace

}  // namespace vdx

using namespace vdx;

// The three layers of one operation: two hand back its status, the third translates it.
#define VDX_INNER_LAYERS(internal, legacy, parameters, operation) \
  std::int32_t internal parameters { return operation; }          \
  std::int32_t legacy parameters { return operation; }
#define VDX_LAYERS(internal, legacy, current, parameters, operation) \
  VDX_INNER_LAYERS(internal, legacy, parameters, operation)          \
  std::int32_t current parameters { return to_public(operation); }

// The two layers of an operation whose result is no status.
#define VDX_PAIR(Result, legacy, current, parameters, operation) \
  Result legacy parameters { return operation; }                 \
  Result current parameters { return operation; }

#define VDX_BINARY(internal, legacy, current, Money, operation)                          \
  VDX_LAYERS(internal, legacy, current, (const Money* a, const Money* b, Money* result), \
             binary<operation>(a, b, result))
#define VDX_COMPARISON(legacy, current, Money) \
  VDX_PAIR(std::int32_t, legacy, current, (const Money* a, const Money* b), compare(a, b))
#define VDX_CONSTANT(legacy, current, Money, constant) \
  VDX_PAIR(void, legacy, current, (Money * value), put(value, constant))

extern "C" {

VDX_BINARY(com__mnyadd, com_mnyadd, comn_mnyadd, vdx_money, add_money<std::int64_t>)
VDX_BINARY(com__mnysub, com_mnysub, comn_mnysub, vdx_money, subtract_money<std::int64_t>)
VDX_BINARY(com__mnymul, com_mnymul, comn_mnymul, vdx_money, multiply)
VDX_BINARY(com__mnydiv, com_mnydivide, comn_mnydivide, vdx_money, divide)
VDX_BINARY(com__mnyadd4, com_mny4add, comn_mny4add, vdx_mny4, add_money<std::int32_t>)
VDX_BINARY(com__mnysub4, com_mny4sub, comn_mny4sub, vdx_mny4, subtract_money<std::int32_t>)
VDX_BINARY(com__mnymul4, com_mny4mul, comn_mny4mul, vdx_mny4, narrowed<multiply>)
VDX_BINARY(com__mnydiv4, com_mny4divide, comn_mny4divide, vdx_mny4, narrowed<divide>)

std::int32_t com__mnyrem(const vdx_money*, const vdx_money*, vdx_money*) { return no_remainder(); }
std::int32_t com__mnyrem4(const vdx_mny4*, const vdx_mny4*, vdx_mny4*) { return no_remainder(); }

VDX_LAYERS(com__mnyminus, com_mnyminus, comn_mnyminus, (const vdx_money* a, vdx_money* result),
           minus(a, result))
VDX_LAYERS(com__mnyminus4, com_mny4minus, comn_mny4minus, (const vdx_mny4* a, vdx_mny4* result),
           minus(a, result))
VDX_LAYERS(com__mnyinc, com_mnyinc, comn_mnyinc, (vdx_money * value), step<1>(value))
std::int32_t com_mnydec(vdx_money* value) { return step<-1>(value); }
std::int32_t comn_mnydec(vdx_money* value) { return to_public(step<-1>(value)); }
VDX_LAYERS(com__mnyscale, com_mnyscale, comn_mnyscale,
           (vdx_money * value, std::uint32_t factor, std::int32_t addend),
           scale(value, factor, addend))
VDX_LAYERS(com__mnycopy, com_mnycopy, comn_mnycopy,
           (const vdx_money* source, vdx_money* destination), copy(source, destination))
std::int32_t com_mny4copy(const vdx_mny4* source, vdx_mny4* destination) {
  return copy(source, destination);
}
std::int32_t comn_mny4copy(const vdx_mny4* source, vdx_mny4* destination) {
  return to_public(copy(source, destination));
}

VDX_PAIR(std::int32_t, com_mnydown, comn_mnydown, (vdx_money * value, std::uint32_t divisor),
         down(value, divisor))
VDX_PAIR(std::int32_t, com_mnyndigit, comn_mnyndigit, (vdx_money * value, char* digit),
         peel_digit(value, digit))
std::int32_t com__mnyndigit(vdx_money* value, char* digit) { return peel_digit(value, digit); }
VDX_PAIR(std::int32_t, com_mnyinit, comn_mnyinit, (vdx_money * value, std::int32_t count),
         prepare(value, count))
VDX_PAIR(void, com_mnyxdiv, comn_mnyxdiv,
         (const vdx_money* dividend, const vdx_money* divisor, vdx_money* quotient),
         divide_by_word(dividend, divisor, quotient))
VDX_COMPARISON(com_mnycmp, comn_mnycmp, vdx_money)
VDX_COMPARISON(com_mny4cmp, comn_mny4cmp, vdx_mny4)
VDX_CONSTANT(com_mnyzero, comn_mnyzero, vdx_money, 0)
VDX_CONSTANT(com_mnymaxpos, comn_mnymaxpos, vdx_money, kMoneyMax)
VDX_CONSTANT(com_mnymaxneg, comn_mnymaxneg, vdx_money, kMoneyMin)
VDX_CONSTANT(com_mny4zero, comn_mny4zero, vdx_mny4, 0)

std::int32_t com__mny4tomny(const vdx_mny4* source, vdx_money* destination) {
  put(destination, *source);
  return sizeof *destination;
}

char* com__mnytochar(const vdx_money* value, char* buffer, std::int32_t length,
                     std::int32_t flags) {
  return write_at_end(get(value), buffer, length, flags);
}
char* com_cvtmnytochar(const vdx_money* value, char* buffer, std::int32_t length,
                       std::int32_t flags) {
  return write_at_end(get(value), buffer, length, flags);
}
char* com__mny4tochar(const vdx_mny4* value, char* buffer, std::int32_t length,
                      std::int32_t flags) {
  return write_at_end(*value, buffer, length, flags);
}
char* com_cvtmny4tochar(const vdx_mny4* value, char* buffer, std::int32_t length,
                        std::int32_t flags) {
  return write_at_end(*value, buffer, length, flags);
}
char* com_precmnytochar(const vdx_money* value, char* buffer, std::int32_t length,
                        std::int32_t flags, std::int32_t places) {
  return write_at_end(get(value), buffer, length,
                      flags | static_cast<std::int32_t>(static_cast<std::uint32_t>(places) << 8));
}

std::int32_t com__mnyfromchar_mb(vdx_money* result, const std::uint8_t* text, std::int32_t length,
                                 std::int32_t, const vdx_charattr* attributes) {
  std::int64_t value;
  const std::int32_t status = parse_money(value, text, length, *attributes);
  put(result, value);
  return status == kMoneyBelow ? std::int32_t{kMoneyOverflow} : status;
}

std::int32_t com__mnytoflt8(const vdx_money* source, std::int32_t, double* destination,
                            std::int32_t, std::int32_t) {
  *destination = money_to_double(get(source));
  return sizeof *destination;
}

std::int32_t com__flt8tomny(const double* source, std::int32_t source_length,
                            vdx_money* destination, std::int32_t, std::int32_t) {
  std::int64_t value = 0;
  const bool fits = source == nullptr || source_length == 0 || double_to_money(*source, value);
  put(destination, value);
  return fits ? static_cast<std::int32_t>(sizeof *destination) : -1;
}

}  // extern "C"
