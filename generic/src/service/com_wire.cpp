// Datatypes and their tokens on the wire. A row gives the token of a datatype, its length, a flag
// and the kind of its length field. Each row is written once; the compiler makes two indexes of
// them, by datatype and by token.
#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/check.h"
#include "vdxcomn/wire.h"

namespace vdx {

namespace {

struct WireType {
  std::int32_t token, datatype, length, flag, length_kind;
};

using ByDatatype = std::array<WireType, VDX_DATATYPES>;

constexpr std::int32_t kLong = 2147483647;
constexpr WireType kNone = {-1, -1, -1, 0, -1};

constexpr ByDatatype kPlain = {{
    {47, VDX_CHAR, 255, 1, 1},
    {45, VDX_BIN, 255, 0, 1},
    {175, VDX_LONGCHAR, kLong, 0, 4},
    {225, VDX_LONGBIN, kLong, 0, 4},
    {35, VDX_TEXT, kLong, 0, 4},
    {34, VDX_IMAGE, kLong, 0, 4},
    {48, VDX_I1, 1, 0, 0},
    {52, VDX_I2, 2, 0, 0},
    {56, VDX_I4, 4, 0, 0},
    {59, VDX_FLT4, 4, 0, 0},
    {62, VDX_FLT8, 8, 0, 0},
    {50, VDX_BIT, 1, 0, 0},
    {61, VDX_DATETIME, 8, 0, 0},
    {58, VDX_DATE4, 4, 0, 0},
    {60, VDX_MONEY, 8, 0, 0},
    {122, VDX_MNY4, 4, 0, 0},
    {108, VDX_NUM, 33, 0, 1},
    {106, VDX_DECIMAL, 33, 0, 1},
    kNone,  // varchar and varbin travel as char and bin
    kNone,
    kNone,
    {103, VDX_SENSITIVITY, 255, 1, 1},
    {104, VDX_BOUNDARY, 255, 1, 1},
    {31, VDX_VOID, 0, 1, 1},
    kNone,
    {225, VDX_UNICHAR, kLong, 0, 4},
    {36, VDX_BLOB, VDX_UNUSED, 1, 0},
    {49, VDX_DATEA, 4, 0, 0},
    {51, VDX_TIMEA, 4, 0, 0},
    {174, VDX_UNITEXT, kLong, 0, 4},
    {191, VDX_I8, 8, 0, 0},
    {65, VDX_UI2, 2, 0, 0},
    {66, VDX_UI4, 4, 0, 0},
    {67, VDX_UI8, 8, 0, 0},
    {163, VDX_XML, kLong, 0, 4},
    {187, VDX_BIGDATETIME, 8, 1, 1},
    {188, VDX_BIGTIME, 8, 1, 1},
    {36, VDX_TEXTLOCATOR, 0, 1, 0},
    {36, VDX_IMAGELOCATOR, 0, 1, 0},
    {36, VDX_UNITEXTLOCATOR, 0, 1, 0},
}};

// Datatypes whose values have another token if they can be null.
constexpr WireType kNullableVariants[] = {
    {39, VDX_CHAR, 255, 1, 1}, {37, VDX_BIN, 255, 0, 1},     {38, VDX_I1, 1, 0, 1},
    {38, VDX_I2, 2, 0, 1},     {38, VDX_I4, 4, 0, 1},        {109, VDX_FLT4, 4, 0, 1},
    {109, VDX_FLT8, 8, 0, 1},  {111, VDX_DATETIME, 8, 0, 1}, {111, VDX_DATE4, 4, 0, 1},
    {110, VDX_MONEY, 8, 0, 1}, {110, VDX_MNY4, 4, 0, 1},     {123, VDX_DATEA, 4, 0, 1},
    {147, VDX_TIMEA, 4, 0, 1}, {38, VDX_I8, 8, 0, 1},        {68, VDX_UI2, 2, 0, 1},
    {68, VDX_UI4, 4, 0, 1},    {68, VDX_UI8, 8, 0, 1},
};

constexpr ByDatatype kNullable = [] {
  ByDatatype rows = kPlain;
  for (const WireType& variant : kNullableVariants)
    rows[static_cast<std::size_t>(variant.datatype)] = variant;
  return rows;
}();

// Tokens that mean one datatype whatever the length, where the rows above have none or hold only
// for an outgoing value. The first row of a token decides.
constexpr WireType kTokens[] = {
    {37, VDX_BIN, 255, 1, 1},
    {39, VDX_CHAR, 255, 1, 1},
    {36, VDX_BLOB, VDX_UNUSED, 0, 0},
};

constexpr std::size_t kLengths = 9;  // a nullable token's values have 0 to 8 bytes

// A token: the row that decides, null if there is none, and the datatype by length, -1 if there is
// none.
struct Token {
  const WireType* row;
  bool nullable;  // the row is one of several
  std::array<std::int8_t, kLengths> datatypes;
};

constexpr std::array<Token, 256> kIndex = [] {
  std::array<Token, 256> index{};
  for (Token& entry : index) entry.datatypes.fill(-1);
  const auto add = [&index](const WireType& row) {
    if (row.datatype == -1) return;
    Token& entry = index[static_cast<std::size_t>(row.token)];
    if (entry.row == nullptr) entry.row = &row;
  };
  for (const WireType& row : kTokens) add(row);
  for (const WireType& row : kPlain) add(row);
  // A token of values that can be null means one datatype for each length.
  for (const WireType& row : kNullableVariants) {
    Token& entry = index[static_cast<std::size_t>(row.token)];
    if (entry.row != nullptr && !entry.nullable) continue;
    add(row);
    entry.nullable = true;
    entry.datatypes.at(static_cast<std::size_t>(row.length)) =
        static_cast<std::int8_t>(row.datatype);
  }
  return index;
}();

// A token whose datatype depends on the length has a flag that no row has.
constexpr std::int32_t flag_of(const Token& token) { return token.nullable ? 1 : token.row->flag; }

constexpr Token kUnknown{};

const Token& find(std::int32_t token) {
  return static_cast<std::uint32_t>(token) < kIndex.size() ? kIndex[static_cast<std::size_t>(token)]
                                                           : kUnknown;
}

std::int32_t wire_type(const ByDatatype& rows, std::int32_t datatype, std::int32_t& token,
                       std::int32_t& length_kind, std::int32_t& length) {
  if (static_cast<std::uint32_t>(datatype) >= rows.size()) return VDX_NO_WIRE_TYPE;
  const WireType& row = rows[static_cast<std::size_t>(datatype)];
  if (row.datatype == -1) return VDX_NO_WIRE_TYPE;
  token = row.token;
  length_kind = row.length_kind;
  length = row.length;
  return XS_SUCCEED;
}

}  // namespace

}  // namespace vdx

