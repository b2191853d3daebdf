#!/usr/bin/env bash
# Installs a finished build and uses it as strangers do: a C11 and a C++20 program, each through
# find_package and pkg-config, each with the shared and with the static library.
# Usage: install_test.sh relative|absolute SOURCE BUILD CMAKE CC CXX FLAGS
set -euo pipefail
directories=$1 source=$2 build=$3 cmake=$4 cc=$5 cxx=$6 flags=$7

# CMake refuses to install headers below the source tree, where the build lies.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [[ $directories == relative ]]; then
  "$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
  mv "$work/first" "$work/moved"  # nothing may remember where it was first put
  libdir=$(dirname "$(find "$work/moved" -name libvdxcomn.so)")
else
  # The directories are fixed when a tree is configured. A second tree takes over what the first
  # one built, so only the installing is done again.
  libdir=$work/libraries/here
  "$cmake" -S "$source" -B "$work/tree" -G Ninja -DVDX_TESTS=OFF -DVDX_TOOLS=OFF \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$work/prefix" -DCMAKE_INSTALL_LIBDIR="$libdir" \
    -DCMAKE_INSTALL_INCLUDEDIR="$work/headers/here" >"$work/install.log"
  cp -a "$build"/libvdxcomn.* "$build/generated" "$work/tree/"
  "$cmake" --install "$work/tree" >>"$work/install.log"
fi

expect() {
  local output
  output=$(LD_LIBRARY_PATH=$libdir "$1")
  [[ $output == 1234.57 ]] || { echo "$1 printed '$output'"; exit 1; }
}

for language in C CXX; do
  tree=$work/find_package_$language
  "$cmake" -S "$source/tests/install" -B "$tree" -G Ninja -DLANGUAGE=$language \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
    -Dvdxcomn_DIR="$libdir/cmake/vdxcomn" >"$tree.log"
  "$cmake" --build "$tree" >>"$tree.log" || { cat "$tree.log"; exit 1; }
  expect "$tree/use_vdxcomn"
  expect "$tree/use_vdxcomn_static"
done

export PKG_CONFIG_PATH=$libdir/pkgconfig
mkdir "$work/archive"
cp "$libdir/libvdxcomn.a" "$work/archive/"
for language in c c++; do
  if [[ $language == c ]]; then compiler="$cc -std=c11"; else compiler="$cxx -std=c++20"; fi
  # Unquoted on purpose: compilers, flags and pkg-config's answers are lists of words.
  $compiler $flags -x $language "$source/tests/install/consumer.c" -x none \
    $(pkg-config --cflags --libs vdxcomn) -o "$work/pkg_config_$language"
  expect "$work/pkg_config_$language"
  $compiler $flags -x $language "$source/tests/install/consumer.c" -x none \
    $(pkg-config --static --define-variable=libdir="$work/archive" --cflags --libs vdxcomn) \
    -o "$work/pkg_config_static_$language"
  expect "$work/pkg_config_static_$language"
  if readelf -d "$work/pkg_config_static_$language" | grep -q 'NEEDED.*libvdxcomn'; then
    echo "the shared library was linked instead of the archive"
    exit 1
  fi
done
