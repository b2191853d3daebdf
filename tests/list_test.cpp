// Lists against the standard containers, and the memory pool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <list>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "checks.h"
#include "service/pool.h"
#include "vdxcomn/list.h"

namespace {

// A context whose allocations fail at a given one (from 1), or from there on.
struct Failing {
  vdx_context context{};
  int calls = 0, fail_at = 0;
  bool from_there_on = false;
  Failing() {
    context.version = VDX_VERSION;
    context.allocate = [](vdx_context* c, std::size_t size) -> void* {
      auto* self = reinterpret_cast<Failing*>(c);
      const int call = ++self->calls;
      const bool fails = self->fail_at != 0 &&
                         (self->from_there_on ? call >= self->fail_at : call == self->fail_at);
      return fails ? nullptr : std::malloc(size);
    };
  }
};

void* as_element(std::size_t number) { return reinterpret_cast<void*>(number); }

struct Lists {
  vdx_listmgr* instance = nullptr;
  vdx_list* list = nullptr;
  explicit Lists(std::int32_t kind, vdx_context* context = nullptr) {
    EXPECT_EQ(lm_initlm(context, "instance", VDX_NULLTERM, &instance), XS_SUCCEED);
    EXPECT_EQ(lm_list_alloc(instance, "listing", 4, kind, &list), XS_SUCCEED);
  }
  ~Lists() { EXPECT_EQ(lm_exit(instance), XS_SUCCEED); }
  Lists(const Lists&) = delete;
  Lists& operator=(const Lists&) = delete;

  // With element 0: what comes out.
  std::int32_t op(std::int32_t operation, const std::string& key, void** element,
                  std::int64_t* place = nullptr) {
    return lm_list_op(list, operation, key.data(), static_cast<std::int32_t>(key.size()), element,
                      place);
  }
  std::int32_t op(std::int32_t operation, const std::string& key, std::size_t element) {
    void* pointer = as_element(element);
    return op(operation, key, &pointer);
  }
  std::size_t find(const std::string& key) {
    void* element = as_element(1);
    const std::int32_t result = op(VDX_LM_FIND, key, &element);
    EXPECT_EQ(result, element != nullptr ? XS_SUCCEED : XS_END_DATA);
    return reinterpret_cast<std::size_t>(element);
  }
  std::int64_t count() {
    std::int64_t number = -1;
    EXPECT_EQ(lm_list_op(list, VDX_LM_COUNT, nullptr, 0, nullptr, &number), XS_SUCCEED);
    return number;
  }
  // By first and next.
  std::vector<std::size_t> walked() {
    std::vector<std::size_t> all;
    std::int64_t place = 0;
    void* element;
    for (std::int32_t how = VDX_LM_FIRST;
         lm_list_op(list, how, nullptr, 0, &element, &place) == XS_SUCCEED; how = VDX_LM_NEXT)
      all.push_back(reinterpret_cast<std::size_t>(element));
    EXPECT_EQ(element, nullptr);
    return all;
  }
  // By the visitor.
  std::vector<std::size_t> applied() {
    std::vector<std::size_t> all;
    vdx_list_visitor visitor{
        [](void* element, const void*, std::int32_t, void* data) -> std::int32_t {
          static_cast<std::vector<std::size_t>*>(data)->push_back(
              reinterpret_cast<std::size_t>(element));
          return XS_SUCCEED;
        },
        &all};
    void* in = &visitor;
    EXPECT_EQ(lm_list_op(list, VDX_LM_APPLY, nullptr, 0, &in, nullptr), XS_SUCCEED);
    return all;
  }
};

// The slow list: a list of pairs, the oldest of a key first.
struct Oracle {
  using Order = std::list<std::pair<std::string, std::size_t>>;
  Order order;
  std::unordered_map<std::string, std::list<Order::iterator>> index;

