"""The benchmark's clip as a live source: access units and mu-law frames at their pace, for peers that take no file."""
import math
import struct
import time

FRAMES_PER_SECOND = 30
AUDIO_SECONDS = 0.02
AUDIO_BYTES = 160


def nal_units(annex_b):
    """The NAL units of an Annex B byte stream, without start codes."""
    return [unit.rstrip(b"\0") for unit in annex_b.split(b"\0\0\1")[1:]]


def access_units(path):
    """The clip as lists of NAL units, one list per picture; the clip has access unit delimiters."""
    delimiter = 9
    with open(path, "rb") as clip:
        units = nal_units(clip.read())
    pictures = []
    for unit in units:
        if unit[0] & 31 == delimiter:
            pictures.append([])
        else:
            pictures[-1].append(unit)
    return pictures


def _mulaw(sample):
    sign = 0x80 if sample < 0 else 0
    magnitude = min(abs(sample), 32635) + 132
    exponent = magnitude.bit_length() - 8
    return ~(sign | exponent << 4 | magnitude >> (exponent + 3) & 15) & 0xFF


def tone():
    """One second of 440 Hz as mu-law frames of 20 ms."""
    samples = bytes(_mulaw(round(8000 * math.sin(2 * math.pi * 440 * n / 8000))) for n in range(8000))
    return [samples[at:at + AUDIO_BYTES] for at in range(0, len(samples), AUDIO_BYTES)]


class Pace:
    """A stream's due times, without drift."""

    def __init__(self, seconds):
        self._seconds = seconds
        self._start = time.monotonic()
        self.number = -1

    def next_wait(self):
        """Moves to the next frame and returns how long to wait for it, in seconds."""
        self.number += 1
        return max(0.0, self._start + self.number * self._seconds - time.monotonic())


class RtpStream:
    """Sequence numbers and timestamps of one outgoing RTP stream."""

    def __init__(self, payload_type, ssrc):
        self._payload_type = payload_type
        self._ssrc = ssrc
        self._sequence = 0

    def packet(self, payload, timestamp, marker):
        self._sequence = (self._sequence + 1) & 0xFFFF
        return struct.pack("!BBHII", 0x80, (0x80 if marker else 0) | self._payload_type, self._sequence,
                           timestamp & 0xFFFFFFFF, self._ssrc) + payload


def h264_payloads(units, most=1188):
    """RTP payloads of one access unit (RFC 6184): single NAL units, with long ones fragmented."""
    payloads = []
    for unit in units:
        if len(unit) <= most:
            payloads.append(unit)
            continue
        indicator, kind = unit[0] & 0xE0 | 28, unit[0] & 31
        parts = [unit[at:at + most - 2] for at in range(1, len(unit), most - 2)]
        for number, part in enumerate(parts):
            flags = (0x80 if number == 0 else 0) | (0x40 if number == len(parts) - 1 else 0)
            payloads.append(bytes((indicator, flags | kind)) + part)
    return payloads
