// Words for codes, and the sentence of a fault. Nothing is allocated: names and texts are constants,
// and a sentence is put together in the caller's buffer.
#include <algorithm>
#include <cstring>

#include "frame/check.h"
#include "frame/fault.h"

namespace vdx {
namespace {

struct CodeWords {
  std::int32_t code;
  const char* name;
  const char* state;
  const char* text;
};

// Results come first: 1 is VDX_SUCCESS.
constexpr CodeWords kCodes[] = {
#define CODE(name, state, text) {name, #name, state, text},
#include "lists/codes.list"
#define STATUS(name, state, text) {name, #name, state, text},
#include "lists/codes.list"
};

constexpr CodeWords kUnknownCode = {0, "unknown", "HY000", "unknown failure"};

const CodeWords& words_of(std::int32_t code) {
  const auto* const row = std::find_if(std::begin(kCodes), std::end(kCodes),
                                       [code](const CodeWords& r) { return r.code == code; });
  return row == std::end(kCodes) ? kUnknownCode : *row;
}

// In a sentence %t is the text at fault in quotes, %v what was read, %l and %h what it may be, %m the
// limit. The second form is for faults without a text.
struct Sentence {
  std::int32_t reason;
  const char* text;
  const char* without;
};

constexpr Sentence kSentences[] = {
    {VDX_REASON_EMPTY, "the text is empty", nullptr},
    {VDX_REASON_NO_DIGIT, "a number is missing before %t", "a number is missing at the end"},
    {VDX_REASON_SECOND_SIGN, "%t is a second sign", nullptr},
    {VDX_REASON_SIGN, "the number cannot be negative", nullptr},
    {VDX_REASON_SECOND_POINT, "%t is a second point", nullptr},
    {VDX_REASON_SECOND_CURRENCY, "%t is a second currency symbol", nullptr},
    {VDX_REASON_GROUP, "%t does not follow three digits", nullptr},
    {VDX_REASON_CHARACTER, "%t is unexpected", "the end is unexpected"},
    {VDX_REASON_LEFT_OVER, "%t is left over", nullptr},
    {VDX_REASON_NOT_HEXADECIMAL, "%t is no hexadecimal digit", nullptr},
    {VDX_REASON_TOO_MANY_DIGITS, "no part of a date has as many digits as %t", nullptr},
    {VDX_REASON_TOO_MANY_PARTS, "%t is left over after 20 parts", nullptr},
    {VDX_REASON_WORD, "%t is no month", nullptr},
    {VDX_REASON_INCOMPLETE, "a part of the date is missing before %t",
     "a part of the date is missing at the end"},
    {VDX_REASON_STYLE_DATE, "style and order have no such date", nullptr},
    {VDX_REASON_TOO_LONG, "the text is too long for a date", nullptr},
    {VDX_REASON_ABOVE, "%t is above %m", "the value is above %m"},
    {VDX_REASON_BELOW, "%t is below %m", "the value is below %m"},
    {VDX_REASON_TOO_SMALL, "%t is nearer to zero than %m", "the value is nearer to zero than %m"},
    {VDX_REASON_YEAR, "year %v is not %l to %h", nullptr},
    {VDX_REASON_MONTH, "month %v is not %l to %h", nullptr},
    {VDX_REASON_DAY, "day %v is not %l to %h", nullptr},
    {VDX_REASON_HOUR, "hour %v is not %l to %h", nullptr},
    {VDX_REASON_MINUTE, "minute %v is not %l to %h", nullptr},
    {VDX_REASON_SECOND, "second %v is not %l to %h", nullptr},
    {VDX_REASON_FRACTION, "fraction %v is not %l to %h", nullptr},
    {VDX_REASON_HALF_DAY, "%t contradicts hour %v", nullptr},
    {VDX_REASON_MALFORMED, "%t is no character", nullptr},
    {VDX_REASON_CUT, "%t is a part of a character", nullptr},
    {VDX_REASON_NOT_IN_SET, "%t is not in the character set", nullptr},
    {VDX_REASON_NO_ROOM, "%t does not fit into %h bytes", "the value does not fit into %h bytes"},
    {VDX_REASON_DIGITS_LOST, "digits of the time are lost", nullptr},
    {VDX_REASON_INVALID, "the source is no value of its datatype", nullptr},
    {VDX_REASON_NOT_A_NUMBER, "the source is not a number", nullptr},
    {VDX_REASON_PRECISION, "precision %v is not %l to %h", nullptr},
    {VDX_REASON_SCALE, "scale %v is not %l to %h", nullptr},
    {VDX_REASON_PADDING, "blanks and zero bytes cannot both fill the rest", nullptr},
    {VDX_REASON_STYLE, "there is no date style %v", nullptr},
    {VDX_REASON_NO_NAMES, "the date style needs names of months", nullptr},
    {VDX_REASON_CHARACTER_SET, "the character set is not known", nullptr},
};

const char* sentence_of(const vdx_fault& fault) {
  for (const Sentence& row : kSentences)
    if (row.reason == fault.reason)
      return row.without != nullptr && fault.text_length == 0 ? row.without : row.text;
  return words_of(fault.code).text;
}

// Appends to the caller's buffer as long as there is room.
class Out {
 public:
  Out(char* buffer, std::int32_t size) : buffer_(buffer), room_(size) {}

