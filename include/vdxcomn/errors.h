/* Numbered messages and error records.
 *
 * A message is a number, up to VDX_ERR_PARAMETERS parameters and a text. The text comes from a
 * table: a row's text holds %1 to %9 where a parameter goes and %% for a percent sign; a parameter
 * that the message does not have is left out. The library has its own texts in English; a context
 * or an error record can carry another table, and numbers that this table lacks fall back to
 * English. The composed text shows control bytes of a parameter (0 to 31, and 127) as "\x" and two
 * hexadecimal digits; the parameter keeps them. A number without any text reads "Message 0x" and
 * eight hexadecimal digits, then its parameters: "Message 0x01049999: first, second".
 *
 * Raising a message hands a vdx_message to the context's message callback. Nothing of it outlives
 * the callback. The callback returns; it does not jump out of the library. One that runs while its
 * thread parses a configuration file (VDX_MSG_CFG_SYNTAX, VDX_MSG_CFG_INCLUDE, VDX_MSG_CFG_CUT,
 * VDX_MSG_CFG_MEMORY, VDX_MSG_CFG_OPEN) can open no other: comn_init_cfg returns 0. Lengths are in
 * bytes; a length argument takes VDX_NULLTERM. Every status goes through the return tracer. */
#ifndef VDXCOMN_ERRORS_H
#define VDXCOMN_ERRORS_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Numbers of the messages that the library raises, with their parameters. A routine is the name of
 * the function that raises the message. */
enum {
  VDX_MSG_CFG_LIST = 0x01040601,     /* a list operation failed in a lookup: routine */
  VDX_MSG_CFG_MEMORY = 0x01040602,   /* no memory: routine */
  VDX_MSG_CFG_OPEN = 0x01040603,     /* a file cannot be opened: routine, file name */
  VDX_MSG_CFG_DETACHED = 0x01040604, /* a detached handle was dropped: routine */
  VDX_MSG_CFG_NAME = 0x01040605,     /* a file name is too long: routine, name */
  VDX_MSG_CFG_CUT = 0x01040606,      /* a file ends inside a character: file name */
  VDX_MSG_CFG_SECTION = 0x01040607,  /* no such section and no default one: routine, section */
  VDX_MSG_CFG_INCLUDE =
      0x01040007, /* a section includes itself or an undefined one: routine, name */
  VDX_MSG_CFG_SYNTAX =
      0x01040008, /* a syntax error: file name, line that the token starts on, token */
  VDX_MSG_CFG_FORCED = 0x01040009 /* a forced drop with other handles open: routine */
};

#define VDX_ERR_PARAMETERS 9 /* most parameters of a message */

/* Bytes that belong to somebody else, not terminated. bytes is null where there is no such text. The
 * length is plain: VDX_NULLTERM, as any below 0, is asserted where a function is given the text. */
typedef struct vdx_err_text {
  const char *bytes;
  int32_t length;
} vdx_err_text;

/* One parameter: a text, or, where text.bytes is null, a number, shown in decimal. */
typedef struct vdx_err_parameter {
  vdx_err_text text;
  int32_t number;
} vdx_err_parameter;

/* The parameters of a message, in order. The texts stay their owner's: a set is good as long as
 * they are. */
typedef struct vdx_err_parameters {
  int32_t count; /* 0 to VDX_ERR_PARAMETERS */
  vdx_err_parameter parameter[VDX_ERR_PARAMETERS];
} vdx_err_parameters;

/* Where a message was raised, as far as that is known; all zero: not at all. */
typedef struct vdx_err_place {
  vdx_err_text file;
  int32_t line; /* from 1; 0: none */
  vdx_err_text section;
  vdx_err_text token;
} vdx_err_place;

/* A message as the callback of a context receives it. */
struct vdx_message {
  int32_t number;
  vdx_err_parameters parameters;
  const char *text;    /* composed, zero-terminated; cut to 2,047 bytes */
  int32_t text_length; /* bytes before the terminator */
  vdx_err_text file;   /* these as in vdx_err_place */
  int32_t line;
  vdx_err_text section;
  vdx_err_text token;
};

