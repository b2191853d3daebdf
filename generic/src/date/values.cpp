// Month names that are longer than the formatters take.
#include "date/values.h"

#include <algorithm>
#include <cstring>

namespace vdx {

std::int32_t place_names(const vdx_locale& locale, const char* text, std::int32_t n, char* buffer,
                         std::int32_t room) {
  std::int32_t placed = 0;
  for (std::int32_t i = 0; i < n; ++i) {
    const std::uint32_t month = static_cast<unsigned char>(text[i]) - 1U;
    const bool is_mark = month < 12;
    const char* const piece = is_mark ? locale.shown_months.table()[month] : text + i;
    const std::int32_t size = is_mark ? static_cast<std::int32_t>(std::strlen(piece)) : 1;
    const std::int32_t fits = std::min(size, room - placed);
    std::memcpy(buffer + placed, piece, static_cast<std::size_t>(fits));
    placed += fits;
    if (fits < size) return 0;
  }
  return placed;
}

}  // namespace vdx
