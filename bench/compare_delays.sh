#!/bin/sh
# Speed of TapDelay at its heaviest setting against two delays from Debian:
# LSP's Slap-back Delay (six taps, low and high cut filters on) and
# ZamDelay. Both comparisons run interleaved A B A B through vsthost bench;
# the ratios are TapDelay's time over the other's (above 1: TapDelay is
# slower).
#
#   bench/compare_delays.sh [BUILD_DIR]        (default: build)
#   SECONDS_PER_RUN=30 ROUNDS=7 (the defaults) bench/compare_delays.sh
set -eu

here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../build}
vsthost=$build/tools/vsthost/vsthost
tapdelay=$build/TapDelay/TapDelay.so
lsp=/usr/lib/vst/lsp-plugins/slap-delay-stereo.so
zam=/usr/lib/vst/ZamDelay-vst.so
seconds=${SECONDS_PER_RUN:-30}
rounds=${ROUNDS:-7}

for file in "$vsthost" "$tapdelay"; do
    [ -e "$file" ] || { echo "missing $file: build first (cmake --build $build)" >&2; exit 1; }
done

# Six taps at different times, each with its filter on, feedback on at 50 %,
# no tempo following (the times stay as set); 48 kHz, blocks of 512, single
# precision.
set -- -P "$tapdelay" --rate 48000 --block 512 -s "$seconds" -n "$rounds" \
    -p ON/OFF=ON -p TempoSync=OFF -p FeedBackON/OFF=ON -p FeedBack=50% -p Balance=50%
tap=0
for ms in 150 310 470 630 790 950; do
    type=$(echo "L-SH PK H-SH L-SH PK H-SH" | cut -d' ' -f$((tap + 1)))
    set -- "$@" -p "DelayON/OFF$tap=ON" -p "DelayTime$tap=${ms}ms" -p "DelayPan$tap:=$((tap * 20))" \
        -p "FilterON/OFF$tap=ON" -p "FilterType$tap=$type" -p "FilterCutoff$tap=$((800 + tap * 700))Hz" \
        -p "FilterGain$tap=-6dB" -p "FilterQ$tap:=1.5"
    tap=$((tap + 1))
done
tapdelay_args="$*"

summary=""
run() {
    label=$1
    shift
    echo "== TapDelay (A) against $label (B)"
    out=$("$vsthost" bench $tapdelay_args --vs "$@")
    echo "$out"
    echo
    ratio=$(echo "$out" | sed -n 's/^A\/B: \([0-9.]*\).*/\1/p')
    a=$(echo "$out" | sed -n 's/^A: \([0-9.]*\) ns.*/\1/p')
    b=$(echo "$out" | sed -n 's/^B: \([0-9.]*\) ns.*/\1/p')
    summary="$summary$(printf '%-44s %9s %9s %7s' "$label" "$a" "$b" "$ratio")
"
}

if [ -e "$lsp" ]; then
    # Six taps in time mode at the same times, low cut and high cut on.
    set -- "$lsp"
    tap=0
    for ms in 150 310 470 630 790 950; do
        set -- "$@" -p "dm$tap=Time" -p "dt$tap=${ms}ms" -p "lfc$tap=on" -p "hfc$tap=on"
        tap=$((tap + 1))
    done
    run "LSP Slap-back Delay Stereo, 6 taps, cuts on" "$@"
else
    echo "skipping LSP Slap-back Delay: $lsp is missing (Debian package lsp-plugins-vst)"
fi

if [ -e "$zam" ]; then
    run "ZamDelay (mono), 500 ms, feedback 0.5" "$zam" -p Time=500ms -p Feedback=0.5
else
    echo "skipping ZamDelay: $zam is missing (Debian package zam-plugins)"
fi

echo "== Summary: median ns per frame at 48 kHz, blocks of 512, single precision"
printf '%-44s %9s %9s %7s\n' "TapDelay (6 taps, 6 filters, feedback 50%) vs" "TapDelay" "other" "ratio"
printf '%s' "$summary"
