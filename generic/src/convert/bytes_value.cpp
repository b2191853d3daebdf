// Hexadecimal text in both directions. A byte is two lower-case digits; a text that is read may have
// either case, blanks around and one 0x or 0X, and an odd number of digits means a leading zero.
#include "convert/bytes_value.h"

#include <algorithm>
#include <iterator>

#include "intl/unicode.h"
#include "number/folded_text.h"
#include "number/numeric.h"
#include "number/hex.h"

namespace vdx {

namespace {

std::int64_t digits_in(Bytes bytes) { return 2 * std::int64_t{bytes.length}; }

// Writes the first n digits. An odd n ends with the first digit of a byte.
void put_digits(Bytes bytes, std::int32_t n, unsigned char* to) {
  const auto whole = static_cast<std::size_t>(n / 2);
  hex_encode(bytes.bytes, whole, to);
  if (n % 2 == 0) return;
  std::uint8_t pair[2];
  hex_encode(bytes.bytes + whole, 1, pair);
  to[n - 1] = pair[0];
}

struct Decoded {
  bool is_hex;
  bool is_cut;
  std::int32_t placed;
};

// The characters of a text, folded to single bytes some at a time.
class Folds {
 public:
  explicit Folds(const Text& text)
      : set_(text.attributes), at_(text.bytes), left_(static_cast<std::size_t>(text.length)) {}

  // Folds the next n characters, or those that are left, and returns their number.
  std::size_t take(std::size_t n, std::uint8_t* to) {
    std::size_t taken = 0;
    if (set_.encoding == Encoding::utf16) {
      taken = narrow_ascii(at_, std::min(n, left_ / 2), to);
      pass(2 * taken);
    }
    while (taken < n && left_ > 0) {
      const std::int32_t size = char_bytes(set_, at_, static_cast<std::int64_t>(left_));
      to[taken++] = char_fold(set_, at_, size);
      pass(static_cast<std::size_t>(size));
    }
    return taken;
  }

 private:
  void pass(std::size_t n) {
    at_ += n;
    left_ -= n;
  }