  void put(char c) {
    if (is_cut_ || length_ == room_)
      is_cut_ = true;
    else
      buffer_[length_++] = c;
  }
  void put(const char* text, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) put(text[i]);
  }
  void put_number(std::int64_t number) {
    char digits[20];
    std::int32_t n = 0;
    auto size = static_cast<std::uint64_t>(number);
    if (number < 0) {
      put('-');
      size = 0 - size;
    }
    do digits[n++] = static_cast<char>('0' + size % 10);
    while ((size /= 10) != 0);
    while (n > 0) put(digits[--n]);
  }

  // Ends between characters of UTF-8.
  std::int32_t finish(std::int32_t& length) {
    const auto is_inside = [this](std::int32_t at) { return (buffer_[at] & 0xC0) == 0x80; };
    if (is_cut_) {
      std::int32_t start = length_;
      while (start > 0 && is_inside(start - 1)) --start;
      const auto lead = start > 0 ? static_cast<unsigned char>(buffer_[start - 1]) : 0;
      const std::int32_t whole = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
      if (whole > length_ - start + 1) length_ = start - 1;
    }
    length = length_;
    return is_cut_ ? VDX_TRUNCATED : VDX_SUCCESS;
  }

 private:
  char* buffer_;
  std::int32_t room_;
  std::int32_t length_ = 0;
  bool is_cut_ = false;
};

void put_part(Out& out, const vdx_fault& fault, char part) {
  switch (part) {
    case 't':
      out.put('"');
      out.put(fault.text, fault.text_length);
      return out.put('"');
    case 'm':
      return out.put(fault.limit, fault.limit_length);
    default:
      return out.put_number(part == 'v' ? fault.value : part == 'l' ? fault.lowest : fault.highest);
  }
}

}  // namespace
}  // namespace vdx

extern "C" {

const char* comn_code_name(std::int32_t code) { return vdx::words_of(code).name; }
const char* comn_code_text(std::int32_t code) { return vdx::words_of(code).text; }
const char* comn_code_sqlstate(std::int32_t code) { return vdx::words_of(code).state; }

std::int32_t comn_fault_text(const vdx_context*, const vdx_fault* fault, char* buffer,
                             std::int32_t size, std::int32_t* length) {
  VDX_CHECK_POINTER(fault, VDX_OVERFLOW);
  VDX_CHECK_POINTER(buffer, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(size >= 0, VDX_OVERFLOW);
  vdx_fault known{};  // a short record lacks what is behind its size
  std::memcpy(&known, fault, std::min<std::size_t>(fault->size, sizeof known));
  known.text_length = std::clamp(known.text_length, 0, std::int32_t{sizeof known.text});
  known.limit_length = std::clamp(known.limit_length, 0, std::int32_t{sizeof known.limit});
  vdx::Out out(buffer, size);
  for (const char* at = vdx::sentence_of(known); *at != '\0'; ++at) {
    if (*at == '%')
      vdx::put_part(out, known, *++at);
    else
      out.put(*at);
  }
  return out.finish(*length);
}

}  // extern "C"
