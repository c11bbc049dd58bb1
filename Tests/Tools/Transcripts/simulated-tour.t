The tour with a simulated driver leaves out events; a callback never comes.

  $ cp "$ZV_BUILD/samples/VirtualDriver/VirtualDriver_UWP.dll" .
  $ zvctl tour
  list        3 adapters
  choose      {5A560001-0000-4000-8000-000000000001} Zorvane Virtual USB Adapter
  open        ZV_SRVC_SUCCESS (0)
  get         item 0x10 is 00 00 00 00 00 00
  set         item 0x10 to 5a 56 03 02 01 00
  get         item 0x10 is 5a 56 03 02 01 00, as set
  set         item 0x10 back to 00 00 00 00 00 00
  ioctl       request 0x222000: sent c0 ff ee 00, received c0 ff ee 00
  ioctl async FAILED: SendIOCTLReq: no callback within 5000 ms; a simulated driver never calls back
  reg write   ZvctlTour = "was here" (sz)
  reg read    ZvctlTour = "was here" (sz)
  reg delete  ZvctlTour
  events      skipped: a simulated driver's adapter does not depend on the machine
  ! zvctl: tour: 1 of the steps failed
  [1]
