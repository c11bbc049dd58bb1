The journal of the samples.

  $ export TZ=UTC
  $ cp "$ZV_SOURCE/Samples/Journals/example.jsonl" journal.json
  $ "$ZV_SOURCE/Tests/Tools/check-json.py" journal.json
  $ zvctl journal show journal.json
  journal of list_host, started 2026-11-24 20:35:38.000
         WL600U: present
         WL900E: problem 22
      5  2026-11-24 20:35:38.250  request            WL600U: 0x122818: in 4 bytes 5a560102; out 6 bytes 574c36303055 of 64; success; 1.250 ms; process 71, thread 72
      6  2026-11-24 20:35:39.000  adapter changed    WL600U: present -> absent
         2 changes are missing
      9  2026-11-24 20:35:40.500  value set          WL600U: Speed = dword 300
     10  2026-11-24 20:35:41.000  broadcast          message 0x218, parameter 0x4, suspend
  $ zvctl journal show journal.json --json | tail -n 1
  {"sequence":10,"missing":0,"time":"2026-11-24T20:35:41.000000Z","kind":"broadcast","adapter":"","details":"message 0x218, parameter 0x4, suspend"}

The last line may be incomplete; errors in other lines name them.

  $ head -c -40 journal.json >cut.json
  $ zvctl journal show cut.json | tail -n 1
  ! zvctl: journal show: cut.json:5: the last line is incomplete; its writer was ended while it wrote it
      9  2026-11-24 20:35:40.500  value set          WL600U: Speed = dword 300
  $ sed '3s/"id": 1/"id": "one"/' journal.json >broken.json
  $ zvctl journal show broken.json | tail -n 1
  ! zvctl: journal show: broken.json:3: data.id: expected a whole number from 0 to 4294967295
      5  2026-11-24 20:35:38.250  request            WL600U: 0x122818: in 4 bytes 5a560102; out 6 bytes 574c36303055 of 64; success; 1.250 ms; process 71, thread 72
  $ zvctl journal show broken.json >/dev/null
  ! zvctl: journal show: broken.json:3: data.id: expected a whole number from 0 to 4294967295
  [2]
  $ sed '3s/^/{/' journal.json | zvctl journal show /dev/stdin | tail -n 1
  ! zvctl: journal show: /dev/stdin:3: parse error at line 1, column 2: syntax error while parsing object key - unexpected '{'; expected string literal
      5  2026-11-24 20:35:38.250  request            WL600U: 0x122818: in 4 bytes 5a560102; out 6 bytes 574c36303055 of 64; success; 1.250 ms; process 71, thread 72
  $ sed '4s/"sequence": 9/"sequence": 6/' journal.json >again.json
  $ zvctl journal show again.json >/dev/null
  ! zvctl: journal show: again.json:4: sequence: expected a larger number than in the line before
  [2]
  $ echo '{"format": "other"}' >other.json
  $ zvctl journal show other.json
  ! zvctl: journal show: other.json:1: format: expected "zvuwpsrvclib journal"
  [2]
  $ zvctl journal show /nowhere
  ! zvctl: journal show: /nowhere: cannot be read: No such file or directory
  [1]

A picture has a lane for each adapter, and is the same each time.

  $ PATH=/nowhere "$ZVCTL" journal show journal.json --plot none.svg
  zvctl: journal show: gnuplot is not installed; install gnuplot-nox, or put gnuplot on the search path
  [1]
  $ if command -v gnuplot >/dev/null; then
  >   zvctl journal show journal.json --plot one.svg
  >   cp one.svg first.svg
  >   zvctl journal show journal.json --plot one.svg
  >   cmp one.svg first.svg
  >   for text in WL600U WL900E computer present problem absent request registry; do
  >     grep -q ">$text<" one.svg || echo "missing: $text"
  >   done
  > fi
