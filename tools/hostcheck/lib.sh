# What the host checks under tools/ share: hosts from Debian on a private X
# server and JACK server, real X input, screenshots, PASS/FAIL lines.
# Source it from a script: . "$(dirname "$0")/../hostcheck/lib.sh"
# Whatever a function starts ends when the script exits. A plug-in is given
# by format and path: vst2 (the folder with the .so, or the .so), vst3 (the
# .vst3 bundle), lv2 (the .lv2 bundle), clap (the .clap file).
#
# Set-up
#   hc_init NAME [OUT]        scratch folder $work with a private HOME and XDG folders;
#                             output folder $out (OUT, else $work); $hc_root is the checkout
#   hc_install PACKAGE...     installs the Debian packages that are missing (tools/setup.sh)
#   hc_xvfb [WxH]             private Xvfb on a free display (1600x1200), DISPLAY exported
#   hc_jack [RATE] [PERIOD]   JACK dummy server under a private name (JACK_DEFAULT_SERVER)
#   hc_alsa_seq_standin       HC_PRELOAD: the ALSA sequencer stand-in where /dev/snd/seq is missing
#   hc_start NAME CMD...      CMD in the background, output $out/NAME.out/.err, pid ${HC_PID[NAME]}
#   hc_stop NAME [SECONDS]    waits for NAME to end by itself, then ends it; its exit status
#   hc_plugin FORMAT PATH [NAME]  the plug-in under test copied where hosts look in $HOME;
#                             sets HC_FORMAT, HC_PLUGIN (what a host loads), HC_NAME (lv2: the URI)
# Waiting, windows, input, pictures
#   hc_wait SECONDS CMD...    retries CMD every 0.1 s until it succeeds
#   hc_window REGEX           the first visible window whose name matches
#   hc_child SIZE [WINDOW]    "X Y ID" of the first window of SIZE (WxH) inside WINDOW (the root)
#   hc_size WINDOW            its WxH
#   hc_toplevels > FILE, then hc_new_window FILE: "X Y W H" of a new mapped top level (menu, dialog)
#   hc_origin X Y             origin of the relative input and comparisons below (an editor's corner)
#   hc_click X Y [BUTTON]     a click there;  hc_drag X Y DX DY: press, move in 8 steps, release
#   hc_click_in WINDOW X Y [xdotool click args]  a click relative to WINDOW's top left
#   hc_shot NAME [DELAY] [WINDOW]  after DELAY (0.8 s) WINDOW or the screen as $out/NAME.png
#   hc_changed A B X Y W H    pixels that differ between shots A and B in that rectangle
# Verdicts
#   hc_verdict NAME DETAIL TEST...  PASS or FAIL line after TEST;  hc_pass / hc_fail NAME DETAIL
#   hc_relay [REGEX]          passes on stdin's PASS/FAIL lines (counted) and lines matching REGEX
#   hc_abort NAME DETAIL [SHOT]  FAIL (with a screenshot), then hc_finish
#   hc_gt A B, hc_near A B    numeric tests for hc_verdict
#   hc_finish                 summary line; exit status 0 only if something passed and nothing failed
# Ardour 7 (Debian 12's 7.3)
#   hc_ardour                 installs Ardour, makes the plug-in under test known to it
#   hc_ardour_lua SCRIPT ARG...  ardour7-lua; SCRIPT gets the shared prelude through
#                             dofile(os.getenv("HC_ARDOUR_PRELUDE")) (tools/hostcheck/ardour.lua)
#   hc_ardour_session SCRIPT DIR ARG...  a session made headless by SCRIPT; HC_SESSION its file
#   hc_ardour_gui [DEVICE]    GUI settings: no first-run dialogs, the dummy backend playing DEVICE
#   hc_ardour_start           the GUI on HC_SESSION, shots 00-ardour and 01-mixer (its Mixer window)
#   hc_ardour_edit STRIP      double click on the first plug-in of mixer strip 1, 2, ...
#   hc_ardour_editor [SIZE]   strip 1's plug-in editor (800x360) opened: the origin at its corner,
#                             HC_EDITOR its X window, shot 02-editor
#   hc_ardour_quit            Session > Quit: a clean exit, nothing alarming in Ardour's output
#   hc_ardour_menu Y          an item of the Session menu;  hc_ardour_save: Session > Save
#   hc_ardour_value FILE NAME a value stored for the first plug-in's control NAME in a session file
# Qtractor 0.9.31
#   hc_qtractor_session FILE [XML]  session with an audio track carrying the plug-in under test
#                             (XML: more of its <plugin> element: configs, params)
#   hc_qtractor_start SESSION NAME  Qtractor on SESSION, output $out/NAME.*, main window HC_QTRACTOR
#   hc_qtractor_quit          File > Exit (ended after 10 s)
#   hc_qtractor_save_as FILE  File > Save As under the proposed name, copied to FILE
#   hc_qtractor_edit          double click on the track's plug-in (opens its editor)
#   hc_qtractor_round_trip SESSION [HOOK]  SESSION opened (shot 1-loaded), saved as $out/saved.qtr,
#                             reopened (shot 2-reloaded) and saved as $out/reloaded.qtr, left
#                             running; HOOK before|after runs before each save (e.g. playing)

