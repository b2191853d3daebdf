// The scanner of configuration files.
//
// Characters are read ahead as far as a token's end needs, at most three of them; those of the
// token are then taken. Where every character is a single byte, as in most lines, nothing is read
// ahead: the scanner looks at the raw buffer itself. Plain lines (take_plain_line) are not scanned
// at all but split into key and value, 64 bytes at a time where the processor has SSE2.
#include <bit>
#include <cstdio>
#include <iterator>

#include "config/handle.h"
#include "config/parse.h"
#include "frame/check.h"
#include "frame/compiler.h"
#include "frame/message.h"
#include "frame/platform.h"
#include "vdxcomn/intl.h"

namespace vdx {
namespace {

enum CharKind : std::uint8_t { kWordChar, kBlankChar, kLineEndChar, kSignChar, kEndChar };

// Kinds of runs: characters that a token takes without a closer look. Bits, since a character may
// belong to several.
enum RunKind : std::uint8_t { kWordRun = 1, kBlankRun = 2, kStringRun = 4, kCommentRun = 8 };

constexpr char kInclude[] = "include";
constexpr std::uint8_t kLineFeed = '\n';

constexpr std::int32_t kNormal = 1;
constexpr std::int32_t kString = 2;

// What the scanner of the process reads, and its state. Whoever has the turn of parses owns them.
vdx_cfg* current = nullptr;
std::int32_t state = kNormal;

CharKind kind_of(std::int32_t c) {
  switch (c) {
    case kCfgEnd:
      return kEndChar;
    case ' ':
    case '\t':
    case '\f':
      return kBlankChar;
    case '\r':
    case '\n':
      return kLineEndChar;
    case '=':
    case '[':
    case ']':
      return kSignChar;
    default:
      return kWordChar;
  }
}

std::uint8_t runs_of(std::int32_t c) {
  const CharKind kind = kind_of(c);
  return static_cast<std::uint8_t>(
      (kind == kWordChar ? kWordRun : 0) | (kind == kBlankChar ? kBlankRun : 0) |
      (c != '"' && c != '\\' && c != '\n' ? kStringRun : 0) | (c != '\n' ? kCommentRun : 0));
}

bool is_letter(std::int32_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

void read_ahead(vdx_cfg* cfg, CfgParse& parse);

class Scanner {
 public:
  Scanner(vdx_cfg* cfg, CfgParse& parse) : cfg_(cfg), parse_(parse) {}

  // Takes the next character. Returns it, or kCfgEnd with nothing taken.
  std::int32_t character() {
    const std::int32_t c = peek();
    if (c != kCfgEnd) take();
    return c;
  }

  std::int32_t normal() {
    const bool is_line_start = parse_.previous == '\n';
    parse_.token_line = parse_.line;
    std::int32_t c = peek();
    if (c == kCfgEnd) return VDX_CFGTOK_END;
    if (kind_of(c) == kBlankChar) {
      while (kind_of(c = peek()) == kBlankChar) take_run(kBlankRun);
      if (is_line_start && c == ';') return comment();
      return line_end(0) ? VDX_CFGTOK_NEWLINE : VDX_CFGTOK_BLANK;
    }
    if (c == ';' && is_line_start) return comment();
    if (line_end(0)) return VDX_CFGTOK_NEWLINE;
    switch (c) {
      case '"':
        take();
        state = kString;
        return VDX_CFGTOK_STRING_START;
      case '[':
        take();
        return VDX_CFGTOK_OPEN;
      case ']':
        take();
        return VDX_CFGTOK_CLOSE;
      case '=':
        take();
        return VDX_CFGTOK_EQUALS;
      case '\r':
        take();
        return VDX_CFGTOK_UNKNOWN;
      case '\\':
        if (line_end(1)) return VDX_CFGTOK_CONTINUE;
        break;
      default:
        break;
    }
    return word();
  }

  std::int32_t string() {
    parse_.token_line = parse_.line;
    std::int32_t c = peek();
    if (c == kCfgEnd) return VDX_CFGTOK_END;
    if (c == '"') {
      take();
      if (peek() == '"') {
        take();
        return VDX_CFGTOK_QUOTE;
      }
      state = kNormal;
      return VDX_CFGTOK_STRING_END;
    }
    if (c == '\\' && line_end(1)) return VDX_CFGTOK_CONTINUE;
    do take_run(kStringRun);
    while ((c = peek()) != '"' && c != kCfgEnd && !(c == '\\' && line_end_length(1) != 0));
    return VDX_CFGTOK_STRING;
  }

 private:
  std::int32_t peek(std::int32_t distance = 0) {
    if (parse_.ahead_count == 0 && parse_.raw_end - parse_.raw_used > distance) {
      std::int32_t at = parse_.raw_used;
      std::int32_t left = distance;
      std::int32_t c;
      while ((c = plain(at)) != 0 && left-- > 0) ++at;
      if (c != 0) return c;
    }
    while (parse_.ahead_count <= distance) read_ahead(cfg_, parse_);
    return parse_.ahead[distance].character;
  }

  // Takes the character that peek returned.
  void take() {
    CfgAhead first;
    if (parse_.ahead_count == 0) {
      first = {plain(parse_.raw_used++), 1};
    } else {
      first = parse_.ahead[0];
      for (std::int32_t i = 1; i < parse_.ahead_count; ++i) parse_.ahead[i - 1] = parse_.ahead[i];
      --parse_.ahead_count;
    }
    parse_.consumed += first.length;
    parse_.previous = first.character;
    if (first.character == '\n') ++parse_.line;
  }

  // Takes the character that peek returned, and the single bytes of a run that follow it in the
  // buffer.
  void take_run(RunKind run) {
    take();
    if (parse_.ahead_count != 0) return;
    const auto* const start = reinterpret_cast<const std::uint8_t*>(parse_.raw + parse_.raw_used);
    const auto* const end = reinterpret_cast<const std::uint8_t*>(parse_.raw + parse_.raw_end);
    const std::uint8_t* at = start;
    while (at < end && (parse_.runs[*at] & run) != 0) ++at;
    if (at == start) return;
    const auto taken = static_cast<std::int32_t>(at - start);
    parse_.raw_used += taken;
    parse_.consumed += taken;
    parse_.previous = parse_.plain[at[-1]];
  }

  std::int32_t plain(std::int32_t at) const {
    return parse_.plain[static_cast<std::uint8_t>(parse_.raw[at])];
  }

  // The number of characters of a line end at this distance; 0 if there is no line end.
  std::int32_t line_end_length(std::int32_t distance) {
    const std::int32_t c = peek(distance);
    if (c == '\n') return 1;
    return c == '\r' && peek(distance + 1) == '\n' ? 2 : 0;
  }

  // Takes the line end at this distance with the characters before it. False if there is none.
  bool line_end(std::int32_t distance) {
    const std::int32_t length = line_end_length(distance);
    if (length == 0) return false;
    for (std::int32_t i = 0; i < distance + length; ++i) take();
    return true;
  }

  std::int32_t comment() {
    for (std::int32_t c; (c = peek()) != '\n' && c != kCfgEnd;) take_run(kCommentRun);
    return VDX_CFGTOK_BLANK;
  }

  std::int32_t word() {
    const std::int32_t token = is_letter(peek()) ? VDX_CFGTOK_IDENT : VDX_CFGTOK_VALUE;
    std::int32_t matched = 0;  // of the keyword
    for (std::int32_t c; matched < 7 && is_letter(c = peek()) && (c | 32) == kInclude[matched];
         ++matched)
      take();
    bool is_longer = false;
    for (; kind_of(peek()) == kWordChar; is_longer = true) take_run(kWordRun);
    return matched == 7 && !is_longer ? VDX_CFGTOK_INCLUDE : token;
  }

  vdx_cfg* cfg_;
  CfgParse& parse_;
};

bool is_include(const std::uint8_t* word, std::size_t length, const std::uint8_t* plain) {
  if (length != std::size(kInclude) - 1) return false;
  for (std::size_t i = 0; i < length; ++i)
    if (!is_letter(plain[word[i]]) || (plain[word[i]] | 32) != kInclude[i]) return false;
  return true;
}

void take_to(CfgParse& parse, const void* end) {
  parse.raw_used = parse.claimed =
      static_cast<std::int32_t>(static_cast<const char*>(end) - parse.raw);
  ++parse.line;
}

#if defined(VDX_SSE2)

// Which of 64 bytes are of a kind: bit i is set for byte i.
struct ByteMasks {
  std::uint64_t feeds = 0;
  std::uint64_t returns = 0;
  std::uint64_t blanks = 0;
  std::uint64_t equals = 0;
  std::uint64_t is = 0;     // the letter i
  std::uint64_t signs = 0;  // quotes, backslashes and brackets
  std::uint64_t high = 0;   // bytes above 127

  explicit ByteMasks(const char* from) {
    for (int i = 0; i < 64; i += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
      const auto same = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
      const auto add = [i](std::uint64_t& mask, __m128i found) {
        mask |= std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(found))} << i;
      };
      const __m128i lower = _mm_or_si128(bytes, _mm_set1_epi8(32));
      add(feeds, same('\n'));
      add(returns, same('\r'));
      add(blanks, _mm_or_si128(_mm_or_si128(same(' '), same('\t')), same('\f')));
      add(equals, same('='));
      add(is, _mm_cmpeq_epi8(lower, _mm_set1_epi8('i')));
      add(signs,
          _mm_or_si128(_mm_or_si128(same('"'), same('\\')), _mm_or_si128(same('['), same(']'))));
      add(high, bytes);
    }
  }
};

// take_plain_line for lines of up to 63 bytes, without a branch for each byte. A line that it does
// not take may still be plain.
bool take_short_line(CfgParse& parse, CfgPlainLine& line) {
  if (parse.raw_end - parse.raw_used < 64 || !parse.is_ascii) return false;
  const char* const from = parse.raw + parse.raw_used;
  const ByteMasks at(from);
  if (at.feeds == 0) return false;
  const int end = std::countr_zero(at.feeds);
  const std::uint64_t before = (std::uint64_t{1} << end) - 1;
  if ((at.returns & before >> 1) != 0) return false;
  const std::uint64_t text = before & ~at.returns;
  if ((at.signs & text) != 0 || ((at.high & text) != 0 && parse.has_high_signs)) return false;
  const std::uint64_t words = text & ~at.blanks & ~at.equals;
  const std::uint64_t equals = text & at.equals;
  line = {};
  if (words == 0) {
    if (equals != 0) return false;
  } else if (const int first = std::countr_zero(words);
             from[first] != ';' || (equals & ((std::uint64_t{1} << first) - 1)) != 0) {
    if (equals == 0 || (equals & (equals - 1)) != 0) return false;
    const std::uint64_t key = words & (equals - 1);
    const std::uint64_t value = words & ~(equals - 1);
    // The key is one word if its bits are one run: then a carry from its lowest bit clears all.
    if (key == 0 || value == 0 || ((key + (key & (0 - key))) & key) != 0) return false;
    const std::uint64_t pairs = words & words >> 1;
    const std::uint64_t fours = pairs & pairs >> 2;
    const std::uint64_t sevens = fours & fours >> 3;
    if ((sevens & ~(words << 1) & at.is) != 0) return false;  // may be the keyword
    const int start = std::countr_zero(value);
    line.key = {from + first, static_cast<std::size_t>(64 - std::countl_zero(key) - first)};
    line.value = {from + start, static_cast<std::size_t>(64 - std::countl_zero(value) - start)};
  }
  take_to(parse, from + end + 1);
  return true;
}

#else

bool take_short_line(CfgParse&, CfgPlainLine&) { return false; }

#endif

// Makes at least half of the raw buffer free, moving its text to the start or the whole to a larger
// buffer. So each byte is moved a constant number of times, whatever the length of tokens.
bool make_room(vdx_cfg* cfg, CfgParse& parse) {
  cfg__clearbuf(cfg);
  if (parse.raw_end <= parse.raw_size / 2) return true;
  if (parse.raw_size > INT32_MAX / 2) return false;
  auto* made = static_cast<char*>(std::malloc(static_cast<std::size_t>(parse.raw_size) * 2));
  if (made == nullptr) return false;
  std::memcpy(made, parse.raw, static_cast<std::size_t>(parse.raw_end));
  std::free(parse.raw);
  parse.raw = made;
  parse.raw_size *= 2;
  return true;
}

// Reads more of the file into the raw buffer, whose contents may move. False at the end of the file
// and after a failure.
bool fill(vdx_cfg* cfg, CfgParse& parse) {
  if (parse.has_failed || parse.is_at_end) return false;
  if (parse.raw_end == parse.raw_size && !make_room(cfg, parse)) {
    parse.has_failed = true;
    return false;
  }
  const std::int64_t got = read_file(parse.file, parse.raw + parse.raw_end,
                                     static_cast<std::size_t>(parse.raw_size - parse.raw_end));
  parse.has_failed = parse.has_read_error = got < 0;
  parse.is_at_end = got == 0;
  if (got > 0) parse.raw_end += static_cast<std::int32_t>(got);
  return got > 0;
}

// Reads the first unread character. False at the end of the file.
bool read_character(vdx_cfg* cfg, CfgParse& parse, CfgAhead& out) {
  if (parse.has_failed) return false;
  const auto bytes = [&parse] {
    return reinterpret_cast<const std::uint8_t*>(parse.raw + parse.raw_used);
  };
  std::int32_t have = 0;
  for (std::int32_t whole = 1; have < whole; ++have) {
    if (parse.raw_used + have == parse.raw_end && !fill(cfg, parse)) {
      parse.raw_end = parse.raw_used;  // its bytes belong to no token
      if (have > 0 && !parse.has_failed)
        raise_message(cfg->context, VDX_MSG_CFG_CUT, err_parameters(cfg->parsed().file()),
                      place_of(cfg->parsed(), parse.line,
                               {parse.raw + parse.raw_used, static_cast<std::size_t>(have)}));
      return false;
    }
    whole = whole_char_bytes(*parse.attributes, bytes(), have + 1);
  }
  const std::int32_t ascii = comn_to_ascii(parse.attributes, bytes(), have);
  out = {ascii == 0 ? kCfgForeign : ascii, have};
  parse.raw_used += have;
  return true;
}

// Reads one more character, or the end of the file, ahead. CfgParse::kAhead is enough: no token's
// end needs more.
void read_ahead(vdx_cfg* cfg, CfgParse& parse) {
  CfgAhead& read = parse.ahead[parse.ahead_count++];
  if (!read_character(cfg, parse, read)) read = {kCfgEnd, 0};
}

}  // namespace

