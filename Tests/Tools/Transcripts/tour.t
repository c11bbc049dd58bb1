Without a command, the tour demonstrates the first ready adapter. An enumeration finds the faulty WL900E absent, which
can add an event to any step.

  $ zvctl
  list        4 adapters
  choose      {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16} Zorvane WL600U Wi-Fi 6 USB Adapter
  open        ZV_SRVC_SUCCESS (0)
  get         item 0x10 is 01 02 03 04 05 06
  set         item 0x10 to 5a 56 03 02 01 00
  get         item 0x10 is 5a 56 03 02 01 00, as set
  set         item 0x10 back to 01 02 03 04 05 06
  ioctl       request 0x222000: sent c0 ff ee 00, received c0 ff ee 00
  ioctl async request 0x222004: sent 450 bytes, callback with status 0, received 450 bytes in 3 chunks: 00 01 02 03 .. c3 c4 c5 c6
  reg write   ZvctlTour = "was here" (sz)
  reg read    ZvctlTour = "was here" (sz)
  reg delete  ZvctlTour
  watch       on, 4 adapters
  unplug      status-changed; 0x0 ready -> 0x4 absent
  plug        arrived; 0x4 absent -> 0x0 ready
  disable +status-changed[a-z, -]*; 0x0 ready -> 0x5 problem,absent (re)
  enable +[a-z, -]*arrived; 0x5 problem,absent -> 0x[01] [a-z]+ (re)
  arrival +(arrived; 0x1 problem -> 0x0 ready|skipped: already ready) (re)
  suspend     suspend; 0x0 ready unchanged
  resume      resume, resume; 0x0 ready unchanged
  uninstall +[a-z, -]*driver-uninstalled[a-z, -]*; 0x0 ready -> 0x14 absent,driver-uninstalled (re)
  $ zvctl tour SDIO
  list        4 adapters
  choose      {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2} Zorvane WL610S SDIO Module
  open        ZV_SRVC_SUCCESS (0)
  get         item 0x10 is 00 11 22 33 44 55
  set         item 0x10 to 5a 56 03 02 01 00
  get         item 0x10 is 5a 56 03 02 01 00, as set
  set         item 0x10 back to 00 11 22 33 44 55
  ioctl       request 0x222000: sent c0 ff ee 00, received c0 ff ee 00
  ioctl async request 0x222004: sent 450 bytes, callback with status 0, received 450 bytes in 3 chunks: 00 01 02 03 .. c3 c4 c5 c6
  reg write   ZvctlTour = "was here" (sz)
  reg read    ZvctlTour = "was here" (sz)
  reg delete  ZvctlTour
  watch       on, 4 adapters
  unplug      status-changed; 0x0 ready -> 0x4 absent
  plug        arrived; 0x4 absent -> 0x0 ready
  disable +status-changed[a-z, -]*; 0x0 ready -> 0x5 problem,absent (re)
  enable +[a-z, -]*arrived; 0x5 problem,absent -> 0x[01] [a-z]+ (re)
  arrival +(arrived; 0x1 problem -> 0x0 ready|skipped: already ready) (re)
  suspend     suspend; 0x0 ready unchanged
  resume      resume, resume; 0x0 ready unchanged
  uninstall +[a-z, -]*driver-uninstalled[a-z, -]*; 0x0 ready -> 0x14 absent,driver-uninstalled (re)

Failed steps are reported, and the tour continues.

  $ one='{"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlans"'
  $ echo "$one}]}" >mute.json
  $ zvctl --machine mute.json
  list        1 adapter
  choose      {1} <Unknown Device>
  open        FAILED: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "<Unknown Device>" has no control device; install its driver
  get         FAILED: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2): the driver refused the request, or its control device cannot be opened
  set         FAILED: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2): the driver refused the request, or its control device cannot be opened
  get         FAILED: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2): the driver refused the request, or its control device cannot be opened
  ioctl       FAILED: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver refused the request, or its control device cannot be opened
  ioctl async FAILED: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver refused the request, or did not accept it within 1000 ms
  reg write   ZvctlTour = "was here" (sz)
  reg read    ZvctlTour = "was here" (sz)
  reg delete  ZvctlTour
  watch       on, 1 adapter
  unplug      status-changed; 0x0 ready -> 0x4 absent
  plug        arrived; 0x4 absent -> 0x0 ready
  disable +status-changed[a-z, -]*; 0x0 ready -> 0x5 problem,absent (re)
  enable +[a-z, -]*arrived; 0x5 problem,absent -> 0x[01] [a-z]+ (re)
  arrival +(arrived; 0x1 problem -> 0x0 ready|skipped: already ready) (re)
  suspend     suspend; 0x0 ready unchanged
  resume      resume, resume; 0x0 ready unchanged
  uninstall +[a-z, -]*driver-uninstalled[a-z, -]*; 0x0 ready -> 0x14 absent,driver-uninstalled (re)
  ! zvctl: tour: 6 of the steps failed
  [1]
  $ zvctl --machine mute.json info 0
  ! zvctl: info: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "<Unknown Device>" has no control device; install its driver
  [5]
  $ zvctl --machine mute.json reg read 0 NetCfgInstanceId
  {1}
  $ echo "$one, \"problem\": 22}]}" >problem.json
  $ zvctl --machine problem.json
  list        1 adapter
  choose      FAILED: no adapter is ready
  ! zvctl: tour: 1 of the steps failed
  [1]
