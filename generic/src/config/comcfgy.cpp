// The parse of a configuration file: tokens, the grammar of its lines, and the sections and entries
// that they make.
//
// The grammar looks at one token at a time and never goes back. A line is done, wrong or failed; a
// wrong one is reported and skipped to its end, and marks its section invalid. A section that ends
// invalid is removed with everything in it. docs/configuration.md shows the language.
#include <cstdio>
#include <new>

#include "config/handle.h"
#include "config/parse.h"
#include "frame/check.h"
#include "frame/message.h"
#include "frame/platform.h"
#include "vdxcomn/intl.h"

namespace vdx {
namespace {

std::string_view text_of(const CfgParse& parse, const vdx_cfg_token* token) {
  if (token == nullptr) return std::string_view("");
  return {parse.raw + token->offset, static_cast<std::size_t>(token->length)};
}

std::int32_t length_of(const vdx_cfg_token* pieces) {
  std::int32_t length = 0;
  for (; pieces != nullptr; pieces = pieces->piece) length += pieces->length;
  return length;
}

void copy_pieces(const CfgParse& parse, const vdx_cfg_token* pieces, char* to) {
  for (; pieces != nullptr; pieces = pieces->piece) {
    std::memcpy(to, parse.raw + pieces->offset, static_cast<std::size_t>(pieces->length));
    to += pieces->length;
  }
}

// Adds a value to a key of the current section; fill writes its text.
template <typename Fill>
bool store_value(CfgParsed& parsed, std::string_view key, std::int32_t length, Fill fill) {
  CfgSection* const section = parsed.parse->section;
  const std::size_t value_bytes = sizeof(CfgValue) + static_cast<std::size_t>(length);
  const std::uint32_t hash = hash_text(key, section->hash);
  CfgEntry* entry = parsed.parse->keys.find_node(
      hash, [key](const CfgEntry& at) { return same_text(key, at.text()); });
  CfgValue* added;
  if (entry != nullptr) {
    added = static_cast<CfgValue*>(parsed.pool->allocate(value_bytes));
    if (added == nullptr) return false;
  } else {
    const std::size_t key_bytes = CfgEntry::size(key.size());
    auto* piece = static_cast<char*>(parsed.pool->allocate(key_bytes + value_bytes));
    if (piece == nullptr) return false;
    entry = new (piece) CfgEntry{nullptr, section, static_cast<std::int32_t>(key.size()), hash, {}};
    std::memcpy(entry + 1, key.data(), key.size());
    if (!parsed.parse->keys.insert_node(entry)) return false;
    section->entries.append(entry);
    if (section->is_first) ++parsed.parse->unindexed_count;
    added = reinterpret_cast<CfgValue*>(piece + key_bytes);
  }
  *added = {nullptr, length};
  fill(added->bytes());
  entry->values.append(added);
  return true;
}

// Moves all tokens of a list of live ones to the spare ones.
void release_tokens(CfgParse& parse, vdx_cfg_token*& list) {
  while (vdx_cfg_token* token = list) {
    list = token->live;
    token->live = parse.spare;
    parse.spare = token;
  }
}

// Reads lines until the end of the file.
class Grammar {
 public:
  explicit Grammar(vdx_cfg* cfg) : cfg_(cfg), parse_(*cfg->parsed().parse) {}

  bool run() {
    do {
      if (!plain_lines()) return false;
      next();
      const Line line = read_line();
      if (parse_.has_failed || line == Line::kFailed) return false;
      if (line == Line::kWrong) {
        cfg__parse_error(cfg_);
        while (token_ != VDX_CFGTOK_NEWLINE && token_ != VDX_CFGTOK_END) {
          cfg__clearparse(cfg_, 1);
          next();
        }
      }
      cfg__clearparse(cfg_, line != Line::kWrong);
    } while (token_ != VDX_CFGTOK_END);
    cfg_->parsed().open_quote = open_quote_;
    return !parse_.has_failed && cfg__add_section(cfg_, nullptr) == XS_SUCCEED;
  }

 private:
  enum class Line { kDone, kWrong, kFailed };

