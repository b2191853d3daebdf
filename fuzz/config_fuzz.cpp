// Any bytes as a configuration file. The first byte chooses the character set. Whatever was read,
// every value of every section is the one that a lookup finds, and nothing is left when it is
// dropped. A file that comes in small pieces, where no line is whole in memory, reads like any other.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/handle.h"
#include "frame/platform.h"
#include "vdxcomn/errors.h"
#include "vdxcomn/intl.h"

namespace {

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

constexpr char kName[] = "fuzz";

// The one file there is, in memory, and the most bytes that a read returns.
struct {
  const std::uint8_t* bytes;
  std::size_t size;
  std::size_t at;
  std::size_t at_once;
} input;

// What a parse found and reported.
std::string* account = nullptr;

std::int32_t check_message(vdx_context*, const vdx_message* message) {
  require(message->text_length >= 0 && message->text[message->text_length] == '\0',
          "a text without end");
  account->append(message->text, static_cast<std::size_t>(message->text_length));
  return 1;
}

void check_entry(vdx_cfg* cfg, const vdx::CfgSection& section, const vdx::CfgEntry& entry) {
  vdx_cfg_cursor* cursor = nullptr;
  for (const vdx::CfgValue* value = entry.values.first; value != nullptr; value = value->next) {
    char buffer[64];
    std::int32_t length = -1;
    const std::int32_t code = comn_get_cfg(cfg, section.name, section.length, entry.key(),
                                           entry.length, &cursor, buffer, sizeof buffer, &length);
    require(code == (value->length > 64 ? VDX_TRUNCATED : 1) && length == value->length,
            "a lookup fails");
    require(std::memcmp(buffer, value->bytes(),
                        static_cast<std::size_t>(length < 64 ? length : 64)) == 0,
            "a lookup finds another value");
  }
  comn_nextdrop_cfg(cfg, cursor);
}

}  // namespace

// The library's way to files, in place of the platform's: no run touches a disk.
namespace vdx {

std::intptr_t open_file(const char* name) { return std::strcmp(name, kName) == 0 ? 1 : kNoFile; }

std::int64_t read_file(std::intptr_t, void* buffer, std::size_t size) {
  const std::size_t bytes = std::min({size, input.size - input.at, input.at_once});
  if (bytes != 0) std::memcpy(buffer, input.bytes + input.at, bytes);
  input.at += bytes;
  return static_cast<std::int64_t>(bytes);
}

void close_file(std::intptr_t) {}

std::size_t read_environment(const char*, char*, std::size_t) { return 0; }

}  // namespace vdx

namespace {

std::string account_of(std::uint8_t charset, std::size_t at_once) {
  input.at = 0;
  input.at_once = at_once;
  std::string told;
  account = &told;
  vdx_context context{};
  context.version = VDX_VERSION;
  context.message = check_message;
  require(com_appglobal_alloc(&context.appglobal, 0, 0) == 1, "no area");
  comn_loc_alloc(nullptr,
                 charset == 'u'   ? "utf8"
                 : charset == 's' ? "sjis"
                                  : "iso_1",
                 &context.locale);
  vdx_cfg* cfg = nullptr;
  require(comn_init_cfg(&context, kName, VDX_NULLTERM, &cfg) == 1, "a file does not open");
  const vdx::CfgParsed& parsed = cfg->parsed();
  for (const vdx::CfgSection* at = parsed.sections.first; at != nullptr; at = at->next) {
    told.append("[").append(at->text());
    for (const vdx::CfgInclude* it = at->includes.first; it != nullptr; it = it->next)
      told.append("<").append(it->section->text());
    for (const vdx::CfgEntry* entry = at->entries.first; entry != nullptr; entry = entry->next) {
      told.append("\n").append(entry->text());
      for (const vdx::CfgValue* it = entry->values.first; it != nullptr; it = it->next)
        told.append("=").append(it->bytes(), static_cast<std::size_t>(it->length));
      // Of sections with one name the first is found.
      if (parsed.find_section(at->text()) == at) check_entry(cfg, *at, *entry);
    }
  }
  require(comn_drop_cfg(cfg, VDX_UNUSED) == 1, "a handle does not drop");
  comn_loc_drop(nullptr, context.locale);
  require(com_appglobal_drop(context.appglobal, 0) == 1, "an area does not drop");
  return told;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  input = {data + 1, size - 1, 0, 0};
  require(account_of(data[0], size) == account_of(data[0], 1 + size % 3), "pieces read otherwise");
  return 0;
}
