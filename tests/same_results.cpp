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
#include <string_view>
#include <vector>

#include "convert/matrix.h"
#include "vdxcomn.h"

namespace {

class Random {
 public:
  std::uint64_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_;
  }
  std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>((next() >> 33) % n); }
  std::uint64_t sized() { return next() >> below(64); }
  template <class List>
  auto of(const List& list) {
    return list[below(static_cast<std::uint32_t>(std::size(list)))];
  }

 private:
  std::uint64_t state_ = 0x9E3779B97F4A7C15;
};

class Hash {
 public:
  void add(const void* bytes, std::size_t n) {
    const auto* const from = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < n; ++i) value_ = (value_ ^ from[i]) * 0x100000001B3;
  }
  template <class T>
  void add(const T& value) {
    add(&value, sizeof value);
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325;
};

constexpr std::int32_t kRoom = 64;
constexpr std::size_t kBuffer = 320;

constexpr std::uint32_t kTexts = 15;
constexpr std::string_view kText =
    "Jan  2 2008  1:05PM|2008-01-02 13:05:09.123456|31.12.1999|23:59:59.999|$1,234.5678|-0.00005"
    "|1e-40|-1.7976931348623157e308|nan|0x00ff7f|it's|   |\xC3\xA9\xE2\x82\xAC"
    "|\xF0\x9F\x98\x80 smile|19000101";

// A text of a number, a date, of hexadecimal digits or of anything.
std::size_t make_text(Random& random, char* to) {
  const auto number = [&](std::uint32_t n) { return static_cast<int>(random.below(n)); };
  int n = 0;
  switch (random.below(5)) {
    case 0:
      n = std::snprintf(to, 64, "%" PRId64, static_cast<std::int64_t>(random.sized()));
      break;
    case 1: {
      const int exponent = number(80) - 40;
      const std::uint64_t fraction = random.sized(), whole = random.sized();
      n = std::snprintf(to, 64, "-%" PRIu64 ".%" PRIu64 "e%d", whole, fraction, exponent);
      break;
    }
    case 2: {
      const int second = number(61), minute = number(61), hour = number(25), day = number(33),
                month = number(14), year = number(11000);
      n = std::snprintf(to, 64, "%d-%d-%d %d:%d:%d", year, month, day, hour, minute, second);
      break;
    }
    case 3: {
      std::string_view text = kText;
      for (std::uint32_t skipped = random.below(kTexts); skipped > 0; --skipped)
        text.remove_prefix(text.find('|') + 1);
      text = text.substr(0, text.find('|'));
      return text.copy(to, text.size());
    }
    default:
      n = 1 + number(40);
      for (int i = 0; i < n; ++i) to[i] = static_cast<char>(random.sized());
  }
  return static_cast<std::size_t>(n);
}

// A value of the datatype, of which most are valid; its length is the format's.
void make_value(Random& random, vdx_datafmt& format, unsigned char* to) {
  const auto put = [to](const auto& value) { std::memcpy(to, &value, sizeof value); };
  const auto number = [&](std::uint32_t n) { return static_cast<std::int32_t>(random.below(n)); };
  std::memset(to, 0, kBuffer);
  char text[kRoom * 2];
  const std::int32_t fixed = comn_typelen(format.datatype, -1);
  format.maxlength = fixed;
  switch (format.datatype) {
    case VDX_NUM:
    case VDX_DECIMAL: {
      vdx_num value{};
      value.precision = static_cast<std::uint8_t>(1 + random.below(77));
      value.scale = static_cast<std::uint8_t>(random.below(78));
      value.value[0] = static_cast<std::uint8_t>(random.below(2));
      const std::int32_t bytes = comb_get_Prec_To_Len(value.precision), used = 1 + number(33);
      for (std::int32_t i = bytes > used ? bytes - used : 1; i < bytes; ++i)
        value.value[i] = static_cast<std::uint8_t>(random.next());
      return put(value);
    }
    case VDX_BIT:
      return put(static_cast<std::uint8_t>(random.below(2)));
    case VDX_DATETIME: {
      const std::int32_t day = number(3012154) - 53690;
      return put(vdx_datetime{day, number(25920001)});
    }
    case VDX_DATEA:
      return put(number(3652061) - 693597);
    case VDX_TIMEA:
      return put(number(25920001));
    case VDX_BIGDATETIME:
      return put(random.next() % 315569520000000001);
    case VDX_BIGTIME:
      return put(random.next() % 86400000001);
    case VDX_VARCHAR:
    case VDX_VARBIN: {
      const std::size_t n = make_text(random, text);
      put(static_cast<std::int16_t>(n));
      std::memcpy(to + 2, text, n);
      return;
    }
    case VDX_UNICHAR:
    case VDX_UNITEXT: {
      const std::size_t n = make_text(random, text);
      for (std::size_t i = 0; i < n; ++i) to[2 * i] = static_cast<unsigned char>(text[i]);
      if (random.below(8) == 0) to[2 * random.below(static_cast<std::uint32_t>(n)) + 1] = 0xD8;
      format.maxlength = static_cast<std::int32_t>(2 * n);
      return;
    }
    default:
      if (fixed > 0) return put(random.below(2) != 0 ? random.sized() : 0 - random.sized());
  }
  const std::size_t n = make_text(random, text);
  std::memcpy(to, text, n);
  format.maxlength = static_cast<std::int32_t>(n);
}

void convert(Random& random, Hash& hash, vdx_context& context,
             const std::vector<vdx_locale*>& locales, std::int32_t cell) {
  static const std::uint32_t kFlags[] = {0, 0, 0, 1, 2, 4, 5, 6, 32, 36, 64, 69};
  vdx_datafmt from{}, to{};
  unsigned char source[kBuffer], destination[kBuffer];
  from.datatype = cell / VDX_DATATYPES;
  to.datatype = cell % VDX_DATATYPES;
  make_value(random, from, source);
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
  // What a text that is none leaves behind is not said.
  if (code != VDX_SYNTAX && code != VDX_MALFORMED_UNICODE)
    hash.add(destination, sizeof destination);
}

void compute(Random& random, Hash& hash) {
  const auto make = [&random](std::int32_t datatype, auto& value) {
    vdx_datafmt format{};
    unsigned char image[kBuffer];
    format.datatype = datatype;
    make_value(random, format, image);
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

  Random random;
  Hash hash;
  for (long long i = 0; i < calls; ++i) {
    if (i % 16 == 0)
      compute(random, hash);
    else
      convert(random, hash, context, locales, cells[static_cast<std::size_t>(i) % cells.size()]);
  }
  std::printf("%lld calls: %016" PRIx64 "\n", calls, hash.value());
  for (vdx_locale* const locale : locales)
    if (locale != nullptr) comn_loc_drop(nullptr, locale);
  com_conv_free(&context);
  if (argc > 2 && std::strtoull(argv[2], nullptr, 16) != hash.value()) {
    std::printf("expected %s: results differ from those of other builds\n", argv[2]);
    return 1;
  }
  return 0;
}
