#!/usr/bin/env bash
# TapDelay's LV2 bundle rendering in Ardour 7 (Debian 12's 7.3) headless:
# ardour7-lua with the dummy backend plays a session with an 8th-note preset
# at two tempi (../ardour/tempo_sync.lua); the bank in the saved plug-in state
# must hold taps at 1 to 6 eighth notes of the session's tempo
# (time:Position reached the effect).
#   tools/lv2/ardour_tempo.sh [bundle folder, default build/TapDelay.lv2]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init lv2-ardour-tempo
hc_plugin lv2 "${1:-$hc_root/build/TapDelay.lv2}"
hc_ardour
for bpm in 120 98; do
  hc_ardour_lua "$here/../ardour/tempo_sync.lua" "$work/session$bpm" "8th Note Echo" "$bpm" > "$work/$bpm.log" || true
  grep -E '^tempo|Error|error' "$work/$bpm.log" || true
  expected=$(sed -n 's/^expected \(.*\) ms/\1/p' "$work/$bpm.log")
  state=$(grep -rl "$HC_NAME#bank" "$work/session$bpm" 2> /dev/null | head -1 || true)
  [ -n "$state" ] || { hc_fail "tempo-$bpm" "no saved TapDelay state"; continue; }
  followed=$(python3 - "$state" << 'PY'
import base64, re, struct, sys
text = open(sys.argv[1]).read()
bank = base64.b64decode(re.search(r'#bank>\s*"""(.*?)"""', text, re.S).group(1))
assert len(bank) == 17664, len(bank)
current = struct.unpack_from('<i', bank, 272)[0]
values = struct.unpack_from('<62f', bank, 276 * current)
print(' '.join('%.1f' % (values[3 + t] * 4000) for t in range(6)))
PY
  ) || true
  echo "followed $followed ms (the saved state's current program)"
  hc_verdict "tempo-$bpm" "expected $expected ms" test -n "$followed" -a "$followed" = "$expected"
done
hc_finish
