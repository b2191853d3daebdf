#!/usr/bin/env bash
# Keeps one wine server with its services for all the programs of a run: left to themselves each
# program starts and stops them, or meets them going. Usage: wine.sh start|stop EMULATOR...
set -euo pipefail
action=$1
shift
# What the emulator's command line sets counts for the server too; its last word is wine.
server=("${@:1:$#-1}" "$(dirname "$(readlink -f "${@: -1}")")/wineserver")
[[ -x ${server[-1]} ]] || server[-1]=wineserver

# The services keep the streams they are started with.
exec </dev/null >/dev/null 2>&1
if [[ $action == start ]]; then
  "${server[@]}" -k || true
  "${server[@]}" -w
  "${server[@]}" -p120 # seconds after the last program, should nothing stop it
  "$@" cmd /c exit 0
else
  "${server[@]}" -k
fi
