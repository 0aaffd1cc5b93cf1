#!/usr/bin/env bash
# TapDelay.clap in Qtractor as Debian 12 ships it (0.9.31), on a private
# Xvfb with a JACK dummy server: a session whose track plays a click train
# through the plug-in is saved, reloaded and saved again; every value and
# the state (the whole bank) must come back exactly, and Qtractor's own
# output, recorded from JACK while it plays, must be the same before and
# after. Then the editor embeds in Qtractor's window, a real click (xdotool)
# turns a switch, and the value Qtractor saves follows. PASS/FAIL lines,
# screenshots in OUT. Installs what is missing.
# Usage: tools/qtractor/check_clap_session.sh [BUILD] [OUT]   (OUT: ./qtractor-clap)
#        PLUGIN=/usr/lib/clap/ZamDelay.clap runs the same steps that apply to any plug-in
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init qtractor-clap "${2:-./qtractor-clap}"
build=$(cd "${1:-$hc_root/build}" && pwd)
hc_install python3 qtractor imagemagick
plugin=${PLUGIN:-$build/clap/TapDelay.clap}
hc_plugin clap "$plugin"
# Our resources lie in TapDelay/ beside the .clap.
[ ! -d "$(dirname "$plugin")/TapDelay" ] || cp -r "$(dirname "$plugin")/TapDelay" "$HOME/.clap/"
tapdelay=false
[ "$HC_NAME" != TapDelay ] || tapdelay=true
hc_xvfb
hc_jack 48000 1024

