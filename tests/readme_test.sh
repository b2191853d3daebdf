#!/usr/bin/env bash
# The C example that README shows is examples/readme.c, and prints what README says it prints.
# Usage: readme_test.sh SOURCE [EMULATOR...] PROGRAM
set -euo pipefail
source=$1
source "$source/tests/install/common.sh"

diff "$source/examples/readme.c" <(block c)
prints "${@:2}"
