/* Money and short money: arithmetic, text, doubles.
 *
 * A money value is a 64-bit, a short money value (vdx_mny4) a 32-bit two's-complement count of
 * ten-thousandths: -922,337,203,685,477.5808 to 922,337,203,685,477.5807, and -214,748.3648 to
 * 214,748.3647. There is one zero.
 *
 * The functions of this header are leaf routines: they check no pointer, take no lock, allocate
 * nothing and keep nothing. Values are passed by address and belong to the caller; a result may be
 * the same object as an operand.
 *
 * Three layers hold the same operations. com__mny and com_mny functions return an internal status:
 *   0 done   1 overflow, or no such operation   2 not a money value   3 division by zero
 * comn_mny functions return the conversion codes instead:
 *   VDX_SUCCESS   VDX_OVERFLOW   VDX_SYNTAX   VDX_ARITHMETIC (division by zero)
 * Functions that return anything else say so. */
#ifndef VDXCOMN_MONEY_H
#define VDXCOMN_MONEY_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Addition and subtraction: result = a + b, result = a - b. On overflow the result is zero. */
VDX_API int32_t com__mnyadd(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t com_mnyadd(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t comn_mnyadd(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t com__mnysub(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t com_mnysub(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t comn_mnysub(const vdx_money *a, const vdx_money *b, vdx_money *result);

/* result = a * b, rounded to four places, halves away from zero. On overflow the result is zero. */
VDX_API int32_t com__mnymul(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t com_mnymul(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t comn_mnymul(const vdx_money *a, const vdx_money *b, vdx_money *result);

/* result = a / b, truncated to four places. On overflow, and on division by zero (status 3,
 * VDX_ARITHMETIC), the result is zero. */
VDX_API int32_t com__mnydiv(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t com_mnydivide(const vdx_money *a, const vdx_money *b, vdx_money *result);
VDX_API int32_t comn_mnydivide(const vdx_money *a, const vdx_money *b, vdx_money *result);

/* Money has no remainder: always 1, for any operands, with the result untouched. */
VDX_API int32_t com__mnyrem(const vdx_money *a, const vdx_money *b, vdx_money *result);

/* result = -a. The smallest money overflows and is the result. */
VDX_API int32_t com__mnyminus(const vdx_money *a, vdx_money *result);
VDX_API int32_t com_mnyminus(const vdx_money *a, vdx_money *result);
VDX_API int32_t comn_mnyminus(const vdx_money *a, vdx_money *result);

/* Adds or subtracts one ten-thousandth in place. On overflow the wrapped value stays: the smallest
 * money after an increment, the largest after a decrement. */
VDX_API int32_t com__mnyinc(vdx_money *value);
VDX_API int32_t com_mnyinc(vdx_money *value);
VDX_API int32_t comn_mnyinc(vdx_money *value);
VDX_API int32_t com_mnydec(vdx_money *value);
VDX_API int32_t comn_mnydec(vdx_money *value);

/* value = value * factor, then the addend, its 32 bits taken as an unsigned number, is added away
 * from zero: -12 with factor 10 and addend 3 gives -123 ten-thousandths. With factor 0 the value
 * becomes the signed addend. A magnitude of 2^63 or more is an overflow, also for negative values,
 * and leaves the value as it was. */
VDX_API int32_t com__mnyscale(vdx_money *value, uint32_t factor, int32_t addend);
VDX_API int32_t com_mnyscale(vdx_money *value, uint32_t factor, int32_t addend);
VDX_API int32_t comn_mnyscale(vdx_money *value, uint32_t factor, int32_t addend);

/* Divides in place by the low 16 bits of the divisor, truncating toward zero. Returns the
 * remainder of the magnitude, 0 to 65534; 0, with the value as it was, when those bits are 0. */
VDX_API int32_t com_mnydown(vdx_money *value, uint32_t divisor);
VDX_API int32_t comn_mnydown(vdx_money *value, uint32_t divisor);

/* Peels the lowest decimal digit: divides in place by 10 and stores the remainder's character at
 * digit[0]. Returns 1 while the value left is not zero, else 0. */
VDX_API int32_t com__mnyndigit(vdx_money *value, char *digit);
VDX_API int32_t com_mnyndigit(vdx_money *value, char *digit);
VDX_API int32_t comn_mnyndigit(vdx_money *value, char *digit);

/* Prepares for printing: value = |value| / 10^count, rounded half up. Returns -1 if the value was
 * negative, else 0. A count below 1 leaves the magnitude; that of the smallest money does not fit
 * and becomes zero. A count of 9 or more ends as soon as nothing is left to divide, and the last
 * digit removed then still rounds. */
VDX_API int32_t com_mnyinit(vdx_money *value, int32_t count);
VDX_API int32_t comn_mnyinit(vdx_money *value, int32_t count);

/* Copies a value. com_ functions return 0, comn_ functions VDX_SUCCESS. */
VDX_API int32_t com__mnycopy(const vdx_money *source, vdx_money *destination);
VDX_API int32_t com_mnycopy(const vdx_money *source, vdx_money *destination);
VDX_API int32_t comn_mnycopy(const vdx_money *source, vdx_money *destination);

/* Returns -1, 0 or 1 as a is less than, equal to or greater than b. */
VDX_API int32_t com_mnycmp(const vdx_money *a, const vdx_money *b);
VDX_API int32_t comn_mnycmp(const vdx_money *a, const vdx_money *b);

/* Store zero, the largest money, the smallest money. */
VDX_API void com_mnyzero(vdx_money *value);
VDX_API void comn_mnyzero(vdx_money *value);
VDX_API void com_mnymaxpos(vdx_money *value);
VDX_API void comn_mnymaxpos(vdx_money *value);
VDX_API void com_mnymaxneg(vdx_money *value);
VDX_API void comn_mnymaxneg(vdx_money *value);

/* quotient = dividend / divisor->low, as counts, truncated; the divisor's high word is ignored.
 * The dividend must not be negative and divisor->low not zero: neither is checked or reported. */
VDX_API void com_mnyxdiv(const vdx_money *dividend, const vdx_money *divisor, vdx_money *quotient);
VDX_API void comn_mnyxdiv(const vdx_money *dividend, const vdx_money *divisor, vdx_money *quotient);

/* The arithmetic of short money. Results are those of money, and overflow outside of short money;
 * a failed operation leaves zero, except the negation of the smallest value and the remainder,
 * which leave the result untouched. */
VDX_API int32_t com__mnyadd4(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com_mny4add(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t comn_mny4add(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com__mnysub4(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com_mny4sub(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t comn_mny4sub(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com__mnymul4(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com_mny4mul(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t comn_mny4mul(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com__mnydiv4(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com_mny4divide(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t comn_mny4divide(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com__mnyrem4(const vdx_mny4 *a, const vdx_mny4 *b, vdx_mny4 *result);
VDX_API int32_t com__mnyminus4(const vdx_mny4 *a, vdx_mny4 *result);
VDX_API int32_t com_mny4minus(const vdx_mny4 *a, vdx_mny4 *result);
VDX_API int32_t comn_mny4minus(const vdx_mny4 *a, vdx_mny4 *result);

/* Copy (0 from the com_, VDX_SUCCESS from the comn_ function), compare (-1, 0 or 1), store zero. */
VDX_API int32_t com_mny4copy(const vdx_mny4 *source, vdx_mny4 *destination);
VDX_API int32_t comn_mny4copy(const vdx_mny4 *source, vdx_mny4 *destination);
VDX_API int32_t com_mny4cmp(const vdx_mny4 *a, const vdx_mny4 *b);
VDX_API int32_t comn_mny4cmp(const vdx_mny4 *a, const vdx_mny4 *b);
VDX_API void com_mny4zero(vdx_mny4 *value);
VDX_API void comn_mny4zero(vdx_mny4 *value);

/* Widens short money; returns 8, the bytes written. */
VDX_API int32_t com__mny4tomny(const vdx_mny4 *source, vdx_money *destination);

/* Money as text, right-aligned: the text ends with the last of the `length` bytes of the buffer
 * and is not terminated. Returns its first character, or null when it does not fit.
 *
 * flags: bits 0 to 7 are 1 for a "," after every third digit of the whole part, anything else for
 * none; the bits above, a signed number, are the decimal places: 0 or less means 2, above 4 means
 * 4. Dropped digits round half away from zero. At least one digit stands before the point, and "-"
 * before every negative value, even one that rounds to zero. No text is longer than 25 bytes.
 *
 * The bytes before the text stay as they are, but for one: with separators, where another digit
 * would have brought another ",", the byte before the text is a blank if the buffer has it. After
 * a failure the buffer is as it was.
 *
 * com_precmnytochar adds the places, shifted left by 8, to the flags. */
VDX_API char *com__mnytochar(const vdx_money *value, char *buffer, int32_t length, int32_t flags);
VDX_API char *com_cvtmnytochar(const vdx_money *value, char *buffer, int32_t length, int32_t flags);
VDX_API char *com__mny4tochar(const vdx_mny4 *value, char *buffer, int32_t length, int32_t flags);
VDX_API char *com_cvtmny4tochar(const vdx_mny4 *value, char *buffer, int32_t length, int32_t flags);
VDX_API char *com_precmnytochar(const vdx_money *value, char *buffer, int32_t length, int32_t flags,
                                int32_t places);

/* Text of `length` bytes as money. Flags are not read; attributes describe the text's character
 * set and are required.
 *
 * Blanks, one sign and one currency symbol may come first, in any order; then digits with at most
 * one point, with commas that are skipped; then blanks only. The first group has 0 to 3 digits or
 * 7, further ones 3 before another comma. Every digit that enters the value counts for its group,
 * so that "1,234.5,6" is no money value, but decimals after the fourth do not. The fifth decimal
 * rounds the fourth, later ones count for nothing; after the smallest money a fifth decimal other
 * than 0 is outside of money. Text without digits is zero.
 *
 * Returns 0; 1 when the value is outside of money; 2 when the text is no money value. After a
 * failure the result holds what was read so far, without its sign. */
VDX_API int32_t com__mnyfromchar_mb(vdx_money *result, const uint8_t *text, int32_t length,
                                    int32_t flags, const vdx_charattr *attributes);

/* The value as a double, high word * 429496.7296 + low word / 10000. Only source and destination
 * are used. Returns 8, the bytes written; never fails. */
VDX_API int32_t com__mnytoflt8(const vdx_money *source, int32_t source_length, double *destination,
                               int32_t destination_length, int32_t scale);

/* A double as money, rounded half away from zero to four places. A null source or a source length
 * of 0 gives zero. A magnitude of 922337203685477.6, the double nearest to both limits, gives the
 * largest money or minus it: the smallest money becomes its neighbour on the way to a double and
 * back. The last two arguments are not used. Returns 8, the bytes written, or -1, with zero stored,
 * when the value is outside of money or not a number. */
VDX_API int32_t com__flt8tomny(const double *source, int32_t source_length, vdx_money *destination,
                               int32_t destination_length, int32_t scale);

VDX_END_DECLS

#endif
