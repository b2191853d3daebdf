/* Argument checks, return tracing and the debug stream.
 *
 * Every exported function checks its pointers and then its contract. A failed check reports the
 * source file and line on standard error and takes the fatal exit. It is a programming error of
 * the caller, no result that could be handled:
 *
 *   abort mode 1 (the default)  standard error is closed for good (descriptor 2 then leads to the
 *                               null device, so later reports are dropped) and abort() is called
 *   any other mode              standard error is flushed and SIGABRT raised in the calling
 *                               thread: a handler of the caller's may leave by siglongjmp or
 *                               return; without a handler the process ends
 *
 * With trace mode 2 or 3 the debug stream also receives a line that names the function and what
 * failed, between the report and the exit: "(null pointer) file x, line 7: com_prhex: out\n", or
 * "(assertion) file x, line 9: com_errset: " and the condition.
 *
 * When such a handler returns, the checked function returns at once with its failure result: 0
 * for a status, null for a pointer, VDX_OVERFLOW for a conversion where nothing else is said.
 *
 * Abort mode, trace mode and debug file are process-wide and unlocked. Changing a mode while other
 * threads run is safe, when they see it is not defined. Closing or replacing the debug file while
 * another thread prints is the caller's to prevent: that thread may write to a stream that is
 * closed already. Nothing here allocates; what the C library needs for a stream that it opens is
 * its own. */
#ifndef VDXCOMN_FRAME_H
#define VDXCOMN_FRAME_H

#include <stdarg.h>

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

/* Reports a null pointer argument and takes the fatal exit. file: zero-terminated name of the
 * source file, line: that of the check. Returns only where a handler resumed. */
VDX_API void com_raise_invalid_null_pointer(const char *file, int32_t line);

/* Reports a failed assertion and takes the fatal exit; arguments as above. */
VDX_API void com_bomb(const char *file, int32_t line);

/* Sets the abort mode: 1, or any other value (see above). */
VDX_API void com_toggle_abort(int32_t mode);

/* Reports an unrecoverable error (zero-terminated text) on standard error and ends the process
 * with exit(-1). A null message is reported as a null pointer. */
VDX_API void com_panic(const char *message);

/* Writes a zero-terminated message to standard error and appends it to the file "vdxinit.err" of
 * the current directory; a file that cannot be opened is passed over in silence. The message is
 * format text without arguments: "%%" writes "%", any other "%" stands for itself. */
VDX_API void com_perr(const char *message);

/* Returns value unchanged and, as the trace mode asks, prints it with its place to the debug
 * stream: "(XS_FAIL) file x, line 7\n", or the decimal number where the value has no name. file
 * is cut to what follows its last "/". */
VDX_API int32_t com_errtrace(int32_t value, const char *file, int32_t line);

/* Sets the trace mode: 1 prints nothing (the default), 2 all but success, pending, interrupt and
 * the three ends of data, 3 everything. Any other mode is a failed assertion and changes
 * nothing. */
VDX_API void com_errset(int32_t mode);

/* Writes text formatted as by printf to the debug stream and flushes it. Returns 1. */
VDX_API int32_t comn_debug_print(const char *format, ...);

/* The same with an argument list and a formatter of its own. A specification is "%", any of the
 * flags "-+ #0", a width, "." and a precision, "h" or "hh", each of them optional, and one letter:
 *
 *   d x X c  a 32-bit integer
 *   s        a text; "(null)" for a null one
 *   l        a 32-bit integer, in hexadecimal for "lx" and in decimal for "ld" and a lone "l"; no
 *            "h" may stand before it
 *
 * Between "%" and the letter stand at most 24 characters, in a number at most 9 digits. What C does
 * not define is left out: "#" for decimal numbers, "#", "0" and "h" for c and s, a precision for c.
 * Anything else is not well-formed: it writes "illegal format specification\n" in its place, takes
 * no argument and ends the output. Returns 1. */
VDX_API int32_t comn_debug_vprint(const char *format, va_list arguments);

/* Opens the zero-terminated file name for writing, emptied, as the debug stream; a file that was
 * the debug stream before stays open. With enable 0 or a null name closes the debug file and
 * returns to standard output. context is not looked at. Returns 1, or 0 when the file cannot be
 * opened; the debug stream is then standard output. */
VDX_API int32_t comn_debug_setfile(vdx_context *context, const char *name, int32_t enable);

/* Place of a stack dump; looks at none of its arguments and returns 0. */
VDX_API int32_t comn_dbg_stack(void *first, void *second, void *third, void *fourth);

/* Writes *byte as two lower-case hexadecimal digits to out[0] and out[1], without a terminator. */
VDX_API void com_prhex(const uint8_t *byte, char *out);

/* Bytes of a value of the datatype; length, unchanged, for types without a fixed length, user
 * datatypes and codes that are none. */
VDX_API int32_t comn_typelen(int32_t datatype, int32_t length);

VDX_END_DECLS

#endif
