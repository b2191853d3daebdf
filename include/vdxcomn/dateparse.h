/* Dates and times from text. One parser for all: share/doc/vdxcomn/dates.md has its
 * grammar in a table.
 *
 * Arguments of every function:
 *
 * destination   receives the value
 * text, length  bytes of the text, at least 0 (else a failed assertion); none after them is read,
 *               and a zero byte ends nothing
 * style         how a date of three numbers is read: 0 and 9 by the order, the year of two or four
 *               digits; 1, 2, 3, 4, 5, 10, 11, 21, 22 and 23 with a year of two digits; 101 to 105,
 *               110 and 111 with a year of four. Any other number makes such a date bad. Nothing
 *               else depends on the style
 * order         of a date of three numbers in styles 0 and 9: 1 month-day-year, 2 day-month-year,
 *               3 year-month-day, 4 year-day-month, 5 month-year-day, 6 day-year-month. A year of
 *               four digits that leads such a date makes the order 3 unless it is 4, so that any
 *               other number will do then; without it one outside of 1 to 6 makes the date bad
 * months        twelve zero-terminated full names of the months from January, in the character set
 *               of the text
 * short_months  likewise their short names, looked at after all full ones
 * attributes    of the text's character set; may be null: then bytes are characters, only those of
 *               ASCII have a meaning
 *
 * Names of months, AM, PM and T are read in any case; wide digits, letters, signs and blanks as
 * their single bytes. Years of two digits are 1950 to 2049.
 *
 * Each returns 0, or
 *   -1  no date or time              -2  a date or time, but something is left over
 *    1  the year, or the time of day, is out of range     2  the month     3  the day of the month
 *    9  AM or PM contradicts the hour
 *
 * Null pointers other than attributes are failed checks; where a check is resumed a function
 * returns 0 and stores nothing. Nothing is allocated, no lock taken, no message built. */
#ifndef VDXCOMN_DATEPARSE_H
#define VDXCOMN_DATEPARSE_H

#include "vdxcomn/date.h"

VDX_BEGIN_DECLS

/* A date with or without time of day (without one: midnight), or a time of day alone, which is on
 * 1900-01-01; a blank text is its midnight. Fractions of a second are rounded to milliseconds
 * inside their second; rounded receives 1 where that lost digits, else 0. A date before 1753 is 1,
 * with the value stored as it was read; after every other failure the value is not to be used. */
VDX_API int32_t com__datefromchar_mb(vdx_datetime *destination, const uint8_t *text, int32_t length,
                                     int32_t style, int32_t order, const char *const *months,
                                     const char *const *short_months,
                                     const vdx_charattr *attributes, int32_t *rounded);

/* The date of such a text, of the years 1 to 9999. What is left over beside a date is ignored, but
 * a time of day has to be a valid one. Stored on success alone. */
VDX_API int32_t com__dateafromchar_mb(vdx_datea *destination, const uint8_t *text, int32_t length,
                                      int32_t style, int32_t order, const char *const *months,
                                      const char *const *short_months,
                                      const vdx_charattr *attributes);

/* The time of day of such a text, in ticks. A date has to be a valid one of the years 1 to 9999,
 * what is left over beside it is ignored. Stored on success alone. */
VDX_API int32_t com__timeafromchar_mb(vdx_timea *destination, const uint8_t *text, int32_t length,
                                      int32_t style, int32_t order, const char *const *months,
                                      const char *const *short_months,
                                      const vdx_charattr *attributes);

/* A time of day alone, on day 0: a date is left over (-2), the name of a month is bad (-1).
 * rounded as above; after a failure the value is not to be used. */
VDX_API int32_t com__timefromchar_mb(vdx_datetime *destination, const uint8_t *text, int32_t length,
                                     int32_t style, const vdx_charattr *attributes,
                                     int32_t *rounded);

/* The same as com__datefromchar_mb in microseconds, for the years 1 to 9999: a time of day alone is on
 * 0001-01-01. Zero after a failure. A time of day out of range has a code for each field: 4 hour, 5
 * minute, 6 second, 7 fraction. */
VDX_API int32_t com__bigdatetimefromchar_mb(vdx_bigdatetime *destination, const uint8_t *text,
                                            int32_t length, int32_t style, int32_t order,
                                            const char *const *months,
                                            const char *const *short_months,
                                            const vdx_charattr *attributes);

/* The time of day of such a text, in microseconds, with the same codes. What is left over beside a
 * date is ignored. Stored on success alone. */
VDX_API int32_t com__bigtimefromchar_mb(vdx_bigtime *destination, const uint8_t *text,
                                        int32_t length, int32_t style, int32_t order,
                                        const char *const *months, const char *const *short_months,
                                        const vdx_charattr *attributes);

VDX_END_DECLS

#endif
