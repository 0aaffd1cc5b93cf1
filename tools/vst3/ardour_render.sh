#!/usr/bin/env bash
# The VST 3 bundle rendered by Ardour 7 as Debian 12 ships it (7.3), headless
# (ardour7-lua on the dummy backend): a recording of the backend's noise goes
# through TapDelay with a factory program and the master is exported as
# 32-bit float WAV; `vsthost render` must give the same samples, bit for bit,
# from the VST 2 plug-in with the same program. Installs Debian's ardour when
# it is missing.   tools/vst3/ardour_render.sh [BUILD] [OUT]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init vst3-ardour-render "${2:-}"
build=${1:-$hc_root/build}
hc_plugin vst3 "$build/TapDelay.vst3"
hc_ardour

# An export preset of Ardour's own "BWAV 32float Export" format.
preset_id=5b0c1d6e-7a3f-4c11-9e2d-7ad7a9c3f001
mkdir -p "$XDG_CONFIG_HOME/ardour7/export"
cat > "$XDG_CONFIG_HOME/ardour7/export/tapdelay-float.preset" << EOF2
<?xml version="1.0" encoding="UTF-8"?>
<ExportPreset id="$preset_id" name="TapDelay float WAV">
  <ExportFormat id="20b4ab09-6452-4cb3-bd66-b921cdbd2942"/>
  <ExportFilename><Folder relative="1" path="export"/><Field name="label" enabled="1"/></ExportFilename>
</ExportPreset>
EOF2

same_samples() {  # same_samples A.wav B.wav: prints "N frames, M differ"; true when none differ
  python3 - "$1" "$2" << 'PY'
import struct, sys
def samples(path):
    data = open(path, 'rb').read()
    at, fmt = 12, None
    while at + 8 <= len(data):
        kind, size = data[at:at + 4], struct.unpack_from('<I', data, at + 4)[0]
        if kind == b'fmt ': fmt = struct.unpack_from('<HH', data, at + 8)
        if kind == b'data':
            assert fmt and fmt[0] in (3, 0xFFFE), (path, fmt)
            return fmt[1], data[at + 8:at + 8 + size]
        at += 8 + size + (size & 1)
    raise SystemExit(path + ': no data')
(ca, a), (cb, b) = samples(sys.argv[1]), samples(sys.argv[2])
n = min(len(a), len(b)) // 4
x, y = struct.unpack_from('<%df' % n, a), struct.unpack_from('<%df' % n, b)
differ = sum(1 for i in range(n) if x[i] != y[i])
peak = max(abs(v) for v in x)
print('%d frames of %d and %d channels (%d and %d bytes), %d samples differ, peak %.3f'
      % (n // ca, ca, cb, len(a), len(b), differ, peak))
sys.exit(0 if differ == 0 and len(a) == len(b) and ca == cb and peak > 0.01 else 1)
PY
}

tail=3
for program in "Slapback" "Dub Echo" "Resonator 110 Hz" "Quarter Note Echo"; do
  name=${program// /-}
  log=$out/render-$name.log
  hc_ardour_lua "$here/ardour_render.lua" "$work/session-$name" "$program" "$tail" "$preset_id" \
    "$work/export-$name" > "$log" || true
  recorded=$(sed -n 's/^recorded //p' "$log")
  exported=$(ls "$work/export-$name"/*.wav 2> /dev/null | head -1 || true)
  if [ -z "$recorded" ] || [ -z "$exported" ]; then
    hc_fail "render-$name" "no recording or export (see $log)"; grep -iE "error|assert" "$log" | head -5; continue
  fi
  "$build/tools/vsthost/vsthost" render "$recorded" "$work/vsthost-$name.wav" --program "$program" \
    --tail "$tail" --tempo 120 > "$out/vsthost-$name.log" 2>&1
  cp "$exported" "$out/ardour-$name.wav" 2> /dev/null || true
  detail=$(same_samples "$exported" "$work/vsthost-$name.wav") && ok=1 || ok=0
  hc_verdict "render-$name" "$program: $detail" test "$ok" = 1
done
hc_finish
