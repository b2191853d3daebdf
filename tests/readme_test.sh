#!/usr/bin/env bash
# The C example that README shows is examples/readme.c, and prints what README says it prints.
# Usage: readme_test.sh SOURCE [EMULATOR...] PROGRAM
set -euo pipefail
block() { awk -v open="\`\`\`$1" '$0 == open { on = 1; next } $0 == "```" { on = 0 } on' "$2"; }

diff "$1/examples/readme.c" <(block c "$1/README.md")
# Programs on Windows end their lines in two characters.
diff <("${@:2}" | tr -d '\r') <(block text "$1/README.md")
