# cmake --install: headers, both libraries, the CMake package, the pkg-config file, and what headers
# and manual point to: pages and examples.
# Every install directory may be relative to the prefix or absolute.

set(vdx_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vdxcomn)

install(TARGETS vdxcomn_shared vdxcomn_static EXPORT vdxcomnTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(FILES ${vdx_conversions_header} ${vdx_batch_header}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vdxcomn)

file(GLOB vdx_pages CONFIGURE_DEPENDS docs/*.md)
file(GLOB vdx_examples CONFIGURE_DEPENDS examples/*.c examples/data/*.cfg)
install(FILES ${vdx_pages} LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${vdx_examples} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

install(EXPORT vdxcomnTargets NAMESPACE vdxcomn:: DESTINATION ${vdx_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vdxcomnConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vdxcomnConfig.cmake INSTALL_DESTINATION ${vdx_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vdxcomnConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vdxcomnConfig.cmake
              ${PROJECT_BINARY_DIR}/vdxcomnConfigVersion.cmake DESTINATION ${vdx_package_dir})

# A relative library directory lets the pkg-config file find its prefix from its own place, so
# `cmake --install --prefix` and a moved tree both work. From an absolute one nothing leads back.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(vdx_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH vdx_pc_up /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
  set(vdx_pc_prefix "\${pcfiledir}/${vdx_pc_up}")
  string(REGEX REPLACE "/$" "" vdx_pc_prefix "${vdx_pc_prefix}")
endif()
foreach(kind lib include)
  string(TOUPPER ${kind} upper)
  set(vdx_pc_${kind}dir "\${prefix}")
  cmake_path(APPEND vdx_pc_${kind}dir ${CMAKE_INSTALL_${upper}DIR})  # an absolute one replaces
endforeach()
list(TRANSFORM vdx_cxx_runtime PREPEND "-l" OUTPUT_VARIABLE vdx_pc_private)
list(APPEND vdx_pc_private ${CMAKE_THREAD_LIBS_INIT})
list(JOIN vdx_pc_private " " vdx_pc_private)
configure_file(${PROJECT_SOURCE_DIR}/cmake/vdxcomn.pc.in ${PROJECT_BINARY_DIR}/vdxcomn.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vdxcomn.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
