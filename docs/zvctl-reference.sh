#!/bin/bash
# Writes the help texts of zvctl and all its commands as a Markdown page to stdout.
# usage: zvctl-reference.sh ZVCTL
set -euo pipefail
zvctl=$(realpath -- "$1")

# The names in the list of commands of a help text.
commands_of() { sed -nE '/^Subcommands:/,$ s/^ {2}([a-z][a-z-]*)( .*)?$/\1/p'; }

in_session() { "$zvctl" script - <<<"help $*"; }

# section TITLE TEXT
section() {
  cat <<TEXT

### $1

\`\`\`text
$2
\`\`\`
TEXT
}

# describe WORD...; prints the help of a command, then that of the commands below it.
describe() {
  local help name
  help=$("$zvctl" "$@" --help)
  section "$*" "${help%$'\n\n'"$footer"}"
  for name in $(commands_of <<<"$help"); do
    describe "$@" "$name"
  done
}

overview=$("$zvctl" --help)
# The last paragraph, which every help text repeats.
footer=${overview##*$'\n\n'}
names=$(commands_of <<<"$overview")
session_names=$(in_session | commands_of)
if [[ -z $names || -z $session_names ]]; then
  echo "zvctl-reference: no commands in the help of $zvctl" >&2
  exit 1
fi

cat <<TEXT
# zvctl reference

The help texts of \`zvctl\`, as the program prints them. [ZVCTL.md](docs/ZVCTL.md) explains the commands by example.

\`\`\`text
$overview
\`\`\`

## Commands
TEXT
for name in $names; do
  describe "$name"
done
cat <<'TEXT'

## Commands of sessions

These lines work in `shell` and `script`, like the commands above.
TEXT
for name in $session_names; do
  grep -qxF -- "$name" <<<"$names" || section "$name" "$(in_session "$name")"
done
