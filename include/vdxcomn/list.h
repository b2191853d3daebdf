/* The list manager: keyed and unkeyed lists of the caller's pointers.
 *
 * An instance owns lists; a list holds elements in the order of their insertion. An element is a
 * pointer that the list never follows, keeps nothing of and never releases. A keyed list finds an
 * element by its key in constant time. Keys are bytes, compared byte for byte with their length;
 * they are not copied: a key stays the caller's and must neither move nor change while its entry
 * is in the list (it is usually a part of the element).
 *
 * Memory comes from the context given to lm_initlm, or from malloc; only lm_initlm, lm_list_alloc
 * and the inserting operations take any. A call that fails leaves everything as it was.
 *
 * Threads: any number may look at a list at once (VDX_LM_FIND, VDX_LM_FIRST, VDX_LM_NEXT,
 * VDX_LM_APPLY, VDX_LM_COUNT and reading properties); whoever changes a list, or the lists of an
 * instance, must be alone with it.
 *
 * Every status goes through the return tracer. A null pointer where one is required, an unknown
 * code and a negative length that is no marker are failed checks and give XS_FAIL when resumed. */
#ifndef VDXCOMN_LIST_H
#define VDXCOMN_LIST_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

typedef struct vdx_listmgr vdx_listmgr; /* opaque: an instance of the list manager */
typedef struct vdx_list vdx_list;       /* opaque: a list of an instance */

/* Kinds of lists. */
enum {
  VDX_LM_UNKEYED = 0, /* insertion order alone */
  VDX_LM_KEYED = 1    /* insertion order and a hashed key for every element */
};

/* Operations of lm_list_op. */
enum {
  VDX_LM_INSERT = 1,         /* add at the end; XS_FAIL where the key is already there */
  VDX_LM_APPEND = 2,         /* add at the end; of several elements with one key the oldest is found */
  VDX_LM_FIND = 3,           /* the element of a key */
  VDX_LM_DELETE = 4,         /* remove the element that VDX_LM_FIND would find */
  VDX_LM_DELETE_ELEMENT = 5, /* remove one given element */
  VDX_LM_FIRST = 6,          /* the oldest element */
  VDX_LM_NEXT = 7,           /* the element after a position */
  VDX_LM_APPLY = 8,          /* call a function for every element, oldest first */
  VDX_LM_COUNT = 9           /* the number of elements */
};

/* Actions of lm_list_prop and lm_property. */
enum { VDX_LM_GET = 1, VDX_LM_SET = 2 };

/* Properties. The value's type is in brackets. */
enum {
  VDX_LM_NAME = 1,    /* [bytes] the name, not terminated; read only */
  VDX_LM_KIND = 2,    /* [int32_t] VDX_LM_KEYED or VDX_LM_UNKEYED; lists only, read only */
  VDX_LM_MEMBERS = 3, /* [int64_t] elements of a list, lists of an instance; read only */
  VDX_LM_MEMORY = 4,  /* [int64_t] bytes taken, those of an instance's lists included; read only */
  VDX_LM_USER = 5     /* [void *] the caller's own, null at first */
};

/* What VDX_LM_APPLY calls. key is null in an unkeyed list. Returns XS_SUCCEED to go on; any other
 * value ends the walk. The function may delete elements, its own among them, and insert: what is
 * inserted meanwhile is visited too. It must not drop the list. */
typedef int32_t vdx_list_applyfn(void *element, const void *key, int32_t key_length, void *data);

/* The function of VDX_LM_APPLY and the pointer that it is given as data. */
typedef struct vdx_list_visitor {
  vdx_list_applyfn *function;
  void *data;
} vdx_list_visitor;

/* Makes an instance.
 *
 * context      where memory comes from for as long as anything is inserted; null: malloc
 * name         copied; name_length bytes, 0 or more, or VDX_NULLTERM
 * instance     receives the instance, null when the call fails
 * Returns XS_SUCCEED or XS_MEM_ERROR. */
