#include "configuration.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "stream.h"
#include "vdxcomn/config.h"
#include "vdxcomn/errors.h"

namespace vdxconv {

namespace {

// No numbers of messages. The library keeps a section whose name is taken, lookups pass it by.
constexpr int32_t kNameTaken = 0;
constexpr int32_t kOpenQuote = 1;

struct Loss {
  int32_t number;  // of the message, or one of the above
  int32_t line;
  std::string section;  // the one that is lost; empty: none
  std::string token;
  int32_t first = 0;  // kNameTaken: line of the section that has the name
};

std::string text_of(const vdx_err_text& text) {
  return text.bytes == nullptr ? std::string()
                               : std::string(text.bytes, static_cast<std::size_t>(text.length));
}

// A context that keeps what it is told. As its base, it is what the library hands to the callback.
struct Listener : vdx_context {
  explicit Listener(const vdx_context& context) : vdx_context(context) { message = listen; }

  static int32_t listen(vdx_context* context, const vdx_message* record) {
    auto* const self = static_cast<Listener*>(context);
    switch (record->number) {
      case VDX_MSG_CFG_SYNTAX:
      case VDX_MSG_CFG_INCLUDE:
      case VDX_MSG_CFG_CUT:
        self->losses.push_back(
            {record->number, record->line, text_of(record->section), text_of(record->token)});
        break;
      default:
        self->failure = record->number;
    }
    return XS_SUCCEED;
  }

