#!/usr/bin/env bash
# TapDelay's LV2 editor inside the Ardour 7 GUI (Debian 12's 7.3) on a private
# Xvfb: Ardour embeds our X11 UI (instance access, idle interface), a real
# click on tap 0's delay switch must reach Ardour's port value (checked in
# the saved session). Screenshots go to OUT.
#   tools/lv2/ardour_editor.sh [bundle folder] [OUT, default ./ardour-lv2-editor]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init lv2-ardour-editor "${2:-./ardour-lv2-editor}"
hc_plugin lv2 "${1:-$hc_root/build/TapDelay.lv2}"
hc_ardour
hc_xvfb
hc_ardour_gui
hc_ardour_session "$here/ardour_session.lua" "$work/session"
hc_ardour_start

hc_ardour_edit 1
hc_wait 15 hc_child 800x360 || hc_abort editor "the TapDelay editor did not open" 02-no-editor
read -r ex ey _ < <(hc_child 800x360)
hc_origin "$ex" "$ey"
hc_shot 02-editor 1
hc_pass editor "Ardour embeds TapDelay's 800x360 editor at $ex,$ey"

hc_click 79 88   # tap 0's delay switch: off
hc_shot 03-switch-off 1
hc_ardour_save || true
value=$(hc_ardour_value "$HC_SESSION" DelayON/OFF0)
hc_verdict port "the click set Ardour's DelayON/OFF0 to '$value'" test "$value" = 0
hc_finish
