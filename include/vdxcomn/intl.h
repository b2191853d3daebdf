/* Locales and the attributes of their character sets.
 *
 * A locale says how the bytes of a text form characters and how dates are read and shown. It
 * belongs to whoever allocated it; contexts and data-format records only point to it and must not
 * outlive it. Setting a locale while others read it needs a lock of the caller's; reading one does
 * not. Where neither a format nor a context has a locale the process-wide default holds: ISO
 * 8859-1, month-day-year, date style 0, a 24-hour clock, weeks from Sunday, English names.
 *
 * Null pointers and locales that are not loaded (dropped, or never allocated) are failed checks
 * (frame.h) except where noted; where such a check is resumed, a function here returns
 * 0 or null and changes nothing. */
#ifndef VDXCOMN_INTL_H
#define VDXCOMN_INTL_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* What comn_loc_set sets. Numbers are read from an int32_t; names are copied. The clock is kept for
 * the caller: no call of the library reads it, comn_time has an argument of its own. */
enum {
  VDX_LOC_DATE_ORDER = 1,    /* order of a numeric date: 1 month-day-year, 2 day-month-year,
                              3 year-month-day, 4 year-day-month, 5 month-year-day,
                              6 day-year-month */
  VDX_LOC_DATE_STYLE = 2,    /* style of dates as text; any number, unknown ones count as 0 */
  VDX_LOC_TWELVE_HOUR = 3,   /* 1: clock of twelve hours, 0: of twenty-four */
  VDX_LOC_FIRST_DAY = 4,     /* first day of the week, 1 Monday to 7 Sunday */
  VDX_LOC_MONTH = 100,       /* full name of a month: + 0 January to + 11 December */
  VDX_LOC_SHORT_MONTH = 200, /* short name of a month, likewise */
  VDX_LOC_WEEKDAY = 300      /* name of a weekday: + 0 Sunday to + 6 Saturday */
};

/* Longest name of a month or weekday, in bytes. */
#define VDX_LOC_NAME_MAX 63

/* Makes a locale of a character set with the settings of the default locale.
 *
 * context  its allocation callback provides the memory; may be null: malloc
 * charset  zero-terminated: "iso_1", "ascii", "utf8" or "sjis", which is code page 932 (charset.h)
 * locale   receives the locale, the caller's to drop; null on failure
 *
 * Returns XS_SUCCEED, XS_FAIL for an unknown character set, XS_MEM_ERROR without memory. */
VDX_API int32_t comn_loc_alloc(vdx_context *context, const char *charset, vdx_locale **locale);

/* Gives destination, which must be allocated, the character set, settings and names of source.
 * context is not looked at and may be null. Returns XS_SUCCEED. */
VDX_API int32_t comn_loc_copy(vdx_context *context, const vdx_locale *source,
                              vdx_locale *destination);

/* Releases a locale with free(). context is not looked at and may be null. Returns XS_SUCCEED. */
VDX_API int32_t comn_loc_drop(vdx_context *context, vdx_locale *locale);

/* Changes one setting of a locale.
 *
 * what    VDX_LOC_ value, with the number of the month or weekday added for a name
 * value   an int32_t, or the bytes of a name in the locale's character set, without zero bytes
 * length  bytes of value: 4 for an int32_t; 1 to VDX_LOC_NAME_MAX for a name, or VDX_NULLTERM for
 *         a zero-terminated one
 *
 * Returns XS_SUCCEED, or XS_FAIL with nothing changed for an unknown setting or a value or length
 * outside the setting's range. */
VDX_API int32_t comn_loc_set(vdx_locale *locale, int32_t what, const void *value, int32_t length);

/* What a locale says of dates. Each reader takes a locale or, where it is null, the context's; both
 * may be null: the process-wide default. */

/* The date style as it was set, known or not; 0 where none was. */
VDX_API int32_t comn_intl_get_dtfmt(const vdx_context *context, const vdx_locale *locale);

/* The style that dates and times become text in: the locale's date style where it is one that
 * dateformat.h lists, else 0. */
VDX_API uint32_t comn_get_datetochar_fmt(const vdx_context *context, const vdx_locale *locale);

/* The order of a numeric date, 1 to 6 (VDX_LOC_DATE_ORDER). */
VDX_API int32_t com_intl_dateorder(const vdx_context *context, const vdx_locale *locale);

/* The first day of the week, 1 Monday to 7 Sunday. */
VDX_API int32_t com_intl_firstday(const vdx_context *context, const vdx_locale *locale);

