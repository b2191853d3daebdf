// One call of a conversion, the families behind the datatype codes, and the checks that every
// conversion makes before it looks at a value.
#ifndef VDX_CONVERT_CALL_H
#define VDX_CONVERT_CALL_H

#include <array>
#include <cstdint>

#include "intl/locale.h"
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
  // Where the pair reads a character set: that of the source's text and of the destination's.
  const vdx_charattr* source_set = nullptr;
  const vdx_charattr* set = nullptr;
};

// A family is a set of datatype codes that one function serves. Its name is the one that the
// names of conversions use.
enum Family : std::uint8_t {
  family_none,
#define FAMILY(name, ...) family_##name,
#include "lists/datatypes.list"
  kFamilies,
#define ALIAS(name, family) family_##name = family_##family,
#include "lists/datatypes.list"
};

enum class Group : std::uint8_t { nothing, number, numeric, calendar, text, utf16, bytes, handle };
enum class Extent : std::uint8_t { none, fixed, sized, counted };

// What the list of datatypes says of each family.
struct FamilyTraits {
  Group group = Group::nothing;
  Extent extent = Extent::none;
  Family big = family_none;
};

inline constexpr std::array<FamilyTraits, kFamilies> kFamilyTraits = {{
    {},
#define FAMILY(name, group, extent, big, ...) {Group::group, Extent::extent, family_##big},
#include "lists/datatypes.list"
}};

constexpr Group group_of(Family family) { return kFamilyTraits[family].group; }
constexpr Extent extent_of(Family family) { return kFamilyTraits[family].extent; }

// The big calendar types share the conversions of the smaller ones from and to text.
constexpr Family big_of(Family family) { return kFamilyTraits[family].big; }
constexpr Family small_of(Family family) {
  for (std::size_t i = 0; i < kFamilies; ++i)
    if (family != family_none && kFamilyTraits[i].big == family) return static_cast<Family>(i);
  return family;
}

inline constexpr std::int32_t kCodes = VDX_DATATYPES;

#define DATATYPE(code, name, ...)   \
  static_assert(VDX_##name == code, \
                "types.h and the list of datatypes have one code for a datatype");
#include "lists/datatypes.list"

// The family that a code belongs to as a destination, and as a source.
inline constexpr std::array<Family, kCodes> kDestinationFamily = [] {
  std::array<Family, kCodes> families{};
#define DATATYPE(code, name, source, destination, ...) families[code] = family_##destination;
#include "lists/datatypes.list"
  return families;
}();
inline constexpr std::array<Family, kCodes> kSourceFamily = [] {
  std::array<Family, kCodes> families{};
#define DATATYPE(code, name, source, ...) families[code] = family_##source;
#include "lists/datatypes.list"
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

constexpr bool is_text(Family family) {
  return group_of(family) == Group::text || group_of(family) == Group::utf16;
}

// A conversion from text takes every text code, one to text likewise produces every text code.
constexpr Codes accepted_sources(Family family, Family destination) {
  if (family == family_image) return code(VDX_IMAGE);
  Codes codes = codes_of(kSourceFamily, family);
  if (is_text(destination) && big_of(family) != family_none)
    codes |= codes_of(kSourceFamily, big_of(family));
  return codes;
}
constexpr Codes accepted_destinations(Family family, Family source = family_none) {
  if (family == family_char) return kTextCodes;
  if (family == family_text) return code(VDX_TEXT);
  if (family == family_image) return code(VDX_IMAGE);
  if (family == family_any) return kAllCodes & ~kLocatorCodes & ~code(VDX_VOID);
  Codes codes = codes_of(kDestinationFamily, family);
  if (is_text(source) && big_of(family) != family_none)
    codes |= codes_of(kDestinationFamily, big_of(family));
  return codes;
}

template <Codes Accepted>
inline bool accepts(std::int32_t datatype) {
  if constexpr ((Accepted & (Accepted - 1)) == 0)
    return datatype == std::countr_zero(Accepted);
  else
    return static_cast<std::uint32_t>(datatype) < 64 && (Accepted >> datatype & 1) != 0;
}

// Which locales a pair reads. The source's gives the character set of text, and the names of months
// that calendar values are read with; the destination's gives the set of text, and the style of
// calendar values. UTF-16 has no set of its own.
constexpr bool reads_source_locale(Family source, Family destination) {
  return group_of(source) == Group::text ||
         (group_of(source) == Group::utf16 && group_of(destination) == Group::calendar);
}
constexpr bool reads_destination_locale(Family source, Family destination) {
  if (group_of(source) == Group::calendar) return is_text(destination);
  return is_text(source) && group_of(destination) == Group::text;
}

inline bool pointers_given(const Call& call) {
  return call.context != nullptr && call.source != nullptr && call.source_format != nullptr &&
         call.destination != nullptr && call.format != nullptr && call.length != nullptr;
}

// The character set of a value; false where its locale is not loaded.
inline bool find_set(const vdx_context* context, const vdx_datafmt* format,
                     const vdx_charattr*& set) {
  const vdx_locale* const locale = given_locale(context, format);
  set = &kLatin1;
  if (locale == nullptr) [[likely]]
    return true;
  if (!locale->is_loaded()) return false;
  set = locale->charset->attributes;
  return true;
}

// True when the caller kept its side: codes that this conversion serves, a source that is there, a
// destination whose room is not negative, locales that are loaded where they are read. Then the
// call knows the character sets that it reads.
template <Family Source, Family Destination>
inline bool contract_holds(Call& call) {
  if (!accepts<accepted_sources(Source, Destination)>(call.source_format->datatype)) return false;
  if (!accepts<accepted_destinations(Destination, Source)>(call.format->datatype)) return false;
  if constexpr (extent_of(Source) == Extent::sized)
    if (call.source_format->maxlength < 1) return false;
  if constexpr (extent_of(Source) == Extent::counted)
    if (load<std::int16_t>(call.source) < 1) return false;
  if constexpr (extent_of(Destination) == Extent::sized)
    if (call.format->maxlength < 0) return false;
  if constexpr (reads_source_locale(Source, Destination))
    if (!find_set(call.context, call.source_format, call.source_set)) return false;
  if constexpr (reads_destination_locale(Source, Destination))
    if (!find_set(call.context, call.format, call.set)) return false;
  return true;
}

// Report a failed check at the conversion's own file and line; where a handler resumes, the conversion
// returns what they return.
[[gnu::cold, gnu::noinline]] std::int32_t pointer_missing(const char* function, const char* file,
                                                          std::int32_t line);
[[gnu::cold, gnu::noinline]] std::int32_t contract_broken(const char* function, const char* file,
                                                          std::int32_t line);

}  // namespace vdx

#endif
