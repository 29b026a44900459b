"""A camera, its innocent viewer, and the judgement of what an attack did to them.

The innocent viewer's picture may have no gap over 200 ms while an attack goes on. On a machine that has other work the
picture has gaps without any attack. So after a longer gap there is a span without an attack, as long as the attack was,
and then the attack is played again, twice at the most: the last time counts, and its limit is three times the largest
gap of that span where that is more than 200 ms, and a second at the most. On a quiet machine such a span has gaps of
some 40 ms, and the limit stays what it is. It stands beside every gap in the output, with how often the attack was
played. Attacks that end the camera are played once, after such a span.

Camera and innocent viewer run at the usual priority and the attackers below it, so that the processor time that an
attacker needs for himself is not taken for harm that he does.
"""
import contextlib
import mmap
import os
import re
import time

from harness.process_figures import figures
from stage import offers
from stage.door import Door
from stage.hostile import Hostile
from stage.innocent import Innocent
from support.camera import Camera, CameraFailed, wait_for

GAP_MS = 200
GAPS_WITHOUT_ATTACK = 3
MOST_GAP_MS = 1000
MOST_TIMES = 3
CONTROL_SECONDS = 2, 10  # at least and at most
SHORTEST_ATTACK_PICTURES = 15
BACK_SECONDS = 10
ATTACKERS_NICE = 10
# What may be left of an attack, counted from the beginning of the scene: memory that the allocator keeps, and threads
# of GLib's pools and the server's, which stay for a while when there is nothing to do.
TOLERANCE = {"descriptors": 0, "threads": 8, "rssKb": 32 * 1024}
# A camera with sanitizers needs three times the memory, and keeps what was freed for a while: 16 MB of it here. The
# first 750 calls leave it 90 MB larger, the next 750 some 10, where another camera stays within 20. A leak is found
# when the camera ends.
SANITIZED_TOLERANCE = {**TOLERANCE, "rssKb": 5 * TOLERANCE["rssKb"]}
SANITIZER_OPTIONS = "quarantine_size_mb=16:thread_local_quarantine_size_kb=64"
SANITIZER_WORDS = re.compile(r"runtime error:|ERROR: (Address|Leak)Sanitizer")


