Help and version.

  $ [ "$(zvctl --version)" = "zvctl $ZVCTL_VERSION" ]
  $ zvctl --help | grep -E '^(Usage|  (list|shell) |Exit codes)'
  Usage: zvctl [OPTIONS] [SUBCOMMAND]
    list                        List the adapters that pass a filter
    shell                       Run an interactive session; 'help' lists its commands
  Exit codes: 0 success; 1 the operation failed; 2 wrong usage or a bad machine file.
  $ zvctl reg read --help | grep Usage
  Usage: zvctl reg read [OPTIONS] ADAPTER [SUBKEY] NAME

A mistake on the command line ends with exit code 2.

  $ zvctl walk
  ! zvctl: not expected: walk; run 'zvctl --help'
  [2]
  $ zvctl list --unknown
  ! zvctl: list: not expected: --unknown; run 'zvctl list --help'
  [2]
  $ zvctl list --filter 12345678901234567890123456789012345678901234567890
  ! zvctl: list: --filter: at most 49 characters; run 'zvctl list --help'
  [2]
  $ zvctl --trace loud
  ! zvctl: --trace: "loud" is not a number up to 255; run 'zvctl --help'
  [2]
  $ zvctl --trace 4:0x1G list
  ! zvctl: list: --trace: "0x1G" is not a number up to 4294967295; run 'zvctl list --help'
  [2]
  $ zvctl --trace 256 list
  ! zvctl: list: --trace: "256" is not a number up to 255; run 'zvctl list --help'
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
  ! zvctl: get: --raw excludes --json; run 'zvctl get --help'
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
  ! zvctl: reg read: PATH: At Most 2 required but received 3; run 'zvctl reg read --help'
  [2]
  $ zvctl reg
  ! zvctl: reg: a subcommand is required; run 'zvctl reg --help'
  [2]

A full disk is a failure.

  $ "$ZVCTL" list >/dev/full
  zvctl: list: standard output: No space left on device
  [1]
