#!/usr/bin/env bash
# TapDelay's own editor inside the Ardour 7 GUI as Debian 12 ships it (7.3),
# on a private Xvfb, driven with real X input from xdotool. Ardour runs on the
# dummy backend, whose swelling sine sweep feeds two tracks carrying TapDelay.
# Every step leaves a screenshot in OUT and prints PASS or FAIL; the script
# exits 0 only when all passed. Installs what is missing from Debian.
# Usage: tools/ardour/open_editor.sh [BUILD] [OUT]   (OUT: ./ardour-editor)
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init ardour-editor "${2:-./ardour-editor}"
hc_plugin vst2 "${1:-$hc_root/build}/TapDelay"
hc_ardour
hc_xvfb
hc_ardour_gui "Sine Sweep Swell"
hc_ardour_session "$here/editor_session.lua" "$work/session"
cp "$HC_SESSION" "$out/session-created.ardour"

alive() { kill -0 "${HC_PID[ardour]}" 2> /dev/null; }
# The plug-in window Ardour made for a track, and the editor's X window
# inside it, 800x360 unless another size is given ("X Y ID" of the latter).
plugin_window() { hc_window "^$1: TapDelay"; }
find_editor() {  # find_editor TRACK [WIDTHxHEIGHT]
  local w
  w=$(plugin_window "$1") || return 1
  hc_child "${2:-800x360}" "$w"
}
editor_at() {  # editor_at TRACK [SIZE]: ex, ey, id of the editor, its corner the origin
  read -r ex ey id < <(find_editor "$@" || echo "0 0 none")
  hc_origin "$ex" "$ey"
}

hc_ardour_start

# 2. The plug-in's own editor, from a double click on TapDelay in Echo 1.
hc_ardour_edit 1
hc_wait 15 find_editor "Echo 1" || hc_abort editor "the TapDelay editor did not open" 02-no-editor
pw=$(plugin_window "Echo 1")
# Without a window manager it opens over the strips: move it below them.
xdotool windowmove "$pw" 0 720
hc_wait 5 sh -c "xwininfo -id $pw | grep -q 'Absolute upper-left Y: *720'" || true
editor_at "Echo 1"
editor_id=$id
hc_shot 02-editor-open 1
hc_pass editor "Ardour shows TapDelay's own 800x360 window ($editor_id at $ex,$ey) in '$(xdotool getwindowname "$pw")'"

# effEditIdle: the input meter follows the swelling sweep only when the
# host idles the editor.
moved=0
hc_shot idle-0 0.1
for k in 1 2 3 4; do
  hc_shot "idle-$k" 0.3
  moved=$((moved + $(hc_changed "idle-$((k - 1))" "idle-$k" 10 45 40 150)))
done
hc_verdict idle "input meter moved ($moved pixels in 1.2 s)" hc_gt "$moved" 20

# 3. Power switch off and on again.
hc_click 38 17
hc_shot 03-power-off
n=$(hc_changed 02-editor-open 03-power-off 20 5 36 26)
hc_verdict power-off "$n pixels changed" hc_gt "$n" 30
hc_click 38 17
hc_shot 04-power-on
n=$(hc_changed 02-editor-open 04-power-on 20 5 36 26)
hc_verdict power-on "$n pixels differ from the start" test "$n" -lt 10

# 4. Tap 1 gain knob: press, 40 px down in steps, release.
hc_drag 308 87 0 40
hc_shot 05-knob
n=$(hc_changed 04-power-on 05-knob 238 70 94 34)
hc_verdict knob "$n pixels of the tap 1 gain changed" hc_gt "$n" 50

# 5. Typed entry into tap 1's time. Tempo sync (on in the factory program)
# sets the times itself, so it goes off first.
hc_click 156 342
hc_shot 06-sync-off
hc_verdict sync-off "switch changed" hc_gt "$(hc_changed 05-knob 06-sync-off 144 330 26 24)" 20
hc_click 112 86
hc_shot 07-entry-open
hc_verdict entry-open "a field over the time text" hc_gt "$(hc_changed 06-sync-off 07-entry-open 60 70 110 36)" 100
xdotool type --delay 80 250
hc_shot 08-typed 0.5
hc_verdict typing "the keys reached the field (focus $(xdotool getwindowfocus))" \
  hc_gt "$(hc_changed 07-entry-open 08-typed 60 70 110 36)" 30
xdotool key Return
hc_shot 09-time-250
hc_verdict entry-done "the field closed on Return" hc_gt "$(hc_changed 08-typed 09-time-250 60 70 110 36)" 30

# 6. Tempo sync on, then the note menu: its second entry (8th).
hc_click 156 342
hc_shot 10-sync-on
hc_toplevels > "$work/before"
hc_click 203 340
if hc_wait 5 hc_new_window "$work/before"; then
  read -r mx my mw mh < <(hc_new_window "$work/before")
  hc_shot 11-note-menu 0.5
  hc_pass note-menu "${mw}x${mh} popup at $mx,$my"
  xdotool mousemove $((mx + 40)) $((my + 30)) click 1
  hc_wait 5 sh -c "! xwininfo -root -children | grep -q '${mw}x${mh}+${mx}+${my}'" || true
  hc_shot 12-note-8th
  hc_verdict note-choice "note and tap times changed" hc_gt "$(hc_changed 10-sync-on 12-note-8th 60 70 300 230)" 200
else
  hc_shot 11-no-menu 0
  hc_fail note-menu "no popup"
