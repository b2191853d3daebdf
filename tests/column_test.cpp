// Columns against single conversions, over all pairs.
#include "characters.h"
#include "convert/matrix.h"
#include "support.h"

namespace {

using namespace vdx_test;

void set_bit(Bytes& bitmap, std::int64_t i, bool value) {
  std::uint8_t& byte = bitmap[static_cast<std::size_t>(i / 8)];
  byte = static_cast<std::uint8_t>((byte & ~(1U << i % 8)) | unsigned{value} << i % 8);
}

bool is_sized(std::int32_t code) { return comn_typelen(code, -1) == -1 || code == VDX_UNICHAR; }
bool is_counted(std::int32_t code) { return code == VDX_VARCHAR || code == VDX_VARBIN; }
bool holds_text(std::int32_t code) {
  const vdx::Group group = vdx::group_of(vdx::kDestinationFamily[static_cast<std::size_t>(code)]);
  return group == vdx::Group::text || group == vdx::Group::utf16 || group == vdx::Group::bytes;
}

// A text of a number or date, as long as it may be, damaged, padded or empty.
Bytes text_row(Random& random) {
  std::string text;
  if (random.below(3) == 0) {
    static constexpr std::size_t kLengths[] = {10, 16, 19, 21, 22, 23, 24, 26, 12};
    const auto part = [&](int first, int count) {
      return first + static_cast<int>(random.below(static_cast<std::uint64_t>(count)));
    };
    char date[80];
    std::snprintf(date, sizeof date, "%04d-%02d-%02d %02d:%02d:%02d.%06d",
                  random.below(9) == 0 ? part(0, 10000) : part(1890, 120),
                  part(random.below(30) != 0, 12 + (random.below(30) == 0)),
                  part(1, 29 + part(0, 3)), part(0, 24), part(0, 60), part(0, 60),
                  part(0, 2) * 999499 + part(0, 2000) / 2);
    text = std::string(date).substr(0, random.of(kLengths));
    if (random.below(30) == 0) text[random.below(text.size())] = "T/x61 "[random.below(6)];
  } else if (random.below(4) == 0) {
    // clang-format off
    static constexpr const char* kEdges[] = {
        "999999999999999.", "99999999999999.9", "999999999999999", "9999999999999.99", "99999999999.9999",
        "9999999999.99999", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967296",
        "4294967295", "32768", "-32768", "255", "256", "214748.3647", "214748.3648", "-214748.3648", "-",
        ".", "-.", "+", "9999999999999999", "-999999999999999"};
    // clang-format on
    text = random.of(kEdges);
  } else {
    text = std::string(random.below(2), '-') + std::to_string(random.sized());
    if (random.below(2) == 0) text.insert(text.size() - random.below(text.size()), ".");
    if (random.below(9) == 0) text = text.substr(0, random.below(3));
  }
  if (random.below(6) == 0) text.insert(random.below(2) * text.size(), random.below(40), ' ');
  if (!text.empty() && random.below(9) == 0)
    text[random.below(text.size())] = "x9 -+.:\xE9"[random.below(8)];
  if (random.below(20) == 0) text.resize(random.below(71), '0');
  return bytes_of(text);
}

Bytes row_of(Random& random, std::int32_t code) {
  const auto kind = random.below(8);
  if (kind == 0 && is_sized(code) && code != VDX_VOID) return {};
  Bytes bytes(kRandomRoom);
  if (kind < 5 && holds_text(code)) {
    Bytes text = text_row(random);
    if (code == VDX_UNICHAR || code == VDX_UNITEXT)
      for (std::size_t i = text.size(); i > 0; --i)
        text.insert(text.begin() + static_cast<long>(i), 0);
    if (!is_counted(code)) return text;
    const std::int16_t count = random.below(9) == 0 ? static_cast<std::int16_t>(300)
                                                    : static_cast<std::int16_t>(text.size());
    bytes.assign(258, 0);
    std::memcpy(bytes.data(), &count, 2);
    std::copy(text.begin(), text.end(), bytes.begin() + 2);
    return bytes;
  }
  bytes.resize(static_cast<std::size_t>(random_value(random, code, bytes.data())));
  if (code == VDX_BIT && kind == 5) bytes[0] = 2;
  if (is_counted(code) && kind == 6) bytes[0] = bytes[1] = 0;
  if (is_counted(code) && kind == 7) bytes[1] = 0xFF;
  return bytes;
}

template <class Offset>
void put_offset(Bytes& offsets, std::size_t i, std::int64_t value) {
  const auto offset = static_cast<Offset>(value);
  std::memcpy(offsets.data() + 1 + i * sizeof offset, &offset, sizeof offset);
}

// A column at odd addresses, exactly as long as it has to be.
struct Side {
  vdx_datafmt format{};
  vdx_column column{};
  Bytes values, offsets, validity;

