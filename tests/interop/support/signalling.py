"""Both ways to place a call at the camera, with complete descriptions or with candidates that follow."""
import http.client
import json
import threading


class Refused(Exception):
    def __init__(self, reply):
        super().__init__(f"the camera refused the offer with {reply.status}: {reply.reason() or 'no reason given'}")
        self.status, self.reason = reply.status, reply.reason()


class Whep:
    """The answer is always complete; the viewer's candidates follow as fragments (RFC 8840) if it trickles."""

    def __init__(self, camera, trickle, on_candidate):
        self._camera = camera
        self._path = None
        self._offer = None

    def place(self, offer):
        self._offer = offer
        reply = self._camera.request("POST", "/whep", offer, "application/sdp")
        if reply.status != 201:
            raise Refused(reply)
        self._path = reply.headers["Location"]
        return reply.text()

    def listen(self):
        """Every candidate of the camera stands in its answer."""

    def send_candidate(self, candidate):
        first = next(line for line in self._offer.splitlines() if line.startswith("m="))
        lines = [line for line in self._offer.splitlines() if line.startswith(("a=ice-ufrag:", "a=ice-pwd:"))][:2]
        lines += [first, f"a=mid:{candidate['sdpMid']}", f"a={candidate['candidate']}"]
        reply = self._camera.request("PATCH", self._path, "\r\n".join(lines) + "\r\n",
                                     "application/trickle-ice-sdpfrag")
        if reply.status != 204:
            raise Refused(reply)

    def hang_up(self):
        """The status, which should be 200."""
        return self._camera.request("DELETE", self._path).status


class CallsApi:
    """With trickle the camera's candidates follow as events, and the viewer's as requests."""

    def __init__(self, camera, trickle, on_candidate):
        self._camera = camera
        self._trickle = trickle
        self._on_candidate = on_candidate
        self._path = None

    def place(self, offer):
        body = json.dumps({"type": "offer", "sdp": offer})
        reply = self._camera.request("POST", f"/calls?trickle={int(self._trickle)}", body, "application/json")
        if reply.status != 201:
            raise Refused(reply)
        self._path = reply.headers["Location"]
        return reply.json()["answer"]["sdp"]

    def listen(self):
        """Passes the camera's candidates on until the call ends; only once the viewer has the answer."""
        if self._trickle:
            threading.Thread(target=self._read_events, daemon=True).start()

    def _read_events(self):
        connection = self._camera.connection()
        connection.timeout = None
        event = None
        try:
            connection.request("GET", f"{self._path}/events")
            for line in connection.getresponse():
                name, _, value = line.decode().rstrip("\r\n").partition(": ")
                if name == "event":
                    event = value
                elif name == "data" and event == "candidate":
                    self._on_candidate(json.loads(value))
        except (OSError, http.client.HTTPException):
            pass  # the camera ended first
        finally:
            connection.close()

    def send_candidate(self, candidate):
        reply = self._camera.request("POST", f"{self._path}/candidates", json.dumps(candidate), "application/json")
        if reply.status != 204:
            raise Refused(reply)

    def hang_up(self):
        """The status, which should be 204."""
        return self._camera.request("DELETE", self._path).status