const char* token_name(std::int32_t token) {
  constexpr const char* kNames[] = {"end",
                                    "whitespace",
                                    "include",
                                    "newline",
                                    "start string",
                                    "string value",
                                    "escaped quote",
                                    "string end",
                                    "line continuation",
                                    "ident",
                                    "value",
                                    "[",
                                    "]",
                                    "="};
  return token >= 0 && token < VDX_CFGTOK_UNKNOWN ? kNames[token] : "unknown token";
}

bool take_plain_line(CfgParse& parse, CfgPlainLine& line) {
  const std::int32_t start = parse.raw_used;
  if (parse.previous != '\n' || parse.ahead_count != 0 || parse.consumed != 0 || state != kNormal)
    return false;
  if (kTraceTokens) return false;
  if (take_short_line(parse, line)) return true;
  const auto* at = reinterpret_cast<const std::uint8_t*>(parse.raw + start);
  // A line feed is in the buffer and ends every run, so no run leaves the buffer.
  if (std::memchr(at, '\n', static_cast<std::size_t>(parse.raw_end - start)) == nullptr ||
      parse.plain[kLineFeed] != kLineFeed)
    return false;
  const auto skip = [&parse, &at](RunKind run) {
    while ((parse.runs[*at] & run) != 0) ++at;
  };
  const auto now = [&parse, &at] { return parse.plain[*at]; };
  const auto text = [&at](const std::uint8_t* from) {
    return std::string_view(reinterpret_cast<const char*>(from),
                            static_cast<std::size_t>(at - from));
  };
  // Skips a word. Returns it, or nothing if it opens a string, continues the line or is the
  // keyword.
  const auto word = [&] {
    const std::uint8_t* from = at;
    if (now() == '"' || now() == '\\') return std::string_view();
    skip(kWordRun);
    const std::string_view taken = text(from);
    return is_include(from, taken.size(), parse.plain) ? std::string_view() : taken;
  };
  line = {};
  skip(kBlankRun);
  if (now() == ';') {
    skip(kCommentRun);
  } else if ((parse.runs[*at] & kWordRun) != 0) {
    line.key = word();
    skip(kBlankRun);
    if (line.key.empty() || now() != '=') return false;
    ++at;
    skip(kBlankRun);
    const std::uint8_t* const from = at;
    do {
      if (word().empty()) return false;
      line.value = text(from);
      skip(kBlankRun);
    } while ((parse.runs[*at] & kWordRun) != 0);
  }
  if (now() == '\r') ++at;
  if (now() != '\n') return false;
  take_to(parse, at + 1);
  return true;
}

