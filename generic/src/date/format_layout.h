// The styles of dates and times as text.
//
//   style    a number that callers know: 0 to 140, with gaps
//   layout   a row of kStyleRows: a string of letters for fields, unrolled by the compiler into
//            straight code. Two styles may share one.
//   twin     the second style of a layout
//
// A style leads to a layout by one of three tables: for a whole value, for a date alone and for a
// time alone.
#ifndef VDX_DATE_FORMAT_LAYOUT_H
#define VDX_DATE_FORMAT_LAYOUT_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "intl/locale.h"
#include "number/digits.h"

namespace vdx {

// The fields of a text. A number with more digits than its place has shows the last ones.
struct ShownFields {
  std::uint32_t year, month /* 0 to 11 */, day;
  std::uint32_t hour /* below 32 */, minute, second, millisecond, microsecond;
};

// The start of a month's name. No character set is known here, so that each byte counts as one of
// the nine characters that are shown.
struct MonthName {
  std::uint64_t bytes;  // 0 to 7
  std::uint8_t ninth;
  std::uint32_t length;  // 0 to 9
};

inline constexpr std::uint32_t kMonthNameMost = 9;

// The letters of a layout. Any other character is copied.
//   M month name        Y year, four digits     y year, two digits    m month    d day
//   D day, blank first  H hour of 24            h hour of 12, blank first        i minute
//   s second            l millisecond           f microsecond         A AM or PM
//   z a zero byte
struct StyleRow {
  std::int16_t style, twin;  // -1: none
  std::string_view layout;
};

// clang-format off
inline constexpr StyleRow kStyleRows[] = {
    {0, 100, "M D Y h:iA"},      {9, 109, "M D Y h:i:s:lA"},
    {1, -1, "m/d/y"},            {101, -1, "m/d/Y"},
    {2, -1, "y.m.d"},            {102, -1, "Y.m.d"},
    {3, -1, "d/m/y"},            {103, -1, "d/m/Y"},
    {4, -1, "d.m.y"},            {104, -1, "d.m.Y"},
    {5, -1, "d-m-y"},            {105, -1, "d-m-Y"},
    {6, -1, "d M y"},            {106, -1, "d M Y"},
    {7, -1, "M d, y"},           {107, -1, "M d,Y"},  // only the short one has a blank
    {8, 108, "H:i:s"},
    {10, -1, "m-d-y"},           {110, -1, "m-d-Y"},
    {11, -1, "y/m/d"},           {111, -1, "Y/m/d"},
    {12, -1, "ymd"},             {112, -1, "Ymd"},
    {13, -1, "y/d/m"},           {113, -1, "Y/d/m"},
    {14, -1, "m/y/d"},           {114, -1, "m/Y/d"},
    {15, -1, "d/y/m"},           {115, -1, "d/Y/m"},
    {16, 116, "M D Y H:i:s"},
    {17, 117, "h:iA"},
    {18, 118, "H:i"},
    {19, -1, "h:i:s:lA"},
    {20, -1, "H:i:s:l"},
    {21, -1, "y/m/d H:i:s"},     {121, -1, "Y/m/d H:i:s"},
    {22, -1, "y/m/d h:iA"},      {122, -1, "Y/m/d h:iA"},
    {23, -1, "Y-m-dTH:i:s"},
    {36, 136, "h:i:s.fA"},
    {37, 137, "H:i:s.f"},
    {38, -1, "M D y h:i:s.fA"},  {138, -1, "M D Y h:i:s.fA"},
    {39, -1, "M D y H:i:s.f"},   {139, -1, "M D Y H:i:s.f"},
    {40, -1, "y-m-d H:i:s.f"},   {140, -1, "Y-m-d H:i:s.f"},
    {-1, -1, "M D Y"},  // kDateAlone
    {-1, -1, "z"},      // kNoTime
};
// clang-format on

inline constexpr std::size_t kLayouts = std::size(kStyleRows);
inline constexpr std::size_t kDateAlone = kLayouts - 2;
inline constexpr std::size_t kNoTime = kLayouts - 1;

// Bytes of a field. 0 for a month's name, whose length varies.
constexpr std::uint32_t field_width(char field) {
  switch (field) {
    case 'M':
      return 0;
    case 'Y':
      return 4;
    case 'l':
      return 3;
    case 'f':
      return 6;
    case 'y':
    case 'm':
    case 'd':
    case 'D':
    case 'H':
    case 'h':
    case 'i':
    case 's':
    case 'A':
      return 2;
    default:
      return 1;
  }
}

constexpr std::uint32_t layout_width(std::string_view layout) {
  std::uint32_t width = 0;
  for (const char field : layout) width += field_width(field);
  return width;
}

inline constexpr auto kBlankPairs = digit_pairs(true);
inline constexpr auto kTwelveHours = [] {
  std::array<std::uint16_t, 32> pairs{};
  for (std::uint32_t hour = 0; hour < 32; ++hour)
    pairs[hour] = kBlankPairs[hour == 0 ? 12 : hour > 12 ? hour - 12 : hour];
  return pairs;
}();

VDX_INLINE void put_pair(char* to, std::uint32_t value) { store(to, kPairs[value]); }

template <char Field, std::uint32_t Behind>
VDX_INLINE void put_field(char* to, const ShownFields& fields, const MonthName& name) {
  if constexpr (Field == 'M') {
    if constexpr (Behind >= 8) {  // the fields after the name overwrite what is stored beyond it
      to[name.length > 8 ? 8 : 0] = static_cast<char>(name.ninth);
      store(to, name.bytes);
    } else {
      for (std::uint32_t i = 0; i < name.length; ++i)
        to[i] = static_cast<char>(i < 8 ? name.bytes >> (8 * i) : name.ninth);
    }
  } else if constexpr (Field == 'Y') {
    const std::uint32_t year = fields.year % 10000;
    put_pair(to, year / 100);
    put_pair(to + 2, year % 100);
  } else if constexpr (Field == 'y') {
    put_pair(to, fields.year % 100);
  } else if constexpr (Field == 'm') {
    put_pair(to, fields.month + 1);
  } else if constexpr (Field == 'd') {
    put_pair(to, fields.day);
  } else if constexpr (Field == 'D') {
    store(to, kBlankPairs[fields.day]);
  } else if constexpr (Field == 'H') {
    put_pair(to, fields.hour);
  } else if constexpr (Field == 'h') {
    store(to, kTwelveHours[fields.hour]);
  } else if constexpr (Field == 'i') {
    put_pair(to, fields.minute);
  } else if constexpr (Field == 's') {
    put_pair(to, fields.second);
  } else if constexpr (Field == 'l') {
    const std::uint32_t millisecond = fields.millisecond % 1000;
    to[0] = static_cast<char>('0' + millisecond / 100);
    put_pair(to + 1, millisecond % 100);
  } else if constexpr (Field == 'f') {
    put_pair(to, fields.microsecond / 10000);
    put_pair(to + 2, fields.microsecond / 100 % 100);
    put_pair(to + 4, fields.microsecond % 100);
  } else if constexpr (Field == 'A') {
    to[0] = fields.hour < 12 ? 'A' : 'P';
    to[1] = 'M';
  } else {
    *to = Field == 'z' ? '\0' : Field;
  }
}

template <std::size_t Row, std::size_t... At>
VDX_INLINE void write_fields(char* to, const ShownFields& fields, const MonthName& name,
                             std::index_sequence<At...>) {
  static constexpr std::string_view kLayout = kStyleRows[Row].layout;
  (put_field<kLayout[At], layout_width(kLayout.substr(At))>(
       to + layout_width(kLayout.substr(0, At)) +
           (kLayout.substr(0, At).find('M') != kLayout.npos ? name.length : 0),
       fields, name),
   ...);
}

template <std::size_t Row>
VDX_INLINE void write_layout(char* to, const ShownFields& fields, const MonthName& name) {
  write_fields<Row>(to, fields, name, std::make_index_sequence<kStyleRows[Row].layout.size()>{});
}

constexpr bool shows(std::size_t row, std::string_view any_of) {
  return kStyleRows[row].layout.find_first_of(any_of) != std::string_view::npos;
}
constexpr bool shows_name(std::size_t row) { return shows(row, "M"); }
constexpr bool shows_date(std::size_t row) { return shows(row, "MYymdD"); }
constexpr bool shows_time(std::size_t row) { return shows(row, "Hhislf"); }

// Bytes of the longest text, with the longest month name of a locale.
inline constexpr std::uint32_t kLongestDateText = [] {
  std::uint32_t longest = 0;
  for (std::size_t row = 0; row < kLayouts; ++row) {
    const std::uint32_t name = shows_name(row) ? kShownBytes : 0;
    longest = std::max(longest, layout_width(kStyleRows[row].layout) + name);
  }
  return longest;
}();

// The row of each style.
inline constexpr std::uint32_t kLastStyle = 140;
inline constexpr std::uint8_t kNoLayout = 255;
using StyleTable = std::array<std::uint8_t, kLastStyle + 1>;

inline constexpr StyleTable kStyles = [] {
  StyleTable table;
  table.fill(kNoLayout);
  for (std::size_t row = 0; row < kLayouts; ++row)
    for (const int style : {kStyleRows[row].style, kStyleRows[row].twin})
      if (style >= 0) table[static_cast<std::size_t>(style)] = static_cast<std::uint8_t>(row);
  return table;
}();

// For a time alone: styles 0 and 9 leave the date out, other styles with a time show the date of
// day 0, and styles without a time show one zero byte.
inline constexpr StyleTable kTimeStyles = [] {
  StyleTable table = kStyles;
  for (std::uint8_t& row : table)
    if (row != kNoLayout && !shows_time(row)) row = kNoTime;
  table[0] = table[17];
  table[9] = table[19];
  return table;
}();

// For a date alone: styles 0 and 9 leave the time out, others show that of midnight.
inline constexpr StyleTable kDateStyles = [] {
  StyleTable table = kStyles;
  table[0] = table[9] = kDateAlone;
  return table;
}();

constexpr bool is_style(std::uint32_t style) {
  return style <= kLastStyle && kStyles[style] != kNoLayout;
}

}  // namespace vdx

#endif