def _is_sanitized(program):
    with open(program, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as text:
        return text.find(b"__asan_init") >= 0


class Scene:
    """Use it in a with statement."""

    def __init__(self, program, group, folder):
        self.folder, self.group = folder, group
        self.problems = []
        self.end_of_watch = None
        self._log = os.path.join(folder, "camera.log")
        self._tolerance = SANITIZED_TOLERANCE if _is_sanitized(program) else TOLERANCE
        with contextlib.ExitStack() as stack:
            os.environ["ASAN_OPTIONS"] = f"{os.environ.get('ASAN_OPTIONS', '')}:{SANITIZER_OPTIONS}"
            self.camera = stack.enter_context(Camera(program, self._log, group.options(folder), group.silence_rate))
            self.innocent = Innocent(self.camera.url, group.token, os.path.join(folder, "innocent.log"))
            stack.callback(self.innocent.close)
            os.setpriority(os.PRIO_PROCESS, 0, ATTACKERS_NICE)
            self.door = Door(self.camera.port)
            stack.callback(self.door.close)
            self._warm_up()
            self._before = figures(self.camera.process.pid)
            self._stack = stack.pop_all()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._stack.__exit__(None, None, None)
        with open(self._log, encoding="utf-8", errors="replace") as log:
            reports = [line.strip() for line in log if SANITIZER_WORDS.search(line)]
        if reports:
            raise CameraFailed(f"a sanitizer found: {reports[0]}; the camera's log is {self._log}")

    # The first call of a process fills caches that stay.
    def _warm_up(self):
        for act in ("watch", "watch"):
            with self.hostile(act, seconds=0.3) as viewer:
                viewer.done()
                viewer.hang_up()
        self.health()
        self._wait_until_calm()

    def _wait_until_calm(self):
        last, since = None, time.monotonic()

        def is_calm():
            nonlocal last, since
            now = [figures(self.camera.process.pid)[what] for what in ("descriptors", "threads")]
            if now != last:
                last, since = now, time.monotonic()
            return time.monotonic() - since > 3

        wait_for(is_calm, 60, "the camera to have as many threads for a while")

    # ---- what an attack uses ----

    def expect(self, holds, what):
        """`what`: the harm, in the words of a report."""
        if not holds:
            self.problems.append(what)

    def hostile(self, act, **more):
        """A hostile viewer, to be used in a with statement; `more`: how long and in how many calls."""
        return Hostile(self.camera.url, act, os.path.join(self.folder, "hostile.log"), token=self.group.token, **more)

    def flood(self, act, **more):
        """A hostile viewer from its call to hanging up. @return what it has counted"""
        with self.hostile(act, **more) as viewer:
            viewer.connected()
            counted = viewer.done()
            viewer.hang_up()
        return counted

    def credentials(self):
        return [f"Authorization: Bearer {self.group.token}"] if self.group.token else []

    def health(self):
        """As the innocent sees it, from an address of his own."""
        status, _, body = self.door.ask("GET", "/health", self.credentials(), source="127.0.0.1")
        return status, body

    def expect_service(self, seconds=5):
        """Somebody else is served meanwhile."""
        asked = time.monotonic()
        status, _ = self.health()
        took = time.monotonic() - asked
        self.expect(status == 200, f"somebody else got {status or 'no answer'}")
        self.expect(took < seconds, f"somebody else waited {took:.1f} s")

    def place_call(self, text=None, query="?trickle=1", headers=(), source="127.0.0.2"):
        """@return (status, path of the call)"""
        status, head, _ = self.door.ask("POST", "/calls" + query, [offers.TYPE_JSON, *self.credentials(), *headers],
                                        offers.offer(text), source=source)
        location = re.search(r"location: (\S+)", head)
        return status, location.group(1) if location else ""

    def end_call(self, path):
        return self.door.ask("DELETE", path, self.credentials(), source="127.0.0.1")[0]

    @contextlib.contextmanager
    def own_call(self):
        """A call that never connects, and is hung up at the end."""
        status, path = self.place_call()
        if status != 201:
            raise RuntimeError(f"the attacker's own call was answered with {status}")
        try:
            yield path
        finally:
            self.end_call(path)

    def calls(self):
        return self.camera.health()["calls"]

    # ---- judgement ----

    def play(self, attack):
        """@return a report: name, problems, times, gapMs, limitMs, seconds, figures before and after"""
        begin = time.monotonic()
        limit = self._usual_limit(0) if attack.ends_camera else GAP_MS
        gap, times = self._gap_during(attack), 1
        while gap > limit and times < MOST_TIMES and not attack.ends_camera and not self.is_broken():
            limit = self._usual_limit((time.monotonic() - begin) / times)
            gap, times = self._gap_during(attack), times + 1
        self.expect(gap <= limit, f"the innocent viewer's picture had a gap of {gap:.0f} ms")
        before, after = self._before, {}
        if not attack.ends_camera:
            self._judge_life()
            after = {} if self.is_broken() else self._judge_resources(attack.release_seconds)
        return {"name": attack.name, "problems": self.problems, "times": times, "gapMs": round(gap),
                "limitMs": round(limit), "seconds": round(time.monotonic() - begin, 1), "before": before,
                "after": after}

    def _usual_limit(self, seconds):
        """The limit that a span of about this length without an attack gives."""
        begin = time.monotonic()
        shortest, longest = CONTROL_SECONDS
        self.innocent.wait_for_pictures(30 * min(max(seconds, shortest), longest), begin)
        usual = GAPS_WITHOUT_ATTACK * self.innocent.largest_gap(begin, time.monotonic())
        return min(max(GAP_MS, usual), MOST_GAP_MS)

    def _gap_during(self, attack):
        self.problems, self.end_of_watch = [], None
        begin = time.monotonic()
        try:
            attack.play(self)
        except (OSError, RuntimeError, ValueError, KeyError) as error:
            self.problems.append(f"{type(error).__name__}: {error}")
        if self.end_of_watch:
            gap = self.innocent.largest_gap(begin, self.end_of_watch, goes_on=False)
        else:
            self.innocent.wait_for_pictures(SHORTEST_ATTACK_PICTURES, begin)
            gap = self.innocent.largest_gap(begin, time.monotonic())
        self.door.close()
        return gap

    def is_broken(self):
        """Whether the next attack needs another scene."""
        return self.camera.process.poll() is not None or self.innocent.has_ended()

    def _judge_life(self):
        status = self.camera.process.poll()
        self.expect(status is None, f"the camera ended with {status}")
        self.expect(not self.innocent.has_ended(), "the innocent viewer's call ended")
        if status is None:
            self.expect_service()

    def _judge_resources(self, release_seconds):
        now = {}

        def are_back():
            now.update(figures(self.camera.process.pid))
            return all(now[what] <= self._before[what] + more for what, more in self._tolerance.items())

        try:
            wait_for(are_back, BACK_SECONDS + release_seconds, "what the attack took")
        except (TimeoutError, OSError):
            self.problems += [f"{what} went from {self._before[what]} to {now[what]}" for what, more in
                              self._tolerance.items() if now[what] > self._before[what] + more]
            self._before = now  # said once is enough
        return now
