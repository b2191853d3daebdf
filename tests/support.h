// Calls conversions the way a caller does, with guard bytes around everything they may write.
#ifndef VDX_TESTS_SUPPORT_H
#define VDX_TESTS_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "checks.h"
#include "random_values.h"

namespace vdx_test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes bytes_of(std::string_view text) { return Bytes(text.begin(), text.end()); }

template <class T>
Bytes image(const T& value) {
  Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

// A context with a table, for the length of a test.
struct Table {
  vdx_context context{};
  Table() {
    context.version = VDX_VERSION;
    EXPECT_EQ(com_conv_init(&context), 1);
  }
  ~Table() { com_conv_free(&context); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
};

constexpr std::int32_t kUnset = -7777;  // an output length that nobody wrote
constexpr std::uint8_t kGuard = 0xA5;

struct Result {
  std::int32_t code;
  std::int32_t length;  // kUnset where the conversion left it alone
  Bytes bytes;          // the whole destination; kGuard where nothing was written

  template <class T>
  T as() const {
    T value{};
    std::memcpy(&value, bytes.data(), std::min(sizeof value, bytes.size()));
    return value;
  }
  bool operator==(const Result&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Result& r) {
  out << "code " << r.code << " length " << r.length << " bytes";
  for (const int b : r.bytes) out << ' ' << std::hex << b << std::dec;
  return out;
}

struct Format {
  std::uint32_t flags = 0;
  std::int32_t maxlength = -1;  // -1: the fixed length of the type, 64 without one
  std::int32_t precision = 0;
  std::int32_t scale = 0;
  vdx_locale* locale = nullptr;     // of the source
  vdx_locale* to_locale = nullptr;  // of the destination
};

inline Result convert(vdx_context& context, std::int32_t source, const Bytes& value,
                      std::int32_t destination, const Format& format = {}) {
  vdx_datafmt from{};
  from.datatype = source;
  from.maxlength = static_cast<std::int32_t>(value.size());
  from.locale = format.locale;
  vdx_datafmt to{};
  to.datatype = destination;
  to.format = format.flags;
  to.maxlength = format.maxlength >= 0 ? format.maxlength : comn_typelen(destination, 64);
  to.precision = format.precision;
  to.scale = format.scale;
  to.locale = format.to_locale;
  const auto room = static_cast<std::size_t>(std::max(to.maxlength, comn_typelen(destination, 0)));
  // Odd offsets: neither value needs an alignment.
  Bytes source_bytes(value.size() + 1);
  std::copy(value.begin(), value.end(), source_bytes.begin() + 1);
  Bytes destination_bytes(room + 33, kGuard);
  Result result{0, kUnset, {}};
  const vdx_convfn function = com_conv_func(&context, source, destination);
  if (function == nullptr) {
    ADD_FAILURE() << "no conversion from " << source << " to " << destination;
    return result;
  }
  result.code = function(&context, &from, source_bytes.data() + 1, &to,
                         destination_bytes.data() + 17, &result.length);
  const auto begin = destination_bytes.begin() + 17, end = begin + static_cast<long>(room);
  EXPECT_EQ(
      std::count(begin - 17, begin, kGuard) + std::count(end, destination_bytes.end(), kGuard), 33)
      << "wrote before or after the destination";
  result.bytes.assign(begin, end);
  return result;
}

// A context whose allocations fail at a given one (from 1), or from there on.
struct Failing {
  vdx_context context{};
  int calls = 0, fail_at = 0;
  bool from_there_on = false;
  Failing() {
    context.version = VDX_VERSION;
    context.allocate = [](vdx_context* c, std::size_t size) -> void* {
      auto* self = reinterpret_cast<Failing*>(c);
      const int beyond = ++self->calls - self->fail_at;
      const bool fails = self->fail_at != 0 && (beyond == 0 || (self->from_there_on && beyond > 0));
      return fails ? nullptr : std::malloc(size);
    };
  }
};

inline std::string string_of(const vdx_err_text& t) {
  return t.bytes == nullptr ? "-" : std::string(t.bytes, static_cast<std::size_t>(t.length));
}

// "1040008 FILE 2;" and so on: number and parameters of a message; paths are FILE.
inline std::string summary_of(const vdx_message& message) {
  std::ostringstream text;
  text << std::hex << message.number << std::dec;
  for (std::int32_t i = 0; i < message.parameters.count; ++i) {
    const vdx_err_parameter& p = message.parameters.parameter[i];
    const std::string one = p.text.bytes == nullptr ? std::to_string(p.number) : string_of(p.text);
    text << ' ' << (one.find('/') == std::string::npos ? one : "FILE");
  }
  return text.str() + ";";
}

// Calls a function once for each of its pointers, with that one null; those that are null already
// may be. The sum of what it answers.
template <class Result, class... Args>
std::int64_t with_each_null(Result (*function)(Args...), std::type_identity_t<Args>... args) {
  std::int64_t sum = 0;
  const auto call = [&]<std::size_t At>() {
    if constexpr (std::is_pointer_v<std::tuple_element_t<At, std::tuple<Args...>>>) {
      std::tuple<Args...> changed(args...);
      if (std::exchange(std::get<At>(changed), nullptr) == nullptr) return;
      if constexpr (std::is_void_v<Result>)
        std::apply(function, changed);
      else
        sum += std::apply(function, changed);
    }
  };
  [&]<std::size_t... At>(std::index_sequence<At...>) { (call.template operator()<At>(), ...); }
  (std::index_sequence_for<Args...>{});
  return sum;
}

// A copy without a spare byte on either side, at an odd address where `shift` says so: a sanitizer
// sees what is read or written beyond it.
struct Exact {
  std::unique_ptr<std::uint8_t[]> memory;
  std::uint8_t* data;
  std::size_t size;
  explicit Exact(std::size_t n, std::size_t shift = 0)
      : memory(new std::uint8_t[n + shift]), data(memory.get() + shift), size(n) {
    std::fill_n(data, n, kGuard);
  }
  explicit Exact(std::string_view bytes, std::size_t shift = 0) : Exact(bytes.size(), shift) {
    bytes.copy(reinterpret_cast<char*>(data), bytes.size());
  }
  std::string first(std::size_t n) const { return {reinterpret_cast<char*>(data), n}; }
};

}  // namespace vdx_test

#endif
