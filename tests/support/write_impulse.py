# write_impulse.py PATH FRAMES: a float stereo WAV at 44.1 kHz, an impulse at
# frame 10 (1 left, 0.5 right), then silence.
import struct, sys
path, count = sys.argv[1], int(sys.argv[2])
frames = [(0.0, 0.0)] * count
frames[10] = (1.0, 0.5)
data = b''.join(struct.pack('<ff', *f) for f in frames)
head = b'RIFF' + struct.pack('<I', 36 + len(data)) + b'WAVEfmt ' + \
    struct.pack('<IHHIIHH', 16, 3, 2, 44100, 352800, 8, 32) + b'data' + struct.pack('<I', len(data))
open(path, 'wb').write(head + data)
