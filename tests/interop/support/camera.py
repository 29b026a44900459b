"""The camera as a process of its own, with plain requests of its HTTP interface."""
import http.client
import json
import os
import re
import signal
import subprocess
import time

START_SECONDS = 20
STOP_SECONDS = 30
CRASH_SECONDS = 10
REQUEST_SECONDS = 20


def wait_for(condition, seconds, what):
    """The first true value of `condition`; TimeoutError when there is none in time."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {seconds} s in vain for {what}")
        time.sleep(0.05)


class CameraFailed(RuntimeError):
    """It did not start, or did not end in order."""


class Reply:
    """A whole HTTP response."""

    def __init__(self, response):
        self.status = response.status
        self.headers = response.headers
        self.body = response.read()

    def text(self):
        return self.body.decode(errors="replace")

    def json(self):
        return json.loads(self.body)

    def reason(self):
        """Why a request was refused; empty when the camera gave no reason."""
        try:
            return self.json().get("detail", "")
        except (ValueError, AttributeError):
            return ""


class Camera:
    """Use it in a with statement. A camera that does not end with status 0 is an error."""

    def __init__(self, program, log_path, options=(), silence_rate=1):
        """silence_rate: how many times as fast a viewer's silence passes in the stand-in, whose limit is half a minute."""
        self._log_path = log_path
        with open(log_path, "ab") as log:
            self.process = subprocess.Popen([program, "--listen", "127.0.0.1:0", *options], stdout=subprocess.PIPE,
                                            stderr=log, stdin=subprocess.DEVNULL,
                                            env={**os.environ, "ZELRTC_HOSTSDK_SILENCE_RATE": str(silence_rate)})
        line = self.process.stdout.readline().decode()
        found = re.match(r"listening on http://127\.0\.0\.1:(\d+)/", line)
        if not found:
            self.process.kill()
            raise CameraFailed(f"the camera did not start, it said {line!r}; its log is {log_path}")
        self.port = int(found.group(1))
        self.url = f"http://127.0.0.1:{self.port}"

    def connection(self):
        return http.client.HTTPConnection("127.0.0.1", self.port, timeout=REQUEST_SECONDS)

    def request(self, method, path, body=None, content_type=None):
        connection = self.connection()
        try:
            connection.request(method, path, body, {"Content-Type": content_type} if content_type else {})
            return Reply(connection.getresponse())
        finally:
            connection.close()

    def has_ended(self):
        """After a request without an answer: a process that crashes takes some time to end."""
        try:
            self.process.wait(CRASH_SECONDS)
        except subprocess.TimeoutExpired:
            return False
        return True

    def calls(self):
        return self.request("GET", "/calls").json()

    def health(self):
        return self.request("GET", "/health").json()

    def __enter__(self):
        return self

    def __exit__(self, kind, *unused):
        self.process.send_signal(signal.SIGTERM)
        try:
            status = self.process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            status = "nothing: it had to be killed"
        finally:
            self.process.stdout.close()
        if status != 0 and kind is None:
            raise CameraFailed(f"the camera ended with {status}; its log is {self._log_path}")
