// UTF-16 as a value: the kind of unichar and unitext, and the ways from it.
//
// Values are read from it as from any other text: short ASCII is narrowed to single bytes, other text
// is read in place as a character set of two bytes a character, so that no length needs a buffer.
// Dates hold names, so they are transcoded to the character set of the source's locale.
#ifndef VDX_CONVERT_UNICODE_VALUE_H
#define VDX_CONVERT_UNICODE_VALUE_H

#include "convert/bytes_value.h"
#include "convert/date_value.h"
#include "convert/kinds.h"
#include "convert/text_value.h"
#include "intl/unicode.h"

namespace vdx {

template <Family>
struct datatype;

inline std::size_t units_of(const Call& call) {
  return static_cast<std::size_t>(call.source_format->maxlength) / 2;
}

// Whole units of well-formed UTF-16.
bool is_utf16(const Call& call);

// ASCII text of a value as units, by the text-output rule.
std::int32_t misfit_as_utf16(const Call& call, const unsigned char* text, std::int32_t n,
                             Misfit style);

template <typename AnyText>
VDX_INLINE std::int32_t write_text_as_utf16(const Call& call, const AnyText& text, Misfit style) {
  const vdx_datafmt& format = *call.format;
  const auto n = static_cast<std::int32_t>(text.length());
  const auto terminator = static_cast<std::int32_t>(format.format & VDX_FMT_TERMINATE);
  if (n + terminator > format.maxlength / 2) [[unlikely]]
    return misfit_as_utf16(call, text.data(), n, style);
  widen_ascii(text.data(), text.length(), call.destination, (format.format & VDX_FMT_SWAP) != 0);
  *call.length = 2 * n;
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_utf16(format, call.destination, 2 * n, *call.length);
}

// Text in a character set as UTF-16. What does not fit is cut between characters.
std::int32_t write_as_utf16(const Call& call, const Text& text);

// The text of a value, in a character set; an overflow where it does not fit.
std::int32_t write_made_text_as_utf16(const Call& call, const Text& text);

template <CalendarValue Value>
VDX_INLINE std::int32_t write_as_utf16(const Call& call, const Value&) {
  return write_date_text<typename Value::Calendar, write_made_text_as_utf16>(call);
}

struct utf16 {
  template <typename V>
  static std::int32_t write(const Call& call, const V& value) {
    if constexpr (requires { write_as_utf16(call, value); })  // has a writer of its own
      return write_as_utf16(call, value);
    else
      return write_text_as_utf16(call, text_of(call, value), kMisfit<V>);
  }
};

// The most units that are read as single bytes. Columns are padded, but rarely wider.
inline constexpr std::size_t kNarrowUnits = 128;

// Narrows short ASCII to bytes; false for any other text.
VDX_INLINE bool narrow_units(const Call& call, std::uint8_t* bytes) {
  const std::size_t n = units_of(call);
  if (n > kNarrowUnits || call.source_format->maxlength % 2 != 0) [[unlikely]]
    return false;
#if defined(VDX_SSE2)
  // Most are short, and a call would cost as much as the narrowing.
  if (n <= 16 && can_read_ahead(call.source, 32)) [[likely]] {
    const auto* const from = static_cast<const __m128i*>(call.source);
    const __m128i low = _mm_loadu_si128(from), high = _mm_loadu_si128(from + 1);
    const __m128i others = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, others), zero),
                                          _mm_cmpeq_epi16(_mm_and_si128(high, others), zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm_packus_epi16(low, high));
    return (~static_cast<std::uint32_t>(_mm_movemask_epi8(ascii)) &
            ((std::uint32_t{1} << n) - 1)) == 0;
  }
#endif
  return narrow_ascii(call.source, n, bytes) == n;
}

// Any other text, without the blanks around it.
Text wide_text(const Call& call);

// Its bytes in a character set, wide forms of ASCII as ASCII; false where the room is too short.
bool local_text(const Call& call, const vdx_charattr& set, std::uint8_t* to, std::int32_t room,
                std::int32_t& length);

// A value of fixed length from its text.
struct from_units {
  template <Family, Family Destination>
  static std::int32_t convert(const Call& call) {
    using Kind = datatype<Destination>;
    // Readers of numbers load the bytes before a text as well.
    std::uint8_t bytes[16 + kNarrowUnits + 16];
    std::uint8_t* const text = bytes + 16;
    if (!narrow_units(call, text)) [[unlikely]]
      return convert_wide<Kind>(call);
    return Kind::write(
        call, Text{text, static_cast<std::int32_t>(units_of(call)), narrow_attributes<Kind>(call)});
  }

 private:
  template <typename Kind>
  static constexpr bool kHasNames = requires {
    Kind::kTellsDigits;
  };

  template <typename Kind>
  static const vdx_charattr& narrow_attributes([[maybe_unused]] const Call& call) {
    if constexpr (kHasNames<Kind>)
      return *call.source_set;
    else
      return kLatin1;
  }

  template <typename Kind>
  [[gnu::noinline]] static std::int32_t convert_wide(const Call& call) {
    if (!is_utf16(call)) {
      *call.length = Kind::kLength;
      return VDX_MALFORMED_UNICODE;
    }
    if constexpr (kHasNames<Kind>) {
      const vdx_charattr& set = *call.source_set;
      std::uint8_t text[1024];
      std::int32_t length;
      if (!local_text(call, set, text, sizeof text, length)) {
        *call.length = 0;
        return VDX_SYNTAX;
      }
      return Kind::write(call, Text{text, length, set});
    } else {
      return Kind::write(call, wide_text(call));
    }
  }
};

// Copies whole characters.
std::int32_t units_to_units(const Call& call);

// UTF-16 to text, to UTF-16 and, as hexadecimal digits, to bytes.
struct units_as_text {
  // Transcoding finds malformed text by itself; only half a unit must be found here.
  template <Family Destination>
  static bool is_sound(const Call& call) {
    if constexpr (Destination == family_char || Destination == family_varchar)
      return call.source_format->maxlength % 2 == 0;
    else
      return is_utf16(call);
  }

  // ASCII is the same bytes in every character set.
  static bool place_ascii(const Call& call, std::int32_t& code) {
    const vdx_datafmt& format = *call.format;
    const std::size_t n = units_of(call);
    const auto length = static_cast<std::int32_t>(n);
    auto* const to = static_cast<std::uint8_t*>(call.destination);
    if ((format.format & VDX_FMT_QUOTE) != 0 || !text_fits(format, length) ||
        narrow_ascii(call.source, n, to) != n)
      return false;
    *call.length = length;
    code = (format.format & kFinishFlags) == 0
               ? VDX_SUCCESS
               : finish_text(format, call.destination, length, *call.length);
    return true;
  }

  template <Family, Family Destination>
  static std::int32_t convert(const Call& call) {
    if (!is_sound<Destination>(call)) {
      constexpr bool kCounted = extent_of(Destination) == Extent::counted;
      if constexpr (kCounted) store(call.destination, std::int16_t{0});
      *call.length = kCounted ? std::int32_t{sizeof(vdx_varchar)} : 0;
      return VDX_MALFORMED_UNICODE;
    }
    if constexpr (Destination == family_char)
      if (std::int32_t code; place_ascii(call, code)) return code;
    if constexpr (Destination == family_unichar)
      return units_to_units(call);
    else
      return datatype<Destination>::write(call, Text{static_cast<const std::uint8_t*>(call.source),
                                                     call.source_format->maxlength, kUtf16});
  }
};

}  // namespace vdx

#endif
