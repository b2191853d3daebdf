/* Shared vocabulary of the library: linkage, datatype codes, records and result codes.
 *
 * Everything here is plain data. A caller owns every record it passes in; the library keeps no
 * pointer to a data-format record, a value or an output length after the call returns. */
#ifndef VDXCOMN_TYPES_H
#define VDXCOMN_TYPES_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(VDXCOMN_STATIC)
#define VDX_API
#else
#define VDX_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VDX_API __attribute__((visibility("default")))
#else
#define VDX_API
#endif

#ifdef __cplusplus
#define VDX_BEGIN_DECLS extern "C" {
#define VDX_END_DECLS }
#else
#define VDX_BEGIN_DECLS
#define VDX_END_DECLS
#endif

VDX_BEGIN_DECLS

/* What a caller stores in vdx_context.version. Contexts below 114 are refused where the version
 * is checked; one of 114 ends before the field fault, which is never read then. */
#define VDX_VERSION 115

/* Length markers: a zero-terminated string to be measured, and a value that is not given. */
#define VDX_NULLTERM (-9)
#define VDX_UNUSED (-99999)

/* Built-in datatype codes. A datatype travels as a signed 32-bit integer; codes of VDX_USER and
 * above are user datatypes. Codes 20 and 24 are unassigned. */
enum {
  VDX_CHAR = 0,            /* character string in the locale's character set */
  VDX_BIN = 1,             /* byte string */
  VDX_LONGCHAR = 2,        /* long character string; converts like VDX_CHAR */
  VDX_LONGBIN = 3,         /* long byte string; converts like VDX_BIN */
  VDX_TEXT = 4,            /* character large object; converts like VDX_CHAR */
  VDX_IMAGE = 5,           /* binary large object; converts like VDX_BIN */
  VDX_I1 = 6,              /* unsigned 8-bit integer */
  VDX_I2 = 7,              /* signed 16-bit integer */
  VDX_I4 = 8,              /* signed 32-bit integer */
  VDX_FLT4 = 9,            /* IEEE 754 single */
  VDX_FLT8 = 10,           /* IEEE 754 double */
  VDX_BIT = 11,            /* one byte, 0 or 1 */
  VDX_DATETIME = 12,       /* vdx_datetime */
  VDX_DATE4 = 13,          /* vdx_date4 */
  VDX_MONEY = 14,          /* vdx_money */
  VDX_MNY4 = 15,           /* vdx_mny4 */
  VDX_NUM = 16,            /* vdx_num */
  VDX_DECIMAL = 17,        /* vdx_num; converts like VDX_NUM */
  VDX_VARCHAR = 18,        /* vdx_varchar */
  VDX_VARBIN = 19,         /* vdx_varbin */
  VDX_SENSITIVITY = 21,    /* security label text */
  VDX_BOUNDARY = 22,       /* security boundary text */
  VDX_VOID = 23,           /* value without content */
  VDX_UNICHAR = 25,        /* UTF-16 code units in native byte order */
  VDX_BLOB = 26,           /* opaque object; no conversions */
  VDX_DATEA = 27,          /* vdx_datea */
  VDX_TIMEA = 28,          /* vdx_timea */
  VDX_UNITEXT = 29,        /* UTF-16 large object; converts like VDX_UNICHAR */
  VDX_I8 = 30,             /* signed 64-bit integer */
  VDX_UI2 = 31,            /* unsigned 16-bit integer */
  VDX_UI4 = 32,            /* unsigned 32-bit integer */
  VDX_UI8 = 33,            /* unsigned 64-bit integer */
  VDX_XML = 34,            /* XML document text */
  VDX_BIGDATETIME = 35,    /* vdx_bigdatetime */
  VDX_BIGTIME = 36,        /* vdx_bigtime */
  VDX_TEXTLOCATOR = 37,    /* handle of a VDX_TEXT value held elsewhere */
  VDX_IMAGELOCATOR = 38,   /* handle of a VDX_IMAGE value held elsewhere */
  VDX_UNITEXTLOCATOR = 39, /* handle of a VDX_UNITEXT value held elsewhere */
  VDX_DATATYPES = 40,      /* number of built-in codes */
  VDX_USER = 40            /* first user datatype */
};

