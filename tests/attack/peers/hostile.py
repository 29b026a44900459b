#!/usr/bin/python3
"""A viewer who was let in and misbehaves: hostile.py URL ACT [--seconds N] [--calls N] [--token TOKEN].

Prints {"connected": [paths of its calls]}, then, after the flood, {"done": {what it counted}}. Hangs up when its input
ends. Every flood is bounded in time and, by its pace, in count.
"""
import argparse
import asyncio
import contextlib
import json
import os
import secrets
import struct
import sys
import time
import traceback

import pylibsrtp
from rtc import Viewer, watch_packets

TICK_SECONDS = 0.01
MULAW = 0
SCTP_INIT = struct.pack("!HHIIBBHIIHHI", 5000, 5000, 0, 0, 1, 0, 20, 1, 131072, 4, 4, 1)
DTLS_HELLO = b"\x16\xfe\xff\x00\x00\x00\x00\x00\x00\x00\x00\x00\x40\x01\x00\x00\x34" + bytes(51)


def rtp(viewer, number, payload=bytes(160), kind=MULAW, source=None, stamp=None, contributing=b"", flags=0):
    first = 0x80 | flags | len(contributing) // 4
    return struct.pack("!BBHII", first, kind, number & 0xffff, (number * 160 if stamp is None else stamp) & 0xffffffff,
                       viewer.ssrc if source is None else source) + contributing + payload


def feedback(viewer, kind, form, about, what=b""):
    """kind: 205 of the transport, 206 of the payload."""
    length = 2 + len(what) // 4
    return struct.pack("!BBHII", 0x80 | form, kind, length, viewer.ssrc, about) + what


