Values are printed by type.

  $ zvctl reg read 0 DriverVersion
  3.4.1.207
  $ zvctl reg read WL600U ZVSrvcLibSupport
  3 (0x3)
  $ zvctl reg read 0 NDI Service --json
  {
    "type": "sz",
    "value": "ZvWlanU"
  }
  $ zvctl reg read 0 ZVSrvcLibSupport --raw
  \x03\x00\x00\x00 (no-eol) (esc)
  $ cat >values.json <<'END'
  > {"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlane", "values": {
  >   "Bytes": {"type": "binary", "value": "0a0b"}, "Path": {"type": "expand_sz", "value": "%here%"}}}]}
  > END
  $ zvctl --machine values.json reg read 0 Bytes
  00000000  0a 0b                                            |..|
  $ zvctl --machine values.json reg read 0 Path
  %here%

Writing and deleting.

  $ zvctl script - <<'END'
  > reg write 0 Sub N --type binary --data text:x
  > reg read 0 Sub N --json
  > reg write 0 Speed --type dword --data 300
  > reg read 0 Speed
  > reg delete 0 DriverVersion
  > reg read 0 DriverVersion
  > END
  {
    "type": "binary",
    "value": "78"
  }
  300 (0x12c)
  ! zvctl: script: stdin:6: reg read: AccessRegistry: ZV_SRVC_ERR_FAILURE (1): no value "DriverVersion" in the driver key
  [3]

A missing value and an adapter that cannot be opened.

  $ zvctl reg read 0 Nothing
  ! zvctl: reg read: AccessRegistry: ZV_SRVC_ERR_FAILURE (1): no value "Nothing" in the driver key
  [3]
  $ zvctl reg delete 0 Nothing
  ! zvctl: reg delete: AccessRegistry: ZV_SRVC_ERR_FAILURE (1): no value "Nothing" in the driver key
  [3]
  $ zvctl reg write 3 N --data x
  ! zvctl: reg write: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): "Zorvane WL900E Wi-Fi 6E PCIe Adapter" is disabled, problem 22; run 'zvctl explain problem 22'
  [5]
