The machine comes from the option, then from the environment.

  $ one='{"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service"'
  $ echo "$one: \"zvwlans\"}]}" >sdio.json
  $ echo "$one: \"zvwlane\"}]}" >pcie.json
  $ ZV_MACHINE=sdio.json zvctl list
  #  NAME              BUS   SERVICE  VERSION  IDENTITY  FLAGS
  0  <Unknown Device>  SDIO  zvwlans           {1}       ready
  $ ZV_MACHINE=sdio.json zvctl list --machine pcie.json
  #  NAME              BUS   SERVICE  VERSION  IDENTITY  FLAGS
  0  <Unknown Device>  PCIe  zvwlane           {1}       ready

An error in the file is reported with its position.

  $ printf '{\n  "adapters": [ { \n' >broken.json
  $ zvctl --machine broken.json
  ! zvctl: broken.json: parse error at line 3, column 1: syntax error while parsing object key - unexpected end of input; expected string literal
  [2]
  $ ZV_MACHINE=broken.json zvctl list
  ! zvctl: broken.json: parse error at line 3, column 1: syntax error while parsing object key - unexpected end of input; expected string literal
  [2]
  $ zvctl --machine /nowhere/machine.json
  ! zvctl: /nowhere/machine.json: cannot be read: No such file or directory
  [2]

The trace goes to stderr. It shows how the library starts, and each adapter of an enumeration.

  $ zvctl list >listed
  $ zvctl --trace 4 list 2>trace | diff listed -
  $ grep -Eo 'service object is up|making a device manager|accepted "Zorvane [^ ]*|enumeration ends.*' trace | sort -u
  accepted "Zorvane WL600U
  accepted "Zorvane WL610S
  accepted "Zorvane WL630U
  accepted "Zorvane WL900E
  enumeration ends with status 0, 4 adapters
  making a device manager
  service object is up

A level and component flags limit it. A line begins with the time, as that of an event.

  $ zvctl --trace 3 list 2>&1 >/dev/null | grep -Eo 'service object is up|accepted' | sort -u
  accepted
  $ zvctl list --trace 4:1 2>&1 >/dev/null | sed -E 's/^! [0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{3}Z /TIME /' | head -n 1
  TIME 4 service        service object is up, simulated driver loaded: 0
  $ zvctl list --trace 4:0x1 2>&1 >/dev/null | grep -Eo 'service object is up|accepted' | sort -u
  service object is up