set -euo pipefail
shopt -s lastpipe  # `... | hc_relay` counts in this shell

hc_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
hc_lib=$hc_root/tools/hostcheck
declare -A HC_PID=()
_hc_order=() _hc_passed=0 _hc_failed=0 work="" out=""
_hc_exit() {
  local i name
  for ((i = ${#_hc_order[@]} - 1; i >= 0; i--)); do
    name=${_hc_order[i]}
    [ -z "${HC_PID[$name]:-}" ] || hc_stop "$name" 0 || true
  done
  [ -z "$work" ] || rm -rf "$work"
}
trap _hc_exit EXIT
trap 'exit 130' INT TERM

hc_init() {
  HC_CHECK=$1
  work=$(mktemp -d)
  if [ -n "${2:-}" ]; then mkdir -p "$2" && out=$(cd "$2" && pwd); else out=$work; fi
  export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_CACHE_HOME=$work/home/.cache
  export XDG_DATA_HOME=$work/home/.local/share XDG_RUNTIME_DIR=$work/run
  mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" "$XDG_RUNTIME_DIR"
  chmod 700 "$XDG_RUNTIME_DIR"
}

hc_install() {
  bash "$hc_root/tools/setup.sh" "$@" | { grep -v '^setup: all' || true; }
}
_hc_need() {  # _hc_need COMMAND PACKAGE
  command -v "$1" > /dev/null || hc_install "$2"
}

hc_start() {
  local name=$1; shift
  "$@" > "${out:-/tmp}/$name.out" 2> "${out:-/tmp}/$name.err" &
  HC_PID[$name]=$!
  _hc_order+=("$name")
}
hc_stop() {
  local name=$1 seconds=${2:-10} pid=${HC_PID[$1]:-} rc=0 i
  [ -n "$pid" ] || return 0
  for ((i = 0; i < seconds * 10; i++)); do kill -0 "$pid" 2> /dev/null || break; sleep 0.1; done
  if kill -0 "$pid" 2> /dev/null; then
    kill "$pid" 2> /dev/null || true
    for ((i = 0; i < 20; i++)); do kill -0 "$pid" 2> /dev/null || break; sleep 0.1; done
    kill -9 "$pid" 2> /dev/null || true
  fi
  wait "$pid" 2> /dev/null || rc=$?
  HC_PID[$name]=""
  return "$rc"
}

hc_xvfb() {
  _hc_need Xvfb xvfb
  local number=${work:-/tmp}/xvfb-display.$$
  # -displayfd: the server picks a free display and names it once it is up.
  # -noreset: a server that resets when its last client leaves turns the next away.
  Xvfb -displayfd 3 -screen 0 "${1:-1600x1200}x24" -nolisten tcp -noreset 3> "$number" 2> /dev/null &
  HC_PID[xvfb]=$!
  _hc_order+=(xvfb)
  hc_wait 10 test -s "$number" || { echo "FAIL Xvfb did not start"; exit 1; }
  export DISPLAY=":$(cat "$number")"
  rm -f "$number"
}

hc_jack() {
  _hc_need jackd jackd2
  # jackd keeps a machine-wide table of eight servers and does not free the
  # entry of one stopped with a client connected; a name used again does. So
  # the name comes from a small pool, held by a lock for this script's life.
  local slot
  for slot in 0 1 2 3; do
    exec {_hc_jack_lock}>"/tmp/tapdelay-hc-$slot.lock"
    flock -n "$_hc_jack_lock" && break
    exec {_hc_jack_lock}>&-
    [ "$slot" -lt 3 ] || { echo "FAIL four host checks already hold a JACK server"; exit 1; }
  done
  # No client may start a default server of its own, nor wait for a real card.
  export JACK_DEFAULT_SERVER="tapdelay-hc-$slot" JACK_NO_START_SERVER=1 JACK_NO_AUDIO_RESERVATION=1
  hc_start jackd jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r "${1:-48000}" -p "${2:-1024}"
  hc_wait 10 jack_lsp || { cat "$out/jackd.err"; echo "FAIL the JACK dummy server did not start"; exit 1; }
}

hc_alsa_seq_standin() {
  HC_PRELOAD=""
  [ ! -e /dev/snd/seq ] || return 0
  _hc_need cc gcc
  cc -shared -fPIC -o "$work/alsa_seq_standin.so" "$hc_lib/alsa_seq_standin.c"
  HC_PRELOAD=$work/alsa_seq_standin.so
}

hc_plugin() {
  local format=$1 path ; path=$(realpath "$2")
  local folder=$HOME/.$format
  [ "$format" != vst2 ] || folder=$HOME/.vst
  mkdir -p "$folder"
  cp -rL "$path" "$folder/"
  HC_FORMAT=$format HC_PLUGIN=$folder/$(basename "$path") HC_NAME=${3:-}
  case $format in
    vst2) [ -f "$HC_PLUGIN" ] || HC_PLUGIN=$(find "$HC_PLUGIN" -maxdepth 1 -name '*.so' | head -1) ;;
    lv2) [ -n "$HC_NAME" ] || HC_NAME=$(awk '/a lv2:Plugin/ { print prev; exit } { prev = $1 }' \
           "$HC_PLUGIN/manifest.ttl" | tr -d '<>') ;;
  esac
  [ -n "$HC_NAME" ] || HC_NAME=$(basename "${path%.*}")
  export LXVST_PATH=$HOME/.vst VST_PATH=$HOME/.vst VST3_PATH=$HOME/.vst3 LV2_PATH=$HOME/.lv2 CLAP_PATH=$HOME/.clap
  export HC_FORMAT HC_PLUGIN HC_NAME
}

hc_wait() {
  local tenths=$(($1 * 10)) i; shift
  for ((i = 0; i < tenths; i++)); do "$@" > /dev/null 2>&1 && return 0; sleep 0.1; done
  return 1
}
hc_window() {
  _hc_need xdotool xdotool
  local w
  w=$(xdotool search --onlyvisible --name "$1" 2> /dev/null | head -1)
  [ -n "$w" ] && echo "$w"
}
hc_child() {
  _hc_need xwininfo x11-utils
  local where=(-root)
  [ -z "${2:-}" ] || where=(-id "$2")
  # A child's line ends in its absolute position: ... WxH+x+y  +X+Y
  xwininfo "${where[@]}" -tree | awk -v size=" $1+" 'index($0, size) { n = split($NF, a, "+");
    print a[n - 1], a[n], $1; found = 1; exit } END { exit !found }'
}
hc_size() { xwininfo -id "$1" | awk '/Width:/ { w = $NF } /Height:/ { h = $NF } END { print w "x" h }'; }
hc_toplevels() { xwininfo -root -children | awk '/^ +0x/ { print $1 }' | sort; }
hc_new_window() {
  local id
  for id in $(comm -13 "$1" <(hc_toplevels)); do
    xwininfo -id "$id" | awk '/Map State: IsViewable/ { v = 1 } /Absolute upper-left X/ { x = $NF }
      /Absolute upper-left Y/ { y = $NF } /Width:/ { w = $NF } /Height:/ { h = $NF }
      END { if (v) print x, y, w, h; exit !v }' && return 0
  done
  return 1
}

