// Memory of a context: from its callback if it has one, else from malloc; released with free in
// both cases.
#ifndef VDX_FRAME_ALLOCATE_H
#define VDX_FRAME_ALLOCATE_H

#include <cstdlib>

#include "vdxcomn/types.h"

namespace vdx {

inline void* allocate(vdx_context* context, std::size_t size) {
  return context != nullptr && context->allocate != nullptr ? context->allocate(context, size)
                                                            : std::malloc(size);
}

}  // namespace vdx

#endif
