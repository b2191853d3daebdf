// Dates and times as a locale shows them.
#include "date/values.h"
#include "frame/check.h"
#include "intl/locale.h"
#include "vdxcomn/intl.h"

namespace vdx {

namespace {

struct Request {
  const vdx_locale& locale;
  std::uint32_t style;
  const void* value;
  char* buffer;
  std::int32_t room;
  std::int32_t& length;
};

template <typename Type>
std::int32_t show_as(const Request& request) {
  request.length = 0;
  if (!Type::is_valid(load<typename Type::Image>(request.value))) return VDX_INVALID;
  const vdx_locale& locale = request.locale;
  return date_text<Type>(request.value, request.style, locale, locale.shows_long, request.buffer,
                         request.room, request.length);
}

using Show = std::int32_t(const Request& request);

// The function that shows values of a datatype; null for a datatype without date and time.
constexpr Show* show_of(std::int32_t datatype) {
  switch (datatype) {
    case VDX_DATETIME:
      return show_as<DatetimeType>;
    case VDX_DATE4:
      return show_as<Date4Type>;
    case VDX_DATEA:
      return show_as<DateaType>;
    case VDX_TIMEA:
      return show_as<TimeaType>;
    case VDX_BIGDATETIME:
      return show_as<BigdatetimeType>;
    case VDX_BIGTIME:
      return show_as<BigtimeType>;
    default:
      return nullptr;
  }
}

}  // namespace
}  // namespace vdx

// The checks of both formatters. Declares `show`, the function of the datatype.
#define VDX_CHECK_SHOWN()                                                        \
  VDX_CHECK_POINTER(value, VDX_OVERFLOW);                                        \
  VDX_CHECK_POINTER(buffer, VDX_OVERFLOW);                                       \
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);                                       \
  VDX_ASSERT(size >= 0 && vdx::has_sound_locale(context, locale), VDX_OVERFLOW); \
  vdx::Show* const show = vdx::show_of(datatype);                                \
  VDX_ASSERT(show != nullptr, VDX_OVERFLOW)

extern "C" {

std::uint32_t comn_get_datetochar_fmt(const vdx_context* context, const vdx_locale* locale) {
  VDX_ASSERT(vdx::has_sound_locale(context, locale), 0);
  return vdx::text_style(vdx::locale_of(context, locale));
}

std::int32_t comn_dtloc_format(const vdx_context* context, const vdx_locale* locale,
                               std::int32_t datatype, const void* value, char* buffer,
                               std::int32_t size, std::int32_t* length) {
  VDX_CHECK_SHOWN();
  const vdx_locale& chosen = vdx::locale_of(context, locale);
  return show({chosen, vdx::text_style(chosen), value, buffer, size, *length});
}

std::int32_t comn_dtloc_format_fmt(const vdx_context* context, const vdx_locale* locale,
                                   std::uint32_t style, std::int32_t datatype, const void* value,
                                   char* buffer, std::int32_t size, std::int32_t* length) {
  VDX_CHECK_SHOWN();
  return show({vdx::locale_of(context, locale), style, value, buffer, size, *length});
}

}  // extern "C"