hc_ox=0 hc_oy=0
hc_origin() { hc_ox=$1 hc_oy=$2; }
hc_click() { xdotool mousemove $((hc_ox + $1)) $((hc_oy + $2)) click "${3:-1}"; }
hc_drag() {
  local k
  xdotool mousemove $((hc_ox + $1)) $((hc_oy + $2)) mousedown 1
  for k in 1 2 3 4 5 6 7 8; do xdotool mousemove_relative -- $(($3 / 8)) $(($4 / 8)); sleep 0.05; done
  xdotool mouseup 1
}
hc_click_in() {
  local w=$1 dx=$2 dy=$3 x y; shift 3
  read -r x y < <(xdotool getwindowgeometry --shell "$w" | awk -F= '/^X=/ { x = $2 } /^Y=/ { y = $2 } END { print x, y }')
  xdotool mousemove $((x + dx)) $((y + dy)) click "${@:-1}"
}
hc_shot() {
  _hc_need import imagemagick
  sleep "${2:-0.8}"
  import -window "${3:-root}" "$out/$1.png"
}
hc_changed() {
  local g="${5}x${6}+$((hc_ox + $3))+$((hc_oy + $4))"
  { compare -metric AE -fuzz 3% "$out/$1.png[$g]" "$out/$2.png[$g]" null: 2>&1 || true; } | awk '{ print int($1) }'
}

