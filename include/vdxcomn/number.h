/* Exact numerics: arithmetic on values, and the pieces of their form: its tables and its arithmetic
 * on byte strings.
 *
 * No function of this header allocates or locks. The comn_num functions check their pointers; the
 * others do not. */
#ifndef VDXCOMN_NUMBER_H
#define VDXCOMN_NUMBER_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Decimal digits that a magnitude of index + 1 bytes always holds, for index 0 to 31 (19 for 7, 77
 * for 31); 255 for 32 to 34; 0 for 35 and every index outside of the table. */
VDX_API int32_t comb_get_Len_To_Prec(int32_t index);

/* Bytes of a value of the precision, 0 to 77: the sign and the magnitude (2 for 0, 33 for 77); 0
 * for every precision outside of the table. */
VDX_API int32_t comb_get_Prec_To_Len(int32_t precision);

/* Byte i (0 to 33) of the row for 10^p (p 0 to 77) and its address. A row holds the length of the
 * value that follows it, a zero sign byte, the big-endian power, and zero bytes up to 34. Outside
 * of the table the byte is 0 and the address null. The address stays valid, read-only. */
VDX_API int32_t comb_get_Byte_Power_val(int32_t p, int32_t i);
VDX_API const uint8_t *comb_get_Byte_Power_ptr(int32_t p, int32_t i);

/* A value as a byte string of the caller's: a sign byte (0 positive, 1 negative), then a big-endian
 * magnitude. */
typedef struct vdx_exact {
  uint8_t *value;
  int32_t length;    /* bytes of value, the sign included: 1 to 133; 1 is zero */
  uint8_t precision; /* digits that the value may have, 1 to 77 */
  uint8_t scale;     /* digits after the point */
} vdx_exact;

/* Adds one to the magnitude. Returns 0; 1, with the value as it was, when that takes another byte. */
VDX_API int32_t com__exctnume_inc(vdx_exact *value);

/* Divides the magnitude by 10 and returns the remainder, 0 to 9. If the first byte of the
 * magnitude is then zero it goes, the others move up and the length becomes one less. A magnitude
 * without bytes stays so, with remainder 0. */
VDX_API int32_t com__exctnume_divby10(vdx_exact *value);

/* quotient = dividend / divisor, truncated to the quotient's scale. On entry the quotient gives its
 * buffer, length, precision and scale; the result fills all its bytes. Zero is positive. The
 * quotient's buffer may be an operand's.
 *
 * Returns 0; 1 when the quotient needs more bytes than its length, more digits than its precision,
 * or a precision above 77, or when the work needs a magnitude of more than 132 bytes or a power of
 * ten above 77; 3 when the divisor is zero. On failure the quotient is as it was. */
VDX_API int32_t com__exctnume_div(const vdx_exact *dividend, const vdx_exact *divisor,
                                  vdx_exact *quotient);

/* Arithmetic on exact numerics of any precision and scale. A value may be unaligned and belongs to
 * the caller; bytes behind its magnitude are not read.
 *
 * The result's precision (1 to 77) and scale (0 to 77) are read first: they say what the caller
 * wants, and all 35 bytes are then written. The result may be an operand, whose precision and scale
 * then are the ones asked for. Zero is positive.
 *
 * Sum, difference and product are exact and then rounded once to the result's scale, halves away
 * from zero. A quotient is truncated to it.
 *
 * Each returns VDX_SUCCESS, or the first that applies of
 *   VDX_INVALID        an operand is no numeric: precision outside 1 to 77, scale above 77, a sign
 *                      byte above 1, or more digits than its precision says
 *   VDX_BAD_PRECISION  the result's precision is outside 1 to 77
 *   VDX_BAD_SCALE      the result's scale is above 77
 *   VDX_ARITHMETIC     division by zero
 * with nothing written, or
 *   VDX_OVERFLOW       more whole digits than the result's precision less its scale: the largest
 *                      magnitude of the precision is stored, with the sign
 * A null pointer is a failed check; resumed, it is VDX_OVERFLOW with nothing written. */
VDX_API int32_t comn_numadd(const vdx_num *a, const vdx_num *b, vdx_num *result);
VDX_API int32_t comn_numsub(const vdx_num *a, const vdx_num *b, vdx_num *result);
VDX_API int32_t comn_nummul(const vdx_num *a, const vdx_num *b, vdx_num *result);
VDX_API int32_t comn_numdivide(const vdx_num *a, const vdx_num *b, vdx_num *result);

/* Returns -1, 0 or 1 as a is less than, equal to or greater than b, whatever their scales, or
 * VDX_INVALID when either is no numeric. A null pointer is a failed check; resumed, it is
 * VDX_INVALID. */
VDX_API int32_t comn_numcmp(const vdx_num *a, const vdx_num *b);

VDX_END_DECLS

#endif
