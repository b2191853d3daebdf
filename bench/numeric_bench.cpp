// Exact numerics beside their peers: arithmetic on images, numerics from and to text.
#include "vdxcomn/number.h"

#include <charconv>
#include <cstdlib>

#include "bench_common.h"
#include "conversion_call.h"

#ifdef VDX_PEER_GMP
#include <gmp.h>
#endif
#ifdef VDX_PEER_CPPINT
#include <boost/multiprecision/cpp_int.hpp>
#endif
#ifdef VDX_PEER_PGTYPES
#include <pgtypes_numeric.h>
#endif

static bool operator==(const vdx_num& a, const vdx_num& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

namespace {

using bench::keep;
using bench::keep_all;
using bench::kItems;
using bench::Text;
using bench::Texts;
using bench::value_contender;

__extension__ typedef unsigned __int128 UInt128;

// Digits of a numeric column: how many, and how many of them behind the point.
struct Column {
  int precision, scale;

  std::size_t magnitude_bytes() const {
    return static_cast<std::size_t>(comb_get_Prec_To_Len(precision)) - 1;
  }
};

// Signed texts of numbers of that many digits, or of every number of digits up to that.
std::vector<std::string> texts_of(std::uint64_t seed, int precision, int scale, bool mixed = false,
                                  char highest = '4') {
  bench::Random random(seed);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < kItems; ++i) {
    const auto digits = static_cast<int>(
        mixed ? random.between(1, static_cast<std::uint64_t>(precision)) : precision);
    std::string text = random.coin() ? "-" : "";
    if (digits <= scale) text += "0." + std::string(static_cast<std::size_t>(scale - digits), '0');
    for (int d = digits; d > 0; --d) {
      if (d == scale && d != digits) text += '.';
      const char most = d == digits ? highest : '9';
      text += static_cast<char>(random.between('1' - (d != digits), static_cast<unsigned>(most)));
    }
    texts.push_back(text);
  }
  return texts;
}

std::vector<vdx_num> images_of(const std::vector<std::string>& texts, Column column) {
  bench::ConversionCall call(VDX_CHAR, 1, VDX_NUM, sizeof(vdx_num));
  call.destination.precision = column.precision;
  call.destination.scale = column.scale;
  std::vector<vdx_num> images(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::int32_t length;
    call.source.maxlength = static_cast<std::int32_t>(texts[i].size());
    if (call.function(&call.context, &call.source, texts[i].data(), &call.destination, &images[i],
                      &length) != VDX_SUCCESS)
      std::abort();
  }
  return images;
}

void clear_image(Column column, bool negative, vdx_num* image) {
  *image = {};
  image->precision = static_cast<std::uint8_t>(column.precision);
  image->scale = static_cast<std::uint8_t>(column.scale);
  image->value[0] = negative ? 1 : 0;
}

enum class Operator { add, multiply, divide };

#ifdef VDX_PEER_GMP
struct GmpRegisters {
  mpz_t a, b, result, power, half;
  explicit GmpRegisters(int dropped) {
    mpz_inits(a, b, result, power, half, nullptr);
    mpz_ui_pow_ui(power, 10, static_cast<unsigned long>(dropped));
    mpz_tdiv_q_2exp(half, power, 1);
  }
  ~GmpRegisters() { mpz_clears(a, b, result, power, half, nullptr); }
};

void import_gmp(mpz_t to, const vdx_num& from, std::size_t bytes) {
  mpz_import(to, bytes, 1, 1, 1, 0, from.value + 1);
  if (from.value[0] != 0) mpz_neg(to, to);
}

template <Operator kOperator>
bool by_gmp(GmpRegisters& r, Column in, Column out, int dropped, const vdx_num& a, const vdx_num& b,
            vdx_num* result) {
  import_gmp(r.a, a, in.magnitude_bytes());
  import_gmp(r.b, b, in.magnitude_bytes());
  if constexpr (kOperator == Operator::add) mpz_add(r.result, r.a, r.b);
  if constexpr (kOperator == Operator::multiply) mpz_mul(r.result, r.a, r.b);
  if constexpr (kOperator == Operator::divide) mpz_tdiv_q(r.result, r.a, r.b);
  if (dropped != 0) {
    if (mpz_sgn(r.result) < 0)
      mpz_sub(r.result, r.result, r.half);
    else
      mpz_add(r.result, r.result, r.half);
    mpz_tdiv_q(r.result, r.result, r.power);
  }
  const std::size_t used = (mpz_sizeinbase(r.result, 2) + 7) / 8;
  if (used > out.magnitude_bytes()) return false;
  clear_image(out, mpz_sgn(r.result) < 0, result);
  mpz_export(result->value + 1 + out.magnitude_bytes() - used, nullptr, 1, 1, 1, 0, r.result);
  return true;
}
#endif

#ifdef VDX_PEER_CPPINT
using BoostInteger = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<
    512, 512, boost::multiprecision::signed_magnitude, boost::multiprecision::unchecked, void>>;

BoostInteger import_boost(const vdx_num& from, std::size_t bytes) {
  BoostInteger to;
  import_bits(to, from.value + 1, from.value + 1 + bytes);
  return from.value[0] != 0 ? -to : to;
}

template <Operator kOperator>
bool by_boost(const BoostInteger& power, Column in, Column out, const vdx_num& a, const vdx_num& b,
              vdx_num* result) {
  const BoostInteger x = import_boost(a, in.magnitude_bytes());
  const BoostInteger y = import_boost(b, in.magnitude_bytes());
  BoostInteger value = kOperator == Operator::add        ? BoostInteger(x + y)
                       : kOperator == Operator::multiply ? BoostInteger(x * y)
                                                         : BoostInteger(x / y);
  if (power != 1) value = (value + (value < 0 ? -power : power) / 2) / power;
  clear_image(out, value < 0, result);
  std::uint8_t bytes[64];
  const std::uint8_t* const end = export_bits(value, bytes, 8);
  const auto used = static_cast<std::size_t>(end - bytes);
  if (used > out.magnitude_bytes()) return false;
  std::memcpy(result->value + 1 + out.magnitude_bytes() - used, bytes, used);
  return true;
}
#endif

std::uint64_t swapped(const std::uint8_t* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return __builtin_bswap64(word);
}

// 38 digits are sixteen bytes of magnitude: what a program does that knows it has no others, and
// that they are valid and fit.
template <Operator kOperator>
bool by_int128(Column out, const vdx_num& a, const vdx_num& b, vdx_num* result) {
  const UInt128 x = static_cast<UInt128>(swapped(a.value + 1)) << 64 | swapped(a.value + 9);
  const UInt128 y = static_cast<UInt128>(swapped(b.value + 1)) << 64 | swapped(b.value + 9);
  const bool differ = a.value[0] != b.value[0];
  UInt128 value;
  bool negative = a.value[0] != 0;
  if constexpr (kOperator == Operator::divide) {
    if (y == 0) return false;
    value = x / y;
    negative = differ && value != 0;
  } else {
    value = !differ ? x + y : x < y ? y - x : x - y;
    if (differ && x < y) negative = !negative;
  }
  clear_image(out, negative, result);
  for (std::size_t i = 0; i < 2; ++i) {
    const std::uint64_t word =
        __builtin_bswap64(static_cast<std::uint64_t>(i == 0 ? value >> 64 : value));
    std::memcpy(result->value + 1 + 8 * i, &word, sizeof word);
  }
  return true;
}

using NumericFunction = std::int32_t(const vdx_num*, const vdx_num*, vdx_num*);

template <Operator kOperator, NumericFunction* Ours>
void arithmetic_row(const std::string& row, Column in, Column out,
                    const std::vector<std::string>& a, const std::vector<std::string>& b) {
  const vdx_num* const x = keep_all(images_of(a, in)).data();
  const vdx_num* const y = keep_all(images_of(b, in)).data();
  auto& expected = keep_all(std::vector<vdx_num>(kItems));
  auto& results = keep_all(std::vector<vdx_num>(kItems));
  vdx_num* const to = results.data();
  for (std::size_t i = 0; i < kItems; ++i) {
    clear_image(out, false, &expected[i]);
    if (Ours(x + i, y + i, &expected[i]) != VDX_SUCCESS) std::abort();
  }
  value_contender(row, "ours", results, expected, [=](std::size_t i) {
    to[i].precision = static_cast<std::uint8_t>(out.precision);
    to[i].scale = static_cast<std::uint8_t>(out.scale);
    return Ours(x + i, y + i, to + i) == VDX_SUCCESS;
  });
  [[maybe_unused]] const int dropped =
      kOperator == Operator::multiply ? 2 * in.scale - out.scale : 0;
#ifdef VDX_PEER_GMP
  auto& registers = keep<GmpRegisters>(dropped);
  value_contender(row, "GMP", results, expected, [=, &registers](std::size_t i) {
    return by_gmp<kOperator>(registers, in, out, dropped, x[i], y[i], to + i);
  });
#endif
#ifdef VDX_PEER_CPPINT
  auto& power = keep<BoostInteger>(
      boost::multiprecision::pow(BoostInteger(10), static_cast<unsigned>(dropped)));
  value_contender(row, "Boost cpp_int", results, expected, [=, &power](std::size_t i) {
    return by_boost<kOperator>(power, in, out, x[i], y[i], to + i);
  });
#endif
  if constexpr (kOperator != Operator::multiply)
    if (in.precision == 38)
      value_contender(row, kOperator == Operator::add ? "__int128 (floor)" : "__int128", results,
                      expected,
                      [=](std::size_t i) { return by_int128<kOperator>(out, x[i], y[i], to + i); });
}

// Digits with a point in them, one by one: no blanks, no rounding, no limits, no image.
bool parse_int128(const char* at, const char* end, UInt128* value, bool* negative) {
  *negative = at != end && *at == '-';
  if (*negative) ++at;
  UInt128 sum = 0;
  bool point = false;
  for (; at != end; ++at) {
    if (*at == '.' && !point) {
      point = true;
      continue;
    }
    const auto digit = static_cast<unsigned char>(*at - '0');
    if (digit > 9) return false;
    sum = sum * 10 + digit;
  }
  *value = sum;
  return true;
}

void text_to_numeric_row(const std::string& row, Column column) {
  const auto& strings = keep_all(texts_of(51, column.precision, column.scale, false, '9'));
  const auto& texts = keep<Texts>(strings);
  const Text* const in = texts.data();
  auto& results = keep_all(std::vector<vdx_num>(kItems));
  const auto& expected = keep_all(images_of(strings, column));
  auto& call = keep<bench::ConversionCall>(VDX_CHAR, 1, VDX_NUM, int{sizeof(vdx_num)});
  call.destination.precision = column.precision;
  call.destination.scale = column.scale;
  value_contender(row, "ours", results, expected, [&call, in, out = results.data()](std::size_t i) {
    std::int32_t length;
    call.source.maxlength = in[i].length;
    return call.function(&call.context, &call.source, in[i].data, &call.destination, out + i,
                         &length) == VDX_SUCCESS;
  });
  if (column.precision <= 38) {
    struct Value {
      UInt128 magnitude;
      bool negative;
      bool operator==(const Value& o) const {
        return magnitude == o.magnitude && negative == o.negative;
      }
    };
    auto& values = keep_all(std::vector<Value>(kItems));
    auto& wanted = keep_all(std::vector<Value>(kItems));
    for (std::size_t i = 0; i < kItems; ++i) {
      for (std::size_t k = 1; k <= column.magnitude_bytes(); ++k)
        wanted[i].magnitude = wanted[i].magnitude << 8 | expected[i].value[k];
      wanted[i].negative = expected[i].value[0] != 0;
    }
    value_contender(row, "__int128 digit loop (floor)", values, wanted,
                    [in, out = values.data()](std::size_t i) {
                      return parse_int128(in[i].data, in[i].end(), &out[i].magnitude,
                                          &out[i].negative);
                    });
  }
#ifdef VDX_PEER_CPPINT
  // It knows no point: its texts have none.
  const auto& plain = keep<Texts>([&strings] {
    std::vector<std::string> all = strings;
    for (std::string& text : all) text.erase(text.find('.'), 1);
    return all;
  }());
  auto& integers = keep_all(std::vector<BoostInteger>(kItems));
  auto& wanted_integers = keep_all(std::vector<BoostInteger>(kItems));
  for (std::size_t i = 0; i < kItems; ++i)
    wanted_integers[i] = import_boost(expected[i], column.magnitude_bytes());
  value_contender(row, "Boost cpp_int", integers, wanted_integers,
                  [from = plain.data(), out = integers.data()](std::size_t i) {
                    out[i].assign(from[i].data);
                    return true;
                  });
#endif
#ifdef VDX_PEER_PGTYPES
  auto& parsed = keep_all(std::vector<numeric*>(kItems));
  bench::contender(
      row, "pgtypes",
      [in, to = parsed.data()](std::size_t i) {
        char* rest;
        if (to[i] != nullptr) PGTYPESnumeric_free(to[i]);
        to[i] = PGTYPESnumeric_from_asc(const_cast<char*>(in[i].data), &rest);
        return to[i] != nullptr && rest == in[i].end();
      },
      [] {},
      [in, &parsed, column] {
        for (std::size_t i = 0; i < kItems; ++i) {
          char* const text = PGTYPESnumeric_to_asc(parsed[i], column.scale);
          const bool same = text != nullptr && in[i].view() == text;
          std::free(text);
          if (!same) return false;
        }
        return true;
      });
#endif
}

// A slot an item, wide enough for every numeric.
struct WideSlots {
  static constexpr std::size_t kSlot = 96;
  std::vector<char> bytes = std::vector<char>(kItems * kSlot);
  std::vector<std::int32_t> lengths = std::vector<std::int32_t>(kItems);
};

// Places digits of nineteen at a time before `end`; returns where they start.
char* put_digits(char* end, UInt128 value) {
  constexpr std::uint64_t kChunk = 10000000000000000000u;
  char text[20];
  while (value >= kChunk) {
    const auto chunk = static_cast<std::uint64_t>(value % kChunk);
    value /= kChunk;
    const auto n = std::to_chars(text, text + 20, chunk).ptr - text;
    std::memcpy(end - n, text, static_cast<std::size_t>(n));
    std::memset(end - 19, '0', static_cast<std::size_t>(19 - n));
    end -= 19;
  }
  const auto n = std::to_chars(text, text + 20, static_cast<std::uint64_t>(value)).ptr - text;
  std::memcpy(end - n, text, static_cast<std::size_t>(n));
  return end - n;
}

void numeric_to_text_row(const std::string& row, Column column) {
  const auto& strings = keep_all(texts_of(52, column.precision, column.scale, false, '9'));
  const vdx_num* const in = keep_all(images_of(strings, column)).data();
  auto& slots = keep<WideSlots>();
  char* const out = slots.bytes.data();
  std::int32_t* const lengths = slots.lengths.data();
  const auto writer = [&](const std::string& name, auto body) {
    bench::contender(
        row, name, body, [&slots] { slots.lengths.assign(kItems, -1); },
        [&slots, &strings] {
          for (std::size_t i = 0; i < kItems; ++i)
            if (slots.lengths[i] < 0 ||
                std::string_view(&slots.bytes[i * WideSlots::kSlot],
                                 static_cast<std::size_t>(slots.lengths[i])) != strings[i])
              return false;
          return true;
        });
  };
  auto& call =
      keep<bench::ConversionCall>(VDX_NUM, int{sizeof(vdx_num)}, VDX_CHAR, int{WideSlots::kSlot});
  writer("ours", [&call, function = call.function, in, out, lengths](std::size_t i) {
    return function(&call.context, &call.source, in + i, &call.destination,
                    out + i * WideSlots::kSlot, lengths + i) == VDX_SUCCESS;
  });
  if (column.precision <= 38) {
    struct Value {
      UInt128 magnitude;
      bool negative;
    };
    auto& values = keep_all(std::vector<Value>(kItems));
    for (std::size_t i = 0; i < kItems; ++i)
      if (!parse_int128(strings[i].data(), strings[i].data() + strings[i].size(),
                        &values[i].magnitude, &values[i].negative))
        std::abort();
    writer("__int128", [=, from = values.data()](std::size_t i) {
      char digits[48];
      char* const end = digits + 48;
      const char* const begin = put_digits(end, from[i].magnitude);
      const auto whole = static_cast<std::size_t>(end - begin - column.scale);
      char* to = out + i * WideSlots::kSlot;
      if (from[i].negative) *to++ = '-';
      std::memcpy(to, begin, whole);
      to[whole] = '.';
      std::memcpy(to + whole + 1, begin + whole, static_cast<std::size_t>(column.scale));
      lengths[i] =
          static_cast<std::int32_t>(to + whole + 1 + column.scale - (out + i * WideSlots::kSlot));
      return true;
    });
  }
#ifdef VDX_PEER_GMP
  struct GmpValues {
    std::vector<__mpz_struct> all = std::vector<__mpz_struct>(kItems);
    ~GmpValues() {
      for (__mpz_struct& one : all) mpz_clear(&one);
    }
  };
  auto& integers = keep<GmpValues>();
  for (std::size_t i = 0; i < kItems; ++i) {
    mpz_init(&integers.all[i]);
    import_gmp(&integers.all[i], in[i], column.magnitude_bytes());
  }
  writer("GMP", [=, from = integers.all.data()](std::size_t i) {
    char* const to = out + i * WideSlots::kSlot;
    mpz_get_str(to, 10, from + i);
    const std::size_t n = std::strlen(to);
    const auto scale = static_cast<std::size_t>(column.scale);
    std::memmove(to + n - scale + 1, to + n - scale, scale);
    to[n - scale] = '.';
    lengths[i] = static_cast<std::int32_t>(n + 1);
    return true;
  });
#endif
#ifdef VDX_PEER_PGTYPES
  struct PgValues {
    std::vector<numeric*> all;
    ~PgValues() {
      for (numeric* one : all) PGTYPESnumeric_free(one);
    }
  };
  auto& decimals = keep<PgValues>();
  for (const std::string& text : strings)
    decimals.all.push_back(PGTYPESnumeric_from_asc(const_cast<char*>(text.c_str()), nullptr));
  writer("pgtypes", [=, from = decimals.all.data()](std::size_t i) {
    char* const text = PGTYPESnumeric_to_asc(from[i], column.scale);
    if (text == nullptr) return false;
    const std::size_t n = std::strlen(text);
    std::memcpy(out + i * WideSlots::kSlot, text, n);
    lengths[i] = static_cast<std::int32_t>(n);
    std::free(text);
    return true;
  });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  constexpr Column kTen{10, 2}, kTwenty{20, 6}, kMiddle{38, 10}, kWidest{77, 20};
  const auto middle_a = texts_of(41, 38, 10), middle_b = texts_of(42, 38, 10);
  const auto widest_a = texts_of(43, 77, 20), widest_b = texts_of(44, 77, 20);
  // Every result fits: first digits up to 4, products of as many digits as the result has.
  arithmetic_row<Operator::add, comn_numadd>("numeric_add_38", kMiddle, kMiddle, middle_a,
                                             middle_b);
  arithmetic_row<Operator::add, comn_numadd>("numeric_add_77", kWidest, kWidest, widest_a,
                                             widest_b);
  arithmetic_row<Operator::multiply, comn_nummul>("numeric_multiply_38", {19, 5}, {38, 10},
                                                  texts_of(45, 19, 5), texts_of(46, 19, 5));
  arithmetic_row<Operator::multiply, comn_nummul>("numeric_multiply_77", kMiddle, {77, 20},
                                                  middle_a, middle_b);
  arithmetic_row<Operator::multiply, comn_nummul>("numeric_multiply_rounded", {77, 77}, {77, 77},
                                                  texts_of(47, 77, 77), texts_of(48, 77, 77));
  arithmetic_row<Operator::divide, comn_numdivide>("numeric_divide_38", kMiddle, {38, 0}, middle_a,
                                                   texts_of(49, 38, 10, true));
  arithmetic_row<Operator::divide, comn_numdivide>("numeric_divide_77", kWidest, {77, 0}, widest_a,
                                                   texts_of(50, 77, 20, true));
  for (const Column column : {kTen, kTwenty, kMiddle, kWidest}) {
    const std::string digits = std::to_string(column.precision);
    text_to_numeric_row("text_to_numeric_" + digits, column);
    numeric_to_text_row("numeric_to_text_" + digits, column);
  }
  return bench::run(argc, argv);
}
