/* Dates and times: values, the broken-down record, comparison, range checks, the current time.
 *
 * The calendar is the proleptic Gregorian one; no value carries a time zone. Day numbers count
 * from 1900-01-01 (day 0) and are negative before it; ticks are 1/300 second.
 *
 * Values and records belong to the caller. Nothing here allocates, takes a lock or keeps a pointer.
 * Null pointers are failed checks (frame.h); where such a check is resumed a function returns 0
 * and changes nothing. */
#ifndef VDXCOMN_DATE_H
#define VDXCOMN_DATE_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* VDX_DATETIME: 1753-01-01 (day -53690) to 9999-12-31 (day 2958463). */
typedef struct vdx_datetime {
  int32_t day;  /* days since 1900-01-01 */
  int32_t time; /* ticks since midnight, 0 to 25,919,999. Only the low 25 bits count, except in
                   com_datecmp */
} vdx_datetime;

/* VDX_DATE4: 1900-01-01 00:00 to 2079-06-06 23:59. */
typedef struct vdx_date4 {
  uint16_t day;    /* days since 1900-01-01 */
  uint16_t minute; /* minutes since midnight, 0 to 1439 */
} vdx_date4;

typedef int32_t vdx_datea; /* VDX_DATEA: day number, -693595 (0001-01-01) to 2958463 (9999-12-31) */
typedef int32_t vdx_timea; /* VDX_TIMEA: ticks since midnight, 0 to 25,919,999 */

/* VDX_BIGDATETIME: microseconds since the start of a year 0 of 366 days; 31,622,400,000,000
 * (0001-01-01) to 315,569,519,999,999,999 (9999-12-31 23:59:59.999999). */
typedef uint64_t vdx_bigdatetime;

typedef uint64_t vdx_bigtime; /* VDX_BIGTIME: microseconds since midnight, 0 to 86,399,999,999 */

/* A broken-down date and time. Its first ten fields alone are the short record. */
typedef struct daterec {
  int32_t year;        /* 1 to 9999 */
  int32_t month;       /* 0 January to 11 December */
  int32_t day;         /* day of the month, from 1 */
  int32_t day_of_year; /* from 1 */
  int32_t weekday;     /* 0 Sunday to 6 Saturday */
  int32_t hour;        /* 0 to 23 */
  int32_t minute;      /* 0 to 59 */
  int32_t second;      /* 0 to 59 */
  int32_t millisecond; /* 0 to 999 */
  int32_t reserved;    /* neither read nor written by the library */
  int32_t fraction;    /* the part below the second, in units of 1/scale */
  int32_t scale;       /* 300 for datetime and timea, whose fraction is 0; 1,000,000 for
                          bigdatetime and bigtime, whose millisecond is 0 */
} daterec;

/* Bytes of a short record: those of the first ten fields. */
#define VDX_DATEREC_SHORT ((size_t)40)

/* Breaking values down ("crack"). Each fills the fields that it names and leaves the others.
 * Nothing is checked: a day number outside 0001 to 9999 gives a year outside that range, a time of
 * more than a day an hour above 23; month and weekday are always in range.
 *
 * com_datecrack and com_timecrack never touch a record beyond its tenth field, so a short record
 * may be passed, cast to daterec *. The others take a full record.
 *
 * com_datecrack, com__datecrack   year to weekday, from the day word; com__datecrack takes the
 *                                 address of a day number: a datea, or a datetime's day
 * com_timecrack                   hour to millisecond, from the time word; milliseconds truncate
 * com__timecrack                  hour to millisecond, fraction (0) and scale (300)
 * com_bigdatecrack                year to weekday
 * com_bigtimecrack                hour to millisecond (0), fraction and scale (1,000,000), of a
 *                                 bigtime or of the time of day of a bigdatetime
 * com__bigdatecrack and com__bigtimecrack are the same as the two before. */
VDX_API void com_datecrack(const vdx_datetime *value, daterec *record);
VDX_API void com_timecrack(const vdx_datetime *value, daterec *record);
VDX_API void com__datecrack(const int32_t *day, daterec *record);
VDX_API void com__timecrack(const vdx_datetime *value, daterec *record);
VDX_API void com_bigdatecrack(const vdx_bigdatetime *value, daterec *record);
VDX_API void com__bigdatecrack(const vdx_bigdatetime *value, daterec *record);
VDX_API void com_bigtimecrack(const uint64_t *value, daterec *record);
VDX_API void com__bigtimecrack(const uint64_t *value, daterec *record);

