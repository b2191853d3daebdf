// Any bytes as a configuration file. The first byte chooses the character set. Whatever was read,
// every value of every section is the one that a lookup finds, and nothing is left when it is dropped.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "config/comcfg.h"
#include "vdxcomn/errors.h"
#include "vdxcomn/intl.h"

namespace {

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// A file of this process alone, written over again for each input.
const char* file_name() {
  static const std::string name = (std::filesystem::temp_directory_path() /
                                   ("vdxfuzz" + std::to_string(std::rand()) + "_" +
                                    std::to_string(reinterpret_cast<std::uintptr_t>(&require))))
                                      .string();
  static const struct Remover {
    ~Remover() { std::remove(name.c_str()); }
  } remover;
  return name.c_str();
}

std::int32_t check_message(vdx_context*, const vdx_message* message) {
  require(message->text_length >= 0 && message->text[message->text_length] == '\0',
          "a text without end");
  return 1;
}

void check_entry(vdx_cfg* cfg, const vdx::CfgSection& section, const vdx::CfgEntry& entry) {
  vdx_cfg_cursor* cursor = nullptr;
  for (const vdx::CfgValue* value = entry.values.first; value != nullptr; value = value->next) {
    char buffer[64];
    std::int32_t length = -1;
    const std::int32_t code = comn_get_cfg(cfg, section.name, section.length, entry.key,
                                           entry.length, &cursor, buffer, sizeof buffer, &length);
    require(code == (value->length > 64 ? VDX_TRUNCATED : 1) && length == value->length,
            "a lookup fails");
    require(
        std::memcmp(buffer, value->bytes, static_cast<std::size_t>(length < 64 ? length : 64)) == 0,
        "a lookup finds another value");
  }
  comn_nextdrop_cfg(cfg, cursor);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::FILE* file = std::fopen(file_name(), "wb");
  require(file != nullptr, "no file");
  std::fwrite(data + 1, 1, size - 1, file);
  std::fclose(file);

  vdx_context context{};
  context.version = VDX_VERSION;
  context.message = check_message;
  require(com_appglobal_alloc(&context.appglobal, 0, 0) == 1, "no area");
  comn_loc_alloc(nullptr,
                 data[0] == 'u'   ? "utf8"
                 : data[0] == 's' ? "sjis"
                                  : "iso_1",
                 &context.locale);
  vdx_cfg* cfg = nullptr;
  require(comn_init_cfg(&context, file_name(), VDX_NULLTERM, &cfg) == 1, "a file does not open");
  const vdx::CfgParsed& parsed = cfg->parsed();
  for (const vdx::CfgSection* at = parsed.sections.first; at != nullptr; at = at->next) {
    if (parsed.find_section(at->text()) != at) continue;  // its namesake is found instead
    for (const vdx::CfgEntry* entry = at->entries.first; entry != nullptr; entry = entry->next)
      check_entry(cfg, *at, *entry);
  }
  require(comn_drop_cfg(cfg, VDX_UNUSED) == 1, "a handle does not drop");
  comn_loc_drop(nullptr, context.locale);
  require(com_appglobal_drop(context.appglobal, 0) == 1, "an area does not drop");
  return 0;
}
