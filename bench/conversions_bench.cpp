// Integer conversions beside their peers: one checked conversion with a trivial body, text to
// integer and integer to text.
#include <cerrno>
#include <charconv>
#include <cstdlib>

#include "bench_common.h"
#include "checked_peer.h"
#include "conversion_call.h"

#ifdef VDX_PEER_ABSL
#include <absl/strings/numbers.h>
#endif
#ifdef VDX_PEER_BOOST
#include <boost/spirit/home/x3.hpp>
#endif
#ifdef VDX_PEER_FMT
#include <fmt/compile.h>
#endif
#ifdef VDX_PEER_RAPIDJSON
#include <rapidjson/internal/itoa.h>
#endif

namespace {

using namespace bench;

template <class To>
void checked_call_rows(const std::string& row, std::int32_t to, int max_digits, std::uint64_t limit,
                       vdx_conversion* checked, vdx_conversion* unchecked) {
  auto& values = keep_all(bench::mixed_digits<std::int32_t>(11, max_digits, limit));
  auto& expected = keep_all(std::vector<To>(kItems));
  for (std::size_t i = 0; i < kItems; ++i) expected[i] = static_cast<To>(values[i]);
  auto& results = keep_all(std::vector<To>(kItems));
  auto& call = keep<bench::ConversionCall>(VDX_I4, 4, to, static_cast<std::int32_t>(sizeof(To)));
  const auto add = [&](const char* name, vdx_convfn pointer) {
    const vdx_convfn volatile loaded = pointer;  // so that no compiler calls it directly
    value_contender(row, name, results, expected,
                    [&call, function = vdx_convfn(loaded), in = values.data(),
                     out = results.data()](std::size_t i) {
                      std::int32_t length;
                      return function(&call.context, &call.source, in + i, &call.destination,
                                      out + i, &length) == VDX_SUCCESS;
                    });
  };
  add("ours", call.function);
  add("checked by hand", checked);
  add("indirect call (floor)", unchecked);
}

template <class Int>
long long parse_by_strtol(const char* text, char** end) {
  if constexpr (sizeof(Int) == 4)
    return std::strtol(text, end, 10);
  else
    return std::strtoll(text, end, 10);
}

bool only_blanks(const char* at, const char* end) {
  while (at != end && *at == ' ') ++at;
  return at == end;
}

// Blanked: the texts may have blanks before and after the number.
template <class Int, bool Blanked>
void parse_rows(const std::string& row, std::int32_t to, const std::vector<Int>& expected,
                const Texts& texts) {
  auto& results = keep_all(std::vector<Int>(kItems));
  const Text* in = texts.data();
  Int* out = results.data();
  const auto add = [&](const char* name, auto body) {
    value_contender(row, name, results, expected, body);
  };

  bench::our_parse(row, to, texts, results, expected);
  add("std::from_chars", [in, out](std::size_t i) {
    const char* at = in[i].data;
    const char* const end = in[i].end();
    if constexpr (Blanked)
      while (at != end && *at == ' ') ++at;
    const auto [rest, error] = std::from_chars(at, end, out[i]);
    if constexpr (Blanked) return error == std::errc() && only_blanks(rest, end);
    return error == std::errc() && rest == end;
  });
  add("strtol", [in, out](std::size_t i) {
    char* rest;
    errno = 0;
    const long long value = parse_by_strtol<Int>(in[i].data, &rest);
    out[i] = static_cast<Int>(value);
    if constexpr (Blanked) return out[i] == value && errno == 0 && only_blanks(rest, in[i].end());
    return out[i] == value && errno == 0 && rest == in[i].end();
  });
#ifdef VDX_PEER_BOOST
  add("Boost.Spirit", [in, out](std::size_t i) {
    namespace x3 = boost::spirit::x3;
    const char* at = in[i].data;
    const char* const end = in[i].end();
    if constexpr (Blanked)
      return x3::phrase_parse(at, end, x3::int_parser<Int>(), x3::blank, out[i]) && at == end;
    return x3::parse(at, end, x3::int_parser<Int>(), out[i]) && at == end;
  });
#endif
#ifdef VDX_PEER_ABSL
  add("absl::SimpleAtoi", [in, out](std::size_t i) {
    const auto length = static_cast<std::size_t>(in[i].length);
    return absl::SimpleAtoi(absl::string_view(in[i].data, length), out + i);
  });
#endif
}

template <class Int>
void format_rows(const std::string& row, std::int32_t from, const std::vector<Int>& values,
                 const std::vector<std::string>& expected) {
  auto& results = keep<TextSlots>();
  const Int* in = values.data();
  char* out = results.bytes();
  std::int32_t* lengths = results.lengths();
  // Peers write at a pointer and return the end of what they wrote.
  const auto add = [&](const char* name, auto write) {
    text_contender(row, name, results, expected, [=](std::size_t i) {
      char* const slot = out + i * TextSlots::kSlot;
      lengths[i] = static_cast<std::int32_t>(write(slot, in[i]) - slot);
      return true;
    });
  };

  bench::our_format(row, from, values, results, expected);
  add("std::to_chars",
      [](char* at, Int value) { return std::to_chars(at, at + TextSlots::kSlot, value).ptr; });
#ifdef VDX_PEER_FMT
  add("fmt", [](char* at, Int value) { return fmt::format_to(at, FMT_COMPILE("{}"), value); });
#endif
#ifdef VDX_PEER_RAPIDJSON
  add("RapidJSON", [](char* at, Int value) {
    if constexpr (sizeof(Int) == 4)
      return rapidjson::internal::i32toa(value, at);
    else
      return rapidjson::internal::i64toa(value, at);
  });
#endif
}

template <class Int>
std::string digits_of(Int value) {
  return std::to_string(value);
}

// A char(14) column value; before: blanks in front instead of behind.
std::string padded(std::int32_t value, bool before) {
  const std::string digits = std::to_string(value);
  const std::string blanks(14 - digits.size(), ' ');
  return before ? blanks + digits : digits + blanks;
}

}  // namespace

