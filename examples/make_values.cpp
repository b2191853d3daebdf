// Writes lines that look like the money column of an export: prices with and without sign,
// currency symbol, separators and blanks, 0 to 6 digits after the point, and about 3 in 1,000 that
// are no money at all.
//
//   make_values [LINES [SEED]] > FILE      100,000 lines and seed 1 when not given
//
// The same arguments give the same bytes on every machine: examples/data/values.txt is the output
// without arguments.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

namespace {

// SplitMix64: small, and defined to the last bit, which the standard distributions are not.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  // 0 to bound - 1.
  std::uint64_t below(std::uint64_t bound) {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15U;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return (z ^ (z >> 31)) % bound;
  }
  bool one_in(std::uint64_t count) { return below(count) == 0; }

 private:
  std::uint64_t state_;
};

void append_whole(Random& random, std::string& line, bool separators) {
  // Many small prices, few large sums.
  static constexpr std::uint64_t kLimits[] = {
      10, 100, 100, 1000, 1000, 1000, 10000, 10000, 100000, 1000000, 100000000, 100000000000};
  const std::string digits =
      std::to_string(random.below(kLimits[random.below(std::size(kLimits))]));
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (separators && i != 0 && (digits.size() - i) % 3 == 0) line += ',';
    line += digits[i];
  }
}

void append_fraction(Random& random, std::string& line) {
  // Two places are the rule.
  static constexpr unsigned kPlaces[] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 0, 0, 4, 4, 1, 3, 5, 6};
  const unsigned places = kPlaces[random.below(std::size(kPlaces))];
  if (places == 0) return;
  line += '.';
  for (unsigned i = 0; i < places; ++i) line += static_cast<char>('0' + random.below(10));
}

void append_good(Random& random, std::string& line) {
  if (random.one_in(20)) line.append(1 + random.below(4), ' ');
  const bool sign = random.one_in(6);
  const bool currency = random.one_in(5);
  const bool currency_first = random.one_in(4);
  if (currency && currency_first) line += '$';
  if (sign) line += random.one_in(5) ? '+' : '-';
  if (currency && !currency_first) line += random.one_in(10) ? "$ " : "$";
  append_whole(random, line, random.one_in(4));
  append_fraction(random, line);
  if (random.one_in(25)) line.append(1 + random.below(3), ' ');
}

// What exports really contain: comments, typing errors, other conventions, sums out of range.
void append_bad(Random& random, std::string& line) {
  static constexpr const char* kWords[] = {"n/a", "NULL", "unknown", "see invoice", "#REF!", "tbd"};
  std::string price;
  append_whole(random, price, false);
  switch (random.below(9)) {
    case 0:
      line = kWords[random.below(3)];
      break;
    case 1:
      line = kWords[3 + random.below(3)];
      break;
    case 2:
      line = price + ".12.5";
      break;
    case 3:
      line = "--" + price + ".00";
      break;
    case 4:
      line = "$$" + price;
      break;
    case 5:
      line = price + ".O0";
      break;
    case 6:
      line = "1,23,456.00";
      break;
    case 7:
      line = "9" + std::string(18, '0') + ".00";
      break;
    default:
      line = price + ".50 CR";
      break;
  }
}

}  // namespace

int main(int count, char** words) {
  const std::uint64_t lines = count > 1 ? std::strtoull(words[1], nullptr, 10) : 100000;
  Random random(count > 2 ? std::strtoull(words[2], nullptr, 10) : 1);
  std::string line;
  for (std::uint64_t i = 0; i < lines; ++i) {
    line.clear();
    if (random.one_in(333))
      append_bad(random, line);
    else
      append_good(random, line);
    line += '\n';
    if (std::fwrite(line.data(), 1, line.size(), stdout) != line.size()) return 1;
  }
  return std::fclose(stdout) == 0 ? 0 : 1;
}