  // Reads the plain lines that come next, as most lines of most files are, without making tokens of
  // them. False without memory.
  bool plain_lines() {
    CfgPlainLine line;
    if (parse_.section == nullptr) return true;
    while (take_plain_line(parse_, line)) {
      release_tokens(parse_, parse_.tokens);  // the buffer keeps the text of live tokens
      if (line.key.empty()) continue;
      const auto fill = [&line](char* to) {
        std::memcpy(to, line.value.data(), line.value.size());
      };
      if (!store_value(cfg_->parsed(), line.key, static_cast<std::int32_t>(line.value.size()),
                       fill))
        return false;
    }
    return true;
  }

  void next() {
    token_ = cfg__nexttok(cfg_, &mark_);
    if (token_ == VDX_CFGTOK_STRING_START) open_quote_ = parse_.token_line;
    if (token_ == VDX_CFGTOK_STRING_END) open_quote_ = 0;
    if (token_ >= 0) return;
    parse_.has_failed = true;
    token_ = VDX_CFGTOK_END;
  }

  bool accept(std::int32_t token) {
    if (token_ != token) return false;
    next();
    return true;
  }

  void skip_blank() {
    while (token_ == VDX_CFGTOK_BLANK) next();
  }

  bool is_word() const { return token_ == VDX_CFGTOK_IDENT || token_ == VDX_CFGTOK_VALUE; }

  // Does not move past the line end.
  bool is_line_end() {
    skip_blank();
    return token_ == VDX_CFGTOK_NEWLINE || token_ == VDX_CFGTOK_END;
  }

  Line read_line() {
    if (is_line_end()) return Line::kDone;
    if (accept(VDX_CFGTOK_OPEN)) return header();
    if (parse_.section == nullptr) return Line::kWrong;
    if (accept(VDX_CFGTOK_INCLUDE)) return include();
    return is_word() ? entry() : Line::kWrong;
  }

  static Line done(std::int32_t result) {
    return result == XS_SUCCEED ? Line::kDone : Line::kFailed;
  }

  Line header() {
    skip_blank();
    const vdx_cfg_token* name = mark_;
    if (!is_word()) return Line::kWrong;
    next();
    skip_blank();
    if (token_ != VDX_CFGTOK_CLOSE) return Line::kWrong;
    // An error after the bracket belongs to the new section.
    if (cfg__add_section(cfg_, name) != XS_SUCCEED) return Line::kFailed;
    next();
    return is_line_end() ? Line::kDone : Line::kWrong;
  }

  Line include() {
    skip_blank();
    if (!accept(VDX_CFGTOK_EQUALS)) return Line::kWrong;
    skip_blank();
    const vdx_cfg_token* name = mark_;
    if (!is_word()) return Line::kWrong;
    next();
    if (!is_line_end()) return Line::kWrong;
    return done(cfg__add_include(cfg_, name));
  }

  Line entry() {
    const vdx_cfg_token* key = mark_;
    next();
    skip_blank();
    if (!accept(VDX_CFGTOK_EQUALS)) return Line::kWrong;
    vdx_cfg_token* value = nullptr;
    vdx_cfg_token* blanks = nullptr;  // part of the value if another piece follows
    bool any = false;
    while (!is_end(token_)) {
      vdx_cfg_token* piece = nullptr;
      if (token_ == VDX_CFGTOK_BLANK) {
        if (any) blanks = cfg__cat(blanks, mark_);
        next();
        continue;
      }
      if (accept(VDX_CFGTOK_CONTINUE)) continue;
      if (is_word()) {
        piece = mark_;
        next();
      } else if (!accept(VDX_CFGTOK_STRING_START) || !quoted(piece)) {
        return Line::kWrong;
      }
      value = cfg__cat(value, cfg__cat(blanks, piece));
      blanks = nullptr;
      any = true;
    }
    if (!any) return Line::kWrong;
    return done(cfg__add_entry(cfg_, key, value));
  }

  static bool is_end(std::int32_t token) {
    return token == VDX_CFGTOK_NEWLINE || token == VDX_CFGTOK_END;
  }

