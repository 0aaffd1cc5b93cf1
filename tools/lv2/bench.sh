#!/usr/bin/env bash
# lv2bench (lilv-utils) on TapDelay's bundle beside Debian's LV2 delays: LSP's
# stereo slap-back and artistic delays and ZamDelay, each in its default state.
#   tools/lv2/bench.sh [bundle folder, default build/TapDelay.lv2] [frames] [block]
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init lv2-bench
hc_plugin lv2 "${1:-$hc_root/build/TapDelay.lv2}"
hc_install lilv-utils lsp-plugins-lv2 zam-plugins
export LV2_PATH=$LV2_PATH:/usr/lib/lv2
frames=${2:-4410000}
block=${3:-512}

seconds=$(awk -v f="$frames" 'BEGIN { printf "%.1f", f / 44100 }')
echo "lv2bench: $frames frames ($seconds s at 44.1 kHz), block $block"
printf "%-48s %12s %14s\n" plug-in "seconds" "x realtime"
for uri in "$HC_NAME" \
           http://lsp-plug.in/plugins/lv2/slap_delay_stereo \
           http://lsp-plug.in/plugins/lv2/art_delay_stereo \
           urn:zamaudio:ZamDelay; do
    line=$(lv2bench -b "$block" -n "$frames" "$uri" 2>&1 | grep -F "$uri" | tail -1 || true)
    time=${line%% *}
    if ! [[ $time =~ ^[0-9.]+$ ]]; then printf "%-48s %s\n" "$uri" "${line:-not installed}"; continue; fi
    printf "%-48s %12s %14s\n" "$uri" "$time" "$(awk -v s="$seconds" -v t="$time" 'BEGIN { printf "%.0f", s / t }')"
done
