#!/usr/bin/env bash
# tapdelay, TapDelay's standalone JACK application, on a private JACK dummy
# server and Xvfb: a factory program, the demo phrase playing into it from a
# client of our own (jack_demo_player), its window photographed while it
# plays; then a second run without the window, ended as a session manager
# ends it (SIGTERM), finds the state the first one saved. PASS or FAIL per
# step, the picture in OUT as standalone.png (look at it: the meters move).
# Usage: tools/jack/standalone_screenshot.sh [BUILD] [OUT]   (OUT: ./tapdelay-standalone)
. "$(dirname "$0")/../hostcheck/lib.sh"
build=$(cd "${1:-$hc_root/build}" && pwd)
hc_init standalone "${2:-./tapdelay-standalone}"
tapdelay=$build/tools/vsthost/tapdelay
player=$build/tools/jack/jack_demo_player
[ -x "$tapdelay" ] && [ -x "$player" ] ||
  hc_abort build "no $tapdelay or $player: cmake --build build --target vsthost jack_demo_player"
hc_xvfb
hc_jack 48000 256

program="Dotted 8th + Quarter"
hc_start player "$player" TapDelay
hc_start window "$tapdelay" --program "$program" --screenshot "$out/standalone.png" --after 4
rc=0
hc_stop window 30 || rc=$?
hc_verdict window "exit status $rc, picture $out/standalone.png" test "$rc" -eq 0 -a -s "$out/standalone.png"
hc_verdict program "\"$program\" chosen" grep -q "^program   8 \"$program\"" "$out/window.out"
hc_verdict played "the player's ports reached tapdelay" grep -q "in_R: connected" "$out/player.out"
hc_verdict saved "the state file written at the end" grep -q "^state     saved to" "$out/window.out"
grep -E "^(xruns|cycles) " "$out/window.out" | sed 's/^/info /'

# A session manager ends it with SIGTERM; the next start has the program.
hc_start headless "$tapdelay" --no-gui
hc_wait 20 grep -q " quits" "$out/headless.out" || hc_abort headless "no start: $(cat "$out/headless.err")"
sleep 2
kill -TERM "${HC_PID[headless]}"
rc=0
hc_stop headless 10 || rc=$?
hc_verdict restored "the first run's program back" grep -q "^program   8 \"$program\"" "$out/headless.out"
hc_verdict sigterm "SIGTERM ends it cleanly (status $rc)" test "$rc" -eq 0
grep -E "^(xruns|cycles) " "$out/headless.out" | sed 's/^/info /'
hc_stop player 0 || true
hc_finish