fi

# 7. SAVE opens the modal program dialog; Return confirms it and the
# plug-in writes its user bank.
hc_click 292 18
if hc_wait 5 hc_window '^Save Program$'; then
  hc_shot 13-save-dialog 0.5
  xdotool key Return
  hc_wait 5 sh -c "! xdotool search --onlyvisible --name '^Save Program\$'" || true
  hc_shot 14-saved
  hc_verdict save "dialog closed, bank written" test -s "$XDG_CONFIG_HOME/TapDelay/TapDelayDef.fxb"
  # Saving reloads the program. The effect keeps tempo sync on (step 8
  # reads it back), but the editor's tempo-sync switch redraws as off after
  # any change from outside the editor: it takes its state from
  # NormalizeValToDWValue, which answers 0 for every value.
else
  hc_shot 13-no-dialog 0
  hc_fail save "no dialog"
fi

# 8. What Ardour recorded from the editor's automation calls: its session
# file after Session > Save.
if hc_ardour_save; then
  cp "$HC_SESSION" "$out/session-saved.ardour"
  was=$out/session-created.ardour now=$out/session-saved.ardour
  value() { hc_ardour_value "$1" "$2"; }
  hc_verdict host-time "DelayTime0 $(value "$now" DelayTime0) (250 ms of 4000)" hc_near "$(value "$now" DelayTime0)" 0.0625
  hc_verdict host-gain "DelayGain0 $(value "$was" DelayGain0) -> $(value "$now" DelayGain0)" \
    test "$(value "$was" DelayGain0)" != "$(value "$now" DelayGain0)"
  hc_verdict host-note "SyncNote $(value "$was" SyncNote) -> $(value "$now" SyncNote), TempoSync $(value "$now" TempoSync)" \
    test "$(value "$was" SyncNote)" != "$(value "$now" SyncNote)"
  hc_verdict host-sync "TempoSync $(value "$now" TempoSync) after the program save" hc_near "$(value "$now" TempoSync)" 1
else
  hc_fail host-values "the session was not saved"
fi

# 9. Hiding and showing the window again (a second double click hides it).
hc_ardour_edit 1
hc_wait 5 sh -c "xwininfo -id $pw | grep -q IsUnMapped" && hidden=1 || hidden=0
hc_shot 15-hidden
hc_ardour_edit 1
hc_wait 10 find_editor "Echo 1" && shown=1 || shown=0
hc_shot 16-shown-again 1.5
editor_at "Echo 1"
hc_verdict hide-show "hidden $hidden, shown $shown, same X window: $id" test "$hidden$shown$id" = "11$editor_id"

# 10. Removing the plug-in closes its editor for good (effEditClose); then
# Echo 2's TapDelay opens a new one in the same process. Its context menu's
# Delete entry sits 390 px below the processor in Echo 1's strip.
xdotool mousemove 330 214 click 3
sleep 1
xdotool mousemove 370 604 click 1
hc_wait 10 sh -c "! xwininfo -id $editor_id" && gone=1 || gone=0
hc_shot 17-removed 1
hc_verdict close "editor window destroyed: $gone, Ardour alive" test "$gone" = 1 -a -d "/proc/${HC_PID[ardour]}"
hc_ardour_edit 2
if hc_wait 15 find_editor "Echo 2"; then
  editor_at "Echo 2"
  hc_shot 18-second-editor 1.5
  hc_verdict reopen "Echo 2's editor $id at $ex,$ey" alive
else
  hc_shot 18-no-second-editor 0
  hc_fail reopen "Echo 2's editor did not open"
fi

# 10b. The Size menu: a right click on the editor's background, then
# "200 %" (the third entry). The editor asks Ardour to resize
# (audioMasterSizeWindow) and draws at twice its size; Ardour's plug-in
# window must follow. Then back to "100 %".
pw2=$(plugin_window "Echo 2")
before_size=$(hc_size "$pw2")
hc_toplevels > "$work/before"
hc_click 400 40 3
if hc_wait 5 hc_new_window "$work/before"; then
  read -r mx my mw mh < <(hc_new_window "$work/before")
  hc_shot 19-size-menu 0.5
  hc_pass size-menu "${mw}x${mh} popup at $mx,$my"
  xdotool key Down Down Down Return
  if hc_wait 10 find_editor "Echo 2" 1600x720; then
    editor_at "Echo 2" 1600x720
    sleep 1
    hc_shot 20-size-200 1
    after_size=$(hc_size "$pw2")
    hc_verdict size-200 "editor $id now 1600x720; Ardour's window $before_size -> $after_size" \
      test "${after_size%x*}" -ge 1600 -a "${after_size#*x}" -ge 720
    hc_toplevels > "$work/before"
    hc_click 800 80 3
    hc_wait 5 hc_new_window "$work/before" || true
    sleep 0.5
    xdotool key Down Return
    hc_wait 10 find_editor "Echo 2" && back=1 || back=0
    hc_shot 21-size-100 1
    hc_verdict size-100 "editor back at 800x360: $back; Ardour's window $(hc_size "$pw2")" test "$back" = 1
  else
    hc_shot 20-no-resize 0
    hc_fail size-200 "the editor did not grow"
  fi
else
  hc_shot 19-no-size-menu 0
  hc_fail size-menu "no popup"
fi

# 11. Quit with an editor open: Ardour must end cleanly.
hc_ardour_save || true
hc_ardour_quit
hc_finish
