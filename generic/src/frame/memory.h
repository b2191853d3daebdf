// Bytes in memory at any address: loads, stores, byte order, and how far past a text may be read.
#ifndef VDX_FRAME_MEMORY_H
#define VDX_FRAME_MEMORY_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/compiler.h"

namespace vdx {

static_assert(std::endian::native == std::endian::little,
              "blocks hold text in little-endian words");

template <typename T>
inline T load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <typename T>
inline void store(void* to, T value) {
  std::memcpy(to, &value, sizeof value);
}

// The first n (2 to 8) bytes of a word, and nothing after them.
inline void store_bytes(void* to, std::uint64_t word, std::uint32_t n) {
  auto* const at = static_cast<unsigned char*>(to);
  if (n >= 4) {
    store(at, static_cast<std::uint32_t>(word));
    store(at + n - 4, static_cast<std::uint32_t>(word >> (8 * (n - 4))));
  } else {
    store(at, static_cast<std::uint16_t>(word));
    store(at + n - 2, static_cast<std::uint16_t>(word >> (8 * (n - 2))));
  }
}

// Compilers know this shape as one instruction.
constexpr std::uint64_t reverse_bytes(std::uint64_t v) {
  v = (v >> 8 & 0x00FF00FF00FF00FF) | (v & 0x00FF00FF00FF00FF) << 8;
  v = (v >> 16 & 0x0000FFFF0000FFFF) | (v & 0x0000FFFF0000FFFF) << 16;
  return v >> 32 | v << 32;
}

inline constexpr std::uint64_t kEightBlanks = 0x2020202020202020;

// Memory is protected by pages of 4096 bytes or more: n bytes that begin (or end) in the page of a
// byte that may be read can all be read, whoever they belong to.
#if defined(VDX_NO_READ_AHEAD)
constexpr bool can_read_ahead(const void*, std::size_t) { return false; }
constexpr bool can_read_back(const void*, std::size_t) { return false; }
#else
inline constexpr std::uintptr_t kPage = 4096;
// Whether the n bytes from p on can be read if the first of them can.
VDX_INLINE bool can_read_ahead(const void* p, std::size_t n) {
  return (reinterpret_cast<std::uintptr_t>(p) & (kPage - 1)) <= kPage - n;
}
// Whether the n bytes before p can be read if the one at p can.
VDX_INLINE bool can_read_back(const void* p, std::size_t n) {
  return (reinterpret_cast<std::uintptr_t>(p) & (kPage - 1)) >= n;
}
#endif

}  // namespace vdx

#endif
