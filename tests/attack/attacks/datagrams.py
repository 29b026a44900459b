"""Datagrams at the ports that the camera has opened for the innocent viewer's call, from somebody who is in no call."""
import contextlib
import re
import secrets
import socket
import struct
import time

from stage.attack import NETWORK, Group

GROUP = Group("datagrams")
PER_SECOND = 5000
SECONDS = 2
STUN_COOKIE = 0x2112a442


def _ports(scene):
    """Where the camera gathered, so far as it is an IPv4 address of this machine."""
    found = re.findall(r"a=candidate:\S+ 1 udp \d+ ([\d.]+) (\d+) typ host", scene.innocent.call["answer"], re.I)
    if not found:
        raise RuntimeError("the answer names no port")
    return [(address, int(port)) for address, port in set(found)]


def _flood(scene, make):
    """So many datagrams a second to all the ports in turn."""
    ports = _ports(scene)
    sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in ports]
    begin, sent = time.monotonic(), 0
    with contextlib.ExitStack() as stack:
        for one in sockets:
            stack.enter_context(one)
        while (elapsed := time.monotonic() - begin) < SECONDS:
            for _ in range(min(int(elapsed * PER_SECOND) - sent, PER_SECOND // 20)):
                with contextlib.suppress(OSError):
                    sockets[sent % len(ports)].sendto(make(sent), ports[sent % len(ports)])
                sent += 1
            time.sleep(0.005)
        scene.expect_service()


def _stun(kind, attributes=b"", length=None):
    size = len(attributes) if length is None else length
    return struct.pack("!HHI", kind, size, STUN_COOKIE) + secrets.token_bytes(12) + attributes


def _attribute(kind, value, length=None):
    return struct.pack("!HH", kind, len(value) if length is None else length) + value + bytes(-len(value) % 4)


@GROUP.attack("5,000 datagrams of garbage a second", NETWORK, "what is neither STUN nor from the viewer is dropped")
def garbage(scene):
    _flood(scene, lambda number: secrets.token_bytes(number % 200))


@GROUP.attack("empty and giant datagrams", NETWORK, "what is neither STUN nor from the viewer is dropped")
def odd_sizes(scene):
    giant = bytes(65000)
    _flood(scene, lambda number: giant if number % 50 == 0 else b"")


@GROUP.attack("5,000 handshakes a second from strangers", NETWORK,
              "DTLS is spoken with the address that ICE has checked")
def handshakes(scene):
    _flood(scene, lambda number: b"\x16\xfe\xff" + bytes(8) + b"\x00\x40\x01\x00\x00\x34" + secrets.token_bytes(52))


@GROUP.attack("5,000 connectivity checks a second with wrong passwords", NETWORK,
              "checks carry the call's own password")
def checks(scene):
    ufrag = re.search(r"a=ice-ufrag:(\S+)", scene.innocent.call["answer"]).group(1).encode()

    def check(_):
        return _stun(1, _attribute(6, ufrag + b":" + secrets.token_hex(4).encode()) + _attribute(0x25, b"") +
                     _attribute(0x24, secrets.token_bytes(4)) + _attribute(8, secrets.token_bytes(20)))

    _flood(scene, check)


@GROUP.attack("STUN messages that lie about their lengths", NETWORK, "the stack's reading of messages")
def broken_stun(scene):
    shapes = (lambda: _stun(1, b"", 0xfffc), lambda: _stun(1, _attribute(6, b"x", 0xffff)),
              lambda: _stun(1, b"\x00" * 3), lambda: _stun(0x0101, _attribute(0x20, b"\x00")),
              lambda: _stun(1, _attribute(8, b"short")),
              lambda: _stun(1)[:secrets.randbelow(20)], lambda: _stun(0x0111, _attribute(9, bytes(1000))))
    _flood(scene, lambda number: shapes[number % len(shapes)]())


@GROUP.attack("forged media and goodbyes from strangers", NETWORK, "media carries a tag that only the viewer can make")
def forged_media(scene):
    def forged(number):
        kind = (0, 200, 203, 206)[number % 4]
        return struct.pack("!BBHII", 0x80, kind, number & 0xffff, number, 1) + secrets.token_bytes(100)

    _flood(scene, forged)
