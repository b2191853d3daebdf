/* Configuration files, the area that shares them within an application, and the paths of the
 * product's files. share/doc/vdxcomn/configuration.md describes the format.
 *
 * A file is read and parsed once for an area, by the first comn_init_cfg that names it, and shared
 * by every later handle on the same name (compared byte for byte, paths are not normalised) until
 * the last of them is dropped. Parsed data never changes, so handles on one file may be used from
 * several threads; one handle, and one cursor, is used by one thread at a time.
 *
 * Lengths of inputs may be VDX_NULLTERM: zero-terminated, to be measured. Null pointers are failed
 * checks (frame.h) unless something else is said; a function then returns 0 or null where the
 * check is resumed. What goes wrong with a file is reported to the context's message callback
 * (errors.h, VDX_MSG_CFG_...).
 *
 * Files are parsed one at a time in a process; a second thread waits for its turn, which it also
 * gets where a thread was killed during a parse (that file cannot be opened again in its area). A
 * callback that runs during a parse must not drop a handle; a file that it opens is refused:
 * comn_init_cfg returns 0 at once, without a message, and the parse goes on when the callback
 * returns. */
#ifndef VDXCOMN_CONFIG_H
#define VDXCOMN_CONFIG_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

struct vdx_mutex;                             /* thread.h */
typedef struct vdx_cfg vdx_cfg;               /* opaque: a handle on a configuration file */
typedef struct vdx_cfg_cursor vdx_cfg_cursor; /* opaque: a place among the values of a key */
typedef struct vdx_cfg_record vdx_cfg_record; /* opaque: a parsed file with its users */
typedef struct vdx_cfg_token vdx_cfg_token;   /* opaque: a token of a file that is being parsed */

/* The area shared by all users in one application. The library's fields follow the slots. */
struct vdx_appglobal {
  void *slots[4]; /* the users' own; all null when the last user drops the area */
  int32_t users;  /* read-only from here on */
  int32_t tag;    /* as given by who created the area */
  struct vdx_mutex *mutex;
  vdx_cfg_record *configurations; /* head of the list of parsed files */
};

/* A section of a file. */
typedef struct vdx_cfg_section {
  const void *place; /* the library's; null: before the first section */
  const char *name;  /* not terminated; stays as long as the file is open */
  int32_t length;    /* bytes of name */
  int32_t line;      /* of its header, from 1 */
} vdx_cfg_section;

/* Options of com_appglobal_alloc, com_appglobal_drop and comn_drop_cfg. */
enum {
  VDX_APPGLOBAL_STATIC = 1, /* the one static area of the process */
  VDX_CFG_FORCE = 300       /* drop the file under its other handles, too */
};

/* Hands out an area, new (zero-filled, by malloc) or static with VDX_APPGLOBAL_STATIC; other bits
 * of options are not read. tag is kept by the first user of an area. Each further allocation of the
 * static area empties its list of parsed files without freeing them: their handles stay good, also
 * beyond the last drop of the area, and the next comn_init_cfg parses the file again. Any thread
 * may call this for the static area while it has a user; no call may run beside the first. Returns
 * XS_SUCCEED, XS_MEM_ERROR without memory for the area, XS_FAIL when its mutex cannot be made or
 * taken. */
VDX_API int32_t com_appglobal_alloc(vdx_appglobal **area, int32_t tag, int32_t options);

/* Ends one use of an area; the last one frees its parsed files and the area, the static one is
 * zeroed and stays. VDX_APPGLOBAL_STATIC with any other area is a failed assertion, and so is a
 * slot in use at the last drop. Returns XS_SUCCEED or XS_FAIL. */
VDX_API int32_t com_appglobal_drop(vdx_appglobal *area, int32_t options);

