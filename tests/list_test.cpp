// Lists against the standard containers, and the memory pool.
#include <memory>
#include <random>
#include <set>
#include <span>
#include <unordered_map>

#include "service/index.h"
#include "service/pool.h"
#include "support.h"

namespace {

using vdx_test::Failing;

using Numbers = std::vector<std::size_t>;  // elements: what a list keeps are pointers

void* as_element(std::size_t number) { return reinterpret_cast<void*>(number); }
std::size_t number_of(void* element) { return reinterpret_cast<std::size_t>(element); }

struct Lists {
  vdx_listmgr* instance = reinterpret_cast<vdx_listmgr*>(this);
  vdx_list* list = reinterpret_cast<vdx_list*>(this);
  std::int32_t result;
  explicit Lists(std::int32_t kind, vdx_context* context = nullptr) {
    result = lm_initlm(context, "instance", VDX_NULLTERM, &instance);
    if (result == XS_SUCCEED) result = lm_list_alloc(instance, "listing", 4, kind, &list);
  }
  ~Lists() { EXPECT_TRUE(instance == nullptr || lm_exit(instance) == XS_SUCCEED); }
  Lists(Lists&&) = delete;
  std::int32_t op(std::int32_t operation, void** element, std::int64_t* place = nullptr) {
    return lm_list_op(list, operation, nullptr, 0, element, place);
  }
  std::int32_t op(std::int32_t operation, const std::string& key, void** element) {
    const auto length = static_cast<std::int32_t>(key.size());
    return lm_list_op(list, operation, key.data(), length, element, nullptr);
  }
  std::int32_t op(std::int32_t operation, const std::string& key, std::size_t number) {
    void* element = as_element(number);
    return op(operation, key, &element);
  }
  std::size_t find(const std::string& key) {
    void* element = as_element(1);
    const std::int32_t code = op(VDX_LM_FIND, key, &element);
    EXPECT_EQ(code, element != nullptr ? XS_SUCCEED : XS_END_DATA);
    return number_of(element);
  }
  std::int64_t count() {
    std::int64_t number = -1;
    EXPECT_EQ(op(VDX_LM_COUNT, nullptr, &number), XS_SUCCEED);
    return number;
  }
  Numbers walked() {
    Numbers all;
    std::int64_t place = 0;
    void* element;
    for (std::int32_t how = VDX_LM_FIRST; op(how, &element, &place) == XS_SUCCEED;
         how = VDX_LM_NEXT)
      all.push_back(number_of(element));
    EXPECT_EQ(element, nullptr);
    return all;
  }
};

// The slow list, of elements that are numbered as they come: the order is theirs.
struct Oracle {
  std::set<std::size_t> order;
  std::unordered_map<std::string, std::set<std::size_t>> index;
  std::size_t find(const std::string& key) { return index[key].empty() ? 0 : *index[key].begin(); }
  void append(const std::string& key, std::size_t element) {
    order.insert(element);
    index[key].insert(element);
  }
  bool remove(const std::string& key, std::size_t element) {
    return index[key].erase(element) != 0 && order.erase(element) != 0;
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
    std::size_t keys, steps, walk_every;
    unsigned insert, append, remove, remove_element;  // of 16; the rest is found
  } rows[] = {
      {6, 5000, 1, 4, 2, 4, 3},              // looked through without an index, often empty
      {500, 30000, 499, 2, 6, 4, 3},         // namesakes
      {300000, 250000, 90000, 12, 1, 1, 1},  // grows far beyond 100,000 entries
      {2000, 60000, 5000, 8, 0, 7, 0},       // turns over
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
                  oracle.remove(key, there) ? XS_SUCCEED : XS_END_DATA);
        ASSERT_EQ(element, as_element(there));
      } else if ((what -= row.remove) < row.remove_element) {
        const std::size_t element = there == 0 ? step : *oracle.index[key].rbegin();
        ASSERT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, key, element),
                  oracle.remove(key, element) ? XS_SUCCEED : XS_END_DATA);
        ASSERT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, key, step), XS_END_DATA);
      }
      ASSERT_EQ(lists.find(key), oracle.find(key));
      if (step % row.walk_every == 0) {
        const Numbers all(oracle.order.begin(), oracle.order.end());
        ASSERT_EQ(lists.walked(), all);
        ASSERT_EQ(lists.count(), static_cast<std::int64_t>(all.size()));
      }
    }
    for (const std::string& key : keys)
      while (oracle.remove(key, oracle.find(key))) {
        ASSERT_EQ(lists.op(VDX_LM_DELETE, key, nullptr), XS_SUCCEED);
        ASSERT_EQ(lists.find(key), oracle.find(key));
      }
    EXPECT_EQ(lists.count(), 0);
  }
}

