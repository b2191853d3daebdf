// The fast ways of columns. Rows lie one after the other, so a text is read by whole vectors that reach
// into its neighbours, and stored by words that the neighbours then overwrite. Nothing branches on what
// a row holds: a row that is not of the plain shape is only put on the list.
#include "convert/column.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "date/calendar.h"
#include "number/digits.h"
#include "number/money_value.h"
#include "vdxcomn/types.h"

#if defined(VDX_SSE2)

#if defined(__x86_64__) && defined(__GNUC__)
#define VDX_WAYS_AVX2 1
#endif

namespace vdx {
namespace {

VDX_INLINE __m128i vector_at(const void* at) {
  return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

// ---- texts of numbers ----

// [sign] digits, for amounts with a point among them, of 1 to 16 bytes: examined as a vector that ends
// where the text ends.
constexpr std::uint32_t kMostLength = 16;

// The numbers of a block: that of row i is eights[i][0] * 10^8 + eights[i][1].
struct BlockNumbers {
  alignas(32) std::uint32_t eights[kBlockRows][2];
  std::uint32_t negative[kBlockRows];  // 1 after a minus sign
  std::uint32_t wrong[kBlockRows];     // not 0: of another shape
  std::uint8_t point[kBlockRows];      // amounts: its index in the vector, 16 without one
};

template <std::size_t Size, typename Byte>
constexpr std::array<unsigned char, Size> make_bytes(Byte byte) {
  std::array<unsigned char, Size> bytes{};
  for (std::size_t i = 0; i < Size; ++i) bytes[i] = static_cast<unsigned char>(byte(i));
  return bytes;
}
// From byte n on: a vector that keeps its last n bytes; all where n is 16 to 31.
constexpr auto kLast = make_bytes<48>([](std::size_t i) { return i < 16 ? 0 : 255; });
// Vector p of them keeps the bytes after byte p; vector 16, without a point, all.
constexpr auto kAfter =
    make_bytes<17 * 16>([](std::size_t i) { return i / 16 == 16 || i % 16 > i / 16 ? 255 : 0; });

// One text as four numbers of four digits. `first` is where the texts of the block begin.
template <bool kPoint>
VDX_INLINE __m128i fours_of(const unsigned char* first, const unsigned char* end,
                            std::uint64_t length, BlockNumbers& numbers, std::size_t i) {
  const auto n = static_cast<std::uint32_t>(length > kMostLength ? kMostLength : length);
  unsigned char copy[16];
  if (end - first < 16) [[unlikely]] {
    std::memset(copy, 0, sizeof copy);
    std::memcpy(copy + 16 - n, end - n, n);
    end = copy + 16;
  }
  __m128i bytes = vector_at(end - 16);
  const std::uint32_t sign = end[-static_cast<std::ptrdiff_t>(n) - (n == 0 ? 1 : 0)];
  const std::uint32_t is_sign = ((sign - '+') & ~2U) == 0 ? 1 : 0;
  numbers.negative[i] = sign == '-' ? 1 : 0;
  std::uint32_t digits = n - is_sign, wrong = length > kMostLength ? 1 : 0;
  if constexpr (kPoint) {
    // The digits before the point move up over it.
    const std::uint32_t points =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('.')))) &
        0xFFFF0000U >> n;
    const auto point = static_cast<std::uint32_t>(std::countr_zero(points | 0x10000));
    const __m128i after = vector_at(kAfter.data() + 16 * point);
    bytes = _mm_or_si128(_mm_and_si128(after, bytes),
                         _mm_andnot_si128(after, _mm_slli_si128(bytes, 1)));
    const std::uint32_t has_point = 1 - (point >> 4);
    digits -= has_point;
    numbers.point[i] = static_cast<std::uint8_t>(point);
    // At most four places and fourteen digits before them, which always fit.
    wrong |= (point < 11 ? 1U : 0U) | (digits + point > 30 - has_point ? 1U : 0U);
  }
  // Zero where there is no digit at all: a text without one has 0 or, by wrapping, more than 16.
  wrong |= digits - 1 > 15 ? 1U : 0U;
  const __m128i values = _mm_and_si128(_mm_sub_epi8(bytes, _mm_set1_epi8('0')),
                                       vector_at(kLast.data() + (digits & 31)));
  const auto sound = static_cast<std::uint32_t>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(values, _mm_set1_epi8(9)), values)));
  numbers.wrong[i] = wrong | (sound ^ 0xFFFF);
  // (a + 256 b) * (2560 + 1) has 10 a + b in its upper byte; what is above wraps away.
  const __m128i pairs = _mm_srli_epi16(_mm_mullo_epi16(values, _mm_set1_epi16(2560 + 1)), 8);
  return _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
}

