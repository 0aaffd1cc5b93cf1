#!/usr/bin/env bash
# What Ardour 7 (Debian 12: 7.3) makes of TapDelay's parameter properties,
# headless through ardour7-lua: the descriptor of a switch, the two
# selectors and two plain values, and the values its controls can reach.
# Usage: tools/ardour/check_parameter_ranges.sh [BUILD]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)

if ! command -v ardour7-lua > /dev/null; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends ardour
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/vst"
cp -r "$build/TapDelay" "$work/vst/"
export XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" LXVST_PATH="$work/vst"
LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst-scanner -f -q "$work/vst/TapDelay/TapDelay.so"
touch -d '+5 seconds' "$XDG_CACHE_HOME"/ardour7/vst/*.v2i
out=$(ardour7-lua "$here/parameter_ranges.lua" "$work/session" 2>&1 || true)
grep -E '^(param|PASS|FAIL)|Error' <<< "$out" || true
grep -q '^PASS' <<< "$out"
