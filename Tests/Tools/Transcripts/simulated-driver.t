A simulated driver in the current folder replaces the machine's adapters. The tool prints the same on Linux and on
Windows: this transcript runs on both.

  $ cp "$ZV_BUILD/samples/VirtualDriver/VirtualDriver_UWP.dll" .
  $ printf '\001\002\n\r\n' >data.bin
  $ [ "$(zvctl --version)" = "zvctl $ZVCTL_VERSION" ]

Adapters.

  $ zvctl list
  #  NAME                          BUS   SERVICE  VERSION  IDENTITY                                FLAGS
  0  Zorvane Virtual USB Adapter   USB   zvwlanu  1.0.0.1  {5A560001-0000-4000-8000-000000000001}  ready
  1  Zorvane Virtual SDIO Adapter  SDIO  zvwlans  1.0.0.1  {5A560001-0000-4000-8000-000000000002}  ready
  2  Zorvane Virtual PCIe Adapter  PCIe  zvwlane  1.0.0.1  {5A560001-0000-4000-8000-000000000003}  ready
  $ zvctl list --json
  [
    {
      "deviceName": "Zorvane Virtual USB Adapter",
      "driverKeyIndex": "0001",
      "deviceInstanceId": "USB\\VID_5A56&PID_0001\\VIRTUAL1",
      "driverVersion": "1.0.0.1",
      "netCfgInstanceId": "{5A560001-0000-4000-8000-000000000001}",
      "infSection": "ZvVirtual.ndi",
      "service": "zvwlanu",
      "bus": "USB",
      "stateFlags": 0,
      "flags": [
        "ready"
      ]
    },
    {
      "deviceName": "Zorvane Virtual SDIO Adapter",
      "driverKeyIndex": "0002",
      "deviceInstanceId": "SD\\VID_5A56&PID_0002\\VIRTUAL2",
      "driverVersion": "1.0.0.1",
      "netCfgInstanceId": "{5A560001-0000-4000-8000-000000000002}",
      "infSection": "ZvVirtual.ndi",
      "service": "zvwlans",
      "bus": "SDIO",
      "stateFlags": 0,
      "flags": [
        "ready"
      ]
    },
    {
      "deviceName": "Zorvane Virtual PCIe Adapter",
      "driverKeyIndex": "0003",
      "deviceInstanceId": "PCI\\VEN_5A56&DEV_0003\\VIRTUAL3",
      "driverVersion": "1.0.0.1",
      "netCfgInstanceId": "{5A560001-0000-4000-8000-000000000003}",
      "infSection": "ZvVirtual.ndi",
      "service": "zvwlane",
      "bus": "PCIe",
      "stateFlags": 0,
      "flags": [
        "ready"
      ]
    }
  ]
  $ zvctl list --filter ZV_USB
  #  NAME                          BUS   SERVICE  VERSION  IDENTITY                                FLAGS
  0  Zorvane Virtual USB Adapter   USB   zvwlanu  1.0.0.1  {5A560001-0000-4000-8000-000000000001}  ready
  1  Zorvane Virtual SDIO Adapter  SDIO  zvwlans  1.0.0.1  {5A560001-0000-4000-8000-000000000002}  ready
  2  Zorvane Virtual PCIe Adapter  PCIe  zvwlane  1.0.0.1  {5A560001-0000-4000-8000-000000000003}  ready
  $ zvctl info 0
  name                Zorvane Virtual USB Adapter
  driver key index    0001
  device instance ID  USB\VID_5A56&PID_0001\VIRTUAL1
  driver version      1.0.0.1
  NetCfgInstanceId    {5A560001-0000-4000-8000-000000000001}
  INF section         ZvVirtual.ndi
  service             zvwlanu
  bus                 USB
  state flags         0x0 (ready)
  $ zvctl info 1 --json
  {
    "deviceName": "Zorvane Virtual SDIO Adapter",
    "driverKeyIndex": "0002",
    "deviceInstanceId": "SD\\VID_5A56&PID_0002\\VIRTUAL2",
    "driverVersion": "1.0.0.1",
    "netCfgInstanceId": "{5A560001-0000-4000-8000-000000000002}",
    "infSection": "ZvVirtual.ndi",
    "service": "zvwlans",
    "bus": "SDIO",
    "stateFlags": 0,
    "flags": [
      "ready"
    ]
  }
  $ zvctl ability 0
  ! zvctl: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5): the value "ZVSrvcLibSupport" is neither a text nor a 32-bit number
  [1]

