// Date and time values: breaking down, making, comparing, ranges and moves.
#include "vdxcomn/date.h"

#include "date/calendar.h"
#include "frame/check.h"

static_assert(sizeof(vdx_datetime) == 8 && sizeof(vdx_date4) == 4);
static_assert(offsetof(daterec, reserved) + sizeof(std::int32_t) == VDX_DATEREC_SHORT);

namespace vdx {
namespace {

template <typename Value>
std::int32_t compare(Value a, Value b) {
  return a < b ? -1 : a > b;
}

}  // namespace
}  // namespace vdx

extern "C" {

// crack_day and crack_ticks write their own fields alone, so a short record is safe with both.
void com_datecrack(const vdx_datetime* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_day(value->day, *record);
}

void com_timecrack(const vdx_datetime* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_ticks(value->time, *record);
}

void com__datecrack(const int32_t* day, daterec* record) {
  VDX_CHECK_POINTER(day);
  VDX_CHECK_POINTER(record);
  vdx::crack_day(*day, *record);
}

void com__timecrack(const vdx_datetime* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_ticks(value->time, *record);
  record->fraction = 0;
  record->scale = vdx::kTickScale;
}

void com_bigdatecrack(const vdx_bigdatetime* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_day(vdx::day_of_big(*value), *record);
}

void com__bigdatecrack(const vdx_bigdatetime* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_day(vdx::day_of_big(*value), *record);
}

void com_bigtimecrack(const uint64_t* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_micros(*value, *record);
}

void com__bigtimecrack(const uint64_t* value, daterec* record) {
  VDX_CHECK_POINTER(value);
  VDX_CHECK_POINTER(record);
  vdx::crack_micros(*value, *record);
}

int32_t com_datemake(vdx_datetime* value, const daterec* record) {
  VDX_CHECK_POINTER(value, 0);
  VDX_CHECK_POINTER(record, 0);
  return vdx::make_day(*record, value->day);
}

int32_t com_timemake(vdx_datetime* value, const daterec* record) {
  VDX_CHECK_POINTER(value, 0);
  VDX_CHECK_POINTER(record, 0);
  return vdx::make_ticks(*record, value->time);
}

int32_t com_bigdatemake(vdx_bigdatetime* value, const daterec* record) {
  VDX_CHECK_POINTER(value, 0);
  VDX_CHECK_POINTER(record, 0);
  return vdx::make_bigdate(*record, *value);
}

int32_t com_bigtimemake(vdx_bigtime* value, const daterec* record) {
  VDX_CHECK_POINTER(value, 0);
  VDX_CHECK_POINTER(record, 0);
  return vdx::make_micros(*record, *value);
}

int32_t com_bigdatetimemake(vdx_bigdatetime* value, const daterec* record) {
  VDX_CHECK_POINTER(value, 0);
  VDX_CHECK_POINTER(record, 0);
  return vdx::make_bigdatetime(*record, *value);
}

int32_t com_datecmp(const vdx_datetime* a, const vdx_datetime* b) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  const std::int32_t days = vdx::compare(a->day, b->day);
  return days != 0 ? days : vdx::compare(a->time, b->time);
}

int32_t com_date4cmp(const vdx_date4* a, const vdx_date4* b) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  const std::int32_t days = vdx::compare(a->day, b->day);
  return days != 0 ? days : vdx::compare(a->minute, b->minute);
}

int32_t com_dateacmp(const vdx_datea* a, const vdx_datea* b) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  return vdx::compare(*a, *b);
}

int32_t com_timeacmp(const vdx_timea* a, const vdx_timea* b) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  return vdx::compare(*a, *b);
}

int32_t com_bigdatetimecmp(const vdx_bigdatetime* a, const vdx_bigdatetime* b) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  return vdx::compare(*a, *b);
}

void com_datezero(vdx_datetime* value) {
  VDX_CHECK_POINTER(value);
  *value = {0, 0};
}

void com_date4zero(vdx_date4* value) {
  VDX_CHECK_POINTER(value);
  *value = {0, 0};
}

void com_setdatetime(vdx_datetime* value, int32_t day, int32_t ticks) {
  VDX_CHECK_POINTER(value);
  *value = {day, ticks};
}

int32_t com__datetime_check_range(const vdx_datetime* value) {
  VDX_CHECK_POINTER(value, 0);
  return !vdx::datetime_in_range(*value);
}

int32_t com__datea_check_range(const vdx_datea* value) {
  VDX_CHECK_POINTER(value, 0);
  return !vdx::datea_in_range(*value);
}

int32_t com__timea_check_range(const vdx_timea* value) {
  VDX_CHECK_POINTER(value, 0);
  return !vdx::timea_in_range(*value);
}

void com__date4todt(const vdx_date4* source, vdx_datetime* destination) {
  VDX_CHECK_POINTER(source);
  VDX_CHECK_POINTER(destination);
  *destination = vdx::datetime_of_date4(*source);
}

int32_t com__dateatodate(const vdx_datea* source, vdx_datetime* destination) {
  VDX_CHECK_POINTER(source, 0);
  VDX_CHECK_POINTER(destination, 0);
  *destination = {*source, 0};
  if (vdx::datetime_in_range(*destination)) return 0;
  destination->day = 0;
  return 1;
}

}  // extern "C"