# The click train the track plays: 2 s, a click every 0.25 s.
python3 - "$work/in.wav" << 'EOF'
import struct, sys, wave
w = wave.open(sys.argv[1], 'wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(48000)
w.writeframes(b''.join(struct.pack('<hh', *([26000] * 2 if n % 12000 == 0 else [0, 0])) for n in range(96000)))
w.close()
EOF

# The session: the state is the factory bank with "8th Note Echo" (program
# 5) current and a few of its values changed: FilterType1 PK, SyncNote 16th,
# TempoSync on, FilterCutoff0 0.3, Output 0.8. (Values Qtractor sets after a
# state never arrive: see host/HostQuirks.h.)
extra=""
if $tapdelay; then
  extra=$(python3 - "$build/TapDelay/TapDelayDef.fxb" << 'EOF'
import base64, struct, sys, zlib
bank = bytearray(open(sys.argv[1], 'rb').read()[160:])
bank[272:276] = struct.pack('<i', 5)
for index, value in {34: 0.5, 61: 2 / 3, 60: 1.0, 27: 0.3, 1: 0.8}.items():
    bank[5 * 276 + 4 * index:5 * 276 + 4 * index + 4] = struct.pack('<f', value)
state = b'TDst\x01\x00\x00\x00' + bytes(bank)
clob = base64.b64encode(struct.pack('>I', len(state)) + zlib.compress(state)).decode()
print('<configs><config key="state">%s</config></configs>' % clob)
EOF
)
fi
hc_qtractor_session "$work/start.qtr" "$extra"
python3 - "$work/start.qtr" "$work/in.wav" << 'EOF'
import sys
path, wav = sys.argv[1:3]
# The clip starts at 0.5 s: Qtractor runs one block from the start when it
# loads the session, which must meet silence so that both runs play from
# empty delay lines.
clip = ('<clips><clip name="in"><properties><name>in</name><start>24000</start><offset>0</offset>'
        '<length>96000</length><gain>1</gain><panning>0</panning></properties>'
        '<audio-clip><filename>%s</filename></audio-clip></clip></clips>\n   <plugins>' % wav)
text = open(path).read().replace('<plugins>', clip, 1)
open(path, 'w').write(text)
EOF

# Plays the session from the start through JACK's transport and records
# Qtractor's master output to FILE.
transport() { printf '%s\n' "$1" | jack_transport > /dev/null 2>&1; sleep 0.5; }
play_and_record() {
  local ports
  ports=$(jack_lsp | grep -i 'qtractor.*master.*out' | head -2 | tr '\n' ' ')
  [ -n "$ports" ] || { hc_fail "$2" "no master output port in JACK"; return; }
  transport stop
  transport "locate 0"
  # shellcheck disable=SC2086
  hc_start rec jack_rec -f "$1" -d 7 -b 32 $ports
  sleep 3
  transport play
  hc_stop rec 10 || true
  transport stop
  transport "locate 0"
  hc_verdict "$2" "Qtractor played the track through the plug-in into JACK ($(stat -c %s "$1" 2> /dev/null || echo 0) bytes recorded)" \
    test -s "$1"
}

played() {  # before | after each save: the track played and recorded
  if [ "$1" = before ]; then play_and_record "$out/played-before.wav" played
  else play_and_record "$out/played-after.wav" replayed; fi
}
hc_qtractor_round_trip "$work/start.qtr" played

# The editor, embedded in Qtractor's window: a click on tap 1's delay switch.
hc_qtractor_edit
hc_verdict editor "$HC_NAME's editor window opened" hc_wait 10 hc_window "^$HC_NAME"
hc_shot 3-editor 1.5
if $tapdelay && read -r ex ey _ < <(hc_child 800x360); then
  hc_origin "$ex" "$ey"
  hc_click 79 88
  hc_shot 4-clicked 1.5
  hc_qtractor_save_as "$out/clicked.qtr" || true
fi
hc_qtractor_quit

python3 - "$out" "$tapdelay" > "$out/compare.txt" << 'EOF' || hc_fail compare "the stored states could not be read"
import base64, re, struct, sys, wave, zlib
out, tapdelay = sys.argv[1], sys.argv[2] == 'true'
def check(name, detail, passed):
    print(('PASS ' if passed else 'FAIL ') + name + ': ' + detail)
def session(path):
    text = open(path).read()
    params = {int(i): v for i, v in re.findall(r'<param [^>]*index="(\d+)"[^>]*>([^<]*)</param>', text)}
    clob = re.search(r'<config key="state">([^<]*)</config>', text)
    data = base64.b64decode(''.join(clob.group(1).split())) if clob else b''
    return params, zlib.decompress(data[4:]) if data else b''
(p0, s0), (p1, s1) = session(out + '/saved.qtr'), session(out + '/reloaded.qtr')
diff = [i for i in sorted(set(p0) | set(p1)) if p0.get(i) != p1.get(i)]
check('values', 'all %d values equal after the reload' % len(p0) if not diff else
      'differ at ' + ', '.join('%d: %s -> %s' % (i, p0.get(i), p1.get(i)) for i in diff), p0 and not diff)
check('state', '%d bytes, identical after the reload' % len(s0), s0 and s0 == s1)
if tapdelay:
    check('state set', 'FilterType1 %s, SyncNote %s, TempoSync %s, FilterCutoff0 %s, Output %s'
          % tuple(p0.get(i) for i in (34, 61, 60, 27, 1)),
          [p0.get(i) for i in (34, 61, 60, 27, 1)] == ['1', '2', '1', '0.3', '0.8'])
    bank = s0[8:]
    check('bank', '64 programs, program %d current' % struct.unpack('<i', bank[272:276])[0],
          len(bank) == 17664 and struct.unpack('<i', bank[272:276])[0] == 5)
    # Tempo sync at Qtractor's 120 BPM, 16th notes: tap n waits (n + 1) x 125 ms.
    times = [float(p0.get(3 + t, 'nan')) * 4000 for t in range(6)]
    check('tempo', 'tap times from the transport: ' + ', '.join('%.1f' % t for t in times) + ' ms',
          all(abs(t - 125 * (n + 1)) < 0.01 for n, t in enumerate(times)))
    try:
        p2, s2 = session(out + '/clicked.qtr')
        check('clicked', 'DelayON/OFF0 %s -> %s in the saved session after the click' % (p1.get(21), p2.get(21)),
              p1.get(21) in ('0', '1') and p2.get(21) == str(1 - int(p1.get(21))) and s2 != s1)
    except (OSError, AttributeError):
        check('clicked', 'no session saved after the click', False)
def samples(path):
    w = wave.open(path)
    data = w.readframes(w.getnframes())
    return [int.from_bytes(data[i:i + 4], 'little', signed=True) for i in range(0, len(data), 4)]
try:
    a, b = samples(out + '/played-before.wav'), samples(out + '/played-after.wav')
    # The recordings start at different moments: aligned where both first sound.
    start = lambda s: next((i for i, v in enumerate(s) if v), None)
    ia, ib = start(a), start(b)
    n = min(len(a) - ia, len(b) - ib) if ia is not None and ib is not None else 0
    same = n and a[ia:ia + n] == b[ib:ib + n] and not any(a[ia + n:]) and not any(b[ib + n:])
    first = a[ia] / 2**31 if n else 0
    check('audio', 'the output Qtractor played before and after the reload identical over %.2f s '
          '(first sound %.4f, both recordings end in silence)' % (n / 96000, first), same and n > 3 * 96000)
except (OSError, EOFError, TypeError) as error:
    check('audio', 'recordings unreadable: %s' % error, False)
EOF
hc_relay < "$out/compare.txt"
hc_finish
