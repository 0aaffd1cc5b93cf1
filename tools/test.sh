#!/usr/bin/env bash
# Sets up a fresh machine, builds TapDelay and runs every test: first under
# AddressSanitizer + UndefinedBehaviorSanitizer, then the thread checks under
# ThreadSanitizer and the fuzz targets for a bounded time, and last the plain
# build, whose test summary closes the output.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/setup.sh
JOBS=${JOBS:-$(nproc)}

configure_and_build() {  # folder, extra cmake arguments...
  local folder=$1; shift
  cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$folder" -j"$JOBS"
}

echo "=== AddressSanitizer + UndefinedBehaviorSanitizer ==="
configure_and_build build-asan -DTAPDELAY_SANITIZE=address,undefined
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan --output-on-failure -j"$JOBS" -LE "tsan|fuzz"

echo "=== ThreadSanitizer ==="
configure_and_build build-tsan -DTAPDELAY_SANITIZE=thread
TSAN_OPTIONS="halt_on_error=1" ctest --test-dir build-tsan --output-on-failure -L tsan

if [ -f tests/fuzz/CMakeLists.txt ]; then
  echo "=== Fuzzing (bounded) ==="
  CXX=clang++ configure_and_build build-fuzz -DTAPDELAY_FUZZ=ON
  ctest --test-dir build-fuzz --output-on-failure -L fuzz
fi

echo "=== Tests ==="
configure_and_build build
ctest --test-dir build --output-on-failure -j"$JOBS"
