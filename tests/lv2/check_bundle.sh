#!/usr/bin/env bash
# The LV2 bundle through Debian's lilv tools: lv2info lists every port with a
# range and no warnings, and lv2apply renders an impulse and a phrase
# bit-identical to vsthost render, for the default state and factory presets
# (lv2apply has no preset option: the preset's port values go in as -c).
#   check_bundle.sh <bundle folder> <vsthost>
set -euo pipefail
bundle=$1 vsthost=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home LV2_PATH=$work/lv2
mkdir -p "$HOME" "$LV2_PATH"
ln -s "$bundle" "$LV2_PATH/TapDelay.lv2"
uri=urn:tapdelay:lv2:TapDelay
fail=0

info=$(lv2info "$uri" 2>&1)
if grep -qiE "warn|error" <<<"$info"; then echo "lv2info complains:"; grep -iE "warn|error" <<<"$info"; fail=1; fi
ports=$(grep -c "^	Port [0-9]*:" <<<"$info")
ranged=$(grep -c "Maximum:" <<<"$info")
[ "$ports" -eq 71 ] || { echo "lv2info lists $ports ports, not 71"; fail=1; }
[ "$ranged" -eq 66 ] || { echo "$ranged control ports have a range, not 66"; fail=1; }

# Test signals: an impulse and the demo phrase.
python3 "$(dirname "$0")/../support/write_impulse.py" "$work/impulse.wav" 44100
"$vsthost" demo --out "$work/demo" --programs 0 --no-editor >/dev/null 2>&1
cp "$work/demo/input.wav" "$work/phrase.wav"

# The control values of a preset, as lv2apply arguments.
preset_args() {
    awk -v name="$1" '
        /^<.*#preset[0-9]+>$/ { inside = 0 }
        $0 ~ "rdfs:label \"" name "\"" { inside = 1 }
        inside && /lv2:symbol/ { gsub(/[";\]]/, ""); printf "-c %s %s ", $3, $5 }' "$bundle/presets.ttl"
}

same_samples() {  # both float WAV files of equal length, the data at the end
    local size; size=$(stat -c %s "$1")
    [ "$size" -eq "$(stat -c %s "$2")" ] && cmp -s <(tail -c $((size - 88)) "$1") <(tail -c $((size - 88)) "$2")
}

for input in impulse phrase; do
    for preset in "" "Slapback" "Dub Echo" "Warm Tape Echo" "Dotted 8th Ping-Pong" "Resonator 110 Hz"; do
        program=() args=()
        if [ -n "$preset" ]; then program=(--program "$preset"); read -ra args <<<"$(preset_args "$preset")"; fi
        "$vsthost" render "$work/$input.wav" "$work/v.wav" --tail 0 --no-time-info --tempo-at-scale 0 \
            "${program[@]}" >/dev/null 2>&1
        lv2apply -i "$work/$input.wav" -o "$work/l.wav" "${args[@]}" "$uri" >/dev/null 2>&1
        if same_samples "$work/v.wav" "$work/l.wav"; then
            echo "ok   $input ${preset:-default}"
        else
            echo "FAIL $input ${preset:-default}: lv2apply differs from vsthost render"; fail=1
        fi
    done
done
exit $fail
