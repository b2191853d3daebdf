// What every conversion should give, worked out slowly and plainly: numbers are strings of decimal
// digits, texts are lists of characters, times are thirds of a microsecond. Of the library it asks
// nothing but the lengths of the datatypes.
#ifndef VDX_TESTS_ORACLE_H
#define VDX_TESTS_ORACLE_H

#include <limits>
#include <optional>

#include "arithmetic.h"
#include "characters.h"

namespace vdx_test {

// The image of a date or time: a day since 1900-01-01, and the time in the type's own units.
Bytes date_image(std::int32_t datatype, std::int64_t day, std::int64_t units);

// clang-format off
enum class Kind { text, varchar, utf16, bytes, varbin, integer, bit, real, money, numeric, date, none };
// clang-format on
Kind kind_of(std::int32_t datatype);

struct Request {
  std::int32_t source;
  Bytes value;
  std::int32_t destination;
  Format format;  // its locales are set by whoever asks: locale_of(from), locale_of(to)
  Set from = Set::latin1, to = Set::latin1;
};

struct Answer {
  std::int32_t code;
  std::int32_t length;  // kUnset: not touched
  Bytes bytes;          // of the destination; kGuard: not touched
  // What the bytes from here on hold does not matter.
  std::size_t open_from = std::numeric_limits<std::size_t>::max();
};

Answer expect(const Request& request);

// Bytes that the value's text has where there is room for all of it; 0 for other destinations.
std::int32_t text_size(Request request);

}  // namespace vdx_test

#endif