template <bool kPoint>
VDX_INLINE void read_numbers(const BlockTexts& texts, std::size_t n, BlockNumbers& numbers) {
  const unsigned char* const values = texts.values;
  const std::int64_t* const offsets = texts.offsets;
  const unsigned char* const first = values + offsets[0];
  const auto fours = [&](std::size_t i) {
    return fours_of<kPoint>(first, values + offsets[i + 1],
                            static_cast<std::uint64_t>(offsets[i + 1] - offsets[i]), numbers, i);
  };
  const auto put = [&](std::size_t i, __m128i one, __m128i other) {
    _mm_store_si128(reinterpret_cast<__m128i*>(numbers.eights[i]),
                    _mm_madd_epi16(_mm_packs_epi32(one, other), _mm_set1_epi32(10000 | 1 << 16)));
  };
  std::size_t i = 0;
  for (; i + 2 <= n; i += 2) put(i, fours(i), fours(i + 1));
  if (i < n) put(i, fours(i), _mm_setzero_si128());
}

// Stores what was made; a row that is wrong keeps what its destination has, and is listed.
template <typename Image>
VDX_INLINE std::size_t put_images(const Image* made, const std::uint32_t* wrong, std::size_t n,
                                  unsigned char* destination, std::uint16_t* left) {
  std::uint32_t any = 0;
  for (std::size_t i = 0; i < n; ++i) any |= wrong[i];
  if (any == 0) {
    std::memcpy(destination, made, n * sizeof(Image));
    return 0;
  }
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char* const to = destination + i * sizeof(Image);
    const Image old = load<Image>(to);
    store(to, wrong[i] != 0 ? old : made[i]);
    left[count] = static_cast<std::uint16_t>(i);
    count += wrong[i] != 0 ? 1 : 0;
  }
  return count;
}

VDX_INLINE std::uint64_t number_of(const BlockNumbers& numbers, std::size_t i) {
  return std::uint64_t{numbers.eights[i][0]} * 100000000 + numbers.eights[i][1];
}

template <typename T>
struct Integers {
  using Image = T;
  static constexpr bool kPoint = false;

  VDX_INLINE static void make(BlockNumbers& numbers, std::size_t n, Image* made) {
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint32_t negative = numbers.negative[i];
      if constexpr (sizeof(T) <= 4) {  // by halves, in 32 bits
        constexpr auto kHead = static_cast<std::uint32_t>(kMost / 100000000);
        constexpr auto kRest = static_cast<std::uint32_t>(kMost % 100000000);
        const std::uint32_t head = numbers.eights[i][0], rest = numbers.eights[i][1];
        const std::uint32_t most = std::is_signed_v<T> ? kRest + negative : kRest;
        numbers.wrong[i] |= (head > kHead ? 1U : 0U) |
                            ((head == kHead ? 1U : 0U) & (rest > most ? 1U : 0U)) |
                            (std::is_signed_v<T> ? 0 : negative);
        const std::uint32_t size = head * 100000000 + rest;
        made[i] = static_cast<T>((size ^ (0 - negative)) + negative);
      } else {
        const std::uint64_t sign = negative;
        if (!std::is_signed_v<T>) numbers.wrong[i] |= negative;
        made[i] = static_cast<T>((number_of(numbers, i) ^ (0 - sign)) + sign);
      }
    }
  }
};

struct BitTexts {
  using Image = std::uint8_t;
  static constexpr bool kPoint = false;
  VDX_INLINE static void make(BlockNumbers& numbers, std::size_t n, Image* made) {
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint64_t size = number_of(numbers, i);
      numbers.wrong[i] |= size > 0x7FFFFFFF ? 1 : 0;
      made[i] = size != 0 ? 1 : 0;
    }
  }
};

