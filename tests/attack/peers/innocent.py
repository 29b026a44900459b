#!/usr/bin/python3
"""The viewer whose picture must go on. Prints "call {"path":..., "answer":...}", then a line "picture SECONDS" or "key
SECONDS" for each picture that has arrived whole and in order, by the monotonic clock. Hangs up when its input ends."""
import argparse
import asyncio
import json
import struct
import sys
import time

from rtc import Viewer, watch_packets

SPS, STAP_A = 7, 24


def begins_key_picture(payload):
    """Whether the packet holds parameter sets."""
    if not payload or payload[0] & 0x1f != STAP_A:
        return bool(payload) and payload[0] & 0x1f == SPS
    at = 1
    while at + 2 < len(payload):
        if payload[at + 2] & 0x1f == SPS:
            return True
        at += 2 + int.from_bytes(payload[at:at + 2], "big")
    return False


class Pictures:
    """Puts packets in order. A hole that nothing fills stops the picture until the next key picture."""

    def __init__(self):
        self._next = None
        self._waiting = {}
        self._is_key = False

    def add(self, number, is_last, begins_key):
        if self._next is None and not begins_key:
            return
        if self._next is None or (begins_key and number != self._next and not self._is_old(number)):
            self._next = number
            self._waiting.clear()
        if not self._is_old(number):
            self._waiting[number] = is_last, begins_key
            self._deliver()

    def _is_old(self, number):
        return (number - self._next) & 0xffff >= 0x8000

    def _deliver(self):
        while self._next in self._waiting:
            is_last, begins_key = self._waiting.pop(self._next)
            self._next = (self._next + 1) & 0xffff
            self._is_key = self._is_key or begins_key
            if is_last:
                print("key" if self._is_key else "picture", f"{time.monotonic():.4f}", flush=True)
                self._is_key = False


async def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("url")
    parser.add_argument("--token", default="")
    options = parser.parse_args()
    pictures = Pictures()

    def on_rtp(data):
        first, second, number = struct.unpack_from("!BBH", data)
        if second & 0x7f == viewer.payload_type:
            pictures.add(number, bool(second & 0x80), begins_key_picture(data[12 + 4 * (first & 0x0f):]))

    viewer = Viewer(options.url, options.token, on_rtp)
    watch_packets([viewer])
    await viewer.call()
    print("call", json.dumps({"path": viewer.path, "answer": viewer.answer}), flush=True)
    reader = asyncio.StreamReader()
    await asyncio.get_running_loop().connect_read_pipe(lambda: asyncio.StreamReaderProtocol(reader), sys.stdin)
    ended = asyncio.ensure_future(reader.read())
    while not ended.done() and not viewer.has_ended():
        await asyncio.wait([ended], timeout=0.2)
    if ended.done():
        await viewer.hang_up()


if __name__ == "__main__":
    asyncio.run(main())