  // Bytes of the token's first character: a quote may have several.
  std::int32_t first_character(const vdx_cfg_token& token) const {
    return whole_char_bytes(*parse_.attributes,
                            reinterpret_cast<const std::uint8_t*>(parse_.raw + token.offset),
                            token.length);
  }

  // Reads a string from behind its opening quote, with the closing one.
  bool quoted(vdx_cfg_token*& pieces) {
    for (;; next()) {
      switch (token_) {
        case VDX_CFGTOK_STRING:
          pieces = cfg__cat(pieces, mark_);
          break;
        case VDX_CFGTOK_QUOTE:
          mark_->length = first_character(*mark_);
          pieces = cfg__cat(pieces, mark_);
          break;
        case VDX_CFGTOK_CONTINUE:
          break;
        case VDX_CFGTOK_STRING_END:
          next();
          return true;
        default:
          return false;
      }
    }
  }

  vdx_cfg* cfg_;
  CfgParse& parse_;
  std::int32_t token_ = VDX_CFGTOK_END;
  vdx_cfg_token* mark_ = nullptr;
  std::int32_t open_quote_ = 0;  // line of the quote of the string that the tokens are in
};

}  // namespace

vdx_err_place place_of(const CfgParsed& parsed, std::int32_t line, std::string_view token) {
  vdx_err_place place{};
  place.file = err_text(parsed.file());
  place.line = line;
  if (parsed.parse->section != nullptr) place.section = err_text(parsed.parse->section->text());
  place.token = err_text(token);
  return place;
}

namespace {

// Makes the state of a parse, which owns the file from now on. Without memory it reports that,
// closes the file and returns false.
bool start_parse(vdx_cfg* cfg, std::intptr_t file) {
  CfgParsed& parsed = cfg->parsed();
  auto* parse = parsed.make<CfgParse>();
  auto* raw = parse == nullptr ? nullptr : static_cast<char*>(std::malloc(CfgParse::kRawSize));
  if (raw == nullptr) {
    parsed.pool->release(parse, sizeof *parse);
    close_file(file);
    raise_message(cfg->context, VDX_MSG_CFG_MEMORY, err_parameters("comn_init_cfg"));
    return false;
  }
  new (parse) CfgParse{};
  parse->line = parse->token_line = 1;
  parse->file = file;
  parse->previous = '\n';
  parse->raw = raw;
  parse->raw_size = CfgParse::kRawSize;
  parse->attributes = com_intl_charattr(cfg->context, nullptr);
  parse->classify();
  parsed.parse = parse;
  com__yyrestart(cfg);
  return true;
}

}  // namespace

void raise_unopened(vdx_context* context, const char* routine, std::string_view name) {
  raise_message(context, VDX_MSG_CFG_OPEN, err_parameters(routine, name));
}

ParseResult parse_file(vdx_cfg* cfg) {
  // Opened before the turn: other parses need not wait for the file system.
  const std::intptr_t file = open_file(cfg->parsed().name);
  if (file == kNoFile) return ParseResult::kUnopened;
  take_parse_turn();
  bool done = start_parse(cfg, file);
  if (done) {
    done = cfg__parse(cfg) == XS_SUCCEED;
    cfg__clean_parse(cfg);
  }
  release_parse_turn();
  return done ? ParseResult::kDone : ParseResult::kFailed;
}

}  // namespace vdx

using vdx::CfgEntry;
using vdx::CfgInclude;
using vdx::CfgParse;
using vdx::CfgParsed;
using vdx::CfgSection;
using vdx::CfgValue;

// Names the parsed data and the parse of a handle, which must be running.
#define VDX_CFG_PARSE(cfg, ...)                 \
  VDX_CHECK_POINTER(cfg, __VA_ARGS__);          \
  CfgParsed& parsed = (cfg)->parsed();          \
  VDX_CHECK_POINTER(parsed.parse, __VA_ARGS__); \
  CfgParse& parse = *parsed.parse

extern "C" {

std::int32_t cfg__init_parse(vdx_cfg* cfg) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  const std::intptr_t file = vdx::open_file(cfg->parsed().name);
  if (file == vdx::kNoFile) {
    vdx::raise_unopened(cfg->context, "cfg__init_parse", cfg->parsed().file());
    return VDX_TRACE(XS_FAIL);
  }
  return VDX_TRACE(vdx::start_parse(cfg, file) ? XS_SUCCEED : XS_FAIL);
}