/* Making values of records. Each returns 0, or the first faulty field: 1 year, 2 month, 3 day of
 * the month, 4 hour, 5 minute, 6 second, 7 millisecond or fraction. The day of the year and the
 * weekday are not read. Of the time fields only the upper bounds are tested: negative ones count
 * as negative amounts. Where the scale is 1,000,000 the part below the second is the fraction,
 * else the millisecond.
 *
 * com_datemake         the day word, for years 1 to 9999: dates before 1753 are left to
 *                      com__datetime_check_range. A faulty year leaves day word 0, a faulty month
 *                      the days of the years before, a faulty day those and the days of the
 *                      months before. The time word is never touched.
 * com_timemake         the time word; milliseconds go to the nearest tick, 999 to the last one of
 *                      its second. A faulty hour leaves the time word as it was, another faulty
 *                      field the sum of the fields before it. The day word is never touched.
 * com_datetimemake     both words, as the two before; after a failure 1900-01-01 00:00 for a faulty
 *                      date, midnight of the date for a faulty time
 * com_bigdatemake      midnight of the date; 0 after a failure
 * com_bigtimemake      the time of day; 0 after a failure
 * com_bigdatetimemake  date and time; after a failure 0 for a faulty date, midnight of the date for
 *                      a faulty time */
VDX_API int32_t com_datemake(vdx_datetime *value, const daterec *record);
VDX_API int32_t com_timemake(vdx_datetime *value, const daterec *record);
VDX_API int32_t com_datetimemake(vdx_datetime *value, const daterec *record);
VDX_API int32_t com_bigdatemake(vdx_bigdatetime *value, const daterec *record);
VDX_API int32_t com_bigtimemake(vdx_bigtime *value, const daterec *record);
VDX_API int32_t com_bigdatetimemake(vdx_bigdatetime *value, const daterec *record);

/* Each returns -1, 0 or 1 as a is less than, equal to or greater than b. com_datecmp compares the
 * whole time word as a signed number, the bits above the low 25 included. */
VDX_API int32_t com_datecmp(const vdx_datetime *a, const vdx_datetime *b);
VDX_API int32_t com_date4cmp(const vdx_date4 *a, const vdx_date4 *b);
VDX_API int32_t com_dateacmp(const vdx_datea *a, const vdx_datea *b);
VDX_API int32_t com_timeacmp(const vdx_timea *a, const vdx_timea *b);
VDX_API int32_t com_bigdatetimecmp(const vdx_bigdatetime *a, const vdx_bigdatetime *b);

/* Store 1900-01-01 00:00. */
VDX_API void com_datezero(vdx_datetime *value);
VDX_API void com_date4zero(vdx_date4 *value);

/* Stores a day number and a tick count as they are. */
VDX_API void com_setdatetime(vdx_datetime *value, int32_t day, int32_t ticks);

/* Each returns 0 for a value in range, else 1. Of a datetime only the lower end of the day word is
 * tested, the upper one is kept by com_datemake. */
VDX_API int32_t com__datetime_check_range(const vdx_datetime *value);
VDX_API int32_t com__datea_check_range(const vdx_datea *value);
VDX_API int32_t com__timea_check_range(const vdx_timea *value);

/* A date4 as a datetime; nothing is checked. */
VDX_API void com__date4todt(const vdx_date4 *source, vdx_datetime *destination);

/* A datea as a datetime at midnight. Returns 0, or 1 for a date before 1753, which gives day 0. */
VDX_API int32_t com__dateatodate(const vdx_datea *source, vdx_datetime *destination);

/* The current local time as text and as a record.
 *
 * order        order of the date's three numbers: 1 month/day/year, 2 day/month/year,
 *              3 year/month/day, 4 year/day/month, 5 month/year/day, 6 day/year/month; others count
 *              as 1. Each has two digits, joined by "/".
 * twelve_hour  1: "hh:mm:ss AM" or "PM", the hour of midnight shown as 00; else "hh:mm:ss"
 * buffer       receives date, blank, time and a zero byte; may be null
 * length       bytes of buffer
 * needed       receives the bytes of the text with its zero byte; may be null
 * record       receives year to second, other fields stay; may be null
 *
 * Returns XS_SUCCEED; XS_FAIL where buffer is too short, with only needed stored, or where the
 * platform gives no local time, with nothing stored. */
VDX_API int32_t comn_time(int32_t order, int32_t twelve_hour, char *buffer, int32_t length,
                          int32_t *needed, daterec *record);

VDX_END_DECLS

#endif
