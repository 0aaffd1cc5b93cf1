#!/usr/bin/env bash
# TapDelay's LV2 editor inside the Ardour 7 GUI (Debian 12's 7.3) on a private
# Xvfb: Ardour embeds our X11 UI (instance access, idle interface), a real
# click on tap 0's delay switch must reach Ardour's port value (checked in
# the saved session). Screenshots go to OUT.
#   tools/lv2/ardour_editor.sh [bundle folder] [OUT, default ./ardour-lv2-editor] [display number]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bundle=$(realpath "${1:-$here/../../build/TapDelay.lv2}")
mkdir -p "${2:-./ardour-lv2-editor}"
out=$(cd "${2:-./ardour-lv2-editor}" && pwd)
display=:${3:-93}

work=$(mktemp -d)
pids=()
cleanup() { for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT
Xvfb "$display" -screen 0 1600x1200x24 -nolisten tcp -noreset >/dev/null 2>&1 & pids+=($!)
export DISPLAY=$display
wait_for() {  # wait_for SECONDS COMMAND...
  local tenths=$(($1 * 10)); shift
  for ((i = 0; i < tenths; i++)); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  return 1
}
wait_for 10 xdotool getmouselocation || { echo "FAIL Xvfb did not start"; exit 1; }

mkdir -p "$work/lv2" "$work/home" "$work/config/ardour7"
ln -s "$bundle" "$work/lv2/TapDelay.lv2"
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache XDG_DATA_HOME=$work/data
export LV2_PATH=$work/lv2
# No first-run wizard, no Audio/MIDI dialog: the dummy backend starts by itself.
touch "$XDG_CONFIG_HOME/ardour7/.a7"
cat > "$XDG_CONFIG_HOME/ardour7/config" << 'XML'
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="try-autostart-engine" value="1"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="Normal Speed" device="Silence" input-device="" output-device="" sample-rate="48000" buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" lm-input="" lm-output="" active="1" use-buffered-io="0" midi-option="1 in, 1 out, Silence" lru="1"><MIDIDevices/></State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
</Ardour>
XML
ardour7-lua "$here/ardour_session.lua" "$work/session" >"$out/session.log" 2>&1 ||
  { cat "$out/session.log"; echo "FAIL no session"; exit 1; }
session="$work/session/editor.ardour"
ardour -n -a "$session" >"$out/ardour.out" 2>"$out/ardour.err" & pids+=($!)

shot() { sleep "${2:-0.8}"; import -window root "$out/$1.png"; }
wait_for 60 xdotool search --onlyvisible --name '^editor - Ardour' ||
  { shot 00-no-ardour 0; echo "FAIL Ardour did not come up"; exit 1; }
shot 00-ardour 2
xdotool mousemove 1325 72 click 1   # the Mixer
shot 01-mixer 1.5
xdotool mousemove 330 214 click --repeat 2 --delay 80 1   # TapDelay in the strip
find_editor() {
  xwininfo -root -tree | awk '/ 800x360\+/ { n = split($NF, a, "+"); print a[n - 1], a[n]; found = 1; exit }
                              END { exit !found }'
}
wait_for 15 find_editor || { shot 02-no-editor 0; echo "FAIL the TapDelay editor did not open"; exit 1; }
read -r ex ey < <(find_editor)
shot 02-editor 1
echo "PASS editor: Ardour embeds TapDelay's 800x360 editor at $ex,$ey"

before=$(stat -c %Y "$session")
xdotool mousemove $((ex + 79)) $((ey + 88)) click 1   # tap 0's delay switch: off
shot 03-switch-off 1
sleep 1.1
xdotool mousemove 29 11 click 1; sleep 0.8; xdotool mousemove 42 112 click 1   # Session > Save
wait_for 10 test "$(stat -c %Y "$session")" != "$before" || true
value=$(grep -o '<Controllable name="DelayON/OFF0"[^>]*' "$session" | head -1 | sed 's/.* value="\([^"]*\)".*/\1/')
if [ "$value" = "0" ]; then
  echo "PASS port: the click set Ardour's DelayON/OFF0 to 0"
else
  echo "FAIL port: Ardour's DelayON/OFF0 is '${value}' after the click"; exit 1
fi
