#!/usr/bin/env bash
# TapDelay's own editor inside the Ardour 7 GUI as Debian 12 ships it (7.3),
# on a private Xvfb, driven with real X input from xdotool. Ardour runs on the
# dummy backend, whose swelling sine sweep feeds two tracks carrying TapDelay.
# Every step leaves a screenshot in OUT and prints PASS or FAIL; the script
# exits 0 only when all passed. Installs what is missing from Debian.
# Usage: tools/ardour/open_editor.sh [BUILD] [OUT]   (OUT: ./ardour-editor)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
mkdir -p "${2:-./ardour-editor}"
out=$(cd "${2:-./ardour-editor}" && pwd)

missing=()
command -v ardour7-lua > /dev/null || missing+=(ardour)
command -v Xvfb > /dev/null || missing+=(xvfb)
command -v xdotool > /dev/null || missing+=(xdotool)
command -v xwininfo > /dev/null || missing+=(x11-utils)
command -v import > /dev/null || missing+=(imagemagick)
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# Settings, caches, sessions and the plug-in's own user bank stay in a
# scratch folder; Ardour and the X server go away with it.
work=$(mktemp -d)
xvfb_pid="" ardour_pid=""
cleanup() {
  [ -z "$ardour_pid" ] || kill "$ardour_pid" 2> /dev/null || true
  [ -z "$xvfb_pid" ] || kill "$xvfb_pid" 2> /dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# Always an X server of our own, on the first free display from :71.
n=71
while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
Xvfb ":$n" -screen 0 1600x1200x24 -nolisten tcp -noreset > "$work/xvfb.log" 2>&1 &
xvfb_pid=$!
export DISPLAY=":$n"

# wait_for SECONDS COMMAND...: retries COMMAND every 0.1 s.
wait_for() {
  local tenths=$(($1 * 10)); shift
  for ((i = 0; i < tenths; i++)); do "$@" > /dev/null 2>&1 && return 0; sleep 0.1; done
  return 1
}
wait_for 10 xdotool getmouselocation || { echo "FAIL Xvfb did not start"; exit 1; }

mkdir -p "$work/vst" "$work/config/ardour7" "$work/data"
cp -r "$build/TapDelay" "$work/vst/"
export XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" XDG_DATA_HOME="$work/data"
export LXVST_PATH="$work/vst"
LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst-scanner -f -q "$work/vst/TapDelay/TapDelay.so"
# A session only takes a cache entry that is newer than the plug-in file.
touch -d '+5 seconds' "$XDG_CACHE_HOME"/ardour7/vst/*.v2i

# Without these the GUI stops at the first-run wizard (.a7 marks it done)
# and at the Audio/MIDI setup dialog (the dummy backend, remembered as the
# last one used, is started without asking).
touch "$XDG_CONFIG_HOME/ardour7/.a7"
cat > "$XDG_CONFIG_HOME/ardour7/config" << 'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="try-autostart-engine" value="1"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="Normal Speed" device="Sine Sweep Swell" input-device="" output-device="" sample-rate="48000" buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" lm-input="" lm-output="" active="1" use-buffered-io="0" midi-option="1 in, 1 out, Silence" lru="1"><MIDIDevices/></State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
</Ardour>
EOF

ardour7-lua "$here/editor_session.lua" "$work/session" > "$out/session.log" 2>&1 ||
  { cat "$out/session.log"; echo "FAIL no session"; exit 1; }
session="$work/session/editor.ardour"
cp "$session" "$out/session-created.ardour"

# Ardour only opens a session named by an absolute path straight away.
ardour -n -a "$session" > "$out/ardour.out" 2> "$out/ardour.err" &
ardour_pid=$!

status=0
verdict() {  # verdict NAME DETAIL TEST...
  local name=$1 detail=$2; shift 2
  if "$@"; then echo "PASS $name: $detail"; else echo "FAIL $name: $detail"; status=1; fi
}
shot() { sleep "${2:-0.8}"; import -window root "$out/$1.png"; }
alive() { kill -0 "$ardour_pid" 2> /dev/null; }
gt() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a > b) }'; }
near() { awk -v a="$1" -v b="$2" 'BEGIN { d = a - b; exit !(d < 1e-3 && d > -1e-3) }'; }

# Pixels that differ between two screenshots inside a rectangle given in
# editor coordinates: changed A B X Y W H.
ex=0 ey=0
changed() {
  local g="${5}x${6}+$((ex + $3))+$((ey + $4))"
  { compare -metric AE -fuzz 3% "$out/$1.png[$g]" "$out/$2.png[$g]" null: 2>&1 || true; } |
    awk '{ print int($1) }'
}
# Editor-relative input.
click() { xdotool mousemove $((ex + $1)) $((ey + $2)) click 1; }
# Ardour's processor buttons for TapDelay in the mixer strips of Echo 1 and
# Echo 2 (the layout of 7.3 on a 1600x1200 screen with its default theme).
strip1=(330 214) strip2=(440 214)
edit_plugin() { xdotool mousemove "$1" "$2" click --repeat 2 --delay 80 1; }

# The plug-in window Ardour made for a track, and the editor's X window
# inside it, 800x360 unless another size is given ("X Y ID" of the latter).
plugin_window() { xdotool search --onlyvisible --name "^$1: TapDelay" 2> /dev/null | head -1; }
find_editor() {  # find_editor TRACK [WIDTHxHEIGHT]
  local w
  w=$(plugin_window "$1") || return 1
  [ -n "$w" ] || return 1
  xwininfo -id "$w" -tree | awk -v size=" ${2:-800x360}+" 'index($0, size) { split($NF, a, "+"); print a[2], a[3], $1; found = 1; exit }
                                 END { exit !found }'
}
window_size() { xwininfo -id "$1" | awk '/Width:/ { w = $NF } /Height:/ { h = $NF } END { print w "x" h }'; }
# Top-level X windows (menus and dialogs of the editor appear there).
toplevels() { xwininfo -root -children | awk '/^ +0x/ { print $1 }' | sort; }
new_window() {  # new_window BEFORE-FILE: "X Y W H" of one new mapped top-level
  local id
  for id in $(comm -13 "$1" <(toplevels)); do
    xwininfo -id "$id" | awk '/Map State: IsViewable/ { v = 1 } /Absolute upper-left X/ { x = $NF }
      /Absolute upper-left Y/ { y = $NF } /Width:/ { w = $NF } /Height:/ { h = $NF }
      END { if (v) print x, y, w, h; exit !v }' && return 0
  done
  return 1
}
# A value Ardour keeps for the first TapDelay's parameter in a session file.
param() { grep -o "<Controllable name=\"$2\"[^>]*" "$1" | head -1 | sed 's/.* value="\([^"]*\)".*/\1/'; }
session_menu() {  # session_menu Y: an item of Ardour's Session menu
  xdotool mousemove 29 11 click 1; sleep 0.8; xdotool mousemove 42 "$1" click 1
}
save_session() {
  local before
  before=$(stat -c %Y "$session")
  sleep 1.1
  session_menu 112
  wait_for 10 test "$(stat -c %Y "$session")" != "$before"
}

# 1. Ardour comes up on the session, without any dialog.
wait_for 60 xdotool search --onlyvisible --name '^editor - Ardour' ||
  { shot 00-no-ardour 0; echo "FAIL Ardour's editor window did not appear"; exit 1; }
shot 00-ardour 2
# The Mixer window (the Mix button) shows the strips with their plug-ins.
xdotool mousemove 1325 72 click 1
shot 01-mixer 1.5

# 2. The plug-in's own editor, from a double click on TapDelay in Echo 1.
edit_plugin "${strip1[@]}"
if ! wait_for 15 find_editor "Echo 1"; then
  shot 02-no-editor 0
  echo "FAIL the TapDelay editor did not open"; exit 1
fi
pw=$(plugin_window "Echo 1")
# Without a window manager it opens over the strips: move it below them.
xdotool windowmove "$pw" 0 720
wait_for 5 sh -c "xwininfo -id $pw | grep -q 'Absolute upper-left Y: *720'" || true
read -r ex ey editor_id < <(find_editor "Echo 1")
shot 02-editor-open 1
echo "PASS editor: Ardour shows TapDelay's own 800x360 window ($editor_id at $ex,$ey) in '$(xdotool getwindowname "$pw")'"

# effEditIdle: the input meter follows the swelling sweep only when the
# host idles the editor.
moved=0
shot idle-0 0.1
for k in 1 2 3 4; do
  shot "idle-$k" 0.3
  moved=$((moved + $(changed "idle-$((k - 1))" "idle-$k" 10 45 40 150)))
done
verdict idle "input meter moved ($moved pixels in 1.2 s)" gt "$moved" 20

# 3. Power switch off and on again.
click 38 17
shot 03-power-off
verdict power-off "$(changed 02-editor-open 03-power-off 20 5 36 26) pixels changed" \
  gt "$(changed 02-editor-open 03-power-off 20 5 36 26)" 30
click 38 17
shot 04-power-on
verdict power-on "$(changed 02-editor-open 04-power-on 20 5 36 26) pixels differ from the start" \
  test "$(changed 02-editor-open 04-power-on 20 5 36 26)" -lt 10

# 4. Tap 1 gain knob: press, 40 px down in steps, release.
xdotool mousemove $((ex + 308)) $((ey + 87)) mousedown 1
for _ in 1 2 3 4 5 6 7 8; do xdotool mousemove_relative -- 0 5; sleep 0.05; done
xdotool mouseup 1
shot 05-knob
verdict knob "$(changed 04-power-on 05-knob 238 70 94 34) pixels of the tap 1 gain changed" \
  gt "$(changed 04-power-on 05-knob 238 70 94 34)" 50

# 5. Typed entry into tap 1's time. Tempo sync (on in the factory program)
# sets the times itself, so it goes off first.
click 156 342
shot 06-sync-off
verdict sync-off "switch changed" gt "$(changed 05-knob 06-sync-off 144 330 26 24)" 20
click 112 86
shot 07-entry-open
verdict entry-open "a field over the time text" gt "$(changed 06-sync-off 07-entry-open 60 70 110 36)" 100
xdotool type --delay 80 250
shot 08-typed 0.5
verdict typing "the keys reached the field (focus $(xdotool getwindowfocus))" \
  gt "$(changed 07-entry-open 08-typed 60 70 110 36)" 30
xdotool key Return
shot 09-time-250
verdict entry-done "the field closed on Return" gt "$(changed 08-typed 09-time-250 60 70 110 36)" 30

# 6. Tempo sync on, then the note menu: its second entry (8th).
click 156 342
shot 10-sync-on
toplevels > "$work/before"
click 203 340
if wait_for 5 new_window "$work/before"; then
  read -r mx my mw mh < <(new_window "$work/before")
  shot 11-note-menu 0.5
  echo "PASS note-menu: ${mw}x${mh} popup at $mx,$my"
  xdotool mousemove $((mx + 40)) $((my + 30)) click 1
  wait_for 5 sh -c "! xwininfo -root -children | grep -q '${mw}x${mh}+${mx}+${my}'" || true
  shot 12-note-8th
  verdict note-choice "note and tap times changed" gt "$(changed 10-sync-on 12-note-8th 60 70 300 230)" 200
else
  shot 11-no-menu 0
  echo "FAIL note-menu: no popup"; status=1
fi

# 7. SAVE opens the modal program dialog; Return confirms it and the
# plug-in writes its user bank.
toplevels > "$work/before"
click 292 18
if wait_for 5 xdotool search --onlyvisible --name '^Save Program$'; then
  shot 13-save-dialog 0.5
  xdotool key Return
  wait_for 5 sh -c "! xdotool search --onlyvisible --name '^Save Program\$'" || true
  shot 14-saved
  verdict save "dialog closed, bank written" test -s "$XDG_CONFIG_HOME/TapDelay/TapDelayDef.fxb"
  # Saving reloads the program. The effect keeps tempo sync on (step 8
  # reads it back), but the editor's tempo-sync switch redraws as off after
  # any change from outside the editor: it takes its state from
  # NormalizeValToDWValue, which answers 0 for every value.
else
  shot 13-no-dialog 0
  echo "FAIL save: no dialog"; status=1
fi

# 8. What Ardour recorded from the editor's automation calls: its session
# file after Session > Save.
if save_session; then
  cp "$session" "$out/session-saved.ardour"
  was=$out/session-created.ardour now=$out/session-saved.ardour
  verdict host-time "DelayTime0 $(param "$now" DelayTime0) (250 ms of 4000)" near "$(param "$now" DelayTime0)" 0.0625
  verdict host-gain "DelayGain0 $(param "$was" DelayGain0) -> $(param "$now" DelayGain0)" \
    test "$(param "$was" DelayGain0)" != "$(param "$now" DelayGain0)"
  verdict host-note "SyncNote $(param "$was" SyncNote) -> $(param "$now" SyncNote), TempoSync $(param "$now" TempoSync)" \
    test "$(param "$was" SyncNote)" != "$(param "$now" SyncNote)"
  verdict host-sync "TempoSync $(param "$now" TempoSync) after the program save" near "$(param "$now" TempoSync)" 1
else
  echo "FAIL host-values: the session was not saved"; status=1
fi

# 9. Hiding and showing the window again (a second double click hides it).
edit_plugin "${strip1[@]}"
wait_for 5 sh -c "xwininfo -id $pw | grep -q IsUnMapped" && hidden=1 || hidden=0
shot 15-hidden
edit_plugin "${strip1[@]}"
wait_for 10 find_editor "Echo 1" && shown=1 || shown=0
shot 16-shown-again 1.5
read -r ex ey id2 < <(find_editor "Echo 1" || echo "0 0 none")
verdict hide-show "hidden $hidden, shown $shown, same X window: $id2" test "$hidden$shown$id2" = "11$editor_id"

# 10. Removing the plug-in closes its editor for good (effEditClose); then
# Echo 2's TapDelay opens a new one in the same process.
xdotool mousemove "${strip1[@]}" click 3
sleep 1
xdotool mousemove $((strip1[0] + 40)) $((strip1[1] + 390)) click 1
wait_for 10 sh -c "! xwininfo -id $editor_id" && gone=1 || gone=0
shot 17-removed 1
verdict close "editor window destroyed: $gone, Ardour alive" test "$gone" = 1 -a -d "/proc/$ardour_pid"
edit_plugin "${strip2[@]}"
if wait_for 15 find_editor "Echo 2"; then
  read -r ex ey id3 < <(find_editor "Echo 2")
  shot 18-second-editor 1.5
  verdict reopen "Echo 2's editor $id3 at $ex,$ey" alive
else
  shot 18-no-second-editor 0
  echo "FAIL reopen: Echo 2's editor did not open"; status=1
fi

# 10b. The Size menu: a right click on the editor's background, then
# "200 %" (the third entry). The editor asks Ardour to resize
# (audioMasterSizeWindow) and draws at twice its size; Ardour's plug-in
# window must follow. Then back to "100 %".
pw2=$(plugin_window "Echo 2")
before_size=$(window_size "$pw2")
toplevels > "$work/before"
xdotool mousemove $((ex + 400)) $((ey + 40)) click 3
if wait_for 5 new_window "$work/before"; then
  read -r mx my mw mh < <(new_window "$work/before")
  shot 19-size-menu 0.5
  echo "PASS size-menu: ${mw}x${mh} popup at $mx,$my"
  xdotool key Down Down Down Return
  if wait_for 10 find_editor "Echo 2" 1600x720; then
    read -r ex ey id4 < <(find_editor "Echo 2" 1600x720)
    sleep 1
    shot 20-size-200 1
    after_size=$(window_size "$pw2")
    verdict size-200 "editor $id4 now 1600x720; Ardour's window $before_size -> $after_size" \
      test "${after_size%x*}" -ge 1600 -a "${after_size#*x}" -ge 720
    toplevels > "$work/before"
    xdotool mousemove $((ex + 800)) $((ey + 80)) click 3
    wait_for 5 new_window "$work/before" || true
    sleep 0.5
    xdotool key Down Return
    wait_for 10 find_editor "Echo 2" && back=1 || back=0
    shot 21-size-100 1
    verdict size-100 "editor back at 800x360: $back; Ardour's window $(window_size "$pw2")" test "$back" = 1
  else
    shot 20-no-resize 0
    echo "FAIL size-200: the editor did not grow"; status=1
  fi
else
  shot 19-no-size-menu 0
  echo "FAIL size-menu: no popup"; status=1
fi

# 11. Quit with an editor open: Ardour must end cleanly.
save_session || true
session_menu 494
rc=0
if wait_for 30 sh -c "! kill -0 $ardour_pid"; then
  wait "$ardour_pid" || rc=$?
  ardour_pid=""
  verdict quit "exit status $rc" test "$rc" = 0
else
  shot 19-still-running 0
  echo "FAIL quit: Ardour still runs"; status=1
fi
if grep -E -i 'segmentation|sigsegv|terminate called|aborted|backtrace' "$out/ardour.err" "$out/ardour.out"; then
  echo "FAIL crash messages in Ardour's output"; status=1
fi
exit $status
