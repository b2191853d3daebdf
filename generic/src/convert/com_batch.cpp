// Arrays of numbers. Values are dense where the stride is their size. Chunks of dense values go through
// loops that compilers turn into vector code; others are gathered first and spread afterwards.
#include "convert/batch.h"
#include "vdxcomn/batch.h"

// Loops of 32-byte vectors beside the baseline's, where a processor may have them.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(VDX_PORTABLE)
#define VDX_BATCH_AVX2 1
#include <emmintrin.h>
#endif

namespace vdx {
namespace {

constexpr std::size_t kChunk = 512;

// Converts at most kChunk dense values; returns how many codes are not VDX_SUCCESS.
using Kernel = std::uint32_t(const unsigned char* source, unsigned char* destination,
                             std::int32_t* codes, std::size_t n);

template <Family Source>
constexpr bool kRefuses = requires(const Call& call) {
  datatype<Source>::readable(call);
};

// An integer of eight bytes to one of four or fewer, as two halves: a vector has twice as many lanes of
// four bytes, and baseline vectors can compare those.
template <Integral From, Integral To>
VDX_INLINE std::int32_t narrow_halves(const unsigned char* source, To& to) {
  constexpr std::size_t kLow = std::endian::native == std::endian::little ? 0 : 4;
  const auto low = load<std::uint32_t>(source + kLow),
             high = load<std::uint32_t>(source + 4 - kLow);
  const To cut = static_cast<To>(low);
  const auto sign = static_cast<std::uint32_t>(static_cast<std::int32_t>(low) >> 31);
  // Whether each half is what it is in a value that fits.
  const bool low_fits = static_cast<std::uint32_t>(cut) == low;
  const bool high_fits = high == (std::is_signed_v<From> && std::is_signed_v<To> ? sign : 0);
  const bool sign_fits = std::is_signed_v<From> || std::is_unsigned_v<To> || sign == 0;
  const bool fits = low_fits & high_fits & sign_fits;
  const bool below = std::is_signed_v<From> && static_cast<std::int32_t>(high) < 0;
  // Both are made before one is chosen: compilers turn that into fewer vector instructions.
  const To limit = nearest_limit<To>(below);
  const std::int32_t code = range_code<To>(below);
  to = fits ? cut : limit;
  return fits ? std::int32_t{VDX_SUCCESS} : code;
}

// An integer to one of fewer bytes: clamped at its own width, then packed once.
template <Integral From, Integral To>
VDX_INLINE std::int32_t narrow_lanes(From from, To& to) {
  constexpr From kMost = static_cast<From>(std::numeric_limits<To>::max());
  constexpr From kLeast =
      std::is_signed_v<From> ? static_cast<From>(std::numeric_limits<To>::min()) : From{0};
  const From raised = from < kLeast ? kLeast : from;
  const From near = raised > kMost ? kMost : raised;
  to = static_cast<To>(near);
  return near == from ? std::int32_t{VDX_SUCCESS} : range_code<To>(std::cmp_less(from, 0));
}

template <Family Family_>
struct integer_of {
  template <Integral T>
  static T type(const integer<T>&);
  static void type(...);
  using Type = decltype(type(std::declval<datatype<Family_>>()));
};

// One value, from memory to memory.
template <Family Source, Family Destination, typename Way>
VDX_INLINE std::int32_t convert_one(const unsigned char* source, unsigned char* result) {
  using From = typename integer_of<Source>::Type;
  using To = typename integer_of<Destination>::Type;
  if constexpr (Integral<From> && Integral<To>) {
    if constexpr (sizeof(From) > sizeof(To)) {
      To to;
      std::int32_t code;
      if constexpr (sizeof(From) == 8)
        code = narrow_halves<From>(source, to);
      else
        code = narrow_lanes(load<From>(source), to);
      store(result, to);
      return code;
    }
  }
  std::int32_t length;
  return Way::template convert<Source, Destination>(
      {nullptr, nullptr, source, nullptr, result, &length});
}

// Each result is made in a local buffer and always stored, so that the loop has no branch; where the
// conversion leaves a destination unchanged, the buffer holds the old value. Failures are counted in a
// second loop: in the first, the compiler would give each code a path of its own.
template <Family Source, Family Destination, typename Way>
VDX_INLINE std::uint32_t convert_dense(const unsigned char* __restrict source,
                                       unsigned char* __restrict destination,
                                       std::int32_t* __restrict codes, std::size_t n) {
  constexpr std::size_t kFrom = datatype<Source>::kLength, kTo = datatype<Destination>::kLength;
  std::uint32_t failed = 0;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char result[kTo];
    if constexpr (kRefuses<Source>) std::memcpy(result, destination + i * kTo, kTo);
    codes[i] = convert_one<Source, Destination, Way>(source + i * kFrom, result);
    std::memcpy(destination + i * kTo, result, kTo);
  }
  for (std::size_t i = 0; i < n; ++i) failed += codes[i] != VDX_SUCCESS ? 1 : 0;
  return failed;
}

template <Family Source, Family Destination, typename Way>
VDX_FLATTEN std::uint32_t plain_kernel(const unsigned char* __restrict source,
                                       unsigned char* __restrict destination,
                                       std::int32_t* __restrict codes, std::size_t n) {
  return convert_dense<Source, Destination, Way>(source, destination, codes, n);
}

#if defined(VDX_BATCH_AVX2)
template <Family Source, Family Destination, typename Way>
[[gnu::target("avx2")]] VDX_FLATTEN std::uint32_t avx2_kernel(
    const unsigned char* __restrict source, unsigned char* __restrict destination,
    std::int32_t* __restrict codes, std::size_t n) {
  return convert_dense<Source, Destination, Way>(source, destination, codes, n);
}

const bool kHasAvx2 = [] {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0;
}();
#endif

struct Pair {
  std::ptrdiff_t source_size, destination_size;
  bool refuses;
  Kernel* kernel;
};

template <typename Word>
void copy_words(Sources from, Destinations to, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) store(to.at(i), load<Word>(from.at(i)));
}

