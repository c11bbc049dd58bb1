#!/bin/bash
# Runs the commands of a transcript in an empty folder and compares what they print with the transcript.
# usage: run-transcript.sh BUILD TRANSCRIPT [--accept]
# With --accept, the transcript is replaced by what its commands printed; wildcards are lost.
#
# The command "zvctl" runs the tool of that build: zvctl.exe, in the session of wine-session.sh, if there is one.
# It prints stdout before stderr and puts "! " before each line of stderr.
set -euo pipefail
build=$(realpath -- "$1") transcript=$(realpath -- "$2") accept=${3:-}

ZVCTL=$build/bin/zvctl ZV_RUNNER='' ZV_BUILD=$build ZV_SOURCE=$(realpath -- "$(dirname -- "$0")/../..")
if [ -e "$ZVCTL.exe" ]; then
  # cram sets TMPDIR, which would select another Wine session.
  ZVCTL=$ZVCTL.exe ZV_RUNNER='env -u TMPDIR wine'
fi
# Otherwise the machine or the simulated driver would depend on the caller.
unset ZV_MACHINE ZV_VIRTUAL_SCRIPT

# Wine terminates other threads even inside its own locks. In about one of 1000 exits the last thread then spins
# on a lock without an owner: such a run uses up its CPU time and is repeated once. A hang uses none and fails.
# shellcheck disable=SC2317 # zvctl calls it
run_tool() {
  local code=0
  # shellcheck disable=SC2086 # the runner is several words or none
  (
    [ -z "$ZV_RUNNER" ] || ulimit -S -t 10
    # cram sets the C locale, in which Wine would change arguments that are not ASCII.
    LC_ALL=C.UTF-8 exec timeout 60 $ZV_RUNNER "$ZVCTL" "${@:2}"
  ) >"$1/out" 2>"$1/err" || code=$?
  return "$code"
}

# cram calls it.
# shellcheck disable=SC2317
zvctl() {
  local files code=0
  # Files, because background processes of Wine keep pipes open.
  files=$(mktemp -d)
  run_tool "$files" "$@" || code=$?
  if [ "$code" -eq 152 ]; then
    code=0
    run_tool "$files" "$@" || code=$?
  fi
  cat -- "$files/out"
  # Wine reports a process that exits while its other threads are in a call.
  sed '/^wine client error:/d; s/^/! /' "$files/err" >&2
  rm -r -- "$files"
  return "$code"
}

export ZVCTL ZV_RUNNER ZV_BUILD ZV_SOURCE
export -f run_tool zvctl

# cram writes a differing output next to the transcript.
copy=$(mktemp -d)
trap 'rm -rf -- "$copy"' EXIT
cp -- "$transcript" "$copy"
cram=$(command -v cram3 || command -v cram)
code=0
"$cram" --shell=/bin/bash "$copy/${transcript##*/}" || code=$?
if [ "$accept" = --accept ] && [ -e "$copy/${transcript##*/}.err" ]; then
  cp -- "$copy/${transcript##*/}.err" "$transcript"
fi
exit "$code"
