// Date and time values: breaking down, making, comparing, ranges and moves.
#include "vdxcomn/date.h"

#include "date/calendar.h"
#include "frame/check.h"

static_assert(sizeof(vdx_datetime) == 8 && sizeof(vdx_date4) == 4);
static_assert(offsetof(daterec, reserved) + sizeof(std::int32_t) == VDX_DATEREC_SHORT);

namespace vdx {
namespace {

// Not one of these writes beyond its own fields, so cracking the day and the ticks is safe with a
// short record.
void crack_date(const vdx_datetime& value, daterec& record) { crack_day(value.day, record); }
void crack_day_word(const std::int32_t& day, daterec& record) { crack_day(day, record); }
void crack_bigdate(const vdx_bigdatetime& value, daterec& record) {
  crack_day(day_of_big(value), record);
}
void crack_bigtime(const std::uint64_t& value, daterec& record) { crack_micros(value, record); }
void crack_time(const vdx_datetime& value, daterec& record) { crack_ticks(value.time, record); }
void crack_time_and_scale(const vdx_datetime& value, daterec& record) {
  crack_ticks(value.time, record);
  record.fraction = 0;
  record.scale = kTickScale;
}

std::int32_t make_date(const daterec& record, vdx_datetime& value) {
  return make_day(record, value.day);
}
std::int32_t make_time(const daterec& record, vdx_datetime& value) {
  return make_ticks(record, value.time);
}

template <typename Value>
std::int32_t compare(const Value& a, const Value& b) {
  return a < b ? -1 : a > b;
}
std::int32_t compare(const vdx_datetime& a, const vdx_datetime& b) {
  const std::int32_t days = compare(a.day, b.day);
  return days != 0 ? days : compare(a.time, b.time);
}
std::int32_t compare(const vdx_date4& a, const vdx_date4& b) {
  const std::int32_t days = compare(a.day, b.day);
  return days != 0 ? days : compare(a.minute, b.minute);
}

}  // namespace
}  // namespace vdx

// The functions come in families of one shape; each is on a line of its own, which its checks
// report.

#define VDX_CRACK(name, Value, crack)              \
  void name(const Value* value, daterec* record) { \
    VDX_CHECK_POINTER(value);                      \
    VDX_CHECK_POINTER(record);                     \
    vdx::crack(*value, *record);                   \
  }

#define VDX_MAKE(name, Value, make)                        \
  std::int32_t name(Value* value, const daterec* record) { \
    VDX_CHECK_POINTER(value, 0);                           \
    VDX_CHECK_POINTER(record, 0);                          \
    return vdx::make(*record, *value);                     \
  }

#define VDX_COMPARE(name, Value)                      \
  std::int32_t name(const Value* a, const Value* b) { \
    VDX_CHECK_POINTER(a, 0);                          \
    VDX_CHECK_POINTER(b, 0);                          \
    return vdx::compare(*a, *b);                      \
  }

#define VDX_RANGE(name, Value, in_range)  \
  std::int32_t name(const Value* value) { \
    VDX_CHECK_POINTER(value, 0);          \
    return !vdx::in_range(*value);        \
  }

extern "C" {

VDX_CRACK(com_datecrack, vdx_datetime, crack_date)
VDX_CRACK(com__datecrack, std::int32_t, crack_day_word)
VDX_CRACK(com_timecrack, vdx_datetime, crack_time)
VDX_CRACK(com__timecrack, vdx_datetime, crack_time_and_scale)
VDX_CRACK(com_bigdatecrack, vdx_bigdatetime, crack_bigdate)
VDX_CRACK(com__bigdatecrack, vdx_bigdatetime, crack_bigdate)
VDX_CRACK(com_bigtimecrack, std::uint64_t, crack_bigtime)
VDX_CRACK(com__bigtimecrack, std::uint64_t, crack_bigtime)

VDX_MAKE(com_datemake, vdx_datetime, make_date)
VDX_MAKE(com_timemake, vdx_datetime, make_time)
VDX_MAKE(com_datetimemake, vdx_datetime, make_datetime)
VDX_MAKE(com_bigdatemake, vdx_bigdatetime, make_bigdate)
VDX_MAKE(com_bigtimemake, vdx_bigtime, make_micros)
VDX_MAKE(com_bigdatetimemake, vdx_bigdatetime, make_bigdatetime)

VDX_COMPARE(com_datecmp, vdx_datetime)
VDX_COMPARE(com_date4cmp, vdx_date4)
VDX_COMPARE(com_dateacmp, vdx_datea)
VDX_COMPARE(com_timeacmp, vdx_timea)
VDX_COMPARE(com_bigdatetimecmp, vdx_bigdatetime)

VDX_RANGE(com__datetime_check_range, vdx_datetime, datetime_in_range)
VDX_RANGE(com__datea_check_range, vdx_datea, datea_in_range)
VDX_RANGE(com__timea_check_range, vdx_timea, timea_in_range)

void com_datezero(vdx_datetime* value) {
  VDX_CHECK_POINTER(value);
  *value = {0, 0};
}

void com_date4zero(vdx_date4* value) {
  VDX_CHECK_POINTER(value);
  *value = {0, 0};
}

void com_setdatetime(vdx_datetime* value, std::int32_t day, std::int32_t ticks) {
  VDX_CHECK_POINTER(value);
  *value = {day, ticks};
}

void com__date4todt(const vdx_date4* source, vdx_datetime* destination) {
  VDX_CHECK_POINTER(source);
  VDX_CHECK_POINTER(destination);
  *destination = vdx::datetime_of_date4(*source);
}

std::int32_t com__dateatodate(const vdx_datea* source, vdx_datetime* destination) {
  VDX_CHECK_POINTER(source, 0);
  VDX_CHECK_POINTER(destination, 0);
  *destination = {*source, 0};
  if (vdx::datetime_in_range(*destination)) return 0;
  destination->day = 0;
  return 1;
}

}  // extern "C"