hc_pass() { echo "PASS $1: $2"; _hc_passed=$((_hc_passed + 1)); }
hc_fail() { echo "FAIL $1: $2"; _hc_failed=$((_hc_failed + 1)); }
hc_verdict() {
  local name=$1 detail=$2; shift 2
  if "$@"; then hc_pass "$name" "$detail"; else hc_fail "$name" "$detail"; fi
}
hc_relay() {
  local line
  while IFS= read -r line; do
    case $line in
      PASS*) echo "$line"; _hc_passed=$((_hc_passed + 1)) ;;
      FAIL*) echo "$line"; _hc_failed=$((_hc_failed + 1)) ;;
      *) [ -z "${1:-}" ] || ! grep -qE -- "$1" <<< "$line" || echo "$line" ;;
    esac
  done
}
hc_abort() {
  [ -z "${3:-}" ] || hc_shot "$3" 0 || true
  hc_fail "$1" "$2"
  hc_finish
}
hc_gt() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a > b) }'; }
hc_near() { awk -v a="$1" -v b="$2" 'BEGIN { d = a - b; exit !(d < 1e-3 && d > -1e-3) }'; }
hc_finish() {
  echo "SUMMARY ${HC_CHECK:-$(basename "$0")}: $_hc_passed passed, $_hc_failed failed"
  [ "$_hc_failed" -eq 0 ] && [ "$_hc_passed" -gt 0 ] && exit 0
  exit 1
}

