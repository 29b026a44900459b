"""What a viewer can ask of the calls that he may place."""
import concurrent.futures
import json
import secrets
import threading
import time

from harness import sdk_limits
from stage import offers
from stage.attack import VIEWER, Group
from stage.door import statuses
from support.camera import wait_for

MAX_CALLS = 16
GROUP = Group("calls", options=lambda folder: ("--max-calls", str(MAX_CALLS)))
NEVER_CONNECTED_SECONDS = sdk_limits.seconds("neverConnected")
ADDRESSES = [f"127.0.3.{number}" for number in range(1, 41)]


def _in_a_row(scene, requests, seconds=10):
    """Requests over one connection, each a whole one, for so long at the most. @return the statuses"""
    connection = scene.door.connect()
    found = b""
    begin = time.monotonic()
    for number, request in enumerate(requests, 1):
        if time.monotonic() - begin > seconds:
            break
        connection.sendall(request)
        while found.count(b"HTTP/1.1 ") < number:
            chunk = connection.recv(65536)
            if not chunk:
                raise RuntimeError("the camera closed the connection")
            found += chunk
    return statuses(found)


def _post(path, body):
    head = f"POST {path} HTTP/1.1\r\nHost: 127.0.0.1\r\n{offers.TYPE_JSON}\r\nContent-Length: {len(body)}\r\n\r\n"
    return head.encode() + body


def _hang_up_all(scene, paths):
    for path in paths:
        scene.end_call(path)


@GROUP.attack("250 offers a second", VIEWER, "calls are few; who is one too many is refused at once")
def many_offers(scene):
    paths, asked = [], []
    begin = time.monotonic()

    def place(number):
        time.sleep(max(0.0, begin + number / 250 - time.monotonic()))
        status, path = scene.place_call(source=ADDRESSES[number % 4])
        asked.append(status)
        if path:
            paths.append(path)

    with concurrent.futures.ThreadPoolExecutor(16) as pool:
        list(pool.map(place, range(750)))
    scene.expect(scene.calls() <= 2 * MAX_CALLS, f"the camera holds {scene.calls()} calls")
    scene.expect(set(asked) <= {0, 201, 429, 503}, f"the answers were {sorted(set(asked))}")
    scene.expect_service()
    _hang_up_all(scene, paths)


@GROUP.attack("calls that never connect, from one address, until the house is full", VIEWER,
              "calls that have not connected are few for each address")
def full_house_of_one(scene):
    paths = [path for status, path in (scene.place_call() for _ in range(2 * MAX_CALLS)) if status == 201]
    status, path = scene.place_call(source="127.0.0.1")
    scene.expect(status == 201, f"somebody else's call was answered with {status}")
    _hang_up_all(scene, [*paths, path])


@GROUP.attack("calls that never connect, from 40 addresses, until the house is full", VIEWER,
              "calls that have not connected give way when the house is full")
def full_house_of_many(scene):
    paths = [scene.place_call(source=address)[1] for address in ADDRESSES]
    with scene.hostile("watch", seconds=0.3) as viewer:
        viewer.done()
        viewer.hang_up()
    _hang_up_all(scene, filter(None, paths))


@GROUP.attack("ten calls that are left standing", VIEWER, "a call that has not connected in time is ended",
              release_seconds=NEVER_CONNECTED_SECONDS)
def left_standing(scene):
    for number in range(10):
        scene.place_call(source=ADDRESSES[number])
    wait_for(lambda: scene.calls() <= 1, NEVER_CONNECTED_SECONDS, "the camera to end them")


@GROUP.attack("offers whose answers nobody waits for", VIEWER, "the call is ended like any other that does not connect",
              release_seconds=NEVER_CONNECTED_SECONDS)
def broken_off_offers(scene):
    for number in range(60):
        connection = scene.door.connect(ADDRESSES[number % len(ADDRESSES)])
        connection.sendall(_post("/calls?trickle=0", offers.offer()))
        connection.close()
    scene.expect_service()
    wait_for(lambda: scene.calls() <= 1, NEVER_CONNECTED_SECONDS, "the camera to end them")


@GROUP.attack("5,000 candidates", VIEWER, "candidates cost a call of its own time only")
def many_candidates(scene):
    with scene.own_call() as path:
        answers = _in_a_row(scene, (_post(path + "/candidates", offers.candidate(number)) for number in range(5000)))
        scene.expect(set(answers) <= {204, 400, 404, 429, 500, 503}, f"the answers were {sorted(set(answers))}")
        scene.expect_service()


