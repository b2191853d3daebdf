# Builds for 64-bit Windows on Debian: g++-mingw-w64-x86-64-posix compiles, wine64 runs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own libraries go into each binary, which then asks for those of Windows alone.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -static)
endforeach()

find_program(VDX_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(VDX_WINE)
  # A prefix of the build's own: nothing of the user's is read or changed. No menus, no display.
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_COMMAND};-E;env;WINEPREFIX=${CMAKE_BINARY_DIR}/wine;WINEDEBUG=-all
      WINEDLLOVERRIDES=winemenubuilder.exe,mscoree,mshtml,winedbg.exe=d;--unset=DISPLAY;${VDX_WINE})
endif()
