#!/usr/bin/env bash
# Checks of what tools/package.sh wrote, each unpacked into a temporary root
# as dpkg would install it:
#   check_package.sh CASE PACKAGE_DIR BUILD_DIR [ARGUMENTS...]
#   contents  every format the build made is in the package at the path hosts
#             scan, every program has a manual page, the tarball holds the same
#   vst2      the package's vsthost finds the package's TapDelay.so by itself,
#             which renders bit-identical to the build's and has its factory bank
#   link      a lone link to the package's TapDelay.so in ~/.vst loads with the
#             factory programs
#   lv2       lilv reads the package's bundle, which renders as the build's
#   lintian   no error and no warning
#   load FILE COMMAND...  COMMAND must succeed with PACKAGE_FILE naming the
#             unpacked FILE (a path in the package): a format's own test host
#   load-link FILE COMMAND...  the same through a lone link to FILE
# Those that run the package's files also check that nothing was written
# into the installed tree.
# Exits 77 (skipped) when there is no package: tools/package.sh makes it.
set -euo pipefail
case=$1 packages=$2 build=$3
shift 3
deb=$(ls "$packages"/tapdelay_*_amd64.deb 2>/dev/null | head -1 || true)
[ -n "$deb" ] || { echo "SKIP: no package in $packages (bash tools/package.sh $packages)"; exit 77; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config
mkdir -p "$HOME" "$XDG_CONFIG_HOME"
root=$work/root
dpkg -x "$deb" "$root"
touch "$work/unpacked"
fail=0
check() {  # description, command...
    local what=$1
    shift
    if "$@"; then echo "ok   $what"; else echo "FAIL $what"; fail=1; fi
}

impulse_wav() {  # a float stereo impulse, then silence: the taps' whole response
    python3 "$(dirname "$0")/../support/write_impulse.py" "$1" 88200
}

same_samples() {  # two WAV files with equal sample data (libsndfile stamps the time in its header)
    python3 - "$1" "$2" <<'PY'
import sys
def samples(name):
    data = open(name, 'rb').read()
    return data[data.index(b'data'):]
sys.exit(samples(sys.argv[1]) != samples(sys.argv[2]))
PY
}

case $case in
contents)
    listing=$(dpkg-deb -c "$deb" | awk '{ print $6 }' | sed 's|^\./||')
    has() { grep -qx "$1" <<<"$listing"; }
    built() {  # NAME [find tests]: the build made it (somewhere near its top)
        [ -n "$(find "$build" -maxdepth 3 -name "$@" -not -path '*/CMakeFiles/*' -print -quit)" ]
    }
    check "VST 2 folder" has usr/lib/vst/TapDelay/TapDelay.so
    check "VST 2 factory bank" has usr/lib/vst/TapDelay/TapDelayDef.fxb
    if built TapDelay.lv2; then
        check "LV2 bundle" has usr/lib/lv2/TapDelay.lv2/manifest.ttl
        check "LV2 library" has usr/lib/lv2/TapDelay.lv2/TapDelay_lv2.so
    fi
    if built TapDelay.vst3; then
        check "VST 3 bundle" has usr/lib/vst3/TapDelay.vst3/Contents/x86_64-linux/TapDelay.so
    fi
    if built TapDelay.clap; then
        check "CLAP plug-in" has usr/lib/clap/TapDelay.clap
        check "CLAP resources" has usr/lib/clap/TapDelay/TapDelayDef.fxb
    fi
    if built tapdelay -executable -not -type d; then check "standalone program" has usr/bin/tapdelay; fi
    check "vsthost" has usr/bin/vsthost
    for program in $(grep '^usr/bin/.' <<<"$listing"); do
        check "manual page of ${program#usr/bin/}" has "usr/share/man/man1/${program#usr/bin/}.1.gz"
    done
    check "copyright" has usr/share/doc/tapdelay/copyright
    check "changelog" has usr/share/doc/tapdelay/changelog.gz
    tarball=$(ls "$packages"/tapdelay-*-linux-x86_64.tar.gz)
    check "the tarball holds the package's files and INSTALL" \
        diff <( (grep -v '/$' <<<"$listing"; echo INSTALL) | sort) \
             <(tar -tzf "$tarball" | sed 's|^[^/]*/||' | grep -v '/$' | sort)
    ;;
vst2)
    impulse_wav "$work/in.wav"
    check "the package's vsthost hosts the package's TapDelay.so" \
        grep -qx "Plug-in       $root/usr/lib/vst/TapDelay/TapDelay.so (entry VSTPluginMain)" \
        <("$root/usr/bin/vsthost" info)
    for program in 0 "Slapback" "Dub Echo" "Resonator 110 Hz"; do
        "$root/usr/bin/vsthost" render "$work/in.wav" "$work/package.wav" --program "$program" >/dev/null
        "$build/tools/vsthost/vsthost" render "$work/in.wav" "$work/build.wav" --program "$program" \
            --plugin "$build/TapDelay/TapDelay.so" >/dev/null
        check "program $program renders bit-identical" same_samples "$work/package.wav" "$work/build.wav"
    done
    ;;
link)
    mkdir -p "$HOME/.vst"
    ln -s "$root/usr/lib/vst/TapDelay/TapDelay.so" "$HOME/.vst/TapDelay.so"
    programs() { "$build/tools/vsthost/vsthost" info --plugin "$1" | sed -n '/^Programs/,/^$/p'; }
    programs "$build/TapDelay/TapDelay.so" > "$work/build.txt"
    programs "$HOME/.vst/TapDelay.so" > "$work/link.txt"
    check "through a lone link, the factory programs" diff "$work/build.txt" "$work/link.txt"
    ;;
lv2)
    uri=urn:tapdelay:lv2:TapDelay
    check "lv2info reads the bundle in the package" \
        grep -q "$root/usr/lib/lv2/TapDelay.lv2/" <(LV2_PATH=$root/usr/lib/lv2 lv2info "$uri")
    impulse_wav "$work/in.wav"
    feedback=(-c FeedBackONOFF 1 -c FeedBack 40)
    mkdir -p "$work/built-lv2"
    ln -s "$build/TapDelay.lv2" "$work/built-lv2/TapDelay.lv2"
    LV2_PATH=$root/usr/lib/lv2 lv2apply -i "$work/in.wav" -o "$work/package.wav" "${feedback[@]}" "$uri" >/dev/null
    LV2_PATH=$work/built-lv2 lv2apply -i "$work/in.wav" -o "$work/build.wav" "${feedback[@]}" "$uri" >/dev/null
    check "lv2apply renders bit-identical" same_samples "$work/package.wav" "$work/build.wav"
    ;;
lintian)
    status=0
    lintian --fail-on error,warning "$deb" > "$work/lintian.txt" 2>&1 || status=$?
    grep -v "root privileges" "$work/lintian.txt" || true
    check "lintian: no error, no warning" [ "$status" -eq 0 ]
    ;;
load | load-link)
    file=$root/$1
    shift
    if [ "$case" = load-link ]; then
        mkdir -p "$HOME/links"
        ln -s "$file" "$HOME/links/"
        file=$HOME/links/$(basename "$file")
    fi
    check "$(basename "$1") $2 with $file" env PACKAGE_FILE="$file" "$@"
    ;;
*)
    echo "unknown case $case" >&2
    exit 2
    ;;
esac
# What a user saves goes to ~/.config/TapDelay/, never beside the plug-in.
[[ $case == contents || $case == lintian ]] ||
    check "nothing written into the installed tree" test -z "$(find "$root" -newer "$work/unpacked")"
exit $fail
