// The locale record, and which locale governs a value.
//
// A locale belongs to whoever allocated it; formats and contexts point to it. It carries a magic
// number so that one that was dropped is noticed.
#ifndef VDX_INTL_LOCALE_H
#define VDX_INTL_LOCALE_H

#include <cstdint>
#include <cstring>
#include <iterator>

#include "intl/charattr.h"
#include "vdxcomn/intl.h"
#include "vdxcomn/types.h"

namespace vdx {

// A set of names: their bytes, and the table of pointers to them that readers and writers of dates
// take. The pointers lead into the record itself, so assignment copies the bytes alone.
template <std::int32_t Count>
class NameTable {
 public:
  constexpr explicit NameTable(const char* const (&names)[Count]) {
    for (std::int32_t i = 0; i < Count; ++i) {
      for (std::int32_t at = 0; names[i][at] != '\0'; ++at) bytes_[i][at] = names[i][at];
      pointers_[i] = bytes_[i];
    }
  }
  NameTable(const NameTable&) = delete;
  NameTable& operator=(const NameTable& other) {
    std::memmove(bytes_, other.bytes_, sizeof bytes_);
    return *this;
  }

  static constexpr std::int32_t count() { return Count; }
  const char* const* table() const { return pointers_; }

  // length: 1 to VDX_LOC_NAME_MAX
  void set(std::int32_t index, const char* name, std::int32_t length) {
    std::memmove(bytes_[index], name, static_cast<std::size_t>(length));
    bytes_[index][length] = '\0';
  }

 private:
  char bytes_[Count][VDX_LOC_NAME_MAX + 1] = {};
  const char* pointers_[Count] = {};
};

// The characters of a month's name that dates show, and their most bytes.
inline constexpr std::int32_t kShownCharacters = 9;
inline constexpr std::int32_t kShownBytes = 4 * kShownCharacters;

inline constexpr const char* kEnglishMonths[] = {"January",   "February", "March",    "April",
                                                 "May",       "June",     "July",     "August",
                                                 "September", "October",  "November", "December"};
inline constexpr const char* kEnglishShortMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
inline constexpr const char* kEnglishWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};

}  // namespace vdx

struct vdx_locale {
  static constexpr std::uint32_t kLoaded = 0x4C6F6361;  // magic number, cleared by comn_loc_drop

  constexpr explicit vdx_locale(const vdx::NamedCharset& set)
      : charset(&set),
        months(vdx::kEnglishMonths),
        short_months(vdx::kEnglishShortMonths),
        shown_months(vdx::kEnglishShortMonths),
        weekdays(vdx::kEnglishWeekdays) {}
  vdx_locale& operator=(const vdx_locale&) = default;

  bool is_loaded() const { return loaded == kLoaded; }

  // Computes the members that depend on other settings: shown_months, shows_long and shows_plain.
  void settle();

  std::uint32_t loaded = kLoaded;
  const vdx::NamedCharset* charset;
  std::int32_t date_order = 1;   // 1 to 6
  std::int32_t date_style = 0;   // as it was set, not checked against the styles there are
  std::int32_t twelve_hour = 0;  // 1 or 0
  std::int32_t first_day = 7;    // 1 Monday to 7 Sunday
  vdx::NameTable<12> months;     // from January
  vdx::NameTable<12> short_months;
  vdx::NameTable<12> shown_months;  // the short names, cut to kShownCharacters
  vdx::NameTable<7> weekdays;       // from Sunday
  bool shows_long = false;          // a shown name has more bytes than the formatters take
  bool shows_plain = true;          // date_style is 0, and no shown name is long
};

namespace vdx {

VDX_HIDDEN extern const vdx_locale kDefaultLocale;

// Which locale governs a value or a call: the one that is named, else the context's, else none;
// both arguments may be null. An exported function checks it with has_sound_locale before anything
// is read of it; the getters below check nothing.
inline const vdx_locale* given_locale(const vdx_context* context, const vdx_locale* locale) {
  return locale == nullptr && context != nullptr ? context->locale : locale;
}

// The same for a value with a data-format record, which may be null.
inline const vdx_locale* given_locale(const vdx_context* context, const vdx_datafmt* format) {
  return given_locale(context, format != nullptr ? format->locale : nullptr);
}

// Whether the governing locale may be read: there is none, or it is loaded.
template <typename Giver = vdx_locale>
inline bool has_sound_locale(const vdx_context* context, const Giver* giver = nullptr) {
  const vdx_locale* locale = given_locale(context, giver);
  return locale == nullptr || locale->is_loaded();
}

// The governing locale, or the process-wide default.
template <typename Giver = vdx_locale>
inline const vdx_locale& locale_of(const vdx_context* context, const Giver* giver = nullptr) {
  const vdx_locale* locale = given_locale(context, giver);
  return locale != nullptr ? *locale : kDefaultLocale;
}

// Its character attributes; without a locale no record is read to find them.
template <typename Giver>
inline const vdx_charattr& attributes_of(const vdx_context* context, const Giver* giver) {
  const vdx_locale* locale = given_locale(context, giver);
  return locale != nullptr ? *locale->charset->attributes : kLatin1;
}

}  // namespace vdx

#endif
