#include "datatypes.h"

#include <array>
#include <cstdio>

#include "vdxcomn/convert.h"
#include "vdxcomn/frame.h"

namespace vdxconv {

namespace {

struct Datatype {
  const char* name;
  const char* meaning;
};

// By code. Lengths come from the library.
constexpr std::array<Datatype, VDX_DATATYPES> kDatatypes = {{
    {"char", "character string in the character set of --charset"},
    {"bin", "byte string"},
    {"longchar", "long character string"},
    {"longbin", "long byte string"},
    {"text", "character large object"},
    {"image", "binary large object"},
    {"i1", "unsigned 8-bit integer"},
    {"i2", "signed 16-bit integer"},
    {"i4", "signed 32-bit integer"},
    {"flt4", "IEEE 754 single"},
    {"flt8", "IEEE 754 double"},
    {"bit", "0 or 1"},
    {"datetime", "day and time of day, in 1/300 second"},
    {"date4", "day and time of day, in minutes"},
    {"money", "money, in ten-thousandths, 64 bits"},
    {"mny4", "short money, in ten-thousandths, 32 bits"},
    {"num", "exact numeric of up to 77 digits"},
    {"decimal", "exact numeric, the same as num"},
    {"varchar", "up to 256 characters with their count"},
    {"varbin", "up to 256 bytes with their count"},
    {"", "unassigned"},
    {"sensitivity", "security label text"},
    {"boundary", "security boundary text"},
    {"void", "value without content"},
    {"", "unassigned"},
    {"unichar", "UTF-16 text in native byte order"},
    {"blob", "opaque object"},
    {"datea", "date only"},
    {"timea", "time of day only, in 1/300 second"},
    {"unitext", "UTF-16 large object"},
    {"i8", "signed 64-bit integer"},
    {"ui2", "unsigned 16-bit integer"},
    {"ui4", "unsigned 32-bit integer"},
    {"ui8", "unsigned 64-bit integer"},
    {"xml", "XML document text"},
    {"bigdatetime", "day and time of day, in microseconds"},
    {"bigtime", "time of day only, in microseconds"},
    {"textlocator", "handle of a text value"},
    {"imagelocator", "handle of an image value"},
    {"unitextlocator", "handle of a unitext value"},
}};

// One formatted line; every field is short.
template <typename... Arguments>
void append_line(std::string& text, const char* format, Arguments... arguments) {
  char line[160];
  std::snprintf(line, sizeof line, format, arguments...);
  text += line;
}

}  // namespace

int32_t find_datatype(std::string_view name) {
  for (std::size_t code = 0; code < kDatatypes.size(); ++code)
    if (!name.empty() && name == kDatatypes[code].name) return static_cast<int32_t>(code);
  return -1;
}

std::string datatype_name(int32_t code) {
  return is_assigned(code) ? kDatatypes[static_cast<std::size_t>(code)].name
                           : "datatype " + std::to_string(code);
}

bool is_assigned(int32_t code) { return *kDatatypes[static_cast<std::size_t>(code)].name != '\0'; }

bool is_counted(int32_t datatype) { return datatype == VDX_VARCHAR || datatype == VDX_VARBIN; }

bool is_text(int32_t datatype) {
  switch (datatype) {
    case VDX_CHAR:
    case VDX_LONGCHAR:
    case VDX_TEXT:
    case VDX_SENSITIVITY:
    case VDX_BOUNDARY:
    case VDX_XML:
      return true;
    default:
      return false;
  }
}

int32_t fixed_length(int32_t datatype) {
  // The length of UTF-16 text is counted in units of two bytes, and it is that of the value.
  if (datatype == VDX_UNICHAR) return 0;
  return comn_typelen(datatype, 0);
}

std::string list_types() {
  std::string text;
  append_line(text, "%4s  %-14s  %6s  %s\n", "Code", "Name", "Length", "Meaning");
  for (int32_t code = 0; code < VDX_DATATYPES; ++code) {
    const Datatype& row = kDatatypes[static_cast<std::size_t>(code)];
    const int32_t length = comn_typelen(code, 0);
    append_line(text, "%4d  %-14s  %6s  %s\n", code, *row.name != '\0' ? row.name : "-",
                length != 0 ? std::to_string(length).c_str() : "var", row.meaning);
  }
  return text;
}

std::string list_matrix(vdx_context* context) {
  std::string text = "Rows are sources, columns destinations; x marks a conversion.\n\n";
  append_line(text, "%17s", "");
  for (int code = 0; code < VDX_DATATYPES; ++code) append_line(text, "%2d", code / 10);
  append_line(text, "\n%17s", "");
  for (int code = 0; code < VDX_DATATYPES; ++code) append_line(text, "%2d", code % 10);
  text += "\n";
  int count = 0;
  for (int source = 0; source < VDX_DATATYPES; ++source) {
    const char* const name = kDatatypes[static_cast<std::size_t>(source)].name;
    append_line(text, "%-14s %2d", *name != '\0' ? name : "-", source);
    for (int destination = 0; destination < VDX_DATATYPES; ++destination) {
      const bool has = com_conv_func(context, source, destination) != nullptr;
      text += has ? " x" : " .";
      count += has ? 1 : 0;
    }
    text += "\n";
  }
  append_line(text, "\n%d of %d pairs have a conversion.\n", count, VDX_DATATYPES * VDX_DATATYPES);
  return text;
}

}  // namespace vdxconv
