"""What a page of another site can do with the user's browser: it sends requests that its user never sees."""
import urllib.parse

from stage import offers
from stage.attack import WEBSITE, Group

GROUP = Group("websites")
EVIL = "https://evil.example"


def _expect(scene, answer, *wanted):
    status, head, _ = answer
    scene.expect(status in wanted, f"the answer was {status}, not {wanted[0]}")
    scene.expect("access-control-allow-origin" not in head, "the page may read the response")


def _no_new_call(scene, act):
    before = scene.calls()
    act()
    scene.expect(scene.calls() == before, "a call was placed")


@GROUP.attack("a name that is led to the camera (DNS rebinding)", WEBSITE, "a Host that is not the camera's is 421")
def rebinding(scene):
    def ask_all():
        for host in (f"evil.example:{scene.camera.port}", "evil.example", "127.0.0.1.evil.example", "localhost.evil",
                     "127.0.0.1@evil.example", "[::1].evil.example", "2130706433.evil"):
            for path in ("/", "/health", "/calls"):
                _expect(scene, scene.door.ask("GET", path, host=host), 421, 400)
            _expect(scene, scene.door.ask("POST", "/calls", [offers.TYPE_JSON], offers.offer(), host=host), 421, 400)
    _no_new_call(scene, ask_all)


@GROUP.attack("an address in the first line that is not the Host's", WEBSITE,
              "the Host decides, whatever the first line says")
def absolute_address(scene):
    for host in ("evil.example", f"127.0.0.1:{scene.camera.port}"):
        status, _, body = scene.door.ask("GET", f"http://evil.example/{'calls' if host else ''}", host=host)
        scene.expect(status in (0, 400, 404, 421), f"the answer was {status}")
        scene.expect(b"state" not in body, "the calls were listed")


@GROUP.attack("a call placed by a script of another site", WEBSITE, "an Origin that is not the camera's is 403")
def foreign_call(scene):
    def ask_all():
        for origin in (EVIL, "null", f"http://127.0.0.1:{scene.camera.port}.evil.example", "http://127.0.0.1:1",
                       f"https://evil.example@127.0.0.1:{scene.camera.port}", "http://localhost", "file://", "evil"):
            headers = [offers.TYPE_JSON, f"Origin: {origin}"]
            _expect(scene, scene.door.ask("POST", "/calls", headers, offers.offer()), 403)
    _no_new_call(scene, ask_all)


@GROUP.attack("a call placed as plain text, for which no browser asks first", WEBSITE, "bodies need their media type")
def plain_text(scene):
    def ask_all():
        for kind in ("text/plain", "text/plain;application/json", "", "application/x-www-form-urlencoded",
                     "multipart/form-data; boundary=application/json", "application/jsonp", "application/sdp"):
            _expect(scene, scene.door.ask("POST", "/calls", [f"Content-Type: {kind}"] if kind else [],
                                          offers.offer()), 415)
        for kind in ("text/plain", "application/x-www-form-urlencoded"):
            _expect(scene, scene.door.ask("POST", "/whep", [f"Content-Type: {kind}"], offers.sdp().encode()), 415)
    _no_new_call(scene, ask_all)


@GROUP.attack("a form that posts an offer", WEBSITE,
              "an Origin that is not the camera's is 403, another media type 415")
def form(scene):
    body = urllib.parse.urlencode({"{\"type\":\"offer\",\"sdp\":\"": offers.sdp() + "\"}"}).encode()
    _no_new_call(scene, lambda: _expect(scene, scene.door.ask(
        "POST", "/calls", ["Content-Type: application/x-www-form-urlencoded", f"Origin: {EVIL}"], body), 403, 415))


@GROUP.attack("the camera's page in a frame", WEBSITE, "frame-ancestors 'none'")
def framed(scene):
    answer = scene.door.ask("GET", "/", ["Sec-Fetch-Dest: iframe", "Sec-Fetch-Site: cross-site"])
    scene.expect(answer[0] == 403, f"a browser's frame gets {answer[0]}")
    # Not every browser says whose frame it is.
    _, head, _ = scene.door.ask("GET", "/", ["Sec-Fetch-Dest: iframe"])
    for word in ("frame-ancestors 'none'", "x-content-type-options: nosniff", "referrer-policy: no-referrer"):
        scene.expect(word in head, f"the page's header lacks {word}")
    scene.expect("unsafe-inline" not in head, "the page runs scripts that are not its own")


@GROUP.attack("permission asked for, to send more than a simple request", WEBSITE,
              "no preflight of another site is told that it may")
def preflight(scene):
    for path in ("/calls", "/whep", scene.innocent.call["path"], "/health"):
        answer = scene.door.ask("OPTIONS", path, [f"Origin: {EVIL}", "Access-Control-Request-Method: POST",
                                                  "Access-Control-Request-Headers: content-type",
                                                  "Access-Control-Request-Private-Network: true"])
        scene.expect("access-control-allow-origin" not in answer[1], f"OPTIONS {path} lets the page in")
        scene.expect("allow-private-network" not in answer[1], f"OPTIONS {path} lets pages of the internet in")


@GROUP.attack("a WHEP player on another site", WEBSITE, "only sites that --allow-origin names may use WHEP")
def player(scene):
    _no_new_call(scene, lambda: _expect(scene, scene.door.ask(
        "POST", "/whep", [offers.TYPE_SDP, f"Origin: {EVIL}"], offers.sdp().encode()), 403))


@GROUP.attack("the list of calls and their events read by another site", WEBSITE,
              "an Origin that is not the camera's is 403, and no page of another site may read a response")
def reading(scene):
    for path in ("/calls", "/health", scene.innocent.call["path"] + "/events"):
        _expect(scene, scene.door.ask("GET", path, [f"Origin: {EVIL}"]), 403)


@GROUP.attack("a call steered and hung up by another site that knows its address", WEBSITE,
              "an Origin that is not the camera's is 403")
def steering(scene):
    path = scene.innocent.call["path"]
    for headers, status in (([offers.TYPE_JSON, f"Origin: {EVIL}"], 403), (["Content-Type: text/plain"], 415)):
        _expect(scene, scene.door.ask("POST", path + "/streams", headers, b'{"video":2}'), status)
    _expect(scene, scene.door.ask("DELETE", path, [f"Origin: {EVIL}"]), 403)
    for hidden in (path + "?_method=DELETE", path):
        status, _, _ = scene.door.ask("POST", hidden, ["X-HTTP-Method-Override: DELETE"])
        scene.expect(status in (404, 405), f"a hidden DELETE was answered with {status}")
