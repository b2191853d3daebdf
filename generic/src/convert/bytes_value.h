// Byte strings as values: copied, written as hexadecimal text and read from it, taken for images of
// fixed-length values.
#ifndef VDX_CONVERT_BYTES_VALUE_H
#define VDX_CONVERT_BYTES_VALUE_H

#include "convert/kinds.h"

namespace vdx {

inline std::int32_t write_as_bytes(const Call& call, Bytes bytes) {
  return write_bytes(call, bytes.bytes, bytes.length);
}
inline std::int32_t write_as_varbin(const Call& call, Bytes bytes) {
  return write_varbin(call, bytes.bytes, bytes.length);
}

// Two lower-case digits a byte; what does not fit is cut as the text of any value.
std::int32_t write_as_text(const Call& call, Bytes bytes);
std::int32_t write_as_varchar(const Call& call, Bytes bytes);
std::int32_t write_as_utf16(const Call& call, Bytes bytes);

// The bytes that a text of digits writes: an odd count has a leading zero, 0x in front and blanks
// around are skipped, and without digits there are no bytes.
std::int32_t write_as_bytes(const Call& call, const Text& text);
std::int32_t write_as_varbin(const Call& call, const Text& text);

// Stores bytes of another length than the image's.
[[gnu::noinline]] std::int32_t fit_image(const Call& call, Bytes bytes, std::int32_t length,
                                         bool (*is_image)(const void*));

}  // namespace vdx

#endif
