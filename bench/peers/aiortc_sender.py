#!/usr/bin/env python3
"""Sends the clip over aiortc to whoever calls: aiortc_sender.py CLIP. Passes the H.264 on unchanged."""
import asyncio
import os
import sys
from fractions import Fraction

import av
from aiortc import MediaStreamTrack, RTCPeerConnection, RTCSessionDescription
from aiortc.sdp import candidate_from_sdp

from clip import AUDIO_BYTES, AUDIO_SECONDS, FRAMES_PER_SECOND, Pace, access_units

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "apps", "chain"))
from camera_interface import serve  # noqa: E402  (the path above makes it importable)

START_CODE = b"\0\0\0\1"
MOST_WAITING = 30


class LiveTrack(MediaStreamTrack):
    """One viewer's view of a live stream, which runs whether it is watched or not."""

    def __init__(self, kind, sinks):
        super().__init__()
        self.kind = kind
        self._queue = asyncio.Queue(MOST_WAITING)
        self._sinks = sinks
        sinks.add(self._queue)

    async def recv(self):
        return await self._queue.get()

    def stop(self):
        super().stop()
        self._sinks.discard(self._queue)


def hand_out(sinks, item):
    for queue in sinks:
        if queue.full():
            queue.get_nowait()
        queue.put_nowait(item)


class Sender:
    def __init__(self, path):
        self._pictures = [b"".join(START_CODE + unit for unit in units) for units in access_units(path)]
        self._video, self._audio = set(), set()

    async def run_video(self):
        pace = Pace(1 / FRAMES_PER_SECOND)
        while True:
            await asyncio.sleep(pace.next_wait())
            packet = av.Packet(self._pictures[pace.number % len(self._pictures)])
            packet.pts, packet.time_base = pace.number, Fraction(1, FRAMES_PER_SECOND)
            hand_out(self._video, packet)

    async def run_audio(self):
        """A constant level instead of a tone; encoding it costs the same."""
        pace = Pace(AUDIO_SECONDS)
        while True:
            await asyncio.sleep(pace.next_wait())
            frame = av.AudioFrame(format="s16", layout="mono", samples=AUDIO_BYTES)
            frame.planes[0].update(bytes((0, 16)) * AUDIO_BYTES)
            frame.sample_rate, frame.pts, frame.time_base = 8000, pace.number * AUDIO_BYTES, Fraction(1, 8000)
            hand_out(self._audio, frame)

    async def place(self, offer):
        connection = RTCPeerConnection()
        await connection.setRemoteDescription(RTCSessionDescription(offer, "offer"))
        connection.addTrack(LiveTrack("video", self._video))
        connection.addTrack(LiveTrack("audio", self._audio))
        await connection.setLocalDescription(await connection.createAnswer())
        return connection, connection.localDescription.sdp

    async def add_candidate(self, connection, candidate):
        parsed = candidate_from_sdp(candidate["candidate"].split(":", 1)[1])
        parsed.sdpMid, parsed.sdpMLineIndex = candidate["sdpMid"], candidate["sdpMLineIndex"]
        await connection.addIceCandidate(parsed)

    async def end(self, connection):
        await connection.close()


async def main():
    sender = Sender(sys.argv[1])
    streams = [asyncio.create_task(sender.run_video()), asyncio.create_task(sender.run_audio())]
    await serve(sender)
    for stream in streams:
        stream.cancel()


asyncio.run(main())
