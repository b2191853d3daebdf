// Turns the rows of a list into functions. A row is a line, so each function has a line number of
// its own to report: that of its row.
//
//   CONVERSION(source, destination, way)  exported as comn_<source>to<destination>
//   SPECIAL(source, destination, way)     exported; an exception of its family, the way is its own
//   INTERNAL(source, destination, way)    reached through the table alone
#include "convert/ways.h"
#include "frame/check.h"
#include "vdxcomn/conversions.h"

#define VDX_DEFINE(function, S, D, way)                                                     \
  VDX_FLATTEN std::int32_t function(vdx_context* context, const vdx_datafmt* source_format, \
                                    const void* source, const vdx_datafmt* format,          \
                                    void* destination, std::int32_t* length) {              \
    return vdx::run<vdx::family_##S, vdx::family_##D, vdx::way>(                            \
        {context, source_format, source, format, destination, length}, __func__, VDX_FILE,  \
        __LINE__);                                                                          \
  }
#define CONVERSION(S, D, way) VDX_DEFINE(comn_##S##to##D, S, D, way)
#define SPECIAL(S, D, way) VDX_DEFINE(comn_##S##to##D, S, D, way)
#define INTERNAL(S, D, way)               \
  namespace vdx {                         \
  extern vdx_conversion inner_##S##to##D; \
  VDX_DEFINE(inner_##S##to##D, S, D, way) \
  }
