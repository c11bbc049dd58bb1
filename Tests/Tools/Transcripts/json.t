JSON output of each kind. A file is named like its schema.

  $ print() { zvctl "${@:2}" --json >"$1.json"; }
  $ print list list
  $ print adapter info 0
  $ print ability ability 0
  $ print item get 0 0x11 6
  $ print ioctl ioctl 0 0x222000 --out 4
  $ print ioctl.2 ioctl 0 0x222000 --out 4 --async
  $ print bench bench 0 0x222000 --count 20
  $ print registry-value reg read 0 DriverVersion
  $ print registry-value.2 reg read 0 ZVSrvcLibSupport
  $ print explanations explain
  $ print doctor doctor
  [1]
  $ print tour-step tour
  $ printf '%s\n' 'unplug 0' 'wait status-changed --json' 'plug 0' 'watch --json --count 1' suspend 'events --json' |
  >   zvctl script - >event.json

Failures have the same form in every command; the exit code stays, and nothing is printed on stderr.

  $ zvctl info 3 --json
  {"error":{"command":"info","operation":"OpenDevice","status":14,"name":"ZV_SRVC_ERR_DEVICE_NOT_OPEN","exitCode":5,"message":"OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14): \"Zorvane WL900E Wi-Fi 6E PCIe Adapter\" is disabled, problem 22; run 'zvctl explain problem 22'"}}
  [5]
  $ for command in 'info 3' 'list --filter nothing' 'reg read 0 Nothing' 'enable 3' 'ioctl 0' nonsense 'explain nothing' \
  >   'script /nowhere' 'ability WL9'; do
  >   code=0
  >   zvctl $command --json >printed || code=$?
  >   echo "$code $(grep -o '"operation":[^,]*' printed)"
  >   cat printed >>error.json
  > done
  5 "operation":"OpenDevice"
  3 "operation":"GetZVDeviceList"
  3 "operation":"AccessRegistry"
  5 "operation":"OpenDevice"
  2 "operation":"ioctl"
  2 "operation":"zvctl"
  2 "operation":"explain"
  2 "operation":"script"
  5 "operation":"OpenDevice"
  $ printf 'expect-fail info 3 --json\n' | zvctl script - >>error.json

Every machine file of the repository and of the documentation.

  $ for file in $(git -C "$ZV_SOURCE" ls-files 'Samples/*.json' 'Tests/*.json'); do
  >   cat "$ZV_SOURCE/$file" >>machine.json
  > done
  $ sed -n '/^```json file=/,/^```$/p' "$ZV_SOURCE/docs/MACHINE-FILE.md" | grep -v '^```' >machine.2.json
  $ cp "$ZV_SOURCE/Samples/Journals/example.jsonl" journal.json
  $ head -c -40 journal.json >cut
  $ zvctl journal show cut --json >shown-change.json

Messages of the control protocol.

  $ print() { printf '{"jsonrpc":"2.0","id":1,"method":"%s","params":%s}\n' "$@"; }
  $ print subscribe '{}' suspend '{}' plug '{"id":9}' >calls
  $ cat calls >control.json
  $ zvctl script --json - <calls >>control.json
  [1]

All of them fit, and each schema has a file. A schema refuses other documents.

  $ "$ZV_SOURCE/Tests/Tools/check-json.py" *.json
  $ mkdir bad
  $ for schema in "$ZV_SOURCE"/docs/schema/*; do
  >   kind=$(basename "$schema" .schema.json)
  >   [ -e "$kind.json" ] || echo "no file for $kind"
  >   echo '{"adapter": 1, "more": 2}' >"bad/$kind.json"
  > done
  $ "$ZV_SOURCE/Tests/Tools/check-json.py" bad/* | cut -d : -f 1 | sort -u | wc -l
  16
  $ sed 's/"bus": "SDIO"/"bus": "ISA"/; s/"stateFlags": 0/"stateFlags": "0"/' list.json >bad/list.json
  $ echo '{"adapters": [{"problem": -1, "friendly": "name", "values": {"V": {"type": "dword", "value": "3"}}}]}' \
  >   >bad/machine.json
  $ "$ZV_SOURCE/Tests/Tools/check-json.py" bad/list.json bad/machine.json
  bad/list.json: $[0].stateFlags: '0' is not of type 'integer'
  bad/list.json: $[1].stateFlags: '0' is not of type 'integer'
  bad/list.json: $[2].bus: 'ISA' is not one of ['USB', 'SDIO', 'PCIe', '?']
  bad/list.json: $[2].stateFlags: '0' is not of type 'integer'
  bad/machine.json: $.adapters[0].problem: -1 is less than the minimum of 0
  bad/machine.json: $.adapters[0].values.V: {'type': 'dword', 'value': '3'} is not valid under any of the given schemas
  bad/machine.json: $.adapters[0]: Additional properties are not allowed ('friendly' was unexpected)
  [1]
