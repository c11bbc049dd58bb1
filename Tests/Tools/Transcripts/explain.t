A name or a number, and all meanings of an ambiguous one.

  $ zvctl explain ZV_SRVC_ERR_DEVICE_NOT_OPEN
  ZV_SRVC_ERR_DEVICE_NOT_OPEN (status 14)
    meaning  the device is not bound to an adapter that can be used
    cause    the adapter is absent, disabled or faulty, or the device was closed
    remedy   run 'zvctl doctor'; enable the adapter or plug it in, then open it again
  $ zvctl explain 0x10 | grep -v '^  '
  ZV_SRVC_ERR_ASYNC_PENDING (status 16)
  
  driver-uninstalled (flag 0x10)
  
  CM_PROB_PARTIAL_LOG_CONF (problem 16)
  $ for words in 'problem 22' 'cm_prob_disabled' 'flag problem' problem 'device-not-open' 'event driver-uninstalled'; do
  >   zvctl explain $words | head -n 1
  > done
  CM_PROB_DISABLED (problem 22)
  CM_PROB_DISABLED (problem 22)
  problem (flag 0x1)
  problem (flag 0x1)
  ZV_SRVC_ERR_DEVICE_NOT_OPEN (status 14)
  driver-uninstalled (event 0x10005)
  $ zvctl explain arived
  ! zvctl: explain: "arived" cannot be explained; did you mean "arrived"? run 'zvctl explain' for a list
  [2]
  $ zvctl explain status 22
  ! zvctl: explain: "22" cannot be explained; run 'zvctl explain' for a list
  [2]
  $ zvctl explain 1 2
  ! zvctl: explain: expected a number or a name, or "status", "flag", "event" or "problem" before it
  [2]
  $ zvctl explain | grep -E ' (22|0|65537) '
  status   0       ZV_SRVC_SUCCESS                     the operation succeeded
  flag     0       ready                               the adapter can be used
  event    65537   status-changed                      adapters left, failed, recovered or changed their driver
  problem  22      CM_PROB_DISABLED                    the device is disabled

Every status of the library.

  $ statuses=$(grep -oE 'ZV_SRVC_(SUCCESS|ERR_[A-Z_]+) = [0-9]+' "$ZV_SOURCE/SrvcMain/Inc/ZVStatus.h")
  $ while read -r name _ number; do
  >   [ "$(zvctl explain "$name" | head -n 1)" = "$name (status $number)" ] || echo "missing: $name"
  >   zvctl explain status "$number" | grep -qx "$name (status $number)" || echo "missing: $number"
  > done <<<"$statuses"
  $ wc -l <<<"$statuses"
  13

Every flag and event that zvctl prints.

  $ printf '%s\n' 'unplug 1' 'wait status-changed --json' 'plug 1' 'wait arrived --json' 'problem 0 10' \
  >   'wait status-changed --json' 'driver-version 2 9' 'wait arrived --json' suspend 'wait suspend --json' resume \
  >   'wait resume --json' 'uninstall 1' 'wait driver-uninstalled --json' | zvctl script - >printed
  $ names=$(grep -oE '"(event|flags)":("[^"]*"|\[[^]]*\])' printed | sed 's/^[^:]*://' | grep -oE '[a-z-]+' | sort -u)
  $ echo $names
  absent arrived driver-changed driver-uninstalled problem ready resume status-changed suspend
  $ for name in $names; do
  >   zvctl explain "$name" | grep -q "^$name (" || echo "missing: $name"
  > done