  void append(const std::string& key, std::size_t element) {
    index[key].push_back(order.insert(order.end(), {key, element}));
  }
  std::size_t find(const std::string& key) {
    const auto at = index.find(key);
    return at == index.end() ? 0 : at->second.front()->second;
  }
  bool remove(const std::string& key, std::size_t element) {
    const auto at = index.find(key);
    if (at == index.end()) return false;
    for (auto one = at->second.begin(); one != at->second.end(); ++one) {
      if (element != 0 && (*one)->second != element) continue;
      order.erase(*one);
      at->second.erase(one);
      if (at->second.empty()) index.erase(at);
      return true;
    }
    return false;
  }
  std::vector<std::size_t> walked() const {
    std::vector<std::size_t> all;
    for (const auto& one : order) all.push_back(one.second);
    return all;
  }
};

// Keys must stay where they are: every one that may occur.
std::vector<std::string> keys_of(std::size_t count) {
  std::vector<std::string> keys{""};
  while (keys.size() < count)
    keys.push_back(std::string(keys.size() % 19, '\0') + std::to_string(keys.size()));
  return keys;
}

TEST(List, RandomOperationsAgreeWithTheStandardContainers) {
  const struct {
    std::size_t keys, steps;
    unsigned insert, append, remove, remove_element;  // of 16; the rest is found
    std::size_t walk_every;
  } rows[] = {
      {6, 5000, 4, 2, 4, 3, 1},              // looked through without an index, often empty
      {40, 20000, 5, 2, 4, 2, 7},            // around the first index
      {500, 30000, 2, 6, 4, 3, 499},         // namesakes
      {300000, 250000, 12, 1, 1, 1, 90000},  // grows far beyond 100,000 entries
      {2000, 60000, 8, 0, 7, 0, 5000},       // turns over
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.keys);
    const std::vector<std::string> keys = keys_of(row.keys);
    Lists lists(VDX_LM_KEYED);
    Oracle oracle;
    std::mt19937 random(42);
    for (std::size_t step = 1; step <= row.steps; ++step) {
      const std::string& key = keys[random() % keys.size()];
      unsigned what = random() % 16;
      const std::size_t there = oracle.find(key);
      if (what < row.insert) {
        ASSERT_EQ(lists.op(VDX_LM_INSERT, key, step), there != 0 ? XS_FAIL : XS_SUCCEED);
        if (there == 0) oracle.append(key, step);
      } else if ((what -= row.insert) < row.append) {
        ASSERT_EQ(lists.op(VDX_LM_APPEND, key, step), XS_SUCCEED);
        oracle.append(key, step);
      } else if ((what -= row.append) < row.remove) {
        void* element = as_element(1);
        ASSERT_EQ(lists.op(VDX_LM_DELETE, key, &element),
                  oracle.remove(key, 0) ? XS_SUCCEED : XS_END_DATA);
        ASSERT_EQ(element, as_element(there));
      } else if ((what -= row.remove) < row.remove_element) {
        const auto at = oracle.index.find(key);
        const std::size_t element = at == oracle.index.end() ? step : at->second.back()->second;
        ASSERT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, key, element),
                  oracle.remove(key, element) ? XS_SUCCEED : XS_END_DATA);
        ASSERT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, key, step), XS_END_DATA);
      }
      ASSERT_EQ(lists.find(key), oracle.find(key));
      if (step % row.walk_every == 0) {
        ASSERT_EQ(lists.walked(), oracle.walked());
        ASSERT_EQ(lists.applied(), oracle.walked());
        ASSERT_EQ(lists.count(), static_cast<std::int64_t>(oracle.order.size()));
      }
    }
    if (row.keys == 300000) {
      EXPECT_GT(lists.count(), 100000);
    }
    while (!oracle.order.empty()) {
      const std::string key = oracle.order.front().first;
      ASSERT_TRUE(oracle.remove(key, 0));
      ASSERT_EQ(lists.op(VDX_LM_DELETE, key, nullptr), XS_SUCCEED);
      ASSERT_EQ(lists.find(key), oracle.find(key));
    }
    EXPECT_EQ(lists.count(), 0);
  }
}

TEST(List, UnkeyedListsKeepOrderAndPlacesOutliveDeletions) {
  Lists lists(VDX_LM_UNKEYED);
  std::vector<std::int64_t> places(1001);
  for (std::size_t i = 1; i <= 1000; ++i) {
    void* element = as_element(i);
    ASSERT_EQ(lm_list_op(lists.list, VDX_LM_INSERT, nullptr, 0, &element, &places[i]), XS_SUCCEED);
  }
  std::vector<std::size_t> left;
  for (std::size_t i = 1; i <= 1000; ++i) {
    if (i % 7 == 3)
      left.push_back(i);
    else
      ASSERT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, "", i), XS_SUCCEED);
  }
  EXPECT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, "", 1), XS_END_DATA);
  EXPECT_EQ(lists.walked(), left);
  // From every place, deleted ones, the one before the first and impossible ones too.
  for (std::size_t i = 0; i <= 1000; ++i) {
    const auto expected = std::upper_bound(left.begin(), left.end(), i);
    std::int64_t place = places[i];
    void* element;
    const std::int32_t result = lm_list_op(lists.list, VDX_LM_NEXT, nullptr, 0, &element, &place);
    ASSERT_EQ(result, expected == left.end() ? XS_END_DATA : XS_SUCCEED) << i;
    ASSERT_EQ(element, expected == left.end() ? nullptr : as_element(*expected)) << i;
    ASSERT_EQ(place, expected == left.end() ? places[i] : places[*expected]) << i;
  }
  for (const std::int64_t odd : {INT64_MIN, std::int64_t{-1}, INT64_MAX}) {
    std::int64_t place = odd;
    EXPECT_EQ(lm_list_op(lists.list, VDX_LM_NEXT, nullptr, 0, nullptr, &place),
              odd < 0 ? XS_SUCCEED : XS_END_DATA);
    EXPECT_EQ(place, odd < 0 ? places[3] : odd);
  }
}

