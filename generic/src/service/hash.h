// Texts as keys: their hash, and whether two of them are the same. Both are inlined and load words
// of fixed size, which overlap where the length asks for it; nothing beyond a text is read.
#ifndef VDX_SERVICE_HASH_H
#define VDX_SERVICE_HASH_H

#include <cstdint>
#include <string_view>

#include "frame/memory.h"

namespace vdx {

// Every bit of the text reaches every bit of the result, so that a table may use any of them. The
// hash of a text as the seed of the next one makes a hash of both.
inline std::uint32_t hash_text(std::string_view text, std::uint32_t seed = 0) {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
  std::uint64_t hash = (text.size() ^ std::uint64_t{seed} << 32) * kOdd;
  // A product carries upwards only; its high half is folded onto the low one.
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * kOdd;
    hash ^= hash >> 32;
  };
  const char* at = text.data();
  std::size_t left = text.size();
  const auto byte = [&at](std::size_t index) {
    return std::uint64_t{static_cast<std::uint8_t>(at[index])};
  };
  for (; left > 8; left -= 8, at += 8) mix(load<std::uint64_t>(at));
  if (text.size() >= 8)
    mix(load<std::uint64_t>(at + left - 8));
  else if (left >= 4)
    mix(load<std::uint32_t>(at) | std::uint64_t{load<std::uint32_t>(at + left - 4)} << 32);
  else if (left != 0)
    mix(byte(0) | byte(left / 2) << 8 | byte(left - 1) << 16);
  return static_cast<std::uint32_t>(hash * kOdd >> 32);
}

// The first is the one whose length is known early: branches on it do not wait for the second.
inline bool same_text(std::string_view first, std::string_view second) {
  std::size_t left = first.size();
  if (left != second.size()) return false;
  const char* a = first.data();
  const char* b = second.data();
  if (left < 4) {
    for (; left != 0; --left, ++a, ++b)
      if (*a != *b) return false;
    return true;
  }
  if (left < 8)
    return load<std::uint32_t>(a) == load<std::uint32_t>(b) &&
           load<std::uint32_t>(a + left - 4) == load<std::uint32_t>(b + left - 4);
  for (; left > 8; left -= 8, a += 8, b += 8)
    if (load<std::uint64_t>(a) != load<std::uint64_t>(b)) return false;
  return load<std::uint64_t>(a + left - 8) == load<std::uint64_t>(b + left - 8);
}

}  // namespace vdx

#endif
