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

// ---- texts of numbers ----

// The last 16 bytes of a text are examined as a vector that ends where the text ends; bit i of a mask
// is byte i of it.
constexpr std::uint32_t kMostLength = 16;

// A text with 32 readable bytes before its end: those of the texts before it, or a copy.
struct Tail {
  const unsigned char* end;
  unsigned char copy[32];

  VDX_INLINE Tail(const unsigned char* first, const unsigned char* text_end, std::uint32_t n)
      : end(text_end) {
    if (text_end - first >= 32) [[likely]]
      return;
    std::memset(copy, 0, sizeof copy);
    std::memcpy(copy + 32 - n, text_end - n, n);
    end = copy + 32;
  }
};

// [sign] digits [. digits] of 1 to 16 bytes.
struct PlainTail {
  std::uint32_t digits;  // with the point
  std::uint32_t point;   // its index in the vector, 16 without one
  std::uint32_t minus;   // not 0 after a minus sign
  bool wrong;

  template <bool kPoint>
  VDX_INLINE static PlainTail of(const unsigned char* end, std::uint32_t n, bool too_long) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end - 16));
    const auto mask = [](__m128i flags) {
      return static_cast<std::uint32_t>(_mm_movemask_epi8(flags));
    };
    const __m128i distance = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
    const std::uint32_t inside = (0xFFFF0000U >> n) & 0xFFFF;
    const std::uint32_t digits =
        mask(_mm_cmpeq_epi8(_mm_min_epu8(distance, _mm_set1_epi8(9)), distance)) & inside;
    const std::uint32_t first = inside & (0 - inside);
    const std::uint32_t minus = mask(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('-'))) & first;
    const std::uint32_t signs = (mask(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('+'))) & first) | minus;
    std::uint32_t points = 0;
    if constexpr (kPoint) points = mask(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('.'))) & inside;
    const std::uint32_t others = (inside & ~(digits | signs | points)) | (points & (points - 1));
    return {n - (signs != 0 ? 1U : 0U),
            kPoint ? static_cast<std::uint32_t>(std::countr_zero(points | 0x10000)) : 16, minus,
            too_long || others != 0 || digits == 0};
  }
};

// What every loop over texts does: makes a value of each row, keeps what the destination has where
// there is none, and lists those rows. Row: bool(const PlainTail&, const unsigned char* end, Image&).
template <typename Image, bool kPoint, typename Row>
VDX_INLINE std::size_t each_number(const BlockTexts& texts, std::size_t n,
                                   unsigned char* destination, std::uint16_t* left, Row row) {
  const unsigned char* const first = texts.values + texts.offsets[0];
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const auto length = static_cast<std::uint64_t>(texts.offsets[i + 1] - texts.offsets[i]);
    const bool too_long = length > kMostLength;
    const auto size = static_cast<std::uint32_t>(too_long ? kMostLength : length);
    const Tail tail(first, texts.values + texts.offsets[i + 1], size);
    const PlainTail plain = PlainTail::of<kPoint>(tail.end, size, too_long);
    unsigned char* const to = destination + i * sizeof(Image);
    const Image old = load<Image>(to);
    Image image;
    const bool wrong = row(plain, tail.end, image) | plain.wrong;
    store(to, wrong ? old : image);
    left[count] = static_cast<std::uint16_t>(i);
    count += wrong ? 1 : 0;
  }
  return count;
}

template <typename T>
std::size_t integers(const BlockTexts& texts, std::size_t n, unsigned char* destination,
                     std::uint16_t* left) {
  return each_number<T, false>(
      texts, n, destination, left, [](const PlainTail& plain, const unsigned char* end, T& value) {
        const std::uint64_t size = Block::whole(end - 16).number(plain.digits);
        const std::uint64_t negative = plain.minus != 0 ? 1 : 0;
        value = static_cast<T>((size ^ (0 - negative)) + negative);
        constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
        if constexpr (std::is_signed_v<T>)
          return size > kMost + negative;
        else
          return (size > kMost) | (negative != 0);
      });
}

std::size_t bits_of_texts(const BlockTexts& texts, std::size_t n, unsigned char* destination,
                          std::uint16_t* left) {
  return each_number<std::uint8_t, false>(
      texts, n, destination, left,
      [](const PlainTail& plain, const unsigned char* end, std::uint8_t& value) {
        const std::uint64_t size = Block::whole(end - 16).number(plain.digits);
        value = size != 0 ? 1 : 0;
        return size > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
      });
}

