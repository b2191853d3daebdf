# What is exported is written down once: VDX_API in the public headers, and the rows of the lists in
# generic/src/lists. This file derives from them the source files of the conversions, the headers of conversion prototypes, the list of
# array conversions, the list of exported names, the ELF version script and the DLL's definition
# file, and does so again whenever a header or list changes.

set(vdx_generated ${PROJECT_BINARY_DIR}/generated)
set(vdx_conversions_header ${vdx_generated}/include/vdxcomn/conversions.h)
set(vdx_batch_header ${vdx_generated}/include/vdxcomn/batch.h)
set(vdx_batch_list ${vdx_generated}/src/lists/batch.list)
set(vdx_export_list ${vdx_generated}/exports.txt)
set(vdx_version_script ${vdx_generated}/vdxcomn.map)
set(vdx_definitions ${vdx_generated}/vdxcomn.def)

file(GLOB vdx_lists CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/generic/src/lists/*.list)
file(GLOB vdx_public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/vdxcomn/*.h)

# A source file for each list of conversions, and the list of all lists.
set(vdx_conversion_sources)
set(vdx_includes "// Every conversion, by source; generated from the files that there are.\n")
foreach(list IN LISTS vdx_lists)
  get_filename_component(stem ${list} NAME_WE)
  if(stem MATCHES "^com_")
    file(CONFIGURE OUTPUT ${vdx_generated}/src/convert/${stem}.cpp
         CONTENT "#include \"convert/define.h\"\n#include \"lists/${stem}.list\"\n")
    list(APPEND vdx_conversion_sources ${vdx_generated}/src/convert/${stem}.cpp)
    string(APPEND vdx_includes "#include \"lists/${stem}.list\"\n")
  endif()
endforeach()
file(CONFIGURE OUTPUT ${vdx_generated}/src/lists/all.list CONTENT "${vdx_includes}")

add_custom_command(
  OUTPUT ${vdx_conversions_header} ${vdx_batch_header} ${vdx_batch_list} ${vdx_export_list}
         ${vdx_version_script} ${vdx_definitions}
  COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DOUTPUT=${vdx_generated}
          -DMAJOR=${PROJECT_VERSION_MAJOR} -P ${PROJECT_SOURCE_DIR}/cmake/GenerateLists.cmake
  DEPENDS ${vdx_lists} ${vdx_public_headers} ${PROJECT_SOURCE_DIR}/cmake/GenerateLists.cmake
  COMMENT "Deriving prototypes and export list")
add_custom_target(vdx_lists DEPENDS ${vdx_conversions_header} ${vdx_batch_header}
                  ${vdx_batch_list} ${vdx_export_list} ${vdx_version_script} ${vdx_definitions})
