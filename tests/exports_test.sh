#!/usr/bin/env bash
# Holds the shared library or DLL against the list of exported functions and its own naming.
# Usage: exports_test.sh LIBRARY EXPORTS VERSION SOURCE [OBJDUMP of a DLL]
# SOURCE is empty where instrumentation writes paths of its own into the library.
set -euo pipefail
library=$1 exports=$2 version=$3 source=$4 objdump=${5:-}
failed=0

names() {
  if [[ -n $objdump ]]; then
    "$objdump" -p "$library" | awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } on && /\[/ { print $NF } on && /^$/ { exit }'
  else
    # The version node itself is listed as an absolute symbol.
    nm -D --defined-only "$library" | awk '$2 != "A" { sub("@.*", "", $3); print $3 }'
  fi
}
if ! diff <(sort "$exports") <(names | sort); then
  echo "above: < declared but not exported, > exported but not declared"
  failed=1
fi
if [[ -n $objdump ]]; then
  if "$objdump" -p "$library" | awk '/DLL Name:/ { print toupper($3) }' |
      grep -vxE 'KERNEL32\.DLL|ADVAPI32\.DLL|MSVCRT\.DLL|UCRTBASE\.DLL|API-MS-WIN-CRT-.*'; then
    echo "above: libraries that the DLL may not ask for"
    failed=1
  fi
  # The resource is UTF-16.
  grep -qaF "ProductVersion$version" <(tr -d '\0' <"$library") ||
    { echo "the version resource does not say $version"; failed=1; }
else
  readelf -d "$library" | grep -q "SONAME.*\[libvdxcomn\.so\.${version%%.*}\]" ||
    { echo "the SONAME is not libvdxcomn.so.${version%%.*}"; failed=1; }
fi
if [[ -n $source ]] && grep -qaF "$source" "$library"; then
  echo "the library holds the path of the source tree:"
  strings -a "$library" | grep -F "$source" | sort -u | head
  failed=1
fi
exit $failed
