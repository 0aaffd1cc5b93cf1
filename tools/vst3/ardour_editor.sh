#!/usr/bin/env bash
# The VST 3 bundle's editor inside the Ardour 7 GUI (Debian 12's 7.3) on a
# private Xvfb: Ardour embeds the plug view in its window and runs it from its
# own loop (IRunLoop); real clicks (xdotool) on tap 0's delay switch and on
# the power switch must reach the values Ardour saves (the bypass follows the
# power switch); the Size menu's "200 %" must grow Ardour's window. Quits
# cleanly with the editor open. Screenshots go to OUT.
#   tools/vst3/ardour_editor.sh [BUILD] [OUT, default ./ardour-vst3-editor]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init vst3-ardour-editor "${2:-./ardour-vst3-editor}"
hc_plugin vst3 "${1:-$hc_root/build}/TapDelay.vst3"
hc_ardour
hc_xvfb
hc_ardour_gui
hc_ardour_session "$here/../lv2/ardour_session.lua" "$work/session"
cp "$HC_SESSION" "$out/session-created.ardour"
hc_ardour_start

hc_ardour_edit 1
hc_wait 15 hc_child 800x360 || hc_abort editor "the TapDelay editor did not open" 02-no-editor
read -r ex ey editor < <(hc_child 800x360)
hc_origin "$ex" "$ey"
hc_shot 02-editor 1
hc_pass editor "Ardour embeds TapDelay's 800x360 editor ($editor) at $ex,$ey"

# The meters move only when the host's loop idles the editor (silence in:
# the power switch's picture must change instead).
hc_click 79 88   # tap 0's delay switch: off
hc_shot 03-switch-off 1
hc_verdict switch "the switch redrew" hc_gt "$(hc_changed 02-editor 03-switch-off 65 78 28 22)" 20
hc_click 38 17   # the power switch: off
hc_shot 04-power-off 1
hc_verdict power "the power switch redrew" hc_gt "$(hc_changed 03-switch-off 04-power-off 20 5 36 26)" 30

if hc_ardour_save; then
  cp "$HC_SESSION" "$out/session-saved.ardour"
  value() { hc_ardour_value "$HC_SESSION" "$1"; }
  hc_verdict host-switch "the click set Ardour's DelayON/OFF0 to '$(value DelayON/OFF0)'" test "$(value DelayON/OFF0)" = 0
  hc_verdict host-power "ON/OFF '$(value ON/OFF)', Bypass '$(value Bypass)'" \
    test "$(value ON/OFF)" = 0 -a "$(value Bypass)" = 1
else
  hc_fail host-values "the session was not saved"
fi

# The Size menu: a right click on the background, then "200 %".
pw=$(hc_window "TapDelay") || pw=""
hc_toplevels > "$work/before"
hc_click 400 40 3
if hc_wait 5 hc_new_window "$work/before"; then
  hc_shot 05-size-menu 0.5
  xdotool key Down Down Down Return
  if hc_wait 10 hc_child 1600x720; then
    hc_shot 06-size-200 1.5
    hc_verdict size-200 "editor 1600x720; Ardour's window $( [ -n "$pw" ] && hc_size "$pw")" \
      test -z "$pw" -o "$(hc_size "${pw:-0}" | cut -dx -f1)" -ge 1600
  else
    hc_shot 06-no-resize 0
    hc_fail size-200 "the editor did not grow"
  fi
else
  hc_shot 05-no-size-menu 0
  hc_fail size-menu "no popup"
fi

# Quit with the editor open: Ardour must end cleanly.
hc_ardour_menu 494
rc=0
hc_stop ardour 30 || rc=$?
hc_verdict quit "exit status $rc" test "$rc" = 0
if grep -E -i 'segmentation|sigsegv|terminate called|aborted|backtrace|X Error' "$out/ardour.err" "$out/ardour.out"; then
  hc_fail crash "messages in Ardour's output"
fi
hc_finish