/* Flags of vdx_datafmt.format, read on the destination side. VDX_FMT_PADNULL and
 * VDX_FMT_PADBLANK together are an error (VDX_BAD_PADDING) where the text fits. */
enum {
  VDX_FMT_TERMINATE =
      1,                /* end the text with a zero byte (a zero unit for UTF-16); where it does not
                            fit, the destination's last byte or unit is zero, too */
  VDX_FMT_PADNULL = 2,  /* fill the rest of the destination with zero bytes */
  VDX_FMT_PADBLANK = 4, /* fill the rest with blanks; the last byte is the terminator with bit 1 */
  VDX_FMT_QUOTE = 32,   /* double each apostrophe of a text or of a date's name of a month */
  VDX_FMT_SWAP = 64     /* UTF-16 destinations: swap the bytes of each unit */
};

/* Results of conversions and of the arithmetic of the current layer. */
enum {
  VDX_SUCCESS = 1,
  VDX_OVERFLOW = -101,  /* above (or for most types, outside) the destination's range, or no room */
  VDX_UNDERFLOW = -102, /* below the destination's range */
  VDX_BAD_PRECISION = -103,     /* destination precision outside 1 to 77 */
  VDX_BAD_SCALE = -104,         /* destination scale outside 0 to 77 */
  VDX_SYNTAX = -105,            /* the text is no literal of the destination type; length 0 */
  VDX_BAD_PADDING = -106,       /* both padding flags, and the text fits */
  VDX_INVALID = -107,           /* the source value itself is invalid */
  VDX_ARITHMETIC = -108,        /* division by zero, or exact-numeric arithmetic failed */
  VDX_TRUNCATED = -113,         /* a result was delivered but shortened */
  VDX_BAD_STYLE = -114,         /* unknown date style */
  VDX_MALFORMED_UNICODE = -115, /* not well-formed UTF-16 or UTF-8 */
  VDX_TRANSLATION = -116,       /* a character-set translation failed */
  VDX_NO_MONTH_NAMES = -117     /* the date style needs month names and none were given */
};

/* Status values of the interfaces that do not convert, by the names that the tracer prints. */
enum {
  XS_SUCCEED = 1,
  XS_FAIL = 0,
  XS_MEM_ERROR = -1,
  XS_PENDING = -2,
  XS_QUIET = -3,
  XS_BUSY = -4,
  XS_INTERRUPT = -5,
  XS_CANCELED = -202,
  XS_ROW_FAIL = -203,
  XS_END_DATA = -204,
  XS_END_RESULTS = -205,
  XS_END_ITEM = -206,
  XS_NOMSG = -207,
  XS_TIMED_OUT = -208,
  XS_PASSTHRU_EOM = -210,
  XS_PASSTHRU_MORE = -211,
  XS_TRYING = -213
};

typedef struct vdx_locale vdx_locale;     /* opaque: a locale record, see intl.h */
typedef struct vdx_charattr vdx_charattr; /* opaque: attributes of a character set, see intl.h */
typedef struct vdx_context vdx_context;
typedef struct vdx_appglobal vdx_appglobal; /* area shared by all users in one application */
typedef struct vdx_message vdx_message;     /* numbered message handed to vdx_context.message */

/* Describes one value: the source of a conversion or its destination. */
typedef struct vdx_datafmt {
  char name[256];     /* column or parameter name; never read by the library */
  int32_t namelen;    /* bytes of name */
  int32_t datatype;   /* VDX_CHAR and so on, or a user code */
  uint32_t format;    /* VDX_FMT_ flags */
  int32_t maxlength;  /* source: bytes of the value; destination: capacity in bytes */
  int32_t scale;      /* num and decimal destinations: digits after the point, 0 to 77 */
  int32_t precision;  /* num and decimal destinations: digits in all, 1 to 77;
                          text from money: decimal places, 0 or less means 2 */
  int32_t caller[3];  /* the caller's own; the library never touches them */
  vdx_locale *locale; /* governs this value; null means the context's locale */
} vdx_datafmt;

