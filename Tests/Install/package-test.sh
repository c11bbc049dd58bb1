#!/bin/bash
# Checks the packages in a build folder: installs the Debian packages, builds a project outside the repository with
# them, and removes them. Requires root rights; without them, only the contents of the packages are checked.
# usage: package-test.sh BUILD
set -euo pipefail
build=$(realpath -- "$1") here=$(realpath -- "$(dirname -- "$0")")
packages=("$build"/*.deb)
folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT

fail() {
  echo "package-test: $1" >&2
  exit 1
}

names=()
for package in "${packages[@]}"; do
  names+=("$(dpkg-deb -f "$package" Package)")
done
[[ ${names[*]} == "libzvuwpsrvclib-dev libzvuwpsrvclib-doc libzvuwpsrvclib1 zvctl" ]] || fail "packages: ${names[*]}"
tar -tzf "$build"/*.tar.gz >"$folder/archive"
grep -q '/bin/zvctl$' "$folder/archive" || fail "the archive has no zvctl"
if ((EUID != 0)); then
  echo "package-test: not installed, because that requires root rights"
  exit 0
fi

apt-get install -y --no-install-recommends "${packages[@]}" >"$folder/log" 2>&1 || fail "$(cat "$folder/log")"
cp -r -- "$here/Project" "$folder/project"
if ! { cmake -G Ninja -S "$folder/project" -B "$folder/build" && cmake --build "$folder/build"; } >"$folder/log"; then
  fail "$(cat "$folder/log")"
fi
ZV_MACHINE=/usr/share/zvuwpsrvclib/Machines/default.json "$folder/build/host" >"$folder/out"
[[ $(wc -l <"$folder/out") -eq 5 ]] || fail "the host printed: $(cat "$folder/out")"
zvctl list >"$folder/out"
[[ $(grep -c ready "$folder/out") -eq 3 ]] || fail "zvctl printed: $(cat "$folder/out")"

files=$(dpkg -L "${names[@]}" | sort -u)
apt-get purge -y "${names[@]}" >"$folder/log" 2>&1 || fail "$(cat "$folder/log")"
while read -r file; do
  [[ ! -e $file && ! -L $file ]] || [[ -d $file && $file != *zvuwpsrvclib* && $file != *ZVUWPSrvcLib* ]] ||
    fail "left behind: $file"
done <<<"$files"
echo "package-test: installed, used and removed ${names[*]}"
