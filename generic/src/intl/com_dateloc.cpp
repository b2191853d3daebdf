// The settings and names of a locale that concern dates.
#include "frame/check.h"
#include "intl/locale.h"

namespace vdx {
namespace {

template <std::int32_t Count>
std::int32_t copy_name(const NameTable<Count>& names, std::int32_t index, char* buffer,
                       std::int32_t size, std::int32_t& length) {
  length = 0;
  if (index < 0 || index >= Count) return VDX_INVALID;
  const char* const name = names.table()[index];
  const auto bytes = static_cast<std::int32_t>(std::strlen(name));
  length = bytes < size ? bytes : size;
  std::memcpy(buffer, name, static_cast<std::size_t>(length));
  return bytes <= size ? VDX_SUCCESS : VDX_OVERFLOW;
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t comn_intl_get_dtfmt(const vdx_context* context, const vdx_locale* locale) {
  VDX_ASSERT(vdx::has_sound_locale(context, locale), 0);
  return vdx::locale_of(context, locale).date_style;
}

std::int32_t com_intl_dateorder(const vdx_context* context, const vdx_locale* locale) {
  VDX_ASSERT(vdx::has_sound_locale(context, locale), 0);
  return vdx::locale_of(context, locale).date_order;
}

std::int32_t com_intl_firstday(const vdx_context* context, const vdx_locale* locale) {
  VDX_ASSERT(vdx::has_sound_locale(context, locale), 0);
  return vdx::locale_of(context, locale).first_day;
}

std::int32_t comn_intl_month(const vdx_context* context, const vdx_locale* locale,
                             std::int32_t month, std::int32_t is_short, char* buffer,
                             std::int32_t size, std::int32_t* length) {
  VDX_CHECK_POINTER(buffer, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(size >= 0 && vdx::has_sound_locale(context, locale), VDX_OVERFLOW);
  const vdx_locale& chosen = vdx::locale_of(context, locale);
  return vdx::copy_name(is_short != 0 ? chosen.short_months : chosen.months, month, buffer, size,
                        *length);
}

std::int32_t comn_intl_day(const vdx_context* context, const vdx_locale* locale, std::int32_t day,
                           char* buffer, std::int32_t size, std::int32_t* length) {
  VDX_CHECK_POINTER(buffer, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(size >= 0 && vdx::has_sound_locale(context, locale), VDX_OVERFLOW);
  return vdx::copy_name(vdx::locale_of(context, locale).weekdays, day, buffer, size, *length);
}

}  // extern "C"
