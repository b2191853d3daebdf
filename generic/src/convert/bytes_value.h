// Byte strings as values: copied, written as hexadecimal text and read from it, taken for images of
// fixed-length values.
#ifndef VDX_CONVERT_BYTES_VALUE_H
#define VDX_CONVERT_BYTES_VALUE_H

#include "convert/kinds.h"
#include "frame/fault.h"

namespace vdx {

inline std::int32_t write_as_bytes(const Call& call, Bytes bytes) {
  return write_bytes(call, bytes.bytes, bytes.length);
}
inline std::int32_t write_as_varbin(const Call& call, Bytes bytes) {
  return write_varbin(call, bytes.bytes, bytes.length);
}

// Two lower-case digits a byte; cut like the text of any value where it does not fit.
std::int32_t write_as_text(const Call& call, Bytes bytes);
std::int32_t write_as_varchar(const Call& call, Bytes bytes);
std::int32_t write_as_utf16(const Call& call, Bytes bytes);

// The bytes that a text of hexadecimal digits stands for; none where it has no digits.
std::int32_t write_as_bytes(const Call& call, const Text& text);
std::int32_t write_as_varbin(const Call& call, const Text& text);

// What keeps a text from being hexadecimal digits, or what of it has no room in so many bytes.
void explain_bytes(const Text& text, std::int64_t room, Finding& finding);

// Stores bytes that are shorter or longer than an image of `length` bytes: with zeros appended, or
// cut.
[[gnu::noinline]] std::int32_t fit_image(const Call& call, Bytes bytes, std::int32_t length,
                                         bool (*is_image)(const void*));

}  // namespace vdx

#endif
