"""Who does not have the token, or another's call."""
import os
import secrets
import threading
import time

from stage import offers
from stage.attack import NETWORK, STRANGER, VIEWER, Group
from support.camera import wait_for

TOKEN = secrets.token_hex(16)
SLOWED_SECONDS = 0.4


def _options(folder):
    path = os.path.join(folder, "token")
    with open(path, "w", encoding="ascii") as file:
        file.write(TOKEN + "\n")
    os.chmod(path, 0o600)
    return "--token-file", path


GROUP = Group("guessing", options=_options, token=TOKEN)


def _knock(scene, headers):
    """Every request that does something, with these headers. @return the statuses"""
    path = scene.innocent.call["path"]
    json, sdp = [offers.TYPE_JSON, *headers], [offers.TYPE_SDP, *headers]
    return [scene.door.ask(*request)[0] for request in (
        ("GET", "/health", headers), ("GET", "/calls", headers), ("POST", "/calls", json, offers.offer()),
        ("POST", "/whep", sdp, offers.sdp().encode()), ("POST", path + "/streams", json, b'{"video":2}'),
        ("POST", path + "/candidates", json, offers.candidate()), ("DELETE", path, headers))]


def _expect_closed(scene, headers):
    statuses = _knock(scene, headers)
    scene.expect(set(statuses) == {401}, f"{[header[:40] for header in headers]} was answered with {statuses}")


@GROUP.attack("calls without a token", STRANGER, "whatever does something wants the token")
def no_token(scene):
    _expect_closed(scene, [])


@GROUP.attack("the token everywhere but where it belongs", STRANGER, "the token is taken from Authorization only")
def misplaced_token(scene):
    for headers in ([f"Cookie: token={TOKEN}"], [f"X-Token: {TOKEN}"], [f"Authorization: Basic {TOKEN}"],
                    [f"Proxy-Authorization: Bearer {TOKEN}"], [f"Authorization: {TOKEN}"]):
        _expect_closed(scene, headers)
    status, _, _ = scene.door.ask("GET", f"/calls?token={TOKEN}")
    scene.expect(status == 401, f"the token in the address was answered with {status}")


@GROUP.attack("tokens that are nearly right", STRANGER, "the whole token is compared, in constant time")
def nearly_right(scene):
    other = ("0" if TOKEN[-1] != "0" else "1")
    for guess in (TOKEN[:-1], TOKEN + "x", TOKEN[:-1] + other, TOKEN.upper() + "Z", "*", "%", "null",
                  "x" * 8000):
        status, _, _ = scene.door.ask("GET", "/calls", [f"Authorization: Bearer {guess}"])
        scene.expect(status in (0, 400, 401), f"{guess[:40]!r} was answered with {status}")


@GROUP.attack("guessing the token over 60 connections", STRANGER,
              "a wrong token is answered half a second later, and connections are few")
def many_guesses(scene):
    tried = []

    def guess():
        end = time.monotonic() + 3
        while time.monotonic() < end:
            begin = time.monotonic()
            status, _, _ = scene.door.ask("GET", "/calls", [f"Authorization: Bearer {secrets.token_hex(16)}"])
            tried.append((status, time.monotonic() - begin))

    guessers = [threading.Thread(target=guess) for _ in range(60)]
    for guesser in guessers:
        guesser.start()
    wait_for(lambda: tried, SLOWED_SECONDS * 20, "the first guess to be answered")
    scene.expect_service()
    for guesser in guessers:
        guesser.join()
    answered = [took for status, took in tried if status]
    scene.expect(all(status in (0, 401) for status, _ in tried), "a guess was right, or worse")
    scene.expect(answered and min(answered) >= SLOWED_SECONDS, "wrong tokens are answered at once")


@GROUP.attack("another viewer's call looked for in the list of calls", VIEWER,
              "the list holds no addresses, passwords or candidates")
def list_of_calls(scene):
    status, _, body = scene.door.ask("GET", "/calls", scene.credentials())
    text = body.decode()
    scene.expect(status == 200 and "state" in text, f"the list was answered with {status}")
    key = scene.innocent.call["path"].rsplit("/", 1)[1]
    for secret in (key, "candidate", "ufrag", "pwd", "fingerprint", "127.0.0.1"):
        scene.expect(secret not in text, f"the list of calls shows {secret}")


@GROUP.attack("another viewer's call looked for by number", VIEWER, "a call's address holds 128 random bits")
def numbered_calls(scene):
    for name in [*range(6), "01", "-1", "0x1", "1%00", "*", "..", "key", "all", secrets.token_hex(16)]:
        for method, path, body in (("DELETE", f"/calls/{name}", b""),
                                   ("POST", f"/calls/{name}/streams", b'{"video":0}'),
                                   ("POST", f"/calls/{name}/candidates", offers.candidate()),
                                   ("DELETE", f"/whep/{name}", b"")):
            status, _, _ = scene.door.ask(method, path, [offers.TYPE_JSON, *scene.credentials()], body)
            scene.expect(status in (0, 400, 404, 405), f"{method} {path} was answered with {status}")


@GROUP.attack("another viewer's events without the address of his call", STRANGER,
              "a call's address holds 128 random bits")
def foreign_events(scene):
    path = scene.innocent.call["path"]
    for guess in ("/calls/1", "/calls/2", "/calls/*", "/calls/", path[:-1], path + "0",
                  path.upper().replace("/CALLS", "/calls"), "/calls/" + secrets.token_hex(16)):
        if guess != path:
            status, _, body = scene.door.ask("GET", guess + "/events")
            scene.expect(status in (0, 400, 401, 404), f"{guess} was answered with {status}")
            scene.expect(b"candidate" not in body, f"{guess} shows candidates")


@GROUP.attack("10,000 guesses at the address of a call", STRANGER, "a call's address holds 128 random bits")
def guessed_addresses(scene):
    connection = scene.door.connect()
    found = b""
    for _ in range(100):
        requests = "".join(f"GET /calls/{secrets.token_hex(16)}/events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
                           for _ in range(100))
        connection.sendall(requests.encode())
        got = b""
        while got.count(b"HTTP/1.1 ") < 100:
            chunk = connection.recv(65536)
            if not chunk:
                raise RuntimeError("the camera closed the connection")
            got += chunk
        found += got
    scene.expect(b"HTTP/1.1 200" not in found, "one of them was right")


@GROUP.attack("secrets looked for in the log", NETWORK, "neither the token nor addresses of calls are written there")
def secrets_in_the_log(scene):
    with open(os.path.join(scene.folder, "camera.log"), encoding="utf-8", errors="replace") as log:
        text = log.read()
    scene.expect(TOKEN not in text, "the token stands in the log")
    scene.expect(scene.innocent.call["path"].rsplit("/", 1)[1] not in text, "the address of a call stands in the log")
