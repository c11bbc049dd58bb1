  $ set -o pipefail
  $ run() {
  >   printf '%b' "$1" | zvctl script -
  > }

Blanks separate words, quotes group them, and # starts a comment.

  $ run '\n \t# nothing\nability 0 # three\r\n'
  3
  $ run "ability 'WL600U Wi-Fi'\nability \"#2\"\nability WL6'3'0\"U\""
  3
  12
  12
  $ run "reg write 0 'a b' --data \"it's # 1\"\nreg read 0 \"a b\""
  it's # 1
  $ run "ability ''"
  ! zvctl: script: stdin:1: ability: several adapters match ""; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  [3]
  $ run "\nability 'WL600U\nability 0"
  ! zvctl: script: stdin:2: unterminated quote (')
  [2]

A script stops at the first line that fails, with exit code 2 for a syntax error and 1 for a failure.

  $ run 'ability 0\n\nget 0 0x99 x\nability 0'
  3
  ! zvctl: script: stdin:3: get: LENGTH: "x" is not a number up to 67108864; run 'help get'
  [2]
  $ run 'ability 2\nability 0'
  ! zvctl: script: stdin:1: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5): no value "ZVSrvcLibSupport" in the driver key; the driver reports no ability
  [3]
  $ run 'shell'
  ! zvctl: script: stdin:1: "shell" does not work in a session
  [2]
  $ run 'list --trace 4'
  ! zvctl: script: stdin:1: list: no option "--trace"; run 'help list'
  [2]
  $ run 'wait nothing'
  ! zvctl: script: stdin:1: wait: EVENT: "nothing" is none of status-changed, arrived, suspend, resume, driver-uninstalled; run 'help wait'
  [2]
  $ run 'hang 0 perhaps'
  ! zvctl: script: stdin:1: hang: on|off: "perhaps" is none of on, off; run 'help hang'
  [2]
  $ run 'unplug WL9999'
  ! zvctl: script: stdin:1: unplug: no adapter matches "WL9999"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  !   4  {E2A97C40-1D36-4B8E-9C05-84F1B6D3720A}  Gigabit Ethernet Controller
  [3]
  $ run 'unplug Gigabit\nslow 3 1'
  ! zvctl: script: stdin:2: slow: this adapter has no driver
  [5]
  $ run 'wait resume 0'
  ! zvctl: script: stdin:1: wait: no event resume within 0 s
  [4]
  $ run 'help nothing'
  ! zvctl: script: stdin:1: help: no command "nothing"; run 'help' for a list
  [2]
  $ zvctl script /nowhere
  ! zvctl: script: /nowhere: cannot be read: No such file or directory
  [2]
  $ zvctl script /tmp
  ! zvctl: script: /tmp: cannot be read
  [2]

Lines with help, and the end of a session.

  $ run 'help' | grep -E '^  (list|unplug|wait|quit) '
    list                        List the adapters that pass a filter
    unplug                      Remove an adapter
    wait                        Wait for an event and discard others
    quit                        End the session
  $ run 'help wait\nquit\nfoo' | grep -E 'Usage|EVENT '
  Usage: wait [OPTIONS] EVENT [SECONDS]
    EVENT REQUIRED              status-changed, arrived, suspend, resume, driver-uninstalled
  $ run 'plug --help\nexit\nfoo' | grep Usage
  Usage: plug [OPTIONS] ADAPTER

Lines for scripts.

  $ run 'echo  "a  b" --json [c] # d\nsleep 0.01\nexpect-fail info 3 --json\necho done'
  a  b --json [c]
  {"error":{"command":"info","operation":"OpenDevice","status":14,"name":"ZV_SRVC_ERR_DEVICE_NOT_OPEN","exitCode":5,"message":"OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): \"Zorvane WL900E Wi-Fi 6E PCIe Adapter\" is disabled, problem 22; run 'zvctl explain problem 22'"}}
  done
  $ run 'expect-fail get 0 1 4\nexpect-fail ability 0'
  00000000  00 00 00 00                                      |....|
  ! zvctl: script: stdin:1: expect-fail: "get 0 1 4" succeeded
  [1]
  $ run 'expect-fail get 0'
  ! zvctl: script: stdin:1: get: ID is required; run 'help get'
  [2]
  $ run 'expect-fail'
  ! zvctl: script: stdin:1: expect-fail: COMMAND is required; run 'help expect-fail'
  [2]
  $ run 'sleep -1'
  ! zvctl: script: stdin:1: sleep: SECONDS: "-1" is not a number of seconds; run 'help sleep'
  [2]
  $ run 'sleep 1e3'
  ! zvctl: script: stdin:1: sleep: SECONDS: "1e3" is not a number of seconds; run 'help sleep'
  [2]
  $ run 'assert 0 ready\nassert 3 not ready\nassert 3 problem\nassert 0 not ready'
  ! zvctl: script: stdin:4: assert: the flags of "Zorvane WL600U Wi-Fi 6 USB Adapter" are ready; expected not ready
  [1]
  $ run 'assert 3 ready'
  ! zvctl: script: stdin:1: assert: the flags of "Zorvane WL900E Wi-Fi 6E PCIe Adapter" are problem; expected ready
  [1]
  $ run 'assert 3 red'
  ! zvctl: script: stdin:1: assert: FLAG: "red" is none of ready, problem, absent, driver-changed, driver-uninstalled; run 'help assert'
  [2]
  $ run 'assert 3 no ready'
  ! zvctl: script: stdin:1: assert: FLAG: "no" is not "not"; run 'help assert'
  [2]
  $ run 'assert WL9999 ready' 2>&1 | head -n 1
  ! zvctl: script: stdin:1: assert: no adapter matches "WL9999"; choose one of:
  [3]

A shell continues after an error.

  $ printf 'foo\nability 9\nability 0' | zvctl shell
  3
  ! zvctl: no command "foo"; run 'help'
  ! zvctl: ability: no adapter matches "9"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
