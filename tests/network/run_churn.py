#!/usr/bin/env python3
"""Many calls, one after the other, at once, and broken off at every stage: what does the camera hold afterwards?

The measuring starts after some calls of each kind, because the first calls of a process fill caches that stay. The
camera runs with one arena of the allocator: with one for each thread, what is free but scattered looks like a leak.
Needs root for a network namespace of its own.
"""
import argparse
import json
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import namespaces  # noqa: E402  (the path above makes it importable)
from harness.process_figures import figures  # noqa: E402
from harness.programs import Camera, Viewer, wait_for  # noqa: E402

SKIPPED = 77
ABORT_POINTS = ("offer", "gathering", "dtls", "0.3")
# Without the two whose release takes half a minute.
QUICK_ABORT_POINTS = ("gathering", "0.3")
# The camera gives up a viewer that vanished: 30 s before it was connected, some seconds afterwards.
RELEASE_SECONDS = 60
# What may stay: some memory once, and next to nothing for each call.
RSS_KB_ONCE = 4096
RSS_KB_PER_CALL = 8
# Idle threads of a pool end by themselves.
POOL_SECONDS = 40
WARM_UP_CALLS = 5
WARM_UP_AT_ONCE = 20
# Broken-off calls are held for half a minute, fifty at a time: memory is at its highest only after many of them.
WARM_UP_BROKEN_OFF = 200
COUNTED = ("descriptors", "threads")


class Churn:
    def __init__(self, network, camera, viewer_program, abort_points):
        self._network = network
        self._camera = camera
        self._viewer = viewer_program
        self._abort_points = abort_points
        self.failures = []

    def pid(self):
        return self._camera.process.pid

    def _view(self, *options):
        return Viewer(self._viewer, self._camera.url(self._network.camera_address), ["--no-decode", "--jitter-buffer", "50", *options],
                      self._network.command_in)

    def in_a_row(self, count):
        for _ in range(count):
            self._check(self._view("--seconds", "0.2").report())

    def at_once(self, count):
        self._check(self._view("--seconds", "3", "--calls", str(count), "--connect-timeout", "40").report())

    def broken_off(self, count):
        for number in range(count):
            self._view("--abort-at", self._abort_points[number % len(self._abort_points)]).report()

    def _check(self, report):
        for call in report["calls"]:
            if not (call["video"]["frames"] and call["audio"]["received"] and call["audio"]["sent"]):
                self.failures.append(f"call {call['id']}: no picture or no sound, {call['failure'] or 'no reason given'}")

    def settled(self, baseline=None):
        """The figures once no call is left; with a baseline, once threads and descriptors are back at it, if ever."""
        try:
            wait_for(lambda: self._camera.health()["calls"] == 0, RELEASE_SECONDS, "the release of every call")
        except TimeoutError:
            self.failures.append(f"still held: {self._camera.live_calls()}")

        def is_back():
            now = figures(self.pid())
            return now if baseline is None or all(now[what] <= baseline[what] for what in COUNTED) else None

        try:
            return wait_for(is_back, POOL_SECONDS, "the baseline")
        except TimeoutError:
            return figures(self.pid())


def measure(name, churn, baseline, play, count):
    start_rss = churn.settled()["rssKb"]
    start = time.monotonic()
    play(count)
    seconds = time.monotonic() - start
    after = churn.settled(baseline)
    problems = list(churn.failures)
    churn.failures.clear()
    problems += [f"{what} grew from {baseline[what]} to {after[what]}" for what in COUNTED
                 if after[what] > baseline[what]]
    growth = after["rssKb"] - start_rss
    if growth > RSS_KB_ONCE + RSS_KB_PER_CALL * count:
        problems.append(f"resident memory grew by {growth} kB")
    verdict = "ok" if not problems else "FAILED: " + "; ".join(problems[:5])
    print(f"{name:14} {count:4} calls in {seconds:6.1f} s, descriptors {baseline['descriptors']} -> "
          f"{after['descriptors']}, threads {baseline['threads']} -> {after['threads']}, RSS {start_rss} -> "
          f"{after['rssKb']} kB  {verdict}", flush=True)
    return {"name": name, "calls": count, "seconds": seconds, "baseline": baseline, "rssKbBefore": start_rss,
            "after": after, "problems": problems}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True)
    parser.add_argument("--short", action="store_true", help="under a minute")
    parser.add_argument("--in-a-row", type=int, default=500, help="calls one after the other, unless short")
    parser.add_argument("--json", help="write the figures to this file")
    options = parser.parse_args()
    namespaces.clean_up_when_terminated()
    missing = namespaces.missing_ability()
    if missing:
        print(f"SKIPPED: {missing}")
        return SKIPPED

    os.environ["MALLOC_ARENA_MAX"] = "1"
    rows = []
    with namespaces.Loopback() as network:
        with Camera(options.camera, ["--listen", "127.0.0.1:0", "--max-calls", "64", "--log-level", "5"],
                    network.command_in, watched=False) as camera:
            abort_points = QUICK_ABORT_POINTS if options.short else ABORT_POINTS
            churn = Churn(network, camera, options.viewer, abort_points)
            churn.in_a_row(WARM_UP_CALLS)
            churn.at_once(WARM_UP_AT_ONCE)
            churn.broken_off(len(abort_points) if options.short else WARM_UP_BROKEN_OFF)
            baseline = churn.settled()
            for name, play, short, full in (("in a row", churn.in_a_row, 12, options.in_a_row), ("at once", churn.at_once, 6, 20),
                                            ("broken off", churn.broken_off, 8, 100)):
                rows.append(measure(name, churn, baseline, play, short if options.short else full))
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump(rows, out, indent=1)
    return 1 if any(row["problems"] for row in rows) else 0


if __name__ == "__main__":
    sys.exit(main())
