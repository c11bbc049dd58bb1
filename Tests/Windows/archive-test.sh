#!/bin/bash
# Builds a host outside the repository with the unpacked archive, and runs it under Wine with a simulated driver.
# usage: archive-test.sh BUILD
set -euo pipefail
build=$(realpath -- "$1") here=$(realpath -- "$(dirname -- "$0")")
source=$(realpath -- "$here/../..")
folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT

fail() {
  echo "archive-test: $1" >&2
  exit 1
}

(cd -- "$folder" && cmake -E tar xf "$build"/ZVUWPSrvcLib-*-windows-x86_64.zip)
archive=$(echo "$folder"/ZVUWPSrvcLib-*)
for file in bin/ZVUWPSrvcLib.dll bin/zvctl.exe lib/ZVUWPSrvcLib.dll.a include/ZVUWPSrvcLib/VirtualDriver.h \
  include/ZVUWPSrvcLib/HostKit/HostKit.h testdriver/ZVKernelDriver.sys testdriver/zvdriver.exe samples/Host/Host.cpp; do
  [[ -e $archive/$file ]] || fail "the archive has no $file"
done

cmake -G Ninja -S "$here/../Install/Project" -B "$folder/build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$source/cmake/mingw-w64.cmake" -DZVUWPSrvcLib_DIR="$archive/lib/cmake/ZVUWPSrvcLib"
cmake --build "$folder/build"
# The program of the test driver's guide.
cmake -DGUIDE="$source/docs/TEST-DRIVER.md" -DFOLDER="$folder" -P "$source/cmake/ExtractExamples.cmake"
x86_64-w64-mingw32-g++-posix -std=c++20 -I"$archive/testdriver" "$folder/steer.cpp" -static -o "$folder/steer.exe"
cp -- "$folder/build/host.exe" "$archive/bin"/*.dll "$build/samples/VirtualDriver/VirtualDriver_UWP.dll" "$folder"
cd -- "$folder"
"$here/wine-session.sh" "$build/prefix" "$build/bin/zvdriver.exe" "$build/bin/ZVKernelDriver.sys" \
  bash -c "'$source/cmake/run-windows-program.sh' steer.exe && '$source/cmake/run-windows-program.sh' host.exe" \
  >"$folder/out"
lines=$(tr -d '\r' <"$folder/out")
[[ $(wc -l <<<"$lines") -eq 4 && $(head -1 <<<"$lines") =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] ||
  fail "the host printed: $lines"
