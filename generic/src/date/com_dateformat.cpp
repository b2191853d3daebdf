// Dates and times to text.
#include "vdxcomn/dateformat.h"

#include "date/format.h"
#include "frame/check.h"

#define VDX_DATE_FORMAT(name, Value, format)                                                    \
  std::int32_t name(const Value* value, char* buffer, std::int32_t length, std::uint32_t style, \
                    const char* const* months) {                                                \
    VDX_CHECK_POINTER(value, vdx::kUnknownStyle);                                               \
    VDX_CHECK_POINTER(buffer, vdx::kUnknownStyle);                                              \
    return vdx::format(*value, buffer, length, style, months);                                  \
  }

extern "C" {

VDX_DATE_FORMAT(com__datetochar, vdx_datetime, format_datetime)
VDX_DATE_FORMAT(com__date4tochar, vdx_date4, format_date4)
VDX_DATE_FORMAT(com__bigdatetimetochar, vdx_bigdatetime, format_bigdatetime)
VDX_DATE_FORMAT(com__dateatochar, vdx_datea, format_datea)
VDX_DATE_FORMAT(com__timeatochar, vdx_timea, format_timea)
VDX_DATE_FORMAT(com__bigtimetochar, vdx_bigtime, format_bigtime)

}  // extern "C"
