/* The version of the library: of its headers when a program is compiled, and of the library that it
 * runs with. VDX_VERSION, in types.h, is another thing: the version of the context record. */
#ifndef VDXCOMN_VERSION_H
#define VDXCOMN_VERSION_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

#define VDX_VERSION_MAJOR 1
#define VDX_VERSION_MINOR 0
#define VDX_VERSION_PATCH 0

/* One number that grows with each version. */
#define VDX_VERSION_NUMBER \
  (VDX_VERSION_MAJOR * 1000000 + VDX_VERSION_MINOR * 1000 + VDX_VERSION_PATCH)

/* The version of the library in use, "1.0.0": a zero-terminated text of the library's. */
VDX_API const char *comn_version(void);

/* The same as a number, VDX_VERSION_NUMBER of that library. */
VDX_API int32_t comn_version_number(void);

VDX_END_DECLS

#endif
