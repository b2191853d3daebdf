// Arrays of numbers. Chunks of dense values go through loops that compilers turn into vector code;
// values that do not lie densely are brought together first and spread out afterwards.
#include "convert/batch.h"
#include "vdxcomn/batch.h"

// Loops of 32-byte vectors beside the baseline's, where a processor may have them.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(VDX_PORTABLE)
#define VDX_BATCH_AVX2 1
#endif

namespace vdx {
namespace {

constexpr std::size_t kChunk = 512;

// Converts at most kChunk dense values; gives how many codes are not VDX_SUCCESS.
using Kernel = std::uint32_t(const unsigned char* source, unsigned char* destination,
                             std::int32_t* codes, std::size_t n);

template <Family Source>
constexpr bool kRefuses = requires(const Call& call) { datatype<Source>::readable(call); };

// A result goes to memory of the loop's own and is stored whatever became of it, so that no branch
// is left in the loop; a destination that the conversion leaves alone has its old value there.
template <Family Source, Family Destination, class Way>
VDX_INLINE std::uint32_t convert_dense(const unsigned char* __restrict source,
                                       unsigned char* __restrict destination,
                                       std::int32_t* __restrict codes, std::size_t n) {
  constexpr std::size_t kFrom = datatype<Source>::kLength, kTo = datatype<Destination>::kLength;
  std::uint32_t failed = 0;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char result[kTo];
    if constexpr (kRefuses<Source>) std::memcpy(result, destination + i * kTo, kTo);
    std::int32_t length;
    const std::int32_t code = Way::template convert<Source, Destination>(
        {nullptr, nullptr, source + i * kFrom, nullptr, result, &length});
    std::memcpy(destination + i * kTo, result, kTo);
    codes[i] = code;
    failed += code != VDX_SUCCESS ? 1 : 0;
  }
  return failed;
}

template <Family Source, Family Destination, class Way>
VDX_FLATTEN std::uint32_t plain_kernel(const unsigned char* __restrict source,
                                       unsigned char* __restrict destination,
                                       std::int32_t* __restrict codes, std::size_t n) {
  return convert_dense<Source, Destination, Way>(source, destination, codes, n);
}

#if defined(VDX_BATCH_AVX2)
template <Family Source, Family Destination, class Way>
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

template <class Word>
void copy_words(Sources from, Destinations to, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) store(to.at(i), load<Word>(from.at(i)));
}

void copy_values(std::ptrdiff_t size, Sources from, Destinations to, std::size_t n) {
  switch (size) {
    case 1: return copy_words<std::uint8_t>(from, to, n);
    case 2: return copy_words<std::uint16_t>(from, to, n);
    case 4: return copy_words<std::uint32_t>(from, to, n);
    default: return copy_words<std::uint64_t>(from, to, n);
  }
}

std::int64_t convert_chunks(const Pair& pair, Sources sources, Destinations destinations,
                            std::int32_t* codes, std::size_t n) {
  alignas(32) unsigned char gathered[kChunk * 8];
  alignas(32) unsigned char converted[kChunk * 8];
  alignas(32) std::int32_t unwanted[kChunk];
  const bool gather = sources.stride != pair.source_size;
  const bool spread = destinations.stride != pair.destination_size;
  std::int64_t failed = 0;
  for (std::size_t done = 0; done < n; done += kChunk) {
    const std::size_t count = n - done < kChunk ? n - done : kChunk;
    const Sources in{sources.at(done), sources.stride};
    const Destinations out{destinations.at(done), destinations.stride};
    if (gather && (done == 0 || sources.stride != 0))
      copy_values(pair.source_size, in, {gathered, pair.source_size}, count);
    if (spread && pair.refuses)
      copy_values(pair.destination_size, {out.first, out.stride},
                  {converted, pair.destination_size}, count);
    failed += pair.kernel(gather ? gathered : in.first, spread ? converted : out.first,
                          codes != nullptr ? codes + done : unwanted, count);
    if (spread)
      copy_values(pair.destination_size, {converted, pair.destination_size}, out, count);
  }
  return failed;
}

template <Family Source, Family Destination, class Way>
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

#define BATCH_DATE(S, D, way)
#define BATCH_TEXT(D)
#define BATCH_NUMBER(S, D, way)                                                                  \
  std::int64_t comnb_##S##to##D(const void* source, std::ptrdiff_t source_stride,                \
                                void* destination, std::ptrdiff_t destination_stride,            \
                                std::int32_t* codes, std::size_t n) {                            \
    return vdx::convert_numbers<vdx::family_##S, vdx::family_##D, vdx::way>(                     \
        {static_cast<const unsigned char*>(source), source_stride},                              \
        {static_cast<unsigned char*>(destination), destination_stride}, codes, n);               \
  }
#include "convert/batch.list"
