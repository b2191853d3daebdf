#!/usr/bin/env bash
# Holds the shared library against the list of exported functions and its own naming.
# Usage: exports_test.sh LIBRARY EXPORTS MAJOR [SOURCE]
# SOURCE is left out where instrumentation writes paths of its own into the library.
set -euo pipefail
library=$1 exports=$2 major=$3 source=${4:-}
failed=0

# The version node itself is listed as an absolute symbol.
if ! diff <(sort "$exports") \
    <(nm -D --defined-only "$library" | awk '$2 != "A" { sub("@.*", "", $3); print $3 }' | sort); then
  echo "above: < declared but not exported, > exported but not declared"
  failed=1
fi
if ! readelf -d "$library" | grep -q "SONAME.*\[libvdxcomn\.so\.$major\]"; then
  echo "the SONAME is not libvdxcomn.so.$major"
  failed=1
fi
if [[ -n $source ]] && grep -qaF "$source" "$library"; then
  echo "the library holds the path of the source tree:"
  strings -a "$library" | grep -F "$source" | sort -u | head
  failed=1
fi
exit $failed
