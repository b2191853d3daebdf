#include "stream.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>

#if defined(__SSE2__) && !defined(VDX_PORTABLE)
#include <emmintrin.h>
#endif

namespace vdxconv {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;
constexpr std::size_t kQuoted = 160;  // bytes of a failed text that a message shows

// A value's length travels as a signed 32-bit number.
constexpr std::size_t kLongestLine = std::numeric_limits<int32_t>::max();

// Bytes of the printable UTF-8 character at the start of the text, 0 if there is none.
std::size_t printable(const uint8_t* text, std::size_t size) {
  struct Form {
    uint8_t mask, lead;
    uint32_t smallest;
  };
  static constexpr Form kForms[] = {
      {0x80, 0x00, 0x20}, {0xe0, 0xc0, 0xa0}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}};
  std::size_t length = 1;
  for (const Form& form : kForms) {
    if ((text[0] & form.mask) != form.lead) {
      ++length;
      continue;
    }
    if (length > size) return 0;
    uint32_t character = text[0] & static_cast<uint8_t>(~form.mask);
    for (std::size_t i = 1; i < length; ++i) {
      if ((text[i] & 0xc0) != 0x80) return 0;
      character = character << 6 | (text[i] & 0x3fU);
    }
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    const bool valid = character >= form.smallest && character <= 0x10ffff && !surrogate;
    return valid && character != 0x7f ? length : 0;
  }
  return 0;
}

// One bit for each newline among 64 bytes, the lowest for the first byte.
uint64_t newlines(const uint8_t* text) {
  uint64_t mask = 0;
#if defined(__SSE2__) && !defined(VDX_PORTABLE)
  const __m128i newline = _mm_set1_epi8('\n');
  for (unsigned i = 0; i < 64; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
    const auto equal = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, newline)));
    mask |= uint64_t{equal} << i;
  }
#else
  constexpr uint64_t kOnes = 0x0101010101010101U;
  constexpr uint64_t kLow = 0x7f * kOnes;
  for (unsigned i = 0; i < 8; ++i) {
    uint64_t word = 0;
    if constexpr (std::endian::native == std::endian::little)
      std::memcpy(&word, text + 8 * i, sizeof word);
    else
      for (unsigned k = 0; k < 8; ++k) word |= uint64_t{text[8 * i + k]} << (8 * k);
    word ^= '\n' * kOnes;
    const uint64_t zeros = ~(((word & kLow) + kLow) | word | kLow) >> 7;  // 1 in each zero byte
    mask |= (zeros * 0x0102040810204080U) >> 56 << (8 * i);               // gathers the eight bits
  }
#endif
  return mask;
}

}  // namespace

void give_up(std::string_view message, int status) {
  std::string text = "vdxconv: ";
  text.append(message).append("\n");
  write_all(kStandardError, reinterpret_cast<const uint8_t*>(text.data()), text.size());
  std::exit(status);
}

std::string reason_of_errno(std::string_view name) {
  const char* const reason = std::strerror(errno);
  return std::string(name).append(": ").append(reason);
}

void give_up_on(std::string_view name) { give_up(reason_of_errno(name)); }

Buffer::~Buffer() { std::free(data_); }

void Buffer::grow(std::size_t size) {
  void* const grown = std::realloc(data_, size);
  if (grown == nullptr) give_up("out of memory");
  data_ = static_cast<uint8_t*>(grown);
  size_ = size;
}

Writer::Writer(int descriptor, std::string_view name)
    : descriptor_(descriptor), name_(name), block_(kBlock) {}

void Writer::make_room(std::size_t size) {
  flush();
  block_.need(size);
}

void Writer::flush() {
  const std::size_t size = used_;
  used_ = 0;
  if (size != 0 && !write_all(descriptor_, block_.data(), size)) give_up_on(name_);
}

void Writer::close() {
  flush();
  if (!close_file(descriptor_)) give_up_on(name_);
}

Reader::Reader(int descriptor, std::string_view name)
    : descriptor_(descriptor), name_(name), block_(kBlock + kWord) {}

void Reader::refill() {
  const std::size_t left = end_ - at_;
  finished_ = true;
  if (left > kLongestLine) {
    trouble_ = name_ + ": a line is longer than 2,147,483,647 bytes";
    return;
  }
  if (left != 0 && at_ != 0) std::memmove(block_.data(), block_.data() + at_, left);
  at_ = 0;
  searched_ = end_ = left;
  // A block that one line fills is doubled, so the line is moved a bounded number of times.
  if (left > block_.size() / 2) block_.need(std::min(block_.size() * 2, kLongestLine + kBlock));
  const int64_t got = read_some(descriptor_, block_.data() + end_, block_.size() - kWord - end_);
  if (got < 0) trouble_ = reason_of_errno(name_);
  if (got <= 0) return;
  finished_ = false;
  end_ += static_cast<std::size_t>(got);
  total_ += static_cast<uint64_t>(got);
}

// Lines are so short that looking for each newline by itself costs as much as a conversion: the
// length of a line is no habit that a branch predictor could learn. Here the newlines of 64 bytes
// become the bits of a mask, and eight positions at a time are taken from it without a branch.
void Reader::search() {
  const uint8_t* const block = block_.data();
  const std::size_t stop = std::min(end_, searched_ + kStretch);
  std::size_t count = 0;
  for (std::size_t from = searched_; from < stop; from += kWord) {
    uint64_t mask = newlines(block + from);  // bytes beyond the end count as none
    if (stop - from < kWord) mask &= (uint64_t{1} << (stop - from)) - 1;
    const auto more = static_cast<std::size_t>(std::popcount(mask));
    for (std::size_t taken = 0; taken < more; taken += 8) {
      for (std::size_t i = 0; i < 8; ++i) {
        newlines_[count + taken + i] = from + static_cast<std::size_t>(std::countr_zero(mask));
        mask &= mask - 1;
      }
    }
    count += more;
  }
  searched_ = stop;
  found_ = 0;
  count_ = count;
}

void put_quoted(Writer& out, const uint8_t* text, std::size_t size) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::size_t shown = std::min(size, kQuoted);
  // The cut does not fall into a character.
  if (shown < size)
    while (shown > kQuoted - 4 && (text[shown] & 0xc0) == 0x80) --shown;
  out.put('"');
  for (std::size_t at = 0; at < shown;) {
    const std::size_t length = printable(text + at, shown - at);
    if (length == 0) {
      const uint8_t escape[] = {'\\', 'x', static_cast<uint8_t>(kHex[text[at] >> 4]),
                                static_cast<uint8_t>(kHex[text[at] & 15])};
      out.put(escape, sizeof escape);
      ++at;
      continue;
    }
    if (text[at] == '"' || text[at] == '\\') out.put('\\');
    out.put(text + at, length);
    at += length;
  }
  out.put(shown < size ? "\"..." : "\"");
}

std::string grouped(uint64_t count) {
  const std::string digits = std::to_string(count);
  std::string text;
  for (std::size_t at = 0; at < digits.size(); ++at) {
    if (at != 0 && (digits.size() - at) % 3 == 0) text += ',';
    text += digits[at];
  }
  return text;
}

}  // namespace vdxconv