/* Opens a configuration file in the area context->appglobal (null: the static one, allocated once a
 * process), parsing it unless it is already there. A file with errors opens without the sections
 * that hold them.
 *
 * context  version at least 114 (else a failed assertion); must outlive the handle; the handle's
 *          memory comes from it
 * name     file name of 1 to 512 bytes, none of them zero; not read, and may be null, with
 *          VDX_UNUSED and with lengths that are none. It must lead to a regular file: a device or a
 *          FIFO cannot be opened, and nothing waits for one
 * length   its length, VDX_NULLTERM, or VDX_UNUSED: the file ini\ncl.cfg below the directory that
 *          the environment variable VERDEX names, in its first 256 bytes (a failed assertion
 *          when it is not set)
 * cfg      receives the handle, unchanged on failure
 *
 * Returns XS_SUCCEED, or XS_FAIL: another length, a call from a callback during a parse,
 * VDX_MSG_CFG_NAME, VDX_MSG_CFG_OPEN, VDX_MSG_CFG_MEMORY. */
VDX_API int32_t comn_init_cfg(vdx_context *context, const char *name, int32_t length,
                              vdx_cfg **cfg);

/* Reads a value of a key: from the section, or from NAMED_APP_DEFAULT where that section is
 * missing, or, where it does not have the key, from its includes in order and depth first.
 *
 * section, key  names, compared byte for byte; lengths of 0 or more, or VDX_NULLTERM
 * cursor        null: the first value alone. Else starts as a pointer to null and is given to each
 *               later call for the next value (section and key are then not read again, but must
 *               still be valid arguments), until XS_END_DATA resets it or comn_nextdrop_cfg
 *               releases it
 * buffer        receives the value, and a zero byte where it is longer than the value
 * size          bytes of buffer, 0 or more
 * value_length  may be null; receives the value's full length, unchanged without a value
 *
 * Returns XS_SUCCEED; VDX_TRUNCATED with the first size bytes; XS_END_DATA without a (further)
 * value; XS_FAIL for a detached handle, without memory, or where the section and the default one
 * are missing (VDX_MSG_CFG_SECTION unless section is empty). */
VDX_API int32_t comn_get_cfg(vdx_cfg *cfg, const char *section, int32_t section_length,
                             const char *key, int32_t key_length, vdx_cfg_cursor **cursor,
                             char *buffer, int32_t size, int32_t *value_length);

/* Steps through the sections of a file in their order, without those that errors lost. A name may
 * be there more than once: lookups find the first.
 *
 * section  zero-filled before the first call; receives the next section, unchanged without one
 *
 * Returns XS_SUCCEED; XS_END_DATA after the last; XS_FAIL for a detached handle. */
VDX_API int32_t comn_nextsection_cfg(vdx_cfg *cfg, vdx_cfg_section *section);

/* Tells whether the file ends within a string, so that what follows its opening quote is lost, other
 * sections with it.
 *
 * line  receives the line of that quote, unchanged where there is none
 *
 * Returns XS_SUCCEED; XS_END_DATA when every string is closed; XS_FAIL for a detached handle. */
VDX_API int32_t comn_openquote_cfg(vdx_cfg *cfg, int32_t *line);

/* Releases a cursor before its end, before its handle is dropped. A null cursor is nothing to do.
 * Returns XS_SUCCEED, XS_FAIL for a detached handle. */
VDX_API int32_t comn_nextdrop_cfg(vdx_cfg *cfg, vdx_cfg_cursor *cursor);

/* Drops a handle; with the last one of its file, the file's data. option VDX_UNUSED, or
 * VDX_CFG_FORCE: other handles are detached (VDX_MSG_CFG_FORCED) and the data is freed at once, so
 * no thread may still be looking up. Returns XS_SUCCEED, or XS_FAIL for a handle that was detached
 * (VDX_MSG_CFG_DETACHED): it is then the caller's to give to free(). */
VDX_API int32_t comn_drop_cfg(vdx_cfg *cfg, int32_t option);

/* Frees every file of a list (null: none) without locking. Handles on them are detached. A list that
 * is an area's (vdx_appglobal.configurations) is first taken out of it by the caller, who leaves
 * null there: the area would go on to use it. Returns XS_SUCCEED. */
VDX_API int32_t comn_globdrop_cfg(vdx_cfg_record *list);

/* The steps of a parse, as comn_init_cfg takes them. A file is parsed between cfg__init_parse and
 * cfg__clean_parse of one handle; of all handles of the process, one at a time. */

