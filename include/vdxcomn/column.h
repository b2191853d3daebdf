/* Columns: all values of one datatype, converted to a column of another datatype by one call.
 *
 * The layout is the one that columnar formats share, so that their buffers pass as they are: values
 * as a packed array, texts as bytes and offsets, nulls as a bitmap. docs/columns.md shows it. */
#ifndef VDXCOMN_COLUMN_H
#define VDXCOMN_COLUMN_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* A column. All memory is the caller's; nothing needs an alignment.
 *
 * Datatypes of fixed length are packed: row i is at values + i * length, a varchar or varbin as its
 * whole record of 258 bytes. Datatypes whose values differ in length (texts, unichar, bytes,
 * locators, void, user datatypes) have one of two layouts:
 *
 *   offset_bytes 4 or 8   row i is the bytes from offsets[i] to before offsets[i + 1] of values;
 *                         unichar counts bytes, too. A source's first offset need not be 0
 *   offset_bytes 0        char(n): row i is at values + i * maxlength and has maxlength bytes, by the
 *                         format record. Void has no bytes */
typedef struct vdx_column {
  int32_t datatype;     /* VDX_CHAR and so on, or a user code */
  int32_t offset_bytes; /* size of an offset, 4 or 8; 0: no offsets */
  int64_t rows;         /* of a source; a destination receives the rows done */
  void *values;         /* may be null where no row has bytes */
  void *offsets;        /* rows + 1 of int32_t or int64_t; not read where offset_bytes is 0 */
  uint8_t *validity; /* bit first_bit + i, from the least significant bit of the first byte on, is
                           1 where row i is not null; a null pointer: no row of a source is null,
                           validity of a destination is not wanted */
  int64_t first_bit; /* where the validity of row 0 is, 0 or more */
  int64_t room;      /* destinations with offsets: bytes that values has room for; else not read */
} vdx_column;

/* What comn_column_convert returns besides a count. */
enum {
  VDX_COLUMN_SHAPE = -1,   /* a column is broken: a negative datatype, row count, bit, room or
                                 maxlength, offset_bytes not 0, 4 or 8, offsets of a datatype of fixed
                                 length. Nothing is written */
  VDX_COLUMN_NO_PAIR = -2, /* the pair has no conversion. Nothing is written */
  VDX_COLUMN_OFFSETS = -3  /* an offset of the source is negative or below the one before it, or a
                                 row has more than 2^31 - 1 bytes; rows_done says which row */
};

/* Converts all rows of a column.
 *
 * context             its table names the conversion, so that installed ones count; without a table
 *                     the built-in one. A pair with a user datatype needs a table
 * source_format       of every source row: locale; maxlength where rows have neither a fixed length
 *                     nor offsets. datatype is not read, here and below: the columns' count
 * source              rows to convert; may not overlap the destination
 * destination_format  of every destination row: flags, precision, scale, locale, and maxlength, the
 *                     most bytes of a row of texts or bytes
 * destination         datatype, layout and room, values for source->rows rows; receives values, rows,
 *                     offsets from 0 on, and validity. Bits of other rows keep what they are
 * codes               receives a code a row; null: not wanted
 * failed              bitmap, bit i for row i from the first byte on: 1 where the row failed; null: not
 *                     wanted
 * rows_done           receives the rows done; null: not wanted
 *
 * Each row is what the conversion of the single value gives (conversions.h): what it stores and its
 * code. Its validity is clear and its bit in failed set unless the code is VDX_SUCCESS. A single
 * conversion that leaves its destination alone leaves the row alone; of texts with offsets such a row
 * is empty. But
 *   - a null row has code VDX_SUCCESS and clear validity; zero bytes are stored, or an empty text;
 *   - an empty text, a varchar count of 0, or no bytes, is no failed check here: to texts and bytes it
 *     is the empty text (length 0, VDX_SUCCESS), to anything else VDX_SYNTAX with zero stored;
 *   - a negative varchar or varbin count is VDX_INVALID with zero stored, or an empty text.
 * An empty text in a layout of maxlength bytes a row is blanks with VDX_FMT_PADBLANK, else zero bytes.
 *
 * A destination with offsets stops before the first row that the room, or 2^31 - 1 for offsets of
 * four bytes, does not hold: rows_done is that row's number, offsets end there, and values after the
 * last offset are unspecified. A call with a source that begins there, and more room, does the rest.
 * With a maxlength above 2048, the call may stop before a row that fails although what it stores would
 * just fit, if less room than four times the bytes of its source is left.
 *
 * Threads can share one column: each takes rows of its own, as columns that begin there, with a
 * number of rows before it that 8 divides if they share a bitmap.
 *
 * Null context, formats, columns, needed values and offsets, and a locale that is not loaded, are
 * reported; where a handler resumes, VDX_OVERFLOW is returned and nothing is written.
 * Returns the number of rows that failed, of those done, or a negative code from above. */
VDX_API int64_t comn_column_convert(vdx_context *context, const vdx_datafmt *source_format,
                                    const vdx_column *source, const vdx_datafmt *destination_format,
                                    vdx_column *destination, int32_t *codes, uint8_t *failed,
                                    int64_t *rows_done);

VDX_END_DECLS

#endif
