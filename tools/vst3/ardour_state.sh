#!/usr/bin/env bash
# The VST 3 bundle's state over a save and reload in Ardour 7 (Debian 12's
# 7.3), headless: a session with a factory program and values changed through
# Ardour's controls (the bypass among them) is saved, opened again and saved
# again; every parameter and the plug-in's saved state (the bank with its
# current program) must come back unchanged.
#   tools/vst3/ardour_state.sh [BUILD] [OUT]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init vst3-ardour-state "${2:-}"
hc_plugin vst3 "${1:-$hc_root/build}/TapDelay.vst3"
hc_ardour

session=$work/session
hc_ardour_lua "$here/ardour_state.lua" make "$session" > "$out/made.log" || true
hc_ardour_lua "$here/ardour_state.lua" reload "$session" > "$out/reloaded.log" || true
grep -E "^param" "$out/made.log" > "$work/made" || true
grep -E "^param" "$out/reloaded.log" > "$work/reloaded" || true
cp "$session"/state.ardour "$session"/reloaded.ardour "$out/" 2> /dev/null || true

values=$(grep -c '^param' "$work/made" || true)
hc_verdict parameters "$values parameters alike after the reload" \
  test "$values" -ge 63 -a -z "$(diff "$work/made" "$work/reloaded")"
diff "$work/made" "$work/reloaded" | head -10 || true
expected=$(printf '%s\n' "param 0 ON/OFF 0" "param 3 DelayTime0 0.100000001" "param 35 FilterType2 1" \
  "param 58 FeedBack 0.370000005" "param 60 TempoSync 0" "param 62 Bypass 1")
found=$(grep -xF "$expected" "$work/reloaded" | wc -l || true)
hc_verdict values "$found of 6 as set: DelayTime0, FilterType2, FeedBack, TempoSync off, the bypass on and the power off" \
  test "$found" = 6
chunk() { tr -d '\n' < "$1" | grep -o '<chunk>[^<]*</chunk>' | head -1; }
made_chunk=$(chunk "$session/state.ardour" || true) reloaded_chunk=$(chunk "$session/reloaded.ardour" || true)
hc_verdict chunk "the plug-in's saved state (${#made_chunk} characters) the same after the reload" \
  test -n "$made_chunk" -a "$made_chunk" = "$reloaded_chunk"
hc_finish