class Hostile(Viewer):
    def __init__(self, url, token):
        super().__init__(url, token, on_rtp=self._look, on_datagram=self._count)
        self.video_ssrc = 0
        self.video_number = 0
        self.bytes_received = 0

    def _look(self, data):
        if data[1] & 0x7f == self.payload_type:
            self.video_number, _, self.video_ssrc = struct.unpack_from("!HII", data, 2)

    def _count(self, size):
        self.bytes_received += size

    async def wait_for_video(self):
        deadline = time.monotonic() + 10
        while not self.video_ssrc and time.monotonic() < deadline:
            await asyncio.sleep(TICK_SECONDS)

    async def repeat(self, seconds, per_second, make):
        """Sends make(number), so many a second. A machine that is slower than that sends fewer."""
        begin, number = time.monotonic(), 0
        while (elapsed := time.monotonic() - begin) < seconds and not self.has_ended():
            for _ in range(min(int(elapsed * per_second) - number, per_second // 20)):
                with contextlib.suppress(pylibsrtp.Error):  # it does not encrypt what it finds too wrong
                    await self.send(make(number))
                number += 1
            await asyncio.sleep(TICK_SECONDS)
        return {"sent": number}


async def watch(viewer, seconds):
    return await viewer.repeat(seconds, 50, lambda number: rtp(viewer, number))


async def key_frames_by_pli(viewer, seconds):
    return await viewer.repeat(seconds, 1000, lambda _: feedback(viewer, 206, 1, viewer.video_ssrc))


async def key_frames_by_fir(viewer, seconds):
    return await viewer.repeat(seconds, 1000, lambda number: feedback(
        viewer, 206, 4, 0, struct.pack("!II", viewer.video_ssrc, (number & 0xff) << 24)))


async def _rate(viewer, seconds, flood):
    before = viewer.bytes_received
    counted = await flood(seconds)
    return (viewer.bytes_received - before) / seconds, counted


async def retransmissions(viewer, seconds):
    """Asks for the last 170 packets again and again."""
    def nack(_):
        return feedback(viewer, 205, 1, viewer.video_ssrc, b"".join(
            struct.pack("!HH", (viewer.video_number - 17 * back) & 0xffff, 0xffff) for back in range(1, 11)))

    usual, _ = await _rate(viewer, seconds, asyncio.sleep)
    flooded, counted = await _rate(viewer, seconds, lambda length: viewer.repeat(length, 500, nack))
    return {**(counted or {}), "bytesPerSecond": round(usual), "bytesPerSecondFlooded": round(flooded)}


async def sources(viewer, seconds):
    return await viewer.repeat(seconds, 1000, lambda number: rtp(viewer, 0, source=1 + number))


async def contributing_sources(viewer, seconds):
    return await viewer.repeat(seconds, 1000, lambda number: rtp(viewer, number, contributing=secrets.token_bytes(60)))


async def endless_fragments(viewer, seconds):
    """FU-A of an IDR picture that begins and never ends."""
    return await viewer.repeat(seconds, 1000, lambda number: rtp(
        viewer, number, b"\x7c" + (b"\x85" if number == 0 else b"\x05") + bytes(1100), viewer.payload_type, stamp=1))


async def fast_talk(viewer, seconds):
    """Forty times as fast as real time."""
    return await viewer.repeat(seconds, 2000, lambda number: rtp(viewer, number, b"\x12\x92" * 80))


async def broken_rtp(viewer, seconds):
    shapes = (lambda number: rtp(viewer, number, b"\xbe\xde\xff\xff" + bytes(8), flags=0x10),
              lambda number: rtp(viewer, number, bytes(19) + b"\xff", flags=0x20),
              lambda number: rtp(viewer, number, b"", flags=0x20),
              lambda number: rtp(viewer, number, b"\x18\xff\xff\x67", viewer.payload_type),
              lambda number: rtp(viewer, number, b"\x7c", viewer.payload_type),
              lambda number: rtp(viewer, secrets.randbits(16), stamp=secrets.randbits(32)),
              lambda number: rtp(viewer, number, secrets.token_bytes(40), kind=secrets.randbits(6)))
    return await viewer.repeat(seconds, 1000, lambda number: shapes[number % len(shapes)](number))


async def broken_rtcp(viewer, seconds):
    def packet(number):
        kind = (200, 201, 202, 203, 204, 205, 206, 207)[number % 8]
        length = (0, 1, 6, 0xffff)[number // 8 % 4]
        return struct.pack("!BBH", 0x80 | secrets.randbits(5), kind, length) + secrets.token_bytes(4 + 4 * (number % 7))

    return await viewer.repeat(seconds, 1000, packet)


async def starving_estimates(viewer, seconds):
    """REMB of a few bits a second: whoever believes it slows the stream down for everybody."""
    remb = b"REMB" + struct.pack("!I", 1 << 24 | 1)
    return await viewer.repeat(seconds, 500,
                               lambda _: feedback(viewer, 206, 15, 0, remb + struct.pack("!I", viewer.video_ssrc)))


async def goodbyes(viewer, seconds):
    """BYE in the name of every source that he knows, and of others."""
    return await viewer.repeat(seconds, 500, lambda number: struct.pack(
        "!BBHII", 0x82, 203, 2, viewer.video_ssrc, viewer.ssrc if number % 2 else number))


async def data_channels(viewer, seconds):
    """Opens SCTP associations over DTLS that nobody offered."""
    async def send(data):
        await viewer.dtls._send_data(data)

    viewer.send = send
    return await viewer.repeat(seconds, 500, lambda number: SCTP_INIT)


async def dtls_garbage(viewer, seconds):
    """By the path that ICE has opened: broken records, and a handshake that begins again and again."""
    def record(number):
        return DTLS_HELLO if number % 2 else bytes([20 + number % 5]) + secrets.token_bytes(80)

    viewer.send = viewer.dtls.transport._send
    return await viewer.repeat(seconds, 1000, record)


ACTS = {act.__name__: act for act in (
    watch, key_frames_by_pli, key_frames_by_fir, retransmissions, sources, contributing_sources, endless_fragments,
    fast_talk, broken_rtp, broken_rtcp, starving_estimates, goodbyes, data_channels, dtls_garbage)}


def tell(**message):
    print(json.dumps(message), flush=True)


async def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("url")
    parser.add_argument("act", choices=ACTS)
    parser.add_argument("--seconds", type=float, default=2)
    parser.add_argument("--calls", type=int, default=1)
    parser.add_argument("--token", default="")
    options = parser.parse_args()
    viewers = [Hostile(options.url, options.token) for _ in range(options.calls)]
    watch_packets(viewers)
    await asyncio.gather(*(viewer.call() for viewer in viewers))
    await asyncio.gather(*(viewer.wait_for_video() for viewer in viewers))
    tell(connected=[viewer.path for viewer in viewers])
    counted = await asyncio.gather(*(ACTS[options.act](viewer, options.seconds) for viewer in viewers))
    tell(done=counted[0])
    await asyncio.get_running_loop().run_in_executor(None, sys.stdin.read)
    await asyncio.gather(*(viewer.hang_up() for viewer in viewers))


if __name__ == "__main__":
    try:
        asyncio.run(main())
    except Exception:  # whatever it is: the stack's own threads would keep a process that has failed
        traceback.print_exc()
        os._exit(1)
