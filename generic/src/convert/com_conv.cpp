// The conversion table of a context. The default table is made of the lists at compile time: a cell is
// a pair of datatype codes, and holds the function of the pair of their families, if that pair has a
// row and the source code reaches the destination code. Pairs with a user datatype are kept in
// extension rows, one a source, in the order of their installation.
#include <algorithm>
#include <cstdlib>

#include "convert/extension.h"
#include "convert/matrix.h"
#include "frame/allocate.h"
#include "frame/check.h"
#include "vdxcomn/conversions.h"
#include "vdxcomn/convert.h"

struct vdx_extension {
  std::int32_t source, destination;
  vdx_convfn function;         // null once reset
  vdx_extension* next_in_row;  // same source, next destination
  vdx_extension* next_row;     // next source; in the first entry of a row only
};

namespace vdx {

// Prototypes of the functions that the table alone reaches.
#define CONVERSION(S, D, way)
#define SPECIAL CONVERSION
#define INTERNAL(S, D, way) extern vdx_conversion inner_##S##to##D;
#include "lists/all.list"
#undef CONVERSION
#undef SPECIAL
#undef INTERNAL

namespace {

// A constant expression cannot compare the addresses of functions in a sanitized build.
struct Cell {
  bool named = false;  // the pair has a conversion
  vdx_convfn function = nullptr;
};

using FamilyTable = std::array<std::array<Cell, kFamilies>, kFamilies>;

constexpr FamilyTable kFamilyTable = [] {
  FamilyTable table{};
#define CONVERSION(S, D, way) table[family_##S][family_##D] = {true, comn_##S##to##D};
#define SPECIAL CONVERSION
#define INTERNAL(S, D, way) table[family_##S][family_##D] = {true, inner_##S##to##D};
#include "lists/all.list"
#undef CONVERSION
#undef SPECIAL
#undef INTERNAL
  return table;
}();

// The destinations that a code reaches, of those that its family converts to.
constexpr Codes reach(std::int32_t source) {
  const Codes plain_text = code(VDX_CHAR) | code(VDX_LONGCHAR) | code(VDX_TEXT) | code(VDX_VARCHAR);
  switch (source) {
    case VDX_SENSITIVITY:
    case VDX_BOUNDARY:
      return plain_text | code(source);
    case VDX_XML:
      return plain_text | code(VDX_BIN) | code(VDX_LONGBIN) | code(VDX_IMAGE) | code(VDX_VARBIN) |
             code(VDX_XML);
    case VDX_LONGCHAR:
    case VDX_TEXT:
      return kAllCodes & ~kLocatorCodes;  // a locator's text is short
    case VDX_TEXTLOCATOR:
      return code(VDX_CHAR) | code(VDX_TEXT) | code(source);
    case VDX_IMAGELOCATOR:
      return code(VDX_CHAR) | code(VDX_IMAGE) | code(source);
    case VDX_UNITEXTLOCATOR:
      return code(VDX_CHAR) | code(VDX_UNICHAR) | code(source);
    default:
      return kAllCodes;
  }
}

// Cells that the families do not tell.
struct SpecialCell {
  std::int32_t source, destination;
  Cell cell;
};

constexpr SpecialCell kSpecialCells[] = {
    // A retired code of i8, kept where it was ever filled.
    {VDX_UNICHAR, 20, {true, comn_unichartoi8}},
    {VDX_UNITEXT, 20, {true, comn_unichartoi8}},
    // Images and UTF-16 have conversions of their own; UTF-16 objects become images like byte
    // strings.
    {VDX_UNICHAR, VDX_IMAGE, {true, comn_unichartoimage}},
    {VDX_IMAGE, VDX_UNICHAR, {true, comn_imagetounichar}},
    {VDX_IMAGE, VDX_UNITEXT, {true, comn_imagetounichar}},
    // A locator becomes what it locates; for the other two the families tell.
    {VDX_TEXTLOCATOR, VDX_TEXT, {true, inner_locatortotext}},
};

constexpr Cell family_cell(std::int32_t source, std::int32_t destination) {
  const Family from = kSourceFamily[static_cast<std::size_t>(source)];
  const Family to = kDestinationFamily[static_cast<std::size_t>(destination)];
  // Void becomes anything but a locator, by one function; void itself by another.
  if (from == family_void && to != family_void)
    return (code(destination) & kLocatorCodes) == 0 ? kFamilyTable[from][family_any] : Cell{};
  if ((reach(source) & code(destination)) == 0) return {};
  // From and to text the big calendar types have the functions of the smaller ones.
  return is_text(from) || is_text(to) ? kFamilyTable[small_of(from)][small_of(to)]
                                      : kFamilyTable[from][to];
}

constexpr std::array<Cell, kCells> kCellTable = [] {
  std::array<Cell, kCells> cells{};
  for (std::int32_t s = 0; s < kCodes; ++s)
    for (std::int32_t d = 0; d < kCodes; ++d)
      cells[static_cast<std::size_t>(s * kCodes + d)] = family_cell(s, d);
  for (const SpecialCell& special : kSpecialCells)
    cells[static_cast<std::size_t>(special.source * kCodes + special.destination)] = special.cell;
  return cells;
}();

constexpr std::int32_t kNamed = static_cast<std::int32_t>(std::count_if(
    kCellTable.begin(), kCellTable.end(), [](const Cell& cell) { return cell.named; }));
static_assert(kNamed == 794);

constexpr Matrix kDefaultMatrix = [] {
  Matrix functions{};
  for (std::size_t i = 0; i < kCells; ++i) functions[i] = kCellTable[i].function;
  return functions;
}();

constexpr bool built_in(std::int32_t source, std::int32_t destination) {
  return source < kCodes && destination < kCodes;
}

// The link to the row of a source, or the link where it is to be put.
vdx_extension** find_row(vdx_context* context, std::int32_t source) {
  return find_link(&context->conversion_extensions, &vdx_extension::next_row,
                   &vdx_extension::source, source);
}

// The same for the entry of a destination in a row.
vdx_extension** find_entry(vdx_extension** row, std::int32_t destination) {
  return find_link(row, &vdx_extension::next_in_row, &vdx_extension::destination, destination);
}

vdx_extension* extension(vdx_context* context, std::int32_t source, std::int32_t destination) {
  return *find_entry(find_row(context, source), destination);
}

}  // namespace

const Matrix& matrix() { return kDefaultMatrix; }

}  // namespace vdx

