#!/usr/bin/env bash
# Makes the README's picture of the editor: the built plug-in opened in
# `vsthost edit` on a virtual X server, "Dotted 8th + Quarter" selected and
# the demo phrase playing through it, photographed after two seconds; and
# the same at 200 %, as a HiDPI host asks for it, beside it (OUT@2x.png).
# Usage: tools/editor_screenshot.sh [BUILD] [OUT.png]   (default build, tools/editor.png)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
out=${2:-$here/editor.png}
vsthost=$build/tools/vsthost/vsthost

command -v xvfb-run > /dev/null || bash "$here/setup.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The demo's synthesised phrase is the sound; a private preferences folder
# keeps the user's own programs out of the picture.
export XDG_CONFIG_HOME=$work/config
"$vsthost" demo --out "$work/demo" --programs 0 > /dev/null
for scale in 1 2; do
  picture=$out
  [ "$scale" = 1 ] || picture=${out%.png}@${scale}x.png
  xvfb-run -a -s "-screen 0 1920x1080x24" \
    "$vsthost" edit "$build/TapDelay/TapDelay.so" --program "Dotted 8th + Quarter" \
    --audio "$work/demo/input.wav" --scale "$scale" --screenshot "$picture" --after 2
done
