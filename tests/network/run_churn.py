#!/usr/bin/env python3
"""Many calls, one after the other, at once, and broken off at every stage: what does the camera still hold afterwards?

Measuring starts after some calls of each kind, because the first calls of a process fill caches that stay. What counts
is the heap in use, because only a leak makes it grow. GLib's slices and the allocator's caches for each thread keep
freed memory and would hide a leak, so the programs run without them. With --plain the engine alone is measured too.
Needs root for a network namespace.
"""
import argparse
import json
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import namespaces, sdk_limits  # noqa: E402  (the path above makes it importable)
from harness.process_figures import EXACT_HEAP, HEAP_KB_PER_CALL, figures  # noqa: E402
from harness.programs import Camera, Viewer, wait_for  # noqa: E402

ABORT_POINTS = ("offer", "gathering", "dtls", "0.3")
# Without the two that take ten seconds to release.
QUICK_ABORT_POINTS = ("gathering", "0.3")
RELEASE_SECONDS = max(sdk_limits.seconds("neverConnected"), sdk_limits.seconds("vanished")) + 15
# The stand-in counts a vanished viewer's silence this many times faster.
SILENCE_RATE = 5
# How much may remain: some memory once, and next to nothing for each call.
RSS_KB_ONCE = 4096
RSS_KB_PER_CALL = 8
# The heap grows in steps.
HEAP_KB_ONCE = 256
# Some seconds after its last call the camera returns its free memory to the system. It has, once its figures do not
# change for the first of these times; the second limits the wait.
QUIET_SECONDS = 4
SETTLE_SECONDS = 60
# A pool ends its idle threads by itself.
POOL_SECONDS = 40
WARM_UP_CALLS = 5
WARM_UP_AT_ONCE = 20
# A broken-off call is held for ten seconds, beside many others: memory peaks only after many of them.
HELD_AT_ONCE = 50
WARM_UP_BROKEN_OFF = 200
COUNTED = ("descriptors", "threads")
LIMITS = {"rssKb": ("resident memory", RSS_KB_ONCE, RSS_KB_PER_CALL),
          "heapKb": ("the heap in use", HEAP_KB_ONCE, HEAP_KB_PER_CALL)}


