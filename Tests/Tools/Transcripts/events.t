Times are replaced. An enumeration finds the faulty WL900E absent, which can add its change to any line.

  $ set -o pipefail
  $ run() {
  >   zvctl script "$@" 2>&1 | sed -E 's/^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{3}Z /TIME /'
  > }
  $ run_lines() {
  >   printf '%b' "$1" | run -
  > }

The script of the documentation takes an adapter through its states.

  $ sed -n '/^```zvctl$/,/^```$/p' "$ZV_SOURCE/docs/ZVCTL.md" | grep -v '^```' >story.zv
  $ run story.zv
  TIME status-changed     Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> absent* (glob)
  TIME arrived            Zorvane WL600U Wi-Fi 6 USB Adapter: absent -> ready* (glob)
  TIME status-changed     Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> problem,absent* (glob)
  TIME suspend            * (glob)
  TIME driver-uninstalled Zorvane WL600U Wi-Fi 6 USB Adapter: problem,absent -> *driver-uninstalled* (glob)

A watch prints events and what they changed.

  $ run_lines 'problem 0 10\nwatch --json --count 1\nsuspend\nwatch --count 1\nevents'
  {"event":"watching","adapters":4}
  {"time":"20??-??-??T??:??:??.???Z","event":"status-changed","code":65537,"changes":[{"netCfgInstanceId":"{3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}","deviceName":"Zorvane WL600U Wi-Fi 6 USB Adapter","before":{"stateFlags":0,"flags":["ready"],"driverVersion":"3.4.1.207"},"after":{"stateFlags":*,"flags":["problem"*],"driverVersion":"3.4.1.207"}}*]} (glob)
  watching 4 adapters
  TIME suspend            * (glob)
  $ zvctl watch --for 0
  watching 4 adapters
  $ zvctl watch --count 0
  watching 4 adapters

The library enables an adapter through a device that was opened while the adapter worked. The process exits without
watching uninstalled adapters for further seconds.

  $ run_lines 'uninstall 2\nwait status-changed\nuninstall WL900E\ndisable 0\nwait status-changed\nuninstall 0\ninfo 0'
  TIME status-changed     Zorvane WL610S SDIO Module: ready -> absent* (glob)
  TIME status-changed     Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> problem,absent* (glob)
  ! zvctl: script: stdin:7: info: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "Zorvane WL600U Wi-Fi 6 USB Adapter" is *absent*; run 'zvctl doctor' (glob)
  [5]
  $ run_lines 'info 0\nlist --filter ZV_SDIO\ninfo 2\nproblem 0 22\nwait status-changed\nenable 0\nwait arrived'
  name                Zorvane WL600U Wi-Fi 6 USB Adapter
  driver key index    0000
  device instance ID  USB\VID_5A56&PID_6001\00E04C885A01
  driver version      3.4.1.207
  NetCfgInstanceId    {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}
  INF section         WL600U.ndi
  service             zvwlanu
  bus                 USB
  state flags         0x0 (ready)
  #  NAME                        BUS   SERVICE  VERSION    IDENTITY                                FLAGS
  0  Zorvane WL610S SDIO Module  SDIO  zvwlans  3.4.0.199  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  ready
  name                Zorvane WL610S SDIO Module
  driver key index    0002
  device instance ID  SD\VID_5A56&PID_6101\4&37F20C6&0&0
  driver version      3.4.0.199
  NetCfgInstanceId    {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}
  INF section         WL610S.ndi
  service             zvwlans
  bus                 SDIO
  state flags         0x0 (ready)
  TIME status-changed     Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> problem,absent* (glob)
  TIME arrived            Zorvane WL600U Wi-Fi 6 USB Adapter: problem,absent -> * (glob)
  $ run_lines 'enable WL900E'
  ! zvctl: script: stdin:1: enable: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "Zorvane WL900E Wi-Fi 6E PCIe Adapter" is disabled, problem 22; enabling requires a session that opened the adapter while it worked
  [5]

Changing an adapter requires rights, and the system can refuse.

  $ run_lines 'rights off\ndisable 0'
  ! zvctl: script: stdin:2: disable: NicChangeState: ZV_SRVC_ERR_INVALID_PARAMETER (12): the caller has no administrator rights; run as administrator
  [1]
  $ run_lines 'rights off\nrights on\ndisable 0'
  $ run_lines 'info 0 --json\nunplug 0\nenable 0' | tail -n 1
  ! zvctl: script: stdin:3: enable: NicChangeState: ZV_SRVC_ERR_INVALID_PARAMETER (12): the adapter is absent; run 'zvctl doctor'
  [5]
  $ cat >refusing.json <<'END'
  > {"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlane", "stateChangeError": 3758096949}]}
  > END
  $ zvctl --machine refusing.json disable 0
  ! zvctl: disable: NicChangeState: Windows refuses with error 3758096949 (0xe0000235)
  [1]

A new driver version arrives; resume has its event.

  $ run_lines 'driver-version 0 9.9\nwait arrived\nresume\nwait resume'
  TIME arrived            Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> *driver 3.4.1.207 -> 9.9* (glob)
  TIME resume             * (glob)

Drivers that hang, refuse or are slow. A session opens an adapter once, so that later requests meet the driver.

  $ run_lines 'hang 0 on\nget 0 0x11 6'
  ! zvctl: script: stdin:2: get: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "Zorvane WL600U Wi-Fi 6 USB Adapter" has a driver that does not answer within 300 ms; plug the adapter in again or reinstall its driver
  [4]
  $ run_lines 'ioctl 0 1\nhang 0 on\nget 0 0x11 6'
  ! zvctl: script: stdin:3: get: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2): the driver did not answer within 50 ms
  [4]
  $ run_lines 'ioctl 0 1\ndriver 0 \047{"refuse": 31}\047\nioctl 0 1'
  ! zvctl: script: stdin:3: ioctl: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver refused the request, or its control device cannot be opened
  [6]
  $ run_lines 'driver 0 \047{"refuse": "much"}\047'
  ! zvctl: script: stdin:1: driver: settings.refuse: expected a whole number from 0 to 4294967295
  [1]
  $ run_lines 'driver 3 {}'
  ! zvctl: script: stdin:1: driver: this adapter has no driver
  [5]

The adapter is opened again when it has returned, and when its driver did not answer the first time.

  $ run_lines 'ioctl 0 1\nunplug 0\nwait status-changed\nexpect-fail ioctl 0 1\nplug 0\nwait arrived\nioctl 0 1'
  TIME status-changed     Zorvane WL600U Wi-Fi 6 USB Adapter: ready -> absent* (glob)
  TIME arrived            Zorvane WL600U Wi-Fi 6 USB Adapter: absent -> ready* (glob)
  $ run_lines 'hang 0 on\nability 0\nexpect-fail get 0 0x11 6\nhang 0 off\nget 0 0x11 6 --raw'
  3
  WL600U (no-eol)
  $ run_lines 'hang 0 on\nhang 0 off\nget 0 0x11 6 --raw'
  WL600U (no-eol)
  $ run_lines 'slow 0 2000\nslow 1 1\nget 1 0x11 6 --raw\nslow 0 0\nget 0 0x11 6 --raw'
  WL630UWL600U (no-eol)
