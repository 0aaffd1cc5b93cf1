#!/usr/bin/env bash
# Sets up a fresh machine, builds and installs TapDelay to ~/.vst/TapDelay/
# (the VST 3 bundle to ~/.vst3/TapDelay.vst3/, the LV2 bundle to
# ~/.lv2/TapDelay.lv2/, TapDelay.clap to ~/.clap/),
# then runs the main job: the command-line host renders a synthesised phrase
# through several factory presets of the installed plug-in and writes WAV
# files and pictures (extra arguments go to `vsthost demo`, e.g. --out DIR).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)"
cmake --install build >/dev/null
echo "installed to $HOME/.vst/TapDelay/, $HOME/.vst3/TapDelay.vst3/, $HOME/.lv2/TapDelay.lv2/ and $HOME/.clap/TapDelay.clap, tapdelay and vsthost to $HOME/.local/bin/"

build/tools/vsthost/vsthost demo --plugin "$HOME/.vst/TapDelay/TapDelay.so" "$@"