std::int32_t com_conv_init(vdx_context* context) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  context->conversion_dimension = vdx::kCodes;
  context->conversions =
      static_cast<vdx_convfn*>(vdx::allocate(context, sizeof(vdx::kDefaultMatrix)));
  if (context->conversions == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  std::copy(vdx::kDefaultMatrix.begin(), vdx::kDefaultMatrix.end(), context->conversions);
  context->conversion_extensions = nullptr;
  return VDX_TRACE(XS_SUCCEED);
}

vdx_convfn com_conv_func(vdx_context* context, std::int32_t source, std::int32_t destination) {
  VDX_CHECK_POINTER(context, nullptr);
  if (source < 0 || destination < 0) return nullptr;
  if (vdx::built_in(source, destination))
    return context->conversions[source * context->conversion_dimension + destination];
  const vdx_extension* entry = vdx::extension(context, source, destination);
  return entry == nullptr ? nullptr : entry->function;
}

std::int32_t com_conv_install(vdx_context* context, std::int32_t source, std::int32_t destination,
                              vdx_convfn function) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  VDX_CHECK_POINTER(context->conversions, XS_FAIL);
  if (vdx::built_in(source, destination)) {
    context->conversions[source * context->conversion_dimension + destination] = function;
    return VDX_TRACE(XS_SUCCEED);
  }
  vdx_extension* const entry =
      vdx::entry_at(context, vdx::find_entry(vdx::find_row(context, source), destination),
                    {source, destination, nullptr, nullptr, nullptr});
  if (entry == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  entry->function = function;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_conv_default(vdx_context* context, std::int32_t source, std::int32_t destination) {
  VDX_ASSERT(source >= 0 && destination >= 0, XS_FAIL);
  if (vdx::built_in(source, destination))
    return com_conv_install(
        context, source, destination,
        vdx::kDefaultMatrix[static_cast<std::size_t>(source * vdx::kCodes + destination)]);
  VDX_CHECK_POINTER(context, XS_FAIL);
  if (vdx_extension* entry = vdx::extension(context, source, destination))
    entry->function = nullptr;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_conv_free(vdx_context* context) {
  VDX_CHECK_POINTER(context, XS_FAIL);
  std::free(context->conversions);
  context->conversions = nullptr;
  context->conversion_dimension = 0;
  vdx::free_chain(context->conversion_extensions, &vdx_extension::next_row, [](vdx_extension& row) {
    vdx::free_chain(row.next_in_row, &vdx_extension::next_in_row, [](vdx_extension&) {});
  });
  context->conversion_extensions = nullptr;
  return VDX_TRACE(XS_SUCCEED);
}