TEST(List, VisitorsMayChangeTheListAndStop) {
  struct Walk {
    Lists lists{VDX_LM_KEYED};
    std::vector<std::string> keys = keys_of(100);
    std::vector<std::size_t> seen;
  } walk;
  for (std::size_t i = 1; i <= 50; ++i)
    ASSERT_EQ(walk.lists.op(VDX_LM_INSERT, walk.keys[i], i), XS_SUCCEED);
  vdx_list_visitor visitor{
      [](void* element, const void* key, std::int32_t length, void* data) -> std::int32_t {
        Walk& w = *static_cast<Walk*>(data);
        const auto i = reinterpret_cast<std::size_t>(element);
        EXPECT_EQ(std::string(static_cast<const char*>(key), static_cast<std::size_t>(length)),
                  w.keys[i]);
        w.seen.push_back(i);
        EXPECT_EQ(w.lists.op(VDX_LM_DELETE, w.keys[i], nullptr), XS_SUCCEED);
        if (i == 50) return XS_CANCELED;
        if (i % 10 == 0) {
          EXPECT_EQ(w.lists.op(VDX_LM_INSERT, w.keys[i + 41], i + 41), XS_SUCCEED);
        }
        return XS_SUCCEED;
      },
      &walk};
  void* in = &visitor;
  EXPECT_EQ(lm_list_op(walk.lists.list, VDX_LM_APPLY, nullptr, 0, &in, nullptr), XS_CANCELED);
  EXPECT_EQ(walk.seen.size(), 50u);
  EXPECT_EQ(walk.lists.walked(), (std::vector<std::size_t>{51, 61, 71, 81}));
}

TEST(List, EveryAllocationFailingLeavesThingsAsBefore) {
  const std::vector<std::string> keys = keys_of(200);
  int allocations = 1;
  for (int at = 0; at <= allocations; ++at) {
    for (const bool from_there_on : {false, true}) {
      SCOPED_TRACE(at);
      Failing failing;
      failing.fail_at = at;
      failing.from_there_on = from_there_on;
      vdx_listmgr* instance;
      vdx_list* list;
      if (lm_initlm(&failing.context, "x", 1, &instance) == XS_MEM_ERROR) {
        EXPECT_EQ(instance, nullptr);
        continue;
      }
      if (lm_list_alloc(instance, "y", 1, VDX_LM_KEYED, &list) == XS_MEM_ERROR) {
        EXPECT_EQ(list, nullptr);
      } else {
        std::int64_t inserted = 0;
        for (std::size_t i = 0; i < keys.size(); ++i) {
          void* element = as_element(i + 1);
          const auto length = static_cast<std::int32_t>(keys[i].size());
          std::int64_t count = -1;
          const std::int32_t result =
              lm_list_op(list, VDX_LM_INSERT, keys[i].data(), length, &element, nullptr);
          if (result == XS_SUCCEED) ++inserted;
          ASSERT_EQ(lm_list_op(list, VDX_LM_FIND, keys[i].data(), length, &element, nullptr),
                    result == XS_MEM_ERROR ? XS_END_DATA : XS_SUCCEED);
          ASSERT_EQ(lm_list_op(list, VDX_LM_COUNT, nullptr, 0, nullptr, &count), XS_SUCCEED);
          ASSERT_EQ(count, inserted);
        }
        if (at == 0) {
          allocations = failing.calls;
          EXPECT_EQ(inserted, 200);
        }
        if (at > 2 && !from_there_on) {
          EXPECT_EQ(inserted, 199);
        }
      }
      EXPECT_EQ(lm_exit(instance), XS_SUCCEED);
    }
  }
  EXPECT_GT(allocations, 8);
}

