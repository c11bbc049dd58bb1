Information items of the driver.

  $ zvctl get 0 0x11 18
  00000000  57 4c 36 30 30 55 00 00 00 00 00 00 00 00 00 00  |WL600U..........|
  00000010  00 00                                            |..|
  $ zvctl get 0 17 6 --raw
  WL600U (no-eol)
  $ zvctl get 2 0x10 6 --json
  {
    "adapter": "{61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}",
    "id": 16,
    "length": 6,
    "data": "001122334455"
  }
  $ zvctl set 0 0x10 '0a:0b-0c 0d'

Requests echo their input on the default machine.

  $ zvctl ioctl 0 0x222000 --in '0a:0b-0c 0d' --out 5
  00000000  0a 0b 0c 0d 00                                   |.....|
  $ zvctl ioctl 0 0x222000 --in text:hello --out 4 --raw
  hell (no-eol)
  $ printf 'two\nlines' >input
  $ zvctl ioctl 0 0x222000 --in @input --out 9 --raw
  two
  lines (no-eol)
  $ zvctl ioctl 0 0x222000 --out 2 --id 7 --json
  {
    "adapter": "{3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}",
    "code": 2236416,
    "requestId": 7,
    "async": false,
    "status": 0,
    "length": 2,
    "data": "0000"
  }

The response of an asynchronous request counts from 0 to 250 and starts again.

  $ zvctl ioctl 0 0x222000 --async --in 01 --out 450 --raw | od -An -v -tu1 -w1 | tr -d ' ' >bytes
  $ (seq 0 250; seq 0 198) | diff - bytes
  $ zvctl ioctl 1 0x222000 --async --out 3
  callback: status 0
  00000000  00 01 02                                         |...|

A measurement has one line per power of two and counts every request. A failure ends it.

  $ zvctl bench 0 0x222000 --out 8 --count 30 >measured
  $ head -2 measured
  30 requests, \d+ per second, [\d.e+-]+ MB/s of output (re)
  shortest [\d.e+]+ [um]s, 50 % [\d.e+]+ [um]s, 90 % [\d.e+]+ [um]s, 99 % [\d.e+]+ [um]s, longest [\d.e+]+ [um]s (re)
  $ tail -n +3 measured | awk '{ sum += $NF; marked += /#/ } END { print sum, (marked > 0) }'
  30 1
  $ zvctl bench 0 0x222000 --async --out 450 --count 3 --json | grep count | head -1
    "count": 3,
  $ head -c 65536 /dev/zero >large
  $ zvctl bench 0 0x222000 --in @large --count 2 >measured
  ! zvctl: warning: 65536 input bytes; the driver sees only 16 bits of the length, enough for 65535
  $ zvctl bench 0 0x222000 --count 0
  ! * at least one request is needed* (glob)
  [2]
  $ zvctl bench 3 0x222000
  ! zvctl: bench: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): * (glob)
  [5]

A driver that answers too late, and one that never responds: the tool exits while the library still waits for the
response.

  $ machine() {
  >   echo '{"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlane", "controlDevice":
  >     {"name": "Zorvane_Wifi_Device{1}", "module": "ZVDriverModel.dll", "settings": '"$1"'}}]}'
  > }
  $ machine '{"slowMs": 100}' >slow.json
  $ zvctl --machine slow.json get 0 1 4
  ! zvctl: get: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2): the driver did not answer within 50 ms
  [4]
  $ zvctl --machine slow.json ioctl 0 1 --timeout 5
  ! zvctl: ioctl: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver did not answer within 5 ms
  [4]
  $ zvctl --machine slow.json ioctl 0 1 --timeout 5 --async
  ! zvctl: ioctl: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver refused the request, or did not accept it within 5 ms
  [6]
  $ machine '{"silent": true}' >silent.json
  $ zvctl --machine silent.json ioctl 0 1 --async --timeout 0 --patience 20
  ! zvctl: ioctl: SendIOCTLReq: no callback within 20 ms; a simulated driver never calls back
  [4]

The driver sees 16 bits of the length, which count 40 bytes of the record around an item.

  $ head -c 65535 /dev/zero >data
  $ zvctl ioctl 0 0x12245c --in @data
  $ head -c 65536 /dev/zero >data
  $ zvctl ioctl 0 0x12245c --in @data
  ! zvctl: warning: 65536 input bytes; the driver sees only 16 bits of the length, enough for 65535
  $ head -c 65495 /dev/zero >data
  $ zvctl set 0 0x10 @data
  $ head -c 65496 /dev/zero >data
  $ zvctl set 0 0x10 @data
  ! zvctl: warning: 65496 input bytes; the driver sees only 16 bits of the length, enough for 65495
