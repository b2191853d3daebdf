// Conversions of the calendar types: among themselves against a slow exact model, and with text.
#include <array>

#include "support.h"

namespace {

using vdx_test::Bytes;
using vdx_test::bytes_of;
using vdx_test::convert;
using vdx_test::Format;
using vdx_test::image;
using vdx_test::Result;
using vdx_test::Table;
using vdx_test::varchar_image;

constexpr std::int64_t kDay =
    86400000000 * 3;  // in thirds of a microsecond, which ticks are whole numbers of
constexpr std::int64_t kTick = 10000, kMicro = 3, kMinute = 180000000;

struct Type {
  std::int32_t code;
  bool has_date, has_time;
  std::int64_t unit, first_day, last_day;
} const kTypes[] = {
    {VDX_DATETIME, true, true, kTick, -53690, 2958463},
    {VDX_DATE4, true, true, kMinute, 0, 65535},
    {VDX_DATEA, true, false, kDay, -693595, 2958463},
    {VDX_TIMEA, false, true, kTick, 0, 0},
    {VDX_BIGDATETIME, true, true, kMicro, -693595, 2958463},
    {VDX_BIGTIME, false, true, kMicro, 0, 0},
};

Bytes image_of(const Type& type, std::int64_t day, std::int64_t units) {
  switch (type.code) {
    case VDX_DATETIME:
      return image(vdx_datetime{static_cast<std::int32_t>(day), static_cast<std::int32_t>(units)});
    case VDX_DATE4:
      return image(vdx_date4{static_cast<std::uint16_t>(day), static_cast<std::uint16_t>(units)});
    case VDX_DATEA:
      return image(static_cast<std::int32_t>(day));
    case VDX_TIMEA:
      return image(static_cast<std::int32_t>(units));
    case VDX_BIGDATETIME:
      return image(static_cast<std::uint64_t>((day + 693595 + 366) * 86400000000 + units));
    default:
      return image(static_cast<std::uint64_t>(units));
  }
}

// The nearest whole number of units; halves go up.
std::int64_t nearest(std::int64_t time, std::int64_t unit) {
  return (2 * time + unit) / (2 * unit);
}

struct Expected {
  std::int32_t code;
  Bytes bytes;
};

Expected model(const Type& from, std::int64_t day, std::int64_t units, const Type& to) {
  std::int64_t time = units * from.unit;
  if (!from.has_date) day = 0;
  if (!to.has_time) return {1, image_of(to, day, 0)};
  if (to.code == VDX_DATE4) {
    const std::int64_t ticks = std::min(nearest(time, kTick), kDay / kTick - 1);
    time = day * kDay + ticks * kTick;
    if (time < 0 || nearest(time, kMinute) > 65536 * 1440 - 1) return {-101, image_of(to, 0, 0)};
    return {1, image_of(to, nearest(time, kMinute) / 1440, nearest(time, kMinute) % 1440)};
  }
  if (to.has_date && day < to.first_day) return {-102, image_of(to, 0, 0)};
  const std::int64_t rounded = std::min(nearest(time, to.unit), kDay / to.unit - 1);
  const bool dropped = from.unit == kMicro && rounded * to.unit != time;
  return {dropped ? -113 : 1, image_of(to, day, rounded)};
}

constexpr std::int64_t kDays[10] = {INT32_MIN, -53691, -53690, -1,      0,
                                    65534,     65535,  65536,  2958463, INT32_MAX};
// The ends of a day, half a tick, a tick in microseconds.
constexpr std::int64_t kTimes[8] = {0, 3, 6, 15000, 9999, kDay - 1, kDay - 4998, kDay - 5001};

TEST(DateConvert, AmongTheTypes) {
  Table table;
  vdx_test::Random random(1900);
  int pairs = 0;
  for (const Type& from : kTypes)
    for (const Type& to : kTypes) {
      if (com_conv_func(&table.context, from.code, to.code) == nullptr) continue;
      ++pairs;
      for (int i = 0; i < 3000; ++i) {
        const auto days = static_cast<std::uint64_t>(from.last_day - from.first_day + 1);
        std::int64_t day = from.first_day + static_cast<std::int64_t>(random.below(days));
        std::int64_t time = static_cast<std::int64_t>(random.below(kDay)) / from.unit;
        if (i % 3 != 0) day = std::clamp(kDays[random.below(10)], from.first_day, from.last_day);
        if (i % 4 == 0) time = kTimes[random.below(8)] / from.unit;
        if (i % 4 == 1)
          time = (time * from.unit / kMinute * kMinute + kMinute / 2) / from.unit - i / 4 % 2;
        if (time < 0) time = 0;
        const Bytes source = image_of(from, day, time);
        const Result result = convert(table.context, from.code, source, to.code);
        const Expected expected =
            from.code == to.code ? Expected{1, source} : model(from, day, time, to);
        ASSERT_TRUE(result.code == expected.code && result.bytes == expected.bytes &&
                    result.length == comn_typelen(to.code, 0))
            << from.code << " to " << to.code << " day " << day << " time " << time << ": "
            << result;
        ASSERT_EQ(convert(table.context, from.code, source, VDX_VARBIN).as<std::int16_t>(),
                  static_cast<std::int16_t>(source.size()));
      }
    }
  EXPECT_EQ(pairs, 32);
}

TEST(DateConvert, RefusesImagesThatAreNoValues) {
  Table table;
  const std::pair<std::int32_t, Bytes> rows[] = {
      {VDX_DATETIME, image(vdx_datetime{-53691, 0})},
      {VDX_DATETIME, image(vdx_datetime{2958464, 0})},
      {VDX_DATETIME, image(vdx_datetime{0, 25920000})},
      {VDX_DATE4, image(vdx_date4{0, 1440})},
      {VDX_DATEA, image(-693596)},
      {VDX_DATEA, image(2958464)},
      {VDX_TIMEA, image(-1)},
      {VDX_TIMEA, image(25920000)},
      {VDX_BIGDATETIME, image(std::uint64_t{31622399999999})},
      {VDX_BIGDATETIME, image(std::uint64_t{315569520000000000})},
      {VDX_BIGTIME, image(std::uint64_t{86400000000})}};
  for (const auto& [source, bytes] : rows) {
    char buffer[64];
    std::int32_t length;
    EXPECT_EQ(comn_dtloc_format(nullptr, nullptr, source, bytes.data(), buffer, 64, &length), -107);
    for (const std::int32_t destination : {0, 12, 13, 18, 19, 27, 28, 35, 36}) {
      if (com_conv_func(&table.context, source, destination) == nullptr) continue;
      const Result result = convert(table.context, source, bytes, destination);
      EXPECT_EQ(result.code, -107) << source << " to " << destination;
      EXPECT_EQ(result.bytes, Bytes(result.bytes.size(), vdx_test::kGuard));
    }
  }
  // The upper bits of a time word do not count, but stay with the value.
  const vdx_datetime marked{1, 0x7E000001};
  EXPECT_EQ(convert(table.context, VDX_DATETIME, image(marked), VDX_DATETIME).written(),
            image(marked));
  EXPECT_EQ(convert(table.context, VDX_DATETIME, image(marked), VDX_TIMEA).as<std::int32_t>(), 1);
}

struct Locale {
  vdx_locale* record = nullptr;
  explicit Locale(std::int32_t order, std::int32_t style = 0) {
    EXPECT_EQ(comn_loc_alloc(nullptr, "iso_1", &record), 1);
    comn_loc_set(record, VDX_LOC_DATE_ORDER, &order, 4);
    comn_loc_set(record, VDX_LOC_DATE_STYLE, &style, 4);
    comn_loc_set(record, VDX_LOC_SHORT_MONTH, "jnv", 3);
  }
  ~Locale() { comn_loc_drop(nullptr, record); }
};

TEST(DateConvert, FromText) {
  Table table;
  Locale day_first(2);
  const auto at = [](std::int64_t day, std::int64_t ticks) {
    return image_of(kTypes[0], day, ticks);
  };
  const auto big = [](std::int64_t day, std::int64_t micros) {
    return image_of(kTypes[4], day, micros);
  };
  struct {
    const char* text;
    std::int32_t type;
    bool local;
    std::int32_t code;
    Bytes value;  // empty: not looked at
  } const rows[] = {
      {"Jan  2 2008  1:05:09:123PM", VDX_DATETIME, false, 1, at(39447, 14132737)},
      {"2008-01-02 13:05:09.1235 ", VDX_DATETIME, false, 1, at(39447, 14132737)},
      {"01/02/03", VDX_DATETIME, false, 1, at(37621, 0)},
      {"01/02/03", VDX_DATETIME, true, 1, at(37651, 0)},
      {"2 jnv 2008", VDX_DATETIME, true, 1, at(39447, 0)},
      {"2 jnv 2008", VDX_DATETIME, false, -105, {}},
      {"   ", VDX_DATETIME, false, 1, at(0, 0)},
      {"10:15", VDX_DATETIME, false, 1, at(0, 11070000)},
      {"1752-12-31", VDX_DATETIME, false, -101, {}},
      {"2008-02-30", VDX_DATETIME, false, -101, {}},
      {"2008\t", VDX_DATETIME, false, -105, {}},
      {"1/2", VDX_DATETIME, false, -105, {}},
      {"2008-01-02 13:05:30", VDX_DATE4, false, 1, image(vdx_date4{39447, 786})},
      {"2079-06-06 23:59:29", VDX_DATE4, false, 1, image(vdx_date4{65535, 1439})},
      {"2079-06-06 23:59:30", VDX_DATE4, false, -101, {}},
      {"1899-12-31", VDX_DATE4, false, -101, {}},
      {" ", VDX_DATE4, false, 1, image(vdx_date4{0, 0})},
      {"x", VDX_DATE4, false, -105, {}},
      {"1752-12-31 12:00", VDX_DATEA, false, 1, image(-53691)},
      {"99999", VDX_DATEA, false, -105, {}},
      {"13:05:09.123", VDX_TIMEA, false, 1, image(14132737)},
      {"2008-01-02 13:05", VDX_TIMEA, false, 1, image(14130000)},
      {"13 AM", VDX_TIMEA, false, -101, {}},
      {"0001-01-01", VDX_BIGDATETIME, false, 1, big(-693595, 0)},
      {"2008-01-02 13:05:09.123456", VDX_BIGDATETIME, false, 1, big(39447, 47109123456)},
      {"10:15", VDX_BIGDATETIME, false, 1, big(-693595, 36900000000)},
      {"0000-01-01", VDX_BIGDATETIME, false, -101, {}},
      {"x", VDX_BIGDATETIME, false, -105, {}},
      {"1999-12-31 23:59:59.999999", VDX_BIGTIME, false, 1, image(std::uint64_t{86399999999})},
      {"24:00", VDX_BIGTIME, false, -101, {}},
      {"x", VDX_BIGTIME, false, -105, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " to " << row.type);
    Format format;
    if (row.local) format.locale = day_first.record;
    const Result fixed = convert(table.context, VDX_CHAR, bytes_of(row.text), row.type, format);
    const Result counted =
        convert(table.context, VDX_VARCHAR, varchar_image(row.text), row.type, format);
    EXPECT_EQ(fixed, counted);
    EXPECT_EQ(fixed.code, row.code);
    EXPECT_EQ(fixed.length, row.code == -105 ? 0 : comn_typelen(row.type, 0));
    if (row.code == 1)
      EXPECT_EQ(fixed.bytes, row.value);
    else
      EXPECT_EQ(fixed.bytes, Bytes(fixed.bytes.size(), vdx_test::kGuard));
  }
}

TEST(DateConvert, ToText) {
  Table table;
  Locale french(2, 106), precise(1, 140), unknown(1, 24), date_only(1, 1);
  const Bytes datetime = image(vdx_datetime{39447, 14132737});
  const Bytes bigtime = image(std::uint64_t{47109123456});
  struct {
    std::int32_t type;
    Bytes value;
    vdx_locale* locale;
    std::uint32_t flags;
    std::int32_t room, code;
    std::string text;
  } const rows[] = {
      {VDX_DATETIME, datetime, nullptr, 0, 19, 1, "Jan  2 2008  1:05PM"},
      {VDX_DATETIME, datetime, nullptr, VDX_FMT_TERMINATE, 20, 1,
       std::string("Jan  2 2008  1:05PM\0", 20)},
      {VDX_DATETIME, datetime, nullptr, VDX_FMT_TERMINATE, 19, -101,
       std::string("Jan  2 2008  1:05P\0", 19)},
      {VDX_DATETIME, datetime, nullptr, 0, 6, -101, "Jan  2"},
      {VDX_DATETIME, datetime, nullptr, VDX_FMT_TERMINATE, 6, -101, std::string("Jan  \0", 6)},
      {VDX_DATETIME, datetime, nullptr, 0, 0, -101, ""},
      {VDX_DATETIME, datetime, nullptr, VDX_FMT_PADBLANK, 22, 1, "Jan  2 2008  1:05PM   "},
      {VDX_DATETIME, datetime, nullptr, VDX_FMT_PADBLANK | VDX_FMT_PADNULL, 22, -106,
       "Jan  2 2008  1:05PM"},
      {VDX_DATETIME, datetime, french.record, 0, 64, 1, "02 jnv 2008"},
      {VDX_DATETIME, datetime, unknown.record, 0, 64, 1, "jnv  2 2008  1:05PM"},
      {VDX_DATE4, image(vdx_date4{65535, 0}), nullptr, 0, 64, 1, "Jun  6 2079 12:00AM"},
      {VDX_DATEA, image(-693595), nullptr, 0, 64, 1, "Jan  1 0001"},
      {VDX_TIMEA, image(14132737), precise.record, 0, 64, 1, "1900-01-01 13:05:09.123000"},
      {VDX_TIMEA, image(14132737), date_only.record, 0, 64, 1, std::string(1, '\0')},
      {VDX_BIGTIME, bigtime, nullptr, 0, 64, 1, " 1:05PM"},
      {VDX_BIGTIME, bigtime, precise.record, 0, 64, 1, "1900-01-01 13:05:09.123456"},
      {VDX_BIGDATETIME, image_of(kTypes[4], 2958463, 86399999999), precise.record, 0, 64, 1,
       "9999-12-31 23:59:59.999999"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << " " << row.text);
    table.context.locale = row.locale;
    const Result result =
        convert(table.context, row.type, row.value, VDX_CHAR, {row.flags, row.room});
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.text(), row.text);
    if (row.code != 1 || row.flags != 0) continue;
    const Result counted = convert(table.context, row.type, row.value, VDX_VARCHAR);
    EXPECT_EQ(counted.code, 1);
    EXPECT_EQ(counted.length, 258);
    EXPECT_EQ(counted.as<std::int16_t>(), static_cast<std::int16_t>(row.text.size()));
    EXPECT_EQ(std::string(counted.bytes.begin() + 2,
                          counted.bytes.begin() + 2 + static_cast<long>(row.text.size())),
              row.text);
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