void CfgParse::classify() {
  for (int i = 0; i < 256; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    if (whole_char_bytes(*attributes, &byte, 1) != 1) continue;
    const std::int32_t ascii = comn_to_ascii(attributes, &byte, 1);
    plain[i] = static_cast<std::uint8_t>(ascii == 0 ? kCfgForeign : ascii);
    runs[i] = runs_of(plain[i]);
  }
  is_ascii = true;
  for (std::int32_t i = 1; i < 128; ++i) is_ascii = is_ascii && plain[i] == i;
  has_high_signs = false;
  for (std::int32_t i = 128; i < 256; ++i)
    has_high_signs = has_high_signs || (runs[i] & kWordRun) == 0;
}

}  // namespace vdx

extern "C" {

std::int32_t cfg__getc(vdx_cfg* cfg) {
  VDX_CHECK_POINTER(cfg, vdx::kCfgEnd);
  vdx::CfgParse* parse = cfg->parsed().parse;
  VDX_CHECK_POINTER(parse, vdx::kCfgEnd);
  return vdx::Scanner(cfg, *parse).character();
}

void com__yyrestart(vdx_cfg* cfg) {
  vdx::current = cfg;
  vdx::state = vdx::kNormal;
}

void cfg__lexstate(std::int32_t state) {
  VDX_ASSERT(state == vdx::kNormal || state == vdx::kString, );
  vdx::state = state;
}

std::int32_t cfg__lex(void) {
  VDX_CHECK_POINTER(vdx::current, VDX_CFGTOK_END);
  vdx::CfgParse* parse = vdx::current->parsed().parse;
  VDX_CHECK_POINTER(parse, VDX_CFGTOK_END);
  vdx::Scanner scanner(vdx::current, *parse);
  const std::int32_t token = vdx::state == vdx::kString ? scanner.string() : scanner.normal();
  if (vdx::kTraceTokens)
    std::fprintf(stderr, "cfg__lex: %s >%.*s<\n", vdx::token_name(token),
                 static_cast<int>(parse->consumed), parse->raw + parse->claimed);
  return token;
}

}  // extern "C"