/* Tokens of the scanner. */
enum {
  VDX_CFGTOK_END = 0,          /* end of input */
  VDX_CFGTOK_BLANK = 1,        /* blanks or a comment */
  VDX_CFGTOK_INCLUDE = 2,      /* the word include */
  VDX_CFGTOK_NEWLINE = 3,      /* a line end with the blanks before it */
  VDX_CFGTOK_STRING_START = 4, /* the opening quote */
  VDX_CFGTOK_STRING = 5,       /* a run of characters of a string */
  VDX_CFGTOK_QUOTE = 6,        /* two quotes in a string */
  VDX_CFGTOK_STRING_END = 7,   /* the closing quote */
  VDX_CFGTOK_CONTINUE = 8,     /* a backslash and a line end */
  VDX_CFGTOK_IDENT = 9,        /* a word that starts with a letter */
  VDX_CFGTOK_VALUE = 10,       /* any other word */
  VDX_CFGTOK_OPEN = 11,        /* [ */
  VDX_CFGTOK_CLOSE = 12,       /* ] */
  VDX_CFGTOK_EQUALS = 13,      /* = */
  VDX_CFGTOK_UNKNOWN = 14
};

/* Opens the file and makes the parse state. Returns 1, or 0 with nothing left behind: the file
 * cannot be opened (VDX_MSG_CFG_OPEN) or memory is short. */
VDX_API int32_t cfg__init_parse(vdx_cfg *cfg);

/* Ends a parse, whether it succeeded or not: file, buffer and tokens are released. Returns 1. */
VDX_API int32_t cfg__clean_parse(vdx_cfg *cfg);

/* Parses the whole file. Lines that need no tokens to be understood are read without them. Returns
 * 1, or 0 without memory. */
VDX_API int32_t cfg__parse(vdx_cfg *cfg);

/* Takes the next character; cfg__marktok makes a token of all that were taken since the last one.
 * Returns it as the scanner sees it: its ASCII code, 0xF1 where it has none, -1 with nothing taken
 * at the end of the file (VDX_MSG_CFG_CUT inside a character) or without memory. */
VDX_API int32_t cfg__getc(vdx_cfg *cfg);

/* Turns the scanner to its start in the file that cfg is parsing; null: to no file. */
VDX_API void com__yyrestart(vdx_cfg *cfg);

/* Chooses the scanner's state: 1 normal, 2 within a string; others are a failed assertion. */
VDX_API void cfg__lexstate(int32_t state);

/* Scans one token of the file that com__yyrestart chose. Returns its VDX_CFGTOK_ code. */
VDX_API int32_t cfg__lex(void);

/* Scans one token and marks its text. Returns the code; token receives the token, null at the end
 * of input. -1 without memory. */
VDX_API int32_t cfg__nexttok(vdx_cfg *cfg, vdx_cfg_token **token);

/* The token of `length` bytes at `offset` of the raw buffer, at the head of the live tokens. Null
 * without memory. */
VDX_API vdx_cfg_token *cfg__newtok(vdx_cfg *cfg, int32_t offset, int32_t length);

/* The token of the characters that cfg__lex and cfg__getc took since the last one, of any number.
 * Null without memory. */
VDX_API vdx_cfg_token *cfg__marktok(vdx_cfg *cfg);

/* Appends the pieces of second to those of first; either may be null. Returns the whole. */
VDX_API vdx_cfg_token *cfg__cat(vdx_cfg_token *first, vdx_cfg_token *second);

/* Copies the text of a chain of pieces (null: none) to a block of the file's memory, of at least
 * one byte. Returns the bytes copied, -1 without memory and with a null block. */
VDX_API int32_t cfg__catbuf(vdx_cfg *cfg, const vdx_cfg_token *pieces, char **block);

/* Moves the text of the live tokens, and what follows it, to the start of the raw buffer. A parse
 * does so whenever that buffer is full. */
VDX_API void cfg__clearbuf(vdx_cfg *cfg);

/* Releases all live tokens but the newest; what they held of the raw buffer is free. valid 0 marks
 * the current section invalid. */
VDX_API void cfg__clearparse(vdx_cfg *cfg, int32_t valid);

/* Reports a syntax error at the newest token: VDX_MSG_CFG_SYNTAX. */
VDX_API void cfg__parse_error(vdx_cfg *cfg);

/* Ends the current section and starts one, valid and empty, of the name in pieces; null: none, as
 * at the end of input, which makes the entries read so far ready to be looked up. A section that
 * ends invalid is removed. Returns 1, 0 without memory. */
