#!/usr/bin/env bash
# Installs a finished build and uses it as strangers do: the installed example as a C11 and as a
# C++20 program, each through find_package and pkg-config, with the shared and the static library.
# Usage: install_test.sh relative|absolute SOURCE BUILD CMAKE CC CXX FLAGS
set -euo pipefail
directories=$1 source=$2 build=$3 cmake=$4 cc=$5 cxx=$6 flags=$7
source "$source/tests/install/common.sh"

configure() {
  "$cmake" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release "$@"
}

if [[ $directories == relative ]]; then
  "$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
  mv "$work/first" "$work/moved"  # nothing may remember where it was first put
  libdir=$(dirname "$(find "$work/moved" -name libvdxcomn.so)") docs=$work/moved/share/doc/vdxcomn
  check_pages "$work/moved"
else
  # The directories are fixed when a tree is configured. A second tree takes over what the first
  # one built, so only the installing is done again.
  libdir=$work/libraries/here docs=$work/pages/here
  configure -S "$source" -B "$work/tree" -DVDX_TESTS=OFF -DVDX_TOOLS=OFF \
    -DCMAKE_INSTALL_PREFIX="$work/prefix" -DCMAKE_INSTALL_LIBDIR="$libdir" \
    -DCMAKE_INSTALL_INCLUDEDIR="$work/headers/here" -DCMAKE_INSTALL_DOCDIR="$docs" >"$work/install.log"
  cp -a "$build"/libvdxcomn.* "$build/generated" "$work/tree/"
  "$cmake" --install "$work/tree" >>"$work/install.log"
fi
program=$docs/examples/readme.c

for language in C CXX; do
  tree=$work/find_package_$language
  configure -S "$source/tests/install" -B "$tree" -DLANGUAGE=$language -DPROGRAM="$program" \
    -DCMAKE_${language}_FLAGS="$flags" -Dvdxcomn_DIR="$libdir/cmake/vdxcomn" >"$tree.log"
  "$cmake" --build "$tree" >>"$tree.log" || { cat "$tree.log"; exit 1; }
  prints "$tree/use_vdxcomn"
  prints "$tree/use_vdxcomn_static"
done

export PKG_CONFIG_PATH=$libdir/pkgconfig
mkdir "$work/archive"
cp "$libdir/libvdxcomn.a" "$work/archive/"
for compiler in "$cc -std=c11 -x c" "$cxx -std=c++20 -x c++"; do
  for link in '' "--static --define-variable=libdir=$work/archive"; do
    # Unquoted on purpose: compilers, flags and pkg-config's answers are lists of words.
    $compiler $flags "$program" -x none $(pkg-config $link --cflags --libs vdxcomn) -o "$work/program"
    prints "$work/program"
    if [[ -n $link ]] && readelf -d "$work/program" | grep -q 'NEEDED.*libvdxcomn'; then
      echo "the shared library was linked instead of the archive"
      exit 1
    fi
  done
done
