// The current local time, as text and as a record.
#include "date/local_time.h"

#include <cstring>

#include "frame/check.h"
#include "frame/platform.h"

namespace vdx {
namespace {

// number: 0 to 99
char* write_two(std::int32_t number, char separator, char* at) {
  at[0] = static_cast<char>('0' + number / 10);
  at[1] = static_cast<char>('0' + number % 10);
  at[2] = separator;
  return at + 3;
}

// Which of year, month and day comes first, second and third, by date order.
constexpr std::uint8_t kOrders[7][3] = {{1, 2, 0}, {1, 2, 0}, {2, 1, 0}, {0, 1, 2},
                                        {0, 2, 1}, {1, 0, 2}, {2, 0, 1}};

// A leap second becomes the second before it.
daterec record_of(const std::tm& clock) {
  daterec now{};
  now.year = clock.tm_year + 1900;
  now.month = clock.tm_mon;
  now.day = clock.tm_mday;
  now.day_of_year = clock.tm_yday + 1;
  now.weekday = clock.tm_wday;
  now.hour = clock.tm_hour;
  now.minute = clock.tm_min;
  now.second = clock.tm_sec < 59 ? clock.tm_sec : 59;
  return now;
}

}  // namespace

std::int32_t give_local_time(const daterec& now, std::int32_t order, std::int32_t twelve_hour,
                             char* buffer, std::int32_t length, std::int32_t* needed,
                             daterec* record) {
  char text[24];
  char* at = text;
  const std::int32_t date[3] = {now.year % 100, now.month + 1, now.day};
  const auto& places = kOrders[order >= 1 && order <= 6 ? order : 0];
  for (std::int32_t i = 0; i < 3; ++i) at = write_two(date[places[i]], i < 2 ? '/' : ' ', at);
  const bool twelve = twelve_hour == 1;
  at = write_two(twelve && now.hour > 12 ? now.hour - 12 : now.hour, ':', at);
  at = write_two(now.minute, ':', at);
  at = write_two(now.second, '\0', at);
  if (twelve) {
    std::memcpy(at - 1, now.hour < 12 ? " AM" : " PM", 4);
    at += 3;
  }
  const auto size = static_cast<std::int32_t>(at - text);
  if (needed != nullptr) *needed = size;
  if (buffer != nullptr) {
    if (length < size) return XS_FAIL;
    std::memcpy(buffer, text, static_cast<std::size_t>(size));
  }
  // The first fields, year to second; the others are the caller's.
  if (record != nullptr) std::memcpy(record, &now, offsetof(daterec, millisecond));
  return XS_SUCCEED;
}

}  // namespace vdx

extern "C" {

std::int32_t comn_time(std::int32_t order, std::int32_t twelve_hour, char* buffer,
                       std::int32_t length, std::int32_t* needed, daterec* record) {
  std::tm clock{};
  if (!vdx::local_time(clock)) return VDX_TRACE(XS_FAIL);
  return VDX_TRACE(vdx::give_local_time(vdx::record_of(clock), order, twelve_hour, buffer, length,
                                        needed, record));
}

}  // extern "C"