std::int32_t com_tds_get_fixed_tdstype(std::int32_t datatype, std::int32_t* token,
                                       std::int32_t* length_kind, std::int32_t* length) {
  VDX_CHECK_POINTER(token, XS_FAIL);
  VDX_CHECK_POINTER(length_kind, XS_FAIL);
  VDX_CHECK_POINTER(length, XS_FAIL);
  return VDX_TRACE(vdx::wire_type(vdx::kPlain, datatype, *token, *length_kind, *length));
}

std::int32_t com_tds_get_nullable_tdstype(std::int32_t datatype, std::int32_t* token,
                                          std::int32_t* length_kind, std::int32_t* length) {
  VDX_CHECK_POINTER(token, XS_FAIL);
  VDX_CHECK_POINTER(length_kind, XS_FAIL);
  VDX_CHECK_POINTER(length, XS_FAIL);
  return VDX_TRACE(vdx::wire_type(vdx::kNullable, datatype, *token, *length_kind, *length));
}

std::int32_t com_tds_get_cstype(std::int32_t token, std::int32_t length, std::int32_t* datatype) {
  VDX_CHECK_POINTER(datatype, XS_FAIL);
  const vdx::Token& known = vdx::find(token);
  if (known.row == nullptr) return VDX_TRACE(VDX_UNKNOWN_TOKEN);
  if (!known.nullable) {
    *datatype = known.row->datatype;
    return VDX_TRACE(XS_SUCCEED);
  }
  if (static_cast<std::uint32_t>(length) >= vdx::kLengths) return VDX_TRACE(VDX_UNKNOWN_TOKEN);
  const std::int32_t found = known.datatypes[static_cast<std::size_t>(length)];
  if (found == -1) return VDX_TRACE(VDX_UNKNOWN_TOKEN);
  *datatype = found;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_tds_get_tdsfixedlen(std::int32_t token, std::int32_t* length) {
  VDX_CHECK_POINTER(length, XS_FAIL);
  const vdx::Token& known = vdx::find(token);
  if (known.row == nullptr || known.nullable) return VDX_TRACE(VDX_UNKNOWN_TOKEN);
  *length = known.row->length;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_tds_get_tdsdatainfo(std::int32_t token, std::int32_t* length_kind,
                                     std::int32_t* flag) {
  VDX_CHECK_POINTER(length_kind, XS_FAIL);
  VDX_CHECK_POINTER(flag, XS_FAIL);
  const vdx::Token& known = vdx::find(token);
  if (known.row == nullptr) return VDX_TRACE(VDX_UNKNOWN_TOKEN);
  *length_kind = known.row->length_kind;
  *flag = vdx::flag_of(known);
  return VDX_TRACE(XS_SUCCEED);
}
