"""The camera and the viewer as processes, in a network's namespaces or on loopback."""
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time

WATCHER = os.path.join(os.path.dirname(__file__), "watch_calls.py")


def wait_for(condition, seconds, what):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise TimeoutError(f"waited {seconds} s in vain for {what}")


def no_prefix(_role, command):
    return command


class Camera:
    """A running camera and the events of its calls. For use in a with statement."""

    def __init__(self, program, options=(), command_in=no_prefix, log_path=os.devnull, watched=True, silence_rate=1):
        """silence_rate: the stand-in counts a vanished viewer's silence this many times faster."""
        self.events = []
        self._command_in = command_in
        self._folder = tempfile.TemporaryDirectory()
        self._list = os.path.join(self._folder.name, "calls")
        if watched:
            options = (*options, "--call-list", self._list)
        with open(log_path, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(command_in("camera", [program, *options]), stdout=subprocess.PIPE,
                                            stderr=log, text=True,
                                            env={**os.environ, "ZELRTC_HOSTSDK_SILENCE_RATE": str(silence_rate)})
        line = self.process.stdout.readline()
        found = re.match(r"listening on http://[^/]*:(\d+)/", line)
        if not found:
            self.close()
            raise RuntimeError(f"the camera did not start, it said {line!r}")
        self.port = int(found.group(1))
        self._watcher = self._watch() if watched else None

    def _watch(self):
        watcher = subprocess.Popen(self._command_in("camera", [sys.executable, WATCHER, self.local_url(), self._list]),
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)

        def collect():
            for line in watcher.stdout:
                self.events.append(json.loads(line))

        threading.Thread(target=collect, daemon=True).start()
        return watcher

    def local_url(self):
        return f"http://127.0.0.1:{self.port}"

    def url(self, address):
        return f"http://{address}:{self.port}"

    def events_of(self, call, name):
        return [event for event in list(self.events) if event["call"] == call and event["event"] == name]

    def states_of(self, call):
        """[(state, milliseconds since the offer)], in order."""
        return [(event["data"]["state"], event["data"]["ms"]) for event in self.events_of(call, "state")]

    def log_of(self, call):
        return [event["data"]["text"] for event in self.events_of(call, "log")]

    def calls(self):
        return sorted({event["call"] for event in list(self.events)})

    def health(self):
        return self._get("/health")

    def live_calls(self):
        return self._get("/calls")

    def delete(self, path):
        self._request("DELETE", path)

    def select_stream(self, key, stream):
        """Of the call whose key, from the call list, is given."""
        self._request("POST", f"/calls/{key}/streams", json.dumps({"video": stream}))

    def _get(self, path):
        return json.loads(self._request("GET", path))

    def _request(self, method, path, body=None):
        data = None if body is None else body.encode()
        kind = {"Content-Type": "application/json"} if data else {}
        request = f"r.Request('{self.local_url()}{path}', data={data!r}, headers={kind!r}, method='{method}')"
        command = [sys.executable, "-c", f"import urllib.request as r; print(r.urlopen({request}).read().decode())"]
        return subprocess.run(self._command_in("camera", command), capture_output=True, text=True, check=True).stdout

    def close(self):
        if getattr(self, "_watcher", None):
            self._watcher.kill()
            self._watcher.wait()
            self._watcher.stdout.close()
        self.process.send_signal(signal.SIGTERM)
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise
        finally:
            self.process.stdout.close()
            self._folder.cleanup()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.close()


class Viewer:
    """One run of the headless viewer."""

    def __init__(self, program, url, options=(), command_in=no_prefix):
        self.started = time.monotonic()
        self.process = subprocess.Popen(command_in("viewer", [program, url, "--json", *options]),
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def signal(self, number):
        self.process.send_signal(number)

    def kill(self):
        self.process.kill()
        self.process.communicate()

    def report(self, seconds=120):
        """The report of a run that ends on its own."""
        try:
            out, err = self.process.communicate(timeout=seconds)
        except subprocess.TimeoutExpired:
            self.kill()
            raise
        if not out.strip():
            raise RuntimeError("the viewer reported nothing: " + err.strip()[-500:])
        return json.loads(out)
