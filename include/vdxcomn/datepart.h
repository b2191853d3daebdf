/* Parts of dates, their names, addition and differences.
 *
 * Values belong to the caller. Nothing here allocates or takes a lock. Null pointers are failed
 * checks (frame.h), except where noted; resumed, a function returns 0 and changes
 * nothing. Values outside of their type's range are never refused by the functions that read a
 * part: the calendar's rules are applied to them all the same. */
#ifndef VDXCOMN_DATEPART_H
#define VDXCOMN_DATEPART_H

#include "vdxcomn/date.h"

VDX_BEGIN_DECLS

/* Parts of a date. */
enum {
  VDX_PART_YEAR = 0,
  VDX_PART_QUARTER = 1,      /* 1 to 4 */
  VDX_PART_MONTH = 2,        /* 1 to 12 */
  VDX_PART_WEEKDAY = 3,      /* 1 to 7, from the first day of the week */
  VDX_PART_DAY = 4,          /* day of the month */
  VDX_PART_DAY_OF_YEAR = 5,  /* 1 to 366 */
  VDX_PART_HOUR = 6,         /* 0 to 23 */
  VDX_PART_MINUTE = 7,       /* 0 to 59 */
  VDX_PART_SECOND = 8,       /* 0 to 59 */
  VDX_PART_MILLISECOND = 9,  /* 0 to 999, truncated */
  VDX_PART_WEEK = 10,        /* 1 to 54: weeks start on Sunday, week 1 holds January 1 */
  VDX_PART_ISO_YEAR = 11,    /* year that the ISO 8601 week belongs to */
  VDX_PART_ISO_WEEK = 12,    /* 1 to 53 */
  VDX_PART_ISO_WEEKDAY = 13, /* 1 Monday to 7 Sunday */
  VDX_PART_MICROSECOND = 14  /* 0 to 999,999 for a bigdatetime, 0 for a datetime */
};

/* A part of a value as a number.
 *
 * part       VDX_PART_ value; any other is a failed assertion, resumed VDX_OVERFLOW
 * first_day  first day of the week, 1 Monday to 7 Sunday: with 7 Sunday is weekday 1. Read for
 *            VDX_PART_WEEKDAY only
 *
 * com_datepart is the same as com__datepart. */
VDX_API int32_t com__datepart(uint32_t part, const vdx_datetime *value, int32_t first_day);
VDX_API int32_t com_datepart(uint32_t part, const vdx_datetime *value, int32_t first_day);
VDX_API int32_t com__bigdatepart(uint32_t part, const vdx_bigdatetime *value, int32_t first_day);

/* A part of a value as text: for VDX_PART_MONTH the full month name and for VDX_PART_WEEKDAY the
 * weekday name of the context's locale, in its character set; for every other part the decimal
 * digits of the number, without leading zeros.
 *
 * context        gives the locale; null, or without a locale: the default one, English. A locale
 *                that is not loaded is a failed assertion, resumed VDX_OVERFLOW
 * part           VDX_PART_ value; any other is a failed assertion, resumed VDX_OVERFLOW
 * buffer         receives the text, without a terminator
 * buffer_length  bytes of buffer; no text is longer than VDX_LOC_NAME_MAX
 * length         receives the bytes of the text, also where the buffer is too short
 *
 * Returns 0, or 1 where the buffer is too short, with nothing written to it. com_datename is the
 * same as com__datename. */
VDX_API int32_t com__datename(const vdx_context *context, uint32_t part, const vdx_datetime *value,
                              char *buffer, int32_t buffer_length, int32_t *length);
VDX_API int32_t com_datename(const vdx_context *context, uint32_t part, const vdx_datetime *value,
                             char *buffer, int32_t buffer_length, int32_t *length);
VDX_API int32_t com__bigdatename(const vdx_context *context, uint32_t part,
                                 const vdx_bigdatetime *value, char *buffer, int32_t buffer_length,
                                 int32_t *length);

/* Adds an amount of a part to a value in place.
 *
 * Years (also VDX_PART_ISO_YEAR), quarters and months keep the day of the month or take the last
 * one of a shorter month, and keep the time. Weekday, day, day of year and ISO weekday add days,
 * week and ISO week seven days each. Hour and below add to the time and carry into the day;
 * milliseconds become the nearest ticks.
 *
 * com__date_add, and com__dateadd_both which is the same, return
 *   0           done. The date may be before 1753: com__datetime_check_range tells
 *   1           the date would leave 0001-01-01 to 9999-12-31, the sum passes 32 bits, or a time
 *               was to be added to a time word out of range. The value is unchanged, except that
 *               years, quarters and months that give a year outside of 1 to 9999 leave day word 0
 *   VDX_OVERFLOW  VDX_PART_MICROSECOND, which a datetime cannot hold; the value is unchanged. Codes
 *               above it are a failed assertion, resumed the same.
 *
 * com__bigdateadd_both is the form for bigdatetime. It takes all parts, microseconds too, and
 * returns 0; 1 where the value given or the result is outside of bigdatetime, with the value
 * unchanged in every case; VDX_OVERFLOW for other codes, after a failed assertion. No amount is too
 * large in itself: the result alone decides. */
VDX_API int32_t com__date_add(uint32_t part, int32_t amount, vdx_datetime *value);
VDX_API int32_t com__dateadd_both(uint32_t part, int32_t amount, vdx_datetime *value);
VDX_API int32_t com__bigdateadd_both(uint32_t part, int32_t amount, vdx_bigdatetime *value);

/* The difference of two values, second minus first, in a part's unit.
 *
 * Year, quarter, month and ISO year count the boundaries between the values; week and ISO week the
 * Sundays. Day and day of year count days, weekday and ISO weekday seven of them, toward zero. Hour
 * and below count whole units that have elapsed, toward zero.
 *
 * com__datediff returns 0, or 1 with nothing stored where the difference passes 32 bits: above
 * 1,491,308 days in minutes, 24,855 days in seconds, 24 days in milliseconds, with any times,
 * and else as the result demands. A millisecond difference is the days' plus that of the times,
 * truncated by itself. For VDX_PART_MICROSECOND and codes above it 0 is returned and nothing
 * stored.
 *
 * com__bigdatediff returns 0, or 1 with nothing stored where a value is outside of bigdatetime or
 * the difference passes 32 bits: that is from 2^31 whole units on, or below -2^31 (68 years in
 * seconds, 24 days in milliseconds, 35 minutes in microseconds). Hour and below count
 * the microseconds between the values, truncated once. For codes above VDX_PART_MICROSECOND 0 is
 * returned and nothing stored. */
VDX_API int32_t com__datediff(uint32_t part, const vdx_datetime *first, const vdx_datetime *second,
                              int32_t *difference);
VDX_API int32_t com__bigdatediff(uint32_t part, const vdx_bigdatetime *first,
                                 const vdx_bigdatetime *second, int32_t *difference);

VDX_END_DECLS

#endif
