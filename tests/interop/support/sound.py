"""Mu-law, WAV files while they grow, and the strength of a tone."""
import math
import struct

WAV_HEADER_BYTES = 44
# Short enough to fall between the pauses of the camera's tone.
WINDOW_SECONDS = 0.3


def _sample_of(code):
    code = ~code & 0xFF
    magnitude = (((code & 15) << 3) + 132 << (code >> 4 & 7)) - 132
    return -magnitude if code & 0x80 else magnitude


SAMPLES = [_sample_of(code) for code in range(256)]


def from_mulaw(data):
    return [SAMPLES[code] for code in data]


def read_wav(path):
    """The samples of a recording, also of one that still grows; none as long as there is no file."""
    try:
        with open(path, "rb") as file:
            data = file.read()
    except FileNotFoundError:
        return []
    samples = data[WAV_HEADER_BYTES:]
    return list(struct.unpack(f"<{len(samples) // 2}h", samples[:len(samples) // 2 * 2]))


def _share(samples, rate, hertz):
    energy = sum(sample * sample for sample in samples)
    if not energy:
        return 0.0
    real = imaginary = 0.0
    step = 2 * math.pi * hertz / rate
    for number, sample in enumerate(samples):
        real += sample * math.cos(step * number)
        imaginary += sample * math.sin(step * number)
    return math.sqrt(2 * (real * real + imaginary * imaginary) / (len(samples) * energy))


def tone(samples, rate, hertz):
    """How much of the sound is this tone where it is clearest, from 0 (nothing) to 1 (nothing else)."""
    length = int(WINDOW_SECONDS * rate)
    starts = range(0, max(1, len(samples) - length + 1), length // 2)
    return max(_share(samples[start:start + length], rate, hertz) for start in starts)
