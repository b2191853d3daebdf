/* Dates and times as text.
 *
 * Every function here takes a value (of its type, aligned), a buffer, the buffer's length in bytes
 * (negative: unbounded), a style and twelve zero-terminated month names from January (null where no
 * style needs them). Nine characters of a name are shown, and each byte is one: no character set is
 * known here, comn_dtloc_format (intl.h) shows longer ones whole. Values are not checked: one out of
 * range is shown as some text of the style's shape. No zero byte is added.
 *
 * They return the bytes placed; 0 when the text was cut to the length, its first bytes placed; -1
 * for a style without a layout and -2 for a style that shows a month's name without names, with
 * the buffer untouched. A null value or buffer is a failed check (frame.h), -1 where it is resumed.
 *
 * The styles (2008-01-02 13:05:09.123456, short English names):
 *   0, 100     Jan  2 2008  1:05PM            16, 116    Jan  2 2008 13:05:09
 *   1 / 101    01/02/08 / 01/02/2008          17, 117     1:05PM
 *   2 / 102    08.01.02 / 2008.01.02          18, 118    13:05
 *   3 / 103    02/01/08 / 02/01/2008          19          1:05:09:123PM
 *   4 / 104    02.01.08 / 02.01.2008          20         13:05:09:123
 *   5 / 105    02-01-08 / 02-01-2008          21 / 121   08/01/02 13:05:09 / 2008/01/02 13:05:09
 *   6 / 106    02 Jan 08 / 02 Jan 2008        22 / 122   08/01/02  1:05PM / 2008/01/02  1:05PM
 *   7 / 107    Jan 02, 08 / Jan 02,2008       23         2008-01-02T13:05:09
 *   8, 108     13:05:09                       36, 136     1:05:09.123456PM
 *   9, 109     Jan  2 2008  1:05:09:123PM     37, 137    13:05:09.123456
 *   10 / 110   01-02-08 / 01-02-2008          38         Jan  2 08  1:05:09.123456PM
 *   11 / 111   08/01/02 / 2008/01/02          138        Jan  2 2008  1:05:09.123456PM
 *   12 / 112   080102 / 20080102              39         Jan  2 08 13:05:09.123456
 *   13 / 113   08/02/01 / 2008/02/01          139        Jan  2 2008 13:05:09.123456
 *   14 / 114   01/08/02 / 01/2008/02          40         08-01-02 13:05:09.123456
 *   15 / 115   02/08/01 / 02/2008/01          140        2008-01-02 13:05:09.123456
 * Those of the types that count ticks show whole milliseconds, those that count microseconds round
 * theirs to milliseconds: 999,600 microseconds show as 000, and no second is carried. */
#ifndef VDXCOMN_DATEFORMAT_H
#define VDXCOMN_DATEFORMAT_H

#include "vdxcomn/date.h"
#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* A date and time. */
VDX_API int32_t com__datetochar(const vdx_datetime *value, char *buffer, int32_t length,
                                uint32_t style, const char *const *months);
VDX_API int32_t com__date4tochar(const vdx_date4 *value, char *buffer, int32_t length,
                                 uint32_t style, const char *const *months);
VDX_API int32_t com__bigdatetimetochar(const vdx_bigdatetime *value, char *buffer, int32_t length,
                                       uint32_t style, const char *const *months);

/* A date: styles 0 and 9 show it alone (Jan  2 2008), the others as that of midnight. */
VDX_API int32_t com__dateatochar(const vdx_datea *value, char *buffer, int32_t length,
                                 uint32_t style, const char *const *months);

/* A time of day: styles 0 and 9 show it alone ( 1:05PM,  1:05:09:123PM), the others as that of
 * 1900-01-01. A style without a time shows one zero byte, with or without names. */
VDX_API int32_t com__timeatochar(const vdx_timea *value, char *buffer, int32_t length,
                                 uint32_t style, const char *const *months);
VDX_API int32_t com__bigtimetochar(const vdx_bigtime *value, char *buffer, int32_t length,
                                   uint32_t style, const char *const *months);

VDX_END_DECLS

#endif
