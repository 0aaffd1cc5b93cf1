#!/usr/bin/env bash
# Sets up a fresh machine, builds TapDelay and runs every test under
# AddressSanitizer + UndefinedBehaviorSanitizer, then the thread checks under
# ThreadSanitizer and the fuzz targets for a bounded time; last the release
# build runs the smoke set (its exports, bit-exact processing, the editor on
# the X server) and is packed, and the package is checked (tests/package/);
# their test summary closes the output.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
JOBS=${JOBS:-$(nproc)}
STARTED=$SECONDS
stage() { echo "=== $1 (at $((SECONDS - STARTED)) s) ==="; }

# The X11 tests run on a virtual X server of this run's own.
. tools/hostcheck/lib.sh
hc_xvfb 1920x1080
export TAPDELAY_REQUIRE_X11=1

source tools/configure.sh

stage "AddressSanitizer + UndefinedBehaviorSanitizer"
configure build-asan RelWithDebInfo -DTAPDELAY_SANITIZE=address,undefined
cmake --build build-asan -j"$JOBS"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan --output-on-failure -j"$JOBS"

stage "ThreadSanitizer"
configure build-tsan RelWithDebInfo -DTAPDELAY_SANITIZE=thread
cmake --build build-tsan -j"$JOBS" --target TapDelay tapdelay_resources test_concurrency test_editor_concurrency
TSAN_OPTIONS="halt_on_error=1" ctest --test-dir build-tsan --output-on-failure -j"$JOBS" -L tsan

if [ -f tests/fuzz/CMakeLists.txt ]; then
  stage "Fuzzing (bounded, the targets side by side)"
  CXX=clang++ configure build-fuzz RelWithDebInfo -DTAPDELAY_FUZZ=ON
  cmake --build build-fuzz -j"$JOBS" --target fuzz_set_chunk fuzz_bank_file
  ctest --test-dir build-fuzz --output-on-failure -j"$JOBS" -L fuzz
fi

# The sanitizer build ran every test; the release build, as tools/run.sh
# makes it, proves itself with the smoke set, and packed as tools/package.sh
# packs it, with the package checks.
stage "Release build, package, smoke and package tests"
configure_release
cmake --build "$RELEASE_BUILD" -j"$JOBS" --target smoke package_checks
rm -rf "$RELEASE_BUILD/package"
bash tools/package.sh "$RELEASE_BUILD/package"
ctest --test-dir "$RELEASE_BUILD" --output-on-failure -j"$JOBS" -L "smoke|package"