TEST(List, Properties) {
  Lists lists(VDX_LM_KEYED);
  vdx_list* other;
  ASSERT_EQ(lm_list_alloc(lists.instance, "", 0, VDX_LM_UNKEYED, &other), XS_SUCCEED);
  ASSERT_EQ(lists.op(VDX_LM_INSERT, "k", 1), XS_SUCCEED);
  const auto number = [](auto value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
  };
  const struct {
    bool of_list;
    std::int32_t action, property, size, result;
    std::string value;
  } rows[] = {
      {true, VDX_LM_GET, VDX_LM_NAME, 4, XS_SUCCEED, "list"},
      {true, VDX_LM_GET, VDX_LM_NAME, 3, VDX_TRUNCATED, "lis"},
      {false, VDX_LM_GET, VDX_LM_NAME, 64, XS_SUCCEED, "instance"},
      {true, VDX_LM_GET, VDX_LM_KIND, 4, XS_SUCCEED, number(std::int32_t{VDX_LM_KEYED})},
      {false, VDX_LM_GET, VDX_LM_KIND, 4, XS_FAIL, ""},
      {true, VDX_LM_GET, VDX_LM_MEMBERS, 8, XS_SUCCEED, number(std::int64_t{1})},
      {false, VDX_LM_GET, VDX_LM_MEMBERS, 8, XS_SUCCEED, number(std::int64_t{2})},
      {true, VDX_LM_GET, VDX_LM_USER, 8, XS_SUCCEED, number(static_cast<void*>(nullptr))},
      {true, VDX_LM_SET, VDX_LM_USER, 8, XS_SUCCEED, number(as_element(7))},
      {true, VDX_LM_GET, VDX_LM_USER, 8, XS_SUCCEED, number(as_element(7))},
      {false, VDX_LM_SET, VDX_LM_USER, 7, XS_FAIL, ""},
      {false, VDX_LM_SET, VDX_LM_NAME, 8, XS_FAIL, ""},
      {false, VDX_LM_GET, 6, 8, XS_FAIL, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.of_list << ' ' << row.action << ' ' << row.property << ' ' << row.size);
    char buffer[64] = {};
    std::int32_t length = static_cast<std::int32_t>(row.value.size());
    if (row.action == VDX_LM_SET && length != 0)
      std::memcpy(buffer, row.value.data(), row.value.size());
    const std::int32_t result =
        row.of_list
            ? lm_list_prop(lists.list, row.action, row.property, buffer, row.size, &length)
            : lm_property(lists.instance, row.action, row.property, buffer, row.size, &length);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(std::string(buffer, row.value.size()), row.value);
    EXPECT_EQ(length,
              row.result == VDX_TRUNCATED ? 4 : static_cast<std::int32_t>(row.value.size()));
  }
  std::int64_t whole = 0, one = 0;
  EXPECT_EQ(lm_property(lists.instance, VDX_LM_GET, VDX_LM_MEMORY, &whole, 8, nullptr), XS_SUCCEED);
  EXPECT_EQ(lm_list_prop(other, VDX_LM_GET, VDX_LM_MEMORY, &one, 8, nullptr), XS_SUCCEED);
  EXPECT_EQ(lm_list_drop(other), XS_SUCCEED);
  std::int64_t rest = 0;
  EXPECT_EQ(lm_property(lists.instance, VDX_LM_GET, VDX_LM_MEMORY, &rest, 8, nullptr), XS_SUCCEED);
  EXPECT_EQ(rest, whole - one);
  EXPECT_GT(one, 0);
}

