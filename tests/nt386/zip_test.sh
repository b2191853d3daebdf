#!/usr/bin/env bash
# Makes the .zip of a finished build, unpacks it, and builds and runs README's example there.
# Usage: zip_test.sh SOURCE BUILD CC [EMULATOR...]
set -euo pipefail
source=$1 build=$2 cc=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

package=$("$source/scripts/package" zip "$work" "$build")
(cd "$work" && cmake -E tar xf "$package")
tree=${package%.zip}
block() { awk -v open="\`\`\`$1" '$0 == open { on = 1; next } $0 == "```" { on = 0 } on' "$source/README.md"; }
block c >"$work/readme.c"
for way in dll.a a; do
  flags=(-std=c11)
  [[ $way == dll.a ]] || flags+=(-DVDXCOMN_STATIC -static)
  "$cc" "${flags[@]}" -I"$tree/include" "$work/readme.c" "$tree/lib/libvdxcomn.$way" -lstdc++ \
    -o "$tree/bin/readme.exe"
  diff <("$@" "$tree/bin/readme.exe" | tr -d '\r') <(block text)
done
[[ $("$@" "$tree/bin/vdxconv.exe" char i4 ' -42') == -42 ]]
