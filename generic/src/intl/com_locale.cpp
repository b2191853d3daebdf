// Locale records.
#include "intl/locale.h"

#include <cstdlib>
#include <new>

#include "frame/allocate.h"
#include "frame/check.h"

void vdx_locale::settle() {
  shows_long = false;
  for (std::int32_t month = 0; month < shown_months.count(); ++month) {
    const char* const name = short_months.table()[month];
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(name);
    const auto length = static_cast<std::int32_t>(std::strlen(name));
    std::int32_t shown = 0;
    for (std::int32_t n = 0; n < vdx::kShownCharacters && shown < length; ++n)
      shown += vdx::char_bytes(*charset->attributes, bytes + shown, length - shown);
    shown_months.set(month, name, shown);
    shows_long |= shown > vdx::kShownCharacters;
  }
  shows_plain = date_style == 0 && !shows_long;
}

namespace vdx {

constinit const vdx_locale kDefaultLocale{kCharsets[0]};

namespace {

bool set_number(std::int32_t& setting, std::int32_t low, std::int32_t high, const void* value,
                std::int32_t length) {
  std::int32_t number;
  if (length != static_cast<std::int32_t>(sizeof number)) return false;
  std::memcpy(&number, value, sizeof number);
  if (number < low || number > high) return false;
  setting = number;
  return true;
}

template <std::int32_t Count>
bool set_name(NameTable<Count>& names, std::int32_t index, const void* value, std::int32_t length) {
  if (index < 0 || index >= Count) return false;
  const bool is_terminated = length == VDX_NULLTERM;
  if (!is_terminated && (length < 1 || length > VDX_LOC_NAME_MAX)) return false;
  const std::size_t limit = is_terminated ? VDX_LOC_NAME_MAX + 1 : static_cast<std::size_t>(length);
  // A terminated name must end within the limit; a name of a given length must hold no zero byte.
  std::size_t bytes = 0;
  while (bytes < limit && static_cast<const char*>(value)[bytes] != '\0') ++bytes;
  if (bytes == 0 || is_terminated == (bytes == limit)) return false;
  names.set(index, static_cast<const char*>(value), static_cast<std::int32_t>(bytes));
  return true;
}

bool set(vdx_locale& locale, std::int32_t what, const void* value, std::int32_t length) {
  switch (what) {
    case VDX_LOC_DATE_ORDER:
      return set_number(locale.date_order, 1, 6, value, length);
    case VDX_LOC_DATE_STYLE:
      return set_number(locale.date_style, INT32_MIN, INT32_MAX, value, length);
    case VDX_LOC_TWELVE_HOUR:
      return set_number(locale.twelve_hour, 0, 1, value, length);
    case VDX_LOC_FIRST_DAY:
      return set_number(locale.first_day, 1, 7, value, length);
    default:
      if (what >= VDX_LOC_WEEKDAY)
        return set_name(locale.weekdays, what - VDX_LOC_WEEKDAY, value, length);
      if (what >= VDX_LOC_SHORT_MONTH)
        return set_name(locale.short_months, what - VDX_LOC_SHORT_MONTH, value, length);
      return what >= VDX_LOC_MONTH && set_name(locale.months, what - VDX_LOC_MONTH, value, length);
  }
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t comn_loc_alloc(vdx_context* context, const char* charset, vdx_locale** locale) {
  VDX_CHECK_POINTER(charset, XS_FAIL);
  VDX_CHECK_POINTER(locale, XS_FAIL);
  *locale = nullptr;
  const vdx::NamedCharset* set = vdx::find_charset(charset);
  if (set == nullptr) return VDX_TRACE(XS_FAIL);
  void* memory = vdx::allocate(context, sizeof(vdx_locale));
  if (memory == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  *locale = new (memory) vdx_locale(*set);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_loc_copy(vdx_context*, const vdx_locale* source, vdx_locale* destination) {
  VDX_CHECK_POINTER(source, XS_FAIL);
  VDX_CHECK_POINTER(destination, XS_FAIL);
  VDX_ASSERT(source->is_loaded() && destination->is_loaded(), XS_FAIL);
  *destination = *source;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_loc_drop(vdx_context*, vdx_locale* locale) {
  VDX_CHECK_POINTER(locale, XS_FAIL);
  VDX_ASSERT(locale->is_loaded(), XS_FAIL);
  // Volatile: else the compiler may drop a store into memory that is about to be freed.
  *const_cast<volatile std::uint32_t*>(&locale->loaded) = 0;
  std::free(locale);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_loc_set(vdx_locale* locale, std::int32_t what, const void* value,
                          std::int32_t length) {
  VDX_CHECK_POINTER(locale, XS_FAIL);
  VDX_CHECK_POINTER(value, XS_FAIL);
  VDX_ASSERT(locale->is_loaded(), XS_FAIL);
  const bool is_set = vdx::set(*locale, what, value, length);
  if (is_set) locale->settle();
  return VDX_TRACE(is_set ? XS_SUCCEED : XS_FAIL);
}

const vdx_charattr* com_get_charattrib(void) { return &vdx::kLatin1; }

const vdx_charattr* com_intl_charattr(const vdx_context* context, const vdx_datafmt* format) {
  VDX_ASSERT(vdx::has_sound_locale(context, format), &vdx::kLatin1);
  return &vdx::attributes_of(context, format);
}

}  // extern "C"
