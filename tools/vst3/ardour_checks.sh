#!/usr/bin/env bash
# Every check of the VST 3 bundle in Ardour 7 (Debian 12's 7.3), one after
# the other: headless render against vsthost render, tempo sync, state over a
# save and reload, the editor in Ardour's GUI (screenshots in OUT/editor).
#   tools/vst3/ardour_checks.sh [BUILD] [OUT, default ./ardour-vst3]
here=$(cd "$(dirname "$0")" && pwd)
build=$(realpath "${1:-$here/../../build}")
out=${2:-./ardour-vst3}
mkdir -p "$out"
failed=0
bash "$here/ardour_render.sh" "$build" "$out/render" || failed=1
bash "$here/../ardour/check_tempo_sync.sh" "$build" vst3 || failed=1
bash "$here/ardour_state.sh" "$build" "$out/state" || failed=1
bash "$here/ardour_editor.sh" "$build" "$out/editor" || failed=1
exit $failed
