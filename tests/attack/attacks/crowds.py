"""Many connections, and connections that take their time."""
import contextlib
import socket
import time

from stage.attack import NETWORK, VIEWER, Group
from stage.door import ATTACKER, is_closed, parse, reset
from support.camera import wait_for

GROUP = Group("crowds")
# What a request is told in, and how long a slow client may take for it; docs/camera.md has the figures.
HEADER_SECONDS, BODY_SECONDS = 4, 8
LATENESS_SECONDS = 3
STORM_SECONDS = 20
CONNECTIONS_OF_ADDRESS = 3 * 16 + 32
MANY_ADDRESSES = [f"127.0.{1 + number // 250}.{1 + number % 250}" for number in range(500)]


def _descriptors(scene):
    return scene.camera.health()["descriptors"]


def _drip(connections, text, every, seconds):
    """One byte to each connection now and then. @return after how many seconds all of them were closed, or None"""
    begin = time.monotonic()
    while time.monotonic() - begin < seconds:
        for connection in connections:
            with contextlib.suppress(OSError):
                connection.send(text)
        connections = [connection for connection in connections if not is_closed(connection)]
        if not connections:
            return time.monotonic() - begin
        time.sleep(every)
    return None


@GROUP.attack("1,500 connections that ask nothing, from one address", NETWORK,
              "connections of one address are few; a newcomer takes the place of the one that has been idle longest")
def idle_of_one(scene):
    before = _descriptors(scene)
    scene.door.crowd(1500)
    scene.expect_service()
    taken = _descriptors(scene) - before
    scene.expect(taken <= CONNECTIONS_OF_ADDRESS + 70, f"they took {taken} descriptors")


@GROUP.attack("1,500 connections that ask nothing, from 500 addresses", NETWORK,
              "connections are few in all; a newcomer takes the place of the one that has been idle longest")
def idle_of_many(scene):
    before = _descriptors(scene)
    scene.door.crowd(1500, MANY_ADDRESSES)
    scene.expect_service()
    taken = _descriptors(scene) - before
    scene.expect(taken <= 2 * CONNECTIONS_OF_ADDRESS + 70, f"they took {taken} descriptors")


@GROUP.attack("headers that arrive byte by byte", NETWORK, "a deadline for the header")
def slow_headers(scene):
    connections = scene.door.crowd(60)
    for connection in connections:
        connection.sendall(b"GET / HTTP/1.1\r\nX-")
    scene.expect_service()
    took = _drip(connections, b"x", 0.2, HEADER_SECONDS + LATENESS_SECONDS)
    scene.expect(took is not None, f"a header may take longer than {HEADER_SECONDS} s")


@GROUP.attack("bodies that arrive byte by byte", NETWORK, "a deadline for the body")
def slow_bodies(scene):
    connections = scene.door.crowd(60)
    for connection in connections:
        connection.sendall(b"POST /calls HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n"
                           b"Content-Length: 60000\r\n\r\n{")
    scene.expect_service()
    took = _drip(connections, b" ", 0.3, BODY_SECONDS + LATENESS_SECONDS)
    scene.expect(took is not None, f"a body may take longer than {BODY_SECONDS} s")


@GROUP.attack("connections closed halfway, in the middle of a request", NETWORK,
              "a connection whose client sends no more is closed")
def half_closed(scene):
    connections = scene.door.crowd(60)
    for connection in connections:
        with contextlib.suppress(OSError):
            connection.sendall(b"POST /calls HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Le")
            connection.shutdown(socket.SHUT_WR)
    wait_for(lambda: all(is_closed(connection) for connection in connections), HEADER_SECONDS + LATENESS_SECONDS,
             "the camera to close them")


@GROUP.attack("a storm of 2,000 connections that are reset in the middle of a request", NETWORK,
              "a connection that is gone costs nothing; a request is handled once it is whole")
def resets(scene):
    begin = time.monotonic()
    for number in range(2000):
        with contextlib.suppress(OSError):
            connection = scene.door.connect()
            connection.sendall((b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", b"GET /", b"")[number % 3])
            reset(connection)
        if time.monotonic() - begin > STORM_SECONDS:
            raise RuntimeError(f"the camera took {number} connections in {STORM_SECONDS} s")
    scene.expect_service()


@GROUP.attack("100,000 requests in a row whose responses are never read", NETWORK,
              "the next request is read when the last response is on its way; a deadline for taking a response")
def pipelining(scene):
    request = b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
    sent = 0
    connection = scene.door.connect(receive_buffer=4096)
    connection.settimeout(1)
    with contextlib.suppress(OSError):
        while sent < 100000:
            connection.sendall(request * 1000)
            sent += 1000
    scene.expect_service()
    scene.expect(sent < 100000, "the camera answered requests whose responses nobody took")


@GROUP.attack("pages that are asked for and never read", NETWORK, "a deadline for taking a response")
def unread_pages(scene):
    connections = [scene.door.connect(receive_buffer=2048) for _ in range(30)]
    for connection in connections:
        with contextlib.suppress(OSError):
            connection.sendall(b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n" * 200)
    scene.expect_service()


def _read_events(scene, path, count, source=ATTACKER):
    connections = []
    for _ in range(count):
        with contextlib.suppress(OSError):
            connection = scene.door.connect(source, receive_buffer=2048)
            connection.sendall(f"GET {path}/events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n".encode())
            connections.append(connection)
    return connections


@GROUP.attack("300 event streams of one call", VIEWER, "event streams are connections like any other, and so are few")
def many_event_streams(scene):
    with scene.own_call() as path:
        before = _descriptors(scene)
        _read_events(scene, path, 300)
        scene.expect_service()
        taken = _descriptors(scene) - before
        scene.expect(taken <= CONNECTIONS_OF_ADDRESS + 70, f"they took {taken} descriptors")


@GROUP.attack("event streams that nobody reads, while the call has much to tell", VIEWER,
              "a deadline for taking what the stream has to say")
def unread_event_streams(scene):
    with scene.own_call() as path:
        _read_events(scene, path, 40)
        for number in range(300):
            scene.door.ask("POST", path + "/streams", ["Content-Type: application/json"],
                           b'{"video":%d}' % (number % 3))
        scene.expect_service()


@GROUP.attack("a page asked for again and again by 40 clients at once", NETWORK,
              "requests wait for one of a few threads")
def many_requests(scene):
    served = 0
    begin = time.monotonic()
    while time.monotonic() - begin < 2:
        connections = scene.door.crowd(40)
        for connection in connections:
            with contextlib.suppress(OSError):
                connection.sendall(b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n")
        for connection in connections:
            with contextlib.suppress(OSError):
                served += parse(connection.recv(65536))[0] == 200
            connection.close()
    scene.expect_service()
    scene.expect(served > 0, "none of them was served")
