// Names, meanings and listings of datatypes and result codes.
#ifndef VDXCONV_DATATYPES_H
#define VDXCONV_DATATYPES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "vdxcomn/types.h"

namespace vdxconv {

// The code of a name, -1 if there is none.
int32_t find_datatype(std::string_view name);
std::string datatype_name(int32_t code);

// Whether any datatype has the code.
bool is_assigned(int32_t code);

// Records of 16 bits of length and the bytes.
bool is_counted(int32_t datatype);

// Bytes of plain text: shown and read without a conversion.
bool is_text(int32_t datatype);

// Bytes of a fixed-length datatype, 0 if the length is that of the value.
int32_t fixed_length(int32_t datatype);

std::string list_types();
std::string list_matrix(vdx_context* context);

}  // namespace vdxconv

#endif