template <typename T>
struct Amounts {
  using Image = std::make_unsigned_t<T>;
  static constexpr bool kPoint = true;

  VDX_INLINE static void make(BlockNumbers& numbers, std::size_t n, Image* made) {
    // Ten-thousandths in a digit that is the last, by the point's index.
    static constexpr std::uint32_t kScale[17] = {0, 0, 0, 0,  0,   0,    0,     0,    0,
                                                 0, 0, 1, 10, 100, 1000, 10000, 10000};
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint64_t sign = numbers.negative[i];
      const std::uint64_t count =
          (number_of(numbers, i) * kScale[numbers.point[i]] ^ (0 - sign)) + sign;
      if constexpr (sizeof(T) == 8) {
        made[i] = std::rotl(count, 32);
      } else {
        made[i] = static_cast<Image>(count);
        const auto wide = static_cast<std::int64_t>(count);
        numbers.wrong[i] |= static_cast<T>(wide) != wide ? 1 : 0;
      }
    }
  }
};

// The values of a block, made by `Maker` from numbers or pairs that `read` gets from its texts.
template <typename Maker>
VDX_INLINE std::size_t convert_numbers_in(const BlockTexts& texts, std::size_t n,
                                          unsigned char* destination, std::uint16_t* left) {
  BlockNumbers numbers;
  typename Maker::Image made[kBlockRows];
  read_numbers<Maker::kPoint>(texts, n, numbers);
  Maker::make(numbers, n, made);
  return put_images(made, numbers.wrong, n, destination, left);
}

// ---- texts of dates ----

// 2008-01-02, 2008-01-02 13:05, 2008-01-02 13:05:09 or 2008-01-02 13:05:09.1 to .123456: what is missing
// of the longest counts as zeros. The texts of a block become columns of digit pairs, and those become
// values by vector arithmetic.
constexpr std::uint32_t kDateLength = 26;
constexpr std::uint32_t kDateLengths = 0x7E90400;  // bit n for a length of n
constexpr unsigned kSecondHalf = 10;               // where the second vector begins in the text

struct DatePairs {
  std::uint32_t year_month[kBlockRows][2];  // bytes 0 and 2: year; 5: month
  std::uint32_t day[kBlockRows];            // byte 0
  std::uint32_t time[kBlockRows][2];        // byte 1: hour; 4: minute; 7: second
  std::uint32_t fraction[kBlockRows][2];    // bytes 2, 4, 6
  std::uint32_t wrong[kBlockRows];          // not 0: of another shape
};

