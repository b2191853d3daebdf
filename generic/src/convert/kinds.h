// The kinds of value behind the datatype codes. A kind reads itself from bytes and writes itself
// into a destination; it alone knows its range, its rounding and its codes.
//
// read(call)          returns the value; where the kind has readable(call), only after that returned
//                     true: the source is a value of the type
// write(call, value)  stores the nearest value that the destination can hold and returns the code; the
//                     length of a fixed-length destination is set first, so that it is set on every
//                     failure but VDX_SYNTAX
#ifndef VDX_CONVERT_KINDS_H
#define VDX_CONVERT_KINDS_H

#include <concepts>
#include <limits>
#include <utility>

#include "convert/bytes_out.h"
#include "convert/range.h"
#include "convert/text_out.h"
#include "intl/locale.h"
#include "number/float_reader.h"
#include "number/integer_text.h"
#include "number/money_value.h"

namespace vdx {

struct Text {
  const std::uint8_t* bytes;
  std::int32_t length;
  const vdx_charattr& attributes;
};

struct Bytes {
  const std::uint8_t* bytes;
  std::int32_t length;
};

// A bit is no integer: it has two values, and bytes of its own.
enum class Bit : std::uint8_t { zero, one };

// A count of ten-thousandths that remembers how wide its type is.
template <typename T>
struct Money {
  T count;
};

template <typename T>
struct Float {
  T number;
};

// narrow(from, to) stores the value of To's range that is nearest to `from` and returns the code,
// for every kind of source.
template <Integral To, Integral From>
inline std::int32_t narrow(From from, To& to) {
  to = static_cast<To>(from);
  if (std::cmp_equal(to, from)) [[likely]]
    return VDX_SUCCESS;
  return saturate(std::cmp_less(from, 0), to);
}

// What every type of fixed length does alike: its image is its value.
template <typename T>
struct fixed {
  static constexpr std::int32_t kLength = sizeof(T);
  static std::int32_t put(const Call& call, T value, std::int32_t code) {
    store(call.destination, value);
    return code;
  }
  static void set_length(const Call& call) { *call.length = kLength; }

  // The nearest value of the type, and the code, of anything that narrows to it.
  template <typename V>
  static std::int32_t put_nearest(const Call& call, const V& value) {
    set_length(call);
    T result;
    const std::int32_t code = narrow(value, result);
    return put(call, result, code);
  }
};

// Ten-thousandths to whole units, half away from zero. Never further from zero than the count.
template <typename T>
inline T whole_units(Money<T> money) {
  const T units = static_cast<T>(money.count / 10000);
  const T rest = static_cast<T>(money.count - units * 10000);
  return static_cast<T>(units + (rest >= 5000 ? 1 : 0) - (rest <= -5000 ? 1 : 0));
}

inline std::int32_t scan_code(const Call& call, std::int32_t result) {
  if (result >= kScanEmpty) [[likely]]
    return VDX_SUCCESS;
  if (result == kScanOverflow) return VDX_OVERFLOW;
  *call.length = 0;
  return VDX_SYNTAX;
}

template <Integral T>
struct integer : fixed<T> {
  static T read(const Call& call) { return load<T>(call.source); }

  // Whatever narrows to the type: integers, floats, exact numerics.
  template <typename V>
  requires requires(const V& value, T& result) { narrow(value, result); }
  static std::int32_t write(const Call& call, const V& value) {
    return fixed<T>::put_nearest(call, value);
  }

  static std::int32_t write(const Call& call, Bit bit) { return write(call, static_cast<T>(bit)); }

  template <typename M>
  static std::int32_t write(const Call& call, Money<M> money) {
    return write(call, whole_units(money));
  }

  static std::int32_t write(const Call& call, const Text& text) {
    fixed<T>::set_length(call);
    if constexpr (sizeof(T) == 1) {  // has no parser of its own
      std::int32_t wide;
      const std::int32_t result = scan_integer(text.bytes, text.length, wide, &text.attributes);
      if (result == kScanSyntax) return scan_code(call, result);
      T value;
      const std::int32_t code = narrow(wide, value);
      return fixed<T>::put(call, value,
                           result == kScanOverflow ? std::int32_t{VDX_OVERFLOW} : code);
    } else {
      T value;
      const std::int32_t result = scan_integer(text.bytes, text.length, value, &text.attributes);
      return fixed<T>::put(call, value, scan_code(call, result));
    }
  }
};

struct bits : fixed<Bit> {
  static bool readable(const Call& call) { return load<std::uint8_t>(call.source) <= 1; }
  static Bit read(const Call& call) { return load<Bit>(call.source); }

  static std::int32_t write(const Call& call, Bit value) {
    set_length(call);
    return put(call, value, VDX_SUCCESS);
  }

