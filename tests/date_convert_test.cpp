// Conversions of the calendar types: which functions serve them, and what is no value of theirs.
#include "support.h"

namespace {

using vdx_test::Bytes;
using vdx_test::image;
using vdx_test::Table;

TEST(DateConvert, FormatterRefusesImagesThatAreNoValues) {
  const std::pair<std::int32_t, Bytes> rows[] = {
      {VDX_DATETIME, image(vdx_datetime{-53691, 0})},
      {VDX_DATETIME, image(vdx_datetime{2958464, 0})},
      {VDX_DATETIME, image(vdx_datetime{0, 25920000})},
      {VDX_DATE4, image(vdx_date4{0, 1440})},
      {VDX_DATEA, image(-693596)},
      {VDX_TIMEA, image(-1)},
      {VDX_BIGDATETIME, image(std::uint64_t{31622399999999})},
      {VDX_BIGDATETIME, image(std::uint64_t{315569520000000000})},
      {VDX_BIGTIME, image(std::uint64_t{86400000000})}};
  for (const auto& [type, bytes] : rows) {
    char buffer[64];
    std::int32_t length;
    EXPECT_EQ(comn_dtloc_format(nullptr, nullptr, type, bytes.data(), buffer, 64, &length), -107);
  }
}

TEST(DateConvert, SharesFunctions) {
  Table table;
  const auto function = [&](std::int32_t from, std::int32_t to) {
    return com_conv_func(&table.context, from, to);
  };
  for (const std::int32_t code : {VDX_DATETIME, VDX_BIGDATETIME}) {
    EXPECT_EQ(function(code, VDX_TEXT), &comn_datetochar);
    EXPECT_EQ(function(code, VDX_VARCHAR), &comn_datetovarchar);
    EXPECT_EQ(function(VDX_LONGCHAR, code), &comn_chartodatetime);
    EXPECT_EQ(function(VDX_VARCHAR, code), &comn_varchartodatetime);
  }
  for (const std::int32_t code : {VDX_TIMEA, VDX_BIGTIME}) {
    EXPECT_EQ(function(code, VDX_CHAR), &comn_timeatochar);
    EXPECT_EQ(function(VDX_CHAR, code), &comn_chartotimea);
  }
  EXPECT_EQ(function(VDX_DATETIME, VDX_DATETIME), &comn_datetodate);
  EXPECT_EQ(function(VDX_DATE4, VDX_DATETIME), &comn_date4todatetime);
}

TEST(DateConvertDeath, ServesItsOwnTypesAlone) {
  Table table;
  vdx_datafmt from{}, to{};
  std::int32_t length;
  vdx_bigdatetime value = 31622400000000, result;
  from.datatype = VDX_BIGDATETIME;
  to.datatype = VDX_DATE4;
  EXPECT_FATAL(comn_datetodate4(&table.context, &from, &value, &to, &result, &length),
               "file 'com_date.list' line");
}

}  // namespace
