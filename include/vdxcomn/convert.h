/* The conversion table, and the pieces that conversions between text and integers are made of.
 *
 * A caller asks its table once for the function of a pair of datatypes and then calls that
 * function for every value. The built-in conversions themselves are declared in conversions.h. */
#ifndef VDXCOMN_CONVERT_H
#define VDXCOMN_CONVERT_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Gives the context its own copy of the default table and an empty extension list.
 *
 * Memory comes from context->allocate. A second call without com_conv_free takes a new table and
 * leaves the old one unreleased. A null context is reported and ends the process.
 * Returns XS_SUCCEED; XS_MEM_ERROR when the table cannot be allocated: the dimension is set, the
 * table is null, the extension list is as it was. */
VDX_API int32_t com_conv_init(vdx_context *context);

/* The conversion from one datatype to another.
 *
 * source, destination  datatype codes; 0 to 39 are looked up in the table, a pair with a code of
 *                      40 or more in the extension list
 * Returns the function, or null when there is none or a code is negative. The context must have a
 * table: a lookup of built-in codes after com_conv_free is outside the contract. A null context is
 * reported and ends the process. */
VDX_API vdx_convfn com_conv_func(vdx_context *context, int32_t source, int32_t destination);

/* Installs a conversion for a pair of datatypes.
 *
 * source, destination  datatype codes, not negative; a pair with a code of 40 or more goes to the
 *                      extension list, which takes memory from context->allocate
 * function             the conversion; null removes the pair's conversion
 * Returns XS_SUCCEED; XS_MEM_ERROR when an extension entry cannot be allocated, nothing changed
 * then. A null context and a context without a table are reported and end the process. */
VDX_API int32_t com_conv_install(vdx_context *context, int32_t source, int32_t destination,
                                 vdx_convfn function);

/* Restores the default of a pair of datatypes: the built-in conversion or none for built-in codes,
 * none for a pair with a code of 40 or more, whose entry stays.
 *
 * Returns what com_conv_install returns for built-in codes, else XS_SUCCEED. Negative codes are an
 * assertion. */
VDX_API int32_t com_conv_default(vdx_context *context, int32_t source, int32_t destination);

/* Releases the table and the extension list and empties their fields. Returns XS_SUCCEED. A null
 * context is reported and ends the process. */
VDX_API int32_t com_conv_free(vdx_context *context);

/* Reads text as an integer: blanks, one sign, blanks, digits, blanks.
 *
 * text        the bytes, not terminated; may be unaligned
 * length      bytes of text; 0 or less stores 0
 * value       receives the integer
 * attributes  the text's character set, whose wide digits, signs and blanks read as their
 *             single-byte forms; null or a single-byte set: each byte is a character
 * Returns 4 when done, also for text without a digit, which is 0; 0 for a length of 0 or less;
 * -1 on overflow: the signed types hold the value as far as it was read, the unsigned ones their
 * maximum, the 16-bit ones the low 16 bits, or 0 where 32 bits overflow;
 * -2 for any other text: the value before the offending character (16-bit types: 0), and 0 after a
 * second sign, or a minus sign for an unsigned type. Null text and value pointers are reported. */
VDX_API int32_t com__chtoi2_mb(const uint8_t *text, int32_t length, int16_t *value,
                               const vdx_charattr *attributes);
VDX_API int32_t com__chtoi4_mb(const uint8_t *text, int32_t length, int32_t *value,
                               const vdx_charattr *attributes);
VDX_API int32_t com__chtoi8_mb(const uint8_t *text, int32_t length, int64_t *value,
                               const vdx_charattr *attributes);
VDX_API int32_t com__chtoui2_mb(const uint8_t *text, int32_t length, uint16_t *value,
                                const vdx_charattr *attributes);
VDX_API int32_t com__chtoui4_mb(const uint8_t *text, int32_t length, uint32_t *value,
                                const vdx_charattr *attributes);
VDX_API int32_t com__chtoui8_mb(const uint8_t *text, int32_t length, uint64_t *value,
                                const vdx_charattr *attributes);

/* Writes an integer in decimal without a terminator.
 *
 * text  the caller's buffer: size bytes, at least 11 where size is not positive
 * size  room in bytes; not positive: no limit
 * Returns the bytes written; a text longer than a positive size is written as one "*". A null text
 * pointer is reported. */
VDX_API int32_t com__itochar(int32_t value, char *text, int32_t size);

/* Copies the bytes of a fixed-length value into a byte destination, in memory order.
 *
 * source       the value, size bytes
 * size         bytes, at least 1 (asserted)
 * format       of the destination: datatype VDX_BIN, VDX_LONGBIN or VDX_IMAGE and maxlength of at
 *              least 0 (asserted); VDX_FMT_PADNULL fills what is left with zero bytes
 * destination  receives min(size, maxlength) bytes, or maxlength when padded
 * length       receives the bytes written
 * Returns VDX_SUCCESS, or VDX_TRUNCATED when maxlength is below size. Null pointers are reported. */
VDX_API int32_t comn_fixedtobin(const void *source, int32_t size, const vdx_datafmt *format,
                                void *destination, int32_t *length);

/* Copies the bytes of a fixed-length value into a vdx_varbin, in memory order.
 *
 * source       the value, size bytes
 * size         bytes, at least 1 (asserted)
 * format       of the destination: datatype VDX_VARBIN (asserted); flags and maxlength do not matter
 * destination  a vdx_varbin: receives the length min(size, 256) and the bytes
 * length       receives 258, the size of the whole record
 * Returns VDX_SUCCESS, or VDX_OVERFLOW when size is above 256. Null pointers are reported. */
VDX_API int32_t comn_fixedtovarbin(const void *source, int32_t size, const vdx_datafmt *format,
                                   void *destination, int32_t *length);

VDX_END_DECLS

#endif
