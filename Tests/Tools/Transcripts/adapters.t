A list has the adapters of this library's drivers, in the order of the machine.

  $ zvctl list
  #  NAME                                  BUS   SERVICE   VERSION    IDENTITY                                FLAGS
  0  Zorvane WL600U Wi-Fi 6 USB Adapter    USB   zvwlanu   3.4.1.207  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  ready
  1  Zorvane WL630U Nano USB Adapter #2    USB   zvlwlanu  1.9.12.40  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  ready
  2  Zorvane WL610S SDIO Module            SDIO  zvwlans   3.4.0.199  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  ready
  3  Zorvane WL900E Wi-Fi 6E PCIe Adapter  PCIe  zvwlane   2.1.0.58   {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  problem

A filter selects by bus or by service, a pattern by device instance ID.

  $ zvctl list --filter ZV_USB
  #  NAME                                BUS  SERVICE   VERSION    IDENTITY                                FLAGS
  0  Zorvane WL600U Wi-Fi 6 USB Adapter  USB  zvwlanu   3.4.1.207  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  ready
  1  Zorvane WL630U Nano USB Adapter #2  USB  zvlwlanu  1.9.12.40  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  ready
  $ zvctl list --filter ZV_SDIO
  #  NAME                        BUS   SERVICE  VERSION    IDENTITY                                FLAGS
  0  Zorvane WL610S SDIO Module  SDIO  zvwlans  3.4.0.199  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  ready
  $ zvctl list --filter zvwlane
  #  NAME                                  BUS   SERVICE  VERSION   IDENTITY                                FLAGS
  0  Zorvane WL900E Wi-Fi 6E PCIe Adapter  PCIe  zvwlane  2.1.0.58  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  problem
  $ zvctl list --filter ethgb
  #  NAME                         BUS  SERVICE  VERSION     IDENTITY                                FLAGS
  0  Gigabit Ethernet Controller  ?    ethgb    12.19.2.60  {E2A97C40-1D36-4B8E-9C05-84F1B6D3720A}  ready
  $ zvctl list --instance 'PID_6301;VEN_5A56'
  #  NAME                                  BUS   SERVICE   VERSION    IDENTITY                                FLAGS
  0  Zorvane WL630U Nano USB Adapter #2    USB   zvlwlanu  1.9.12.40  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  ready
  1  Zorvane WL900E Wi-Fi 6E PCIe Adapter  PCIe  zvwlane   2.1.0.58   {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  problem
  $ zvctl list --filter zv_usb
  ! zvctl: list: GetZVDeviceList: ZV_SRVC_ERR_NO_DEVICE (13): no adapter matches filter "zv_usb"; filters are ZV_ALL, ZV_USB, ZV_SDIO, ZV_PCIE and service names in lower case; 'zvctl doctor' shows all adapters
  [3]
  $ zvctl list --filter ''
  ! zvctl: list: --filter: expected 1 to 49 characters; run 'zvctl list --help'
  [2]
  $ zvctl list --instance NOWHERE
  ! zvctl: list: GetZVDeviceList: ZV_SRVC_ERR_NO_DEVICE (13): no adapter of filter "ZV_ALL" has a device instance ID that contains "NOWHERE"; 'zvctl doctor' shows all adapters
  [3]

JSON has every field of the record.

  $ zvctl list --filter ZV_PCIE --json
  [
    {
      "deviceName": "Zorvane WL900E Wi-Fi 6E PCIe Adapter",
      "driverKeyIndex": "0003",
      "deviceInstanceId": "PCI\\VEN_5A56&DEV_9001&SUBSYS_90015A56&REV_01\\4&1C5E8A90&0&00E4",
      "driverVersion": "2.1.0.58",
      "netCfgInstanceId": "{9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}",
      "infSection": "WL900E.ndi",
      "service": "zvwlane",
      "bus": "PCIe",
      "stateFlags": 1,
      "flags": [
        "problem"
      ]
    }
  ]
  $ zvctl list --instance PID_6301 --json | sed '1d; $d; s/^  //' >listed
  $ zvctl info 1 --json | diff listed -

An adapter is chosen by its index, its identity, or a part of its identity or name. Case does not matter.

  $ zvctl ability 0
  3
  $ zvctl ability wl630u
  12
  $ zvctl ability '{3f0c2a84-6e1b-4d57-9a2e-71b5c80d4f16}'
  3
  $ zvctl ability 4D57
  3

The part must be unambiguous.

  $ zvctl ability Wi-Fi
  ! zvctl: ability: several adapters match "Wi-Fi"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  [3]

Digits are an index, never a part.

  $ zvctl ability 600
  ! zvctl: ability: no adapter matches "600"; choose one of:
  !   0  {3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}  Zorvane WL600U Wi-Fi 6 USB Adapter
  !   1  {C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}  Zorvane WL630U Nano USB Adapter #2
  !   2  {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}  Zorvane WL610S SDIO Module
  !   3  {9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  Zorvane WL900E Wi-Fi 6E PCIe Adapter
  [3]

A complete name takes precedence over a part of another.

  $ cat >twins.json <<'END'
  > {"adapters": [
  >   {"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlane", "friendlyName": "Twin #2"},
  >   {"netCfgInstanceId": "{2}", "hardwareId": "X", "service": "zvwlane", "friendlyName": "Twin",
  >    "values": {"ZVSrvcLibSupport": {"type": "sz", "value": "7"}}}]}
  > END
  $ zvctl --machine twins.json ability twin
  7
  $ zvctl --machine twins.json ability Twi
  ! zvctl: ability: several adapters match "Twi"; choose one of:
  !   0  {1}  Twin #2
  !   1  {2}  Twin
  [3]

An adapter without the value has no ability; one with a problem cannot be opened.

  $ zvctl info WL610S
  name                Zorvane WL610S SDIO Module
  driver key index    0002
  device instance ID  SD\VID_5A56&PID_6101\4&37F20C6&0&0
  driver version      3.4.0.199
  NetCfgInstanceId    {61D80B3E-F4C9-4E72-A15D-3B8C07E9A6F2}
  INF section         WL610S.ndi
  service             zvwlans
  bus                 SDIO
  state flags         0x0 (ready)
  $ zvctl ability 2
  ! zvctl: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5): no value "ZVSrvcLibSupport" in the driver key; the driver reports no ability
  [3]
  $ zvctl info 3
  ! zvctl: info: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "Zorvane WL900E Wi-Fi 6E PCIe Adapter" is disabled, problem 22; run 'zvctl explain problem 22'
  [5]
