// Making, indexing and releasing the parsed data of a file.
#include "config/parsed.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "config/parse.h"

namespace vdx {
namespace {

// A parse has the data for itself, so it takes no lock; its pool lives in the data that it locks.
bool lock_parsed(void* data) {
  const auto* parsed = static_cast<CfgParsed*>(data);
  return parsed->parse != nullptr || comn_take_mutex(parsed->mutex) == XS_SUCCEED;
}

void unlock_parsed(void* data) {
  const auto* parsed = static_cast<CfgParsed*>(data);
  if (parsed->parse == nullptr) comn_release_mutex(parsed->mutex);
}

std::size_t size_of(const CfgValue* value) {
  return sizeof *value + static_cast<std::size_t>(value->length);
}

}  // namespace

void CfgParsed::remove_section(CfgSection* section) {
  for (CfgEntry* entry = section->entries.first; entry != nullptr;) {
    if (section->is_first) --parse->unindexed_count;
    for (CfgValue* value = entry->values.first->next; value != nullptr;) {
      CfgValue* next = value->next;
      pool->release(value, size_of(value));
      value = next;
    }
    CfgEntry* next = entry->next;
    pool->release(entry, CfgEntry::size(entry->text().size()) + size_of(entry->values.first));
    entry = next;
  }
  for (CfgInclude* include = section->includes.first; include != nullptr;) {
    CfgInclude* next = include->next;
    pool->release(include, sizeof *include);
    include = next;
  }
  if (parse->unindexed == section) parse->unindexed = nullptr;
  section_index.erase_node(section);
  (section->previous != nullptr ? section->previous->next : sections.first) = section->next;
  (section->next != nullptr ? section->next->previous : sections.last) = section->previous;
  pool->release(section->name, static_cast<std::size_t>(section->length));
  pool->release(section, sizeof *section);
}

bool CfgParsed::index_entries() {
  if (!entry_index.reserve(entry_index.count() + parse->unindexed_count, nullptr)) return false;
  for (CfgSection* at = parse->unindexed; at != nullptr; at = at->next) {
    if (!at->is_first) continue;
    for (CfgEntry* entry = at->entries.first; entry != nullptr; entry = entry->next)
      entry_index.add({entry, entry->hash});
  }
  parse->unindexed = nullptr;
  parse->unindexed_count = 0;
  return true;
}

CfgParsed* make_parsed(std::string_view name) {
  void* memory = std::malloc(sizeof(CfgParsed));
  if (memory == nullptr) return nullptr;
  auto* parsed = new (memory) CfgParsed{};
  constexpr std::size_t kFirstRoom = 1024;
  const std::size_t bytes = Pool::size_for(kFirstRoom);
  parsed->name = static_cast<char*>(std::malloc(name.size() + 1));
  parsed->backing = std::malloc(bytes);
  if (parsed->name != nullptr && parsed->backing != nullptr &&
      comn_create_mutex(&parsed->mutex) == XS_SUCCEED) {
    std::memcpy(parsed->name, name.data(), name.size());
    parsed->name[name.size()] = '\0';
    parsed->length = static_cast<std::int32_t>(name.size());
    parsed->pool =
        Pool::create(parsed->backing, bytes, nullptr, {lock_parsed, unlock_parsed, parsed});
    return parsed;
  }
  drop_parsed(parsed);
  return nullptr;
}

void drop_parsed(CfgParsed* parsed) {
  if (parsed == nullptr) return;
  if (parsed->pool != nullptr) parsed->pool->release_all();
  if (parsed->mutex != nullptr) comn_delete_mutex(parsed->mutex);
  std::free(parsed->backing);
  std::free(parsed->name);
  parsed->~CfgParsed();
  std::free(parsed);
}

}  // namespace vdx
