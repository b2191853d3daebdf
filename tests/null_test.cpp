// Null images of a context, and the fillers of the older interface.
#include "characters.h"

namespace {

using namespace std::string_literals;
using namespace vdx_test;

struct Nulls : Failing {
  ~Nulls() {
    EXPECT_EQ(com_null_free(&context), 1);
    EXPECT_TRUE(context.nulls == nullptr && context.null_extensions == nullptr);
  }
};

using Got = Result;  // its bytes end with the last one that was written

// Checks that nothing is written beyond the room and cuts off what was never written.
Bytes written(Bytes bytes, std::size_t room) {
  for (std::size_t i = room; i < bytes.size(); ++i)
    if (bytes[i] != kGuard) ADD_FAILURE() << "wrote behind the destination";
  while (!bytes.empty() && bytes.back() == kGuard) bytes.pop_back();
  return bytes;
}

vdx_datafmt format_of(std::int32_t datatype, std::uint32_t flags = 0, std::int32_t precision = 0,
                      std::int32_t scale = 0) {
  constexpr std::int32_t kIgnored = 1;  // the maximum length
  return {{}, 0, datatype, flags, kIgnored, scale, precision, {}, nullptr};
}

Got get(vdx_context& context, std::int32_t room, const vdx_datafmt& format) {
  Bytes bytes(static_cast<std::size_t>(room) + 8, kGuard);
  std::int32_t length = kUnset;
  const std::int32_t code = com_null_get(&context, &format, bytes.data(), room, &length);
  return {code, length, written(bytes, static_cast<std::size_t>(room))};
}

Bytes numeric(std::uint8_t precision, std::uint8_t scale, std::size_t length = 35) {
  Bytes bytes = {precision, scale};
  bytes.resize(length);
  return bytes;
}

TEST(Null, DefaultsOfEveryDatatype) {
  const int lengths[40] = {0, 0, 0, 0, 0, 0, 1, 2, 4, 4, 8, 1, 8, 8, 8, 8, 35, 35, 258, 258,
                           4, 0, 0, 4, 2, 1, 4, 4, 4, 1, 8, 2, 4, 8, 0, 8, 8,  32, 32,  32};
  Nulls nulls;
  ASSERT_EQ(com_null_init(&nulls.context), 1);
  EXPECT_EQ(nulls.context.null_count, 40);
  for (std::int32_t code = 0; code < 40; ++code) {
    SCOPED_TRACE(code);
    Bytes expected(static_cast<std::size_t>(lengths[code]));
    if (code == VDX_NUM || code == VDX_DECIMAL) expected = numeric(0, 3);  // as the format says
    if (code >= VDX_TEXTLOCATOR) (expected = image(-779)).resize(32);
    for (const std::int32_t room : {300, lengths[code], lengths[code] / 2}) {
      const std::int32_t n = std::min(room, lengths[code]);
      EXPECT_EQ(get(nulls.context, room, format_of(code, 0, 0, 3)),
                (Got{1, n, Bytes(expected.begin(), expected.begin() + n)}));
    }
  }
}

TEST(Null, FollowsTheDestination) {
  Nulls nulls;
  vdx_context& c = nulls.context;
  ASSERT_EQ(com_null_init(&c), 1);
  for (const auto& [code, value] : {std::pair{+VDX_TEXT, "abc"s},
                                    {+VDX_IMAGE, "abc"s},
                                    {77, "abc"s},
                                    {+VDX_UNITEXT, "a\0b"s},
                                    {+VDX_DECIMAL, "abcd"s}})
    ASSERT_EQ(com_null_set(&c, code, value.data(), static_cast<std::int32_t>(value.size())), 1);
  const Bytes unit = encode_unit(' ');
  const std::string blank(unit.begin(), unit.end()), swapped(unit.rbegin(), unit.rend());
  const struct {
    std::int32_t datatype, room;
    std::uint32_t flags;
    std::int32_t code, length;
    std::string bytes;
    std::int32_t precision = 0, scale = 0;
  } rows[] = {// clang-format off
      {VDX_CHAR, 5, 4, 1, 5, "     "}, {VDX_TEXT, 5, 5, 1, 5, "abc \0"s},
      {VDX_TEXT, 5, 6, -106, 3, "abc"}, {VDX_TEXT, 3, 1, -101, 3, "ab\0"s},
      {VDX_IMAGE, 5, 2, 1, 5, "abc\0\0"s}, {VDX_I2, 5, 7, 1, 2, "\0\0"s},
      {77, 5, 2, 1, 5, "abc\0\0"s},
      // One zero byte is half a unit.
      {VDX_UNICHAR, 4, 1, 1, 4, "\0\0\0\0"s}, {VDX_UNICHAR, 4, 6, -106, 1, "\0"s},
      {VDX_UNICHAR, 7, 5, 1, 7, "\0\0"s + blank + "\0\0\0"s},
      {VDX_UNITEXT, 6, 4 | 64, 1, 6, "a\0b\0"s + swapped}, {VDX_UNITEXT, 6, 1, 1, 6, "a\0b\0\0\0"s},
      // As many bytes as the precision needs, or as there are.
      {VDX_NUM, 40, 0, 1, 35, "N\5" + std::string(33, '\0'), 78, 5},
      {VDX_DECIMAL, 35, 0, 1, 8, "\12\2cd\0\0\0\0"s, 10, 2},
      {VDX_DECIMAL, 35, 0, 1, 35, "M\1cd" + std::string(31, '\0'), 77, 1},
      {VDX_DECIMAL, 35, 0, 1, 4, "\0\2cd"s, 0, 2}};
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(get(c, row.room, format_of(row.datatype, row.flags, row.precision, row.scale)),
              (Got{row.code, row.length, bytes_of(row.bytes)}));
  }
}