VDX_API int32_t lm_initlm(vdx_context *context, const char *name, int32_t name_length, vdx_listmgr **instance);

/* Drops every list of the instance and the instance itself. Returns XS_SUCCEED. */
VDX_API int32_t lm_exit(vdx_listmgr *instance);

/* Makes an empty list.
 *
 * name  copied; name_length bytes, 0 or more, or VDX_NULLTERM; names need not differ
 * kind  VDX_LM_KEYED or VDX_LM_UNKEYED
 * list  receives the list, null when the call fails
 * Returns XS_SUCCEED or XS_MEM_ERROR. */
VDX_API int32_t lm_list_alloc(vdx_listmgr *instance, const char *name, int32_t name_length, int32_t kind,
                              vdx_list **list);

/* Releases the list; its elements are not touched. Returns XS_SUCCEED. */
VDX_API int32_t lm_list_drop(vdx_list *list);

/* One operation on a list.
 *
 * operation   VDX_LM_INSERT and so on
 * key         keyed lists: what VDX_LM_INSERT, VDX_LM_APPEND, VDX_LM_FIND, VDX_LM_DELETE and
 *             VDX_LM_DELETE_ELEMENT go by; else not looked at and null allowed
 * key_length  bytes of key, 0 or more, or VDX_NULLTERM
 * element     in: the element for VDX_LM_INSERT, VDX_LM_APPEND, VDX_LM_DELETE_ELEMENT; the address
 *             of a vdx_list_visitor for VDX_LM_APPLY. These require it. Out: the element for
 *             VDX_LM_FIND, VDX_LM_DELETE, VDX_LM_FIRST, VDX_LM_NEXT; null allowed. Null is an
 *             element like any other
 * position    in: where VDX_LM_NEXT goes on (required). Out: the element's place for
 *             VDX_LM_INSERT, VDX_LM_APPEND, VDX_LM_FIND, VDX_LM_FIRST and VDX_LM_NEXT, the number
 *             of elements for VDX_LM_COUNT (required); null allowed elsewhere. A place stays good
 *             for VDX_LM_NEXT while the list lives, whatever is inserted or deleted, the element
 *             at it included; 0 is the place before the first
 *
 * VDX_LM_FIND and VDX_LM_DELETE are for keyed lists (asserted). All but VDX_LM_APPLY and
 * VDX_LM_DELETE_ELEMENT take constant time on average, where no key was appended twice.
 *
 * Returns XS_SUCCEED; XS_END_DATA when there is no such element or none further: element is then
 * set to null where it is an output, position unchanged; XS_FAIL from VDX_LM_INSERT for a key that
 * is there; XS_MEM_ERROR; from VDX_LM_APPLY the first result of the function that was not
 * XS_SUCCEED. */
VDX_API int32_t lm_list_op(vdx_list *list, int32_t operation, const void *key, int32_t key_length, void **element,
                           int64_t *position);

/* Reads or sets a property of a list.
 *
 * action    VDX_LM_GET or VDX_LM_SET
 * property  VDX_LM_NAME and so on
 * buffer    the value, read or written; may be unaligned
 * size      VDX_LM_GET: bytes of room; VDX_LM_SET: bytes of the value, exactly its type's
 * length    VDX_LM_GET: receives the bytes of the value; null allowed
 * Returns XS_SUCCEED; XS_FAIL, nothing changed, for a property that the object does not have or
 * that cannot be set, and for a wrong size to set; VDX_TRUNCATED when the value is longer than
 * size: its first size bytes are written and length tells them all. */
VDX_API int32_t lm_list_prop(vdx_list *list, int32_t action, int32_t property, void *buffer, int32_t size,
                             int32_t *length);

/* The same for a property of an instance. */
VDX_API int32_t lm_property(vdx_listmgr *instance, int32_t action, int32_t property, void *buffer, int32_t size,
                            int32_t *length);

VDX_END_DECLS

#endif
