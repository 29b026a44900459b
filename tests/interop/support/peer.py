"""A viewer's WebRTC stack as a process: it makes the offer and receives; the signalling stays here.

The peer writes a JSON object a line: {"offer": sdp}, {"candidate": {...}}, {"state": name}, {"failure": text}. It
reads {"answer": sdp}, {"candidate": {...}} and {"close": true}, upon which it ends with status 0. What it receives goes
to the file that its option --received names. --complete: the offer holds all candidates; --watch: it sends nothing;
--no-reports: it does not even send RTCP, where the stack leaves that to its user.
"""
import json
import queue
import subprocess
import threading

from support.camera import wait_for

OFFER_SECONDS = 40
CLOSE_SECONDS = 10


class Peer:
    def __init__(self, command, received, log, options):
        with open(log, "wb") as errors:
            self.process = subprocess.Popen([*command, "--received", received, *options], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=errors)
        self.states = []
        self._log = log
        self._offer = None
        self._failure = None
        self._candidates = queue.SimpleQueue()
        self._lock = threading.Lock()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            message = json.loads(line)
            if "state" in message:
                self.states.append(message["state"])
            self._offer = message.get("offer", self._offer)
            self._failure = message.get("failure", self._failure)
            if message.get("candidate"):
                self._candidates.put(message["candidate"])
        self.process.stdout.close()

    def check(self):
        """An exception with the stack's own words when it failed."""
        if self._failure:
            raise RuntimeError(f"the stack says: {self._failure}")
        if self.process.poll() is not None:
            with open(self._log, encoding="utf-8", errors="replace") as log:
                last = (log.read().strip().splitlines() or ["nothing"])[-1]
            raise RuntimeError(f"the peer ended with {self.process.returncode}, its last words: {last}")

    def offer(self):
        def offer():
            if not self._offer:
                self.check()
            return self._offer

        return wait_for(offer, OFFER_SECONDS, "the stack's offer")

    def take_candidates(self):
        """The candidates that came since the last time."""
        taken = []
        while not self._candidates.empty():
            taken.append(self._candidates.get())
        return taken

    def tell(self, **message):
        with self._lock:
            self.process.stdin.write(json.dumps(message).encode() + b"\n")
            self.process.stdin.flush()

    def close(self):
        self.tell(close=True)
        status = self.process.wait(CLOSE_SECONDS)
        if status != 0:
            raise RuntimeError(f"the peer ended with {status}")

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
