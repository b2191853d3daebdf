// Dates and times from text.
#include "vdxcomn/dateparse.h"

#include "date/parse.h"
#include "frame/check.h"

// The pointers that every function but the clock's has, in their order.
#define VDX_CHECK_TEXT()             \
  VDX_CHECK_POINTER(destination, 0); \
  VDX_CHECK_POINTER(text, 0);        \
  VDX_CHECK_POINTER(months, 0);      \
  VDX_CHECK_POINTER(short_months, 0)

extern "C" {

std::int32_t com__datefromchar_mb(vdx_datetime* destination, const std::uint8_t* text,
                                  std::int32_t length, std::int32_t style, std::int32_t order,
                                  const char* const* months, const char* const* short_months,
                                  const vdx_charattr* attributes, std::int32_t* rounded) {
  VDX_CHECK_TEXT();
  VDX_CHECK_POINTER(rounded, 0);
  VDX_ASSERT(length >= 0, 0);
  bool is_rounded;
  const std::int32_t code = vdx::read_datetime(
      {text, length, style, order, months, short_months, attributes}, *destination, is_rounded);
  *rounded = is_rounded;
  return code;
}

std::int32_t com__dateafromchar_mb(vdx_datea* destination, const std::uint8_t* text,
                                   std::int32_t length, std::int32_t style, std::int32_t order,
                                   const char* const* months, const char* const* short_months,
                                   const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_datea({text, length, style, order, months, short_months, attributes},
                         *destination);
}

std::int32_t com__timeafromchar_mb(vdx_timea* destination, const std::uint8_t* text,
                                   std::int32_t length, std::int32_t style, std::int32_t order,
                                   const char* const* months, const char* const* short_months,
                                   const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_timea({text, length, style, order, months, short_months, attributes},
                         *destination);
}

std::int32_t com__bigdatetimefromchar_mb(vdx_bigdatetime* destination, const std::uint8_t* text,
                                         std::int32_t length, std::int32_t style,
                                         std::int32_t order, const char* const* months,
                                         const char* const* short_months,
                                         const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_bigdatetime({text, length, style, order, months, short_months, attributes},
                               *destination);
}

std::int32_t com__bigtimefromchar_mb(vdx_bigtime* destination, const std::uint8_t* text,
                                     std::int32_t length, std::int32_t style, std::int32_t order,
                                     const char* const* months, const char* const* short_months,
                                     const vdx_charattr* attributes) {
  VDX_CHECK_TEXT();
  VDX_ASSERT(length >= 0, 0);
  return vdx::read_bigtime({text, length, style, order, months, short_months, attributes},
                           *destination);
}

std::int32_t com__timefromchar_mb(vdx_datetime* destination, const std::uint8_t* text,
                                  std::int32_t length, std::int32_t style,
                                  const vdx_charattr* attributes, std::int32_t* rounded) {
  VDX_CHECK_POINTER(destination, 0);
  VDX_CHECK_POINTER(text, 0);
  VDX_CHECK_POINTER(rounded, 0);
  VDX_ASSERT(length >= 0, 0);
  bool is_rounded;
  const std::int32_t code = vdx::read_clock({text, length, style, 0, nullptr, nullptr, attributes},
                                            *destination, is_rounded);
  *rounded = is_rounded;
  return code;
}

}  // extern "C"
