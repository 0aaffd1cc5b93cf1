#!/usr/bin/env bash
# The VST 3 bundle's editor inside the Ardour 7 GUI (Debian 12's 7.3) on a
# private Xvfb: Ardour embeds the plug view in its window and runs it from its
# own loop (IRunLoop); real clicks (xdotool) on tap 0's delay switch and on
# the power switch must reach the values Ardour saves (the bypass follows the
# power switch), and so must a program reset in the editor; the Size menu's
# "200 %" must grow Ardour's window. Quits
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

hc_ardour_editor

# The meters move only when the host's loop idles the editor (silence in:
# the power switch's picture must change instead).
hc_click 79 88   # tap 0's delay switch: off
hc_shot 03-switch-off 1
hc_verdict switch "the switch redrew" hc_gt "$(hc_changed 02-editor 03-switch-off 65 78 28 22)" 20
hc_click 38 17   # the power switch: off
hc_shot 04-power-off 1
hc_verdict power "the power switch redrew" hc_gt "$(hc_changed 03-switch-off 04-power-off 20 5 36 26)" 30

value() { hc_ardour_value "$HC_SESSION" "$1"; }
if hc_ardour_save; then
  cp "$HC_SESSION" "$out/session-saved.ardour"
  hc_verdict host-switch "the click set Ardour's DelayON/OFF0 to '$(value DelayON/OFF0)'" test "$(value DelayON/OFF0)" = 0
  hc_verdict host-power "ON/OFF '$(value ON/OFF)', Bypass '$(value Bypass)'" \
    test "$(value ON/OFF)" = 0 -a "$(value Bypass)" = 1
else
  hc_fail host-values "the session was not saved"
fi

# Shift and the power switch: the program back to its factory values, a
# change the plug-in makes itself (restartComponent, output changes).
xdotool keydown shift
hc_click 38 17
sleep 0.5
xdotool keyup shift
hc_shot 05-factory 1
if hc_ardour_save; then
  hc_verdict host-factory "after the factory reset Ardour saves DelayON/OFF0 '$(value DelayON/OFF0)', ON/OFF '$(value ON/OFF)', Bypass '$(value Bypass)'" \
    test "$(value DelayON/OFF0)$(value ON/OFF)$(value Bypass)" = 110
else
  hc_fail host-factory "the session was not saved"
fi

# The Size menu: a right click on the background, then "200 %"; the view
# asks Ardour's frame to resize (IPlugFrame::resizeView).
pw=$(hc_window "TapDelay" || true)
hc_toplevels > "$work/before"
hc_click 400 40 3
hc_wait 5 hc_new_window "$work/before" && menu=1 || menu=0
hc_shot 06-size-menu 0.5
xdotool key Down Down Down Return
hc_wait 10 hc_child 1600x720 && grown=1 || grown=0
hc_shot 07-size-200 1.5
size=$(hc_size "${pw:-0}" 2> /dev/null || echo 0x0)
hc_verdict size-200 "menu $menu, editor grown to 1600x720 $grown, Ardour's window $size" \
  test "$menu$grown" = 11 -a "${size%x*}" -ge 1600

# Quit with the editor open: Ardour must end cleanly.
hc_ardour_quit
hc_finish
