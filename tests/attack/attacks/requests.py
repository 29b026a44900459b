"""Requests that are too big, or that no client would send."""
import contextlib
import gzip
import secrets

from stage import offers
from stage.attack import NETWORK, Group
from stage.door import parse, statuses

GROUP = Group("requests")
JSON_HEAD = b"POST /calls HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n"
MOST_TAKEN = 8 << 20


def _is_refused(scene, answer, *wanted):
    status = parse(answer)[0]
    scene.expect(status in (0, *wanted), f"the answer was {status}")


def _pour(scene, head, piece, most):
    """Sends without end. @return (bytes that the camera took, what it answered)"""
    connection = scene.door.connect()
    connection.settimeout(5)
    taken, answer = 0, b""
    with contextlib.suppress(OSError):
        connection.sendall(head)
        while taken < most:
            connection.sendall(piece)
            taken += len(piece)
    with contextlib.suppress(OSError):
        while chunk := connection.recv(65536):
            answer += chunk
    return taken, answer


@GROUP.attack("a header of 64 MiB", NETWORK, "a header is 16 KiB at the most")
def long_header(scene):
    taken, _ = _pour(scene, b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Long: ", b"x" * 65536, 64 << 20)
    scene.expect(taken < MOST_TAKEN, f"the camera read {taken >> 20} MiB of it")


@GROUP.attack("a million header lines", NETWORK, "a header is 16 KiB at the most")
def many_header_lines(scene):
    taken, _ = _pour(scene, b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n", b"X: y\r\n" * 10000, 6000000)
    scene.expect(taken < MOST_TAKEN // 2, f"the camera read {taken} bytes of them")


@GROUP.attack("an address of 1 MiB", NETWORK, "a header is 16 KiB at the most")
def long_address(scene):
    _is_refused(scene, scene.door.say(b"GET /" + b"a" * (1 << 20) + b" HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"),
                400, 414, 431)


@GROUP.attack("a body that is announced with 1 TiB", NETWORK, "a body is 64 KiB at the most")
def announced_body(scene):
    taken, answer = _pour(scene, JSON_HEAD + b"Content-Length: 1099511627776\r\n\r\n", b" " * 65536, 64 << 20)
    scene.expect(taken < MOST_TAKEN, f"the camera read {taken >> 20} MiB of it")
    _is_refused(scene, answer, 413)


@GROUP.attack("a body in chunks without end", NETWORK, "a body is 64 KiB at the most, in whatever framing")
def endless_chunks(scene):
    taken, answer = _pour(scene, JSON_HEAD + b"Transfer-Encoding: chunked\r\n\r\n",
                          b"10000\r\n" + b" " * 65536 + b"\r\n", 64 << 20)
    scene.expect(taken < MOST_TAKEN, f"the camera read {taken >> 20} MiB of it")
    _is_refused(scene, answer, 413)


@GROUP.attack("chunks whose sizes are too large for a number, or negative", NETWORK, "the server's reading of chunks")
def wrong_chunks(scene):
    for size in (b"FFFFFFFFFFFFFFFF", b"FFFFFFFFFFFFFFFFF", b"-1", b"0x10", b"8000000000000000", b"\r"):
        _is_refused(scene, scene.door.say(JSON_HEAD + b"Transfer-Encoding: chunked\r\n\r\n" + size + b"\r\nabc\r\n"),
                    400, 413)


@GROUP.attack("a compressed body that unpacks to 100 MiB", NETWORK, "bodies have no content encoding")
def compressed_body(scene):
    packed = gzip.compress(bytes(32 << 20), 9)[:60000]
    for encoding in ("gzip", "deflate", "br"):
        status, _, _ = scene.door.ask("POST", "/calls", [offers.TYPE_JSON, f"Content-Encoding: {encoding}"], packed)
        scene.expect(status in (0, 415), f"{encoding} was answered with {status}")


@GROUP.attack("a thousand overlapping ranges of the page", NETWORK, "ranges are ignored")
def many_ranges(scene):
    whole = len(scene.door.ask("GET", "/")[2])
    ranges = ",".join(f"{number}-" for number in range(1000))
    status, _, body = scene.door.ask("GET", "/", [f"Range: bytes={ranges}"])
    scene.expect(status in (0, 200), f"the answer was {status}")
    scene.expect(len(body) <= whole, f"the answer was {len(body)} bytes for a page of {whole}")


@GROUP.attack("methods that nobody serves", NETWORK, "a method that a path does not have is refused, and not repeated")
def methods(scene):
    marker = secrets.token_hex(8)
    for method in ("TRACE", "CONNECT", "PUT", "PROPFIND", "get", "A" * 4000, "GET\x01", "<script>"):
        status, _, body = scene.door.ask(method, "/", [f"X-Marker: {marker}"])
        scene.expect(status in (0, 400, 405, 431, 501), f"{method[:10]} was answered with {status}")
        scene.expect(marker.encode() not in body, f"{method[:10]} is answered with the request itself")


@GROUP.attack("NUL and control characters in addresses and headers", NETWORK,
              "a response and the log hold none of them")
def control_characters(scene):
    for path in ("/%00", "/calls/%00/events", "/calls/%0d%0aX:y", "/\x00", "/calls/\x1b[31mred", "/%1b]0;title%07",
                 "/%", "/%zz", "/%c0%ae"):
        status, head, _ = scene.door.ask("GET", path)
        scene.expect(status < 500, f"{path!r} was answered with {status}")
        scene.expect("\r\nx:" not in head, f"{path!r} wrote a line into the header")
    scene.door.ask("GET", "/health", ["X-Odd: \x00\x1b[2J"])
    with open(scene.folder + "/camera.log", "rb") as log:
        odd = [line for line in log.read().splitlines() if any(byte < 32 and byte != 9 for byte in line)]
    scene.expect(not odd, "control characters stand in the log")


@GROUP.attack("paths that climb out of the tree", NETWORK, "the page is in the program, and files are not served")
def traversal(scene):
    for path in ("/../../../../etc/passwd", "/%2e%2e/%2e%2e/%2e%2e/etc/passwd", "//etc/passwd", "/..%2f..%2fetc/passwd",
                 "/./../etc/passwd", "file:///etc/passwd", "/etc/passwd", "/\\..\\..\\etc\\passwd"):
        status, _, body = scene.door.ask("GET", path)
        scene.expect(status in (0, 400, 404), f"{path} was answered with {status}")
        scene.expect(b"root:" not in body, f"{path} is a file of the machine")


@GROUP.attack("a second request hidden in a body of two lengths", NETWORK,
              "two lengths for one body are refused, and the connection is closed")
def smuggling(scene):
    hidden = b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
    for framing in (b"Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
                    b"Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
                    b"Content-Length: 5\r\nContent-Length: %d\r\n" % (5 + len(hidden)),
                    b"Content-Length: 5\r\nTransfer-Encoding : chunked\r\n",
                    b"Content-Length: 5\r\nTransfer-Encoding: xchunked\r\n"):
        answers = statuses(scene.door.say(JSON_HEAD + framing + b"\r\n0\r\n\r\n" + hidden))
        scene.expect(200 not in answers, f"{framing!r} lets a hidden request through: {answers}")


@GROUP.attack("what is no HTTP at all", NETWORK, "what cannot be read closes the connection")
def other_protocols(scene):
    for words in (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + bytes(500), b"GET /\r\n", b"\n" * 10000,
                  b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", b"GET / HTTP/9.9\r\nHost: 127.0.0.1\r\n\r\n", b"\xff" * 5000,
                  b"GET  /  HTTP/1.1 x\r\n\r\n", b"SSH-2.0-x\r\n", b" GET / HTTP/1.1\r\n\r\n",
                  secrets.token_bytes(9000)):
        _is_refused(scene, scene.door.say(words), 400, 405, 414, 421, 431, 501, 505)


@GROUP.attack("a go-ahead asked for a body that is too long", NETWORK, "it is refused before the body is sent")
def go_ahead(scene):
    connection = scene.door.connect()
    connection.sendall(JSON_HEAD + b"Content-Length: 100000000\r\nExpect: 100-continue\r\n\r\n")
    status = parse(connection.recv(65536))[0]
    scene.expect(status in (413, 417), f"the answer was {status}")


@GROUP.attack("headers folded, doubled and without names", NETWORK, "one Host or none of it")
def odd_headers(scene):
    for lines in (b"Host: 127.0.0.1\r\nHost: 127.0.0.1\r\n", b"",
                  b"Host:127.0.0.1\r\n : x\r\n: y\r\n\tz\r\nHost: b\r\n",
                  b"Host: \r\n", b"Host: 127.0.0.1, evil.example\r\n"):
        status = parse(scene.door.say(b"GET /health HTTP/1.1\r\n" + lines + b"Connection: close\r\n\r\n"))[0]
        scene.expect(status in (0, 400, 421), f"{lines!r} was answered with {status}")


@GROUP.attack("thousands of query parameters and cookies", NETWORK, "a header is 16 KiB at the most")
def many_parameters(scene):
    query = "&".join(f"a{number}={number}" for number in range(1800))
    for _ in range(2):
        status, _, _ = scene.door.ask("GET", f"/health?{query}")
        scene.expect(status in (0, 200, 400, 414, 431), f"the answer was {status}")
