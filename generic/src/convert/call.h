// One call of a conversion, the families behind the datatype codes, and the checks that every
// conversion makes before it looks at a value.
#ifndef VDX_CONVERT_CALL_H
#define VDX_CONVERT_CALL_H

#include <array>
#include <cstdint>

#include "number/digits.h"
#include "vdxcomn/types.h"

namespace vdx {

// The six arguments of the conversion signature.
struct Call {
  vdx_context* context;
  const vdx_datafmt* source_format;
  const void* source;
  const vdx_datafmt* format;  // of the destination
  void* destination;
  std::int32_t* length;
};

// A family is a set of datatype codes that one function serves. Its name is the one that the
// names of conversions use.
enum Family : std::uint8_t {
  family_none,
  family_char,
  family_bin,
  family_i1,
  family_i2,
  family_i4,
  family_i8,
  family_ui2,
  family_ui4,
  family_ui8,
  family_bit,
  family_flt4,
  family_flt8,
  family_money,
  family_mny4,
  family_num,
  family_varchar,
  family_varbin,
  family_unichar,
  family_datetime,
  family_date4,
  family_datea,
  family_timea,
  family_bigdatetime,
  family_bigtime,
  family_sensitivity,
  family_boundary,
  family_xml,
  family_locator,
  family_void,
  // Destinations of functions that serve a part of a family, or many families.
  family_text,   // the code text alone
  family_image,  // the code image alone, as a source too
  family_any,    // whatever void becomes in one way
  kFamilies,
  // Sources of type datetime are called date.
  family_date = family_datetime,
};

inline constexpr std::int32_t kCodes = VDX_DATATYPES;

// The family that a code belongs to as a destination.
inline constexpr std::array<Family, kCodes> kDestinationFamily = {
    family_char,        family_bin,         family_char,     family_bin,     family_char,
    family_bin,         family_i1,          family_i2,       family_i4,      family_flt4,
    family_flt8,        family_bit,         family_datetime, family_date4,   family_money,
    family_mny4,        family_num,         family_num,      family_varchar, family_varbin,
    family_none,        family_sensitivity, family_boundary, family_void,    family_none,
    family_unichar,     family_none,        family_datea,    family_timea,   family_unichar,
    family_i8,          family_ui2,         family_ui4,      family_ui8,     family_xml,
    family_bigdatetime, family_bigtime,     family_locator,  family_locator, family_locator};

// The family that a code belongs to as a source: labels and documents read as text.
inline constexpr std::array<Family, kCodes> kSourceFamily = [] {
  std::array<Family, kCodes> families = kDestinationFamily;
  for (const int code : {VDX_SENSITIVITY, VDX_BOUNDARY, VDX_XML})
    families[static_cast<std::size_t>(code)] = family_char;
  return families;
}();

// Bit c stands for code c.
using Codes = std::uint64_t;

constexpr Codes code(std::int32_t datatype) { return Codes{1} << datatype; }

constexpr Codes codes_of(const std::array<Family, kCodes>& families, Family family) {
  Codes codes = 0;
  for (std::int32_t c = 0; c < kCodes; ++c)
    if (families[static_cast<std::size_t>(c)] == family) codes |= code(c);
  return codes;
}

inline constexpr Codes kTextCodes = codes_of(kSourceFamily, family_char);
inline constexpr Codes kAllCodes = (Codes{1} << kCodes) - 1;
inline constexpr Codes kLocatorCodes = codes_of(kDestinationFamily, family_locator);

// The big calendar types share the conversions of their smaller kin from and to text.
constexpr Family big_kin(Family family) {
  if (family == family_datetime) return family_bigdatetime;
  if (family == family_timea) return family_bigtime;
  return family_none;
}

constexpr bool is_text(Family family) {
  return family == family_char || family == family_varchar || family == family_unichar;
}

// A conversion from text takes every text code, one to text likewise produces every text code.
constexpr Codes accepted_sources(Family family, Family destination) {
  if (family == family_image) return code(VDX_IMAGE);
  Codes codes = codes_of(kSourceFamily, family);
  if (is_text(destination) && big_kin(family) != family_none)
    codes |= codes_of(kSourceFamily, big_kin(family));
  return codes;
}
constexpr Codes accepted_destinations(Family family, Family source = family_none) {
  if (family == family_char) return kTextCodes;
  if (family == family_text) return code(VDX_TEXT);
  if (family == family_image) return code(VDX_IMAGE);
  if (family == family_any) return kAllCodes & ~kLocatorCodes & ~code(VDX_VOID);
  Codes codes = codes_of(kDestinationFamily, family);
  if (is_text(source) && big_kin(family) != family_none)
    codes |= codes_of(kDestinationFamily, big_kin(family));
  return codes;
}

template <Codes Accepted>
inline bool accepts(std::int32_t datatype) {
  if constexpr ((Accepted & (Accepted - 1)) == 0)
    return datatype == std::countr_zero(Accepted);
  else
    return static_cast<std::uint32_t>(datatype) < 64 && (Accepted >> datatype & 1) != 0;
}

inline bool pointers_given(const Call& call) {
  return call.context != nullptr && call.source != nullptr && call.source_format != nullptr &&
         call.destination != nullptr && call.format != nullptr && call.length != nullptr;
}

// Families whose values are as long as their format says.
constexpr bool is_sized(Family family) {
  return family == family_char || family == family_text || family == family_bin ||
         family == family_image || family == family_unichar || family == family_sensitivity ||
         family == family_boundary || family == family_xml || family == family_locator;
}

// True when the caller kept its side: codes that this conversion serves, a source that is there, a
// destination whose room is not negative.
template <Family Source, Family Destination>
inline bool contract_holds(const Call& call) {
  if (!accepts<accepted_sources(Source, Destination)>(call.source_format->datatype)) return false;
  if (!accepts<accepted_destinations(Destination, Source)>(call.format->datatype)) return false;
  if constexpr (is_sized(Source))
    if (call.source_format->maxlength < 1) return false;
  if constexpr (Source == family_varchar || Source == family_varbin)
    if (load<std::int16_t>(call.source) < 1) return false;
  if constexpr (is_sized(Destination))
    if (call.format->maxlength < 0) return false;
  return true;
}

// Report a failed check at the conversion's own file and line; where a handler resumes, the
// conversion returns their result.
[[gnu::cold, gnu::noinline]] std::int32_t pointer_missing(const char* file, std::int32_t line);
[[gnu::cold, gnu::noinline]] std::int32_t contract_broken(const char* file, std::int32_t line);

}  // namespace vdx

#endif
