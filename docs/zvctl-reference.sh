#!/bin/bash
# Writes the help texts of zvctl and all its commands as a Markdown page to stdout.
# usage: zvctl-reference.sh ZVCTL
set -euo pipefail
zvctl=$(realpath -- "$1")

# The names in the list of commands of a help text.
commands_of() { sed -nE '/^Subcommands:/,$ s/^ {2}([a-z][a-z-]*)( .*)?$/\1/p'; }

# describe LEVEL [WORD...]; prints a heading with the help of a command, then the commands below it.
describe() {
  local level=$1 help name names
  shift
  help=$("$zvctl" "$@" --help)
  printf '\n%s %s\n\n```text\n%s\n```\n' "$level" "zvctl${*:+ $*}" "$help"
  names=$(commands_of <<<"$help")
  for name in $names; do
    describe "##" "$@" "$name"
  done
  [[ $# -gt 0 || -n $names ]] || {
    echo "zvctl-reference: no commands in the help of $zvctl" >&2
    return 1
  }
}

cat <<'TEXT'
# zvctl reference

The help texts of `zvctl`, as the program prints them. [ZVCTL.md](ZVCTL.md) explains the commands by example.
TEXT
describe "##"
