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
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../hostcheck/lib.sh"
hc_init qtractor-session "${2:-./qtractor-session}"
build=$(cd "${1:-$hc_root/build}" && pwd)
hc_install python3
hc_plugin vst2 "$build/TapDelay"
hc_xvfb
hc_jack

# The session Qtractor starts from: an audio track with TapDelay whose
# bank (the factory bank from the build) selects "8th Note Echo", plus a
# few parameters that Qtractor sets after the bank, as it does on every
# load: a filter type, the sync note, tempo sync, a cutoff and the output.
state=$(python3 - "$build/TapDelay/TapDelayDef.fxb" << 'EOF'
import base64, struct, sys, zlib
bank = bytearray(open(sys.argv[1], 'rb').read()[160:])
bank[272:276] = struct.pack('<i', 5)  # current program: 8th Note Echo
clob = base64.b64encode(struct.pack('>I', len(bank)) + zlib.compress(bytes(bank))).decode()
# FilterType1 PK, SyncNote 16th, TempoSync on, FilterCutoff0, Output
params = {34: 0.5, 61: 2 / 3, 60: 1.0, 27: 0.3, 1: 0.8}
print('<configs><config key="chunk">%s</config></configs><params>%s</params>'
      % (clob, ''.join('<param index="%d">%g</param>' % kv for kv in params.items())))
EOF
)
hc_qtractor_session "$work/start.qtr" "$state"

hc_qtractor_round_trip "$work/start.qtr"

# The editor opens on the reloaded state (double click on the plug-in).
hc_qtractor_edit
hc_verdict editor "TapDelay's editor window opened" hc_wait 10 hc_window "^TapDelay"
hc_shot 3-editor 1.5
hc_qtractor_quit

# What Qtractor stored before and after the reload, compared value by value.
python3 - "$out/saved.qtr" "$out/reloaded.qtr" "$work" > "$out/compare.txt" << 'EOF' || hc_fail compare "the stored states could not be read"
import base64, re, struct, sys, zlib
def state(path):
    text = open(path).read()
    params = {int(i): v for i, v in re.findall(r'<param [^>]*index="(\d+)"[^>]*>([^<]*)</param>', text)}
    clob = re.search(r'<config key="chunk">([^<]*)</config>', text).group(1)
    data = base64.b64decode(''.join(clob.split()))
    return params, zlib.decompress(data[4:])
before, after = state(sys.argv[1]), state(sys.argv[2])
work = sys.argv[3]
def check(name, detail, passed):
    print(('PASS ' if passed else 'FAIL ') + name + ': ' + detail)
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
EOF
hc_relay < "$out/compare.txt"

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
    "${args[@]}" --tail 3 -f pcm24 > "$work/render-$name.log" 2>&1 || cat "$work/render-$name.log"
done
hc_verdict audio "render of the state before and after the reload identical ($(stat -c %s "$out/render-before.wav") bytes)" \
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
hc_verdict echoes "peak after the input ends $tail_peak" awk -v p="$tail_peak" 'BEGIN { exit !(p > 0.01) }'
hc_finish

