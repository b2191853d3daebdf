// The built-in character sets.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "intl/charattr.h"

namespace vdx {
namespace {

#include "intl/charset_tables_generated.inc"

using ByteTable = std::array<std::uint8_t, 256>;

// In ASCII and ISO 8859-1 the cases of a letter are 32 apart; a letter without a partner keeps its
// case.
constexpr ByteTable upper_table(const CharPage& page) {
  ByteTable table{};
  for (std::size_t c = 0; c < 256; ++c) {
    const bool has_upper =
        (page.bits[c] & kClassLower) != 0 && (page.bits[c - 32] & kClassUpper) != 0;
    table[c] = static_cast<std::uint8_t>(has_upper ? c - 32 : c);
  }
  return table;
}

constexpr ByteTable lower_table(const CharPage& page) {
  ByteTable table{};
  for (std::size_t c = 0; c < 256; ++c)
    table[c] = static_cast<std::uint8_t>((page.bits[c] & kClassUpper) != 0 ? c + 32 : c);
  return table;
}

template <const CharPage& Page>
inline constexpr ByteTable kUpper = upper_table(Page);
template <const CharPage& Page>
inline constexpr ByteTable kLower = lower_table(Page);

struct LeadRange {
  std::int32_t first;
  std::int32_t last;
  std::uint8_t bytes;
};

template <const CharPage& Single, std::size_t N = 0>
constexpr vdx_charattr make_set(Encoding encoding, const LeadRange (&leads)[N],
                                const CharPage* const* pages) {
  vdx_charattr set{1, {}, &Single, pages, kUpper<Single>.data(), kLower<Single>.data()};
  set.encoding = encoding;
  for (std::uint8_t& bytes : set.lead_class) bytes = 1;
  for (const LeadRange& range : leads) {
    for (std::int32_t c = range.first; c <= range.last; ++c) set.lead_class[c] = range.bytes;
    set.max_bytes = std::max<std::int32_t>(set.max_bytes, range.bytes);
  }
  return set;
}

constexpr LeadRange kNoLeads[] = {{0, 127, 1}};
constexpr LeadRange kUtf8Leads[] = {{0xC2, 0xDF, 2}, {0xE0, 0xEF, 3}, {0xF0, 0xF4, 4}};
constexpr LeadRange kSjisLeads[] = {{0x81, 0x9F, 2}, {0xE0, 0xFC, 2}};

constexpr vdx_charattr make_utf8() {
  vdx_charattr set = make_set<kUtf8Single>(Encoding::utf8, kUtf8Leads, kUtf8Pages);
  set.runs = kUtf8Runs;
  set.run_count = static_cast<std::int32_t>(std::size(kUtf8Runs));
  return set;
}

// Every character has two bytes. Classes and folds are those of UTF-8, found by code point.
constexpr vdx_charattr make_utf16() {
  vdx_charattr set = make_utf8();
  set.max_bytes = 2;
  for (std::uint8_t& bytes : set.lead_class) bytes = 2;
  set.pages = nullptr;
  set.encoding = Encoding::utf16;
  return set;
}

// The code point of n bytes of UTF-8, 3 or 4; 0 for bytes that are no character, such as a longer
// one that is cut. An overlong form gives a code point below every run, so it has no class either.
std::uint32_t code_point(const std::uint8_t* p, std::int32_t n) {
  if ((*p >> (7 - n) & 1) != 0) return 0;  // lead of a longer character
  std::uint32_t code = *p & (0x7Fu >> n);
  for (std::int32_t i = 1; i < n; ++i) {
    if ((p[i] & 0xC0) != 0x80) return 0;
    code = code << 6 | (p[i] & 0x3Fu);
  }
  return code;
}

const CharRun* find_run(const vdx_charattr& attributes, std::uint32_t code) {
  const CharRun* end = attributes.runs + attributes.run_count;
  const CharRun* run = std::lower_bound(
      attributes.runs, end, code, [](const CharRun& r, std::uint32_t c) { return r.last < c; });
  return run != end && run->first <= code ? run : nullptr;
}

std::uint32_t unit_at(const std::uint8_t* p) {
  std::uint16_t unit;
  std::memcpy(&unit, p, sizeof unit);
  return unit;
}

}  // namespace

constexpr vdx_charattr kLatin1 = make_set<kLatin1Single>(Encoding::latin1, kNoLeads, nullptr);
constexpr vdx_charattr kAscii = make_set<kAsciiSingle>(Encoding::ascii, kNoLeads, nullptr);
constexpr vdx_charattr kUtf8 = make_utf8();
constexpr vdx_charattr kSjis = make_set<kSjisSingle>(Encoding::sjis, kSjisLeads, kSjisPages);
constexpr vdx_charattr kUtf16 = make_utf16();

constexpr NamedCharset kCharsets[4] = {
    {"iso_1", &kLatin1}, {"ascii", &kAscii}, {"utf8", &kUtf8}, {"sjis", &kSjis}};

const NamedCharset* find_charset(const char* name) {
  for (const NamedCharset& charset : kCharsets)
    if (std::strcmp(charset.name, name) == 0) return &charset;
  return nullptr;
}

std::uint8_t long_char_fold(const vdx_charattr& attributes, const std::uint8_t* p, std::int32_t n) {
  const bool is_unit = attributes.pages == nullptr;
  const std::uint32_t code = is_unit ? unit_at(p) : code_point(p, n);
  if (is_unit && code < 0x800) return code < 0x80 ? kUtf8Single.fold[code] : std::uint8_t{0};
  const CharRun* run = find_run(attributes, code);
  if (run == nullptr || run->fold == 0) return 0;
  return static_cast<std::uint8_t>(run->fold + (code - run->first));
}

std::uint8_t long_char_class(const vdx_charattr& attributes, const std::uint8_t* p,
                             std::int32_t n) {
  const bool is_unit = attributes.pages == nullptr;
  const std::uint32_t code = is_unit ? unit_at(p) : code_point(p, n);
  if (is_unit && code < 0x80) return kUtf8Single.bits[code];
  if (is_unit && code < 0x800) {
    const CharPage* const page = kUtf8Pages[0xC0 | code >> 6];
    return page == nullptr ? std::uint8_t{0} : page->bits[0x80 | (code & 0x3F)];
  }
  const CharRun* run = find_run(attributes, code);
  return run == nullptr ? std::uint8_t{0} : run->bits;
}

}  // namespace vdx
