// Any bytes as a call of any conversion. The first two bytes choose the cell, the next eight the
// format: flags, room (two bytes), precision, scale, the locales of both sides and of the context,
// and what is read of the rest; the rest is the value, kept to what a caller may pass.
//
// For every value: the code is a documented one, the output length lies inside of the
// destination, and nothing outside of the destination is written.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "convert/matrix.h"
#include "vdxcomn.h"

namespace {

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

constexpr std::int32_t kCodes[] = {VDX_SUCCESS,       VDX_OVERFLOW,          VDX_UNDERFLOW,
                                   VDX_BAD_PRECISION, VDX_BAD_SCALE,         VDX_SYNTAX,
                                   VDX_BAD_PADDING,   VDX_INVALID,           VDX_TRUNCATED,
                                   VDX_BAD_STYLE,     VDX_MALFORMED_UNICODE, VDX_TRANSLATION};
constexpr std::uint8_t kGuard = 0xA5;
constexpr std::size_t kGuards = 16;

// Cells that a caller may use: a retired code is no destination.
std::vector<std::int32_t> usable_cells() {
  std::vector<std::int32_t> cells;
  for (std::size_t i = 0; i < vdx::kCells; ++i)
    if (vdx::matrix()[i] != nullptr && i % VDX_DATATYPES != 20)
      cells.push_back(static_cast<std::int32_t>(i));
  return cells;
}

// A null one, which is the default, and each set with dates of its own.
std::array<vdx_locale*, 5> make_locales() {
  std::array<vdx_locale*, 5> locales{};
  const char* const sets[] = {"iso_1", "ascii", "utf8", "sjis"};
  for (std::int32_t i = 0; i < 4; ++i) {
    vdx_locale*& locale = locales[static_cast<std::size_t>(i) + 1];
    const std::int32_t style = i == 0 ? 9 : 100 + 13 * i;
    require(comn_loc_alloc(nullptr, sets[i], &locale) == XS_SUCCEED, "no locale");
    comn_loc_set(locale, VDX_LOC_DATE_ORDER, &i, 4);
    comn_loc_set(locale, VDX_LOC_DATE_STYLE, &style, 4);
    comn_loc_set(locale, VDX_LOC_SHORT_MONTH + i, "\x82\xA0x", 3);
  }
  return locales;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<std::int32_t> cells = usable_cells();
  static const std::array<vdx_locale*, 5> locales = make_locales();
  constexpr std::size_t kHeader = 10;
  if (size < kHeader) return 0;
  const std::size_t pick = data[0] + std::size_t{data[1]} * 256;
  // Below 0x8000 the datatypes themselves, so that seeds keep their meaning.
  std::int32_t cell = cells[pick % cells.size()];
  if (data[1] < 0x80) {
    const std::size_t named = data[0] % 40u + data[1] % 40u * 40u;  // destination, source
    if (vdx::matrix()[named] == nullptr || named % 40 == 20) return 0;
    cell = static_cast<std::int32_t>(named);
  }

  vdx_context context{};
  context.version = VDX_VERSION;
  context.locale = locales[data[8] % locales.size()];
  vdx_datafmt from{}, to{};
  from.datatype = cell / VDX_DATATYPES;
  from.locale = locales[data[7] % locales.size()];
  to.datatype = cell % VDX_DATATYPES;
  to.format = data[2];
  to.maxlength = (data[3] + data[4] * 256) % 301;
  to.precision = static_cast<std::int8_t>(data[5]);
  to.scale = static_cast<std::int8_t>(data[6]);
  to.locale = locales[data[9] % locales.size()];

  std::vector<std::uint8_t> value(data + kHeader,
                                  data + size);  // its end is where a sanitizer looks
  const std::int32_t fixed = comn_typelen(from.datatype, 0);
  if (from.datatype == VDX_VARCHAR || from.datatype == VDX_VARBIN) {
    if (value.size() < 3) return 0;
    const std::size_t count = std::min<std::size_t>(value.size() - 2, 256);
    // The count's bytes choose: mostly the count of what there is, else one that is too large.
    const auto length = static_cast<std::int16_t>(value[0] == 0xFF ? 257 + value[1] * 100 : count);
    std::memcpy(value.data(), &length, sizeof length);
    value.resize(258);
  } else if (from.datatype == VDX_UNICHAR || from.datatype == VDX_UNITEXT || fixed == 0) {
    if (value.empty()) return 0;
  } else {
    value.resize(static_cast<std::size_t>(fixed));
  }
  from.maxlength = static_cast<std::int32_t>(value.size());

  std::int32_t capacity = to.maxlength;
  if (to.datatype != VDX_UNICHAR && to.datatype != VDX_UNITEXT)
    capacity = comn_typelen(to.datatype, to.maxlength);
  const auto room = static_cast<std::size_t>(capacity);
  std::vector<std::uint8_t> destination(room + 2 * kGuards, kGuard);
  constexpr std::int32_t kUnset = -7777;
  std::int32_t length = kUnset;
  const std::int32_t code = vdx::matrix()[static_cast<std::size_t>(cell)](
      &context, &from, value.data(), &to, destination.data() + kGuards, &length);

  require(std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes),
          "a code that there is not");
  const bool bit_without_room =  // nothing is stored, yet the length is 1
      from.datatype == VDX_BIT && to.maxlength == 0 && length == 1;
  require(length == kUnset || (length >= 0 && length <= capacity) || bit_without_room,
          "an output length outside of the destination");
  const auto guarded = [](std::uint8_t byte) { return byte == kGuard; };
  require(std::all_of(destination.begin(), destination.begin() + kGuards, guarded) &&
              std::all_of(destination.end() - kGuards, destination.end(), guarded),
          "wrote outside of the destination");
  return 0;
}
