// The scanner of configuration files. It reads characters ahead as far as it must and consumes those
// that belong to the token; the next token starts behind them.
#include "config/comcfg.h"
#include "frame/check.h"
#include "frame/com_err.h"
#include "vdxcomn/intl.h"

namespace vdx {
namespace {

enum CharKind : std::uint8_t { kWordChar, kBlankChar, kLineEndChar, kSignChar, kEndChar };

constexpr std::int32_t kNormal = 1;
constexpr std::int32_t kString = 2;

// What the scanner of the process is at; parses take turns.
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

bool is_letter(std::int32_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

class Scanner {
 public:
  Scanner(vdx_cfg* cfg, CfgParse& parse) : cfg_(cfg), parse_(parse) {}

  std::int32_t normal() {
    const bool is_line_start = parse_.previous == '\n';
    parse_.token_line = parse_.line;
    std::int32_t c = peek();
    if (c == kCfgEnd) return VDX_CFGTOK_END;
    if (kind_of(c) == kBlankChar) {
      while (kind_of(c = peek()) == kBlankChar) take();
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
    do take();
    while ((c = peek()) != '"' && c != kCfgEnd && !(c == '\\' && line_end_length(1) != 0));
    return VDX_CFGTOK_STRING;
  }

 private:
  std::int32_t peek(std::int32_t distance = 0) {
    while (parse_.ahead_count <= distance) cfg__getc(cfg_);
    return parse_.ahead[distance].character;
  }

  void take() {
    const CfgAhead first = parse_.ahead[0];
    for (std::int32_t i = 1; i < parse_.ahead_count; ++i) parse_.ahead[i - 1] = parse_.ahead[i];
    --parse_.ahead_count;
    parse_.consumed += first.length;
    parse_.previous = first.character;
    if (first.character == '\n') ++parse_.line;
  }

  // Characters of the line end at a distance, 0 where there is none.
  std::int32_t line_end_length(std::int32_t distance) {
    const std::int32_t c = peek(distance);
    if (c == '\n') return 1;
    return c == '\r' && peek(distance + 1) == '\n' ? 2 : 0;
  }

  // Takes the line end at a distance with what is before it; false where there is none.
  bool line_end(std::int32_t distance) {
    const std::int32_t length = line_end_length(distance);
    if (length == 0) return false;
    for (std::int32_t i = 0; i < distance + length; ++i) take();
    return true;
  }

  std::int32_t comment() {
    while (peek() != '\n' && peek() != kCfgEnd) take();
    return VDX_CFGTOK_BLANK;
  }

  std::int32_t word() {
    constexpr char kInclude[] = "include";
    const std::int32_t token = is_letter(peek()) ? VDX_CFGTOK_IDENT : VDX_CFGTOK_VALUE;
    std::int32_t length = 0;
    std::int32_t matched = 0;  // of the keyword, from the start of the word
    for (std::int32_t c; kind_of(c = peek()) == kWordChar; ++length) {
      if (matched == length && length < 7 && is_letter(c) && (c | 32) == kInclude[length])
        ++matched;
      take();
    }
    return matched == 7 && length == 7 ? VDX_CFGTOK_INCLUDE : token;
  }

  vdx_cfg* cfg_;
  CfgParse& parse_;
};

// The scanner keeps a byte free for each that a character can have.
bool make_room(CfgParse& parse) {
  constexpr std::int32_t kLongestCharacter = 4;
  constexpr std::int32_t kStep = 1024;
  if (parse.raw_size - parse.raw_used >= kLongestCharacter) return true;
  const std::int32_t step = parse.raw_size < 16 * kStep ? kStep : parse.raw_size / 2;
  if (parse.raw_size > INT32_MAX - step) return false;
  auto* made = static_cast<char*>(std::malloc(static_cast<std::size_t>(parse.raw_size + step)));
  if (made == nullptr) return false;
  std::memcpy(made, parse.raw, static_cast<std::size_t>(parse.raw_used));
  std::free(parse.raw);
  parse.raw = made;
  parse.raw_size += step;
  return true;
}

// The next byte of the file, -1 at its end.
std::int32_t read_byte(CfgParse& parse) {
  if (parse.input_at == parse.input_end) {
    if (parse.has_failed || parse.is_at_end) return kCfgEnd;
    const std::int64_t got = read_file(parse.file, parse.input, sizeof parse.input);
    parse.input_at = 0;
    parse.input_end = got > 0 ? static_cast<std::size_t>(got) : 0;
    parse.has_failed = parse.has_read_error = got < 0;
    parse.is_at_end = got == 0;
    if (got <= 0) return kCfgEnd;
  }
  return parse.input[parse.input_at++];
}

// Reads one character to the end of the raw buffer; false at the end of the file.
bool read_character(vdx_cfg* cfg, CfgParse& parse, CfgAhead& out) {
  if (!make_room(parse)) parse.has_failed = true;
  if (parse.has_failed) return false;
  auto* const bytes = reinterpret_cast<std::uint8_t*>(parse.raw + parse.raw_used);
  std::int32_t have = 0;
  for (std::int32_t whole = 1; have < whole; ++have) {
    const std::int32_t byte = read_byte(parse);
    if (byte == kCfgEnd) {
      if (have > 0 && !parse.has_failed)
        raise_message(cfg->context, VDX_MSG_CFG_CUT, err_parameters(cfg->parsed().file()),
                      place_of(cfg->parsed(), parse.line,
                               {parse.raw + parse.raw_used, static_cast<std::size_t>(have)}));
      return false;
    }
    bytes[have] = static_cast<std::uint8_t>(byte);
    whole = whole_char_bytes(*parse.attributes, bytes, have + 1);
  }
  const std::int32_t ascii = comn_to_ascii(parse.attributes, bytes, have);
  out = {ascii == 0 ? kCfgForeign : ascii, have};
  parse.raw_used += have;
  return true;
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t cfg__getc(vdx_cfg* cfg) {
  VDX_CHECK_POINTER(cfg, vdx::kCfgEnd);
  vdx::CfgParse* parse = cfg->parsed().parse;
  VDX_ASSERT(parse != nullptr && parse->ahead_count < vdx::CfgParse::kAhead, vdx::kCfgEnd);
  vdx::CfgAhead& read = parse->ahead[parse->ahead_count++];
  if (!vdx::read_character(cfg, *parse, read)) read = {vdx::kCfgEnd, 0};
  return read.character;
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
  return vdx::state == vdx::kString ? scanner.string() : scanner.normal();
}

}  // extern "C"