// The ten-thousandths of up to four digits after a point at index `point` of the vector.
VDX_INLINE std::uint64_t places_after(const unsigned char* end, std::uint32_t point) {
  // The last four bytes without those before the fraction; zeros come after it.
  const std::uint64_t digits =
      (std::uint64_t{load<std::uint32_t>(end - 4)} >> (8 * (point - 11) & 63)) & 0x0F0F0F0F;
  const std::uint64_t pairs = (digits * 10 + (digits >> 8)) & 0x00FF00FF;
  return (pairs * (1 + (100 << 16))) >> 16 & 0xFFFF;
}

template <typename T>
std::size_t amounts(const BlockTexts& texts, std::size_t n, unsigned char* destination,
                    std::uint16_t* left) {
  using Image = std::make_unsigned_t<T>;
  return each_number<Image, true>(
      texts, n, destination, left,
      [](const PlainTail& plain, const unsigned char* end, Image& image) {
        const std::uint32_t after = 16 - plain.point;  // places and the point itself
        const std::uint32_t whole_digits = plain.digits - after;
        const std::uint64_t whole = Block::whole(end - 16 - after).number(whole_digits & 15);
        const std::uint64_t size = whole * kMoneyUnit + places_after(end, plain.point);
        const std::int64_t count = with_sign(size, plain.minus != 0);
        if constexpr (sizeof(T) == 8)
          image = std::rotl(static_cast<std::uint64_t>(count), 32);
        else
          image = static_cast<Image>(count);
        // Fourteen digits and four places are below 2^63 ten-thousandths.
        return (after > 5) | (whole_digits > 14) | (static_cast<T>(count) != count);
      });
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

VDX_INLINE __m128i vector_at(const void* at) {
  return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

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

VDX_INLINE std::size_t datetimes_any(const BlockTexts& texts, std::size_t n,
                                     unsigned char* destination, std::uint16_t* left) {
  DatePairs pairs;
  std::uint32_t days[kBlockRows], times[kBlockRows];
  read_pairs(texts, n, pairs);
  make_datetimes(pairs, n, days, times);
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char* const to = destination + 8 * i;
    const std::uint64_t image = days[i] | std::uint64_t{times[i]} << 32;
    const bool wrong = pairs.wrong[i] != 0;
    store(to, wrong ? load<std::uint64_t>(to) : image);
    left[count] = static_cast<std::uint16_t>(i);
    count += wrong ? 1 : 0;
  }
  return count;
}

VDX_FLATTEN std::size_t datetimes(const BlockTexts& texts, std::size_t n,
                                  unsigned char* destination, std::uint16_t* left) {
  return datetimes_any(texts, n, destination, left);
}

#if defined(VDX_WAYS_AVX2)
[[gnu::target("avx2")]] VDX_FLATTEN std::size_t datetimes_avx2(const BlockTexts& texts,
                                                               std::size_t n,
                                                               unsigned char* destination,
                                                               std::uint16_t* left) {
  return datetimes_any(texts, n, destination, left);
}

const bool kHasAvx2 = [] {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0;
}();
#endif

// ---- integers to texts ----

// The texts of a block go from the last to the first: each is stored as words that end where it ends,
// and what they leave before it is overwritten by the texts that belong there. Only texts whose words
// would reach before the block are made aside.
template <typename T>
VDX_INLINE void put_digits(unsigned char* end, std::uint64_t size, std::uint32_t digits) {
  constexpr std::uint64_t kZeros = 0x3030303030303030;
  if constexpr (sizeof(T) == 8) {
    const std::uint64_t head = size / 10000000000000000, rest = size % 10000000000000000;
    store(end - 24, digits_of_8(head) | kZeros);
    store(end - 16, digits_of_8(rest / 100000000) | kZeros);
    store(end - 8, digits_of_8(rest % 100000000) | kZeros);
  } else {
    const std::uint64_t head = size / 100000000;  // two digits at most
    const std::uint64_t tens = (head * 103) >> 10;
    store(end - 10, static_cast<std::uint16_t>((tens | (head - tens * 10) << 8) | 0x3030));
    store(end - 8, digits_of_8(size - head * 100000000) | kZeros);
  }
  end[-1 - static_cast<std::ptrdiff_t>(digits)] = '-';  // a sign, or overwritten
}

// Decimal digits of a magnitude.
template <typename T>
VDX_INLINE std::uint32_t digits_in(std::uint64_t size) {
  std::uint32_t digits = 1;
  if constexpr (sizeof(T) == 8) {
    static constexpr auto kPowers = [] {
      std::array<std::uint64_t, 20> powers{};
      std::uint64_t power = 1;
      for (std::size_t i = 1; i < 20; ++i) powers[i] = power *= 10;
      return powers;
    }();
    const auto near = static_cast<std::uint32_t>(std::bit_width(size | 1)) * 1233 >> 12;
    digits = near + (size >= kPowers[near] ? 1 : 0);
    if (near == 0) digits = 1;
  } else {
    const auto small = static_cast<std::uint32_t>(size);
    for (std::uint32_t power = 10; power < 1000000000; power *= 10)
      digits += small >= power ? 1 : 0;
    digits += small >= 1000000000 ? 1 : 0;
  }
  return digits;
}

template <typename T>
void digit_texts(const unsigned char* source, std::size_t n, const std::uint64_t* given,
                 unsigned char* destination, std::int64_t* ends) {
  constexpr std::size_t kReach = sizeof(T) == 8 ? 24 : 11;
  using Size = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
  Size sizes[kBlockRows];
  std::uint32_t digits[kBlockRows], lengths[kBlockRows];
  for (std::size_t i = 0; i < n; ++i) {
    const T value = load<T>(source + i * sizeof(T));
    const auto wide = static_cast<Size>(value);
    const auto negative = static_cast<Size>(value < 0 ? 1 : 0);
    sizes[i] = (wide ^ (Size{0} - negative)) + negative;
    digits[i] = digits_in<T>(sizes[i]);
    lengths[i] = digits[i] + static_cast<std::uint32_t>(negative);
  }
  std::int64_t end = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t here = given[i / 64] >> i % 64 & 1;
    lengths[i] &= static_cast<std::uint32_t>(0 - here);  // a null has no text
    ends[i] = end += lengths[i];
  }
  for (std::size_t i = n; i-- > 0;) {
    const auto at = static_cast<std::size_t>(ends[i]);
    if (at >= kReach) [[likely]] {
      put_digits<T>(destination + at, sizes[i], digits[i]);
    } else {
      unsigned char aside[kReach];
      put_digits<T>(aside + kReach, sizes[i], digits[i]);
      std::memcpy(destination + at - lengths[i], aside + kReach - lengths[i], lengths[i]);
    }
  }
}

}  // namespace