/* Money: a count of ten-thousandths as a two's-complement 64-bit integer in two words. The high
 * word comes first on every platform; each word is in native byte order. */
typedef struct vdx_money {
  int32_t high;
  uint32_t low;
} vdx_money;

typedef int32_t vdx_mny4; /* short money: ten-thousandths */

/* Exact numeric: precision (1 to 77), scale, then a sign byte (0 positive, 1 negative) and the
 * big-endian magnitude, comb_get_Prec_To_Len(precision) bytes in all; bytes after it are zero. */
typedef struct vdx_num {
  uint8_t precision;
  uint8_t scale;
  uint8_t value[33];
} vdx_num;

typedef struct vdx_varchar {
  int16_t length; /* 0 to 256 */
  uint8_t bytes[256];
} vdx_varchar;

typedef struct vdx_varbin {
  int16_t length; /* 0 to 256 */
  uint8_t bytes[256];
} vdx_varbin;

/* The signature of every conversion, built in or installed.
 *
 * context             the caller's context
 * source_format       datatype and, for types without a fixed length, maxlength (bytes, at least 1)
 * source              the value; may be unaligned
 * destination_format  datatype, flags, capacity, precision and scale of the destination
 * destination         buffer, at least the type's fixed length or maxlength bytes; may be unaligned
 * length              receives the bytes written (signed 32-bit)
 *
 * Source and destination must not overlap, except that a number, money or date may become one of its
 * own type in place. What a text leaves of its destination may be read, and rewritten with what it
 * held.
 *
 * A failed call leaves in *length 0 on VDX_SYNTAX; else, for a destination of fixed length, that
 * length (258 for varchar and varbin), and for the others what was placed, or on VDX_INVALID what it
 * was before. Where a bit source is refused (VDX_INVALID) it stays as it was for all of them. A text
 * that is refused (VDX_SYNTAX, VDX_MALFORMED_UNICODE, VDX_INVALID) leaves a varchar or varbin with a
 * count of 0.
 *
 * Returns VDX_SUCCESS or one of the negative codes above. */
typedef int32_t vdx_conversion(vdx_context *context, const vdx_datafmt *source_format,
                               const void *source, const vdx_datafmt *destination_format,
                               void *destination, int32_t *length);
typedef vdx_conversion *vdx_convfn;

struct vdx_extension;      /* one installed conversion of a user datatype; the library's */
struct vdx_null_value;     /* null image of a built-in datatype; the library's */
struct vdx_null_extension; /* null image of a user datatype; the library's */
struct vdx_err_table;      /* texts of numbered messages, see errors.h */
struct vdx_fault;          /* where and why a value did not convert, see fault.h */

/* The caller's context. Valid when zero-filled with version set to VDX_VERSION: then memory comes
 * from malloc, text is in the built-in single-byte character set, and numbered messages go
 * nowhere. A context belongs to one thread at a time. */
struct vdx_context {
  int32_t version; /* VDX_VERSION */
  void *(*allocate)(vdx_context *context,
                    size_t size); /* null: malloc; must give memory that free() takes */
  int32_t (*message)(vdx_context *context,
                     const vdx_message *record); /* null: messages are dropped */
  vdx_locale *locale;                            /* null: the process-wide default */
  int32_t os_error;                              /* written by the path routines */
  vdx_appglobal *appglobal;                      /* the caller's; null: the static area */

  /* Fields of the library from here on: leave them zero, use the com_conv_ and com_null_ calls. */
  vdx_convfn *conversions;
  int32_t conversion_dimension;
  struct vdx_extension *conversion_extensions;
  struct vdx_null_value *nulls;
  int32_t null_count;
  struct vdx_null_extension *null_extensions;

  /* The caller's again: texts of numbered messages, see errors.h; null: English. */
  const struct vdx_err_table *messages;

  /* From version 115: the caller's record of the last failure, see fault.h; null: not wanted. */
  struct vdx_fault *fault;
};

VDX_END_DECLS

#endif
