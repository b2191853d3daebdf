// The list manager's interface: instances, lists, operations and properties. list.h holds what a
// list is inside.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/allocate.h"
#include "frame/check.h"
#include "frame/length.h"
#include "service/list.h"

// Both have their name stored after the object, in one allocation.

struct vdx_listmgr {
  vdx_context* context;
  vdx_list* lists;
  std::int64_t members;
  void* user;
  std::int32_t name_length;
};

struct vdx_list {
  vdx::List list;
  vdx_listmgr* instance;
  vdx_list* next;
  vdx_list* previous;
  void* user;
  std::int32_t name_length;
};

namespace vdx {
namespace {

// Memory for an object and its name, with the name in place; null where there is none.
template <typename Object>
void* make_named(vdx_context* context, const char* name, std::size_t length) {
  void* memory = length <= INT32_MAX ? allocate(context, sizeof(Object) + length) : nullptr;
  if (memory != nullptr && length != 0)
    std::memcpy(static_cast<char*>(memory) + sizeof(Object), name, length);
  return memory;
}

std::int64_t memory_of(const vdx_list& one) {
  return static_cast<std::int64_t>(sizeof one + one.list.memory()) + one.name_length;
}

std::int64_t memory_of(const vdx_listmgr& one) {
  std::int64_t bytes = static_cast<std::int64_t>(sizeof one) + one.name_length;
  for (const vdx_list* list = one.lists; list != nullptr; list = list->next)
    bytes += memory_of(*list);
  return bytes;
}

void unlink(vdx_list* list) {
  (list->previous != nullptr ? list->previous->next : list->instance->lists) = list->next;
  if (list->next != nullptr) list->next->previous = list->previous;
  --list->instance->members;
}

std::int32_t found(const List& list, std::size_t index, void** element, std::int64_t* position) {
  if (element != nullptr) *element = index != List::kNone ? list.entry(index).element : nullptr;
  if (index == List::kNone) return XS_END_DATA;
  if (position != nullptr) *position = list.entry(index).serial;
  return XS_SUCCEED;
}

std::int32_t insert(vdx_list& owner, const Key& key, bool is_unique, void* element,
                    std::int64_t* position) {
  const std::size_t namesake = owner.list.is_keyed() ? owner.list.find(key) : List::kNone;
  if (is_unique && namesake != List::kNone) return XS_FAIL;
  const std::size_t index = owner.list.insert(owner.instance->context, key, element, namesake);
  if (index == List::kNone) return XS_MEM_ERROR;
  return found(owner.list, index, nullptr, position);
}

std::int32_t remove(List& list, std::size_t index, void** element) {
  const std::int32_t result = found(list, index, element, nullptr);
  if (result == XS_SUCCEED) list.remove(index);
  return result;
}

[[gnu::noinline]] std::int32_t apply(List& list, const vdx_list_visitor& visitor) {
  std::int64_t place = 0;
  for (std::size_t index; (index = list.after(place)) != List::kNone;) {
    const List::Entry one = list.entry(index);
    place = one.serial;
    const std::int32_t result = visitor.function(one.element, one.key, one.length, visitor.data);
    if (result != XS_SUCCEED) return result;
  }
  return XS_SUCCEED;
}

// The operations that are neither finding nor applying, kept apart from finding: that is called
// most, and needs few registers.
[[gnu::noinline]] std::int32_t operate(vdx_list& owner, std::int32_t operation, Key key,
                                       void** element, std::int64_t* position) {
  List& list = owner.list;
  switch (operation) {
    case VDX_LM_INSERT:
    case VDX_LM_APPEND:
      return insert(owner, key, operation == VDX_LM_INSERT, *element, position);
    case VDX_LM_DELETE:
      return remove(list, list.find(key), element);
    case VDX_LM_DELETE_ELEMENT:
      return remove(list, list.find_element(key, *element), nullptr);
    case VDX_LM_FIRST:
      return found(list, list.after(0), element, position);
    case VDX_LM_NEXT:
      return found(list, list.after(*position), element, position);
    default:
      *position = static_cast<std::int64_t>(list.count());
      return XS_SUCCEED;
  }
}

// A property's value as bytes.
struct Value {
  const void* bytes = nullptr;
  std::size_t size = 0;
};

// Reads or sets one property. user: where the caller's own pointer is.
std::int32_t property(std::int32_t action, std::int32_t which, const Value& value, void** user,
                      void* buffer, std::int32_t size, std::int32_t* length) {
  const auto room = static_cast<std::size_t>(size);
  if (action == VDX_LM_SET) {
    if (which != VDX_LM_USER || room != sizeof *user) return XS_FAIL;
    std::memcpy(user, buffer, sizeof *user);
    return XS_SUCCEED;
  }
  if (value.bytes == nullptr) return XS_FAIL;
  if (length != nullptr) *length = static_cast<std::int32_t>(value.size);
  const std::size_t bytes = std::min(room, value.size);
  if (bytes != 0) std::memcpy(buffer, value.bytes, bytes);
  if (bytes < value.size) return VDX_TRUNCATED;
  return XS_SUCCEED;
}

// The value of a property that lists and instances share.
template <typename Object>
Value shared_value(const Object& one, std::int32_t which, std::int64_t members,
                   std::int64_t& number) {
  switch (which) {
    case VDX_LM_NAME:
      return {&one + 1, static_cast<std::size_t>(one.name_length)};
    case VDX_LM_MEMBERS:
      number = members;
      return {&number, sizeof number};
    case VDX_LM_MEMORY:
      number = memory_of(one);
      return {&number, sizeof number};
    case VDX_LM_USER:
      return {&one.user, sizeof one.user};
    default:
      return {};
  }
}

// What each operation asks of its arguments, as bits.
enum Needs : std::uint8_t { kKey = 1, kElement = 2, kPosition = 4, kKeyedList = 8 };

constexpr std::uint8_t needs_of(std::int32_t operation) {
  switch (operation) {
    case VDX_LM_INSERT:
    case VDX_LM_APPEND:
    case VDX_LM_DELETE_ELEMENT:
      return kKey | kElement;
    case VDX_LM_FIND:
    case VDX_LM_DELETE:
      return kKey | kKeyedList;
    case VDX_LM_APPLY:
      return kElement;
    case VDX_LM_NEXT:
    case VDX_LM_COUNT:
      return kPosition;
    default:
      return 0;
  }
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t lm_initlm(vdx_context* context, const char* name, std::int32_t name_length,
                       vdx_listmgr** instance) {
  VDX_CHECK_POINTER(name, XS_FAIL);
  VDX_CHECK_POINTER(instance, XS_FAIL);
  VDX_ASSERT(vdx::is_length(name_length), XS_FAIL);
  *instance = nullptr;
  const std::size_t length = vdx::measured(name, name_length);
  void* memory = vdx::make_named<vdx_listmgr>(context, name, length);
  if (memory == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  *instance =
      new (memory) vdx_listmgr{context, nullptr, 0, nullptr, static_cast<std::int32_t>(length)};
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t lm_exit(vdx_listmgr* instance) {
  VDX_CHECK_POINTER(instance, XS_FAIL);
  while (instance->lists != nullptr) {
    vdx_list* list = instance->lists;
    instance->lists = list->next;
    list->~vdx_list();
    std::free(list);
  }
  std::free(instance);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t lm_list_alloc(vdx_listmgr* instance, const char* name, std::int32_t name_length,
                           std::int32_t kind, vdx_list** list) {
  VDX_CHECK_POINTER(instance, XS_FAIL);
  VDX_CHECK_POINTER(name, XS_FAIL);
  VDX_CHECK_POINTER(list, XS_FAIL);
  VDX_ASSERT(vdx::is_length(name_length), XS_FAIL);
  VDX_ASSERT(kind == VDX_LM_KEYED || kind == VDX_LM_UNKEYED, XS_FAIL);
  *list = nullptr;
  const std::size_t length = vdx::measured(name, name_length);
  void* memory = vdx::make_named<vdx_list>(instance->context, name, length);
  if (memory == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  vdx_list* next = instance->lists;
  *list = new (memory) vdx_list{vdx::List(kind == VDX_LM_KEYED),  instance, next, nullptr, nullptr,
                                static_cast<std::int32_t>(length)};
  if (next != nullptr) next->previous = *list;
  instance->lists = *list;
  ++instance->members;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t lm_list_drop(vdx_list* list) {
  VDX_CHECK_POINTER(list, XS_FAIL);
  vdx::unlink(list);
  list->~vdx_list();
  std::free(list);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t lm_list_op(vdx_list* list, std::int32_t operation, const void* key,
                        std::int32_t key_length, void** element, std::int64_t* position) {
  VDX_CHECK_POINTER(list, XS_FAIL);
  vdx::List& inside = list->list;
  const std::uint8_t needs = vdx::needs_of(operation);
  const bool by_key = inside.is_keyed() && (needs & vdx::kKey) != 0;
  if (by_key) VDX_CHECK_POINTER(key, XS_FAIL);
  if ((needs & vdx::kElement) != 0) VDX_CHECK_POINTER(element, XS_FAIL);
  if ((needs & vdx::kPosition) != 0) VDX_CHECK_POINTER(position, XS_FAIL);
  VDX_ASSERT(operation >= VDX_LM_INSERT && operation <= VDX_LM_COUNT, XS_FAIL);
  VDX_ASSERT(inside.is_keyed() || (needs & vdx::kKeyedList) == 0, XS_FAIL);
  VDX_ASSERT(!by_key || vdx::is_length(key_length), XS_FAIL);
  vdx::Key sought;
  if (by_key) {
    const std::size_t length = vdx::measured(key, key_length);
    VDX_ASSERT(length <= INT32_MAX, XS_FAIL);
    sought = vdx::Key(key, static_cast<std::int32_t>(length));
  }
  if (operation == VDX_LM_FIND)
    return VDX_TRACE(vdx::found(inside, inside.find(sought), element, position));
  if (operation == VDX_LM_APPLY) {
    const auto* visitor = static_cast<const vdx_list_visitor*>(*element);
    VDX_CHECK_POINTER(visitor, XS_FAIL);
    VDX_CHECK_POINTER(visitor->function, XS_FAIL);
    return VDX_TRACE(vdx::apply(inside, *visitor));
  }
  return VDX_TRACE(vdx::operate(*list, operation, sought, element, position));
}

std::int32_t lm_list_prop(vdx_list* list, std::int32_t action, std::int32_t which, void* buffer,
                          std::int32_t size, std::int32_t* length) {
  VDX_CHECK_POINTER(list, XS_FAIL);
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  VDX_ASSERT(action == VDX_LM_GET || action == VDX_LM_SET, XS_FAIL);
  VDX_ASSERT(size >= 0, XS_FAIL);
  std::int64_t number = 0;
  const std::int32_t kind = list->list.is_keyed() ? VDX_LM_KEYED : VDX_LM_UNKEYED;
  const vdx::Value value =
      which == VDX_LM_KIND
          ? vdx::Value{&kind, sizeof kind}
          : vdx::shared_value(*list, which, static_cast<std::int64_t>(list->list.count()), number);
  return VDX_TRACE(vdx::property(action, which, value, &list->user, buffer, size, length));
}

std::int32_t lm_property(vdx_listmgr* instance, std::int32_t action, std::int32_t which,
                         void* buffer, std::int32_t size, std::int32_t* length) {
  VDX_CHECK_POINTER(instance, XS_FAIL);
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  VDX_ASSERT(action == VDX_LM_GET || action == VDX_LM_SET, XS_FAIL);
  VDX_ASSERT(size >= 0, XS_FAIL);
  std::int64_t number = 0;
  const vdx::Value value = vdx::shared_value(*instance, which, instance->members, number);
  return VDX_TRACE(vdx::property(action, which, value, &instance->user, buffer, size, length));
}

}  // extern "C"