int main(int argc, char** argv) {
  checked_call_rows<std::int64_t>("i4_to_i8", VDX_I8, 10, INT32_MAX, bench::checked_i4_to_i8,
                                  bench::unchecked_i4_to_i8);
  checked_call_rows<std::int16_t>("i4_to_i2", VDX_I2, 5, INT16_MAX, bench::checked_i4_to_i2,
                                  bench::unchecked_i4_to_i2);

  const auto& i4 = keep_all(bench::mixed_digits<std::int32_t>(21, 10, INT32_MAX));
  const auto& i8 = keep_all(bench::mixed_digits<std::int64_t>(22, 19, INT64_MAX));
  const auto& i4_texts = keep_all(bench::formatted(i4, digits_of<std::int32_t>));
  const auto& i8_texts = keep_all(bench::formatted(i8, digits_of<std::int64_t>));
  const auto behind = bench::formatted(i4, [](std::int32_t value) { return padded(value, false); });
  const auto before = bench::formatted(i4, [](std::int32_t value) { return padded(value, true); });

  parse_rows<std::int32_t, false>("text_to_i4", VDX_I4, i4, keep<Texts>(i4_texts));
  parse_rows<std::int32_t, true>("char14_to_i4", VDX_I4, i4, keep<Texts>(behind));
  parse_rows<std::int32_t, true>("char14_right_to_i4", VDX_I4, i4, keep<Texts>(before));
  parse_rows<std::int64_t, false>("text_to_i8", VDX_I8, i8, keep<Texts>(i8_texts));
  format_rows("i4_to_text", VDX_I4, i4, i4_texts);
  format_rows("i8_to_text", VDX_I8, i8, i8_texts);

  // Of few digits, as counts and codes have, and of as many as an i8 has.
  bench::Random random(23);
  auto& small = keep_all(std::vector<std::int32_t>(kItems));
  for (std::int32_t& value : small) value = static_cast<std::int32_t>(random.between(0, 999));
  auto& uniform = keep_all(std::vector<std::int64_t>(kItems));
  for (std::int64_t& value : uniform) value = static_cast<std::int64_t>(random.next());
  const auto& small_texts = keep_all(bench::formatted(small, digits_of<std::int32_t>));
  const auto& uniform_texts = keep_all(bench::formatted(uniform, digits_of<std::int64_t>));
  parse_rows<std::int32_t, false>("text_to_i4_small", VDX_I4, small, keep<Texts>(small_texts));
  format_rows("i4_to_text_small", VDX_I4, small, small_texts);
  format_rows("i8_to_text_uniform", VDX_I8, uniform, uniform_texts);
  return bench::run(argc, argv);
}
