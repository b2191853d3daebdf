#!/usr/bin/env bash
# Makes the .zip of a finished build, unpacks it, and builds and runs README's example there.
# Usage: zip_test.sh SOURCE BUILD CC [EMULATOR...]
set -euo pipefail
source=$1 build=$2 cc=$3
shift 3
source "$source/tests/install/common.sh"

package=$("$source/scripts/package" zip "$work" "$build")
(cd "$work" && cmake -E tar xf "$package")
tree=${package%.zip}
check_pages "$tree"
[[ -s $tree/LICENSE ]]
for way in dll.a a; do
  flags=(-std=c11)
  [[ $way == dll.a ]] || flags+=(-DVDXCOMN_STATIC -static)
  "$cc" "${flags[@]}" -I"$tree/include" "$source/examples/readme.c" "$tree/lib/libvdxcomn.$way" -lstdc++ \
    -o "$tree/bin/readme.exe"
  prints "$@" "$tree/bin/readme.exe"
done
[[ $("$@" "$tree/bin/vdxconv.exe" char i4 ' -42') == -42 ]]
