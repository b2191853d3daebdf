// What each datatype is, and the ways a value takes from one to another.
#ifndef VDX_CONVERT_WAYS_H
#define VDX_CONVERT_WAYS_H

#include "convert/bytes_value.h"
#include "convert/date_value.h"
#include "convert/exact_value.h"
#include "convert/explain.h"
#include "convert/float_value.h"
#include "convert/kinds.h"
#include "convert/text_value.h"
#include "convert/unicode_value.h"
#include "number/numeric.h"

namespace vdx {

#define FAMILY(name, group, extent, big, ...) \
  template <>                                 \
  struct datatype<family_##name> : __VA_ARGS__ {};
#include "lists/datatypes.list"

// Any bytes are a value of most types; the kinds of the others have a check.
template <typename Kind>
inline bool readable(const Call& call) {
  if constexpr (requires { Kind::readable(call); })
    return Kind::readable(call);
  else
    return true;
}

// Bytes of a datatype whose values are all of one length, 0 for the others.
template <Family F>
constexpr std::int32_t fixed_length() {
  if constexpr (requires { datatype<F>::kLength; })
    return datatype<F>::kLength;
  else
    return 0;
}

// The source is no value of its type: nothing is stored, except a count of 0 where the source is text
// and the destination counted. The length of a fixed-length destination is set, as on other failures,
// unless the source is a bit.
template <Family Source, Family Destination>
inline std::int32_t refuse_source(const Call& call) {
  constexpr std::int32_t kLength = fixed_length<Destination>();
  if constexpr (Source != family_bit && kLength != 0) *call.length = kLength;
  if constexpr (is_text(Source) && extent_of(Destination) == Extent::counted)
    store(call.destination, std::int16_t{0});
  return VDX_INVALID;
}

// Reads the value by the source's kind and writes it by the destination's, inlined into one function.
// A kind that has to read a value to check it does both at once, into its type Checked.
struct direct {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    if constexpr (requires { typename datatype<Source>::Checked; }) {
      typename datatype<Source>::Checked value;
      if (!datatype<Source>::read(call, value)) [[unlikely]]
        return refuse_source<Source, Destination>(call);
      return datatype<Destination>::write(call, value);
    } else {
      if (!readable<datatype<Source>>(call)) [[unlikely]]
        return refuse_source<Source, Destination>(call);
      return datatype<Destination>::write(call, datatype<Source>::read(call));
    }
  }
};

// Reads without checking the source's range: the destination checks it.
struct any_date {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    return datatype<Destination>::write(call, datatype<Source>::read(call));
  }
};

inline Exact exact_of(Bit bit) { return exact_integer(static_cast<std::uint8_t>(bit)); }
template <Integral V>
inline Exact exact_of(V value) {
  return exact_integer(value);
}
template <typename M>
inline Exact exact_of(Money<M> money) {
  return exact_integer(money.count, 4);
}

// Through a numeric: a sign, a magnitude and a scale, which lose nothing. All sources share one
// writer.
struct as_numeric {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    static_assert(Destination == family_num);
    if (!readable<datatype<Source>>(call)) [[unlikely]]
      return refuse_source<Source, Destination>(call);
    return write_exact(call, exact_of(datatype<Source>::read(call)));
  }
};

// To its own type: the image is copied.
struct same_image {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    static_assert(Source == Destination);
    using Kind = datatype<Source>;
    if (!readable<Kind>(call)) [[unlikely]]
      return refuse_source<Source, Destination>(call);
    Kind::set_length(call);
    std::memmove(call.destination, call.source, Kind::kLength);
    return VDX_SUCCESS;
  }
};

// To a byte string: the bytes of the image.
struct image_bytes {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    static_assert(Destination == family_varbin);
    if (!readable<datatype<Source>>(call)) [[unlikely]]
      return refuse_source<Source, Destination>(call);
    return write_varbin(call, call.source, datatype<Source>::kLength);
  }
};

