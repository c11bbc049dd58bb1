Help and version.

  $ [ "$(zvctl --version)" = "zvctl $ZVCTL_VERSION" ]
  $ zvctl --help | grep -E '^(Usage|  (list|shell) |Exit codes)'
  Usage: zvctl [OPTIONS] [SUBCOMMAND]
    list                        List the adapters that pass a filter
    shell                       Run an interactive session; 'help' lists its commands
  Exit codes: 0 success; 1 failure; 2 wrong usage or a bad machine file; 3 not found; 4 time-out;
  $ zvctl reg read --help | grep Usage
  Usage: zvctl reg read [OPTIONS] ADAPTER [SUBKEY] NAME

A mistake on the command line ends with exit code 2.

  $ zvctl lst
  ! zvctl: no command "lst"; did you mean "list"? run 'zvctl --help'
  [2]
  $ zvctl walk
  ! zvctl: no command "walk"; run 'zvctl --help'
  [2]
  $ zvctl wait arrived
  ! zvctl: "wait" works in 'zvctl shell' and 'zvctl script' only
  [2]
  $ zvctl plug 0
  ! zvctl: plug: this command changes the machine of another process, which --connect names, or works in 'zvctl shell' and 'zvctl script'
  [2]
  $ zvctl reg rea 0
  ! zvctl: reg: no command "rea"; did you mean "read"? run 'zvctl reg --help'
  [2]
  $ zvctl list --filtre
  ! zvctl: list: no option "--filtre"; did you mean "--filter"? run 'zvctl list --help'
  [2]
  $ zvctl list --filtr=ZV_USB
  ! zvctl: list: no option "--filtr"; did you mean "--filter"? run 'zvctl list --help'
  [2]
  $ zvctl --colour never list
  ! zvctl: list: no option "--colour"; did you mean "--color"? run 'zvctl list --help'
  [2]
  $ zvctl list -- --json
  ! zvctl: list: unexpected argument "--json"; run 'zvctl list --help'
  [2]
  $ zvctl list 0
  ! zvctl: list: unexpected argument "0"; run 'zvctl list --help'
  [2]
  $ zvctl list --filter
  ! zvctl: list: --filter requires a value; run 'zvctl list --help'
  [2]
  $ zvctl list --filter A --filter B
  ! zvctl: list: --filter is given more than once; run 'zvctl list --help'
  [2]
  $ zvctl reg read 0
  ! zvctl: reg read: NAME is required; run 'zvctl reg read --help'
  [2]
  $ zvctl list --unknown
  ! zvctl: list: no option "--unknown"; run 'zvctl list --help'
  [2]
  $ zvctl list --filter 12345678901234567890123456789012345678901234567890
  ! zvctl: list: --filter: expected 1 to 49 characters; run 'zvctl list --help'
  [2]
  $ zvctl --trace 0 list
  ! zvctl: list: --trace: "0" selects no message; expected 1 to 4; run 'zvctl list --help'
  [2]
  $ zvctl --trace 4:32 list
  ! zvctl: list: --trace: "32" is not a number up to 31; run 'zvctl list --help'
  [2]
  $ zvctl --trace loud
  ! zvctl: --trace: "loud" is not a number up to 4; run 'zvctl --help'
  [2]
  $ zvctl --trace 4:0x1G list
  ! zvctl: list: --trace: "0x1G" is not a number up to 31; run 'zvctl list --help'
  [2]
  $ zvctl --trace 256 list
  ! zvctl: list: --trace: "256" is not a number up to 4; run 'zvctl list --help'
  [2]
  $ zvctl get 0 0x10
  ! zvctl: get: LENGTH is required; run 'zvctl get --help'
  [2]
  $ zvctl get 0 1x 6
  ! zvctl: get: ID: "1x" is not a number up to 4294967295; run 'zvctl get --help'
  [2]
  $ zvctl get 0 0x10 0x4000001
  ! zvctl: get: LENGTH: "0x4000001" is not a number up to 67108864; run 'zvctl get --help'
  [2]
  $ zvctl get 0 0x10 6 --raw --json
  {"error":{"command":"get","operation":"get","status":null,"name":null,"exitCode":2,"message":"--raw excludes --json; run 'zvctl get --help'"}}
  [2]
  $ zvctl set 0 0x10 010
  ! zvctl: set: DATA: "010" is not pairs of hexadecimal digits; run 'zvctl set --help'
  [2]
  $ zvctl set 0 0x10 0g
  ! zvctl: set: DATA: "0g" is not pairs of hexadecimal digits; run 'zvctl set --help'
  [2]
  $ zvctl set 0 0x10 @/nowhere
  ! zvctl: set: DATA: /nowhere: cannot be read: No such file or directory; run 'zvctl set --help'
  [2]
  $ zvctl set 0 0x10 @/dev/zero
  ! zvctl: set: DATA: more than 67108864 bytes; run 'zvctl set --help'
  [2]
  $ zvctl ioctl 0 1 --id 65536
  ! zvctl: ioctl: --id: "65536" is not a number up to 65535; run 'zvctl ioctl --help'
  [2]
  $ zvctl ioctl 0 1 --patience 5
  ! zvctl: ioctl: --patience requires --async; run 'zvctl ioctl --help'
  [2]
  $ zvctl reg write 0 N --type dword --data 0x100000000
  ! zvctl: reg write: --data: "0x100000000" is not a number up to 4294967295; run 'zvctl reg write --help'
  [2]
  $ zvctl reg write 0 N --data 1 --type qword
  ! zvctl: reg write: --type: "qword" is none of sz, dword, binary; run 'zvctl reg write --help'
  [2]
  $ zvctl reg read 0 A B C
  ! zvctl: reg read: unexpected argument "C"; run 'zvctl reg read --help'
  [2]
  $ zvctl reg
  ! zvctl: reg: one of read, write, delete is required; run 'zvctl reg --help'
  [2]

The command help prints what --help prints, and describes the commands of a session.

  $ diff <(zvctl help) <(zvctl --help)
  $ diff <(zvctl help reg read) <(zvctl reg read --help)
  $ zvctl help assert | grep -E 'Usage|works'
  Usage: assert [OPTIONS] ADAPTER [not] FLAG
  This command works in 'zvctl shell' and 'zvctl script' only.
  $ zvctl help lists
  ! zvctl: help: no command "lists"; did you mean "list"? run 'help' for a list
  [2]

A full disk is a failure.

  $ "$ZVCTL" list >/dev/full
  zvctl: list: standard output: No space left on device
  [1]
