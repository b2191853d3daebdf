// Why a conversion failed, for a context that has a record for it.
#ifndef VDX_CONVERT_EXPLAIN_H
#define VDX_CONVERT_EXPLAIN_H

#include <cstdint>

#include "vdxcomn/types.h"

namespace vdx {

// Fills the context's record, if it has one, and returns the code. Only a failed call comes here: it
// reads the source once more. Where a value was overwritten by one of its own type, that still tells
// its sign.
[[gnu::cold, gnu::noinline]] std::int32_t explained(const vdx_context* context,
                                                    const vdx_datafmt* source_format,
                                                    const void* source, const vdx_datafmt* format,
                                                    std::int32_t code);

}  // namespace vdx

#endif
