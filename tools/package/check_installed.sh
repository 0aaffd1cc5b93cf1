#!/usr/bin/env bash
# The installed package in Debian's hosts, as a new user finds it: no plug-in
# path set anywhere. Ardour 7 scans its default folders as it does on start
# (discover-plugins-on-start), then must list TapDelay as VST 2, VST 3 and LV2
# at their installed paths, load each on a track and offer its factory
# programs as presets; Qtractor's plug-in dialog must list it as CLAP. Each
# format is checked when the package installed it. On a private Xvfb (and a
# JACK dummy server for Qtractor); PASS or FAIL per step, screenshots in OUT.
# Given a package, it installs it with apt first and removes it at the end.
# Usage: tools/package/check_installed.sh [PACKAGE.deb] [OUT]   (OUT: ./installed-hosts)
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
deb=${1:-}
[ -z "$deb" ] || deb=$(realpath "$deb")
hc_init installed-hosts "${2:-./installed-hosts}"
unset LXVST_PATH VST_PATH VST3_PATH LV2_PATH CLAP_PATH
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"

installed_here=""
remove_package() {
  [ -n "$installed_here" ] || return 0
  installed_here=""
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get remove -y -qq tapdelay > "$out/apt-remove.log" 2>&1
  hc_verdict removed "apt remove tapdelay leaves none of its files" \
    test ! -e /usr/lib/vst/TapDelay -a ! -e /usr/lib/lv2/TapDelay.lv2 -a ! -e /usr/bin/vsthost
}
trap 'remove_package; _hc_exit' EXIT
if [ -n "$deb" ] && ! dpkg-query -W -f='${Status}' tapdelay 2> /dev/null | grep -q "install ok installed"; then
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "$deb" > "$out/apt-install.log" 2>&1 ||
    { cat "$out/apt-install.log"; hc_abort install "apt install $deb failed"; }
  installed_here=1
fi
dpkg-query -W -f='${Status}' tapdelay 2> /dev/null | grep -q "install ok installed" ||
  hc_abort install "the tapdelay package is not installed (give the .deb)"
hc_pass install "tapdelay $(dpkg-query -W -f='${Version}' tapdelay) installed"
formats=()
[ ! -e /usr/lib/vst/TapDelay/TapDelay.so ] || formats+=(vst2)
[ ! -e /usr/lib/vst3/TapDelay.vst3 ] || formats+=(vst3)
[ ! -e /usr/lib/lv2/TapDelay.lv2 ] || formats+=(lv2)
echo "installed formats: ${formats[*]} $([ -e /usr/lib/clap/TapDelay.clap ] && echo clap)"
hc_xvfb

# Ardour: its GUI on an empty session scans the default folders, as it does
# on start for a new user who asked for it; ardour7-lua then reads the scan.
HC_FORMAT=lv2 hc_ardour
cat > "$work/scan.lua" << 'EOF'
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
hc.session(arg[1], "scan")
hc.save()
close_session()
EOF
hc_ardour_session "$work/scan.lua" "$work/scan"
hc_ardour_gui
sed -i 's|<Config>|<Config>\n    <Option name="discover-plugins-on-start" value="1"/>|' "$XDG_CONFIG_HOME/ardour7/config"
hc_start ardour ardour -n -a "$HC_SESSION"
# The main window comes once the scan of every plug-in on the machine is done.
hc_wait 600 hc_window "^scan - Ardour" || hc_abort ardour "Ardour's window did not appear" ardour-no-window
hc_shot ardour-after-scan 2
hc_stop ardour 1 || true
hc_ardour_lua "$here/ardour_installed.lua" "$work/installed" > "$out/ardour-installed.log"
grep '^found' "$out/ardour-installed.log" || true
expected_path() {
  case $1 in
    vst2) echo /usr/lib/vst/TapDelay/TapDelay.so ;;
    vst3) echo /usr/lib/vst3/TapDelay.vst3/Contents/x86_64-linux/TapDelay.so ;;
    lv2) echo /NOPATH ;;  # Ardour keeps no path for LV2: lilv finds the bundle
  esac
}
for format in "${formats[@]}"; do
  line=$(grep "^found $format " "$out/ardour-installed.log" || true)
  hc_verdict "ardour-$format" "Ardour lists TapDelay as $format at $(expected_path "$format")" \
    grep -q "^found $format $(expected_path "$format") " <<< "$line"
  hc_verdict "ardour-$format-load" "it loads on a track" grep -q " loaded true " <<< "$line"
  hc_verdict "ardour-$format-presets" "its factory program Slapback is a preset" grep -q " preset true$" <<< "$line"
done
# The session with every TapDelay Ardour found on its track, in the mixer.
HC_SESSION=$(ls "$work"/installed/*.ardour)
hc_ardour_start
hc_stop ardour 1 || true
[[ " ${formats[*]} " != *" lv2 "* ]] ||
  hc_verdict lv2-bundle "lilv's default path finds the bundle in /usr/lib/lv2" \
    grep -q "Bundle: *file:///usr/lib/lv2/TapDelay.lv2/" <(lv2info urn:tapdelay:lv2:TapDelay)

# Qtractor: Add Plugin on a track, type CLAP, as a user picks a plug-in; its
# scan of the default CLAP folders is cached where the dialog lists from.
if [ -e /usr/lib/clap/TapDelay.clap ]; then
  hc_jack
  cat > "$work/empty.qtr" << EOF
<!DOCTYPE qtractorSession>
<session version="0.9.31" name="installed">
 <properties><directory>$work</directory><sample-rate>48000</sample-rate></properties>
 <tracks>
  <track name="Echo" type="audio">
   <properties><input-bus>Master</input-bus><output-bus>Master</output-bus></properties>
  </track>
 </tracks>
</session>
EOF
  hc_qtractor_start "$work/empty.qtr" qtractor
  hc_click_in "$HC_QTRACTOR" 180 179 3           # the track's plug-in list: its menu
  sleep 0.8
  hc_click_in "$HC_QTRACTOR" 245 189 1           # Add Plugin...
  sleep 3
  hc_click_in "$HC_QTRACTOR" 751 271 1           # the plug-in type
  sleep 0.8
  xdotool key C Return                           # CLAP
  sleep 3
  hc_click_in "$HC_QTRACTOR" 500 272 1           # the name filter
  xdotool type TapDelay
  hc_shot qtractor-clap 1.5
  hc_verdict qtractor-clap "Qtractor lists TapDelay as CLAP at /usr/lib/clap/TapDelay.clap" \
    grep -q '^CLAP|TapDelay|.*|/usr/lib/clap/TapDelay.clap|' "$XDG_CACHE_HOME/Qtractor/qtractor_clap_scan.cache"
  hc_click_in "$HC_QTRACTOR" 751 494 1           # Cancel
  sleep 0.5
  hc_qtractor_quit
fi

remove_package
hc_finish
