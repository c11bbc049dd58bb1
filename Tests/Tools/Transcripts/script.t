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
  [1]
  $ run "\nability 'WL600U\nability 0"
  ! zvctl: script: stdin:2: unterminated quote (')
  [2]

A script stops at the first line that fails, with exit code 2 for a syntax error and 1 for a failure.

  $ run 'ability 0\n\nget 0 0x99 x\nability 0'
  3
  ! zvctl: script: stdin:3: get: LENGTH: "x" is not a number up to 67108864
  [2]
  $ run 'ability 2\nability 0'
  ! zvctl: script: stdin:1: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5)
  [1]
  $ run 'shell'
  ! zvctl: script: stdin:1: no command "shell"; run 'help'
  [2]
  $ run 'list --trace 4'
  ! zvctl: script: stdin:1: list: not expected: --trace 4
  [2]
  $ run 'wait nothing'
  ! zvctl: script: stdin:1: wait: EVENT: "nothing" is none of status-changed, arrived, suspend, resume, driver-uninstalled
  [2]
  $ run 'hang 0 perhaps'
  ! zvctl: script: stdin:1: hang: on|off: "perhaps" is none of on, off
  [2]
  $ run 'unplug WL9999'
  ! zvctl: script: stdin:1: unplug: no adapter matches "WL9999"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  !   4  {E2A97C40-1D36-4B8E-9C05-84F1B6D3720A}  Gigabit Ethernet Controller
  [1]
  $ run 'unplug Gigabit\nslow 3 1'
  ! zvctl: script: stdin:2: slow: this adapter has no driver
  [1]
  $ run 'wait resume 0'
  ! zvctl: script: stdin:1: wait: no event resume within 0 s
  [1]
  $ run 'help nothing'
  ! zvctl: script: stdin:1: help: no command "nothing"; run 'help'
  [1]
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

A shell continues after an error.

  $ printf 'foo\nability 9\nability 0' | zvctl shell
  3
  ! zvctl: no command "foo"; run 'help'
  ! zvctl: ability: no adapter matches "9"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
