// The fillers of the older interface, which need no context: each writes the caller's value, or zeros,
// and fills the rest of the room by the rule of its datatype. Each function is a row of its own, whose
// line a failed check reports.
#include <algorithm>
#include <cstring>

#include "convert/text_out.h"
#include "frame/check.h"
#include "number/numeric.h"
#include "vdxcomn/nulls.h"

namespace vdx {

namespace {

// One call of a filler.
struct Filling {
  unsigned char* destination;
  std::int32_t room;  // 0 or less: no limit
  const void* value;
  std::int32_t length;  // of the value

  std::int32_t room_or(std::int32_t all) const { return room > 0 ? room : all; }
};

// Bytes of the caller's value; negative where the length is not valid.
std::int32_t value_length(const void* value, std::int32_t length, std::int32_t fixed, bool text) {
  if (value == nullptr) return 0;
  if (length == VDX_UNUSED) return fixed;
  if (length == VDX_NULLTERM && text)
    return static_cast<std::int32_t>(std::strlen(static_cast<const char*>(value)));
  return length;
}

// Copies as much of the value as there is room for.
std::int32_t copy_value(const Filling& f, unsigned char* to, std::int32_t room) {
  const std::int32_t n = std::min(f.length, room);
  if (n > 0) std::memmove(to, f.value, static_cast<std::size_t>(n));
  return n;
}

void zero(unsigned char* bytes, std::int32_t from, std::int32_t to) {
  std::memset(bytes + from, 0, static_cast<std::size_t>(to - from));
}

// Values of one length.
template <std::int32_t Size>
struct Fixed {
  static constexpr bool kText = false;
  static constexpr std::int32_t kLength = Size;
  static constexpr std::int32_t kLeastRoom = 1;

  static std::int32_t fill(const Filling& f) {
    const std::int32_t room = std::min(f.room_or(Size), Size);
    zero(f.destination, copy_value(f, f.destination, room), room);
    return room < Size || f.length > Size ? std::int32_t{VDX_NULL_CUT} : Size;
  }
};

enum class Padding { zeros, blanks, utf16_blanks };

// Values as long as they are, and the rest of the room.
template <Padding Pad>
struct Open {
  static constexpr bool kText = Pad == Padding::blanks;
  static constexpr std::int32_t kLength = 0;
  static constexpr std::int32_t kLeastRoom = 1;

  static std::int32_t fill(const Filling& f) {
    const std::int32_t room = f.room_or(f.length);
    const std::int32_t n = copy_value(f, f.destination, room);
    if constexpr (Pad == Padding::utf16_blanks)
      fill_utf16_blanks(f.destination, n, room, false);
    else
      std::memset(f.destination + n, Pad == Padding::blanks ? ' ' : 0,
                  static_cast<std::size_t>(room - n));
    return n < f.length ? std::int32_t{VDX_NULL_CUT} : n;
  }
};

using OpenBytes = Open<Padding::zeros>;
using OpenText = Open<Padding::blanks>;
using OpenUtf16 = Open<Padding::utf16_blanks>;

// Records of a length and up to 256 bytes.
template <bool IsText>
struct Counted {
  static constexpr bool kText = IsText;
  static constexpr std::int32_t kLength = 0;
  static constexpr std::int32_t kHead = 2;
  static constexpr std::int32_t kLeastRoom = kHead;

  static std::int32_t fill(const Filling& f) {
    const std::int32_t all = sizeof(vdx_varchar);
    const std::int32_t room = std::min(f.room_or(all), all) - kHead;
    const std::int32_t n = copy_value(f, f.destination + kHead, room);
    store(f.destination, static_cast<std::int16_t>(n));
    zero(f.destination + kHead, n, room);
    return n < f.length ? std::int32_t{VDX_NULL_CUT} : n;
  }
};

using CountedBytes = Counted<false>;
using CountedText = Counted<true>;

// Exact numerics, rounded to what the caller asks for.
struct Numeric {
  static constexpr bool kText = false;
  static constexpr std::int32_t kLength = sizeof(vdx_num);

  static std::int32_t fill(const Filling& f, std::int32_t precision, std::int32_t scale) {
    unsigned char image[kLength] = {};
    std::int32_t code = kLength;
    Exact number{};
    if (f.value != nullptr) {
      copy_value(f, image, kLength);
      if (read_numeric(image, number) != VDX_SUCCESS) return VDX_INVALID;
    }
    if (write_numeric(number, precision, scale, image) == VDX_OVERFLOW) code = VDX_OVERFLOW;
    const std::int32_t room = std::min(f.room_or(kLength), kLength);
    std::memcpy(f.destination, image, static_cast<std::size_t>(room));
    return room < kLength ? std::int32_t{VDX_NULL_CUT} : code;
  }
};

}  // namespace

}  // namespace vdx

#define VDX_FILLER(name, rule)                                                                 \
  std::int32_t com_set##name##null(void* destination, std::int32_t length, const void* value,  \
                                   std::int32_t value_length) {                                \
    using Rule = vdx::rule;                                                                    \
    VDX_CHECK_POINTER(destination, 0);                                                         \
    const std::int32_t n = vdx::value_length(value, value_length, Rule::kLength, Rule::kText); \
    VDX_ASSERT(n >= 0 && (length <= 0 || length >= Rule::kLeastRoom), 0);                      \
    return Rule::fill({static_cast<unsigned char*>(destination), length, value, n});           \
  }

#define VDX_NUMERIC_FILLER(name)                                                               \
  std::int32_t com_set##name##null(void* destination, std::int32_t length, const void* value,  \
                                   std::int32_t value_length, std::int32_t precision,          \
                                   std::int32_t scale) {                                       \
    using Rule = vdx::Numeric;                                                                 \
    VDX_CHECK_POINTER(destination, 0);                                                         \
    if (precision < 1 || precision > 77) return VDX_NULL_BAD_PRECISION;                        \
    if (scale < 0 || scale > 77) return VDX_NULL_BAD_SCALE;                                    \
    const std::int32_t n = vdx::value_length(value, value_length, Rule::kLength, Rule::kText); \
    VDX_ASSERT(n >= 0, 0);                                                                     \
    return Rule::fill({static_cast<unsigned char*>(destination), length, value, n}, precision, \
                      scale);                                                                  \
  }

VDX_FILLER(i1, Fixed<1>)
VDX_FILLER(i2, Fixed<2>)
VDX_FILLER(i4, Fixed<4>)
VDX_FILLER(i8, Fixed<8>)
VDX_FILLER(ui2, Fixed<2>)
VDX_FILLER(ui4, Fixed<4>)
VDX_FILLER(ui8, Fixed<8>)
VDX_FILLER(bit, Fixed<1>)
VDX_FILLER(flt4, Fixed<4>)
VDX_FILLER(flt8, Fixed<8>)
VDX_FILLER(money, Fixed<8>)
VDX_FILLER(mny4, Fixed<4>)
VDX_FILLER(datetime, Fixed<8>)
VDX_FILLER(date4, Fixed<4>)
VDX_FILLER(datea, Fixed<4>)
VDX_FILLER(timea, Fixed<4>)
VDX_FILLER(bigdatetime, Fixed<8>)
VDX_FILLER(bigtime, Fixed<8>)
VDX_FILLER(binary, OpenBytes)
VDX_FILLER(char, OpenText)
VDX_FILLER(unichar, OpenUtf16)
VDX_FILLER(varybinary, CountedBytes)
VDX_FILLER(varychar, CountedText)
VDX_NUMERIC_FILLER(num)
VDX_NUMERIC_FILLER(decimal)
