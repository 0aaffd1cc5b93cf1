#!/usr/bin/env bash
# Tempo sync inside Ardour 7 as Debian 12 ships it (7.3), headless: ardour7-lua
# with the dummy audio backend plays a session with an 8th-note program at two
# tempi; the taps must follow at 1 to 6 eighth notes of the session's tempo.
# Ardour answers audioMasterTempoAt with BPM x 1000, so a VST 2 plug-in must
# take the tempo from the time info; an LV2 plug-in gets time:Position, and
# its taps are read from the bank in the saved state (Ardour's control inputs
# do not show what the plug-in set itself). Installs Debian's ardour when it
# is missing. Usage: tools/ardour/check_tempo_sync.sh [BUILD] [vst2|lv2|vst3]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
format=${2:-vst2}
hc_init "ardour-tempo-sync-$format"
build=${1:-$hc_root/build}
case $format in
  vst2) hc_plugin vst2 "$build/TapDelay" ;;
  *) hc_plugin "$format" "$build/TapDelay.$format" ;;
esac
hc_ardour

saved_taps() {  # saved_taps SESSION-FOLDER: tap times of the current program in the LV2 state
  local state
  state=$(grep -rl "$HC_NAME#bank" "$1" 2> /dev/null | head -1) || return 0
  python3 - "$state" << 'PY'
import base64, re, struct, sys
text = open(sys.argv[1]).read()
bank = base64.b64decode(re.search(r'#bank>\s*"""(.*?)"""', text, re.S).group(1))
assert len(bank) == 17664, len(bank)
current = struct.unpack_from('<i', bank, 272)[0]
values = struct.unpack_from('<62f', bank, 276 * current)
print(' '.join('%.1f' % (values[3 + t] * 4000) for t in range(6)))
PY
}

for bpm in 120 98; do
  log=$work/$bpm.log
  hc_ardour_lua "$here/tempo_sync.lua" "$work/session$bpm" "8th Note Echo" "$bpm" > "$log" || true
  if [ "$format" = lv2 ]; then
    grep -E '^tempo|Error|error' "$log" || true
    followed=$(saved_taps "$work/session$bpm" || true)
    echo "followed $followed ms (the saved state's current program)"
  else
    grep -E '^(tempo|stored|followed)|Error' "$log" || true
    followed=$(sed -n 's/^followed \(.*\) ms after.*/\1/p' "$log")
  fi
  expected=$(sed -n 's/^expected \(.*\) ms/\1/p' "$log")
  hc_verdict "tempo-$bpm" "expected $expected ms" test -n "$followed" -a "$followed" = "$expected"
done
hc_finish