// Between text and the small calendar types: the big ones take the same functions, and their codes
// tell which it is.
template <typename Way>
struct by_code_with {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    if constexpr (big_of(Destination) != family_none) {
      if (accepts<codes_of(kDestinationFamily, big_of(Destination))>(call.format->datatype))
        return Way::template convert<Source, big_of(Destination)>(call);
    } else if (accepts<codes_of(kSourceFamily, big_of(Source))>(call.source_format->datatype)) {
      return Way::template convert<big_of(Source), Destination>(call);
    }
    return Way::template convert<Source, Destination>(call);
  }
};

using by_code = by_code_with<direct>;
using units_by_code = by_code_with<from_units>;

// From bytes, which are the image of a fixed-length value: short ones are padded with zeros, long ones
// cut. Bytes that are no image of the type are not stored.
struct from_bytes {
  template <Family Source, Family Destination>
  static std::int32_t convert(const Call& call) {
    using Kind = datatype<Source>;
    if (!readable<Kind>(call)) [[unlikely]]
      return refuse_source<Source, Destination>(call);
    constexpr std::int32_t kLength = fixed_length<Destination>();
    const Bytes bytes = Kind::read(call);
    *call.length = kLength;
    if constexpr (Destination == family_num) {  // the image's own precision and scale stay
      const std::int32_t code = check_numeric_format(call.format->precision, call.format->scale);
      if (code != VDX_SUCCESS) return code;
    }
    std::int32_t code = VDX_SUCCESS;
    if (bytes.length != kLength) [[unlikely]]
      code = fit_image(call, bytes, kLength, is_image<Destination>);
    else if (!is_image<Destination>(bytes.bytes)) [[unlikely]]
      return VDX_INVALID;
    else
      std::memcpy(call.destination, bytes.bytes, kLength);
    if constexpr (Destination == family_num)
      if (code != VDX_INVALID) clear_spare(static_cast<std::uint8_t*>(call.destination));
    return code;
  }

 private:
  template <Family Destination>
  static bool is_image(const void* image) {
    if constexpr (Destination == family_num) {
      Exact value;
      return read_numeric(image, value) == VDX_SUCCESS;
    } else {
      return readable<datatype<Destination>>({nullptr, nullptr, image, nullptr, nullptr, nullptr});
    }
  }
};

// From a value without content: the length is 0, nothing is written.
struct no_content {
  template <Family, Family>
  static std::int32_t convert(const Call& call) {
    *call.length = 0;
    return VDX_SUCCESS;
  }
};

// A bit as a byte string. With maxlength 0 nothing is stored, yet the length is 1.
struct bit_as_byte {
  template <Family, Family>
  static std::int32_t convert(const Call& call) {
    if (!bits::readable(call)) return VDX_INVALID;
    if (call.format->maxlength == 0) {
      *call.length = 1;
      return VDX_SUCCESS;
    }
    return byte_string::write(call, bits::read(call));
  }
};

// A bit as a varbin is the character of its value; the output length is not set.
struct bit_as_character {
  template <Family, Family>
  static std::int32_t convert(const Call& call) {
    if (!bits::readable(call)) return VDX_INVALID;
    const auto digit = static_cast<std::uint8_t>('0' + static_cast<int>(bits::read(call)));
    std::int32_t ignored;
    return write_varbin({nullptr, nullptr, nullptr, call.format, call.destination, &ignored},
                        &digit, 1);
  }
};

template <Family Source, Family Destination, typename Way>
[[gnu::always_inline]] inline std::int32_t run(Call call, const char* function, const char* file,
                                               std::int32_t line) {
  if (!pointers_given(call)) [[unlikely]]
    return pointer_missing(function, file, line);
  if (!contract_holds<Source, Destination>(call)) [[unlikely]]
    return contract_broken(function, file, line);
  const std::int32_t code = Way::template convert<Source, Destination>(call);
  if (code != VDX_SUCCESS) [[unlikely]]
    return explained(call.context, call.source_format, call.source, call.format, code);
  return code;
}

}  // namespace vdx

#endif
