#!/usr/bin/env bash
# Tempo sync inside Ardour 7 as Debian 12 ships it (7.3), headless: ardour7-lua
# with the dummy audio backend. Ardour answers audioMasterTempoAt with BPM x
# 1000, so the taps must take the tempo from the time info. Installs Debian's
# ardour when it is missing. Usage: tools/ardour/check_tempo_sync.sh [BUILD]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)

if ! command -v ardour7-lua > /dev/null; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends ardour
fi

# Ardour's settings, plug-in cache and sessions all stay in a scratch folder.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/vst"
cp -r "$build/TapDelay" "$work/vst/"
export XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" LXVST_PATH="$work/vst"
LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst-scanner -f -q "$work/vst/TapDelay/TapDelay.so"
# A session only takes a cache entry that is newer than the plug-in file.
touch -d '+5 seconds' "$XDG_CACHE_HOME"/ardour7/vst/*.v2i

status=0
for bpm in 120 98; do
  out=$(ardour7-lua "$here/tempo_sync.lua" "$work/session$bpm" "8th Note Echo" "$bpm" 2>&1 || true)
  grep -E '^(tempo|stored|followed|PASS|FAIL)|Error' <<< "$out" || true
  grep -q '^PASS' <<< "$out" || status=1
done
exit $status