  template <Integral V>
  static std::int32_t write(const Call& call, V value) {
    return write(call, value != 0 ? Bit::one : Bit::zero);
  }

  template <typename V>
  requires requires(const V& value, Bit& result) { narrow(value, result); }
  static std::int32_t write(const Call& call, const V& value) { return put_nearest(call, value); }

  // Any amount counts, however far below one unit.
  template <typename M>
  static std::int32_t write(const Call& call, Money<M> money) {
    return write(call, money.count);
  }

  static std::int32_t write(const Call& call, const Text& text) {
    set_length(call);
    std::int32_t wide;
    const std::int32_t result = scan_integer(text.bytes, text.length, wide, &text.attributes);
    if (result == kScanSyntax) return scan_code(call, result);
    return put(call, wide != 0 ? Bit::one : Bit::zero, scan_code(call, result));
  }
};

template <typename T>
struct floating : fixed<T> {
  static Float<T> read(const Call& call) { return {load<T>(call.source)}; }

  template <Integral V>
  static std::int32_t write(const Call& call, V value) {
    fixed<T>::set_length(call);
    return fixed<T>::put(call, static_cast<T>(value), VDX_SUCCESS);
  }

  static std::int32_t write(const Call& call, Bit bit) {
    return write(call, static_cast<int>(bit));
  }

  template <typename V>
  requires requires(const V& value, T& result) { narrow(value, result); }
  static std::int32_t write(const Call& call, const V& value) {
    return fixed<T>::put_nearest(call, value);
  }

  template <typename M>
  static std::int32_t write(const Call& call, Money<M> money) {
    fixed<T>::set_length(call);
    // Wide money has an arithmetic of its own; short money is exact in a double, so that one
    // division rounds it correctly, and narrowing that to a single does not round twice: no
    // quotient of 31 bits by 10000 lies that close to the middle of two singles.
    const double number =
        sizeof(M) == 8 ? money_to_double(money.count) : static_cast<double>(money.count) / 10000.0;
    return fixed<T>::put(call, static_cast<T>(number), VDX_SUCCESS);
  }

  static std::int32_t write(const Call& call, const Text& text) {
    T number;
    const std::int32_t code = read_float(text.bytes, text.length, text.attributes, number);
    if (code == VDX_SYNTAX) [[unlikely]] {
      *call.length = 0;
      return code;
    }
    fixed<T>::set_length(call);
    return fixed<T>::put(call, number, code);
  }
};

template <typename T>
struct money_count : fixed<T> {
  static Money<T> read(const Call& call) {
    if constexpr (sizeof(T) == 8)
      return {money_value(call.source)};
    else
      return {load<T>(call.source)};
  }

  static std::int32_t put(const Call& call, T count, std::int32_t code) {
    if constexpr (sizeof(T) == 8)
      set_money(call.destination, count);
    else
      store(call.destination, count);
    return code;
  }

  static std::int32_t put_limit(const Call& call, bool below) {
    T count;
    const std::int32_t code = saturate(below, count);
    return put(call, count, code);
  }

  template <typename M>
  static std::int32_t write(const Call& call, Money<M> money) {
    fixed<T>::set_length(call);
    T count;
    const std::int32_t code = narrow(money.count, count);
    return put(call, count, code);
  }

  template <Integral V>
  static std::int32_t write(const Call& call, V units) {
    fixed<T>::set_length(call);
    if (std::cmp_greater(units, nearest_limit<T>(false) / 10000)) [[unlikely]]
      return put_limit(call, false);
    if (std::cmp_less(units, nearest_limit<T>(true) / 10000)) [[unlikely]]
      return put_limit(call, true);
    return put(call, static_cast<T>(static_cast<T>(units) * 10000), VDX_SUCCESS);
  }

  template <typename V>
  requires requires(const V& value, Money<T>& result) { narrow(value, result); }
  static std::int32_t write(const Call& call, const V& value) {
    fixed<T>::set_length(call);
    Money<T> result;
    const std::int32_t code = narrow(value, result);
    return put(call, result.count, code);
  }

  template <typename F>
  static std::int32_t write(const Call& call, Float<F> number) {
    fixed<T>::set_length(call);
    if (number.number != number.number) return put(call, 0, VDX_INVALID);
    std::int64_t count;
    if (!double_to_money(static_cast<double>(number.number), count))
      return put_limit(call, number.number < 0);
    return write(call, Money<std::int64_t>{count});
  }