std::int32_t cfg__clean_parse(vdx_cfg* cfg) {
  VDX_CFG_PARSE(cfg, VDX_TRACE(XS_FAIL));
  com__yyrestart(nullptr);
  vdx::close_file(parse.file);
  std::free(parse.raw);
  for (vdx_cfg_token* list : {parse.tokens, parse.spare}) {
    while (vdx_cfg_token* token = list) {
      list = token->live;
      parsed.pool->release(token, sizeof *token);
    }
  }
  parse.~CfgParse();
  parsed.pool->release(&parse, sizeof parse);
  parsed.parse = nullptr;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t cfg__parse(vdx_cfg* cfg) {
  VDX_CFG_PARSE(cfg, VDX_TRACE(XS_FAIL));
  if (vdx::Grammar(cfg).run()) return VDX_TRACE(XS_SUCCEED);
  if (parse.has_read_error)
    vdx::raise_unopened(cfg->context, "cfg__parse", parsed.file());
  else
    vdx::raise_message(cfg->context, VDX_MSG_CFG_MEMORY, vdx::err_parameters("comn_init_cfg"));
  return VDX_TRACE(XS_FAIL);
}

std::int32_t cfg__nexttok(vdx_cfg* cfg, vdx_cfg_token** token) {
  VDX_CFG_PARSE(cfg, -1);
  VDX_CHECK_POINTER(token, -1);
  *token = nullptr;
  const std::int32_t code = cfg__lex();
  if (parse.has_failed) return -1;
  parse.is_end = code == VDX_CFGTOK_END;
  if (parse.is_end) return code;
  *token = cfg__marktok(cfg);
  if (*token == nullptr) return -1;
  if (vdx::kTraceTokens) {
    const std::int32_t length = (*token)->length;
    std::printf("cfg__nexttok: %d #%s# -- (%d)>%.*s<\n", static_cast<int>(code),
                vdx::token_name(code), static_cast<int>(length), static_cast<int>(length),
                parse.raw + (*token)->offset);
  }
  return code;
}

vdx_cfg_token* cfg__newtok(vdx_cfg* cfg, std::int32_t offset, std::int32_t length) {
  VDX_CFG_PARSE(cfg, nullptr);
  VDX_ASSERT(offset >= 0 && length >= 0 && length <= parse.raw_used - offset, nullptr);
  vdx_cfg_token* token = parse.spare;
  if (token != nullptr)
    parse.spare = token->live;
  else if ((token = parsed.make<vdx_cfg_token>()) == nullptr)
    return nullptr;
  *token = {length, offset, parse.tokens, nullptr, token};
  parse.tokens = token;
  return token;
}

vdx_cfg_token* cfg__marktok(vdx_cfg* cfg) {
  VDX_CFG_PARSE(cfg, nullptr);
  vdx_cfg_token* token = cfg__newtok(cfg, parse.claimed, parse.consumed);
  if (token == nullptr) return nullptr;
  parse.claimed += parse.consumed;
  parse.consumed = 0;
  return token;
}

vdx_cfg_token* cfg__cat(vdx_cfg_token* first, vdx_cfg_token* second) {
  if (first == nullptr) return second;
  vdx_cfg_token* last = first->last;
  last->piece = second;
  if (second != nullptr) first->last = second->last;
  return first;
}

std::int32_t cfg__catbuf(vdx_cfg* cfg, const vdx_cfg_token* pieces, char** block) {
  VDX_CFG_PARSE(cfg, -1);
  VDX_CHECK_POINTER(block, -1);
  const std::int32_t length = vdx::length_of(pieces);
  const auto bytes = static_cast<std::size_t>(length < 1 ? 1 : length);
  *block = static_cast<char*>(parsed.pool->allocate(bytes));
  if (*block == nullptr) return -1;
  vdx::copy_pieces(parse, pieces, *block);
  return length;
}

void cfg__clearbuf(vdx_cfg* cfg) {
  VDX_CFG_PARSE(cfg, );
  std::int32_t start = parse.claimed;
  for (const vdx_cfg_token* at = parse.tokens; at != nullptr; at = at->live)
    if (at->offset < start) start = at->offset;
  if (start == 0) return;
  for (vdx_cfg_token* at = parse.tokens; at != nullptr; at = at->live) at->offset -= start;
  parse.raw_used -= start;
  parse.raw_end -= start;
  parse.claimed -= start;
  std::memmove(parse.raw, parse.raw + start, static_cast<std::size_t>(parse.raw_end));
}

void cfg__clearparse(vdx_cfg* cfg, std::int32_t valid) {
  VDX_CFG_PARSE(cfg, );
  if (valid == 0) parse.is_valid = false;
  if (parse.tokens != nullptr) {
    vdx::release_tokens(parse, parse.tokens->live);
  }
}

void cfg__parse_error(vdx_cfg* cfg) {
  VDX_CFG_PARSE(cfg, );
  // There is no token at the end of the input.
  const std::string_view token = vdx::text_of(parse, parse.is_end ? nullptr : parse.tokens);
  vdx::raise_message(cfg->context, VDX_MSG_CFG_SYNTAX,
                     vdx::err_parameters(parsed.file(), parse.token_line, token),
                     vdx::place_of(parsed, parse.token_line, token));
}

std::int32_t cfg__add_section(vdx_cfg* cfg, const vdx_cfg_token* name) {
  VDX_CFG_PARSE(cfg, VDX_TRACE(XS_FAIL));
  if (parse.section != nullptr && !parse.is_valid) parsed.remove_section(parse.section);
  parse.section = nullptr;
  parse.keys.clear();
  if (name == nullptr) return VDX_TRACE(parsed.index_entries() ? XS_SUCCEED : XS_FAIL);
  auto* section = parsed.make<CfgSection>();
  if (section == nullptr) return VDX_TRACE(XS_FAIL);
  *section = {};
  section->length = cfg__catbuf(cfg, name, &section->name);
  if (section->length < 0) return VDX_TRACE(XS_FAIL);
  section->hash = vdx::hash_text(section->text(), 0);
  section->line = parse.token_line;
  section->is_first = parsed.find_section(section->text()) == nullptr;
  if (section->is_first && !parsed.section_index.insert_node(section)) return VDX_TRACE(XS_FAIL);
  section->previous = parsed.sections.last;
  parsed.sections.append(section);
  parse.section = section;
  if (parse.unindexed == nullptr) parse.unindexed = section;
  parse.is_valid = true;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t cfg__add_entry(vdx_cfg* cfg, const vdx_cfg_token* key, const vdx_cfg_token* value) {
  VDX_CFG_PARSE(cfg, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(key, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(parse.section, VDX_TRACE(XS_FAIL));
  const auto fill = [&parse, value](char* to) { vdx::copy_pieces(parse, value, to); };
  const bool done = vdx::store_value(parsed, vdx::text_of(parse, key), vdx::length_of(value), fill);
  return VDX_TRACE(done ? XS_SUCCEED : XS_FAIL);
}

std::int32_t cfg__add_include(vdx_cfg* cfg, const vdx_cfg_token* name) {
  VDX_CFG_PARSE(cfg, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(name, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(parse.section, VDX_TRACE(XS_FAIL));
  const std::string_view text = vdx::text_of(parse, name);
  CfgSection* included = parsed.find_section(text);
  if (included == nullptr || text == parse.section->text()) {
    vdx::raise_message(
        cfg->context, VDX_MSG_CFG_INCLUDE,
        vdx::err_parameters("cfg__add_include", text.substr(0, vdx::kLongestMessageText)),
        vdx::place_of(parsed, parse.token_line, text));
    parse.is_valid = false;
    return VDX_TRACE(XS_SUCCEED);
  }
  auto* include = parsed.make<CfgInclude>();
  if (include == nullptr) return VDX_TRACE(XS_FAIL);
  *include = {nullptr, included};
  parse.section->includes.append(include);
  return VDX_TRACE(XS_SUCCEED);
}

}  // extern "C"
