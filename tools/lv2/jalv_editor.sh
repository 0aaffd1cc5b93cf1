#!/usr/bin/env bash
# TapDelay's LV2 editor in jalv.gtk3 on a JACK dummy server under Xvfb: jalv
# wraps our X11 UI through suil, hands it the plug-in instance and idles it;
# a click on tap 0's delay switch must turn it off on the screen (jalv shows
# no control writes from a plug-in UI; the in-process check of write_function
# is tests/lv2), and the whole screen is saved as a picture.
#   tools/lv2/jalv_editor.sh [bundle folder] [screenshot.png] [display number]
set -euo pipefail
cd "$(dirname "$0")/../.."
bundle=$(realpath "${1:-build/TapDelay.lv2}")
out=$(realpath -m "${2:-build/lv2-jalv.png}")
display=:${3:-92}
work=$(mktemp -d)
pids=()
cleanup() { for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT
mkdir -p "$work/lv2" "$work/home"
ln -s "$bundle" "$work/lv2/TapDelay.lv2"
export HOME=$work/home LV2_PATH=$work/lv2 DISPLAY=$display JACK_NO_AUDIO_RESERVATION=1
export JACK_DEFAULT_SERVER=tapdelay$$

Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp -noreset >/dev/null 2>&1 & pids+=($!)
jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 44100 -p 512 >"$work/jack.log" 2>&1 & pids+=($!)
sleep 2
jalv.gtk3 urn:tapdelay:lv2:TapDelay >"$work/jalv.log" 2>&1 & pids+=($!)
for _ in $(seq 50); do
    window=$(xdotool search --name TapDelay 2>/dev/null | head -1 || true)
    [ -n "$window" ] && break
    sleep 0.2
done
[ -n "${window:-}" ] || { echo "jalv.gtk3 showed no TapDelay window"; cat "$work/jalv.log"; exit 1; }
sleep 2
xdotool windowmove "$window" 0 0
sleep 1
# Tap 0's delay switch sits at (79, 88) in the editor; find the editor's
# corner from the X11 child window jalv embedded.
read -r ex ey < <(xwininfo -root -tree | awk '/ 800x360\+/ { n = split($NF, a, "+"); print a[n - 1], a[n]; exit }')
[ -n "${ex:-}" ] || { echo "the 800x360 editor window is not on the screen"; exit 1; }
switch="12x18+$((ex + 73))+$((ey + 79))"
import -window root -crop "$switch" "$work/before.png"
xdotool mousemove $((ex + 79)) $((ey + 88)) click 1
sleep 1
import -window root -crop "$switch" "$work/after.png"
import -window root "$out"
echo "screenshot: $out (editor at $ex,$ey)"
changed=$(compare -metric AE "$work/before.png" "$work/after.png" null: 2>&1 || true)
if [ "${changed%% *}" != "0" ]; then
    echo "ok: the click turned tap 0's switch off ($changed pixels changed)"
else
    echo "FAIL: tap 0's switch did not change"; tail -20 "$work/jalv.log"; exit 1
fi