  std::vector<Loss> losses;
  int32_t failure = 0;  // number of the last other message
};

// The library tells that a file does not open; the system, asked again, tells why. What is no file
// is not opened for that: a FIFO would wait for its writer.
std::string reason_of_failure(const char* name) {
  std::error_code unknown;
  if (std::filesystem::is_fifo(name, unknown) || std::filesystem::is_character_file(name, unknown))
    return std::string(name) + ": not a regular file";
  const int descriptor = open_to_read(name);
  uint8_t byte;
  if (descriptor < 0 || read_some(descriptor, &byte, 1) < 0) return reason_of_errno(name);
  return std::string(name) + ": the file cannot be read";
}

vdx_cfg* open(Listener& listener, const char* name) {
  vdx_cfg* cfg = nullptr;
  if (comn_init_cfg(&listener, name, VDX_NULLTERM, &cfg) == XS_SUCCEED) return cfg;
  if (listener.failure == VDX_MSG_CFG_MEMORY) give_up("out of memory");
  if (listener.failure == VDX_MSG_CFG_NAME)
    give_up(std::string(name) + ": the name is longer than 512 bytes", kExitFailed);
  give_up(reason_of_failure(name), kExitFailed);
}

bool has_section(vdx_cfg* cfg, std::string_view name) {
  vdx_cfg_section section{};
  while (comn_nextsection_cfg(cfg, &section) == XS_SUCCEED)
    if (name == std::string_view(section.name, static_cast<std::size_t>(section.length)))
      return true;
  return false;
}

void put_quoted(Writer& out, std::string_view text) {
  put_quoted(out, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Gives every value to take, cut to the room. Returns the code that ended them.
template <typename Take>
int32_t for_each_value(vdx_cfg* cfg, const Settings& settings, Buffer& room, int32_t size,
                       const Take& take) {
  room.need(static_cast<std::size_t>(size) + 1);
  vdx_cfg_cursor* cursor = nullptr;
  for (;;) {
    int32_t length = 0;
    const int32_t code =
        comn_get_cfg(cfg, settings.values[0], VDX_NULLTERM, settings.values[1], VDX_NULLTERM,
                     &cursor, reinterpret_cast<char*>(room.data()), size, &length);
    if (code != XS_SUCCEED && code != VDX_TRUNCATED) return code;
    take(length);
  }
}

void tell_missing(vdx_cfg* cfg, const Settings& settings, bool has_losses, bool is_section) {
  Writer out(kStandardError, "standard error");
  const auto put_key = [&](std::string_view section) {
    out.put("no key ");
    put_quoted(out, settings.values[1]);
    out.put(" in section ");
    put_quoted(out, section);
  };
  out.put("vdxconv: ");
  out.put(settings.configuration);
  out.put(": ");
  if (!is_section && has_section(cfg, settings.values[0])) {
    put_key(settings.values[0]);
  } else {
    out.put("no section ");
    put_quoted(out, settings.values[0]);
    if (!is_section) {
      out.put(" and ");
      put_key("NAMED_APP_DEFAULT");
    }
  }
  if (has_losses) out.put("; --check shows what of the file is lost");
  out.put("\n");
  out.flush();
}

void put_loss(Writer& out, const Loss& loss) {
  switch (loss.number) {
    case VDX_MSG_CFG_SYNTAX:
      out.put("syntax error at ");
      if (loss.token.empty()) {
        out.put("the end of the file");
      } else if (loss.token.back() == '\n' && loss.token.front() != '\\') {
        out.put("the end of the line");
      } else {
        put_quoted(out, loss.token);
      }
      break;
    case VDX_MSG_CFG_INCLUDE:
      out.put("include of ");
      put_quoted(out, loss.token);
      out.put(loss.token == loss.section ? " in itself" : ", which is not there above this line");
      break;
    case VDX_MSG_CFG_CUT:
      out.put("the file ends inside a character; the character is lost\n");
      return;
    case kOpenQuote:
      out.put("a quote is not closed; what follows it is lost\n");
      return;
    default:
      out.put("the section of line ");
      out.put(std::to_string(loss.first));
      out.put(" has the same name");
  }
  if (loss.section.empty()) {
    out.put("; the line is lost\n");
    return;
  }
  out.put("; section ");
  put_quoted(out, loss.section);
  out.put(" is lost\n");
}

}  // namespace

int look_up(const vdx_context& context, const Settings& settings) {
  Listener listener(context);
  vdx_cfg* const cfg = open(listener, settings.configuration);
  // A value that was cut is not given again, so the longest is measured first.
  Buffer room;
  int32_t longest = -1;
  const int32_t code = for_each_value(cfg, settings, room, 0,
                                      [&](int32_t length) { longest = std::max(longest, length); });
  if (listener.failure == VDX_MSG_CFG_LIST) give_up("out of memory");
  if (longest >= 0) {
    Writer out(kStandardOutput, "standard output");
    for_each_value(cfg, settings, room, longest, [&](int32_t length) {
      out.put(room.data(), static_cast<std::size_t>(length));
      out.put("\n");
    });
    if (listener.failure == VDX_MSG_CFG_LIST) give_up("out of memory");
    out.close();
  } else {
    tell_missing(cfg, settings, !listener.losses.empty(), code == XS_FAIL);
  }
  comn_drop_cfg(cfg, VDX_UNUSED);
  return longest >= 0 ? 0 : kExitFailed;
}

int check_configuration(const vdx_context& context, const Settings& settings) {
  Listener listener(context);
  vdx_cfg* const cfg = open(listener, settings.configuration);
  std::vector<Loss>& losses = listener.losses;
  std::unordered_map<std::string_view, int32_t> first_lines;
  vdx_cfg_section section{};
  while (comn_nextsection_cfg(cfg, &section) == XS_SUCCEED) {
    const std::string_view name(section.name, static_cast<std::size_t>(section.length));
    const auto [first, is_new] = first_lines.try_emplace(name, section.line);
    if (!is_new) losses.push_back({kNameTaken, section.line, std::string(name), {}, first->second});
  }
  if (int32_t line; comn_openquote_cfg(cfg, &line) == XS_SUCCEED)
    losses.push_back({kOpenQuote, line, {}, {}});
  comn_drop_cfg(cfg, VDX_UNUSED);
  std::ranges::stable_sort(losses, {}, &Loss::line);
  Writer out(kStandardOutput, "standard output");
  for (const Loss& loss : losses) {
    out.put(settings.configuration);
    out.put(":");
    out.put(std::to_string(loss.line));
    out.put(": ");
    put_loss(out, loss);
  }
  out.close();
  return losses.empty() ? 0 : kExitFailed;
}

}  // namespace vdxconv
