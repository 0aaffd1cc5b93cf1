#!/usr/bin/env bash
# TapDelay's LV2 editor in jalv.gtk3 on a JACK dummy server under Xvfb: jalv
# wraps our X11 UI through suil, hands it the plug-in instance and idles it;
# a click on tap 0's delay switch must turn it off on the screen (jalv shows
# no control writes from a plug-in UI; the in-process check of write_function
# is tests/lv2). Screenshots of the whole screen go to OUT.
#   tools/lv2/jalv_editor.sh [bundle folder] [OUT, default ./jalv-editor]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init lv2-jalv-editor "${2:-./jalv-editor}"
hc_plugin lv2 "${1:-$hc_root/build/TapDelay.lv2}"
hc_install jalv
hc_xvfb 1280x1024
hc_jack 44100 512
hc_start jalv jalv.gtk3 "$HC_NAME"
hc_wait 10 hc_window TapDelay || { tail -20 "$out/jalv.err"; hc_abort editor "jalv.gtk3 showed no TapDelay window" 00-no-window; }
sleep 2
xdotool windowmove "$(hc_window TapDelay)" 0 0
sleep 1
# The editor's corner: the X11 child window jalv embedded.
read -r ex ey _ < <(hc_child 800x360 || echo "")
[ -n "${ex:-}" ] || hc_abort editor "the 800x360 editor window is not on the screen" 00-no-editor
hc_origin "$ex" "$ey"
hc_shot 01-editor 0
hc_pass editor "jalv.gtk3 embeds TapDelay's 800x360 editor at $ex,$ey"
hc_click 79 88   # tap 0's delay switch: off
hc_shot 02-switch-off 1
n=$(hc_changed 01-editor 02-switch-off 73 79 12 18)
hc_verdict switch "the click turned tap 0's switch off ($n pixels changed)" hc_gt "$n" 0
hc_finish
