#!/usr/bin/env bash
# A TapDelay session in Qtractor as Debian 12 ships it (0.9.31): saved,
# reloaded and saved again, the plug-in must come back exactly as it was.
# On a private Xvfb with a JACK dummy server; Qtractor is driven by its
# command line (the session to open), a session file written here and mouse
# clicks from xdotool. The state compared is what Qtractor itself stores:
# all 62 getParameter values and the bank chunk; the audio compared is that
# state rendered through vsthost (chunk first, then the values, in the order
# Qtractor restores them). Every step prints PASS or FAIL and leaves a
# screenshot in OUT; exits 0 only when all passed. Installs what is missing.
# Usage: tools/qtractor/check_session.sh [BUILD] [OUT]   (OUT: ./qtractor-session)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
mkdir -p "${2:-./qtractor-session}"
out=$(cd "${2:-./qtractor-session}" && pwd)

missing=()
command -v qtractor > /dev/null || missing+=(qtractor)
command -v jackd > /dev/null || missing+=(jackd2)
command -v Xvfb > /dev/null || missing+=(xvfb)
command -v xdotool > /dev/null || missing+=(xdotool)
command -v import > /dev/null || missing+=(imagemagick)
command -v cc > /dev/null || missing+=(gcc)
command -v python3 > /dev/null || missing+=(python3)
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

