// Arrays of texts, dates and numerics: a loop of single conversions, each long enough that vectors
// would gain nothing.
#include "convert/batch.h"
#include "vdxcomn/batch.h"

#define BATCH_NUMBER(S, D, way)
#define BATCH_EACH(S, D, way)                                                         \
  std::int64_t comnb_##S##to##D(const void* source, std::ptrdiff_t source_stride,     \
                                void* destination, std::ptrdiff_t destination_stride, \
                                std::int32_t* codes, std::size_t n) {                 \
    return vdx::convert_each<vdx::family_##S, vdx::family_##D, vdx::way>(             \
        nullptr, nullptr, {static_cast<const unsigned char*>(source), source_stride}, \
        {static_cast<unsigned char*>(destination), destination_stride}, codes, n);    \
  }
#define BATCH_TEXT(D)                                                                \
  std::int64_t comnb_charto##D(vdx_context* context, const vdx_datafmt* format,      \
                               const void* source, std::ptrdiff_t source_stride,     \
                               void* destination, std::ptrdiff_t destination_stride, \
                               std::int32_t* codes, std::size_t n) {                 \
    return vdx::convert_each<vdx::family_char, vdx::family_##D, vdx::direct>(        \
        context, format, {static_cast<const unsigned char*>(source), source_stride}, \
        {static_cast<unsigned char*>(destination), destination_stride}, codes, n);   \
  }
#include "lists/batch.list"