  void lay(std::int32_t code, Random& random, std::int64_t rows) {
    column.datatype = code;
    format.datatype = VDX_USER + 7;  // is not read
    column.offset_bytes = is_sized(code) ? static_cast<std::int32_t>(random.below(3)) * 4 : 0;
    column.rows = rows;
    column.first_bit = static_cast<std::int64_t>(random.below(17));
    validity.assign(static_cast<std::size_t>(column.first_bit + rows + 7) / 8, kGuard);
    offsets.assign(static_cast<std::size_t>((rows + 1) * column.offset_bytes) + 1, kGuard);
  }
  void offset(std::int64_t i, std::int64_t value) {
    if (column.offset_bytes == 4)
      put_offset<std::int32_t>(offsets, static_cast<std::size_t>(i), value);
    if (column.offset_bytes == 8)
      put_offset<std::int64_t>(offsets, static_cast<std::size_t>(i), value);
  }
  std::int64_t width() const {
    return column.datatype == VDX_VOID      ? 0
           : column.datatype == VDX_UNICHAR ? format.maxlength
                                            : comn_typelen(column.datatype, format.maxlength);
  }
  vdx_column* pass() {
    column.values = values.data() + 1;
    column.offsets = offsets.data() + 1;
    if (!validity.empty()) column.validity = validity.data();
    return &column;
  }
};

// Bytes of an empty text or of a null in a layout without offsets.
Bytes empty_row(const Side& side) {
  Bytes bytes(static_cast<std::size_t>(side.width()), 0);
  const bool wide = side.column.datatype == VDX_UNICHAR || side.column.datatype == VDX_UNITEXT;
  const bool swapped = (side.format.format & VDX_FMT_SWAP) != 0;
  if (is_sized(side.column.datatype) && (side.format.format & VDX_FMT_PADBLANK) != 0)
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = !wide || i % 2 == (swapped ? 1U : 0U) ? ' ' : 0;
  if (wide && bytes.size() % 2 != 0) bytes.back() = 0;
  return bytes;
}

// One column call against as many single calls.
void compare(vdx_context& context, std::int32_t from, std::int32_t to, std::int64_t rows,
             Random& random) {
  Side source, got;
  static constexpr std::uint32_t kFlags[] = {
      0, 0, 0, VDX_FMT_PADBLANK, VDX_FMT_TERMINATE, VDX_FMT_PADNULL | VDX_FMT_SWAP, VDX_FMT_QUOTE,
      6};
  source.lay(from, random, rows);
  got.lay(to, random, rows);
  got.format.format = random.of(kFlags);
  static constexpr std::int32_t kMost[] = {64, 64, 20, 11, 8, 2, 0};
  got.format.maxlength = random.of(kMost);
  if (rows < 20 && (got.format.format & 6) == 0 && random.below(4) == 0)
    got.format.maxlength = 5000;
  got.format.precision = static_cast<std::int32_t>(random.below(12) == 0 ? 78 : random.below(60));
  got.format.scale = static_cast<std::int32_t>(random.below(6));
  source.format.maxlength = static_cast<std::int32_t>(random.below(71));
  if (random.below(4) == 0) source.format.locale = locale_of(Set::sjis);
  if (random.below(4) == 0) got.format.locale = locale_of(Set::utf8);
  SCOPED_TRACE(testing::Message() << from << " to " << to << ", rows " << rows << ", offsets "
                                  << source.column.offset_bytes << " and "
                                  << got.column.offset_bytes << ", flags " << got.format.format
                                  << ", maxlength " << got.format.maxlength);

  // The rows, and what single conversions make of them.
  const bool with_nulls = random.below(2) == 0;
  if (!with_nulls) source.validity.clear();
  source.values.assign(1 + random.below(3) * unsigned{source.column.offset_bytes != 0}, kGuard);
  source.offset(0, std::ssize(source.values) - 1);
  std::vector<std::int32_t> codes;
  std::vector<Bytes> results;
  std::vector<bool> valid;
  const vdx_convfn function = com_conv_func(&context, from, to);
  for (std::int64_t i = 0; i < rows; ++i) {
    Bytes row = row_of(random, from);
    if (source.column.offset_bytes == 0) row.resize(static_cast<std::size_t>(source.width()), ' ');
    source.values.insert(source.values.end(), row.begin(), row.end());
    source.offset(i + 1, std::ssize(source.values) - 1);
    const bool given = !with_nulls || random.below(5) != 0;
    if (with_nulls) set_bit(source.validity, source.column.first_bit + i, given);
    const std::int16_t count =
        is_counted(from) ? static_cast<std::int16_t>(row[0] | row[1] << 8) : std::int16_t{1};
    const bool empty = count == 0 || (is_sized(from) && from != VDX_VOID && row.empty());
    std::int32_t code = VDX_SUCCESS, length = 0;
    Bytes result(static_cast<std::size_t>(std::max(got.width(), std::int64_t{1})), kGuard);
    if (!given || empty || count < 0) {
      code = !given || (count >= 0 && holds_text(to)) ? VDX_SUCCESS
             : count < 0                              ? VDX_INVALID
                                                      : VDX_SYNTAX;
      result = empty_row(got);
    } else {
      vdx_datafmt one = source.format, other = got.format;
      one.datatype = from;
      other.datatype = to;
      one.maxlength = static_cast<std::int32_t>(row.size());
      row.push_back(0);  // a void value has an address, too
      code = function(&context, &one, row.data(), &other, result.data(), &length);
      length = std::min(length, got.format.maxlength);
      if (got.column.offset_bytes == 0) length = static_cast<std::int32_t>(got.width());
    }
    result.resize(static_cast<std::size_t>(
        got.column.offset_bytes != 0 ? (empty || !given ? 0 : length) : got.width()));
    codes.push_back(code);
    results.push_back(result);
    valid.push_back(given && code == VDX_SUCCESS);
  }

  // What the column is to hold, with all the room that it needs or less.
  std::int64_t total = 0, done = 0, failures = 0;
  for (const Bytes& result : results) total += std::ssize(result);
  const std::int64_t room =
      random.below(2) == 0
          ? total
          : static_cast<std::int64_t>(random.below(static_cast<std::uint64_t>(total + 9)));
  Side expected = got;
  Bytes failed(static_cast<std::size_t>(rows + 7) / 8, kGuard), expected_failed = failed;
  expected.values = {kGuard};
  expected.offset(0, 0);
  for (; done < rows; ++done) {
    const auto i = static_cast<std::size_t>(done);
    if (got.column.offset_bytes != 0 &&
        std::ssize(expected.values) - 1 + std::ssize(results[i]) > room)
      break;
    expected.values.insert(expected.values.end(), results[i].begin(), results[i].end());
    expected.offset(done + 1, std::ssize(expected.values) - 1);
    set_bit(expected.validity, got.column.first_bit + done, valid[i]);
    set_bit(expected_failed, done, codes[i] != VDX_SUCCESS);
    failures += codes[i] != VDX_SUCCESS;
  }
  got.column.room = got.column.offset_bytes != 0 ? room : 0;
  got.values.assign(static_cast<std::size_t>(got.column.offset_bytes != 0 ? room : total) + 1,
                    kGuard);

  std::vector<std::int32_t> seen(static_cast<std::size_t>(rows), kUnset);
  std::int64_t rows_done = kUnset;
  const bool bare = random.below(4) == 0;
  const Bytes untouched = source.values;
  EXPECT_EQ(comn_column_convert(&context, &source.format, source.pass(), &got.format, got.pass(),
                                bare ? nullptr : seen.data(), bare ? nullptr : failed.data(),
                                bare ? nullptr : &rows_done),
            failures);
  EXPECT_EQ(got.column.rows, done);
  got.values.resize(expected.values.size());
  EXPECT_TRUE(got.values == expected.values);
  EXPECT_TRUE(got.offsets == expected.offsets);
  EXPECT_TRUE(got.validity == expected.validity);
  EXPECT_TRUE(source.values == untouched);
  if (bare) return;
  EXPECT_EQ(rows_done, done);
  EXPECT_TRUE(failed == expected_failed);
  codes.resize(static_cast<std::size_t>(done));
  codes.resize(seen.size(), kUnset);
  EXPECT_TRUE(seen == codes);
}

TEST(Column, GivesWhatSingleConversionsGive) {
  Table table;
  Random random(31);
  for (std::int32_t from = 0; from < VDX_DATATYPES; ++from)
    for (std::int32_t to = 0; to < VDX_DATATYPES; ++to) {
      if (to == 20 || com_conv_func(&table.context, from, to) == nullptr) continue;
      for (std::int64_t rows = 0; rows <= 70; ++rows) {
        compare(table.context, from, to, rows, random);
        if (HasFailure()) return;
      }
      compare(table.context, from, to, 600, random);
      if (HasFailure()) return;
    }
}

TEST(Column, TakesInstalledConversionsAndUserDatatypes) {
  Table table;
  const auto answer =
      +[](vdx_context*, const vdx_datafmt*, const void* source, const vdx_datafmt* to, void* result,
          std::int32_t* length) -> std::int32_t {
    *static_cast<std::int32_t*>(result) = to->caller[0] + *static_cast<const std::uint8_t*>(source);
    *length = 4;
    return *static_cast<const std::uint8_t*>(source) == 2 ? VDX_INVALID : VDX_SUCCESS;
  };
  for (const std::int32_t from : {std::int32_t{VDX_I1}, std::int32_t{VDX_USER + 3}}) {
    ASSERT_EQ(com_conv_install(&table.context, from, VDX_I4, answer), XS_SUCCEED);
    std::uint8_t bytes[3] = {1, 2, 3};
    std::int32_t results[3];
    vdx_datafmt one{}, other{};
    one.maxlength = 1;
    other.caller[0] = 100;
    const vdx_column source{from, 0, 3, bytes, nullptr, nullptr, 0, 0};
    vdx_column destination{VDX_I4, 0, 0, results, nullptr, nullptr, 0, 0};
    EXPECT_EQ(comn_column_convert(&table.context, &one, &source, &other, &destination, nullptr,
                                  nullptr, nullptr),
              1);
    EXPECT_TRUE(results[0] == 101 && results[1] == 102 && results[2] == 103);
  }
}

TEST(Column, RefusesBrokenColumns) {
  struct Case {
    const char* what;
    void (*damage)(vdx_column& source, vdx_column& destination, vdx_datafmt& to);
    std::int64_t result;
  };
  // clang-format off
  static constexpr Case kCases[] = {
      {"none", [](vdx_column&, vdx_column&, vdx_datafmt&) {}, 0},
      {"datatype", [](vdx_column& s, vdx_column&, vdx_datafmt&) { s.datatype = -1; }, VDX_COLUMN_SHAPE},
      {"rows", [](vdx_column& s, vdx_column&, vdx_datafmt&) { s.rows = -1; }, VDX_COLUMN_SHAPE},
      {"bit", [](vdx_column&, vdx_column& d, vdx_datafmt&) { d.first_bit = -1; }, VDX_COLUMN_SHAPE},
      {"width", [](vdx_column& s, vdx_column&, vdx_datafmt&) { s.offset_bytes = 2; }, VDX_COLUMN_SHAPE},
      {"fixed", [](vdx_column& s, vdx_column&, vdx_datafmt&) { s.datatype = VDX_I4; }, VDX_COLUMN_SHAPE},
      {"room", [](vdx_column&, vdx_column& d, vdx_datafmt&) { d.room = -1; }, VDX_COLUMN_SHAPE},
      {"maxlength", [](vdx_column&, vdx_column&, vdx_datafmt& f) { f.maxlength = -1; }, VDX_COLUMN_SHAPE},
      {"blob", [](vdx_column& s, vdx_column&, vdx_datafmt&) { s.datatype = VDX_BLOB; }, VDX_COLUMN_NO_PAIR},
      {"user", [](vdx_column&, vdx_column& d, vdx_datafmt&) { d.datatype = VDX_USER; }, VDX_COLUMN_NO_PAIR},
      {"order", [](vdx_column& s, vdx_column&, vdx_datafmt&) { static_cast<std::int32_t*>(s.offsets)[2] = 0; }, VDX_COLUMN_OFFSETS},
      {"sign", [](vdx_column& s, vdx_column&, vdx_datafmt&) { static_cast<std::int32_t*>(s.offsets)[0] = -1; }, VDX_COLUMN_OFFSETS}};
  // clang-format on
  for (const Case& one : kCases) {
    vdx_context context{};
    context.version = VDX_VERSION;  // without a table
    char text[] = "12345", result[16];
    std::int32_t from[] = {0, 2, 5}, to[3];
    vdx_datafmt formats[2] = {};
    formats[1].maxlength = 8;
    vdx_column source{VDX_CHAR, 4, 2, text, from, nullptr, 0, 0};
    vdx_column destination{VDX_CHAR, 4, 0, result, to, nullptr, 0, 16};
    one.damage(source, destination, formats[1]);
    std::int64_t done = 7;
    EXPECT_EQ(comn_column_convert(&context, formats, &source, formats + 1, &destination, nullptr,
                                  nullptr, &done),
              one.result)
        << one.what;
    EXPECT_EQ(done, one.result == 0 ? 2 : one.what == std::string("order") ? 1 : 0) << one.what;
  }
}

TEST(Column, ExplainsTheFirstRowThatFails) {
  struct Case {
    std::int32_t datatype, code;
    const char* bytes;  // of eight rows of eight
  };
  static constexpr Case kCases[] = {
      {VDX_CHAR, VDX_SYNTAX, "1       22      3       4       x       y       9e9     7"},
      {VDX_I8, VDX_OVERFLOW,
       "1\0\0\0\0\0\0\0"
       "1\0\0\0\0\0\0\0"
       "1\0\0\0\0\0\0\0"
       "1\0\0\0\0\0\0\0"
       "77777777"
       "77777777"
       "77777777"
       "77777777"}};
  for (const Case& one : kCases) {
    Table table;
    vdx_fault fault{};
    fault.size = sizeof fault;
    table.context.fault = &fault;
    Bytes source(one.bytes, one.bytes + 57);
    source.resize(64, one.datatype == VDX_CHAR ? ' ' : '7');
    std::int32_t results[8];
    vdx_datafmt from{}, to{};
    from.maxlength = 8;
    const vdx_column column{one.datatype, 0, 8, source.data(), nullptr, nullptr, 0, 0};
    vdx_column other{VDX_I4, 0, 0, results, nullptr, nullptr, 0, 0};
    EXPECT_GT(
        comn_column_convert(&table.context, &from, &column, &to, &other, nullptr, nullptr, nullptr),
        1);
    EXPECT_EQ(fault.row, 4);
    EXPECT_EQ(fault.code, one.code);
    EXPECT_EQ(table.context.fault, &fault);
  }
  vdx_context context{};  // a null row, then an empty one
  context.version = VDX_VERSION;
  vdx_fault fault{};
  fault.size = sizeof fault;
  context.fault = &fault;
  std::uint8_t validity = 0xFE;
  std::int32_t offsets[] = {0, 0, 0}, results[2];
  vdx_datafmt format{};
  const vdx_column column{VDX_CHAR, 4, 2, nullptr, offsets, &validity, 0, 0};
  vdx_column other{VDX_I4, 0, 0, results, nullptr, nullptr, 0, 0};
  EXPECT_EQ(
      comn_column_convert(&context, &format, &column, &format, &other, nullptr, nullptr, nullptr),
      1);
  EXPECT_TRUE(fault.row == 1 && fault.code == VDX_SYNTAX && fault.reason == VDX_REASON_EMPTY);
}

[[noreturn]] void leave_out_arguments() {
  handle_checks(Handler::kResume);
  com_toggle_abort(2);
  vdx_context context{};
  context.version = VDX_VERSION;
  vdx_datafmt format{};
  std::int32_t value = 1;
  vdx_column source{VDX_I4, 0, 1, &value, nullptr, nullptr, 0, 0}, destination = source;
  std::int32_t* const codes = nullptr;
  std::uint8_t* const failed = nullptr;
  std::int64_t* const done = nullptr;
  std::int64_t sum = with_each_null(comn_column_convert, &context, &format, &source, &format,
                                    &destination, codes, failed, done);
  source.values = nullptr;
  sum +=
      comn_column_convert(&context, &format, &source, &format, &destination, codes, failed, done);
  std::exit(sum == 6 * VDX_OVERFLOW ? 0 : 1);
}

TEST(ColumnDeath, ReportsMissingArguments) {
  const std::string place = ", file 'com_column.cpp' line [0-9]+\n";
  EXPECT_EXIT(leave_out_arguments(), testing::ExitedWithCode(0),
              has_match("^(\nInvalid NULL pointer " + place + "){5}\n\rassertion failed" + place));
}

}  // namespace