VDX_INLINE void read_pairs(const BlockTexts& texts, std::size_t n, DatePairs& pairs) {
  alignas(16) static constexpr char kText[] = "0000-00-00 00:00:00.000000";
  // How far above the text above a byte may be: 9 for a digit, 0 for a separator.
  static constexpr auto kAbove = [] {
    std::array<unsigned char, kDateLength> above{};
    for (unsigned i = 0; i < kDateLength; ++i) above[i] = kText[i] == '0' ? 9 : 0;
    return above;
  }();
  // From byte 32 - n on: n bytes that are kept, then none.
  static constexpr auto kKept = [] {
    std::array<unsigned char, 64> kept{};
    std::fill_n(kept.begin(), 32, static_cast<unsigned char>(255));
    return kept;
  }();
  const __m128i text[2] = {vector_at(kText), vector_at(kText + kSecondHalf)};
  const __m128i above[2] = {vector_at(kAbove.data()), vector_at(kAbove.data() + kSecondHalf)};
  const unsigned char* const end = texts.values + texts.offsets[n];
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char* at = texts.values + texts.offsets[i];
    const auto length = static_cast<std::uint64_t>(texts.offsets[i + 1] - texts.offsets[i]);
    const auto kept = static_cast<std::uint32_t>(std::min<std::uint64_t>(length, kDateLength));
    unsigned char copy[kDateLength];
    if (end - at < std::ptrdiff_t{kDateLength}) [[unlikely]] {
      std::memset(copy, 0, sizeof copy);
      std::memcpy(copy, at, kept);
      at = copy;
    }
    const auto digits = [&](unsigned half) {
      const unsigned from = half * kSecondHalf;
      return _mm_and_si128(_mm_sub_epi8(vector_at(at + from), text[half]),
                           vector_at(kKept.data() + 32 - kept + from));
    };
    const __m128i first = digits(0), second = digits(1);
    const auto sound = _mm_and_si128(_mm_cmpeq_epi8(_mm_min_epu8(first, above[0]), first),
                                     _mm_cmpeq_epi8(_mm_min_epu8(second, above[1]), second));
    pairs.wrong[i] = static_cast<std::uint32_t>(_mm_movemask_epi8(sound) ^ 0xFFFF) |
                     static_cast<std::uint32_t>(length > kDateLength) |
                     (~(kDateLengths >> kept) & 1);
    // Byte i becomes the number in the digits i and i + 1; no byte overflows.
    const auto pair = [](__m128i v) {
      return _mm_add_epi8(_mm_add_epi8(_mm_slli_epi16(v, 3), _mm_slli_epi16(v, 1)),
                          _mm_srli_si128(v, 1));
    };
    const __m128i date = pair(first), time = pair(second);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs.year_month[i]), date);
    store(pairs.day + i, _mm_cvtsi128_si32(_mm_srli_si128(date, 8)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs.time[i]), time);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs.fraction[i]), _mm_unpackhi_epi64(time, time));
  }
}

// 0000-03-01 to 1900-01-01, in days: years begin in March, so that the leap day is the last.
constexpr std::uint32_t kDaysTo1900 = 693901;

// Division by reciprocals that are exact for the numbers here: vectors have no division.
VDX_INLINE std::uint32_t tenth(std::uint32_t below_3010) { return below_3010 * 6554 >> 16; }
VDX_INLINE std::uint32_t hundredth(std::uint32_t below_10000) { return below_10000 * 5243 >> 19; }

VDX_INLINE void make_datetimes(DatePairs& pairs, std::size_t n, std::uint32_t* __restrict days,
                               std::uint32_t* __restrict times) {
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint32_t century = pairs.year_month[i][0] & 0xFF;
    const std::uint32_t in_century = pairs.year_month[i][0] >> 16 & 0xFF;
    const std::uint32_t month = pairs.year_month[i][1] >> 8 & 0xFF, day = pairs.day[i] & 0xFF;
    const std::uint32_t hour = pairs.time[i][0] >> 8 & 0xFF, minute = pairs.time[i][1] & 0xFF,
                        second = pairs.time[i][1] >> 24;
    const std::uint32_t year = century * 100 + in_century;
    const std::uint32_t leap = ((in_century == 0 ? century : in_century) & 3) == 0 ? 1 : 0;
    const std::uint32_t month_days = month == 2 ? 28 + leap : 30 + ((month ^ month >> 3) & 1);
    std::uint32_t wrong = pairs.wrong[i];
    wrong |= (year < 1753 ? 1U : 0U) | (month - 1 > 11 ? 1U : 0U) |
             (day - 1 >= month_days ? 1U : 0U) | (hour > 23 ? 1U : 0U) | (minute > 59 ? 1U : 0U) |
             (second > 59 ? 1U : 0U);
    pairs.wrong[i] = wrong;
    const std::uint32_t early = month < 3 ? 1 : 0;
    const std::uint32_t since = year - early, from_march = month + 12 * early - 3;
    const std::uint32_t centuries = hundredth(since);
    days[i] = (since * 1461 >> 2) - centuries + (centuries >> 2) + ((979 * from_march + 18) >> 5) +
              day - 1 - kDaysTo1900;

    // Microseconds to the nearest millisecond, 999 at most, whose tick is the last of its second.
    const std::uint32_t middle = pairs.fraction[i][1] & 0xFF;
    const std::uint32_t thousandth = tenth(middle);
    const std::uint32_t rest =
        (middle - 10 * thousandth) * 100 + (pairs.fraction[i][1] >> 16 & 0xFF);
    const std::uint32_t nearest =
        (pairs.fraction[i][0] >> 16 & 0xFF) * 10 + thousandth + (rest >= 500 ? 1 : 0);
    const std::uint32_t ticks = nearest >= 999 ? 299 : tenth(3 * nearest + 5);
    times[i] = ((hour * 60 + minute) * 60 + second) * kTicksPerSecond + ticks;
  }
}

