A terminal of 70 columns cuts the longest columns; a pipe does not.

  $ on_terminal() {
  >   script -qec "stty cols 70; $1" /dev/null </dev/null | tr -d '\r'
  > }
  $ on_terminal "$ZVCTL --color never list --filter ZV_USB"
  #  NAME              BUS  SERVICE   VERSION    IDENTITY          FLAGS
  0  Zorvane WL600U \xe2\x80\xa6  USB  zvwlanu   3.4.1.207  {3F0C2A84-6E1B-\xe2\x80\xa6  ready (esc)
  1  Zorvane WL630U \xe2\x80\xa6  USB  zvlwlanu  1.9.12.40  {C7E45D19-08B2-\xe2\x80\xa6  ready (esc)
  $ zvctl list --filter ZV_USB | head -n 1 | wc -c
  111
  $ on_terminal "$ZVCTL explain" | LC_ALL=C.UTF-8 wc -L
  70

Colours.

  $ on_terminal "TERM=xterm NO_COLOR= $ZVCTL list --filter ZV_PCIE" | cat -v
  ^[[1m#  NAME             BUS   SERVICE  VERSION   IDENTITY          FLAGS^[[0m
  0  Zorvane WL900EM-bM-^@M-&  PCIe  zvwlane  2.1.0.58  {9B1D6F2C-57A8-M-bM-^@M-&  ^[[31mproblem^[[0m
  $ on_terminal "NO_COLOR=1 $ZVCTL list --filter ZV_PCIE" | grep -c "$(printf '\033')"
  0
  [1]
  $ zvctl list --filter ZV_SDIO | grep -c "$(printf '\033')"
  0
  [1]
  $ zvctl --color always info 9 | cat
  ! \x1b[31mzvctl:\x1b[0m info: no adapter matches "9"; choose one of: (esc)
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  $ zvctl --color sometimes list
  ! zvctl: list: --color: "sometimes" is none of auto, always, never; run 'zvctl list --help'
  [2]

The history is kept for the next session, and only the user can read it.

  $ export XDG_STATE_HOME=$PWD/state
  $ printf 'echo one\necho two\nquit\n' | script -qec "$ZVCTL shell" /dev/null >/dev/null
  $ sed 's/\\040/ /g' state/zvctl/history
  _HiStOrY_V2_
  echo one
  echo two
  quit
  $ stat -c %a state/zvctl state/zvctl/history
  700
  600
  $ printf '\033[A\033[A\nquit\n' | script -qec "$ZVCTL shell" /dev/null | grep -c '^two'
  1

A history that cannot be written ends no session.

  $ printf 'echo one\nquit\n' | XDG_STATE_HOME=/dev/null script -qec "$ZVCTL shell" /dev/null | grep '^one' | tr -d '\r'
  one