  const vdx_charattr& set_;
  const std::uint8_t* at_;
  std::size_t left_;
};

// Decodes a text of any character set, a piece at a time. Every digit is checked, also those whose
// bytes have no room.
Decoded decode_folds(const Text& text, unsigned char* to, std::int32_t room) {
  constexpr std::size_t kSome = 128;
  std::uint8_t some[kSome];
  std::uint8_t head[2] = {};
  std::size_t first = 0, end = 0, at = 0;  // of the text without blanks around, in characters
  Folds all(text);
  while (const std::size_t count = all.take(kSome, some)) {
    for (std::size_t i = 0; i < count; ++i, ++at) {
      if (some[i] == ' ') continue;
      if (end == 0) first = at;
      if (at - first < 2) head[at - first] = some[i];
      end = at + 1;
    }
  }
  if (end - first >= 2 && head[0] == '0' && (head[1] | 0x20) == 'x') first += 2;
  Folds digits(text);
  for (std::size_t skipped = 0; skipped < first;)
    skipped += digits.take(std::min(first - skipped, kSome), some);
  std::size_t n = end - first;
  const std::size_t total = (n + 1) / 2;
  const std::size_t placed = std::min(total, static_cast<std::size_t>(room));
  bool is_hex = true;
  std::size_t done = 0;
  if (n % 2 != 0) {
    digits.take(1, some);
    --n;
    is_hex = hex_value(*some) <= 15;
    if (placed > 0) to[done++] = hex_value(*some);
  }
  while (is_hex && n > 0) {
    const std::size_t count = digits.take(std::min(n, kSome), some);
    const std::size_t pairs = std::min(count / 2, placed - done);
    is_hex = hex_decode(some, pairs, to + done) && all_hex(some + 2 * pairs, count - 2 * pairs);
    done += pairs;
    n -= count;
  }
  return {is_hex, placed < total, static_cast<std::int32_t>(placed)};
}

// The same for texts in which a byte is a character.
Decoded decode_bytes(const Text& text, unsigned char* to, std::int32_t room) {
  const std::uint8_t* from = text.bytes;
  auto n = static_cast<std::size_t>(text.length);
  while (n > 0 && from[n - 1] == ' ') --n;
  for (; n > 0 && *from == ' '; --n) ++from;
  if (n >= 2 && from[0] == '0' && (from[1] == 'x' || from[1] == 'X')) {
    from += 2;
    n -= 2;
  }
  const std::size_t total = (n + 1) / 2;
  const std::size_t placed = std::min(total, static_cast<std::size_t>(room));
  bool is_hex = true;
  std::size_t done = 0;
  if (n % 2 != 0) {
    const std::uint8_t value = hex_value(*from++);
    --n;
    is_hex = value <= 15;
    if (placed > 0) to[done++] = value;
  }
  const std::size_t pairs = placed - done;
  is_hex = is_hex && hex_decode(from, pairs, to + done) && all_hex(from + 2 * pairs, n - 2 * pairs);
  return {is_hex, placed < total, static_cast<std::int32_t>(placed)};
}

bool is_ascii(const std::uint8_t* bytes, std::size_t n) {
  constexpr std::uint64_t kTops = 0x8080808080808080;
  std::uint64_t seen = 0;
  for (; n >= 8; bytes += 8, n -= 8) seen |= load<std::uint64_t>(bytes);
  for (; n > 0; ++bytes, --n) seen |= *bytes;
  return (seen & kTops) == 0;
}

// Only a set with characters of several bytes has wide forms of the digits.
Decoded decode(const Text& text, unsigned char* to, std::int32_t room) {
  const vdx_charattr& set = text.attributes;
  if (set.encoding != Encoding::utf16 &&
      (set.max_bytes <= 1 || is_ascii(text.bytes, static_cast<std::size_t>(text.length))))
    return decode_bytes(text, to, room);
  return decode_folds(text, to, room);
}

std::int32_t no_literal(const Call& call) {
  *call.length = 0;
  return VDX_SYNTAX;
}

}  // namespace

std::int32_t write_as_text(const Call& call, Bytes bytes) {
  const vdx_datafmt& format = *call.format;
  auto* const to = static_cast<unsigned char*>(call.destination);
  const std::int64_t digits = digits_in(bytes);
  const auto n = static_cast<std::int32_t>(std::min<std::int64_t>(digits, format.maxlength));
  put_digits(bytes, n, to);
  *call.length = n;
  if (!text_fits(format, digits)) {
    if ((format.format & VDX_FMT_TERMINATE) != 0 && n > 0) to[format.maxlength - 1] = 0;
    return VDX_OVERFLOW;
  }
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_text(format, to, n, *call.length);
}

std::int32_t write_as_varchar(const Call& call, Bytes bytes) {
  const std::int64_t digits = digits_in(bytes);
  const auto n = static_cast<std::int32_t>(std::min<std::int64_t>(digits, kCountedRoom));
  store(call.destination, static_cast<std::int16_t>(n));
  put_digits(bytes, n, static_cast<unsigned char*>(call.destination) + 2);
  *call.length = sizeof(vdx_varchar);
  return n < digits ? VDX_OVERFLOW : VDX_SUCCESS;
}

std::int32_t write_as_utf16(const Call& call, Bytes bytes) {
  const vdx_datafmt& format = *call.format;
  auto* const to = static_cast<unsigned char*>(call.destination);
  const bool terminate = (format.format & VDX_FMT_TERMINATE) != 0;
  const std::int32_t room = format.maxlength / 2;
  const std::int64_t digits = digits_in(bytes);
  const auto n = static_cast<std::int32_t>(std::min<std::int64_t>(digits, room));
  std::uint8_t some[128];
  constexpr auto kSome = static_cast<std::int32_t>(std::size(some));
  for (std::int32_t at = 0; at < n; at += kSome) {
    const std::int32_t count = std::min(n - at, kSome);
    put_digits({bytes.bytes + at / 2, bytes.length - at / 2}, count, some);
    widen_ascii(some, static_cast<std::size_t>(count), to + 2 * std::ptrdiff_t{at},
                (format.format & VDX_FMT_SWAP) != 0);
  }
  *call.length = 2 * n;
  if (digits + (terminate ? 1 : 0) > room) {
    if (terminate && room > 0) store(to + 2 * std::ptrdiff_t{room} - 2, std::uint16_t{0});
    return VDX_OVERFLOW;
  }
  if ((format.format & kFinishFlags) == 0) return VDX_SUCCESS;
  return finish_utf16(format, to, 2 * n, *call.length);
}

std::int32_t write_as_bytes(const Call& call, const Text& text) {
  const vdx_datafmt& format = *call.format;
  const Decoded decoded =
      decode(text, static_cast<unsigned char*>(call.destination), format.maxlength);
  if (!decoded.is_hex) return no_literal(call);
  *call.length = decoded.placed;
  if (decoded.is_cut) return VDX_TRUNCATED;
  return finish_bytes(format, call.destination, decoded.placed, *call.length);
}

std::int32_t write_as_varbin(const Call& call, const Text& text) {
  const Decoded decoded =
      decode(text, static_cast<unsigned char*>(call.destination) + 2, kCountedRoom);
  store(call.destination, static_cast<std::int16_t>(decoded.is_hex ? decoded.placed : 0));
  if (!decoded.is_hex) return no_literal(call);
  *call.length = sizeof(vdx_varbin);
  return decoded.is_cut ? VDX_TRUNCATED : VDX_SUCCESS;
}

void explain_bytes(const Text& text, std::int64_t room, Finding& finding) {
  FoldedText digits(text.bytes, text.length, text.attributes);
  digits.skip_blanks();
  FoldedText prefix = digits;
  if (prefix.take('0') && (prefix.take('x') || prefix.take('X'))) {
    digits.next();
    digits.next();
  }
  const FoldedText first = digits;
  std::int64_t count = 0;
  for (; digits.more() && hex_value(digits.peek()) <= 15; digits.next()) ++count;
  const std::int64_t end = digits.position();
  digits.skip_blanks();
  if (digits.more()) {
    digits.tell(&finding,
                digits.position() != end ? VDX_REASON_LEFT_OVER : VDX_REASON_NOT_HEXADECIMAL);
    return;
  }
  FoldedText cut = first;
  for (std::int64_t i = count % 2 != 0 && room > 0 ? 1 : 0; i < 2 * room && cut.position() < end;
       ++i)
    cut.next();
  finding.note(VDX_REASON_NO_ROOM, cut.position(), end - cut.position());
  finding.highest = room;
}

std::int32_t fit_image(const Call& call, Bytes bytes, std::int32_t length,
                       bool (*is_image)(const void*)) {
  unsigned char image[kNumericBytes] = {};
  std::memcpy(image, bytes.bytes, static_cast<std::size_t>(std::min(bytes.length, length)));
  if (!is_image(image)) return VDX_INVALID;
  std::memcpy(call.destination, image, static_cast<std::size_t>(length));
  return bytes.length > length ? VDX_TRUNCATED : VDX_SUCCESS;
}

}  // namespace vdx
