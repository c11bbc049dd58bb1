A watch prints an adapter that the device installer adds and removes.

  $ adapter() {
  >   timeout 60 $ZV_RUNNER "$ZV_BUILD/bin/test_adapters.exe" "$1" >/dev/null 2>&1
  > }
  $ adapter remove || true
  $ timeout 60 $ZV_RUNNER "$ZVCTL" watch --count 2 --for 40 >printed 2>&1 &

A growing file sends no notification.

  $ is_printed() {
  >   for _ in {1..1000}; do
  >     grep -q "$1" printed && return
  >     sleep 0.005
  >   done
  >   return 1
  > }
  $ until is_printed '^watching'; do :; done

Wine starts to listen for devices slightly after a process has registered; the installation is repeated until the
event arrives.

  $ for _ in {1..5}; do
  >   adapter install
  >   is_printed 'test adapter: new' && break
  >   adapter remove
  > done
  $ adapter remove
  $ wait $!
  $ grep -v '^wine client error:' printed
  watching 0 adapters
  ????-??-??T??:??:??.???Z arrived            Zorvane test adapter: new, ready, driver 1.2.3.4 (glob)
  ????-??-??T??:??:??.???Z * Zorvane test adapter: ready -> absent (glob)