TEST(List, UnkeyedListsKeepOrderAndPlacesOutliveDeletions) {
  Lists lists(VDX_LM_UNKEYED);
  std::vector<std::int64_t> places(1001);
  Numbers left;
  for (std::size_t i = 1; i <= 1000; ++i) {
    void* element = as_element(i);
    ASSERT_EQ(lists.op(VDX_LM_INSERT, &element, &places[i]), XS_SUCCEED);
    if (i % 7 == 3) left.push_back(i);
  }
  for (std::size_t i = 1; i <= 1000; ++i)
    ASSERT_EQ(i % 7 == 3 ? 1 : lists.op(VDX_LM_DELETE_ELEMENT, "", i), XS_SUCCEED);
  EXPECT_EQ(lists.op(VDX_LM_DELETE_ELEMENT, "", 1), XS_END_DATA);
  EXPECT_EQ(lists.walked(), left);
  // From every place, deleted ones, the one before the first and an impossible one too.
  places.insert(places.end(), {-1, INT64_MAX});
  for (std::size_t i = 0; i < places.size(); ++i) {
    SCOPED_TRACE(i);
    const auto at = std::upper_bound(left.begin(), left.end(), i == 1001 ? 0 : i);
    void* element;
    std::int64_t place = places[i];
    const bool ends = at == left.end();
    ASSERT_EQ(lists.op(VDX_LM_NEXT, &element, &place), ends ? XS_END_DATA : XS_SUCCEED);
    ASSERT_EQ(number_of(element), ends ? 0 : *at);
    ASSERT_EQ(place, places[ends ? i : *at]);
  }
}

TEST(List, VisitorsMayChangeTheListAndStop) {
  struct Walk {
    Lists lists{VDX_LM_KEYED};
    std::vector<std::string> keys = keys_of(100);
    std::size_t seen = 0;
  } walk;
  for (std::size_t i = 1; i <= 50; ++i) walk.lists.op(VDX_LM_INSERT, walk.keys[i], i);
  vdx_list_visitor visitor{
      [](void*, const void* key, std::int32_t length, void* data) -> std::int32_t {
        Walk& w = *static_cast<Walk*>(data);
        const std::size_t i = ++w.seen;
        EXPECT_EQ(std::string(static_cast<const char*>(key), static_cast<std::size_t>(length)),
                  w.keys[i]);
        EXPECT_EQ(w.lists.op(VDX_LM_DELETE, w.keys[i], nullptr), XS_SUCCEED);
        if (i % 10 != 0 || i == 50) return i == 50 ? XS_CANCELED : XS_SUCCEED;
        return w.lists.op(VDX_LM_INSERT, w.keys[i + 41], i + 41);
      },
      &walk};
  void* in = &visitor;
  EXPECT_EQ(walk.lists.op(VDX_LM_APPLY, &in), XS_CANCELED);
  EXPECT_EQ(walk.lists.walked(), (Numbers{51, 61, 71, 81}));
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
      Lists lists(VDX_LM_KEYED, &failing.context);
      EXPECT_EQ((Numbers{lists.instance == nullptr, lists.list == nullptr}),
                (Numbers{at == 1, at == 2}));
      ASSERT_EQ(lists.result, at == 1 || at == 2 ? XS_MEM_ERROR : XS_SUCCEED);
      if (lists.result == XS_MEM_ERROR) continue;
      std::int64_t inserted = 0;
      for (const std::string& key : keys) {
        const std::int32_t result = lists.op(VDX_LM_INSERT, key, 1);
        const bool is_in = result == XS_SUCCEED;
        ASSERT_EQ(result, is_in ? XS_SUCCEED : XS_MEM_ERROR);
        ASSERT_EQ(lists.find(key), is_in);
        ASSERT_EQ(lists.count(), inserted += is_in);
      }
      if (at == 0) allocations = failing.calls;
      EXPECT_EQ(inserted, at == 0 ? 200 : from_there_on ? inserted : 199);
    }
  }
  EXPECT_GT(allocations, 8);
}

TEST(List, Properties) {
  Lists lists(VDX_LM_KEYED);
  void* user = &lists;
  EXPECT_EQ(lists.op(VDX_LM_INSERT, "k", 1), XS_SUCCEED);
  EXPECT_EQ(lm_list_prop(lists.list, VDX_LM_SET, VDX_LM_USER, &user, 8, nullptr), XS_SUCCEED);
  const auto number = [](auto value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
  };
  const auto property_of = [&](bool of_list, auto... rest) {
    return of_list ? lm_list_prop(lists.list, VDX_LM_GET, rest...)
                   : lm_property(lists.instance, VDX_LM_GET, rest...);
  };
  const std::tuple<bool, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::string>
      rows[] = {
          {true, VDX_LM_NAME, 3, VDX_TRUNCATED, 4, "lis"},
          {false, VDX_LM_NAME, 64, XS_SUCCEED, 8, "instance"},
          {true, VDX_LM_KIND, 4, XS_SUCCEED, 4, number(std::int32_t{VDX_LM_KEYED})},
          {false, VDX_LM_KIND, 4, XS_FAIL, 0, ""},
          {false, VDX_LM_MEMBERS, 8, XS_SUCCEED, 8, number(std::int64_t{1})},
          {true, VDX_LM_USER, 8, XS_SUCCEED, 8, number(user)},
      };
  for (const auto& [of_list, property, size, result, length, value] : rows) {
    SCOPED_TRACE(value);
    char buffer[64] = {};
    std::int32_t n = 0;
    EXPECT_EQ(property_of(of_list, property, buffer, size, &n), result);
    EXPECT_EQ(std::string(buffer, value.size()), value);
    EXPECT_EQ(n, length);
  }
  std::int64_t whole, one, left;
  EXPECT_EQ(property_of(false, VDX_LM_MEMORY, &whole, 8, nullptr), XS_SUCCEED);
  EXPECT_EQ(property_of(true, VDX_LM_MEMORY, &one, 8, nullptr), XS_SUCCEED);
  EXPECT_GT(one, 0);
  EXPECT_EQ(lm_list_drop(lists.list), XS_SUCCEED);
  EXPECT_EQ(property_of(false, VDX_LM_MEMORY, &left, 8, nullptr), XS_SUCCEED);
  EXPECT_EQ(left, whole - one);
}

