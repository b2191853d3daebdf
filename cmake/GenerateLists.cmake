# Run with cmake -P. Reads the rows of generic/src/lists and the VDX_API declarations of
# include/vdxcomn/*.h; writes include/vdxcomn/conversions.h, exports.txt, vdxcomn.map and
# vdxcomn.def below OUTPUT. Rows read CONVERSION(source, destination, way) or SPECIAL(source,
# destination, way) for exported conversions; every other macro of a list is not exported.
#
# A row between numbers or between calendar values, from a numeric to a number, and from text to a
# number or calendar value, is an array conversion too: include/vdxcomn/batch.h and
# src/lists/batch.list below OUTPUT, with rows
#   BATCH_NUMBER(source, destination, way)   between numbers
#   BATCH_EACH(source, destination, way)     between calendar values, and from numerics
#   BATCH_TEXT(destination)
# datatypes.list tells which family is what.

file(STRINGS ${SOURCE}/generic/src/lists/datatypes.list rows REGEX "^(FAMILY|ALIAS)\\(")
foreach(row IN LISTS rows)
  if(row MATCHES "^FAMILY\\( *([a-z0-9]+) *, *([a-z0-9]+) *, *([a-z]+) *, *([a-z0-9]+) *,")
    set(group_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
    set(extent_${CMAKE_MATCH_1} ${CMAKE_MATCH_3})
    set(big_${CMAKE_MATCH_1} ${CMAKE_MATCH_4})
  elseif(row MATCHES "^ALIAS\\( *([a-z0-9]+) *, *([a-z0-9]+) *\\)")
    set(group_${CMAKE_MATCH_1} ${group_${CMAKE_MATCH_2}})
  else()
    message(FATAL_ERROR "datatypes.list: cannot read the row: ${row}")
  endif()
endforeach()

file(GLOB lists ${SOURCE}/generic/src/lists/com_*.list)
list(SORT lists)
set(exports)
set(prototypes)
set(batch_rows "")
set(batch_prototypes "")
macro(add_batch type source destination row)
  list(APPEND exports comnb_${source}to${destination})
  string(APPEND batch_added "VDX_API ${type} comnb_${source}to${destination};\n")
  string(APPEND batch_rows "${row}\n")
endmacro()
foreach(file IN LISTS lists)
  get_filename_component(stem ${file} NAME_WE)
  string(REGEX REPLACE "^com_" "" stem ${stem})
  set(added "")
  set(batch_added "")
  file(STRINGS ${file} rows REGEX "^[A-Z]+\\(")
  foreach(row IN LISTS rows)
    if(NOT row MATCHES "^(CONVERSION|SPECIAL|INTERNAL)\\( *([a-z0-9]+) *, *([a-z0-9]+) *, *([a-z_]+) *\\)")
      message(FATAL_ERROR "${file}: cannot read the row: ${row}")
    endif()
    set(macro ${CMAKE_MATCH_1})
    set(from ${CMAKE_MATCH_2})
    set(to ${CMAKE_MATCH_3})
    set(way ${CMAKE_MATCH_4})
    if(NOT DEFINED group_${from} OR NOT DEFINED group_${to})
      message(FATAL_ERROR "${file}: no such family in datatypes.list: ${row}")
    endif()
    if(NOT macro STREQUAL "INTERNAL")
      list(APPEND exports comn_${from}to${to})
      string(APPEND added "VDX_API vdx_conversion comn_${from}to${to};\n")
    endif()
    set(pair "${group_${from}} ${group_${to}}")
    if(pair STREQUAL "number number")
      add_batch(vdx_batch ${from} ${to} "BATCH_NUMBER(${from}, ${to}, ${way})")
    elseif(pair STREQUAL "calendar calendar" OR pair STREQUAL "numeric number")
      add_batch(vdx_batch ${from} ${to} "BATCH_EACH(${from}, ${to}, ${way})")
    elseif(pair MATCHES "^text (number|calendar)$" AND extent_${from} STREQUAL "sized")
      add_batch(vdx_text_batch ${from} ${to} "BATCH_TEXT(${to})")
      if(way STREQUAL "by_code")  # one function for a type and the big one
        add_batch(vdx_text_batch ${from} ${big_${to}} "BATCH_TEXT(${big_${to}})")
      endif()
    endif()
  endforeach()
  if(added)
    string(APPEND prototypes "\n/* from ${stem} */\n${added}")
  endif()
  if(batch_added)
    string(APPEND batch_prototypes "\n/* from ${stem} */\n${batch_added}")
  endif()
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
put(${OUTPUT}/include/vdxcomn/batch.h "/* Conversions of whole arrays; generated from the lists of conversions.
 *
 * comnb_<source>to<destination> converts n values of one datatype of fixed size, or n texts of one
 * length, to values of another. What is stored for each value, and its code, are exactly those of
 * the conversion of a single value (conversions.h; date as a source is datetime, num is decimal
 * too). Every such pair that com_conv_func knows has a function, but for those to num and decimal: a
 * numeric is made with a precision and a scale, and these signatures carry none.
 *
 * Nothing is checked: these functions trust their caller. A null pointer, a stride or count that
 * leaves the arrays, a text length below 1 is undefined behaviour.
 *
 * context             texts only; may be null: no locale
 * format              texts only: maxlength is the length of every text in bytes, 1 or more, and
 *                     locale (null: the context's) governs them; nothing else of it is read
 * source              the first value or text; may be unaligned
 * source_stride       bytes from one value to the next: the size where they lie densely, which is
 *                     fastest; 0 where one value is repeated; may be negative
 * destination         the first destination; may be unaligned, may not overlap the source
 * destination_stride  likewise; may be negative, its magnitude at least the size of the datatype
 * codes               receives the n codes; null: not wanted
 * n                   number of values; with 0 nothing is read or written
 *
 * Nothing stops at a value that does not convert: every value has its code. What a single
 * conversion would leave alone keeps its value, but may be rewritten with it.
 *
 * Returns the number of values whose code is not VDX_SUCCESS. */
#ifndef VDXCOMN_BATCH_H
#define VDXCOMN_BATCH_H

#include \"vdxcomn/types.h\"

VDX_BEGIN_DECLS

typedef int64_t vdx_batch(const void *source, ptrdiff_t source_stride, void *destination,
                          ptrdiff_t destination_stride, int32_t *codes, size_t n);
typedef int64_t vdx_text_batch(vdx_context *context, const vdx_datafmt *format, const void *source,
                               ptrdiff_t source_stride, void *destination,
                               ptrdiff_t destination_stride, int32_t *codes, size_t n);
${batch_prototypes}
VDX_END_DECLS

#endif
")
put(${OUTPUT}/src/lists/batch.list "// Array conversions; generated from the lists of conversions.\n${batch_rows}")
list(JOIN exports "\n" names)
put(${OUTPUT}/exports.txt "${names}\n")
list(JOIN exports ";\n    " names)
put(${OUTPUT}/vdxcomn.map "VDXCOMN_${MAJOR} {\n  global:\n    ${names};\n  local:\n    *;\n};\n")
list(JOIN exports "\n  " names)
put(${OUTPUT}/vdxcomn.def "LIBRARY vdxcomn.dll\nEXPORTS\n  ${names}\n")
