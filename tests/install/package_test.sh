#!/usr/bin/env bash
# Makes the .deb pair of a finished build, unpacks it, and builds and runs README's example there.
# Usage: package_test.sh SOURCE BUILD CC
set -euo pipefail
source=$1 build=$2 cc=$3
source "$source/tests/install/common.sh"

# Refused: no such kind, one tree for two systems, a tree of the other system, a word too many.
for words in "nonsense out" "all out $build" "zip out $build" "deb out $build more"; do
  # shellcheck disable=SC2086  # a list of words
  (cd "$work" && ! "$source/scripts/package" $words >log 2>&1 && [[ -s log && ! -e out ]]) ||
    { echo "package $words: made something, or said nothing"; exit 1; }
done

# Both paths are the caller's.
mapfile -t packages < <(cd "$work" && "$source/scripts/package" deb out "$(realpath --relative-to=. "$build")")
[[ ${packages[0]} == "$work"/out/* ]] || { echo "made ${packages[0]}"; exit 1; }
((${#packages[@]} == 2)) || { echo "made ${packages[*]}"; exit 1; }
for package in "${packages[@]}"; do
  dpkg-deb -x "$package" "$work/tree"
  dpkg-deb -e "$package" "$work/control"
  (cd "$work/tree" && md5sum --quiet -c "$work/control/md5sums")
  name=$(dpkg-deb -f "$package" Package)
  [[ $name == *-dev ]] || runtime=$name
  # One package alone brings the shared library, the other all else, and asks for it.
  depends=$(dpkg-deb -f "$package" Depends)
  expected="libc6 (>= 2*" libraries=2
  if [[ $name == *-dev ]]; then
    expected="$runtime (= $(dpkg-deb -f "$package" Version)), libc6 (>= 2*" libraries=0
  fi
  # shellcheck disable=SC2053  # a pattern
  [[ $depends == $expected ]] || { echo "$name depends on $depends"; exit 1; }
  [[ $(dpkg-deb -c "$package" | grep -c '/libvdxcomn\.so\.1') == "$libraries" ]] ||
    { echo "$name: not $libraries names of the shared library"; exit 1; }
  grep -q '^License: Apache-2.0' "$work/tree/usr/share/doc/$name/copyright"
done

libdir=$(dirname "$(find "$work/tree" -name libvdxcomn.so)")
gunzip "$work/tree/usr/share/man/man1/vdxconv.1.gz"
check_pages "$work/tree/usr"
export PKG_CONFIG_LIBDIR=$libdir/pkgconfig PKG_CONFIG_SYSROOT_DIR=
# Unquoted on purpose: a list of words.
"$cc" -std=c11 "$source/examples/readme.c" $(pkg-config --cflags --libs vdxcomn) -o "$work/readme"
prints "$work/readme"
[[ $("$work/tree/usr/bin/vdxconv" char i4 ' -42') == -42 ]]
