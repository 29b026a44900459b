"""What a viewer received, read from the file that its peer writes while it receives.

A record is one letter, a length of four bytes and as many bytes:
R  an RTP packet, as it came out of SRTP
P  a picture that the stack decoded: one byte, 1 for a key frame
S  sound that the stack decoded: the sample rate in four bytes, then 16 bit samples, low byte first, one channel
"""
import struct

from support.sound import from_mulaw

SLICE_OF_KEY_FRAME, SEQUENCE_PARAMETERS, PICTURE_PARAMETERS = 5, 7, 8
STAP_A, FU_A = 24, 28
KEY_PICTURE = {SLICE_OF_KEY_FRAME, SEQUENCE_PARAMETERS, PICTURE_PARAMETERS}


def nal_unit_types(payload):
    """The types of the NAL units that begin in this RTP payload (RFC 6184)."""
    kind = payload[0] & 31
    if kind == STAP_A:
        types, at = [], 1
        while at + 2 < len(payload):
            types.append(payload[at + 2] & 31)
            at += 2 + struct.unpack_from("!H", payload, at)[0]
        return types
    if kind == FU_A:
        return [payload[1] & 31] if payload[1] & 0x80 else []
    return [kind]


class RtpPacket:
    def __init__(self, data):
        first, second, self.number, self.timestamp, self.ssrc = struct.unpack_from("!BBHII", data)
        self.marker, self.payload_type = second >> 7, second & 127
        start = 12 + 4 * (first & 15)
        if first & 0x10:
            start += 4 + 4 * struct.unpack_from("!H", data, start + 2)[0]
        end = len(data) - (data[-1] if first & 0x20 else 0)
        self.payload = data[start:end]


class Received:
    """Follows the file of one call; `video` and `audio` are the payload types that the answer chose."""

    def __init__(self, path, video, audio):
        self._path = path
        self._video, self._audio = video, audio
        self._offset = 0
        self._types_of_picture = set()
        self._timestamp = None
        self.pictures = 0
        self.key_pictures = 0
        self.first_is_key = None
        self.structured_packets = 0  # neither whole NAL units nor padding
        self.sound = []
        self.sound_rate = 8000
        self.other_packets = 0

    def update(self):
        """Reads what was appended since the last time."""
        with open(self._path, "rb") as file:
            file.seek(self._offset)
            data = file.read()
        at = 0
        while at + 5 <= len(data):
            kind, length = struct.unpack_from("!cI", data, at)
            if at + 5 + length > len(data):
                break
            self._take(kind, data[at + 5:at + 5 + length])
            at += 5 + length
        self._offset += at
        return self

    def sound_seconds(self):
        return len(self.sound) / self.sound_rate

    def _take(self, kind, data):
        if kind == b"R":
            self._take_packet(RtpPacket(data))
        elif kind == b"P":
            self._count_picture(data[0] == 1)
        elif kind == b"S":
            self.sound_rate, = struct.unpack_from("!I", data)
            self.sound.extend(struct.unpack_from(f"<{(len(data) - 4) // 2}h", data, 4))

    def _take_packet(self, packet):
        if packet.payload_type == self._audio:
            self.sound.extend(from_mulaw(packet.payload))
        elif packet.payload_type == self._video:
            if packet.payload:  # padding alone carries nothing
                self._take_video(packet)
        else:
            self.other_packets += 1

    def _take_video(self, packet):
        self.structured_packets += packet.payload[0] & 31 >= STAP_A
        if self._timestamp is not None and packet.timestamp != self._timestamp:
            self._types_of_picture = set()  # its end was lost
        self._timestamp = packet.timestamp
        self._types_of_picture.update(nal_unit_types(packet.payload))
        if packet.marker:
            self._count_picture(KEY_PICTURE <= self._types_of_picture)
            self._types_of_picture = set()
            self._timestamp = None

    def _count_picture(self, is_key):
        if self.first_is_key is None:
            self.first_is_key = is_key
        self.pictures += 1
        self.key_pictures += is_key
