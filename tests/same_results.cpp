// One number of everything that the library computes: conversions of every cell of the matrix,
// money and numeric arithmetic, dates read, shown, cracked and made again. Builds of every kind, on
// every platform, give the same number to the bit.
//
//   same_results [CALLS [EXPECTED]]   prints the hash of that many calls (10,000,000) and fails
//                                     where it is not the expected one
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "convert/matrix.h"
#include "random_values.h"

namespace {

using vdx_test::kRandomRoom;
using vdx_test::Random;
using vdx_test::random_value;

struct Hash {
  std::uint64_t value = 0xCBF29CE484222325;
  template <class T>
  void add(const T& added) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&added);
    for (std::size_t i = 0; i < sizeof added; ++i) value = (value ^ bytes[i]) * 0x100000001B3;
  }
};

void convert(Random& random, Hash& hash, vdx_context& context,
             const std::vector<vdx_locale*>& locales, std::int32_t cell) {
  constexpr std::uint32_t kRoom = 64;
  static constexpr std::uint32_t kFlags[] = {0, 0, 0, 1, 2, 4, 5, 6, 32, 36, 64, 69};
  vdx_datafmt from{}, to{};
  unsigned char source[kRandomRoom], destination[kRandomRoom];
  from.datatype = cell / VDX_DATATYPES;
  to.datatype = cell % VDX_DATATYPES;
  from.maxlength = random_value(random, from.datatype, source);
  to.maxlength = static_cast<std::int32_t>(random.below(kRoom));
  to.format = random.of(kFlags);
  to.precision = static_cast<std::int32_t>(random.below(80));
  to.scale = static_cast<std::int32_t>(random.below(40));
  from.locale = random.of(locales);
  to.locale = random.of(locales);
  std::memset(destination, 0xA5, sizeof destination);
  std::int32_t length = -1;
  const std::int32_t code = com_conv_func(&context, from.datatype, to.datatype)(
      &context, &from, source, &to, destination, &length);
  hash.add(cell);
  hash.add(code);
  hash.add(length);
  // What is left of a destination that got no value is unspecified.
  if (code != VDX_SYNTAX && code != VDX_MALFORMED_UNICODE) hash.add(destination);
}

void compute(Random& random, Hash& hash) {
  const auto make = [&random](std::int32_t datatype, auto& value) {
    unsigned char image[kRandomRoom];
    random_value(random, datatype, image);
    std::memcpy(&value, image, sizeof value);
  };
  vdx_num a, b, result;
  make(VDX_NUM, a);
  make(VDX_NUM, b);
  for (auto* const operation : {comn_numadd, comn_numsub, comn_nummul, comn_numdivide}) {
    result = {};
    result.precision = static_cast<std::uint8_t>(1 + random.below(77));
    result.scale = static_cast<std::uint8_t>(random.below(78));
    hash.add(operation(&a, &b, &result));
    hash.add(result);
  }
  hash.add(comn_numcmp(&a, &b));
  const std::uint64_t low = random.sized(), high = random.sized();
  vdx_money x{static_cast<std::int32_t>(low >> 32), static_cast<std::uint32_t>(low)};
  vdx_money y{static_cast<std::int32_t>(high >> 32), static_cast<std::uint32_t>(high)};
  for (auto* const operation : {comn_mnyadd, comn_mnysub, comn_mnymul, comn_mnydivide}) {
    vdx_money money{};
    hash.add(operation(&x, &y, &money));
    hash.add(money);
  }
  vdx_datetime moment, made{};
  make(VDX_DATETIME, moment);
  daterec record{};
  com_datecrack(&moment, &record);
  com_timecrack(&moment, &record);
  hash.add(record);
  hash.add(com_datemake(&made, &record));
  hash.add(com_timemake(&made, &record));
  hash.add(made);
}

}  // namespace

int main(int argc, char** argv) {
  const long long calls = argc > 1 ? std::atoll(argv[1]) : 10000000;
  vdx_context context{};
  context.version = VDX_VERSION;
  if (com_conv_init(&context) != XS_SUCCEED) return 2;
  std::vector<vdx_locale*> locales(1);
  for (const char* const set : {"iso_1", "ascii", "utf8", "sjis"}) {
    locales.push_back(nullptr);
    if (comn_loc_alloc(nullptr, set, &locales.back()) != XS_SUCCEED) return 2;
    const auto style = static_cast<std::int32_t>(locales.size() * 2);
    comn_loc_set(locales.back(), VDX_LOC_DATE_STYLE, &style, sizeof style);
  }
  std::vector<std::int32_t> cells;
  for (std::size_t i = 0; i < vdx::kCells; ++i)
    if (vdx::matrix()[i] != nullptr && i % VDX_DATATYPES != 20)
      cells.push_back(static_cast<std::int32_t>(i));

  Random random(0x9E3779B97F4A7C15);
  Hash hash;
  for (long long i = 0; i < calls; ++i) {
    if (i % 16 == 0)
      compute(random, hash);
    else
      convert(random, hash, context, locales, cells[static_cast<std::size_t>(i) % cells.size()]);
  }
  std::printf("%lld calls: %016" PRIx64 "\n", calls, hash.value);
  for (vdx_locale* const locale : locales)
    if (locale != nullptr) comn_loc_drop(nullptr, locale);
  com_conv_free(&context);
  if (argc > 2 && std::strtoull(argv[2], nullptr, 16) != hash.value) {
    std::printf("expected %s: results differ from those of other builds\n", argv[2]);
    return 1;
  }
  return 0;
}