# Ardour
hc_ardour() {
  _hc_need ardour7-lua ardour
  local scanner=""
  case $HC_FORMAT in
    vst2) HC_ARDOUR_TYPE=LXVST scanner=ardour-vst-scanner ;;
    vst3) HC_ARDOUR_TYPE=VST3 scanner=ardour-vst3-scanner ;;
    lv2) HC_ARDOUR_TYPE=LV2 ;;
    *) echo "Ardour 7 does not load $HC_FORMAT"; exit 1 ;;
  esac
  export HC_ARDOUR_TYPE HC_ARDOUR_PRELUDE=$hc_lib/ardour.lua
  [ -n "$scanner" ] || return 0
  # The sessions only know what the scanner put into the cache, and only
  # take an entry that is newer than the plug-in file.
  LD_LIBRARY_PATH=/usr/lib/ardour7 "/usr/lib/ardour7/$scanner" -f -q "$HC_PLUGIN"
  touch -d '+5 seconds' "$XDG_CACHE_HOME"/ardour7/vst/*.v[23]i
}
hc_ardour_lua() { ardour7-lua "$@" 2>&1; }
hc_ardour_session() {
  local script=$1 dir=$2
  hc_ardour_lua "$@" > "$out/session.log" || { cat "$out/session.log"; hc_abort session "no session from $(basename "$script")"; }
  HC_SESSION=$(ls "$dir"/*.ardour)
}
hc_ardour_gui() {
  mkdir -p "$XDG_CONFIG_HOME/ardour7"
  # .a7 marks the first-run wizard done; the dummy backend, remembered as the
  # last one used, starts without the Audio/MIDI setup dialog.
  touch "$XDG_CONFIG_HOME/ardour7/.a7"
  cat > "$XDG_CONFIG_HOME/ardour7/config" << EOF
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="try-autostart-engine" value="1"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="Normal Speed" device="${1:-Silence}" input-device="" output-device="" sample-rate="48000" buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" lm-input="" lm-output="" active="1" use-buffered-io="0" midi-option="1 in, 1 out, Silence" lru="1"><MIDIDevices/></State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
</Ardour>
EOF
}
hc_ardour_start() {
  # Ardour only opens a session named by an absolute path straight away.
  hc_start ardour ardour -n -a "$HC_SESSION"
  hc_wait 60 hc_window "^$(basename "$HC_SESSION" .ardour) - Ardour" ||
    hc_abort ardour "Ardour's editor window did not appear" 00-no-ardour
  hc_shot 00-ardour 2
  xdotool mousemove 1325 72 click 1  # the Mix button (7.3 on 1600x1200, default theme)
  hc_shot 01-mixer 1.5
}
hc_ardour_edit() { xdotool mousemove $((220 + 110 * $1)) 214 click --repeat 2 --delay 80 1; }
hc_ardour_editor() {
  local size=${1:-800x360}
  hc_ardour_edit 1
  hc_wait 15 hc_child "$size" || hc_abort editor "the TapDelay editor did not open" 02-no-editor
  read -r HC_EDITOR_X HC_EDITOR_Y HC_EDITOR < <(hc_child "$size")
  hc_origin "$HC_EDITOR_X" "$HC_EDITOR_Y"
  hc_shot 02-editor 1
  hc_pass editor "Ardour embeds TapDelay's $size editor ($HC_EDITOR) at $HC_EDITOR_X,$HC_EDITOR_Y"
}
hc_ardour_quit() {
  local rc=0
  hc_ardour_menu 494
  hc_stop ardour 30 || rc=$?
  hc_verdict quit "exit status $rc" test "$rc" = 0
  if grep -E -i 'segmentation|sigsegv|terminate called|aborted|backtrace' "$out/ardour.err" "$out/ardour.out"; then
    hc_fail crash "messages in Ardour's output"
  fi
}
hc_ardour_menu() { xdotool mousemove 29 11 click 1; sleep 0.8; xdotool mousemove 42 "$1" click 1; }
hc_ardour_save() {
  local before
  before=$(stat -c %Y "$HC_SESSION")
  sleep 1.1
  hc_ardour_menu 112
  hc_wait 10 test "$(stat -c %Y "$HC_SESSION")" != "$before"
}
hc_ardour_value() { grep -o "<Controllable name=\"$2\"[^>]*" "$1" | head -1 | sed 's/.* value="\([^"]*\)".*/\1/'; }

# Qtractor
hc_qtractor_session() {
  local type
  case $HC_FORMAT in vst2) type=VST ;; *) type=${HC_FORMAT^^} ;; esac
  local file=$HC_PLUGIN
  [ "$HC_FORMAT" != lv2 ] || file=$HC_NAME
  cat > "$1" << EOF
