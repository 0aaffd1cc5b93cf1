#!/usr/bin/env bash
# Steinberg's validator on the bundle, the standard tests and the extensive
# set; every test must pass. The first validator found among the candidates
# runs; with none, the test is skipped (exit 77).
#   run_validator.sh <bundle> <validator>...
set -uo pipefail
bundle=$1; shift
validator=""
for candidate in "$@"; do [ -x "$candidate" ] && { validator=$candidate; break; }; done
if [ -z "$validator" ]; then
    echo "skipped: no VST 3 validator at $* (Steinberg's, built from the VST 3 SDK)"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work XDG_CONFIG_HOME=$work/config  # no user bank
fail=0
for set in standard extensive; do
    args=(); [ $set = extensive ] && args=(-e)
    "$validator" "${args[@]}" "$bundle" >"$work/$set.txt" 2>&1
    status=$?
    result=$(grep "^Result:" "$work/$set.txt" | tail -1)
    echo "$set: ${result:-no result} (exit $status)"
    if [ $status -ne 0 ] || ! grep -q "tests passed, 0 tests failed" <<<"$result"; then
        grep -iE "error|failed" "$work/$set.txt" | head -20
        fail=1
    fi
done
exit $fail
