// Money beside its peers: addition, multiplication and division, and money to and from text.
#include "vdxcomn/money.h"

#include <charconv>
#include <cstdlib>

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/intl.h"

#ifdef VDX_PEER_GMP
#include <gmp.h>
#endif
#ifdef VDX_PEER_PGTYPES
#include <pgtypes_numeric.h>
#endif

static bool operator==(const vdx_money& a, const vdx_money& b) {
  return a.high == b.high && a.low == b.low;
}

namespace {

using namespace bench;

__extension__ typedef __int128 Int128;

constexpr std::int64_t kUnit = 10000;  // money counts ten-thousandths

vdx_money to_money(std::int64_t value) {
  return {static_cast<std::int32_t>(value >> 32), static_cast<std::uint32_t>(value)};
}

std::vector<vdx_money> to_money(const std::vector<std::int64_t>& values) {
  std::vector<vdx_money> money;
  for (const std::int64_t value : values) money.push_back(to_money(value));
  return money;
}

std::uint64_t magnitude(std::int64_t value) {
  return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

// Peers work on plain integers, as a program without money records would.

bool add(std::int64_t a, std::int64_t b, std::int64_t* result) {
  return !__builtin_add_overflow(a, b, result);
}

// Halves go away from zero.
bool multiply(std::int64_t a, std::int64_t b, std::int64_t* result) {
  const Int128 product = static_cast<Int128>(a) * b;
  const Int128 quotient = (product + (product < 0 ? -kUnit / 2 : kUnit / 2)) / kUnit;
  *result = static_cast<std::int64_t>(quotient);
  return *result == quotient;
}

bool divide(std::int64_t a, std::int64_t b, std::int64_t* result) {
  if (b == 0) return false;
  const Int128 quotient = static_cast<Int128>(a) * kUnit / b;
  *result = static_cast<std::int64_t>(quotient);
  return *result == quotient;
}

#ifdef VDX_PEER_GMP
struct GmpRegisters {
  mpz_t a, b, product;
  GmpRegisters() { mpz_inits(a, b, product, nullptr); }
  ~GmpRegisters() { mpz_clears(a, b, product, nullptr); }
};

bool multiply_by_gmp(GmpRegisters& r, std::int64_t a, std::int64_t b, std::int64_t* result) {
  mpz_set_si(r.a, a);
  mpz_set_si(r.b, b);
  mpz_mul(r.product, r.a, r.b);
  if (mpz_sgn(r.product) < 0)
    mpz_sub_ui(r.product, r.product, kUnit / 2);
  else
    mpz_add_ui(r.product, r.product, kUnit / 2);
  mpz_tdiv_q_ui(r.product, r.product, kUnit);
  *result = mpz_get_si(r.product);
  return mpz_fits_slong_p(r.product) != 0;
}

bool divide_by_gmp(GmpRegisters& r, std::int64_t a, std::int64_t b, std::int64_t* result) {
  mpz_set_si(r.a, a);
  mpz_set_si(r.b, b);
  if (mpz_sgn(r.b) == 0) return false;
  mpz_mul_ui(r.a, r.a, kUnit);
  mpz_tdiv_q(r.product, r.a, r.b);
  *result = mpz_get_si(r.product);
  return mpz_fits_slong_p(r.product) != 0;
}
#endif

using MoneyFunction = std::int32_t(const vdx_money*, const vdx_money*, vdx_money*);

// One arithmetic operation. Peer: the same on plain integers, inlined where named.
template <MoneyFunction* Ours, bool (*Peer)(std::int64_t, std::int64_t, std::int64_t*), class Gmp>
void arithmetic_rows(const std::string& row, const char* peer_name,
                     const std::vector<std::int64_t>& a, const std::vector<std::int64_t>& b,
                     [[maybe_unused]] Gmp by_gmp) {
  auto& expected = keep_all(std::vector<std::int64_t>(kItems));
  for (std::size_t i = 0; i < kItems; ++i)
    if (!Peer(a[i], b[i], &expected[i])) std::abort();
  auto& results = keep_all(std::vector<std::int64_t>(kItems));
  const std::int64_t* x = a.data();
  const std::int64_t* y = b.data();
  std::int64_t* out = results.data();

  const auto& money_a = keep_all(to_money(a));
  const auto& money_b = keep_all(to_money(b));
  const auto& money_expected = keep_all(to_money(expected));
  auto& money_results = keep_all(std::vector<vdx_money>(kItems));
  value_contender(row, "ours", money_results, money_expected,
                  [p = money_a.data(), q = money_b.data(), r = money_results.data()](
                      std::size_t i) { return Ours(p + i, q + i, r + i) == VDX_SUCCESS; });
  value_contender(row, peer_name, results, expected,
                  [x, y, out](std::size_t i) { return Peer(x[i], y[i], out + i); });
#ifdef VDX_PEER_GMP
  if constexpr (!std::is_same_v<Gmp, std::nullptr_t>) {
    auto& registers = keep<GmpRegisters>();
    value_contender(row, "GMP", results, expected, [x, y, out, by_gmp, &registers](std::size_t i) {
      return by_gmp(registers, x[i], y[i], out + i);
    });
  }
#endif
}

// Text with `places` (2 or 4) decimals, built slowly from the digits: what all must print.
std::string plain_text(std::int64_t value, int places, bool separators) {
  std::uint64_t count = magnitude(value);
  if (places == 2) count = (count + 50) / 100;
  std::string text = std::to_string(count);
  const auto fraction = static_cast<std::size_t>(places);
  if (text.size() <= fraction) text.insert(0, fraction + 1 - text.size(), '0');
  std::size_t at = text.size() - fraction;
  text.insert(at, 1, '.');
  while (separators && at > 3) text.insert(at -= 3, 1, ',');
  return value < 0 ? "-" + text : text;
}

// Two places by std::to_chars twice; returns the end of the text.
char* write_two_places(char* at, std::int64_t value) {
  const std::uint64_t cents = (magnitude(value) + 50) / 100;
  if (value < 0) *at++ = '-';
  at = std::to_chars(at, at + 20, cents / 100).ptr;
  *at++ = '.';
  const auto fraction = static_cast<unsigned>(cents % 100);
  if (fraction < 10) *at++ = '0';
  return std::to_chars(at, at + 2, fraction).ptr;
}

// The same with a comma between groups of three digits.
char* write_two_places_separated(char* at, std::int64_t value) {
  const std::uint64_t cents = (magnitude(value) + 50) / 100;
  char digits[20];
  const char* const end = std::to_chars(digits, digits + sizeof digits, cents / 100).ptr;
  if (value < 0) *at++ = '-';
  for (const char* from = digits; from != end;) {
    *at++ = *from++;
    if (from != end && (end - from) % 3 == 0) *at++ = ',';
  }
  *at++ = '.';
  const auto fraction = static_cast<unsigned>(cents % 100);
  if (fraction < 10) *at++ = '0';
  return std::to_chars(at, at + 2, fraction).ptr;
}

#ifdef VDX_PEER_PGTYPES
// Decimals of the peer for the given four-place texts.
class PgNumerics {
 public:
  explicit PgNumerics(const std::vector<std::int64_t>& values) {
    for (const std::int64_t value : values) {
      std::string text = plain_text(value, 4, false);
      all_.push_back(PGTYPESnumeric_from_asc(text.data(), nullptr));
    }
  }
  ~PgNumerics() {
    for (numeric* one : all_) PGTYPESnumeric_free(one);
  }
  PgNumerics(const PgNumerics&) = delete;
  PgNumerics& operator=(const PgNumerics&) = delete;

  numeric* const* data() const { return all_.data(); }

 private:
  std::vector<numeric*> all_;
};
#endif

void money_to_text_rows(const std::vector<std::int64_t>& values) {
  const auto& money = keep_all(to_money(values));
  auto& results = keep<TextSlots>();
  const std::int64_t* in = values.data();
  char* out = results.bytes();
  std::int32_t* lengths = results.lengths();
  const auto add_writer = [&](const std::string& row, const std::vector<std::string>& expected,
                              auto write) {
    text_contender(row, "std::to_chars twice", results, expected, [=](std::size_t i) {
      char* const slot = out + i * TextSlots::kSlot;
      lengths[i] = static_cast<std::int32_t>(write(slot, in[i]) - slot);
      return true;
    });
  };

  const auto& plain = keep_all(
      bench::formatted(values, [](std::int64_t value) { return plain_text(value, 2, false); }));
  bench::our_format("money_to_text", VDX_MONEY, money, results, plain);
  add_writer("money_to_text", plain,
             [](char* at, std::int64_t value) { return write_two_places(at, value); });
#ifdef VDX_PEER_PGTYPES
  text_contender("money_to_text", "pgtypes", results, plain,
                 [=, from = keep<PgNumerics>(values).data()](std::size_t i) {
                   char* const text = PGTYPESnumeric_to_asc(from[i], 2);
                   if (text == nullptr) return false;
                   const std::size_t length = std::strlen(text);
                   std::memcpy(out + i * TextSlots::kSlot, text, length);
                   lengths[i] = static_cast<std::int32_t>(length);
                   std::free(text);
                   return true;
                 });
#endif

  const auto& separated = keep_all(
      bench::formatted(values, [](std::int64_t value) { return plain_text(value, 2, true); }));
  text_contender(
      "money_to_text_separators", "ours", results, separated,
      [=, from = money.data()](std::size_t i) {
        char* const slot = out + i * TextSlots::kSlot;
        const char* const text = com_cvtmnytochar(from + i, slot, TextSlots::kSlot, 1);
        if (text == nullptr) return false;
        lengths[i] = static_cast<std::int32_t>(slot + TextSlots::kSlot - text);
        return true;
      },
      true);
  add_writer("money_to_text_separators", separated,
             [](char* at, std::int64_t value) { return write_two_places_separated(at, value); });
}

// Sign, digits, point, four digits.
bool parse_by_digits(const char* at, const char* end, std::int64_t* result) {
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  std::uint64_t value = 0;
  int places = -1;
  for (; at != end; ++at) {
    if (*at == '.' && places < 0) {
      places = 0;
      continue;
    }
    const auto digit = static_cast<unsigned>(*at - '0');
    if (digit > 9) return false;
    if (__builtin_mul_overflow(value, 10u, &value) || __builtin_add_overflow(value, digit, &value))
      return false;
    if (places >= 0 && ++places > 4) return false;
  }
  for (places = places < 0 ? 0 : places; places < 4; ++places)
    if (__builtin_mul_overflow(value, 10u, &value)) return false;
  if (value > INT64_MAX) return false;
  *result = negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
  return true;
}

bool parse_by_from_chars(const char* at, const char* end, std::int64_t* result) {
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  std::uint64_t whole = 0;
  std::uint32_t fraction = 0;
  const auto [point, error] = std::from_chars(at, end, whole);
  if (error != std::errc() || point == end || *point != '.' || end - point != 5) return false;
  const auto [rest, fraction_error] = std::from_chars(point + 1, end, fraction);
  if (fraction_error != std::errc() || rest != end) return false;
  std::int64_t value;
  if (whole > INT64_MAX / kUnit ||
      __builtin_add_overflow(static_cast<std::int64_t>(whole) * kUnit, fraction, &value))
    return false;
  *result = negative ? -value : value;
  return true;
}

// Amounts in a column of twenty characters, in a locale of UTF-8. Peer: the same in the default
// locale, whose characters are single bytes.
void padded_money_row(const std::vector<std::int64_t>& values) {
  const std::string row = "text_to_money_utf8";
  const auto& texts = keep<Texts>(bench::formatted(values, [](std::int64_t value) {
    std::string text = plain_text(value, 4, false);
    return text.append(20 - text.size(), ' ');
  }));
  const auto& money = keep_all(to_money(values));
  auto& results = keep_all(std::vector<vdx_money>(kItems));
  for (const char* const set : {"utf8", "iso_1"}) {
    auto& call = keep<bench::ConversionCall>(VDX_CHAR, 20, VDX_MONEY, int{sizeof(vdx_money)});
    if (comn_loc_alloc(&call.context, set, &call.context.locale) != XS_SUCCEED) std::abort();
    value_contender(
        row, set == std::string("utf8") ? "ours" : "ours in iso_1", results, money,
        [&call, function = call.function, in = texts.data(), out = results.data()](std::size_t i) {
          std::int32_t length;
          return function(&call.context, &call.source, in[i].data, &call.destination, out + i,
                          &length) == VDX_SUCCESS;
        });
  }
}

void text_to_money_rows(const std::vector<std::int64_t>& values) {
  const std::string row = "text_to_money";
  const auto& texts = keep<Texts>(
      bench::formatted(values, [](std::int64_t value) { return plain_text(value, 4, false); }));
  auto& results = keep_all(std::vector<std::int64_t>(kItems));
  const auto& money = keep_all(to_money(values));
  auto& money_results = keep_all(std::vector<vdx_money>(kItems));
  const Text* in = texts.data();
  std::int64_t* out = results.data();

  bench::our_parse(row, VDX_MONEY, texts, money_results, money);
  value_contender(row, "digit loop", results, values, [in, out](std::size_t i) {
    return parse_by_digits(in[i].data, in[i].end(), out + i);
  });
  value_contender(row, "std::from_chars twice", results, values, [in, out](std::size_t i) {
    return parse_by_from_chars(in[i].data, in[i].end(), out + i);
  });
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
      [in, &parsed] {
        for (std::size_t i = 0; i < kItems; ++i) {
          char* const text = PGTYPESnumeric_to_asc(parsed[i], 4);
          const bool same = text != nullptr && in[i].view() == text;
          std::free(text);
          if (!same) return false;
        }
        return true;
      });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  // Amounts to a few billions, factors to some ten thousands; dividends whose scaled form often
  // passes 64 bits. Every result fits.
  const auto& amounts = keep_all(bench::mixed_bits(31, 14, 46));
  const auto& factors = keep_all(bench::mixed_bits(32, 14, 28));
  const auto& dividends = keep_all(bench::mixed_bits(33, 14, 56));
  const auto& divisors = keep_all(bench::mixed_bits(34, 14, 40));
#ifdef VDX_PEER_GMP
  constexpr auto gmp_multiply = multiply_by_gmp;
  constexpr auto gmp_divide = divide_by_gmp;
#else
  constexpr std::nullptr_t gmp_multiply = nullptr, gmp_divide = nullptr;
#endif
  arithmetic_rows<comn_mnyadd, add>("money_add", "inlined int64_t", dividends, amounts, nullptr);
  arithmetic_rows<comn_mnymul, multiply>("money_multiply", "__int128", amounts, factors,
                                         gmp_multiply);
  arithmetic_rows<comn_mnydivide, divide>("money_divide", "__int128", dividends, divisors,
                                          gmp_divide);
  money_to_text_rows(dividends);
  text_to_money_rows(dividends);
  padded_money_row(dividends);
  return bench::run(argc, argv);
}