TEST(Null, SetsAndReinstalls) {
  Nulls nulls;
  vdx_context& c = nulls.context;
  ASSERT_EQ(com_null_init(&c), 1);
  for (const std::int32_t length : {1, 4, 9}) {
    SCOPED_TRACE(length);
    const Bytes image(static_cast<std::size_t>(length), 0x77);
    for (const std::int32_t code : {+VDX_NUM, +VDX_I4, +VDX_CHAR, 40, 1000, INT32_MAX}) {
      ASSERT_EQ(com_null_set(&c, code, image.data(), length), 1);
      EXPECT_TRUE(code == VDX_NUM || get(c, 20, format_of(code)) == (Got{1, length, image}))
          << code;
    }
    for (const std::int32_t code : {+VDX_I4, +VDX_CHAR, +VDX_NUM, 1000, 1001})
      ASSERT_EQ(com_null_reinstall(&c, code), 1);
    EXPECT_EQ(get(c, 20, format_of(VDX_I4)), (Got{1, 4, Bytes(4)}));
    EXPECT_EQ(get(c, 2, format_of(VDX_CHAR, 4)), (Got{1, 2, bytes_of("  ")}));
    EXPECT_EQ(get(c, 35, format_of(VDX_NUM, 0, 18)), (Got{1, 11, numeric(18, 0, 11)}));
    EXPECT_EQ(get(c, 20, format_of(40)), (Got{1, length, image}));
  }
  EXPECT_EQ(com_null_init(&c), 1);  // the earlier table is not lost
  EXPECT_EQ(c.null_extensions, nullptr);
}

TEST(Null, EveryAllocationMayFail) {
  const Bytes image(300, 1);
  for (const bool all : {false, true}) {
    int at = 0;
    for (std::int32_t code = -1; code == -1;) {
      SCOPED_TRACE(++at);
      Nulls nulls;
      vdx_context& c = nulls.context;
      nulls.fail_at = at;
      nulls.from_there_on = all;
      code = com_null_init(&c);
      for (const auto& [type, length] : {std::pair{+VDX_I4, 2}, {50, 300}, {51, 3}})
        if (code == 1) code = com_null_set(&c, type, image.data(), length);
      if (code == 1) code = com_null_reinstall(&c, VDX_I4);
      EXPECT_EQ(code, nulls.calls < at ? 1 : -1);
      EXPECT_EQ(c.null_count, 40);
      EXPECT_EQ(c.nulls == nullptr, at == 1);
      const auto kept = [&](std::int32_t type) { return get(c, 2, format_of(type)); };
      const Got set = {1, 2, {1, 1}};
      EXPECT_TRUE(code == 1 || at <= 42 || kept(VDX_I4) == set);
      EXPECT_TRUE(code == 1 || at <= 44 || kept(50) == set);
    }
    // The table, its images, a replaced one, two entries with theirs, a longer image again; none.
    EXPECT_EQ(at, 1 + 40 + 1 + 2 * 2 + 1 + 1);
  }
}

using Filler = std::int32_t (*)(void*, std::int32_t, const void*, std::int32_t);

// What a filler writes into a destination of 300 bytes, of which it may use `room`.
Got fill(Filler filler, std::int32_t room, const char* value, std::int32_t length) {
  Bytes bytes(308, kGuard);
  const std::int32_t code = filler(bytes.data(), room, value, length);
  return {code, 0, written(bytes, static_cast<std::size_t>(room > 0 ? room : 300))};
}