void copy_values(std::ptrdiff_t size, Sources from, Destinations to, std::size_t n) {
  switch (size) {
    case 1:
      return copy_words<std::uint8_t>(from, to, n);
    case 2:
      return copy_words<std::uint16_t>(from, to, n);
    case 4:
      return copy_words<std::uint32_t>(from, to, n);
    default:
      return copy_words<std::uint64_t>(from, to, n);
  }
}

// Results of this many bytes and more are beyond the caches of most machines: written past them,
// their lines need not be read first.
constexpr std::size_t kStreamed = std::size_t{32} << 20;

#if defined(VDX_BATCH_AVX2)
constexpr bool kStreams = true;
void stream(void* to, const void* from, std::size_t n) {
  auto* const out = static_cast<unsigned char*>(to);
  auto* const in = static_cast<const unsigned char*>(from);
  std::size_t at = (0 - reinterpret_cast<std::uintptr_t>(to)) % 16;
  if (at > n) at = n;
  std::memcpy(out, in, at);
  for (; n - at >= 16; at += 16)
    _mm_stream_si128(reinterpret_cast<__m128i*>(out + at),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + at)));
  std::memcpy(out + at, in + at, n - at);
}
void end_streams() { _mm_sfence(); }
#else
constexpr bool kStreams = false;
void stream(void* to, const void* from, std::size_t n) { std::memcpy(to, from, n); }
void end_streams() {}
#endif

std::int64_t convert_chunks(const Pair& pair, Sources sources, Destinations destinations,
                            std::int32_t* codes, std::size_t n) {
  alignas(32) unsigned char gathered[kChunk * 8];
  alignas(32) unsigned char converted[kChunk * 8];
  alignas(32) std::int32_t chunk_codes[kChunk];
  const std::ptrdiff_t size = pair.destination_size;
  const bool gather = sources.stride != pair.source_size;
  const bool spread = destinations.stride != size;
  const bool streamed = kStreams && !spread && n >= kStreamed / static_cast<std::size_t>(size);
  const bool aside = spread || streamed;
  std::int64_t failed = 0;
  for (std::size_t done = 0; done < n; done += kChunk) {
    const std::size_t count = n - done < kChunk ? n - done : kChunk;
    const Sources in{sources.at(done), sources.stride};
    const Destinations out{destinations.at(done), destinations.stride};
    if (gather && (done == 0 || sources.stride != 0))
      copy_values(pair.source_size, in, {gathered, pair.source_size}, count);
    if (aside && pair.refuses) copy_values(size, {out.first, out.stride}, {converted, size}, count);
    failed += pair.kernel(gather ? gathered : in.first, aside ? converted : out.first,
                          codes == nullptr || streamed ? chunk_codes : codes + done, count);
    if (spread) copy_values(size, {converted, size}, out, count);
    if (streamed) {
      stream(out.first, converted, count * static_cast<std::size_t>(size));
      if (codes != nullptr) stream(codes + done, chunk_codes, count * sizeof *codes);
    }
  }
  if (streamed) end_streams();
  return failed;
}

template <Family Source, Family Destination, typename Way>
VDX_INLINE std::int64_t convert_numbers(Sources sources, Destinations destinations,
                                        std::int32_t* codes, std::size_t n) {
  Pair pair{datatype<Source>::kLength, datatype<Destination>::kLength, kRefuses<Source>,
            plain_kernel<Source, Destination, Way>};
#if defined(VDX_BATCH_AVX2)
  if (kHasAvx2) pair.kernel = avx2_kernel<Source, Destination, Way>;
#endif
  return convert_chunks(pair, sources, destinations, codes, n);
}

}  // namespace
}  // namespace vdx

#define BATCH_EACH(S, D, way)
#define BATCH_TEXT(D)
#define BATCH_NUMBER(S, D, way)                                                       \
  std::int64_t comnb_##S##to##D(const void* source, std::ptrdiff_t source_stride,     \
                                void* destination, std::ptrdiff_t destination_stride, \
                                std::int32_t* codes, std::size_t n) {                 \
    return vdx::convert_numbers<vdx::family_##S, vdx::family_##D, vdx::way>(          \
        {static_cast<const unsigned char*>(source), source_stride},                   \
        {static_cast<unsigned char*>(destination), destination_stride}, codes, n);    \
  }
#include "lists/batch.list"
