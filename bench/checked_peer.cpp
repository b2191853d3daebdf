#include "checked_peer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

[[noreturn, gnu::noinline, gnu::cold]] void check_failed() { std::abort(); }

inline void widen(const void* source, void* destination, std::int32_t* length) {
  std::int32_t value;
  std::memcpy(&value, source, sizeof value);
  const std::int64_t wide = value;
  std::memcpy(destination, &wide, sizeof wide);
  *length = sizeof wide;
}

inline std::int32_t narrow(const void* source, void* destination, std::int32_t* length) {
  std::int32_t value;
  std::memcpy(&value, source, sizeof value);
  *length = sizeof(std::int16_t);
  if (value < INT16_MIN || value > INT16_MAX) [[unlikely]]
    return value < 0 ? VDX_UNDERFLOW : VDX_OVERFLOW;
  const auto small = static_cast<std::int16_t>(value);
  std::memcpy(destination, &small, sizeof small);
  return VDX_SUCCESS;
}

inline void check(const void* context, const vdx_datafmt* source_format, const void* source,
                  const vdx_datafmt* destination_format, const void* destination,
                  const std::int32_t* length, std::int32_t to) {
  if (context == nullptr) check_failed();
  if (source_format == nullptr) check_failed();
  if (source == nullptr) check_failed();
  if (destination_format == nullptr) check_failed();
  if (destination == nullptr) check_failed();
  if (length == nullptr) check_failed();
  if (source_format->datatype != VDX_I4) check_failed();
  if (destination_format->datatype != to) check_failed();
}

}  // namespace

std::int32_t checked_i4_to_i8(vdx_context* context, const vdx_datafmt* source_format,
                              const void* source, const vdx_datafmt* destination_format,
                              void* destination, std::int32_t* length) {
  check(context, source_format, source, destination_format, destination, length, VDX_I8);
  widen(source, destination, length);
  return VDX_SUCCESS;
}

std::int32_t checked_i4_to_i2(vdx_context* context, const vdx_datafmt* source_format,
                              const void* source, const vdx_datafmt* destination_format,
                              void* destination, std::int32_t* length) {
  check(context, source_format, source, destination_format, destination, length, VDX_I2);
  return narrow(source, destination, length);
}

std::int32_t unchecked_i4_to_i8(vdx_context*, const vdx_datafmt*, const void* source,
                                const vdx_datafmt*, void* destination, std::int32_t* length) {
  widen(source, destination, length);
  return VDX_SUCCESS;
}

std::int32_t unchecked_i4_to_i2(vdx_context*, const vdx_datafmt*, const void* source,
                                const vdx_datafmt*, void* destination, std::int32_t* length) {
  return narrow(source, destination, length);
}

}  // namespace bench
