# Sourced by the tests of installed trees, which set `source` and `libdir`. Makes $work, outside of the
# source tree, where CMake would refuse to install headers.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# block c|text: what README shows in blocks of that kind: its example, and what that prints.
block() { awk -v open="\`\`\`$1" '$0 == open { on = 1; next } $0 == "```" { on = 0 } on' "$source/README.md"; }

# prints PROGRAM...: the program prints what README says. On Windows lines end in two characters.
prints() { diff <(LD_LIBRARY_PATH=${libdir:-} "$@" | tr -d '\r') <(block text); }

# check_pages PREFIX: the licence is there, and what headers and manual name of the pages, and those
# of the examples.
check_pages() {
  local docs=$1/share/doc/vdxcomn names name
  names=$(grep -rhoE 'share/doc/vdxcomn/[a-z]+\.md' "$1/include" "$1/share/man" | sed 's|.*/||'
    grep -hoE 'examples/[a-z_]+\.c' "$docs"/*.md)
  [[ $names == *.md*.c ]] || { echo "names no page or no example"; exit 1; }
  for name in LICENSE $names; do
    [[ -s $docs/$name ]] || { echo "$name is not installed"; exit 1; }
  done
}