TextWay* text_way(std::int32_t destination) {
  switch (destination) {
    case VDX_I1:
      return integers<std::uint8_t>;
    case VDX_I2:
      return integers<std::int16_t>;
    case VDX_I4:
      return integers<std::int32_t>;
    case VDX_I8:
      return integers<std::int64_t>;
    case VDX_UI2:
      return integers<std::uint16_t>;
    case VDX_UI4:
      return integers<std::uint32_t>;
    case VDX_UI8:
      return integers<std::uint64_t>;
    case VDX_BIT:
      return bits_of_texts;
    case VDX_MONEY:
      return amounts<std::int64_t>;
    case VDX_MNY4:
      return amounts<std::int32_t>;
    case VDX_DATETIME:
#if defined(VDX_WAYS_AVX2)
      if (kHasAvx2) return datetimes_avx2;
#endif
      return datetimes;
    default:
      return nullptr;
  }
}

DigitsWay* digits_way(std::int32_t source) {
  switch (source) {
    case VDX_I1:
      return digit_texts<std::uint8_t>;
    case VDX_I2:
      return digit_texts<std::int16_t>;
    case VDX_I4:
      return digit_texts<std::int32_t>;
    case VDX_I8:
      return digit_texts<std::int64_t>;
    case VDX_UI2:
      return digit_texts<std::uint16_t>;
    case VDX_UI4:
      return digit_texts<std::uint32_t>;
    case VDX_UI8:
      return digit_texts<std::uint64_t>;
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
