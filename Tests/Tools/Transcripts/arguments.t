Help and version.

  $ [ "$(zvctl --version)" = "zvctl $ZVCTL_VERSION" ]
  $ zvctl --help | grep -E '^(Usage|  (list|shell) |Exit codes)'
  Usage: zvctl [OPTIONS] [SUBCOMMAND]
    list                        List the adapters that pass a filter
    shell                       Run an interactive session; 'help' lists its commands
  Exit codes: 0 done; 1 the operation failed; 2 wrong usage or a bad machine file.
  $ zvctl reg read --help | grep Usage
  Usage: zvctl reg read [OPTIONS] ADAPTER [SUBKEY] NAME

A mistake on the command line ends with exit code 2.

  $ zvctl walk
  ! The following argument was not expected: walk
  ! Run with --help for more information.
  [2]
  $ zvctl list --unknown
  ! The following argument was not expected: --unknown
  ! Run with --help for more information.
  [2]
  $ zvctl list --filter 12345678901234567890123456789012345678901234567890
  ! --filter: at most 49 characters
  ! Run with --help for more information.
  [2]
  $ zvctl --trace loud
  ! --trace: "loud" is not a number up to 255
  ! Run with --help for more information.
  [2]
  $ zvctl --trace 4:0x1G list
  ! --trace: "0x1G" is not a number up to 4294967295
  ! Run with --help for more information.
  [2]
  $ zvctl --trace 256 list
  ! --trace: "256" is not a number up to 255
  ! Run with --help for more information.
  [2]
  $ zvctl get 0 0x10
  ! LENGTH is required
  ! Run with --help for more information.
  [2]
  $ zvctl get 0 1x 6
  ! ID: "1x" is not a number up to 4294967295
  ! Run with --help for more information.
  [2]
  $ zvctl get 0 0x10 0x4000001
  ! LENGTH: "0x4000001" is not a number up to 67108864
  ! Run with --help for more information.
  [2]
  $ zvctl get 0 0x10 6 --raw --json
  ! --raw excludes --json
  ! Run with --help for more information.
  [2]
  $ zvctl set 0 0x10 010
  ! DATA: "010" is not pairs of hexadecimal digits
  ! Run with --help for more information.
  [2]
  $ zvctl set 0 0x10 0g
  ! DATA: "0g" is not pairs of hexadecimal digits
  ! Run with --help for more information.
  [2]
  $ zvctl set 0 0x10 @/nowhere
  ! DATA: /nowhere: cannot be read: No such file or directory
  ! Run with --help for more information.
  [2]
  $ zvctl set 0 0x10 @/dev/zero
  ! DATA: more than 67108864 bytes
  ! Run with --help for more information.
  [2]
  $ zvctl ioctl 0 1 --id 65536
  ! --id: "65536" is not a number up to 65535
  ! Run with --help for more information.
  [2]
  $ zvctl ioctl 0 1 --patience 5
  ! --patience requires --async
  ! Run with --help for more information.
  [2]
  $ zvctl reg write 0 N --type dword --data 0x100000000
  ! --data: "0x100000000" is not a number up to 4294967295
  ! Run with --help for more information.
  [2]
  $ zvctl reg write 0 N --data 1 --type qword
  ! --type: qword not in {sz,dword,binary}
  ! Run with --help for more information.
  [2]
  $ zvctl reg read 0 A B C
  ! PATH: At Most 2 required but received 3
  ! Run with --help for more information.
  [2]
  $ zvctl reg
  ! A subcommand is required
  ! Run with --help for more information.
  [2]

A full disk is a failure.

  $ "$ZVCTL" list >/dev/full
  zvctl: list: standard output: No space left on device
  [1]
