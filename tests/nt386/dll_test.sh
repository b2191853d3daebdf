#!/usr/bin/env bash
# Holds the DLL against the list of exported functions and of the libraries that it may ask for.
# Usage: dll_test.sh DLL EXPORTS VERSION OBJDUMP [SOURCE]
set -euo pipefail
dll=$1 exports=$2 version=$3 objdump=$4 source=$5
failed=0

if ! diff <(sort "$exports") <("$objdump" -p "$dll" |
    awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } on && /\[/ { print $NF } on && /^$/ { exit }' |
    sort); then
  echo "above: < declared but not exported, > exported but not declared"
  failed=1
fi
if "$objdump" -p "$dll" | awk '/DLL Name:/ { print toupper($3) }' |
    grep -vxE 'KERNEL32\.DLL|ADVAPI32\.DLL|MSVCRT\.DLL|UCRTBASE\.DLL|API-MS-WIN-CRT-.*'; then
  echo "above: libraries that the DLL may not ask for"
  failed=1
fi
# The resource is UTF-16.
if ! grep -qaF "ProductVersion$version" <(tr -d '\0' <"$dll"); then
  echo "the version resource does not say $version"
  failed=1
fi
if grep -qaF "$source" "$dll"; then
  echo "the DLL holds the path of the source tree:"
  strings -a "$dll" | grep -F "$source" | sort -u | head
  failed=1
fi
exit $failed
