/* Null values: for every datatype the bytes that stand for a value that is not there.
 *
 * A context carries a table of null images, one a datatype, and a list of those of user datatypes.
 * The older fillers at the end need no context. */
#ifndef VDXCOMN_NULLS_H
#define VDXCOMN_NULLS_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Gives the context a table of the default null images and an empty list of user datatypes. What
 * an earlier call gave it is released first.
 *
 * The default images are zero bytes: of the value's length for types with a fixed length (but 8
 * for date4 and mny4), 258 for varchar and varbin, 4 for void and blob, none for text and bytes, a
 * single one for unichar and unitext; num and decimal are 0 of precision 18 and scale 0 in 35
 * bytes; locators are a 32-bit -779 in native order and zero bytes, 32 in all.
 *
 * Memory comes from context->allocate. Returns XS_SUCCEED; XS_MEM_ERROR when an allocation fails:
 * the context then holds what was built so far, for com_null_free to release. A null context is
 * reported. */
VDX_API int32_t com_null_init(vdx_context *context);

/* Replaces the null image of a datatype.
 *
 * datatype  a code of 40 or more is a user datatype and goes to the list, whose entries take
 *           memory from context->allocate and stay until com_null_free
 * value     the image, length bytes, copied; not looked at when length is 0
 * length    bytes; 0 leaves the datatype without an image
 * Returns XS_SUCCEED; XS_MEM_ERROR when memory ran out: the datatype is then without an image, or,
 * where no entry of a user datatype could be made, nothing changed. A negative length or datatype
 * is an assertion; a null context, a missing table and a null value of a positive length are
 * reported. */
VDX_API int32_t com_null_set(vdx_context *context, int32_t datatype, const void *value,
                             int32_t length);

/* Writes the null image of a datatype into a destination.
 *
 * format       of the destination: datatype, flags, and for num and decimal precision and scale;
 *              its maxlength does not matter
 * destination  receives the image; may be unaligned
 * maxlength    room in bytes, not negative (asserted)
 * length       receives the bytes written
 *
 * The image is cut to maxlength. For num and decimal with a precision of 1 to 77 as many bytes are
 * written as a vdx_num of that precision uses, zero bytes where the image is shorter; the first two
 * bytes, as far as there are such, become the format's precision and scale. What follows the image
 * depends on the datatype:
 *   char, bin, text, sensitivity, boundary, xml   padded and terminated as text
 *   longchar, longbin, image, user datatypes      VDX_FMT_PADNULL fills with zero bytes
 *   unichar, unitext                              padded and terminated as UTF-16: a zero unit ends
 *                                                 the text, blanks are units (VDX_FMT_SWAP swaps
 *                                                 them); half a unit is first made whole by a zero
 *                                                 byte, and a last odd byte of room is zero
 *   all others                                    nothing
 * Returns VDX_SUCCESS; VDX_OVERFLOW when the image and its terminator do not fit, the last byte (or
 * whole unit) being zero then and length that of the cut image; VDX_BAD_PADDING for both padding
 * flags, only the image being written then. Null pointers, a missing table and a datatype without
 * an image are reported; a negative datatype is an assertion. */
VDX_API int32_t com_null_get(vdx_context *context, const vdx_datafmt *format, void *destination,
                             int32_t maxlength, int32_t *length);

/* Restores the default null image of a datatype. A user datatype has none: its entry, if there is
 * one, stays without an image.
 *
 * Returns XS_SUCCEED; XS_MEM_ERROR when a longer image cannot be allocated, nothing changed then. A
 * negative datatype is an assertion; a null context, a missing table and a built-in datatype
 * without an image are reported. */
VDX_API int32_t com_null_reinstall(vdx_context *context, int32_t datatype);

/* Releases the table and the list and empties their fields. Returns XS_SUCCEED. A null context is
 * reported. */
VDX_API int32_t com_null_free(vdx_context *context);

/* Results of the fillers below. */
enum {
  VDX_NULL_CUT = -5,           /* the value was cut to the room there is */
  VDX_NULL_BAD_PRECISION = -7, /* precision outside 1 to 77 */
  VDX_NULL_BAD_SCALE = -8      /* scale outside 0 to 77 */
};

