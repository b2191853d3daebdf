// Null images. An image is the bytes that stand for the null value of a datatype; its kind tells what
// follows them in a destination. A context holds a table with an image for each built-in datatype and a
// list of entries for user datatypes; both own their images. An entry without an image (null pointer,
// length 0) is one that was set to none, or whose memory ran out.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "convert/extension.h"
#include "convert/text_out.h"
#include "frame/allocate.h"
#include "frame/check.h"
#include "number/numeric.h"
#include "vdxcomn/nulls.h"

namespace vdx {

namespace {

// What follows the image in a destination.
enum NullKind : std::int32_t { null_text = 1, null_bytes = 2, null_fixed = 3, null_utf16 = 4 };

}  // namespace

}  // namespace vdx

struct vdx_null_value {
  void* image;  // null: the datatype has none; else at least one byte
  std::int32_t length;
  std::int32_t kind;
};

struct vdx_null_extension {
  std::int32_t datatype;
  vdx_null_value value;
  vdx_null_extension* next;
};

namespace vdx {

namespace {

constexpr std::uint8_t kZeros[sizeof(vdx_varchar)] = {};
constexpr std::uint8_t kNumeric[sizeof(vdx_num)] = {18};  // precision; scale 0, value 0
constexpr std::int32_t kNoLocator = -779;
constexpr std::array<std::uint8_t, 32> kLocator = [] {
  std::array<std::uint8_t, 32> image{};
  const auto word = std::bit_cast<std::array<std::uint8_t, 4>>(kNoLocator);
  for (std::size_t i = 0; i < word.size(); ++i) image[i] = word[i];
  return image;
}();

struct DefaultNull {
  const std::uint8_t* image;
  std::int32_t length;
  NullKind kind;
};

constexpr std::array<DefaultNull, VDX_DATATYPES> kDefaultNulls = [] {
  std::array<DefaultNull, VDX_DATATYPES> nulls{};
#define DATATYPE(code, name, source, destination, length, kind, bytes) \
  nulls[code] = {kZeros, bytes, null_##kind};
#define UNASSIGNED(code, bytes) nulls[code] = {kZeros, bytes, null_fixed};
#include "lists/datatypes.list"
  for (const int code : {VDX_NUM, VDX_DECIMAL})
    nulls[static_cast<std::size_t>(code)].image = kNumeric;
  for (const int code : {VDX_TEXTLOCATOR, VDX_IMAGELOCATOR, VDX_UNITEXTLOCATOR})
    nulls[static_cast<std::size_t>(code)].image = kLocator.data();
  return nulls;
}();

const DefaultNull& default_null(std::int32_t datatype) {
  return kDefaultNulls[static_cast<std::size_t>(datatype)];
}

void* copy_image(vdx_context* context, const void* image, std::int32_t length) {
  void* const copy = allocate(context, static_cast<std::size_t>(std::max(length, 1)));
  if (copy != nullptr && length > 0) std::memcpy(copy, image, static_cast<std::size_t>(length));
  return copy;
}

void drop_image(vdx_null_value& value) {
  std::free(value.image);
  value.image = nullptr;
  value.length = 0;
}

std::int32_t set_image(vdx_context* context, vdx_null_value& value, const void* image,
                       std::int32_t length) {
  drop_image(value);
  if (length == 0) return XS_SUCCEED;
  value.image = copy_image(context, image, length);
  if (value.image == nullptr) return XS_MEM_ERROR;
  value.length = length;
  return XS_SUCCEED;
}

vdx_null_extension** find_extension(vdx_context* context, std::int32_t datatype) {
  return find_link(&context->null_extensions, &vdx_null_extension::next,
                   &vdx_null_extension::datatype, datatype);
}

void release(vdx_context* context) {
  if (context->nulls != nullptr)
    for (std::int32_t i = 0; i < context->null_count; ++i) drop_image(context->nulls[i]);
  std::free(context->nulls);
  context->nulls = nullptr;
  context->null_count = 0;
  free_chain(context->null_extensions, &vdx_null_extension::next,
             [](vdx_null_extension& entry) { drop_image(entry.value); });
  context->null_extensions = nullptr;
}

bool is_numeric(std::int32_t datatype) { return datatype == VDX_NUM || datatype == VDX_DECIMAL; }

// Bytes of the destination that the image fills.
std::int32_t image_length(const vdx_datafmt& format, const vdx_null_value& value,
                          std::int32_t room) {
  const bool sized = is_numeric(format.datatype) && format.precision >= 1 && format.precision <= 77;
  return std::min(sized ? numeric_length(format.precision) : value.length, room);
}

}  // namespace

}  // namespace vdx

std::int32_t com_null_init(vdx_context* context) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  vdx::release(context);
  context->null_count = VDX_DATATYPES;
  const std::size_t bytes = VDX_DATATYPES * sizeof(vdx_null_value);
  context->nulls = static_cast<vdx_null_value*>(vdx::allocate(context, bytes));
  if (context->nulls == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  // Every entry is whole from the start, so that what a failure leaves can be released.
  for (std::int32_t i = 0; i < VDX_DATATYPES; ++i)
    context->nulls[i] = {nullptr, 0, vdx::default_null(i).kind};
  for (std::int32_t i = 0; i < VDX_DATATYPES; ++i) {
    const vdx::DefaultNull& initial = vdx::default_null(i);
    vdx_null_value& value = context->nulls[i];
    value.image = vdx::copy_image(context, initial.image, initial.length);
    if (value.image == nullptr) return VDX_TRACE(XS_MEM_ERROR);
    value.length = initial.length;
  }
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_null_set(vdx_context* context, std::int32_t datatype, const void* value,
                          std::int32_t length) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  if (length > 0) VDX_CHECK_POINTER(value, XS_FAIL);
  VDX_ASSERT(length >= 0 && datatype >= 0, XS_FAIL);
  if (datatype >= VDX_USER) {
    vdx_null_extension* const entry =
        vdx::entry_at(context, vdx::find_extension(context, datatype),
                      {datatype, {nullptr, 0, vdx::null_bytes}, nullptr});
    if (entry == nullptr) return VDX_TRACE(XS_MEM_ERROR);
    return VDX_TRACE(vdx::set_image(context, entry->value, value, length));
  }
  VDX_CHECK_POINTER(context->nulls, XS_FAIL);
  return VDX_TRACE(vdx::set_image(context, context->nulls[datatype], value, length));
}

std::int32_t com_null_get(vdx_context* context, const vdx_datafmt* format, void* destination,
                          std::int32_t maxlength, std::int32_t* length) {
  VDX_CHECK_POINTER(context, VDX_OVERFLOW);
  VDX_CHECK_POINTER(format, VDX_OVERFLOW);
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(format->datatype >= 0 && maxlength >= 0, VDX_OVERFLOW);
  const vdx_null_value* value = nullptr;
  if (format->datatype >= VDX_USER) {
    const vdx_null_extension* const entry = *vdx::find_extension(context, format->datatype);
    VDX_CHECK_POINTER(entry, VDX_OVERFLOW);
    value = &entry->value;
  } else {
    VDX_CHECK_POINTER(context->nulls, VDX_OVERFLOW);
    value = &context->nulls[format->datatype];
  }
  VDX_CHECK_POINTER(value->image, VDX_OVERFLOW);

  auto* const bytes = static_cast<std::uint8_t*>(destination);
  const std::int32_t n = vdx::image_length(*format, *value, maxlength);
  const std::int32_t copied = std::min(n, value->length);
  std::memcpy(bytes, value->image, static_cast<std::size_t>(copied));
  std::memset(bytes + copied, 0, static_cast<std::size_t>(n - copied));
  *length = n;

  vdx_datafmt room{};
  room.format = format->format;
  room.maxlength = maxlength;
  switch (value->kind) {
    case vdx::null_text:
      return vdx::finish_text(room, bytes, n, *length);
    case vdx::null_bytes:
      return vdx::finish_bytes(room, bytes, n, *length);
    case vdx::null_utf16:
      return vdx::finish_utf16(room, bytes, n, *length);
    default:
      if (vdx::is_numeric(format->datatype)) {
        if (n > 0) bytes[0] = static_cast<std::uint8_t>(format->precision);
        if (n > 1) bytes[1] = static_cast<std::uint8_t>(format->scale);
      }
      return VDX_SUCCESS;
  }
}

std::int32_t com_null_reinstall(vdx_context* context, std::int32_t datatype) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  VDX_ASSERT(datatype >= 0, XS_FAIL);
  if (datatype >= VDX_USER) {
    if (vdx_null_extension* const entry = *vdx::find_extension(context, datatype))
      vdx::drop_image(entry->value);
    return VDX_TRACE(XS_SUCCEED);
  }
  VDX_CHECK_POINTER(context->nulls, XS_FAIL);
  vdx_null_value& value = context->nulls[datatype];
  VDX_CHECK_POINTER(value.image, XS_FAIL);
  const vdx::DefaultNull& initial = vdx::default_null(datatype);
  if (initial.length > value.length) {
    void* const image = vdx::copy_image(context, initial.image, initial.length);
    if (image == nullptr) return VDX_TRACE(XS_MEM_ERROR);
    std::free(value.image);
    value.image = image;
  } else {
    std::memcpy(value.image, initial.image, static_cast<std::size_t>(initial.length));
  }
  value.length = initial.length;
  value.kind = initial.kind;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_null_free(vdx_context* context) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  vdx::release(context);
  return VDX_TRACE(XS_SUCCEED);
}
