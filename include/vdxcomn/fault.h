/* Faults: where and why a value did not convert.
 *
 * A caller who wants to know more than a code gives its context a record:
 *
 *     vdx_fault fault = {.size = sizeof fault};
 *     context.fault = &fault;
 *
 * Every conversion of a single value (conversions.h), comn_charset_convert and com_intl_xlate fill
 * the record of such a context before they return a negative code; calls that only make a failed
 * check do not. Success does not touch the record, so what it holds belongs to the last failure.
 * Codes, stored values and lengths are the same with and without a record. The record is the caller's; it is read and written only during a call, never
 * allocated, and nothing beyond its first `size` bytes is written. Contexts of version 114 have
 * none. A context belongs to one thread at a time, and so does its record. */
#ifndef VDXCOMN_FAULT_H
#define VDXCOMN_FAULT_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Why a value did not convert. Behind each: the bytes that offset and length mark. "The character"
 * is one of the text's character set, all its bytes; it has length 0 at the end of the text. */
enum {
  VDX_REASON_NONE = 0, /* nothing more is known than the code */

  /* Texts that are no literal of the type. */
  VDX_REASON_EMPTY = 1,            /* there is no text; length 0 */
  VDX_REASON_NO_DIGIT = 2,         /* where a digit has to be: the character there */
  VDX_REASON_SECOND_SIGN = 3,      /* the second sign */
  VDX_REASON_SIGN = 4,             /* a minus sign before an unsigned integer */
  VDX_REASON_SECOND_POINT = 5,     /* the second point */
  VDX_REASON_SECOND_CURRENCY = 6,  /* the second currency symbol */
  VDX_REASON_GROUP = 7,            /* a comma that no group of three digits precedes */
  VDX_REASON_CHARACTER = 8,        /* a character that cannot be there */
  VDX_REASON_LEFT_OVER = 9,        /* what is left over after a value: from there to the end */
  VDX_REASON_NOT_HEXADECIMAL = 10, /* a character that is no hexadecimal digit */
  VDX_REASON_TOO_MANY_DIGITS = 11, /* a number in a date of more digits than any has */
  VDX_REASON_TOO_MANY_PARTS = 12,  /* the first piece of a date after its twentieth */
  VDX_REASON_WORD = 13,            /* a word that is no month, AM, PM or T */
  VDX_REASON_INCOMPLETE = 14,      /* the part of a date or time after which one is missing */
  VDX_REASON_STYLE_DATE = 15,      /* a date of three numbers that its style or order forbids */
  VDX_REASON_TOO_LONG = 16,        /* a text that is too long to be a date */

  /* Values outside of a range. lowest, highest and value tell it for the parts of a date. */
  VDX_REASON_ABOVE = 20,     /* above the largest value, which is `limit`: the number */
  VDX_REASON_BELOW = 21,     /* below the smallest value, which is `limit`: likewise */
  VDX_REASON_TOO_SMALL = 22, /* nearer to zero than any float, the least of which is `limit` */
  VDX_REASON_YEAR = 23,      /* the parts of a date or time: their digits or name */
  VDX_REASON_MONTH = 24,
  VDX_REASON_DAY = 25,
  VDX_REASON_HOUR = 26,
  VDX_REASON_MINUTE = 27,
  VDX_REASON_SECOND = 28,
  VDX_REASON_FRACTION = 29, /* of a second */
  VDX_REASON_HALF_DAY = 30, /* AM or PM contradicts the hour (value): AM or PM */

  /* Characters. */
  VDX_REASON_MALFORMED = 40,  /* bytes that are no character of UTF-8 or UTF-16 */
  VDX_REASON_CUT = 41,        /* a character that the end of the text cuts */
  VDX_REASON_NOT_IN_SET = 42, /* a character that one of the sets lacks */

  /* Values that cannot be delivered. */
  VDX_REASON_NO_ROOM = 50,      /* no room: from the first byte of a text that was left out, length
                                  to the end; length 0 for other sources. highest: the room, bytes */
  VDX_REASON_DIGITS_LOST = 51,  /* a time of day lost digits */
  VDX_REASON_INVALID = 52,      /* the source is no value of its type */
  VDX_REASON_NOT_A_NUMBER = 53, /* the source is a float that is not a number */
  VDX_REASON_PRECISION = 54,    /* precision of the destination: value, lowest, highest */
  VDX_REASON_SCALE = 55,        /* scale of the destination: likewise */
  VDX_REASON_PADDING = 56,      /* both padding flags */
  VDX_REASON_STYLE = 57,        /* unknown date style: value */
  VDX_REASON_NO_NAMES = 58,     /* a date style needs names of months */
  VDX_REASON_CHARACTER_SET = 59 /* a character set by that name is not known */
};

/* What is known of a failure. A caller sets size and zeroes the rest, or leaves it as it is. */
typedef struct vdx_fault {
  uint32_t size;       /* the caller's: bytes of the record, sizeof(vdx_fault) */
  int32_t code;        /* as it was returned */
  int32_t reason;      /* VDX_REASON_ */
  int32_t source;      /* datatype of the source, as its format says; VDX_CHAR without one */
  int32_t destination; /* of the destination, likewise */
  int64_t row;         /* of a column, from 0; -1 outside of columns */
  int64_t offset;      /* in bytes from the start of the source's text to what is at fault; 0 where
                          the source is no text */
  int64_t length;      /* its bytes; 0 where nothing can be pointed to, or at the end of the text */
  int64_t value;       /* of what was read, where the reason says so; else 0 */
  int64_t lowest;      /* and what it may be, from lowest */
  int64_t highest;     /* to highest */
  int32_t limit_length; /* bytes of limit, 0 where there is none */
  int32_t text_length;  /* bytes of text, likewise */
  char limit[96];       /* the value that was passed, as text of the type, not terminated */
  char text[64];        /* the beginning of what is at fault, as UTF-8, not terminated; a control
                          byte or malformed byte as \x and two hexadecimal digits */
} vdx_fault;

/* Words for a code: a result of conversions or a status of the other interfaces. The two share the
 * number 1, which is VDX_SUCCESS here and XS_SUCCEED in traces, and no other. Each returns a
 * zero-terminated ASCII text of the library's, never null.
 *
 * comn_code_name      "VDX_OVERFLOW"; "unknown" for any other number
 * comn_code_text      a few words, as "out of range or too long"; "unknown failure"
 * comn_code_sqlstate  five characters, as "22003"; "HY000" */
VDX_API const char *comn_code_name(int32_t code);
VDX_API const char *comn_code_text(int32_t code);
VDX_API const char *comn_code_sqlstate(int32_t code);

/* What a record says, in one English sentence without a full stop, as UTF-8: "month 13 is not 1 to
 * 12". It is made of the record alone. Without a reason it is the words of the code.
 *
 * context  not looked at; may be null
 * fault    as a failed call left it; of a short one the fields that it has
 * buffer   receives the sentence, not terminated
 * size     room in bytes, not negative (asserted); 256 are enough for every sentence
 * length   receives the bytes written
 *
 * Returns VDX_SUCCESS, or VDX_TRUNCATED where the sentence was cut between characters. Null pointers
 * besides context are reported; the result is VDX_OVERFLOW where a handler resumes. Nothing is
 * allocated. */
VDX_API int32_t comn_fault_text(const vdx_context *context, const vdx_fault *fault, char *buffer,
                                int32_t size, int32_t *length);

VDX_END_DECLS

#endif