TEST(OldNull, FixedTypes) {
  const std::pair<std::int32_t, std::vector<Filler>> rows[] = {
      // clang-format off
      {1, {com_seti1null, com_setbitnull}}, {2, {com_seti2null, com_setui2null}},
      {4, {com_seti4null, com_setui4null, com_setflt4null, com_setmny4null, com_setdate4null,
           com_setdateanull, com_settimeanull}},
      {8, {com_seti8null, com_setui8null, com_setflt8null, com_setmoneynull, com_setdatetimenull,
           com_setbigtimenull, com_setbigdatetimenull}}};
  // clang-format on
  const char value[] = "123456789";
  for (const auto& [size, fillers] : rows)
    for (const Filler filler : fillers)
      for (std::int32_t at = 0; at < 11 * 11; ++at) {
        const std::int32_t room = at / 11 - 1, length = at % 11 - 1;
        SCOPED_TRACE(testing::Message() << size << ", room " << room << ", length " << length);
        const std::int32_t fits = room > 0 ? std::min(room, size) : size;
        const std::int32_t given = length < 0 ? size : length;
        Bytes expected(static_cast<std::size_t>(fits));
        EXPECT_EQ(fill(filler, room, nullptr, length), (Got{fits < size ? -5 : size, 0, expected}));
        std::copy_n(value, std::min(given, fits), expected.begin());
        EXPECT_EQ(fill(filler, room, value, length < 0 ? VDX_UNUSED : length),
                  (Got{fits < size || given > size ? -5 : size, 0, expected}));
      }
}

TEST(OldNull, TextAndBytes) {
  const std::string full(256, 'x'), longer(257, 'x'), zeros(258, '\0');
  const Bytes units = encode_utf16(U"  ");
  const struct {
    Filler filler;
    std::int32_t room;
    const char* value;
    std::int32_t length, code;
    std::string bytes;
  } rows[] = {// clang-format off
      {com_setbinarynull, 5, "abc", 3, 3, "abc\0\0"s}, {com_setbinarynull, 2, "abc", 3, -5, "ab"},
      {com_setbinarynull, 5, "abc", VDX_UNUSED, 0, "\0\0\0\0\0"s},
      {com_setbinarynull, 0, "abc", 3, 3, "abc"},
      {com_setcharnull, 5, "abc", VDX_NULLTERM, 3, "abc  "},
      {com_setcharnull, 2, "abc", VDX_NULLTERM, -5, "ab"},
      {com_setunicharnull, 4, nullptr, 0, 0, {units.begin(), units.end()}},
      {com_setunicharnull, 3, "a\0b", 4, -5, "a\0b"s},
      {com_setvarycharnull, 300, nullptr, 0, 0, zeros},
      {com_setvarycharnull, 4, "abc", 3, -5, "\2\0ab"s},
      {com_setvarybinarynull, 258, longer.data(), 257, -5, "\0\1"s + full},
      {com_setvarybinarynull, 0, full.data(), 256, 256, "\0\1"s + full}};
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(fill(row.filler, row.room, row.value, row.length),
              (Got{row.code, 0, bytes_of(row.bytes)}));
  }
}

TEST(OldNull, Numerics) {
  const vdx_num value = {5, 2, {0, 0, 0x30, 0x37}}, invalid = {};  // 123.43
  const auto sized = [](Bytes bytes) { return bytes.resize(35), bytes; };
  const struct {
    std::int32_t room;
    const vdx_num* value;
    std::int32_t length, precision, scale, code;
    Bytes bytes;
  } rows[] = {// clang-format off
      {0, nullptr, 0, 77, 77, 35, numeric(77, 77)}, {35, nullptr, 0, 0, 2, -7, {}},
      {35, nullptr, 0, 1, -1, -8, {}}, {35, &invalid, 35, 5, 2, -107, {}},
      {35, &value, 6, 4, 1, 35, sized({4, 1, 0, 0x04, 0xD2})},
      {40, &value, VDX_UNUSED, 2, 0, -101, sized({2, 0, 0, 99})},
      {34, nullptr, 0, 10, 2, -5, numeric(10, 2, 34)}};
  // clang-format on
  for (const auto function : {com_setnumnull, com_setdecimalnull})
    for (const auto& row : rows) {
      SCOPED_TRACE(&row - rows);
      Bytes bytes(48, kGuard);
      EXPECT_EQ(function(bytes.data(), row.room, row.value, row.length, row.precision, row.scale),
                row.code);
      EXPECT_EQ(written(bytes, row.room > 0 ? static_cast<std::size_t>(row.room) : 35), row.bytes);
    }
}

}  // namespace