work=$(mktemp -d)
xvfb_pid="" jack_pid="" qtractor_pid=""
cleanup() {
  [ -z "$qtractor_pid" ] || kill -9 "$qtractor_pid" 2> /dev/null || true
  [ -z "$jack_pid" ] || kill "$jack_pid" 2> /dev/null || true
  [ -z "$xvfb_pid" ] || kill "$xvfb_pid" 2> /dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

n=71
while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
Xvfb ":$n" -screen 0 1600x1200x24 -nolisten tcp -noreset > "$work/xvfb.log" 2>&1 &
xvfb_pid=$!
export DISPLAY=":$n"

wait_for() {  # wait_for SECONDS COMMAND...: retries COMMAND every 0.1 s
  local tenths=$(($1 * 10)); shift
  for ((i = 0; i < tenths; i++)); do "$@" > /dev/null 2>&1 && return 0; sleep 0.1; done
  return 1
}
wait_for 10 xdotool getmouselocation || { echo "FAIL Xvfb did not start"; exit 1; }

# A JACK server of our own, named after the display so that runs do not meet.
export JACK_DEFAULT_SERVER="tapdelay$n" JACK_NO_AUDIO_RESERVATION=1
jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 48000 -p 1024 > "$work/jack.log" 2>&1 &
jack_pid=$!
wait_for 10 grep -q "dummy" "$work/jack.log" || true
sleep 1

# Without /dev/snd/seq Qtractor will not start its engine: a stand-in
# sequencer that opens, succeeds and stays silent.
preload=""
if [ ! -e /dev/snd/seq ]; then
  cc -shared -fPIC -o "$work/alsa_seq_standin.so" "$here/../hostcheck/alsa_seq_standin.c"
  preload="$work/alsa_seq_standin.so"
fi

# A private HOME: Qtractor's settings (no auto-save and so no crash-recovery
# question) and the plug-in installed where Qtractor looks, ~/.vst.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$HOME/.config/rncbc.org" "$HOME/.vst" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
cp -r "$build/TapDelay" "$HOME/.vst/"
plugin="$HOME/.vst/TapDelay/TapDelay.so"
cat > "$HOME/.config/rncbc.org/Qtractor.conf" << 'EOF'
[AutoSave]
Enabled=false
EOF

status=0
verdict() {  # verdict NAME DETAIL TEST...
  local name=$1 detail=$2; shift 2
  if "$@"; then echo "PASS $name: $detail"; else echo "FAIL $name: $detail"; status=1; fi
}
shot() { sleep "${2:-0.8}"; import -window root "$out/$1.png"; }

# The session Qtractor starts from: an audio track with TapDelay whose
# bank (the factory bank from the build) selects "8th Note Echo", plus a
# few parameters that Qtractor sets after the bank, as it does on every
# load: a filter type, the sync note, tempo sync, a cutoff and the output.
python3 - "$build/TapDelay/TapDelayDef.fxb" "$plugin" "$work" << 'EOF'
import base64, struct, sys, zlib
fxb, plugin, work = sys.argv[1:4]
bank = bytearray(open(fxb, 'rb').read()[160:])
bank[272:276] = struct.pack('<i', 5)  # current program: 8th Note Echo
clob = base64.b64encode(struct.pack('>I', len(bank)) + zlib.compress(bytes(bank))).decode()
# FilterType1 PK, SyncNote 16th, TempoSync on, FilterCutoff0, Output
params = {34: 0.5, 61: 2 / 3, 60: 1.0, 27: 0.3, 1: 0.8}
xml = ''.join('<param index="%d">%g</param>' % kv for kv in params.items())
open(work + '/start.qtr', 'w').write('''<!DOCTYPE qtractorSession>
<session version="0.9.31" name="tapdelay">
 <properties><directory>%s</directory><sample-rate>48000</sample-rate></properties>
 <tracks>
  <track name="Echo" type="audio">
   <properties><input-bus>Master</input-bus><output-bus>Master</output-bus></properties>
   <plugins>
    <plugin type="VST">
     <filename>%s</filename><index>0</index><label>TapDelay</label><preset/>
     <activated>true</activated>
     <configs><config key="chunk">%s</config></configs>
     <params>%s</params>
    </plugin>
   </plugins>
  </track>
 </tracks>
</session>
''' % (work, plugin, clob, xml))
EOF

# Places in Qtractor's main window (default layout, relative to its top
# left): the File menu with "Save As..." and "Exit", the plug-in in the
# track's list; and the Save button relative to the file dialog's.
file_menu=(20 8) save_as=(60 122) exit_item=(45 169) plugin_item=(180 179)
save_button=(572 359)
main_window() {  # the window titled after the open session file
  local w
  for w in $(xdotool search --onlyvisible --class qtractor 2> /dev/null); do
    case "$(xdotool getwindowname "$w")" in *.qtr*Qtractor) echo "$w"; return 0 ;; esac
  done
  return 1
}
origin() {  # origin WINDOW: "X Y" of its top left
  xdotool getwindowgeometry --shell "$1" | awk -F= '/^X=/ { x = $2 } /^Y=/ { y = $2 } END { print x, y }'
}
at() {  # at WINDOW DX DY [xdotool click arguments...]
  local w=$1 dx=$2 dy=$3; shift 3
  read -r ox oy < <(origin "$w")
  xdotool mousemove $((ox + dx)) $((oy + dy)) click "$@"
}
run_qtractor() {  # run_qtractor SESSION LOG
  LD_PRELOAD="$preload" qtractor "$1" > "$2" 2>&1 &
  qtractor_pid=$!
  wait_for 30 main_window || { shot startup-failed 0; echo "FAIL Qtractor did not start"; exit 1; }
  sleep 3
  window=$(main_window)
}
# Save As under the name the dialog proposes (a new one beside the session),
# copied to FILE.
save_as() {
  local before
  before=$(ls "$work"/*.qtr)
  at "$window" "${file_menu[@]}" 1; sleep 0.7
  at "$window" "${save_as[@]}" 1
  local dialog=""
  for ((i = 0; i < 50; i++)); do
    dialog=$(xdotool search --onlyvisible --name "^Save Session" 2> /dev/null | head -1) && [ -n "$dialog" ] && break
    sleep 0.1
  done
  sleep 1
  shot save-dialog 0
  at "$dialog" "${save_button[@]}" 1
  local saved=""
  for ((i = 0; i < 100; i++)); do
    saved=$(ls "$work"/*.qtr | grep -vxF "$before" | head -1) && [ -n "$saved" ] && break
    sleep 0.1
  done
  sleep 1
  [ -n "$saved" ] && cp "$saved" "$1"
}
quit_qtractor() {
  at "$window" "${file_menu[@]}" 1; sleep 0.7
  at "$window" "${exit_item[@]}" 1
  for ((i = 0; i < 100; i++)); do kill -0 "$qtractor_pid" 2> /dev/null || break; sleep 0.1; done
  if kill -0 "$qtractor_pid" 2> /dev/null; then kill -9 "$qtractor_pid"; fi
  wait "$qtractor_pid" 2> /dev/null || true
  qtractor_pid=""
}

run_qtractor "$work/start.qtr" "$out/qtractor-1.log"
shot 1-loaded
verdict engine "Qtractor's audio engine runs in JACK with TapDelay on the track" \
  sh -c "jack_lsp > '$out/jack-ports.txt'; grep -qi qtractor '$out/jack-ports.txt'"
save_as "$out/saved.qtr" || true
verdict saved "the session with the state set" test -s "$out/saved.qtr"
quit_qtractor

cp "$out/saved.qtr" "$work/reload.qtr"
run_qtractor "$work/reload.qtr" "$out/qtractor-2.log"
shot 2-reloaded
save_as "$out/reloaded.qtr" || true
verdict resaved "the reloaded session saved again" test -s "$out/reloaded.qtr"

# The editor opens on the reloaded state (double click on the plug-in).
at "$window" "${plugin_item[@]}" --repeat 2 --delay 80 1
verdict editor "TapDelay's editor window opened" wait_for 10 \
  sh -c 'xdotool search --onlyvisible --name "^TapDelay" | grep -q .'
shot 3-editor 1.5
quit_qtractor

# What Qtractor stored before and after the reload, compared value by value.
python3 - "$out/saved.qtr" "$out/reloaded.qtr" "$work" > "$out/compare.txt" << 'EOF' || status=1
import base64, re, struct, sys, zlib
def state(path):
    text = open(path).read()
    params = {int(i): v for i, v in re.findall(r'<param [^>]*index="(\d+)"[^>]*>([^<]*)</param>', text)}
    clob = re.search(r'<config key="chunk">([^<]*)</config>', text).group(1)
    data = base64.b64decode(''.join(clob.split()))
    return params, zlib.decompress(data[4:])
before, after = state(sys.argv[1]), state(sys.argv[2])
work = sys.argv[3]
ok = True
def check(name, detail, passed):
    global ok
    print(('PASS ' if passed else 'FAIL ') + name + ': ' + detail)
    ok = ok and passed
p0, p1 = before[0], after[0]
check('state set', 'FilterType1 %s, SyncNote %s, TempoSync %s, FilterCutoff0 %s, Output %s'
      % (p0.get(34), p0.get(61), p0.get(60), p0.get(27), p0.get(1)),
      [p0.get(i) for i in (34, 61, 60, 27, 1)] == ['0.5', '0.666667', '1', '0.3', '0.8'])
diff = [i for i in range(62) if p0.get(i) != p1.get(i)]
check('parameters', 'all 62 getParameter values equal after the reload'
      if not diff else 'differ at ' + ', '.join('%d: %s -> %s' % (i, p0.get(i), p1.get(i)) for i in diff),
      len(p0) == 62 and not diff)
# The bank: every program but the current one byte for byte; the current one
# also holds the values Qtractor stored with six digits and set again.
b0, b1 = before[1], after[1]
current = struct.unpack('<i', b0[272:276])[0]
others = [k for k in range(64) if k != current and b0[k*276:(k+1)*276] != b1[k*276:(k+1)*276]]
check('bank', '17664 bytes, program %d current; other programs identical' % current
      if not others else 'programs differ: %s' % others, len(b0) == len(b1) == 17664 and not others)
r0 = struct.unpack('<62f', b0[current*276:current*276+248])
r1 = struct.unpack('<62f', b1[current*276:current*276+248])
worst = max(abs(a - b) for a, b in zip(r0, r1))
check('current program', 'values within %.1g of before (Qtractor keeps six digits)' % worst, worst < 1e-5)
# Files for the renders: each bank as an .fxb, each set of values as -p options.
for name, (params, bank) in (('before', before), ('after', after)):
    header = b'CcnK' + struct.pack('>i', 152 + len(bank)) + b'FBCh' + struct.pack('>iiii', 1, 0x56615444, 1, 64)
    open('%s/%s.fxb' % (work, name), 'wb').write(header + bytes(128) + struct.pack('>i', len(bank)) + bank)
    open('%s/%s.args' % (work, name), 'w').write('\n'.join('-p\n%d=%s' % (i, params[i]) for i in sorted(params)))
sys.exit(0 if ok else 1)
EOF
cat "$out/compare.txt"

# The same audio from both states: a click train through vsthost, the bank
# loaded first and the stored values set after it, as Qtractor does.
python3 - "$work/in.wav" << 'EOF'
import struct, sys, wave
frames = bytearray()
for n in range(48000 * 2):
    v = 0.8 if n % 12000 == 0 else 0.0
    frames += struct.pack('<hh', int(v * 32767), int(v * 32767))
w = wave.open(sys.argv[1], 'wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(48000)
w.writeframes(bytes(frames)); w.close()
EOF
for name in before after; do
  mapfile -t args < "$work/$name.args"
  "$build/tools/vsthost/vsthost" render "$work/in.wav" "$out/render-$name.wav" --load "$work/$name.fxb" \
    "${args[@]}" --tail 3 -f pcm24 > "$work/render-$name.log" 2>&1 || { cat "$work/render-$name.log"; status=1; }
done
verdict audio "render of the state before and after the reload identical ($(stat -c %s "$out/render-before.wav") bytes)" \
  cmp -s "$out/render-before.wav" "$out/render-after.wav"
# Past the last click only the echoes sound.
tail_peak=$(python3 - "$out/render-after.wav" << 'EOF'
import struct, sys, wave
w = wave.open(sys.argv[1])
w.setpos(48000 * 2 + 100)
data = w.readframes(w.getnframes())
print(max(abs(int.from_bytes(data[i:i + 3], 'little', signed=True)) for i in range(0, len(data), 3)) / 2**23)
EOF
)
verdict echoes "peak after the input ends $tail_peak" awk -v p="$tail_peak" 'BEGIN { exit !(p > 0.01) }' 

exit $status
