// Wire types: every code and every token against a plain walk of tables of the test's own.
#include <map>
#include <set>

#include "support.h"

namespace {

constexpr int kLong = 2147483647, kNone = -99999;

struct Row {
  int code, token, length, kind, nullable_token, nullable_kind;
};

const Row kRows[] = {
    {0, 47, 255, 1, 39, 1},      {1, 45, 255, 1, 37, 1},      {2, 175, kLong, 4, 175, 4},
    {3, 225, kLong, 4, 225, 4},  {4, 35, kLong, 4, 35, 4},    {5, 34, kLong, 4, 34, 4},
    {6, 48, 1, 0, 38, 1},        {7, 52, 2, 0, 38, 1},        {8, 56, 4, 0, 38, 1},
    {9, 59, 4, 0, 109, 1},       {10, 62, 8, 0, 109, 1},      {11, 50, 1, 0, 50, 0},
    {12, 61, 8, 0, 111, 1},      {13, 58, 4, 0, 111, 1},      {14, 60, 8, 0, 110, 1},
    {15, 122, 4, 0, 110, 1},     {16, 108, 33, 1, 108, 1},    {17, 106, 33, 1, 106, 1},
    {21, 103, 255, 1, 103, 1},   {22, 104, 255, 1, 104, 1},   {23, 31, 0, 1, 31, 1},
    {25, 225, kLong, 4, 225, 4}, {26, 36, kNone, 0, 36, 0},   {27, 49, 4, 0, 123, 1},
    {28, 51, 4, 0, 147, 1},      {29, 174, kLong, 4, 174, 4}, {30, 191, 8, 0, 38, 1},
    {31, 65, 2, 0, 68, 1},       {32, 66, 4, 0, 68, 1},       {33, 67, 8, 0, 68, 1},
    {34, 163, kLong, 4, 163, 4}, {35, 187, 8, 1, 187, 1},     {36, 188, 8, 1, 188, 1},
    {37, 36, 0, 0, 36, 0},       {38, 36, 0, 0, 36, 0},       {39, 36, 0, 0, 36, 0}};

using Out = std::vector<std::int32_t>;  // result and outputs
constexpr std::int32_t kKeep = 4711;    // an output that nothing wrote

TEST(Wire, EveryDatatype) {
  for (std::int32_t code = -2; code <= 300; ++code) {
    SCOPED_TRACE(code);
    Out plain = {67241513, kKeep, kKeep, kKeep}, nullable = plain;
    for (const Row& row : kRows)
      if (row.code == code) {
        plain = {1, row.token, row.kind, row.length};
        nullable = {1, row.nullable_token, row.nullable_kind, row.length};
      }
    Out got(4, kKeep);
    got[0] = com_tds_get_fixed_tdstype(code, &got[1], &got[2], &got[3]);
    EXPECT_EQ(got, plain);
    got.assign(4, kKeep);
    got[0] = com_tds_get_nullable_tdstype(code, &got[1], &got[2], &got[3]);
    EXPECT_EQ(got, nullable);
  }
}

// What tokens mean follows from the rows: a plain token is of its first datatype, whatever the
// length; a nullable one is of the datatype that has the length, but for text and bytes.
TEST(Wire, EveryToken) {
  constexpr std::int32_t kUnknown = 67175721;
  const std::set<int> flagged = {31, 37, 39, 47, 103, 104, 187, 188};
  std::vector<std::int32_t> numbers = {INT32_MIN, INT32_MAX};
  for (std::int32_t i = -2; i <= 300; ++i) numbers.push_back(i);
  for (const std::int32_t token : numbers) {
    SCOPED_TRACE(token);
    const Row* first = nullptr;
    std::map<std::int32_t, const Row*> nullable;  // by length
    for (const Row& row : kRows) {
      const bool is_any_length = row.code < 2 && row.nullable_token == token;
      if (first == nullptr && (row.token == token || is_any_length)) first = &row;
      if (row.nullable_token == token && row.token != token) nullable[row.length] = &row;
    }
    Out got(2, kKeep), expected = {kUnknown, kKeep, kKeep};
    got[0] = com_tds_get_tdsfixedlen(token, &got[1]);
    EXPECT_EQ(got, first != nullptr ? (Out{1, first->length}) : (Out{kUnknown, kKeep}));
    got.assign(3, kKeep);
    got[0] = com_tds_get_tdsdatainfo(token, &got[1], &got[2]);
    if (!nullable.empty()) expected = {1, 1, 1};
    if (first != nullptr) expected = {1, first->kind, flagged.contains(token)};
    EXPECT_EQ(got, expected);
    for (const std::int32_t length : numbers) {
      const auto at = nullable.find(length);
      const Row* found = first != nullptr || at == nullable.end() ? first : at->second;
      got.assign(2, kKeep);
      got[0] = com_tds_get_cstype(token, length, &got[1]);
      EXPECT_EQ(got, found != nullptr ? (Out{1, found->code}) : (Out{kUnknown, kKeep})) << length;
    }
  }
}

TEST(WireDeath, ReportsNullPointers) {
  std::int32_t n = 0;
  const char* const report = "Invalid NULL pointer , file 'com_wire.cpp' line";
  for (const auto function : {com_tds_get_fixed_tdstype, com_tds_get_nullable_tdstype}) {
    EXPECT_FATAL(function(8, nullptr, &n, &n), report);
    EXPECT_FATAL(function(8, &n, nullptr, &n), report);
    EXPECT_FATAL(function(8, &n, &n, nullptr), report);
  }
  EXPECT_FATAL(com_tds_get_cstype(38, 4, nullptr), report);
  EXPECT_FATAL(com_tds_get_tdsfixedlen(38, nullptr), report);
  EXPECT_FATAL(com_tds_get_tdsdatainfo(38, nullptr, &n), report);
  EXPECT_FATAL(com_tds_get_tdsdatainfo(38, &n, nullptr), report);
}

}  // namespace
