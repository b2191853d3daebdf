/* Datatypes on the wire: which token of the protocol carries a datatype, and back.
 *
 * The tables behind these calls are constant; every call is safe from any thread and allocates
 * nothing. Lengths are in bytes: the length of a token's values, or the largest one: 255, 33 for
 * exact numerics, 2147483647 for long values, 0 for void and the locators, VDX_UNUSED for blob.
 * Length kinds: 0 no length on the wire, 1 a short one, 4 a long one. Null pointers are reported, in
 * the order of the arguments. A call that fails writes nothing. */
#ifndef VDXCOMN_WIRE_H
#define VDXCOMN_WIRE_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

enum {
  VDX_NO_WIRE_TYPE = 0x4020629, /* 67241513: no datatype, or one that never travels */
  VDX_UNKNOWN_TOKEN = 0x4010529 /* 67175721: no such token, or not with this length */
};

/* Token, length kind and length of a datatype that cannot be null.
 *
 * datatype  code, any value
 * Returns XS_SUCCEED; VDX_NO_WIRE_TYPE for codes outside 0 to 39, varchar, varbin and the
 * unassigned codes. */
VDX_API int32_t com_tds_get_fixed_tdstype(int32_t datatype, int32_t *token, int32_t *length_kind,
                                          int32_t *length);

/* The same for a datatype that can be null: its nullable token where it has one. */
VDX_API int32_t com_tds_get_nullable_tdstype(int32_t datatype, int32_t *token, int32_t *length_kind,
                                             int32_t *length);

/* The datatype of a token.
 *
 * token   any value; 225 is longbin and 36 is blob, though other datatypes travel under them too
 * length  of the value: tells the datatypes of a nullable token apart, does not matter for others
 * Returns XS_SUCCEED or VDX_UNKNOWN_TOKEN. */
VDX_API int32_t com_tds_get_cstype(int32_t token, int32_t length, int32_t *datatype);

/* The length of a token's values, or the largest. Returns XS_SUCCEED; VDX_UNKNOWN_TOKEN, also for
 * nullable tokens that several datatypes or lengths share. */
VDX_API int32_t com_tds_get_tdsfixedlen(int32_t token, int32_t *length);

/* Length kind and flag (0 or 1) of a token. Returns XS_SUCCEED or VDX_UNKNOWN_TOKEN. */
VDX_API int32_t com_tds_get_tdsdatainfo(int32_t token, int32_t *length_kind, int32_t *flag);

VDX_END_DECLS

#endif
