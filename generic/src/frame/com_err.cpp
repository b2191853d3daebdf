// Numbered messages: texts, composing and raising. com_errrec.cpp holds the records that keep them.
#include "frame/message.h"

#include <charconv>
#include <cstring>
#include <iterator>

#include "frame/allocate.h"
#include "frame/check.h"
#include "frame/message_text.h"
#include "frame/length.h"

namespace vdx {
namespace {

constexpr vdx_err_row kEnglish[] = {
    {VDX_MSG_CFG_LIST, "%1: a list operation failed while a configuration value was looked up",
     "HY000"},
    {VDX_MSG_CFG_MEMORY, "%1: memory for a configuration file could not be allocated", "HY001"},
    {VDX_MSG_CFG_OPEN, "%1: the configuration file \"%2\" could not be opened", "HY000"},
    {VDX_MSG_CFG_DETACHED, "%1: the handle was detached before, by a forced drop of its file",
     "HY010"},
    {VDX_MSG_CFG_NAME, "%1: the configuration file name is longer than 512 bytes: \"%2\"", "HY090"},
    {VDX_MSG_CFG_CUT, "the configuration file \"%1\" ends inside a character", "HY000"},
    {VDX_MSG_CFG_SECTION,
     "%1: there is neither a section \"%2\" nor a section \"NAMED_APP_DEFAULT\"", "HY000"},
    {VDX_MSG_CFG_INCLUDE,
     "%1: the section \"%2\" is not defined before the section that includes it", "HY000"},
    {VDX_MSG_CFG_SYNTAX, "%1:%2: syntax error at \"%3\"", "42000"},
    {VDX_MSG_CFG_FORCED, "%1: a forced drop detached other open handles of the configuration file",
     "HY000"},
};

constexpr vdx_err_table kEnglishTable{kEnglish, static_cast<std::int32_t>(std::size(kEnglish))};

const vdx_err_row* find(const vdx_err_table* table, std::int32_t number) {
  if (table == nullptr) return nullptr;
  for (std::int32_t i = 0; i < table->count; ++i)
    if (table->row[i].number == number) return &table->row[i];
  return nullptr;
}

// Counts what is written and stores what fits, so that one pass both measures and writes.
class Writer {
 public:
  Writer(char* out, std::size_t room) : out_(out), room_(room) {}

  void put(std::string_view text) {
    if (total_ < room_ && !text.empty())
      std::memcpy(out_ + total_, text.data(),
                  text.size() < room_ - total_ ? text.size() : room_ - total_);
    total_ += text.size();
  }

  void put(const vdx_err_parameter& parameter) {
    if (parameter.text.bytes != nullptr)
      put_visible({parameter.text.bytes, static_cast<std::size_t>(parameter.text.length)});
    else
      put_number(parameter.number);
  }

  std::size_t total() const { return total_; }

 private:
  // A parameter may hold bytes of any file. Its control bytes would act on a terminal or forge
  // lines of a log.
  void put_visible(std::string_view text) {
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; };
    while (!text.empty()) {
      std::size_t plain = 0;
      while (plain < text.size() && !is_control(text[plain])) ++plain;
      put(text.substr(0, plain));
      if (plain == text.size()) return;
      const auto byte = static_cast<std::uint8_t>(text[plain]);
      char escape[] = {'\\', 'x', '?', '?'};
      com_prhex(&byte, escape + 2);
      put(std::string_view(escape, sizeof escape));
      text.remove_prefix(plain + 1);
    }
  }

  void put_number(std::int32_t number) {
    char digits[12];
    const auto end = std::to_chars(digits, std::end(digits), number).ptr;
    put(std::string_view(digits, static_cast<std::size_t>(end - digits)));
  }

  char* out_;
  std::size_t room_;
  std::size_t total_ = 0;
};

void write_text(Writer& writer, std::string_view text, const vdx_err_parameters& parameters) {
  while (!text.empty()) {
    const std::size_t plain = text.find('%');
    writer.put(text.substr(0, plain));
    if (plain == text.npos) return;
    text.remove_prefix(plain + 1);
    const char c = text.empty() ? '\0' : text.front();
    if (c >= '1' && c <= '9') {
      if (c - '1' < parameters.count) writer.put(parameters.parameter[c - '1']);
      text.remove_prefix(1);
    } else {
      // Any other percent sign is text.
      writer.put("%");
      if (c == '%') text.remove_prefix(1);
    }
  }
}

void write_substitute(Writer& writer, std::int32_t number, const vdx_err_parameters& parameters) {
  char digits[8];
  auto rest = static_cast<std::uint32_t>(number);
  for (std::size_t i = sizeof digits; i-- > 0; rest >>= 4)
    digits[i] = "0123456789abcdef"[rest & 15];
  writer.put("Message 0x");
  writer.put(std::string_view(digits, sizeof digits));
  for (std::int32_t i = 0; i < parameters.count; ++i) {
    writer.put(i == 0 ? ": " : ", ");
    writer.put(parameters.parameter[i]);
  }
}

}  // namespace