  static std::int32_t write(const Call& call, const Text& text) {
    fixed<T>::set_length(call);
    std::int64_t count;
    const std::int32_t status = parse_money(count, text.bytes, text.length, text.attributes);
    if (status == kMoneyDone) [[likely]]
      return write(call, Money<std::int64_t>{count});
    if (status == kMoneySyntax) {
      *call.length = 0;
      return VDX_SYNTAX;
    }
    // Money keeps what was read of the text; short money has no room for so much.
    if constexpr (sizeof(T) == 8) return put(call, count, VDX_OVERFLOW);
    return put_limit(call, status == kMoneyBelow);
  }
};

// The text of a value: one writer a kind, for every destination that holds text.
template <Integral V>
VDX_INLINE ShortText text_of(const Call&, V value) {
  using Limits = std::numeric_limits<V>;
  return integer_text<signed_magnitude(std::is_signed_v<V> ? Limits::min() : Limits::max())
                          .magnitude>(signed_magnitude(value));
}

VDX_INLINE ShortText text_of(const Call&, Bit bit) {
  return integer_text<1>({static_cast<std::uint64_t>(bit), 0});
}

template <typename M>
VDX_INLINE ShortText text_of(const Call& call, Money<M> money) {
  return money_text(money.count, call.format->precision);
}

// Integers that do not fit show an asterisk, everything else shows what there is room for.
template <typename V>
inline constexpr Misfit kMisfit =
    Integral<V> || std::same_as<V, Bit> ? Misfit::asterisk : Misfit::cut;

// What the straight way below leaves. Out of line, because its registers would have to be saved.
template <Integral V>
[[gnu::noinline]] std::int32_t write_long_integer(const Call call, V value) {
  return write_text(call, text_of(call, value), kMisfit<V>);
}

// A number goes straight into a destination where its way there can be foreseen: integers of up to 32
// bits mostly are short, those of more than sixteen digits long. The others have lengths that are
// as unpredictable as their digits.
template <Integral V>
VDX_INLINE std::int32_t write_as_text(const Call& call, V value) {
  const vdx_datafmt& format = *call.format;
  const SignedMagnitude number = signed_magnitude(value);
  if constexpr (sizeof(V) == 8) {
    if (number.magnitude < 10000000000000000)
      return write_text(call, text_of(call, value), kMisfit<V>);
  } else if (number.magnitude >= 100000000) {
    return write_long_integer<V>(call, value);
  }
  const DirectInteger text(number);
  const auto n = static_cast<std::int32_t>(text.length());
  if (format.maxlength < text.kRoom || !text_fits(format, n)) [[unlikely]]
    return write_long_integer<V>(call, value);
  text.put(static_cast<unsigned char*>(call.destination));
  *call.length = n;
  if ((format.format & kFinishFlags) == 0) [[likely]]
    return VDX_SUCCESS;
  return finish_text(format, call.destination, n, *call.length);
}

struct characters {
  static Text read(const Call& call) {
    return {static_cast<const std::uint8_t*>(call.source), call.source_format->maxlength,
            *call.source_set};
  }

  template <typename V>
  static std::int32_t write(const Call& call, const V& value) {
    if constexpr (requires { write_as_text(call, value); })  // has a writer of its own
      return write_as_text(call, value);
    else
      return write_text(call, text_of(call, value), kMisfit<V>);
  }
};

struct counted_characters {
  static constexpr std::int32_t kLength = sizeof(vdx_varchar);

  static Text read(const Call& call) {
    return {static_cast<const std::uint8_t*>(call.source) + 2, load<std::int16_t>(call.source),
            *call.source_set};
  }
  static bool readable(const Call& call) { return load<std::int16_t>(call.source) <= kCountedRoom; }

  template <typename V>
  static std::int32_t write(const Call& call, const V& value) {
    if constexpr (requires { write_as_varchar(call, value); })
      return write_as_varchar(call, value);
    else
      return write_varchar(call, text_of(call, value));
  }
};

// Fixed-length values keep their image.
struct byte_string {
  static Bytes read(const Call& call) {
    return {static_cast<const std::uint8_t*>(call.source), call.source_format->maxlength};
  }

  template <typename V>
  static std::int32_t write(const Call& call, [[maybe_unused]] const V& value) {
    if constexpr (requires { write_as_bytes(call, value); })
      return write_as_bytes(call, value);
    else
      return write_bytes(call, call.source, sizeof(V));
  }
};

struct counted_bytes {
  static constexpr std::int32_t kLength = sizeof(vdx_varbin);

  static Bytes read(const Call& call) {
    return {static_cast<const std::uint8_t*>(call.source) + 2, load<std::int16_t>(call.source)};
  }
  static bool readable(const Call& call) { return load<std::int16_t>(call.source) <= kCountedRoom; }

  template <typename V>
  static std::int32_t write(const Call& call, [[maybe_unused]] const V& value) {
    if constexpr (requires { write_as_varbin(call, value); })
      return write_as_varbin(call, value);
    else
      return write_varbin(call, call.source, sizeof(V));
  }
};

// Values without content, which no way reads.
struct no_bytes {};

}  // namespace vdx

#endif
