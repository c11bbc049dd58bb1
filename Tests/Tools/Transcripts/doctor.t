The built-in machine has a disabled adapter, and one of another vendor.

  $ zvctl doctor
  ok      machine: built-in machine
  ok      simulated driver: none in the current directory
  ok      rights: administrator
  ok      event window: exists
  ok      list: 4 adapters
  ok      Zorvane WL600U Wi-Fi 6 USB Adapter: listed, and its driver answers
  ok      Zorvane WL630U Nano USB Adapter #2: listed, and its driver answers
  ok      Zorvane WL610S SDIO Module: listed, and its driver answers
  problem Zorvane WL900E Wi-Fi 6E PCIe Adapter: listed, but OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "Zorvane WL900E Wi-Fi 6E PCIe Adapter" is disabled, problem 22; run 'zvctl explain problem 22'
  note    Gigabit Ethernet Controller: not listed: its service "ethgb" is not one of zvlwlanu,zvwlanu,zvlwlans,zvwlans,zvlwlane,zvwlane
  ! zvctl: doctor: found 1 problem
  [1]

Broken machines.

  $ control='"controlDevice": {"name": "Zorvane_Wifi_Device{1}", "module": "ZVDriverModel.dll", "settings": {}}'
  $ machine() {
  >   sed "s/}]}$/, $1}]}/" >m.json <<END
  > {"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "ZvWlanU", "friendlyName": "WL1"}]}
  > END
  > }
  $ check() {
  >   machine "$1"
  >   [ -z "${2:-}" ] || sed -i "s/\"$2\": \"[^\"]*\", //" m.json
  >   code=0
  >   zvctl --machine m.json doctor 2>/dev/null | tail -n 1 || code=$?
  > }
  $ set -o pipefail
  $ check "$control"; echo $code
  ok      WL1: listed, and its driver answers
  0
  $ check '"present": true'; echo $code
  problem WL1: listed, but OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "WL1" has no control device; install its driver
  1
  $ check "${control/\{\}\}/{\"hang\": true\}\}}"
  problem WL1: listed, but OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "WL1" has a driver that does not answer within 300 ms; plug the adapter in again or reinstall its driver
  $ check "${control/\{\}\}/{\"refuse\": 31\}\}}"
  problem WL1: listed, but OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "WL1" has a driver that refuses the first request; run 'zvctl explain 15'
  $ check '"problem": 10'
  problem WL1: listed, but OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "WL1" has problem 10 (CM_PROB_FAILED_START); run 'zvctl explain problem 10'
  $ check '"present": false'
  problem WL1: not listed: it is absent; plug it in
  $ check '"readable": false'
  problem WL1: not listed: the status of its device node cannot be read; restart the computer
  $ check '"hidden": true'
  problem WL1: not listed: Windows hides it (DN_NO_SHOW_IN_DM); reinstall the adapter's driver
  $ check '"assignDriverKey": false'
  problem WL1: not listed: it has no driver key; install its driver
  $ check '"hasDriverKey": false'
  problem WL1: not listed: its driver key does not exist in the registry; reinstall the adapter's driver
  $ check '"hasLinkage": false'
  problem WL1: not listed: its driver key has no key "Linkage"; reinstall the adapter's driver
  $ check '"hasNdi": false'
  problem WL1: not listed: its driver key has no key "NDI"; reinstall the adapter's driver
  $ check "$control" hardwareId
  problem WL1: not listed: it has no hardware ID; reinstall the adapter's driver
  $ check "$control" service
  problem WL1: listed by every filter, because its key "NDI" has no value "Service"; reinstall the adapter's driver
  $ check "$control" netCfgInstanceId
  problem WL1: listed, but cannot be opened: its driver key has no value "NetCfgInstanceId"; reinstall the adapter's driver

A machine without adapters, a caller without rights, and a simulated driver.

  $ echo '{}' >m.json
  $ zvctl --machine m.json doctor
  ok      machine: machine file m.json
  ok      simulated driver: none in the current directory
  ok      rights: administrator
  ok      event window: exists
  problem list: 0 adapters
  ! zvctl: doctor: found 1 problem
  [1]
  $ printf 'rights off\ninfo 0\nhang 0 on\nexpect-fail doctor\n' | zvctl script - | grep -E 'rights|WL600U.*answer'
  note    rights: no administrator: adapters cannot be enabled or disabled; run as administrator
  problem Zorvane WL600U Wi-Fi 6 USB Adapter: listed, but OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15): "Zorvane WL600U Wi-Fi 6 USB Adapter" has a driver that does not answer within 300 ms; plug the adapter in again or reinstall its driver
  $ cp "$ZV_BUILD/samples/VirtualDriver/VirtualDriver_UWP.dll" .
  $ zvctl doctor 2>/dev/null | grep -E 'simulated|list:'
  note    simulated driver: VirtualDriver_UWP.dll in the current directory replaces all adapters
  ok      list: 3 adapters
  problem Zorvane WL600U Wi-Fi 6 USB Adapter: not listed: the simulated driver replaces all adapters; remove VirtualDriver_UWP.dll from the current directory
  problem Zorvane WL630U Nano USB Adapter #2: not listed: the simulated driver replaces all adapters; remove VirtualDriver_UWP.dll from the current directory
  problem Zorvane WL610S SDIO Module: not listed: the simulated driver replaces all adapters; remove VirtualDriver_UWP.dll from the current directory
  problem Zorvane WL900E Wi-Fi 6E PCIe Adapter: not listed: the simulated driver replaces all adapters; remove VirtualDriver_UWP.dll from the current directory
  [1]
