"""A hostile viewer as a process, which places its call itself and floods when it is told to."""
import json
import subprocess

from stage.programs import HOSTILE, PYTHON

END_SECONDS = 60


class HostileFailed(RuntimeError):
    pass


class Hostile:
    """Use it in a with statement, whose end kills it if it still runs."""

    def __init__(self, url, act, log, seconds=2.0, calls=1, token=""):
        with open(log, "ab") as errors:
            self.process = subprocess.Popen([PYTHON, HOSTILE, url, act, "--seconds", str(seconds), "--calls",
                                             str(calls), "--token", token], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=errors)
        self._act, self._log = act, log

    def _line(self, wanted):
        for line in self.process.stdout:
            message = json.loads(line)
            if wanted in message:
                return message[wanted]
        raise HostileFailed(f"the hostile viewer ({self._act}) ended before it was {wanted}; its log is {self._log}")

    def connected(self):
        """Waits for its connection. @return the addresses of its calls"""
        return self._line("connected")

    def done(self):
        """Waits for the end of the flood. @return what it has counted"""
        return self._line("done")

    def hang_up(self):
        """After the flood: it ends its calls as a viewer does."""
        self.process.stdin.close()
        self.process.wait(END_SECONDS)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.kill()
        self.process.stdin.close()
        self.process.stdout.close()
