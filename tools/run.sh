#!/usr/bin/env bash
# Sets up a fresh machine, builds and installs TapDelay, then runs the main
# job: the command-line host's demo renders (or, until the host is built, the
# plug-in's identity, programs and parameters).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)"
cmake --install build >/dev/null
echo "installed to $HOME/.vst/TapDelay/"

if [ -x build/tools/vsthost/vsthost ]; then
  build/tools/vsthost/vsthost demo "$@"
else
  build/tools/plugin_info/plugin_info "$HOME/.vst/TapDelay/TapDelay.so"
fi