struct Datetimes;

template <>
VDX_INLINE std::size_t convert_numbers_in<Datetimes>(const BlockTexts& texts, std::size_t n,
                                                     unsigned char* destination,
                                                     std::uint16_t* left) {
  DatePairs pairs;
  std::uint32_t days[kBlockRows], times[kBlockRows];
  std::uint64_t made[kBlockRows];
  read_pairs(texts, n, pairs);
  make_datetimes(pairs, n, days, times);
  for (std::size_t i = 0; i < n; ++i) made[i] = days[i] | std::uint64_t{times[i]} << 32;
  return put_images(made, pairs.wrong, n, destination, left);
}

// ---- variants by processor ----

template <typename Maker>
VDX_FLATTEN std::size_t texts_plain(const BlockTexts& texts, std::size_t n,
                                    unsigned char* destination, std::uint16_t* left) {
  return convert_numbers_in<Maker>(texts, n, destination, left);
}

#if defined(VDX_WAYS_AVX2)
template <typename Maker>
[[gnu::target("avx2,bmi")]] VDX_FLATTEN std::size_t texts_avx2(const BlockTexts& texts,
                                                               std::size_t n,
                                                               unsigned char* destination,
                                                               std::uint16_t* left) {
  return convert_numbers_in<Maker>(texts, n, destination, left);
}

const bool kHasAvx2 = [] {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0;
}();
#endif

template <typename Maker>
TextWay* best_texts() {
#if defined(VDX_WAYS_AVX2)
  if (kHasAvx2) return texts_avx2<Maker>;
#endif
  return texts_plain<Maker>;
}

// ---- integers to texts ----

// The digits of a block are made by vectors, then its texts are stored from the last to the first: each
// as words that end where it ends, and what they leave before it is overwritten by the texts that
// belong there. Only texts whose words would reach before the block are made aside.
struct BlockDigits {
  alignas(
      32) std::uint32_t halves[kBlockRows][2];  // the last eight digits as numbers of four, then
                                                // as characters
  std::uint16_t head[kBlockRows];               // the characters of the two before them
  std::uint32_t count[kBlockRows];
  std::uint32_t negative[kBlockRows];
};
constexpr std::size_t kDigitsReach = 11;

template <typename T>
VDX_INLINE void make_digits(const unsigned char* source, std::size_t n, BlockDigits& digits) {
  for (std::size_t i = 0; i < n; ++i) {
    const T value = load<T>(source + i * sizeof(T));
    const std::uint32_t negative = value < 0 ? 1 : 0;
    const std::uint32_t size = (static_cast<std::uint32_t>(value) ^ (0 - negative)) + negative;
    std::uint32_t count = 1;
    for (std::uint32_t power = 10; power < 1000000000; power *= 10) count += size >= power ? 1 : 0;
    count += size >= 1000000000 ? 1 : 0;
    digits.count[i] = count;
    digits.negative[i] = negative;
    const std::uint32_t head = size / 100000000, rest = size - head * 100000000;
    const std::uint32_t upper = rest / 10000, tens = head * 103 >> 10;
    digits.halves[i][0] = upper;
    digits.halves[i][1] = rest - upper * 10000;
    digits.head[i] = static_cast<std::uint16_t>((tens | (head - tens * 10) << 8) | 0x3030);
  }
  std::uint32_t* const halves = digits.halves[0];
  for (std::size_t i = 0; i < 2 * n; ++i) {
    const std::uint32_t hundreds = halves[i] * 5243 >> 19;
    const std::uint32_t pairs = hundreds | (halves[i] - hundreds * 100) << 16;
    const std::uint32_t tens = (pairs * 103 >> 10) & 0x000F000F;
    halves[i] = (tens | (pairs - tens * 10) << 8) | 0x30303030;
  }
}

