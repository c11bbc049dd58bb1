#!/bin/bash
# Runs a command in a separate Wine prefix and ends all processes that it started.
# usage: wine-session.sh PREFIX ZVDRIVER DRIVER COMMAND [ARGUMENT...]
# A missing prefix is created. zvdriver.exe loads the driver before the command, which inherits the
# environment for its programs.
set -eu
prefix=$(realpath -m -- "$1") tool=$2 driver=$3
shift 3

export WINEPREFIX=$prefix WINEDEBUG=-all
# No questions about missing runtimes, no entries in menus, and a crash ends a program at once.
export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe='
unset DISPLAY
# Wine identifies a session by the prefix and this folder.
unset TMPDIR

wine_quietly() { timeout 120 wine "$@" </dev/null >/dev/null 2>&1; }

# Most of a new prefix are copies of Wine's own files, some 600 MB of them.
share_files() {
  local own=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows file
  for file in "$prefix"/drive_c/windows/system32/*; do
    if [ -f "$file" ] && [ ! -L "$file" ] && cmp -s "$file" "$own/${file##*/}"; then
      ln -sf "$own/${file##*/}" "$file"
    fi
  done
}

make_prefix() {
  rm -rf "$prefix"
  mkdir -p "$prefix"
  wine_quietly wineboot -i
  # Windows without a screen.
  wine_quietly reg add 'HKCU\Software\Wine\Drivers' /v Graphics /t REG_SZ /d null /f
  timeout 60 wineserver -k || true
  timeout 60 wineserver -w || true
  share_files
  touch "$prefix/.complete"
}

end_all() { timeout 60 wineserver -k || true; }

[ -e "$prefix/.complete" ] || make_prefix
trap end_all EXIT
# A persistent server: otherwise drivers are unloaded with the last process. The first process's children
# keep its outputs open, so they are discarded.
wineserver -p >/dev/null 2>&1
wine_quietly wineboot
# A driver that is left of an interrupted run may be another file.
timeout 60 wine "$tool" uninstall
# shellcheck disable=SC1003 # one backslash for tr, not a quote
timeout 60 wine "$tool" install "Z:$(realpath -- "$driver" | tr / '\\')"
timeout 60 wine "$tool" start
"$@"
