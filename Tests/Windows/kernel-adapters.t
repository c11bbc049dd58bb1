Adapters of the registry. The first has a control device of the kernel-mode test driver.

  $ timeout 200 $ZV_RUNNER "$ZV_BUILD/bin/test_adapters.exe" kernel >printed 2>/dev/null &
  $ until grep -q ready printed || ! kill -0 $! 2>/dev/null; do sleep 0.01; done

  $ zvctl list
  #  NAME          BUS   SERVICE  VERSION  IDENTITY  FLAGS
  0  Adapter 0077  USB   zvwlanu  1.2.3.4  {kernel}  ready
  1  Adapter 0078  PCIe  zvwlane  1.2.3.4  {deaf}    ready
  $ zvctl info {kernel}
  name                Adapter 0077
  driver key index    0077
  device instance ID  PCI\VEN_1234&DEV_5678\0077
  driver version      1.2.3.4
  NetCfgInstanceId    {kernel}
  INF section         Zorvane.ndi
  service             zvwlanu
  bus                 USB
  state flags         0x0 (ready)
  $ zvctl info 1
  ! zvctl: info: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "Adapter 0078" has no control device; install its driver
  [5]

The driver stores an item, and the registry a value, for later processes.

  $ zvctl set 0 0x1234 0a0b0c
  $ zvctl get 0 0x1234 3
  00000000  0a 0b 0c                                         |...|
  $ zvctl reg write 0 Speed --type dword --data 300
  $ zvctl reg read 0 Speed
  300 (0x12c)

The driver answers each of these requests in its own way: a response in chunks, a failure, and two bytes.

  $ zvctl ioctl 0 0x99000000 --async --out 300 --raw | tr -d x | wc -c
  0
  $ zvctl ioctl 0 0x99000000 --async --out 300 --raw | wc -c
  300
  $ zvctl ioctl 0 0x99000004 --async --out 300
  ! zvctl: ioctl: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1): the driver refused the request, or did not accept it within 1000 ms
  [6]
  $ zvctl ioctl 0 0x99000008 --out 2 --raw
  ok (no-eol)

All requests were well formed, and each process closed its handles.

  $ touch stop
  $ wait $!
  $ tail -n 1 printed | tr -d '\r'
  0 malformed requests, 0 open handles