// Where a text has no sign, the byte before it belongs to the text before.
VDX_INLINE void put_digits(unsigned char* end, const BlockDigits& digits, std::size_t i) {
  store(end - 10, digits.head[i]);
  store(end - 8, load<std::uint64_t>(digits.halves[i]));
  end[-1 - static_cast<std::ptrdiff_t>(digits.count[i])] = '-';
}

template <typename T>
VDX_INLINE void digit_texts_any(const unsigned char* source, std::size_t n,
                                const std::uint64_t* given, unsigned char* destination,
                                std::int64_t* ends) {
  BlockDigits digits;
  make_digits<T>(source, n, digits);
  std::int64_t end = 0;
  for (std::size_t i = 0; i < n; ++i) {
    // A null has no text.
    const std::uint32_t here = static_cast<std::uint32_t>(given[i / 64] >> i % 64 & 1);
    ends[i] = end += (digits.count[i] + digits.negative[i]) & (0 - here);
  }
  for (std::size_t i = n; i-- > 0;) {
    const auto at = static_cast<std::size_t>(ends[i]);
    if (at >= kDigitsReach) [[likely]] {
      put_digits(destination + at, digits, i);
    } else {
      const std::size_t length = at - (i == 0 ? 0 : static_cast<std::size_t>(ends[i - 1]));
      unsigned char aside[kDigitsReach];
      put_digits(aside + kDigitsReach, digits, i);
      std::memcpy(destination + at - length, aside + kDigitsReach - length, length);
    }
  }
}

template <typename T>
VDX_FLATTEN void digit_texts(const unsigned char* source, std::size_t n, const std::uint64_t* given,
                             unsigned char* destination, std::int64_t* ends) {
  digit_texts_any<T>(source, n, given, destination, ends);
}

#if defined(VDX_WAYS_AVX2)
template <typename T>
[[gnu::target("avx2,bmi")]] VDX_FLATTEN void digit_texts_avx2(const unsigned char* source,
                                                              std::size_t n,
                                                              const std::uint64_t* given,
                                                              unsigned char* destination,
                                                              std::int64_t* ends) {
  digit_texts_any<T>(source, n, given, destination, ends);
}
#endif

template <typename T>
DigitsWay* best_digits() {
#if defined(VDX_WAYS_AVX2)
  if (kHasAvx2) return digit_texts_avx2<T>;
#endif
  return digit_texts<T>;
}

}  // namespace

TextWay* text_way(std::int32_t destination) {
  switch (destination) {
    case VDX_I1:
      return best_texts<Integers<std::uint8_t>>();
    case VDX_I2:
      return best_texts<Integers<std::int16_t>>();
    case VDX_I4:
      return best_texts<Integers<std::int32_t>>();
    case VDX_I8:
      return best_texts<Integers<std::int64_t>>();
    case VDX_UI2:
      return best_texts<Integers<std::uint16_t>>();
    case VDX_UI4:
      return best_texts<Integers<std::uint32_t>>();
    case VDX_UI8:
      return best_texts<Integers<std::uint64_t>>();
    case VDX_BIT:
      return best_texts<BitTexts>();
    case VDX_MONEY:
      return best_texts<Amounts<std::int64_t>>();
    case VDX_MNY4:
      return best_texts<Amounts<std::int32_t>>();
    case VDX_DATETIME:
      return best_texts<Datetimes>();
    default:
      return nullptr;
  }
}

DigitsWay* digits_way(std::int32_t source) {
  switch (source) {
    case VDX_I1:
      return best_digits<std::uint8_t>();
    case VDX_I2:
      return best_digits<std::int16_t>();
    case VDX_I4:
      return best_digits<std::int32_t>();
    case VDX_UI2:
      return best_digits<std::uint16_t>();
    case VDX_UI4:
      return best_digits<std::uint32_t>();
    default:
      return nullptr;
  }
}

}  // namespace vdx

#else

namespace vdx {

TextWay* text_way(std::int32_t) { return nullptr; }
DigitsWay* digits_way(std::int32_t) { return nullptr; }

}  // namespace vdx

#endif
