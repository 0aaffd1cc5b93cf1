#!/usr/bin/env bash
# What Ardour 7 (Debian 12: 7.3) makes of TapDelay's parameter properties,
# headless through ardour7-lua: the descriptor of a switch, the two
# selectors and two plain values, and the values its controls can reach.
# Usage: tools/ardour/check_parameter_ranges.sh [BUILD]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init ardour-parameter-ranges
hc_plugin vst2 "${1:-$hc_root/build}/TapDelay"
hc_ardour
hc_ardour_lua "$here/parameter_ranges.lua" "$work/session" | hc_relay '^param|Error' || true
hc_finish