Texts::Texts(const vdx_err_table* first, const vdx_context* context, std::int32_t number) {
  const vdx_err_table* const tables[] = {first, context != nullptr ? context->messages : nullptr,
                                         &kEnglishTable};
  for (const vdx_err_table* table : tables) {
    const vdx_err_row* row = find(table, number);
    if (row == nullptr) continue;
    if (text == nullptr) text = row->text;
    if (sqlstate == nullptr) sqlstate = row->sqlstate;
  }
}

Composed compose(const char* text, std::int32_t number, const vdx_err_parameters& parameters,
                 char* buffer, std::size_t size) {
  Writer writer(buffer, size - 1);
  if (text != nullptr)
    write_text(writer, text, parameters);
  else
    write_substitute(writer, number, parameters);
  const std::size_t written = writer.total() < size ? writer.total() : size - 1;
  buffer[written] = '\0';
  return {writer.total(), written};
}

std::int32_t build_message(const vdx_err_table* table, vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, char* buffer, std::int32_t size,
                           std::int32_t* length) {
  const Texts texts(table, context, number);
  const Composed done =
      compose(texts.text, number, parameters, buffer, static_cast<std::size_t>(size));
  if (length != nullptr)
    *length = static_cast<std::int32_t>(done.total < INT32_MAX ? done.total : INT32_MAX);
  if (texts.text == nullptr) return XS_NOMSG;
  if (done.written < done.total) return VDX_TRUNCATED;
  return XS_SUCCEED;
}

std::int32_t raise_message(const vdx_err_table* table, vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, const vdx_err_place& place) {
  if (context == nullptr || context->message == nullptr) return XS_SUCCEED;
  char text[2048];
  const Texts texts(table, context, number);
  const Composed done = compose(texts.text, number, parameters, text, sizeof text);
  const vdx_message record{
      number,     parameters, text,          static_cast<std::int32_t>(done.written),
      place.file, place.line, place.section, place.token};
  return context->message(context, &record);
}

std::int32_t raise_message(vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, const vdx_err_place& place) {
  return raise_message(nullptr, context, number, parameters, place);
}

}  // namespace vdx

namespace {

std::string_view view(const char* text, std::int32_t length) {
  return {text, vdx::measured(text, length)};
}

}  // namespace

extern "C" {

std::int32_t com_ep_s(vdx_err_parameters* parameters, const char* first,
                      std::int32_t first_length) {
  VDX_CHECK_POINTER(parameters, XS_FAIL);
  VDX_CHECK_POINTER(first, XS_FAIL);
  VDX_ASSERT(vdx::is_length(first_length), XS_FAIL);
  *parameters = vdx::err_parameters(view(first, first_length));
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_ep_ss(vdx_err_parameters* parameters, const char* first, std::int32_t first_length,
                       const char* second, std::int32_t second_length) {
  VDX_CHECK_POINTER(parameters, XS_FAIL);
  VDX_CHECK_POINTER(first, XS_FAIL);
  VDX_CHECK_POINTER(second, XS_FAIL);
  VDX_ASSERT(vdx::is_length(first_length) && vdx::is_length(second_length), XS_FAIL);
  *parameters = vdx::err_parameters(view(first, first_length), view(second, second_length));
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_ep_sds(vdx_err_parameters* parameters, const char* first,
                        std::int32_t first_length, std::int32_t number, const char* second,
                        std::int32_t second_length) {
  VDX_CHECK_POINTER(parameters, XS_FAIL);
  VDX_CHECK_POINTER(first, XS_FAIL);
  VDX_CHECK_POINTER(second, XS_FAIL);
  VDX_ASSERT(vdx::is_length(first_length) && vdx::is_length(second_length), XS_FAIL);
  *parameters = vdx::err_parameters(view(first, first_length), number, view(second, second_length));
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_build_errmsg(vdx_context* context, std::int32_t number,
                              const vdx_err_parameters* parameters, char* buffer, std::int32_t size,
                              std::int32_t* length) {
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  VDX_ASSERT(vdx::is_parameters(parameters) && size >= 1, XS_FAIL);
  return VDX_TRACE(vdx::build_message(nullptr, context, number,
                                      parameters != nullptr ? *parameters : vdx::kNoParameters,
                                      buffer, size, length));
}

std::int32_t com_notrunc_errmsg(vdx_context* context, std::int32_t number,
                                const vdx_err_parameters* parameters, char** text,
                                std::int32_t* length) {
  VDX_CHECK_POINTER(text, XS_FAIL);
  VDX_ASSERT(vdx::is_parameters(parameters), XS_FAIL);
  const vdx_err_parameters& set = parameters != nullptr ? *parameters : vdx::kNoParameters;
  *text = nullptr;
  const vdx::Texts texts(nullptr, context, number);
  char nothing[1];
  const std::size_t total = vdx::compose(texts.text, number, set, nothing, sizeof nothing).total;
  if (total >= INT32_MAX) return VDX_TRACE(XS_MEM_ERROR);
  char* whole = static_cast<char*>(vdx::allocate(context, total + 1));
  if (whole == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  vdx::compose(texts.text, number, set, whole, total + 1);
  *text = whole;
  if (length != nullptr) *length = static_cast<std::int32_t>(total);
  return VDX_TRACE(texts.text != nullptr ? XS_SUCCEED : XS_NOMSG);
}

}  // extern "C"