@GROUP.attack("candidates of giant length, and broken ones", VIEWER, "a candidate is 255 characters at the most")
def giant_candidates(scene):
    lines = ["candidate:1 1 udp 1 127.0.0.1 9 typ host " + "x" * 60000, "x" * 256, "\x00", "candidate:" + "9" * 200,
             "candidate:1 1 udp 1 " + "%s%n" * 40 + " 9 typ host", "a=end-of-candidates\r\nm=video 9 x"]
    bodies = [json.dumps({"candidate": line, "sdpMid": "0", "sdpMLineIndex": 0}).encode() for line in lines]
    bodies += [b'{"candidate":{}}', b'{"candidate":null,"sdpMLineIndex":1e400}', b"[]", b"\xff\xfe"]
    with scene.own_call() as path:
        answers = _in_a_row(scene, [_post(path + "/candidates", body) for body in bodies])
        scene.expect(all(status in (204, 400, 500) for status in answers), f"the answers were {answers}")
        scene.expect(answers[0] == answers[1] == 400, "a giant candidate was taken")


@GROUP.attack("JSON nested 30,000 deep", VIEWER, "a body is 64 KiB at the most, and is read without recursion")
def deep_json(scene):
    with scene.own_call() as path:
        for target in ("/calls", path + "/candidates", path + "/streams"):
            for body in (b"[" * 60000, b'{"a":' * 10000, b'{"sdp":' * 8000 + b"1" + b"}" * 8000):
                status = scene.door.ask("POST", target, [offers.TYPE_JSON], body)[0]
                scene.expect(status in (200, 400, 413), f"POST {target} was answered with {status}")


@GROUP.attack("offers that are no offers", VIEWER, "an offer is checked before a session sees it")
def broken_offers(scene):
    good = offers.sdp()
    media = good[good.index("m=audio"):]
    texts = [good + media * 30, good.replace("a=mid:0", "a=mid:" + "x" * 20000), good.replace("a=fingerprint", "a=x"),
             "v=0\r\n" * 4000, good.replace("\r\n", "\n\x00"), good.replace("96", "9" * 40), "m=" * 12000,
             good.replace("UDP/TLS/RTP/SAVPF", "%n%s%n"), good + "a=" + secrets.token_hex(12000)]
    for text in texts:
        status, path = scene.place_call(text)
        scene.expect(status in (0, 201, 400, 413, 422, 500, 503), f"the answer was {status}")
        if path:
            scene.end_call(path)
    scene.expect_service()


@GROUP.attack("300 choices of a stream a second", VIEWER, "a call's choice takes effect at most twice a second")
def many_choices(scene):
    begin = time.monotonic()
    with scene.hostile("watch", seconds=4) as viewer:
        path, = viewer.connected()
        begin = time.monotonic()
        _in_a_row(scene, (_post(path + "/streams", b'{"video":%d}' % (1 + number % 2)) for number in range(900)),
                  seconds=3)
        took = max(1.0, time.monotonic() - begin)
        viewer.done()
        viewer.hang_up()
    forced = scene.innocent.key_pictures_in(begin, begin + took)
    scene.expect(forced <= 3 * took + 3, f"the innocent viewer got {forced} key frames in {took:.1f} s")


@GROUP.attack("requests of one call from 20 clients at once, hanging up among them", VIEWER,
              "what steers a call comes one at a time")
def races(scene):
    _, path = scene.place_call()

    def steer(number):
        for turn in range(20):
            steps = ("/streams", b'{"video":%d}' % (turn % 3)), ("/candidates", offers.candidate(turn))
            name, body = steps[number % 2]
            if number == 7 and turn == 10:
                scene.end_call(path)
            status = scene.door.ask("POST", path + name, [offers.TYPE_JSON], body)[0]
            scene.expect(status in (0, 200, 204, 400, 404, 429, 500, 503), f"the answer was {status}")

    clients = [threading.Thread(target=steer, args=(number,)) for number in range(20)]
    for client in clients:
        client.start()
    for client in clients:
        client.join()
    scene.expect(scene.end_call(path) == 404, "the call is still there")


@GROUP.attack("WHEP fragments without sense", VIEWER, "a fragment is read line by line, and bounded like any body")
def fragments(scene):
    status, head, _ = scene.door.ask("POST", "/whep", [offers.TYPE_SDP], offers.sdp().encode())
    scene.expect(status == 201, f"the offer was answered with {status}")
    path = head.split("location: ")[1].split()[0]
    kind = ["Content-Type: application/trickle-ice-sdpfrag"]
    lines = "\r\n".join(f"a=candidate:{number} 1 udp 1 127.0.0.1 {number + 1} typ host" for number in range(900))
    for body in (b"\r\n" * 30000, b"a=mid:\xff\r\n" * 5000, b"m=video 9 x 96\r\na=mid:7\r\n" + lines.encode()[:60000],
                 b"a=ice-ufrag:" + b"x" * 60000, bytes(60000)):
        answer = scene.door.ask("PATCH", path, kind, body)[0]
        scene.expect(answer in (0, 204, 400, 412, 413, 500, 501), f"the answer was {answer}")
    scene.door.ask("DELETE", path)