Requests.

  $ zvctl get 0 0x10 6
  00000000  00 00 00 00 00 00                                |......|
  $ zvctl get 0 0x10 6 --json
  {
    "adapter": "{5A560001-0000-4000-8000-000000000001}",
    "id": 16,
    "length": 6,
    "data": "000000000000"
  }
  $ zvctl get 0 0x10 6 --raw
  \x00\x00\x00\x00\x00\x00 (no-eol) (esc)
  $ zvctl set 0 0x10 0a0b0c0d0e0f
  $ zvctl ioctl 0 0x222000 --in text:hello --out 5
  00000000  68 65 6c 6c 6f                                   |hello|
  $ zvctl ioctl 0 0x222000 --in text:grün --out 5
  00000000  67 72 c3 bc 6e                                   |gr..n|
  $ zvctl ioctl 0 0x222000 --in @data.bin --out 5 --raw
  \x01\x02 (esc)
  \r (esc)
  $ zvctl ioctl SDIO 1 --in text:echo --out 4 --raw
  echo (no-eol)
  $ zvctl ioctl 0 0x122428 --out 100 --json
  {
    "adapter": "{5A560001-0000-4000-8000-000000000001}",
    "code": 1188904,
    "requestId": 1,
    "async": false,
    "status": 0,
    "length": 100,
    "data": "0100565a000001000300000064000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
  }
  $ zvctl reg write 0 Speed --type dword --data 300

Watching.

  $ zvctl watch --count 0
  watching 3 adapters
  $ zvctl watch --json --for 0
  {"event":"watching","adapters":3}

A session reads back what it wrote.

  $ printf '%b' 'set 2 0x10 0a0b0c0d0e0f\nget 2 0x10 6\nreg write 2 Speed --type dword --data 300\nreg read 2 Speed\n' \
  > 'reg write 2 Name --data "a  b" # of two words\r\nreg read 2 Name --json\nreg delete 2 Name\nquit\nlist\n' |
  >   zvctl script -
  00000000  0a 0b 0c 0d 0e 0f                                |......|
  300 (0x12c)
  {
    "type": "sz",
    "value": "a  b"
  }
  $ printf 'info 0\nability 0\nlist\n' | zvctl script -
  name                Zorvane Virtual USB Adapter
  driver key index    0001
  device instance ID  USB\VID_5A56&PID_0001\VIRTUAL1
  driver version      1.0.0.1
  NetCfgInstanceId    {5A560001-0000-4000-8000-000000000001}
  INF section         ZvVirtual.ndi
  service             zvwlanu
  bus                 USB
  state flags         0x0 (ready)
  ! zvctl: script: stdin:2: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5): the value "ZVSrvcLibSupport" is neither a text nor a 32-bit number
  [1]
  $ printf 'nonsense\nget 99 0 1\nlist\nhelp list\nexit\n' | zvctl shell
  #  NAME                          BUS   SERVICE  VERSION  IDENTITY                                FLAGS
  0  Zorvane Virtual USB Adapter   USB   zvwlanu  1.0.0.1  {5A560001-0000-4000-8000-000000000001}  ready
  1  Zorvane Virtual SDIO Adapter  SDIO  zvwlans  1.0.0.1  {5A560001-0000-4000-8000-000000000002}  ready
  2  Zorvane Virtual PCIe Adapter  PCIe  zvwlane  1.0.0.1  {5A560001-0000-4000-8000-000000000003}  ready
  List the adapters that pass a filter
  Usage: list [OPTIONS]
  
  Options:
    -h,--help                   Print this help message and exit
    --filter TEXT=ZV_ALL        ZV_ALL, ZV_USB, ZV_SDIO, ZV_PCIE, or driver service names in lower case
    --instance TEXT             Only adapters whose device instance ID contains one of these texts, separated by ';'
    --json                      Print a JSON array with every field of each record; errors too
  
  ! zvctl: no command "nonsense"; run 'help'
  ! zvctl: get: no adapter matches "99"; choose one of:
  !   0  {5A560001-0000-4000-8000-000000000001}  Zorvane Virtual USB Adapter
  !   1  {5A560001-0000-4000-8000-000000000002}  Zorvane Virtual SDIO Adapter
  !   2  {5A560001-0000-4000-8000-000000000003}  Zorvane Virtual PCIe Adapter

