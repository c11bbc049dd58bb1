#!/bin/bash
# Uses the library as a project outside the repository does.
# usage: install-test.sh find-package|pkg-config|add-subdirectory|guides BUILD
set -euo pipefail
how=$1 build=$(realpath -- "$2") here=$(realpath -- "$(dirname -- "$0")")
source=$(realpath -- "$here/../..")
# A fixed folder, so that the compiler cache knows the files of an earlier run.
folder=$build/outside/$how
rm -rf -- "$folder"
mkdir -p -- "$folder"
cp -r -- "$here/Project" "$folder/project"

fail() {
  echo "install-test: $1" >&2
  exit 1
}

# The installed files are moved before they are used, because an archive can be unpacked anywhere.
install_library() {
  cmake --install "$build" --prefix "$folder/first" >/dev/null
  mv -- "$folder/first" "$folder/prefix"
  libraries=$(dirname -- "$(find "$folder/prefix" -name libZVUWPSrvcLib.so)")
}

build_project() {
  cmake -G Ninja -S "$1" -B "$2" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache)" "${@:3}"
  cmake --build "$2" -j2
}

# The program prints the version and the adapters of a machine file, from a folder without any file.
expect_adapters() {
  local count=$1 machine=$2 lines
  mkdir -p "$folder/empty"
  lines=$(cd "$folder/empty" && env -u LD_LIBRARY_PATH ZV_MACHINE="$machine" "${@:3}")
  [[ $(wc -l <<<"$lines") -eq $((count + 1)) && $(head -1 <<<"$lines") =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] ||
    fail "the host printed: $lines"
}

case $how in
find-package)
  install_library
  build_project "$folder/project" "$folder/build" -DCMAKE_PREFIX_PATH="$folder/prefix"
  expect_adapters 4 "$folder/prefix/share/zvuwpsrvclib/Machines/default.json" "$folder/build/host"
  # A library with the plain name of a published function takes none of the calls.
  echo 'extern "C" long RegOpenKeyA() { __builtin_trap(); }' | g++ -shared -fPIC -x c++ - -o "$folder/other.so"
  expect_adapters 4 "$folder/prefix/share/zvuwpsrvclib/Machines/default.json" \
    env LD_PRELOAD="$folder/other.so" "$folder/build/host"
  samples=$(dirname -- "$(find "$folder/prefix" -path '*/samples/CMakeLists.txt')")
  build_project "$samples" "$folder/samples" -DCMAKE_PREFIX_PATH="$folder/prefix"
  cd "$folder/empty"
  ZV_MACHINE=$folder/prefix/share/zvuwpsrvclib/Machines/default.json "$folder/samples/sample_host"
  cd "$folder/samples/VirtualDriver"
  [[ $("$folder/samples/list_host" | wc -l) -eq 3 ]] || fail "the sample simulated driver has not been used"
  ;;
pkg-config)
  install_library
  export PKG_CONFIG_PATH=$libraries/pkgconfig
  [[ $(pkg-config --modversion zvuwpsrvclib) == $("$folder/prefix/bin/zvctl" --version | cut -d' ' -f2) ]] ||
    fail "zvctl and the pkg-config file have different versions"
  # shellcheck disable=SC2046 # several words
  g++ -std=c++20 "$folder/project/host.cpp" -o "$folder/host" $(pkg-config --cflags --libs zvuwpsrvclib)
  expect_adapters 4 "$folder/prefix/share/zvuwpsrvclib/Machines/default.json" \
    env LD_LIBRARY_PATH="$libraries" "$folder/host"
  ;;
add-subdirectory)
  # The parent may combine sources in one compilation; it takes half the time.
  build_project "$folder/project" "$folder/build" -DZV_SOURCE="$source" -DCMAKE_UNITY_BUILD=ON
  # Without a driver, because the driver model is a sample.
  cat >"$folder/machine.json" <<'JSON'
{ "adapters": [{ "netCfgInstanceId": "{3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}", "hardwareId": "USB\\\\VID_5A56&PID_6001",
    "deviceInstanceId": "USB\\\\VID_5A56&PID_6001\\\\1", "service": "ZvWlanU", "driverVersion": "3.4.1.207" }] }
JSON
  expect_adapters 1 "$folder/machine.json" "$folder/build/host"
  targets=$(cmake --build "$folder/build" --target help | sed -nE 's/^([A-Za-z_]+): phony$/\1/p' |
    grep -vxE 'all|test|edit_cache|rebuild_cache' | sort | tr '\n' ' ')
  [[ $targets == "PlatformJson ZVPlatform ZVSrvcObjects ZVUWPSrvcLib " ]] || fail "the parent project has: $targets"
  ctest --test-dir "$folder/build" -N | grep -q 'Total Tests: 0' || fail "the parent project got tests"

  # Without any package, the library builds, and the stand-in refuses machine files.
  build_project "$folder/project" "$folder/build" -DZV_SOURCE="$source" -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON
  [[ $("$folder/build/host" | wc -l) -eq 1 ]] || fail "the host does not work without machine files"
  code=0
  ZV_MACHINE=$folder/machine.json "$folder/build/host" 2>"$folder/errors" || code=$?
  errors=$(<"$folder/errors")
  [[ $code -eq 2 && $errors == *"built without nlohmann_json"* ]] || fail "code $code: $errors"
  ;;
guides)
  install_library
  count=0
  for guide in "$source"/docs/*.md; do
    grep -q '^```cmake file=CMakeLists.txt' "$guide" || continue
    project=$folder/$(basename -- "$guide" .md)
    cmake -DGUIDE="$guide" -DFOLDER="$project" -P "$source/cmake/ExtractExamples.cmake"
    build_project "$project" "$project/build" -DCMAKE_PREFIX_PATH="$folder/prefix"
    ctest --test-dir "$project/build" --output-on-failure --no-tests=error
    count=$((count + 1))
  done
  ((count > 0)) || fail "no guide has a project"
  cmake -DGUIDE="$source/docs/MACHINE-FILE.md" -DFOLDER="$folder/machine" -P "$source/cmake/ExtractExamples.cmake"
  "$folder/prefix/bin/zvctl" --machine "$folder/machine/machine.json" info WL600U
  # shellcheck disable=SC2016 # backquotes of Markdown
  sed -n '/^```zvctl$/,/^```$/p' "$source/docs/ZVCTL.md" | grep -v '^```' | "$folder/prefix/bin/zvctl" script -
  ;;
*) fail "no such case: $how" ;;
esac
