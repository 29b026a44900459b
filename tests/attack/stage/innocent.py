"""The innocent viewer: a process of its own that says when each picture has arrived."""
import json
import subprocess
import threading
import time

from stage.programs import INNOCENT, PYTHON
from support.camera import wait_for

CONNECT_SECONDS = 30
PICTURE_SECONDS = 5


class Innocent:
    def __init__(self, url, token, log):
        self.pictures = []  # when each arrived, in seconds of the monotonic clock
        self.key_pictures = []
        self.call = None
        with open(log, "ab") as errors:
            self._process = subprocess.Popen([PYTHON, INNOCENT, url, "--token", token], stdin=subprocess.PIPE,
                                             stdout=subprocess.PIPE, stderr=errors)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        wait_for(lambda: len(self.pictures) > 1 or self.has_ended(), CONNECT_SECONDS, "the innocent viewer's picture")
        if self.has_ended():
            raise RuntimeError(f"the innocent viewer ended; its log is {log}")

    def _read(self):
        for line in self._process.stdout:
            name, value = line.split(maxsplit=1)
            if name == b"call":
                self.call = json.loads(value)
            else:
                self.pictures.append(float(value))
                if name == b"key":
                    self.key_pictures.append(self.pictures[-1])

    def has_ended(self):
        return self._process.poll() is not None

    def wait_for_pictures(self, count, since):
        """At the most so many seconds more than they take: what is missing then is a gap, which `largest_gap` tells."""
        try:
            wait_for(lambda: len([at for at in list(self.pictures) if at > since]) >= count or self.has_ended(),
                     count / 30 + PICTURE_SECONDS, "pictures")
        except TimeoutError:
            pass

    def largest_gap(self, begin, end, goes_on=True):
        """The longest time, in milliseconds, that passed without a picture in this span, and until the next one if the
        call goes on."""
        if goes_on:
            self.wait_for_pictures(1, end)
        seen = list(self.pictures)
        before = [at for at in seen if at <= begin][-1:]
        within = [at for at in seen if begin < at <= end]
        after = [at for at in seen if at > end][:1] or [time.monotonic() if goes_on else end]
        times = before + within + after
        return 1000 * max(later - earlier for earlier, later in zip(times, times[1:]))

    def key_pictures_in(self, begin, end):
        return len([at for at in list(self.key_pictures) if begin < at <= end])

    def close(self):
        self._process.stdin.close()
        try:
            self._process.wait(5)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._reader.join()
        self._process.stdout.close()
