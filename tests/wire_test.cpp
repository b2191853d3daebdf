// Wire types: every code and every token against a plain walk of tables of the test's own.
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

struct Token {
  int token, code, length, flag, kind;
};

const Token kFirst[] = {
    {45, 1, 255, 0, 1},   {37, 1, 255, 1, 1},   {47, 0, 255, 1, 1},     {39, 0, 255, 1, 1},
    {48, 6, 1, 0, 0},     {52, 7, 2, 0, 0},     {56, 8, 4, 0, 0},       {59, 9, 4, 0, 0},
    {62, 10, 8, 0, 0},    {58, 13, 4, 0, 0},    {61, 12, 8, 0, 0},      {122, 15, 4, 0, 0},
    {60, 14, 8, 0, 0},    {50, 11, 1, 0, 0},    {175, 2, kLong, 0, 4},  {225, 3, kLong, 0, 4},
    {35, 4, kLong, 0, 4}, {34, 5, kLong, 0, 4}, {108, 16, 33, 0, 1},    {106, 17, 33, 0, 1},
    {103, 21, 255, 1, 1}, {104, 22, 255, 1, 1}, {36, 26, kNone, 0, 0},  {31, 23, 0, 1, 1},
    {49, 27, 4, 0, 0},    {51, 28, 4, 0, 0},    {174, 29, kLong, 0, 4}, {191, 30, 8, 0, 0},
    {65, 31, 2, 0, 0},    {66, 32, 4, 0, 0},    {67, 33, 8, 0, 0},      {163, 34, kLong, 0, 4},
    {187, 35, 8, 1, 1},   {188, 36, 8, 1, 1}};

// Flag and length kind are 1.
const Token kSecond[] = {{37, 1, 255, 1, 1}, {39, 0, 255, 1, 1}, {38, 6, 1, 1, 1},
                         {38, 7, 2, 1, 1},   {38, 8, 4, 1, 1},   {109, 9, 4, 1, 1},
                         {109, 10, 8, 1, 1}, {111, 13, 4, 1, 1}, {111, 12, 8, 1, 1},
                         {110, 15, 4, 1, 1}, {110, 14, 8, 1, 1}, {31, 23, 0, 1, 1},
                         {123, 27, 4, 1, 1}, {147, 28, 4, 1, 1}, {38, 30, 8, 1, 1},
                         {68, 31, 2, 1, 1},  {68, 32, 4, 1, 1},  {68, 33, 8, 1, 1}};

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

TEST(Wire, EveryToken) {
  const std::int32_t extremes[] = {INT32_MIN, INT32_MAX};
  for (std::int32_t i = -4; i <= 300; ++i) {
    const std::int32_t token = i < -2 ? extremes[i + 4] : i;
    SCOPED_TRACE(token);
    const Token *first = nullptr, *second = nullptr;
    for (const Token& row : kFirst)
      if (first == nullptr && row.token == token) first = &row;
    for (const Token& row : kSecond)
      if (second == nullptr && row.token == token) second = &row;
    const Token* any = first != nullptr ? first : second;

    Out got(2, kKeep);
    got[0] = com_tds_get_tdsfixedlen(token, &got[1]);
    EXPECT_EQ(got, first != nullptr ? (Out{1, first->length}) : (Out{67175721, kKeep}));
    got.assign(3, kKeep);
    got[0] = com_tds_get_tdsdatainfo(token, &got[1], &got[2]);
    EXPECT_EQ(got, any != nullptr ? (Out{1, any->kind, any->flag}) : (Out{67175721, kKeep, kKeep}));

    for (std::int32_t j = -4; j <= 300; ++j) {
      const std::int32_t length = j < -2 ? extremes[j + 4] : j;
      const Token* found = first;
      for (const Token& row : kSecond)
        if (found == nullptr && row.token == token && row.length == length) found = &row;
      got.assign(2, kKeep);
      got[0] = com_tds_get_cstype(token, length, &got[1]);
      EXPECT_EQ(got, found != nullptr ? (Out{1, found->code}) : (Out{67175721, kKeep})) << length;
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
