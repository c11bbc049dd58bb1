#!/bin/bash
# Makes each allocation, thread start and platform call of one use of the library fail in turn, each in a
# separate process, and prints how many points of each kind there were.
# usage: failure-sweep.sh FAILURE_HOST [STEP]
# STEP: tests every STEPth point only; 1 by default.
# Exit code 1 when a run hung, crashed, left something half done, or could not use the library afterwards.
set -u
host=$1 step=${2:-1}
# A thread of an object that a failed call destroyed may end after the process has checked.
export TSAN_OPTIONS=${TSAN_OPTIONS:-}:report_thread_leaks=0

run_one() {
  local said code
  said=$(timeout --signal=KILL 30 "$@" 2>&1)
  code=$?
  [ "$code" -eq 7 ] || [ "$code" -eq 8 ] || printf '%s: code %s\n%s\n' "${*:2}" "$code" "$said" >&2
  echo "$2 $code"
}
export -f run_one

calls=(CM_Get_DevNode_Status CancelIo CancelIoEx CloseHandle CreateEventW CreateFileA CreateWindowExW DeviceIoControl
  GetMessageW GetOverlappedResult PostThreadMessageW RegCloseKey RegDeleteKeyValueA RegFlushKey RegOpenKeyA RegOpenKeyW
  RegQueryValueExA RegSetValueExA RegisterClassExW RegisterDeviceNotificationW RegisterTraceGuidsW SendMessageW
  SetupDiClassGuidsFromNameW SetupDiDestroyDeviceInfoList SetupDiEnumDeviceInfo SetupDiGetClassDevsW
  SetupDiGetDeviceRegistryPropertyW SetupDiOpenClassRegKey WaitForMultipleObjects WaitForSingleObject)
counts=$("$host" count "${calls[@]}") || exit 1
{
  while read -r kind count; do
    # Other threads may make a few calls more or fewer from run to run.
    for ((n = 1; n <= count + step; n += step)); do
      echo "$host $kind $n"
    done
  done <<<"$counts"
  # What the exit needs cannot be counted from inside the process; this is more than it does.
  for ((n = 1; n <= 30; n += step)); do
    echo "$host exit allocation $n"
  done
  for call in SendMessageW PostThreadMessageW UnregisterTraceGuids CloseHandle; do
    echo "$host exit $call 1"
  done
} | xargs -P 8 -L 1 bash -c 'run_one "$@"' run | awk '
    $2 == 7 { ++failed[$1 == "allocation" || $1 == "thread" || $1 == "exit" ? $1 : "platform call"]; ++all }
    $2 == 8 { ++beyond }
    $2 != 7 && $2 != 8 { ++bad }
    END {
        for (kind in failed)
            printf "%-14s %4d points\n", kind, failed[kind]
        printf "%-14s %4d points, %d runs without a failure, %d bad\n", "total", all, beyond, bad
        exit bad > 0 || all == 0 || beyond == 0
    }'