VDX_API int32_t cfg__add_section(vdx_cfg *cfg, const vdx_cfg_token *name);

/* Appends a value to a key of the current section. Returns 1, 0 without memory. */
VDX_API int32_t cfg__add_entry(vdx_cfg *cfg, const vdx_cfg_token *key, const vdx_cfg_token *value);

/* Appends an include to the current section, or marks that section invalid (VDX_MSG_CFG_INCLUDE) for
 * a section that is not yet defined or is itself. Returns 1, 0 without memory. */
VDX_API int32_t cfg__add_include(vdx_cfg *cfg, const vdx_cfg_token *name);

/* Compares names of given lengths as bytes, VDX_NULLTERM allowed; of names that begin alike the
 * shorter comes first. Returns -1, 0 or 1. */
VDX_API int32_t com_memcmpfn_nt(const void *a, int32_t a_length, const void *b, int32_t b_length);

/* Compares up to length (0 or more) bytes of two texts as unsigned bytes, ending at a zero byte in
 * both. Returns -1, 0 or 1. */
VDX_API int32_t com_unsignstrncmp(const char *a, const char *b, int32_t length);

/* Paths below the home directory, which the environment variable VERDEX names. They hold
 * backslashes on every platform; files are opened under the name as it is, then with a slash for
 * every backslash. A piece is a backslash and a name; the zero-terminated path stays below size
 * (at least 1) bytes, and the first piece that does not fit is left off with all that follow; a
 * first one, as home is, is cut. Variables of any length are read as a whole. Functions without a
 * result do not tell that something is left off.
 * VERDEX unset is -1, stored in context->os_error where there is a context; context may be null.
 *
 * In a program that runs with more rights than its user (set-user-id or set-group-id) every
 * variable counts as unset: the user must not choose the program's files. */

/* <home>[\<value of VERDEX_NCL> with subdirectory not 0]\ini\<file>. */
VDX_API void com_path_cfgfile(vdx_context *context, const char *file, char *buffer, int32_t size,
                              int32_t subdirectory);

/* The value of VDXNCL_IFILE, else <home>\ini\sql.ini. Returns 1, 0 where it does not fit, -301
 * without home. */
VDX_API int32_t com_path_ifile(vdx_context *context, char *buffer, int32_t size);

/* <home>[\<value of VERDEX_NCL> with subdirectory 1][\<first>][\<second>]; null components are left
 * out. Without home the buffer holds an empty text. */
VDX_API void com_path_anyfile(char *buffer, int32_t size, const char *first, const char *second,
                              int32_t subdirectory);

/* <home>\charsets[\<charset>][\<file>[\<subfile>]]; null parts are left out, subfile also without a
 * file. Returns 1, 0 where a piece does not fit, -301 without home. */
VDX_API int32_t com_path_charfile(vdx_context *context, const char *charset, const char *file,
                                  const char *subfile, char *buffer, int32_t size);

/* <home>\locales\message\<language>\<file>. unused is not read; file_length is the file name's, or
 * VDX_NULLTERM. Returns 1, 0 where a piece does not fit, -301 without home. */
VDX_API int32_t com_path_msgfile(vdx_context *context, const char *language, const void *unused,
                                 const char *file, int32_t file_length, char *buffer, int32_t size);

/* The path set by com_set_tclcfg, else the value of VDXNCL_TCL_CFG, else of VERDEX_TCL_CFG, else
 * that of com_path_cfgfile for libtcl.cfg with the subdirectory. Returns its length, 0 for none or
 * one that does not fit with its zero byte. */
VDX_API int32_t com_get_tclcfg(char *buffer, int32_t size);

/* Sets the path that com_get_tclcfg gives, process-wide and unlocked; null takes it back. Returns 1,
 * or 0 with nothing changed for a path of 512 bytes and more. */
VDX_API int32_t com_set_tclcfg(const char *path);

/* The value of an environment variable, at most 256 bytes of it, in a block that the caller gives to
 * free(). Null for a null name, a variable that is unset or empty (or counts as unset, see above),
 * or without memory. */
VDX_API char *com_getenv(const char *name);

VDX_END_DECLS

#endif