/* One row of a table of texts. */
typedef struct vdx_err_row {
  int32_t number;
  const char *text;     /* zero-terminated, with %1 and so on */
  const char *sqlstate; /* five characters and a terminator; null: as in English */
} vdx_err_row;

/* A table of texts, in any order. It stays its owner's and must outlive whatever it is set on. */
typedef struct vdx_err_table {
  const vdx_err_row *row;
  int32_t count;
} vdx_err_table;

typedef struct vdx_error vdx_error; /* opaque: an error record, which keeps one message */

/* Builds a parameter set: a string; two strings; a string, a number and a string. The strings are
 * not copied. parameters receives the set, whatever it held. Null strings are reported, lengths
 * below 0 other than VDX_NULLTERM asserted. Returns XS_SUCCEED. */
VDX_API int32_t com_ep_s(vdx_err_parameters *parameters, const char *first, int32_t first_length);
VDX_API int32_t com_ep_ss(vdx_err_parameters *parameters, const char *first, int32_t first_length,
                          const char *second, int32_t second_length);
VDX_API int32_t com_ep_sds(vdx_err_parameters *parameters, const char *first, int32_t first_length,
                           int32_t number, const char *second, int32_t second_length);

/* Composes the text of a message.
 *
 * context     its table goes first; null: English
 * parameters  null: none; a count outside 0 to VDX_ERR_PARAMETERS is asserted
 * buffer      receives the text and a terminator, cut to what fits; size bytes, at least 1
 * length      receives the bytes of the whole text, without a terminator; null allowed
 * Returns XS_SUCCEED; XS_NOMSG when no table has a text for the number (the substitute is
 * composed); VDX_TRUNCATED when a text was cut. */
VDX_API int32_t com_build_errmsg(vdx_context *context, int32_t number,
                                 const vdx_err_parameters *parameters, char *buffer, int32_t size,
                                 int32_t *length);

/* The same, whole, in memory taken through the context (null: malloc) that the caller gives to
 * free(). text receives it, null when the call fails; length as above.
 * Returns XS_SUCCEED, XS_NOMSG as above, or XS_MEM_ERROR, also for a text of 2 GiB and more. */
VDX_API int32_t com_notrunc_errmsg(vdx_context *context, int32_t number,
                                   const vdx_err_parameters *parameters, char **text,
                                   int32_t *length);

/* Makes an error record without a message.
 *
 * context  where its memory comes from and its messages go for as long as it lives; null: malloc
 *          and nowhere
 * table    texts that go before the context's; null: none
 * record   receives the record, null when the call fails
 * Returns XS_SUCCEED or XS_MEM_ERROR. */
VDX_API int32_t com_errinit(vdx_context *context, const vdx_err_table *table, vdx_error **record);

/* Releases the record and its message. Returns XS_SUCCEED. */
VDX_API int32_t com_errdrop(vdx_error *record);

/* Sets the record's message, copying parameters and place, and raises it through the context.
 *
 * number      not 0 (asserted)
 * parameters  null: none; a count outside 0 to VDX_ERR_PARAMETERS is asserted
 * place       null: not known
 * Returns XS_SUCCEED, whatever the callback returned; XS_MEM_ERROR: the record keeps the message
 * it had and nothing is raised. */
VDX_API int32_t com_err_set(vdx_error *record, int32_t number, const vdx_err_parameters *parameters,
                            const vdx_err_place *place);

/* The record's message: as com_build_errmsg, and the number.
 *
 * number  receives the message's number, 0 without a message; null allowed
 * Returns what com_build_errmsg returns; XS_END_DATA when the record has no message: an empty
 * text, length 0. */
VDX_API int32_t com_err_msg(vdx_error *record, int32_t *number, char *buffer, int32_t size,
                            int32_t *length);

/* The SQLSTATE of the record's message: state receives five characters and a terminator. "00000"
 * without a message, "HY000" where no table says otherwise. Returns XS_SUCCEED. */
VDX_API int32_t com_err_sqlstate(vdx_error *record, char *state);

VDX_END_DECLS

#endif
