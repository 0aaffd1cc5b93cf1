#!/usr/bin/env bash
# TapDelay's LV2 bundle rendering in Ardour 7 (Debian 12's 7.3) headless:
# ardour7-lua with the dummy backend plays a session with an 8th-note preset
# at two tempi; the bank in the saved plug-in state must hold taps at 1 to 6
# eighth notes of the session's tempo (time:Position reached the effect).
#   tools/lv2/ardour_tempo.sh [bundle folder, default build/TapDelay.lv2]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bundle=$(realpath "${1:-$here/../../build/TapDelay.lv2}")
command -v ardour7-lua >/dev/null || { echo "needs Debian's ardour (ardour7-lua)"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lv2" "$work/home"
ln -s "$bundle" "$work/lv2/TapDelay.lv2"
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache LV2_PATH=$work/lv2

status=0
for bpm in 120 98; do
  out=$(ardour7-lua "$here/ardour_tempo.lua" "$work/session$bpm" "8th Note Echo" "$bpm" 2>&1 || true)
  grep -E '^(preset|rolled)|Error|error' <<< "$out" || true
  state=$(grep -rl "tapdelay:lv2:TapDelay#bank" "$work/session$bpm" 2>/dev/null | head -1 || true)
  if [ -z "$state" ]; then echo "FAIL     no saved TapDelay state"; status=1; continue; fi
  python3 - "$state" "$bpm" <<'PY' || status=1
import base64, re, struct, sys
text = open(sys.argv[1]).read()
bank = base64.b64decode(re.search(r'#bank>\s*"""(.*?)"""', text, re.S).group(1))
assert len(bank) == 17664, len(bank)
current = struct.unpack_from('<i', bank, 272)[0]
values = struct.unpack_from('<62f', bank, 276 * current)
taps = ' '.join('%.1f' % (values[3 + t] * 4000) for t in range(6))
bpm = float(sys.argv[2])
expected = ' '.join('%.1f' % (k * 30000 / bpm) for k in range(1, 7))
print('followed ' + taps + ' ms (program %d)' % current)
print(('PASS' if taps == expected else 'FAIL') + '     expected ' + expected + ' ms')
sys.exit(0 if taps == expected else 1)
PY
done
exit $status