TEST(ListDeath, WrongCallsAreReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Lists k(VDX_LM_KEYED), u(VDX_LM_UNKEYED);
  const std::string assertion = "assertion failed, file 'lm_op.cpp'";
  for (const std::int32_t operation : {+VDX_LM_INSERT, +VDX_LM_NEXT})
    EXPECT_FATAL(k.op(operation, "k", nullptr), "Invalid NULL pointer , file 'lm_op.cpp'");
  for (const std::int32_t operation : {0, 10})
    EXPECT_FATAL(k.op(operation, "k", nullptr), assertion);
  EXPECT_FATAL(lm_list_op(k.list, VDX_LM_FIND, "k", -1, nullptr, nullptr), assertion);
  EXPECT_FATAL(u.op(VDX_LM_FIND, "k", nullptr), assertion);
}

// More slots than memory has addresses are refused before anything is multiplied.
TEST(Index, RoomIsLimited) {
  struct Slot {
    void* node;
    std::uint32_t hash;
    bool is_free() const { return node == nullptr; }
  };
  vdx::HashIndex<Slot> index;
  for (const std::size_t count : {SIZE_MAX, SIZE_MAX / sizeof(Slot), SIZE_MAX / sizeof(Slot) / 2})
    EXPECT_FALSE(index.reserve(count, nullptr));
  EXPECT_EQ(index.memory(), 0U);
}

TEST(Pool, PiecesAreApartAlignedAndCounted) {
  int held = 0;
  const vdx::Pool::Hooks hooks{[](void* data) { return ++*static_cast<int*>(data) == 1; },
                               [](void* data) { --*static_cast<int*>(data); }, &held};
  Failing failing;
  const std::size_t bytes = vdx::Pool::size_for(100);
  const std::unique_ptr<void, decltype(&std::free)> backing(std::malloc(bytes), std::free);
  const std::size_t least = vdx::Pool::size_for(0);
  EXPECT_EQ(vdx::Pool::create(backing.get(), least - 1, nullptr, hooks), nullptr);
  EXPECT_NE(vdx::Pool::create(backing.get(), least, nullptr, hooks), nullptr);
  vdx::Pool* pool = vdx::Pool::create(backing.get(), bytes, &failing.context, hooks);
  std::mt19937 random(7);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(pool->memory(), bytes);
    EXPECT_EQ(pool->used(), 0u);
    std::vector<std::span<unsigned char>> pieces;
    std::size_t asked = 0;
    for (int step = 0; step < 20000; ++step) {
      failing.fail_at = random() % 40 == 0 ? failing.calls + 1 : 0;
      const std::size_t size = random() % 50 == 0 ? random() % 3000 + 1 : random() % 70 + 1;
      const std::size_t alignment = std::size_t{1} << random() % 5;
      auto* at = static_cast<unsigned char*>(pool->allocate(size, alignment));
      ASSERT_TRUE(at != nullptr || failing.fail_at == failing.calls);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(at) % alignment, 0u);
      if (at == nullptr) continue;
      std::memset(at, step & 255, size);
      asked += size;
      // Pieces of a smaller alignment cannot be given back.
      if (alignment == vdx::Pool::kAlignment) pieces.emplace_back(at, size);
      if (pieces.size() < 50) continue;
      std::swap(pieces[random() % pieces.size()], pieces.back());
      const auto piece = pieces.back();
      ASSERT_EQ(std::count(piece.begin(), piece.end(), piece[0]), std::ssize(piece));
      pool->release(piece.data(), piece.size());
      asked -= piece.size();
      pieces.pop_back();
    }
    EXPECT_GE(pool->used(), asked);
    EXPECT_GE(pool->memory(), pool->used());
    EXPECT_EQ(pool->allocate(SIZE_MAX), nullptr);
    pool->release_all();
  }
  // What comes back serves again: a pool in balance stays at its size.
  for (int i = 0; i < 1000; ++i) pool->release(pool->allocate(40), 40);
  EXPECT_EQ(pool->memory(), bytes);
  EXPECT_EQ(held, 0);
  held = 1;  // the lock refuses
  EXPECT_EQ(pool->allocate(8), nullptr);
}

}  // namespace
