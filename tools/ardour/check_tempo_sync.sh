#!/usr/bin/env bash
# Tempo sync inside Ardour 7 as Debian 12 ships it (7.3), headless: ardour7-lua
# with the dummy audio backend. Ardour answers audioMasterTempoAt with BPM x
# 1000, so the taps must take the tempo from the time info. Installs Debian's
# ardour when it is missing. Usage: tools/ardour/check_tempo_sync.sh [BUILD]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init ardour-tempo-sync
hc_plugin vst2 "${1:-$hc_root/build}/TapDelay"
hc_ardour
for bpm in 120 98; do
  hc_ardour_lua "$here/tempo_sync.lua" "$work/session$bpm" "8th Note Echo" "$bpm" > "$work/$bpm.log" || true
  grep -E '^(tempo|stored|followed)|Error' "$work/$bpm.log" || true
  followed=$(sed -n 's/^followed \(.*\) ms after.*/\1/p' "$work/$bpm.log")
  expected=$(sed -n 's/^expected \(.*\) ms/\1/p' "$work/$bpm.log")
  hc_verdict "tempo-$bpm" "expected $expected ms" test -n "$followed" -a "$followed" = "$expected"
done
hc_finish
