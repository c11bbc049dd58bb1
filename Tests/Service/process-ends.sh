#!/bin/bash
# Starts hosts that exit in every way during every kind of work of the library, and prints the results.
# usage: process-ends.sh BUILD_DIR [COUNT]
# COUNT starts over all kinds in turn (1000), with a host that links the library and one that loads
# it in turn; 0 for one start of each kind. Exit code 1 when one hung, crashed or ended otherwise.
set -u
suffix='' launcher='' jobs=2
# On a real system the hosts' adapters are the same ones.
[ -e "$1/bin/process_host" ] || suffix=.exe launcher=$(dirname -- "$0")/../../cmake/run-windows-program.sh jobs=1
hosts=("$1/bin/process_host$suffix" "$1/bin/loading_host$suffix")
export launcher
drivers=$1/Tests/Support/drivers/all
count=${2:-1000}
mapfile -t kinds < <(${launcher:+"$launcher"} "${hosts[0]}" kinds | tr -d '\r')
[ ${#kinds[@]} -gt 0 ] || exit 1
[ "$count" -gt 0 ] || count=${#kinds[@]}

# A host that ends without letting go of its objects leaves a thread of theirs that has ended unjoined.
export TSAN_OPTIONS=${TSAN_OPTIONS:-}:report_thread_leaks=0

# Prints the kind and how the start ended.
start_one() {
  local said code how=other
  said=$(
    [ -z "$launcher" ] || ulimit -S -t 10
    timeout --signal=KILL 30 ${launcher:+"$launcher"} "$1" "$2" "$3" "$4" 2>&1
  )
  code=$?
  # Wine terminates other threads even while they hold the spin locks of its own wait queues. The thread that
  # exits then spins on a lock without an owner, in about one of 300 exits of a host that receives events without
  # a pause. A hang of the library sleeps and uses no CPU time, so a start that spins is repeated, three times at
  # most.
  if [ -n "$launcher" ] && [ "$code" -eq 152 ] && [ "${5:-0}" -lt 3 ]; then
    printf '%s %s: spun in Wine, started again\n' "$2" "$3" >&2
    start_one "$1" "$2" "$3" "$4" $((${5:-0} + 1))
    return
  fi
  case $code in
  7) how=ok ;;
  137) how=hang ;;
  13[0-9] | 1[4-9]?) how=crash ;;
  esac
  [ "$how" = ok ] || printf '%s %s %s: code %s\n%s\n' "$(basename "$1")" "$2" "$3" "$code" "$said" >&2
  echo "$2 $3 $how"
}
export -f start_one

for ((i = 0; i < count; ++i)); do
  kind=$((i % ${#kinds[@]}))
  # The host changes from kind to kind, and for a kind from turn to turn.
  echo "${hosts[(i / ${#kinds[@]} + kind) % 2]} ${kinds[kind]} $drivers"
done | xargs -P "$jobs" -L 1 bash -c 'start_one "$@"' start | awk '
    { kind = $1 " " $2; if (!starts[kind]++) kinds[++last] = kind; ++ends[kind, $3]; ++all[$3] }
    function line(name, starts, ok, hang, crash, other) {
        printf "%-34s %5d starts %5d ok %3d hung %3d crashed %3d otherwise\n", name, starts, ok, hang, crash, other
    }
    END {
        for (i = 1; i <= last; ++i) {
            kind = kinds[i]
            line(kind, starts[kind], ends[kind, "ok"], ends[kind, "hang"], ends[kind, "crash"], ends[kind, "other"])
        }
        line("total", NR, all["ok"], all["hang"], all["crash"], all["other"])
        exit NR == 0 || all["ok"] != NR
    }'
