// What the conversions of arrays share. They check nothing; the context and the format are read for
// the character set of texts alone.
#ifndef VDX_CONVERT_BATCH_H
#define VDX_CONVERT_BATCH_H

#include <cstddef>

#include "convert/ways.h"

namespace vdx {

// One array of a call. The stride is in bytes and of either sign.
template <typename Byte>
struct Strided {
  Byte* first;
  std::ptrdiff_t stride;

  Byte* at(std::size_t i) const { return first + static_cast<std::ptrdiff_t>(i) * stride; }
};
using Sources = Strided<const unsigned char>;
using Destinations = Strided<unsigned char>;

// Value by value: what a single conversion does, in a loop. The format is that of the sources.
template <Family Source, Family Destination, typename Way>
VDX_FLATTEN std::int64_t convert_each(vdx_context* context, const vdx_datafmt* format,
                                      Sources sources, Destinations destinations,
                                      std::int32_t* codes, std::size_t n) {
  const vdx_charattr* const set = is_text(Source) ? &attributes_of(context, format) : nullptr;
  std::int64_t failed = 0;
  for (std::size_t i = 0; i < n; ++i) {
    std::int32_t length;
    const std::int32_t code = Way::template convert<Source, Destination>(
        {context, format, sources.at(i), nullptr, destinations.at(i), &length, set});
    if (codes != nullptr) codes[i] = code;
    failed += code != VDX_SUCCESS;
  }
  return failed;
}

}  // namespace vdx

#endif