<!DOCTYPE qtractorSession>
<session version="0.9.31" name="tapdelay">
 <properties><directory>$(dirname "$1")</directory><sample-rate>48000</sample-rate></properties>
 <tracks>
  <track name="Echo" type="audio">
   <properties><input-bus>Master</input-bus><output-bus>Master</output-bus></properties>
   <plugins>
    <plugin type="$type">
     <filename>$file</filename><index>0</index><label>$(basename "${HC_PLUGIN%.*}")</label><preset/>
     <activated>true</activated>
     ${2:-}
    </plugin>
   </plugins>
  </track>
 </tracks>
</session>
EOF
}
hc_qtractor_window() {  # the main window, titled after the open session file
  local w
  for w in $(xdotool search --onlyvisible --class qtractor 2> /dev/null); do
    case "$(xdotool getwindowname "$w")" in *.qtr*Qtractor) echo "$w"; return 0 ;; esac
  done
  return 1
}
hc_qtractor_start() {
  _hc_need qtractor qtractor
  [ -n "${HC_PRELOAD+set}" ] || hc_alsa_seq_standin
  # No auto-save, and so no crash-recovery question on the next start.
  mkdir -p "$XDG_CONFIG_HOME/rncbc.org"
  printf '[AutoSave]\nEnabled=false\n' > "$XDG_CONFIG_HOME/rncbc.org/Qtractor.conf"
  HC_QTRACTOR_RUN=$2 HC_QTRACTOR_DIR=$(dirname "$1")
  hc_start "$2" env LD_PRELOAD="$HC_PRELOAD" qtractor "$1"
  hc_wait 30 hc_qtractor_window || hc_abort qtractor "Qtractor did not start" startup-failed
  sleep 3
  HC_QTRACTOR=$(hc_qtractor_window)
}
# Places in Qtractor's main window (default layout): the File menu with
# "Save As..." and "Exit", the plug-in in the track's list; the Save button
# in the file dialog.
hc_qtractor_file_menu() { hc_click_in "$HC_QTRACTOR" 20 8 1; sleep 0.7; hc_click_in "$HC_QTRACTOR" 45 "$1" 1; }
hc_qtractor_edit() { hc_click_in "$HC_QTRACTOR" 180 179 --repeat 2 --delay 80 1; }
hc_qtractor_round_trip() {
  local session=$1 hook=${2:-true}
  hc_qtractor_start "$session" qtractor-1
  hc_shot 1-loaded
  hc_verdict engine "Qtractor's audio engine runs in JACK with ${HC_NAME:-the plug-in} on the track" \
    sh -c "jack_lsp > '$out/jack-ports.txt'; grep -qi qtractor '$out/jack-ports.txt'"
  "$hook" before
  hc_qtractor_save_as "$out/saved.qtr" || true
  hc_verdict saved "the session with the state set" test -s "$out/saved.qtr"
  hc_qtractor_quit
  cp "$out/saved.qtr" "$work/reload.qtr"
  hc_qtractor_start "$work/reload.qtr" qtractor-2
  hc_shot 2-reloaded
  "$hook" after
  hc_qtractor_save_as "$out/reloaded.qtr" || true
  hc_verdict resaved "the reloaded session saved again" test -s "$out/reloaded.qtr"
}
hc_qtractor_save_as() {
  local folder=$HC_QTRACTOR_DIR before dialog saved
  before=$(ls "$folder"/*.qtr)
  hc_qtractor_file_menu 122
  hc_wait 5 hc_window "^Save Session" || true
  dialog=$(hc_window "^Save Session") || return 1
  sleep 1
  hc_shot save-dialog 0
  hc_click_in "$dialog" 572 359 1
  hc_wait 10 sh -c "ls '$folder'/*.qtr | grep -vxF '$before' | grep -q ." || return 1
  saved=$(ls "$folder"/*.qtr | grep -vxF "$before" | head -1)
  sleep 1
  cp "$saved" "$1"
}
hc_qtractor_quit() {
  hc_qtractor_file_menu 169
  hc_stop "$HC_QTRACTOR_RUN" 10 || true
}
