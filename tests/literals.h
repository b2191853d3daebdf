// Texts of dates and of money, read and shown slowly and plainly.
#ifndef VDX_TESTS_LITERALS_H
#define VDX_TESTS_LITERALS_H

#include <string>
#include <string_view>

#include "support.h"

namespace vdx_test {

struct DateText {
  int code = 0;  // -1 no date or time, 1 one out of range
  bool has_date = false;
  std::int64_t day = 0, micros = 0;  // since 1900-01-01; of the day
};

// A date, a time or both. `whole`: nothing may be left over beside a date. `milliseconds`: the time
// is rounded to them, inside its second.
DateText read_date_text(const std::u32string& text, int order, const std::u32string& january,
                        bool whole, bool milliseconds);

// Letters of the layout are fields, other bytes are copied: N month's name, d day of two digits,
// D of two places, Y year, H hour of 12, i minute, s second, f milliseconds, u microseconds, p AM or
// PM.
std::string show_date(std::string_view layout, std::string_view january, std::int64_t day,
                      std::int64_t micros);

struct MoneyText {
  std::int32_t code;  // VDX_SUCCESS, VDX_OVERFLOW, VDX_SYNTAX
  bool negative;
  std::string count;  // of ten-thousandths; on overflow the digits read so far
};

MoneyText read_money_text(const std::u32string& text);

}  // namespace vdx_test

#endif
