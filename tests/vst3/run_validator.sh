#!/usr/bin/env bash
# Steinberg's validator on the bundle, standard and extensive sets: every test
# must pass. The first candidate found runs; with none, skipped (exit 77).
#   run_validator.sh <bundle> <validator>...
bundle=$1; shift
for validator in "$@" ""; do [ -x "$validator" ] && break; done
[ -n "$validator" ] || { echo "skipped: no VST 3 validator at $*"; exit 77; }
work=$(mktemp -d); trap 'rm -rf "$work"' EXIT
export HOME=$work XDG_CONFIG_HOME=$work/config  # no user bank
fail=0
for set in standard extensive; do
    "$validator" $([ $set = standard ] || printf %s -e) "$bundle" >"$work/out" 2>&1 || fail=1
    result=$(grep "^Result:" "$work/out" | tail -1) && echo "$set: $result"
    grep -q "tests passed, 0 tests failed" <<<"$result" || { grep -iE "error|failed" "$work/out" | head -20; fail=1; }
done
exit $fail