class Churn:
    def __init__(self, network, camera, viewer_program, abort_points):
        self._network = network
        self._camera = camera
        self._viewer = viewer_program
        self.abort_points = abort_points
        self.failures = []

    def pid(self):
        return self._camera.process.pid

    def _view(self, *options):
        return Viewer(self._viewer, self._camera.url(self._network.camera_address),
                      ["--no-decode", "--jitter-buffer", "50", *options], self._network.command_in)

    def in_a_row(self, count):
        for _ in range(count):
            self._check(self._view("--seconds", "0.4").report())

    def at_once(self, count):
        self._check(self._view("--seconds", "3", "--calls", str(count), "--connect-timeout", "40").report())

    def broken_off(self, count):
        for number in range(count):
            self.on_vanished(self._view("--abort-at", self.abort_points[number % len(self.abort_points)]).report())

    def on_vanished(self, report):
        """Nothing to do: the camera finds out by itself."""

    def _check(self, report):
        for call in report["calls"]:
            if not (call["video"]["frames"] and call["audio"]["received"] and call["audio"]["sent"]):
                self.failures.append(f"call {call['id']}: no picture or no sound, {call['failure'] or 'no reason given'}")

    def figures(self):
        return {**figures(self.pid()), "heapKb": self._camera.health()["heapBytes"] // 1024}

    def settled(self):
        """The figures once they have stopped changing after the last call."""
        self.wait_for_release()
        last, since = None, 0

        def is_quiet():
            nonlocal last, since
            now = [figures(self.pid())[what] for what in (*COUNTED, "rssKb")]
            if now != last:
                last, since = now, time.monotonic()
            return time.monotonic() - since >= QUIET_SECONDS

        wait_for(is_quiet, SETTLE_SECONDS, "the camera's figures to settle")
        return self.figures()

    def wait_for_release(self):
        try:
            wait_for(lambda: self._camera.health()["calls"] == 0, RELEASE_SECONDS, "the release of every call")
        except TimeoutError:
            self.failures.append(f"still held: {self._camera.live_calls()}")

    def settled_within(self, limits):
        """The figures once each is within its limit, or after a while if that never happens."""
        self.wait_for_release()

        def are_within():
            # The heap comes last, because asking for it costs the camera a thread.
            now = figures(self.pid())
            if any(now[what] > limits[what] for what in now.keys() & limits.keys()):
                return None
            now = self.figures()
            return now if now["heapKb"] <= limits["heapKb"] else None

        try:
            return wait_for(are_within, POOL_SECONDS, "the limits")
        except TimeoutError:
            return self.figures()


class PlainChurn(Churn):
    """The engine alone does not notice that its viewer is gone; this ends its calls as late as a camera would."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self._vanished = []

    def on_vanished(self, report):
        self._vanished += [call["id"] for call in report["calls"] if call["id"] is not None]
        self._end_vanished(HELD_AT_ONCE)

    def _end_vanished(self, kept):
        while len(self._vanished) > kept:
            self._camera.delete(f"/calls/{self._vanished.pop(0)}")

    def wait_for_release(self):
        self._end_vanished(0)
        super().wait_for_release()


def measure(name, churn, baseline, play, count):
    before = churn.settled()
    limits = {what: baseline[what] for what in COUNTED}
    for what, (_, once, per_call) in LIMITS.items():
        limits[what] = before[what] + once + per_call * count
    start = time.monotonic()
    play(count)
    seconds = time.monotonic() - start
    after = churn.settled_within(limits)
    problems = list(churn.failures)
    churn.failures.clear()
    problems += [f"{what} grew from {baseline[what]} to {after[what]}" for what in COUNTED
                 if after[what] > limits[what]]
    problems += [f"{words} grew by {after[what] - before[what]} kB" for what, (words, *_) in LIMITS.items()
                 if after[what] > limits[what]]
    verdict = "ok" if not problems else "FAILED: " + "; ".join(problems[:5])
    print(f"{name:25} {count:4} calls in {seconds:6.1f} s, descriptors {baseline['descriptors']} -> "
          f"{after['descriptors']}, threads {baseline['threads']} -> {after['threads']}, heap {before['heapKb']} -> "
          f"{after['heapKb']} kB, RSS {before['rssKb']} -> {after['rssKb']} kB  {verdict}", flush=True)
    return {"name": name, "calls": count, "seconds": seconds, "baseline": baseline, "before": before,
            "after": after, "problems": problems}


def warm_up(churn, short):
    churn.in_a_row(WARM_UP_CALLS)
    churn.at_once(WARM_UP_AT_ONCE)
    churn.broken_off(len(churn.abort_points) if short else WARM_UP_BROKEN_OFF)
    return churn.settled()


def churn_camera(network, options, abort_points):
    rows = []
    with Camera(sdk_limits.camera_under_test(options.camera), ["--listen", "127.0.0.1:0", "--max-calls", "64", "--log-level", "5"],
                network.command_in, watched=False, silence_rate=SILENCE_RATE) as camera:
        churn = Churn(network, camera, options.viewer, abort_points)
        baseline = warm_up(churn, options.short)
        for name, play, short, full in (("in a row", churn.in_a_row, 12, options.in_a_row),
                                        ("at once", churn.at_once, 6, 20), ("broken off", churn.broken_off, 8, 100)):
            rows.append(measure(name, churn, baseline, play, short if options.short else full))
    return rows


def churn_engine(network, options, abort_points):
    """What the engine itself keeps of broken-off calls; informative only."""
    with Camera(options.plain, [], network.command_in, watched=False) as sender:
        churn = PlainChurn(network, sender, options.viewer, abort_points)
        baseline = warm_up(churn, options.short)
        row = measure("broken off, engine alone", churn, baseline, churn.broken_off, 8 if options.short else 100)
    return {**row, "problems": []}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True)
    parser.add_argument("--plain", help="path of plain-sender: measure the engine alone, too")
    parser.add_argument("--short", action="store_true", help="under a minute")
    parser.add_argument("--in-a-row", type=int, default=500, help="calls one after the other, unless short")
    parser.add_argument("--json", help="write the figures to this file")
    options = parser.parse_args()
    namespaces.prepare_or_skip()

    os.environ.update(EXACT_HEAP)
    abort_points = QUICK_ABORT_POINTS if options.short else ABORT_POINTS
    with namespaces.Loopback() as network:
        rows = churn_camera(network, options, abort_points)
        if options.plain:
            rows.append(churn_engine(network, options, abort_points))
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump(rows, out, indent=1)
    return 1 if any(row["problems"] for row in rows) else 0


if __name__ == "__main__":
    sys.exit(main())