TEST(ListDeath, WrongCallsAreReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct Row {
    const char* report;
    void (*call)(Lists& keyed, Lists& unkeyed);
  };
  static constexpr char kNull[] = "Invalid NULL pointer , file 'lm_op.cpp'";
  static constexpr char kAssertion[] = "assertion failed, file 'lm_op.cpp'";
  const Row rows[] = {
      {kNull, [](Lists& k, Lists&) { k.op(VDX_LM_INSERT, "k", nullptr); }},
      {kNull,
       [](Lists& k, Lists&) { lm_list_op(k.list, VDX_LM_FIND, nullptr, 0, nullptr, nullptr); }},
      {kNull, [](Lists& k, Lists&) { k.op(VDX_LM_NEXT, "k", nullptr); }},
      {kNull, [](Lists& k, Lists&) { k.op(VDX_LM_APPLY, "k", std::size_t{0}); }},
      {kAssertion,
       [](Lists& k, Lists&) { lm_list_op(k.list, VDX_LM_FIND, "k", -1, nullptr, nullptr); }},
      {kAssertion, [](Lists& k, Lists&) { k.op(10, "k", nullptr); }},
      {kAssertion, [](Lists&, Lists& u) { u.op(VDX_LM_FIND, "k", nullptr); }},
      {kAssertion, [](Lists& k, Lists&) { lm_list_alloc(k.instance, "", 0, 2, &k.list); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    Lists keyed(VDX_LM_KEYED), unkeyed(VDX_LM_UNKEYED);
    EXPECT_FATAL(row.call(keyed, unkeyed), row.report);
  }
}

TEST(Pool, PiecesAreApartAlignedAndCounted) {
  struct Lock {
    int held = 0, taken = 0;
    bool refuses = false;
  } lock;
  const vdx::Pool::Hooks hooks{[](void* data) {
                                 Lock& l = *static_cast<Lock*>(data);
                                 EXPECT_EQ(l.held, 0);
                                 if (l.refuses) return false;
                                 ++l.taken;
                                 return ++l.held == 1;
                               },
                               [](void* data) { --static_cast<Lock*>(data)->held; }, &lock};
  Failing failing;
  const std::size_t bytes = vdx::Pool::size_for(100);
  void* backing = std::malloc(bytes);
  EXPECT_EQ(vdx::Pool::create(backing, vdx::Pool::size_for(0) - 1, nullptr, hooks), nullptr);
  vdx::Pool* pool = vdx::Pool::create(backing, bytes, &failing.context, hooks);
  std::mt19937 random(7);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(pool->memory(), bytes);
    EXPECT_EQ(pool->used(), 0u);
    struct Piece {
      unsigned char* at;
      std::size_t bytes, alignment;
      unsigned char mark;
    };
    std::vector<Piece> pieces;
    std::size_t asked = 0;
    for (int step = 0; step < 20000; ++step) {
      if (pieces.size() > 50 && random() % 3 == 0) {
        const std::size_t which = random() % pieces.size();
        const Piece piece = pieces[which];
        for (std::size_t i = 0; i < piece.bytes; ++i) ASSERT_EQ(piece.at[i], piece.mark);
        if (piece.alignment != vdx::Pool::kAlignment) continue;
        pool->release(piece.at, piece.bytes);
        asked -= piece.bytes;
        pieces[which] = pieces.back();
        pieces.pop_back();
        continue;
      }
      const std::size_t size = random() % 50 == 0 ? random() % 3000 : random() % 70;
      const std::size_t alignment = std::size_t{1} << random() % 5;
      failing.fail_at = random() % 40 == 0 ? failing.calls + 1 : 0;
      const std::size_t before = pool->memory(), used = pool->used();
      lock.refuses = random() % 100 == 0;
      void* at = pool->allocate(size, alignment);
      if (at == nullptr) {
        EXPECT_TRUE(lock.refuses || failing.fail_at == failing.calls);
        lock.refuses = false;
        EXPECT_EQ(pool->memory(), before);
        EXPECT_EQ(pool->used(), used);
        continue;
      }
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(at) % alignment, 0u);
      pieces.push_back(
          {static_cast<unsigned char*>(at), size, alignment, static_cast<unsigned char>(step)});
      std::memset(at, pieces.back().mark, size);
      asked += size;
    }
    for (const Piece& piece : pieces)
      for (std::size_t i = 0; i < piece.bytes; ++i) ASSERT_EQ(piece.at[i], piece.mark);
    EXPECT_GE(pool->used(), asked);
    EXPECT_GE(pool->memory(), pool->used());
    EXPECT_EQ(pool->allocate(SIZE_MAX), nullptr);
    pool->release(nullptr, 8);
    pool->release_all();
  }
  // What comes back serves again: a pool in balance stays at its size.
  const std::size_t size = pool->memory();
  for (int i = 0; i < 1000; ++i) {
    void* piece = pool->allocate(40);
    pool->release(piece, 40);
  }
  EXPECT_EQ(pool->memory(), size);
  const int calls = failing.calls;
  failing.fail_at = calls + 1;
  pool->set_context(nullptr);
  EXPECT_NE(pool->allocate(5000), nullptr);
  EXPECT_EQ(failing.calls, calls);
  pool->release_all();
  EXPECT_EQ(lock.held, 0);
  EXPECT_GT(lock.taken, 60000);
  std::free(backing);
}

}  // namespace
