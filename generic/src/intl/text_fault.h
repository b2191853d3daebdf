// What is at fault in a text in a character set: bytes that are no character, characters that another
// set lacks or that have no room; and how that is shown.
#ifndef VDX_INTL_TEXT_FAULT_H
#define VDX_INTL_TEXT_FAULT_H

#include "frame/fault.h"
#include "intl/charattr.h"

namespace vdx {

struct FaultyText {
  const std::uint8_t* bytes;
  std::size_t length;
  const vdx_charattr& attributes;
};

// A short text that is put together; what is too long for it is cut.
struct FaultWords {
  char bytes[96];
  std::size_t length = 0;

  void add(char c) {
    if (length < sizeof bytes) bytes[length++] = c;
  }
  void add(const void* text, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) add(static_cast<const char*>(text)[i]);
  }
  template <typename AnyText>
  void add_text(const AnyText& text) {
    add(text.data(), text.length());
  }
  void add_number(std::int32_t number, std::int32_t digits) {
    char text[16];
    for (std::int32_t i = digits; i > 0; --i, number /= 10)
      text[i - 1] = static_cast<char>('0' + number % 10);
    add(text, static_cast<std::size_t>(digits));
  }
  FaultText text() const { return {bytes, length}; }
};

// The bytes of the character at an offset, as far as they are there.
std::size_t bytes_at(const FaultyText& text, std::size_t at);

// Appends the beginning of what is at fault, as UTF-8. Control bytes, and bytes that are no character,
// are shown as numbers; three points show that it goes on.
void add_excerpt(const FaultyText& text, const Finding& finding, FaultWords& words);

// Finds the first character that is malformed or cut; nothing in a sound text.
void explain_malformed(const FaultyText& text, Finding& finding);

// Finds the first character that one of the sets lacks.
void explain_missing(const FaultyText& text, const vdx_charattr& to, Finding& finding);

// Finds the first character that has no room in so many bytes of another set. quoted: each apostrophe
// takes two places.
void explain_room(const FaultyText& text, const vdx_charattr& to, bool quoted, std::int64_t room,
                  Finding& finding);

// All of that for a text that was to become one of another set, into the context's record.
[[gnu::cold, gnu::noinline]] void explain_transcoding(const vdx_context* context,
                                                      const FaultyText& text,
                                                      const vdx_charattr& to, std::int64_t room,
                                                      std::int32_t code);

}  // namespace vdx

#endif
