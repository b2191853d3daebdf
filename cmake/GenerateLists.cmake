# Run with cmake -P. Reads the rows of generic/src/convert/*.list and the VDX_API declarations of
# include/vdxcomn/*.h; writes include/vdxcomn/conversions.h, exports.txt, vdxcomn.map and
# vdxcomn.def below OUTPUT. Rows read CONVERSION(source, destination, way) or SPECIAL(source, destination, name) for
# exported conversions; every other macro of a list is not exported.

file(GLOB lists ${SOURCE}/generic/src/convert/*.list)
list(SORT lists)
set(exports)
set(prototypes)
foreach(file IN LISTS lists)
  file(STRINGS ${file} rows REGEX "^(CONVERSION|SPECIAL)\\(")
  get_filename_component(stem ${file} NAME_WE)
  if(rows)
    string(REGEX REPLACE "^com_" "" stem ${stem})
    string(APPEND prototypes "\n/* from ${stem} */\n")
  endif()
  foreach(row IN LISTS rows)
    if(row MATCHES "^[A-Z]+\\( *([a-z0-9]+) *, *([a-z0-9]+) *,")
      list(APPEND exports comn_${CMAKE_MATCH_1}to${CMAKE_MATCH_2})
      string(APPEND prototypes "VDX_API vdx_conversion comn_${CMAKE_MATCH_1}to${CMAKE_MATCH_2};\n")
    else()
      message(FATAL_ERROR "${file}: cannot read the row: ${row}")
    endif()
  endforeach()
endforeach()

file(GLOB headers ${SOURCE}/include/vdxcomn/*.h)
foreach(file IN LISTS headers)
  file(READ ${file} text)
  # Semicolons separate CMake list items and brackets group them; neither is part of a name.
  string(REGEX REPLACE "[][;]" " " text "${text}")
  string(REGEX REPLACE "#define[^\n]*" "" text "${text}")
  string(REGEX MATCHALL "VDX_API[^()]*[ *\n]([a-z_0-9A-Z]+)\\(" found "${text}")
  foreach(declaration IN LISTS found)
    string(REGEX REPLACE "^.*[ *\n]([a-z_0-9A-Z]+)\\($" "\\1" name "${declaration}")
    list(APPEND exports ${name})
  endforeach()
endforeach()
list(SORT exports)
list(LENGTH exports total)
list(REMOVE_DUPLICATES exports)
list(LENGTH exports distinct)
if(NOT total EQUAL distinct)
  message(FATAL_ERROR "an exported function is declared twice")
endif()

# Writes only what changed, so that an edit of a comment does not rebuild everything.
function(put path content)
  set(old)
  if(EXISTS ${path})
    file(READ ${path} old)
  endif()
  if(NOT old STREQUAL content)
    file(WRITE ${path} "${content}")
  endif()
endfunction()

put(${OUTPUT}/include/vdxcomn/conversions.h "/* Prototypes of the built-in conversions; generated from the lists of conversions.
 *
 * comn_<source>to<destination> converts one value; the contract is that of vdx_conversion in
 * types.h, the rules of each pair of kinds are in docs/conversions.md. com_conv_func gives the
 * function for two datatype codes. */
#ifndef VDXCOMN_CONVERSIONS_H
#define VDXCOMN_CONVERSIONS_H

#include \"vdxcomn/types.h\"

VDX_BEGIN_DECLS
${prototypes}
VDX_END_DECLS

#endif
")
list(JOIN exports "\n" names)
put(${OUTPUT}/exports.txt "${names}\n")
list(JOIN exports ";\n    " names)
put(${OUTPUT}/vdxcomn.map "VDXCOMN_${MAJOR} {\n  global:\n    ${names};\n  local:\n    *;\n};\n")
list(JOIN exports "\n  " names)
put(${OUTPUT}/vdxcomn.def "LIBRARY vdxcomn.dll\nEXPORTS\n  ${names}\n")
