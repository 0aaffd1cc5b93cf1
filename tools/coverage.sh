#!/usr/bin/env bash
# Builds TapDelay with gcc's coverage in build-coverage, runs every test there
# (the X11 ones on a private Xvfb) and prints gcovr's line coverage of the
# product's folders. Not part of CI.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
bash tools/setup.sh gcovr
JOBS=${JOBS:-$(nproc)}
FOLDER=build-coverage

. tools/hostcheck/lib.sh
hc_xvfb 1920x1080
export TAPDELAY_REQUIRE_X11=1

LAUNCHER=()
command -v ccache >/dev/null && LAUNCHER=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# A fresh folder: notes of objects no longer built (a removed file, files
# now compiled in unity batches) would be merged with the live ones.
rm -rf "$FOLDER"
# Atomic counters: the tests run threads, and racing increments leave
# negative branch counts that gcovr refuses to parse.
cmake -S . -B "$FOLDER" -G Ninja -DCMAKE_BUILD_TYPE=Debug "${LAUNCHER[@]}" \
  -DCMAKE_CXX_FLAGS='--coverage -fprofile-update=atomic' -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage -DCMAKE_MODULE_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$FOLDER" -j"$JOBS"
# Counts start from zero (the build's test discovery runs the programs too).
find "$FOLDER" -name '*.gcda' -delete
ctest --test-dir "$FOLDER" -j"$JOBS" > "$FOLDER/ctest.log" || true
grep -E 'tests passed' "$FOLDER/ctest.log"

folders=() filters=()
for folder in host effect dsp editor toolkit formats; do
  [ -d "$folder" ] && folders+=("$folder/") && filters+=(--filter "$folder/")
done
# The .ttl generator runs at build time, not under the tests; what it writes
# is checked through lilv's tools.
echo "Line coverage of ${folders[*]} (formats/lv2/make_ttl.cpp aside):"
gcovr --root . "${filters[@]}" --exclude formats/lv2/make_ttl.cpp -j"$JOBS" --print-summary "$FOLDER" |
  grep -E '^(TOTAL|lines:)'
