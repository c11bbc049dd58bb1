#!/bin/bash
# Runs the same commands with zvctl and with zvctl.exe, each with the simulated driver of the same build
# in the current directory, and compares outputs and exit codes.
# usage: zvctl-outputs.sh BUILD_LINUX BUILD_WINDOWS
# Requires the environment and the running server of wine-session.sh.
set -eu
linux=$(realpath -- "$1") windows=$(realpath -- "$2")

count=0
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
for side in linux windows; do
  mkdir "$work/$side"
  cp -- "${!side}/samples/VirtualDriver/VirtualDriver_UWP.dll" "$work/$side"
  printf '\001\002\n\r\n' >"$work/$side/data.bin"
done
# The machines differ, and with a simulated driver neither is looked at.
unset ZV_MACHINE ZV_VIRTUAL_SCRIPT

failed() {
  echo "zvctl-outputs: $1" >&2
  exit 1
}

# run SIDE INPUT PROGRAM... stores stdout, stderr and the exit code next to the side's folder.
run() {
  local side=$1 input=$2 code=0
  shift 2
  (cd -- "$work/$side" && printf '%b' "$input" | timeout 60 "$@" >"$work/$side.out" 2>"$work/$side.err") || code=$?
  echo "$code" >"$work/$side.code"
}

# compare EXIT_CODE INPUT ARGUMENT...
compare() {
  local expected=$1 input=$2 part
  shift 2
  run linux "$input" "$linux/bin/zvctl" "$@"
  run windows "$input" wine "$windows/bin/zvctl.exe" "$@"
  # Wine says so when a process ends while its other threads are at something.
  sed -i '/^wine client error:/d' "$work/windows.err"
  for part in code err out; do
    diff --text --unified "$work/linux.$part" "$work/windows.$part" || failed "zvctl $*: $part differs"
  done
  [[ $(<"$work/windows.code") == "$expected" ]] || failed "zvctl $*: exit code $(<"$work/windows.code")"
  count=$((count + 1))
}

compare 0 '' --version

compare 0 '' list
compare 0 '' list --json
compare 0 '' list --filter ZV_USB
compare 0 '' info 0
compare 0 '' info 1 --json
compare 1 '' ability 0
compare 0 '' get 0 0x10 6
compare 0 '' get 0 0x10 6 --json
compare 0 '' get 0 0x10 6 --raw
compare 0 '' set 0 0x10 0a0b0c0d0e0f
compare 0 '' ioctl 0 0x222000 --in text:hello --out 5
compare 0 '' ioctl 0 0x222000 --in text:grün --out 5
compare 0 '' ioctl 0 0x222000 --in @data.bin --out 5 --raw
compare 0 '' ioctl 0 0x122428 --out 100 --json
compare 0 '' reg write 0 Speed --type dword --data 300
compare 0 '' watch --count 0
compare 0 '' watch --json --for 0

# One process for many lines: what is written can be read back.
compare 0 'set 2 0x10 0a0b0c0d0e0f\nget 2 0x10 6\nreg write 2 Speed --type dword --data 300\nreg read 2 Speed
reg write 2 Name --data "a  b" # of two words\r\nreg read 2 Name --json\nreg delete 2 Name\nquit\nlist\n' script -
compare 1 'info 0\nability 0\nlist\n' script -
compare 0 'nonsense\nget 99 0 1\nlist\nhelp list\nexit\n' shell

# Each kind of failure with its message.
compare 1 '' info 99
compare 1 '' info nobody
compare 1 '' ioctl 0 0x222004 --async --out 4 --timeout 1 --patience 1
compare 2 '' nonsense
compare 2 '' get 0 0x10
compare 2 '' get 0 zero 6
compare 2 '' set 0 0x10 0
compare 2 '' set 0 0x10 @missing.bin
compare 2 '' list --filter "$(printf 'x%.0s' {1..50})"
compare 2 '' watch --for soon
compare 2 '' script missing.zv
compare 2 'list\n"open\n' script -
echo "zvctl-outputs: $count commands agree"
