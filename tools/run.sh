#!/usr/bin/env bash
# Sets up a fresh machine, builds and installs TapDelay to your own folders
# (~/.vst/TapDelay/, ~/.vst3/TapDelay.vst3/, ~/.lv2/TapDelay.lv2/,
# ~/.clap/TapDelay.clap, tapdelay and vsthost to ~/.local/bin/),
# then runs the main job: the command-line host renders a synthesised phrase
# through several factory presets of the installed plug-in and writes WAV
# files and pictures (extra arguments go to `vsthost demo`, e.g. --out DIR).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
source tools/configure.sh
configure_release
cmake --build "$RELEASE_BUILD" -j"$(nproc)" --target installables
cmake --install "$RELEASE_BUILD" >/dev/null
echo "installed:"
sed "s|^$HOME/||" "$RELEASE_BUILD/install_manifest.txt" |
  awk -F/ '{ print "  ~/" ($1 == ".local" ? $1 "/" $2 "/" $3 : $1 "/" $2) }' | sort -u

"$RELEASE_BUILD/tools/vsthost/vsthost" demo --plugin "$HOME/.vst/TapDelay/TapDelay.so" "$@"