/* The fillers of the older interface write a null value, the user's own or the default.
 *
 * destination   receives the value; may be unaligned; a null pointer is reported
 * length        room in bytes; 0 or less: room for the whole value is taken for granted
 * value         the user's null value; null pointer: the default one
 * value_length  bytes of value, not looked at where there is none; VDX_UNUSED: the length of the
 *               type, or of a type without one, none; VDX_NULLTERM: text to be measured, for
 *               com_setcharnull and com_setvarycharnull only. Anything else below 0 is an assertion.
 *
 * All of them return VDX_NULL_CUT when not everything had room: what fits is written then. After a
 * failed check they return 0 and write nothing.
 *
 * Fixed-length types write the length of the type, zero bytes behind a shorter value, and return
 * that length. A value longer than the type is cut to it. */
VDX_API int32_t com_seti1null(void *destination, int32_t length, const void *value,
                              int32_t value_length);
VDX_API int32_t com_seti2null(void *destination, int32_t length, const void *value,
                              int32_t value_length);
VDX_API int32_t com_seti4null(void *destination, int32_t length, const void *value,
                              int32_t value_length);
VDX_API int32_t com_seti8null(void *destination, int32_t length, const void *value,
                              int32_t value_length);
VDX_API int32_t com_setui2null(void *destination, int32_t length, const void *value,
                               int32_t value_length);
VDX_API int32_t com_setui4null(void *destination, int32_t length, const void *value,
                               int32_t value_length);
VDX_API int32_t com_setui8null(void *destination, int32_t length, const void *value,
                               int32_t value_length);
VDX_API int32_t com_setbitnull(void *destination, int32_t length, const void *value,
                               int32_t value_length);
VDX_API int32_t com_setflt4null(void *destination, int32_t length, const void *value,
                                int32_t value_length);
VDX_API int32_t com_setflt8null(void *destination, int32_t length, const void *value,
                                int32_t value_length);
VDX_API int32_t com_setmoneynull(void *destination, int32_t length, const void *value,
                                 int32_t value_length);
VDX_API int32_t com_setmny4null(void *destination, int32_t length, const void *value,
                                int32_t value_length);
VDX_API int32_t com_setdatetimenull(void *destination, int32_t length, const void *value,
                                    int32_t value_length);
VDX_API int32_t com_setdate4null(void *destination, int32_t length, const void *value,
                                 int32_t value_length);
VDX_API int32_t com_setdateanull(void *destination, int32_t length, const void *value,
                                 int32_t value_length);
VDX_API int32_t com_settimeanull(void *destination, int32_t length, const void *value,
                                 int32_t value_length);
VDX_API int32_t com_setbigdatetimenull(void *destination, int32_t length, const void *value,
                                       int32_t value_length);
VDX_API int32_t com_setbigtimenull(void *destination, int32_t length, const void *value,
                                   int32_t value_length);

/* Bytes and text write the value and fill the room behind it: with zero bytes, with blanks
 * (com_setcharnull), or with UTF-16 blanks in native order (com_setunicharnull, an odd byte of room
 * being zero). Return the bytes of the value, 0 for the default one. */
VDX_API int32_t com_setbinarynull(void *destination, int32_t length, const void *value,
                                  int32_t value_length);
VDX_API int32_t com_setcharnull(void *destination, int32_t length, const void *value,
                                int32_t value_length);
VDX_API int32_t com_setunicharnull(void *destination, int32_t length, const void *value,
                                   int32_t value_length);

/* The same into a vdx_varbin or vdx_varchar: its length, the value of up to 256 bytes, and zero
 * bytes to the end of the record or of the room. A positive room below 2 is an assertion. */
VDX_API int32_t com_setvarybinarynull(void *destination, int32_t length, const void *value,
                                      int32_t value_length);
VDX_API int32_t com_setvarycharnull(void *destination, int32_t length, const void *value,
                                    int32_t value_length);

/* Exact numerics: value is a vdx_num, of which up to 35 bytes are read, and is rounded to the
 * precision (1 to 77) and scale (0 to 77); the default is zero in them.
 *
 * Returns 35; VDX_NULL_BAD_PRECISION or VDX_NULL_BAD_SCALE, nothing written then; VDX_INVALID when
 * value is no exact numeric, nothing written; VDX_OVERFLOW when it does not fit the precision, the
 * largest number of its sign being written; VDX_NULL_CUT when the room is below 35. */
VDX_API int32_t com_setnumnull(void *destination, int32_t length, const void *value,
                               int32_t value_length, int32_t precision, int32_t scale);
VDX_API int32_t com_setdecimalnull(void *destination, int32_t length, const void *value,
                                   int32_t value_length, int32_t precision, int32_t scale);

VDX_END_DECLS

#endif
