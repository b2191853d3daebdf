// Text to text, and bytes to and from hexadecimal text, beside their peers.
#include <array>

#include "bench_common.h"
#include "conversion_call.h"

#ifdef VDX_PEER_ABSL
#include <absl/strings/escaping.h>
#endif

namespace {

using bench::keep_all;
using bench::kItems;
using bench::value_contender;

template <std::size_t N>
using Column = std::vector<std::array<unsigned char, N>>;

template <std::size_t N>
Column<N>& random_column(std::uint64_t seed, unsigned first, unsigned last) {
  bench::Random random(seed);
  Column<N> column(kItems);
  for (auto& item : column)
    for (unsigned char& c : item) c = static_cast<unsigned char>(random.between(first, last));
  return keep_all(std::move(column));
}

// How a column of items becomes another: the expected one is made by the peer that is plainest.
template <std::size_t From, std::size_t To, class Convert>
void peer(const std::string& row, const std::string& name, const Column<From>& values,
          Column<To>& results, const Column<To>& expected, Convert convert) {
  value_contender(row, name, results, expected,
                  [convert, in = values.data(), out = results.data()](std::size_t i) {
                    return convert(in[i].data(), out[i].data());
                  });
}

template <std::size_t From, std::size_t To>
void ours(const std::string& row, std::int32_t from, std::int32_t to, std::uint32_t flags,
          const Column<From>& values, Column<To>& results, const Column<To>& expected) {
  auto& call = bench::keep<bench::ConversionCall>(from, static_cast<std::int32_t>(From), to,
                                                  static_cast<std::int32_t>(To));
  call.destination.format = flags;
  peer(row, "ours", values, results, expected,
       [&call, function = call.function](const unsigned char* in, unsigned char* out) {
         std::int32_t length;
         return function(&call.context, &call.source, in, &call.destination, out, &length) ==
                VDX_SUCCESS;
       });
}

bool copy_padded(const unsigned char* in, unsigned char* out) {
  std::memcpy(out, in, 20);
  std::memset(out + 20, ' ', 10);
  return true;
}

bool write_hex(const unsigned char* in, unsigned char* out) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < 64; ++i) {
    out[2 * i] = static_cast<unsigned char>(kDigits[in[i] >> 4]);
    out[2 * i + 1] = static_cast<unsigned char>(kDigits[in[i] & 15]);
  }
  return true;
}

constexpr std::array<unsigned char, 256> kHexValues = [] {
  std::array<unsigned char, 256> values{};
  values.fill(0xFF);
  for (unsigned i = 0; i < 10; ++i) values['0' + i] = static_cast<unsigned char>(i);
  for (unsigned i = 10; i < 16; ++i)
    values['a' + i - 10] = values['A' + i - 10] = static_cast<unsigned char>(i);
  return values;
}();

bool read_hex(const unsigned char* in, unsigned char* out) {
  unsigned seen = 0;
  for (std::size_t i = 0; i < 64; ++i) {
    const unsigned high = kHexValues[in[2 * i]], low = kHexValues[in[2 * i + 1]];
    seen |= high | low;
    out[i] = static_cast<unsigned char>(high << 4 | low);
  }
  return seen < 16;
}

template <std::size_t From, std::size_t To>
Column<To>& column_of(const Column<From>& values,
                      bool (*convert)(const unsigned char*, unsigned char*)) {
  Column<To> column(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) convert(values[i].data(), column[i].data());
  return keep_all(std::move(column));
}

template <std::size_t N>
Column<N>& results() {
  return keep_all(Column<N>(kItems));
}

void register_rows() {
  {
    const std::string row = "char20_to_char30";
    const Column<20>& texts = random_column<20>(1, ' ', '~');
    const Column<30>& expected = column_of<20, 30>(texts, copy_padded);
    Column<30>& out = results<30>();
    ours(row, VDX_CHAR, VDX_CHAR, VDX_FMT_PADBLANK, texts, out, expected);
    peer(row, "memcpy and memset", texts, out, expected, copy_padded);
  }
  const Column<64>& bytes = random_column<64>(2, 0, 255);
  const Column<128>& digits = column_of<64, 128>(bytes, write_hex);
  {
    const std::string row = "bytes_to_hex";
    Column<128>& out = results<128>();
    ours(row, VDX_BIN, VDX_CHAR, 0, bytes, out, digits);
    peer(row, "table loop", bytes, out, digits, write_hex);
#ifdef VDX_PEER_ABSL
    peer(row, "absl::BytesToHexString", bytes, out, digits,
         [](const unsigned char* in, unsigned char* to) {
           const std::string text = absl::BytesToHexString({reinterpret_cast<const char*>(in), 64});
           std::memcpy(to, text.data(), text.size());
           return true;
         });
#endif
  }
  {
    const std::string row = "hex_to_bytes";
    Column<64>& out = results<64>();
    ours(row, VDX_CHAR, VDX_BIN, 0, digits, out, bytes);
    peer(row, "table loop", digits, out, bytes, read_hex);
#ifdef VDX_PEER_ABSL
    peer(
        row, "absl::HexStringToBytes", digits, out, bytes,
        [](const unsigned char* in, unsigned char* to) {
          const std::string text = absl::HexStringToBytes({reinterpret_cast<const char*>(in), 128});
          std::memcpy(to, text.data(), text.size());
          return true;
        });
#endif
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_rows();
  return bench::run(argc, argv);
}
