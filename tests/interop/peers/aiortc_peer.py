#!/usr/bin/env python3
"""A viewer on aiortc. It decodes what it receives, and its offers always hold all candidates."""
import argparse
import asyncio
import fractions
import json
import math
import struct
import sys

import av
from aiortc import MediaStreamTrack, RTCPeerConnection, RTCSessionDescription
from aiortc.mediastreams import MediaStreamError
from aiortc.sdp import candidate_from_sdp

SAMPLE_RATE = 8000
TALK_HERTZ = 700
FRAME_SAMPLES = 160
LONGEST_LINE = 1 << 20


def tell(**message):
    print(json.dumps(message), flush=True)


class Voice(MediaStreamTrack):
    kind = "audio"

    def __init__(self):
        super().__init__()
        self._number = 0
        self._start = None

    async def recv(self):
        loop = asyncio.get_running_loop()
        self._start = self._start or loop.time()
        await asyncio.sleep(max(0, self._start + self._number / SAMPLE_RATE - loop.time()))
        first, self._number = self._number, self._number + FRAME_SAMPLES
        samples = [round(8000 * math.sin(2 * math.pi * TALK_HERTZ * n / SAMPLE_RATE))
                   for n in range(first, self._number)]
        frame = av.AudioFrame(format="s16", layout="mono", samples=FRAME_SAMPLES)
        frame.planes[0].update(struct.pack(f"<{FRAME_SAMPLES}h", *samples))
        frame.sample_rate, frame.pts, frame.time_base = SAMPLE_RATE, first, fractions.Fraction(1, SAMPLE_RATE)
        return frame


def record_of(frame):
    if isinstance(frame, av.VideoFrame):
        return b"P", bytes([frame.key_frame])
    samples = bytes(frame.planes[0])
    samples = samples[:frame.samples * 2 * len(frame.layout.channels)]
    step = 2 * len(frame.layout.channels)
    mono = b"".join(samples[at:at + 2] for at in range(0, len(samples), step))
    return b"S", struct.pack("!I", frame.sample_rate) + mono


async def receive(track, out):
    try:
        while True:
            kind, data = record_of(await track.recv())
            out.write(struct.pack("!cI", kind, len(data)) + data)
            out.flush()
    except MediaStreamError:
        pass  # the end of the track


async def obey(connection):
    reader = asyncio.StreamReader(limit=LONGEST_LINE)
    await asyncio.get_running_loop().connect_read_pipe(lambda: asyncio.StreamReaderProtocol(reader), sys.stdin)
    while line := await reader.readline():
        (name, value), = json.loads(line).items()
        if name == "answer":
            await connection.setRemoteDescription(RTCSessionDescription(value, "answer"))
        elif name == "candidate":
            candidate = candidate_from_sdp(value["candidate"].partition(":")[2])
            candidate.sdpMid, candidate.sdpMLineIndex = value["sdpMid"], value["sdpMLineIndex"]
            await connection.addIceCandidate(candidate)
        elif name == "close":
            await connection.close()
            return


async def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--received", required=True)
    parser.add_argument("--complete", action="store_true")
    parser.add_argument("--watch", action="store_true")
    parser.add_argument("--no-reports", action="store_true")
    options = parser.parse_args()
    connection = RTCPeerConnection()
    connection.addTransceiver("video", "recvonly")
    connection.addTransceiver(*(("audio", "recvonly") if options.watch else (Voice(), "sendrecv")))
    connection.on("connectionstatechange", lambda: tell(state=connection.connectionState))
    with open(options.received, "wb") as out:
        tasks = []
        connection.on("track", lambda track: tasks.append(asyncio.ensure_future(receive(track, out))))
        await connection.setLocalDescription(await connection.createOffer())
        tell(offer=connection.localDescription.sdp)
        await obey(connection)
        await asyncio.gather(*tasks)


if __name__ == "__main__":
    asyncio.run(main())
