/* Text of one character set as text of another, and UTF-8 as UTF-16.
 *
 * The sets are "iso_1" (ISO 8859-1), "ascii", "utf8" and "sjis". The last is code page 932: its bytes
 * below 0x80 are ASCII, and its five open single bytes, 0x80, 0xA0 and 0xFD to 0xFF, are no
 * characters.
 *
 * No function here allocates, and none cuts a character. Source and destination must not overlap;
 * both may be at any address.
 * What the parameters of all three mean:
 *
 * source, length       the text and its bytes, 0 or more, or VDX_NULLTERM for a zero-terminated one
 * destination, size    receives the text, without a terminator; size, 0 or more, is its room in
 *                      bytes. A malformed source may leave anything in that room
 * length_out           receives the bytes placed
 *
 * Null pointers, except where they are allowed, are failed checks, other lengths and sizes
 * and locales that are not loaded failed assertions (frame.h): VDX_OVERFLOW with nothing stored
 * where they are resumed. */
#ifndef VDXCOMN_CHARSET_H
#define VDXCOMN_CHARSET_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Text of a locale's character set as text of another locale's.
 *
 * context                              may be null
 * source_locale, destination_locale    null: the context's, or the process-wide default without one
 *
 * Returns
 *   VDX_SUCCESS
 *   VDX_TRUNCATED          the text did not fit: as many whole characters as do are placed
 *   VDX_MALFORMED_UNICODE  UTF-8 that is not well-formed, or a double-byte character that the end
 *                          of the source cuts, anywhere in the source; length_out is 0
 *   VDX_TRANSLATION        the text is complete, but characters that the destination's set lacks
 *                          are question marks, and bytes that are no character of the source's set
 *                          are U+FFFD in UTF-8, else question marks; where it did not fit as well,
 *                          the result is VDX_TRUNCATED
 * Between equal sets, bytes that are no character are copied as they are. */
VDX_API int32_t comn_charset_convert(const vdx_context *context, const vdx_locale *source_locale,
                                     const void *source, int32_t length,
                                     const vdx_locale *destination_locale, void *destination,
                                     int32_t size, int32_t *length_out);

/* Text of a named character set as text of another, without substitutes: it ends before the
 * first character that cannot be placed, and length_out counts what was placed before it.
 *
 * context         may be null; only its record of faults is looked at
 * from, to        zero-terminated names of character sets
 *
 * Returns
 *   VDX_SUCCESS            the text is complete
 *   VDX_TRUNCATED          the next character does not fit
 *   VDX_MALFORMED_UNICODE  the next bytes are no well-formed UTF-8, or a cut double-byte character
 *   VDX_TRANSLATION        the set `to` lacks the next character, or the next bytes are no
 *                          character of the set `from`; also for an unknown name, with
 *                          length_out 0 */
VDX_API int32_t com_intl_xlate(const vdx_context *context, const char *from, const char *to,
                               const void *source, int32_t length, void *destination, int32_t size,
                               int32_t *length_out);

/* UTF-8 as UTF-16 in native byte order. An odd last byte of size stays unused.
 *
 * Returns
 *   VDX_SUCCESS
 *   VDX_TRUNCATED          the text did not fit: as many whole characters as do are placed
 *   VDX_MALFORMED_UNICODE  the source is not well-formed somewhere; length_out is 0 */
VDX_API int32_t com__fou_utf8_to_utf16(const void *source, int32_t length, void *destination,
                                       int32_t size, int32_t *length_out);

VDX_END_DECLS

#endif