/* The names of a month and of a weekday, in the locale's character set and without a zero byte.
 *
 * month     0 January to 11 December
 * is_short  not 0: the short name
 * day       0 Sunday to 6 Saturday
 * buffer    receives the name; size, 0 or more, is its length in bytes: VDX_LOC_NAME_MAX always do
 * length    receives the bytes placed
 *
 * Returns VDX_SUCCESS; VDX_INVALID with length 0 for a number out of range; VDX_OVERFLOW where
 * buffer is too short, with the first bytes placed. Null buffers and lengths, a negative size and a
 * locale that is not loaded are failed checks, VDX_OVERFLOW with nothing stored where they are
 * resumed. */
VDX_API int32_t comn_intl_month(const vdx_context *context, const vdx_locale *locale, int32_t month,
                                int32_t is_short, char *buffer, int32_t size, int32_t *length);
VDX_API int32_t comn_intl_day(const vdx_context *context, const vdx_locale *locale, int32_t day,
                              char *buffer, int32_t size, int32_t *length);

/* A date or time as text with the locale's short month names, nine characters of each at most: in
 * the style of comn_get_datetochar_fmt, or in the given one.
 *
 * style     a number that dateformat.h lists
 * datatype  VDX_DATETIME, VDX_DATE4, VDX_DATEA, VDX_TIMEA, VDX_BIGDATETIME or VDX_BIGTIME
 * value     of that type; may be unaligned
 * buffer    receives the text without a zero byte; size, 0 or more, is its length in bytes
 * length    receives the bytes placed, 0 on any failure but VDX_OVERFLOW
 *
 * Returns VDX_SUCCESS; VDX_OVERFLOW where buffer is too short, with the first bytes placed;
 * VDX_BAD_STYLE for a style without a layout; VDX_INVALID for a value outside its type's range.
 * Null pointers (other than context and locale), a negative size, a locale that is not loaded and
 * other datatypes are failed checks, VDX_OVERFLOW with nothing stored where they are resumed. */
VDX_API int32_t comn_dtloc_format(const vdx_context *context, const vdx_locale *locale,
                                  int32_t datatype, const void *value, char *buffer, int32_t size,
                                  int32_t *length);
VDX_API int32_t comn_dtloc_format_fmt(const vdx_context *context, const vdx_locale *locale,
                                      uint32_t style, int32_t datatype, const void *value,
                                      char *buffer, int32_t size, int32_t *length);

/* The character attributes of the process-wide default locale; never null. */
VDX_API const vdx_charattr *com_get_charattrib(void);

/* The character attributes of a value: those of the format's locale, else of the context's, else
 * the process-wide ones, also where the check of a locale that is not loaded was resumed. Either
 * argument may be null. The record lives as long as the process. */
VDX_API const vdx_charattr *com_intl_charattr(const vdx_context *context,
                                              const vdx_datafmt *format);

/* The functions below look at the first character of `length` bytes, at least 1 (else a failed
 * assertion). A character cut short by length has no class and no ASCII form. */

/* Bytes of the whole character, 1 to 4, told by its first byte and, where length shows it, the
 * second; may be more than length. A byte that starts no character counts as one of 1 byte. */
VDX_API int32_t comn_whole_char(const vdx_charattr *attributes, const uint8_t *character,
                                int32_t length);

/* The ASCII code (1 to 127) of the character or of the character that it is a wide form of; 0
 * where there is none, and for a zero byte. */
VDX_API int32_t comn_to_ascii(const vdx_charattr *attributes, const uint8_t *character,
                              int32_t length);

/* 1 where the character is of the class, else 0. Digits are those that numbers are read from,
 * ASCII and full-width; blanks are the C white space and the full-width blank; currency signs
 * count as punctuation as well, as do all other signs. Case is known of letters of one and two
 * bytes and of full-width letters; a letter without case, such as an ideograph, is neither upper
 * nor lower. */
VDX_API int32_t comn_isalpha(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_isupper(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_islower(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_isdigit(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_isalnum(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_isspace(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_ispunct(const vdx_charattr *attributes, const uint8_t *c, int32_t length);
VDX_API int32_t comn_iscurrency(const vdx_charattr *attributes, const uint8_t *c, int32_t length);

/* Changes the case of the single-byte letters of a text in place; characters of several bytes,
 * and letters whose other case the set does not hold in one byte, stay. length 0 changes nothing,
 * less is a failed assertion. */
VDX_API void comn_to_upper(const vdx_charattr *attributes, uint8_t *text, int32_t length);
VDX_API void comn_to_lower(const vdx_charattr *attributes, uint8_t *text, int32_t length);

VDX_END_DECLS

#endif