Failures.

  $ zvctl info 99
  ! zvctl: info: no adapter matches "99"; choose one of:
  !   0  {5A560001-0000-4000-8000-000000000001}  Zorvane Virtual USB Adapter
  !   1  {5A560001-0000-4000-8000-000000000002}  Zorvane Virtual SDIO Adapter
  !   2  {5A560001-0000-4000-8000-000000000003}  Zorvane Virtual PCIe Adapter
  [3]
  $ zvctl info nobody
  ! zvctl: info: no adapter matches "nobody"; choose one of:
  !   0  {5A560001-0000-4000-8000-000000000001}  Zorvane Virtual USB Adapter
  !   1  {5A560001-0000-4000-8000-000000000002}  Zorvane Virtual SDIO Adapter
  !   2  {5A560001-0000-4000-8000-000000000003}  Zorvane Virtual PCIe Adapter
  [3]
  $ zvctl ioctl 0 0x222004 --async --out 4 --timeout 1 --patience 1
  ! zvctl: ioctl: SendIOCTLReq: no callback within 2 ms; a simulated driver never calls back
  [4]
  $ zvctl nonsense
  ! zvctl: no command "nonsense"; run 'zvctl --help'
  [2]
  $ zvctl get 0 0x10
  ! zvctl: get: LENGTH is required; run 'zvctl get --help'
  [2]
  $ zvctl get 0 zero 6
  ! zvctl: get: ID: "zero" is not a number up to 4294967295; run 'zvctl get --help'
  [2]
  $ zvctl set 0 0x10 0
  ! zvctl: set: DATA: "0" is not pairs of hexadecimal digits; run 'zvctl set --help'
  [2]
  $ zvctl set 0 0x10 @missing.bin
  ! zvctl: set: DATA: missing.bin: cannot be read: No such file or directory; run 'zvctl set --help'
  [2]
  $ zvctl list --filter "$(printf 'x%.0s' {1..50})"
  ! zvctl: list: --filter: expected 1 to 49 characters; run 'zvctl list --help'
  [2]
  $ zvctl watch --for soon
  ! zvctl: watch: --for: "soon" is not a number up to 4294967295; run 'zvctl watch --help'
  [2]
  $ zvctl script missing.zv
  ! zvctl: script: missing.zv: cannot be read: No such file or directory
  [2]
  $ printf 'list\n"open\n' | zvctl script -
  #  NAME                          BUS   SERVICE  VERSION  IDENTITY                                FLAGS
  0  Zorvane Virtual USB Adapter   USB   zvwlanu  1.0.0.1  {5A560001-0000-4000-8000-000000000001}  ready
  1  Zorvane Virtual SDIO Adapter  SDIO  zvwlans  1.0.0.1  {5A560001-0000-4000-8000-000000000002}  ready
  2  Zorvane Virtual PCIe Adapter  PCIe  zvwlane  1.0.0.1  {5A560001-0000-4000-8000-000000000003}  ready
  ! zvctl: script: stdin:2: unterminated quote (")
  [2]
