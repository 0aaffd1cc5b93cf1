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

hc_ardour_editor

hc_click 79 88   # tap 0's delay switch: off
hc_shot 03-switch-off 1
hc_ardour_save || true
value=$(hc_ardour_value "$HC_SESSION" DelayON/OFF0)
hc_verdict port "the click set Ardour's DelayON/OFF0 to '$value'" test "$value" = 0
hc_finish
