#!/usr/bin/env python3
"""Whole calls, timed and weighed: the demo camera, and beside it the engine used without session and SDK.

Both senders serve in turn within one run, so that what else the machine does falls on both alike. Needs root for a
network namespace of its own.
"""
import argparse
import json
import os
import platform
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "network"))
from harness import namespaces  # noqa: E402  (the path above makes it importable)
from harness.process_figures import cpu_seconds, figures  # noqa: E402
from harness.programs import Camera, Viewer, wait_for  # noqa: E402

SKIPPED = 77
CLIP_SECONDS = 10
SETTLE_SECONDS = 3


def make_clip(path):
    """720p30 at 2 Mbit/s, baseline, a key frame a second: encoded once, so that encoding weighs on neither sender."""
    frames = CLIP_SECONDS * 30
    pipeline = (f"videotestsrc num-buffers={frames} pattern=zone-plate kx2=20 ky2=20 kt=3 ! "
                "video/x-raw,format=I420,width=1280,height=720,framerate=30/1 ! "
                "x264enc bitrate=2000 tune=zerolatency speed-preset=veryfast key-int-max=30 bframes=0 ! "
                "video/x-h264,profile=constrained-baseline,stream-format=byte-stream ! filesink location=" + path)
    subprocess.run(["gst-launch-1.0", "-q", *pipeline.split()], check=True)


class Bench:
    def __init__(self, network, programs, clip):
        self._network = network
        self._programs = programs
        self._clip = clip

    def camera(self, *options):
        return Camera(self._programs.camera, ["--listen", "127.0.0.1:0", "--max-calls", "64", *options],
                      self._network.command_in, watched=False)

    def plain(self, *options):
        return Camera(self._programs.plain, options, self._network.command_in, watched=False)

    def view(self, sender, *options):
        # The loopback interface loses nothing; a longer wait would be part of the time to the first picture.
        return Viewer(self._programs.viewer, sender.local_url(), ["--jitter-buffer", "50", *options],
                      self._network.command_in)

    def place(self, sender, *options):
        return self.view(sender, "--seconds", "0.3", *options).report()["calls"][0]

    def call_times(self, count):
        """Milliseconds since the offer for each step of `count` calls, the ways taking turns."""
        ways = {"camera": [], "camera, complete answer": [], "engine alone": []}
        with self.camera("--log-level", "5") as camera, self.plain() as plain:
            for sender in (camera, plain):
                self.place(sender)  # the first call of a process makes its certificate
            for _ in range(count):
                ways["camera"].append(self.place(camera)["ms"])
                ways["camera, complete answer"].append(self.place(camera, "--no-trickle")["ms"])
                ways["engine alone"].append(self.place(plain)["ms"])
        return ways

    def load(self, sender, viewers, seconds):
        """Processor time and memory of a sender with so many viewers of the clip."""
        idle = figures(sender.process.pid)
        total = SETTLE_SECONDS + seconds + 2
        run = self.view(sender, "--seconds", str(total), "--calls", str(viewers), "--no-decode", "--no-talk",
                        "--connect-timeout", "40")
        wait_for(lambda: sender.health()["calls"] == viewers, 60, f"{viewers} calls")
        time.sleep(SETTLE_SECONDS)
        start, cpu = time.monotonic(), cpu_seconds(sender.process.pid)
        time.sleep(seconds)
        share = (cpu_seconds(sender.process.pid) - cpu) / (time.monotonic() - start)
        busy = figures(sender.process.pid)
        report = run.report()
        frames = [call["video"]["frames"] for call in report["calls"]]
        return {"viewers": viewers, "cpuPercent": 100 * share, "rssKb": busy["rssKb"], "idleRssKb": idle["rssKb"],
                "threads": busy["threads"], "fewestFrames": min(frames), "expectedFrames": int(total * 30)}

    def loads(self, viewer_counts, seconds):
        rows = []
        for viewers in viewer_counts:
            with self.camera("--video-file", f"1={self._clip}", "--log-level", "5") as camera:
                rows.append(self.load(camera, viewers, seconds))
        return rows

    def pairs(self, count, viewers, seconds):
        """The same load on both senders, one after the other, which one first alternating."""
        rows = []
        with self.camera("--video-file", f"1={self._clip}", "--log-level", "5") as camera, \
                self.plain("--video-file", self._clip) as plain:
            for number in range(count):
                order = [("camera", camera), ("engine", plain)]
                row = {name: self.load(sender, viewers, seconds)["cpuPercent"]
                       for name, sender in (order if number % 2 == 0 else reversed(order))}
                rows.append(row)
        return rows

    def frame_ages(self, seconds):
        """From the capture clock in the picture to its arrival, decoded, for each stream."""
        ages = {}
        with self.camera("--log-level", "5") as camera:
            for stream in ("0", "1", "2"):
                call = self.view(camera, "--stream", stream, "--seconds", str(seconds)).report()["calls"][0]
                ages[stream] = call["video"]["ageMs"]
        return ages


def machine():
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                  if line.startswith("model name")), platform.machine())
    return {"processor": model, "cores": os.cpu_count(), "kernel": platform.release(),
            "loadBefore": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True)
    parser.add_argument("--plain", required=True, help="path of plain-sender")
    parser.add_argument("--short", action="store_true", help="a few calls only: does it all still run?")
    parser.add_argument("--json", required=True, help="write the figures to this file")
    options = parser.parse_args()
    namespaces.clean_up_when_terminated()
    missing = namespaces.missing_ability()
    if missing:
        print(f"SKIPPED: {missing}")
        return SKIPPED

    os.environ["MALLOC_ARENA_MAX"] = "1"  # as the camera sets it for itself
    calls, viewer_counts, seconds, pairs = (2, (1,), 1, 1) if options.short else (50, (1, 4, 16), 8, 8)
    clip = os.path.join(os.path.dirname(os.path.abspath(options.json)), "clip-720p30.h264")
    make_clip(clip)
    figures_found = {"machine": machine(), "clipKbit": os.path.getsize(clip) * 8 / CLIP_SECONDS / 1000}
    with namespaces.Loopback() as network:
        bench = Bench(network, options, clip)
        figures_found["callTimes"] = bench.call_times(calls)
        figures_found["frameAges"] = bench.frame_ages(seconds)
        figures_found["pairs"] = bench.pairs(pairs, 4, seconds)
        figures_found["loads"] = bench.loads(viewer_counts, seconds)
    with open(options.json, "w", encoding="utf-8") as out:
        json.dump(figures_found, out, indent=1)

    times = figures_found["callTimes"]
    for way, rows in times.items():
        answers = statistics.median(row["answer"] for row in rows)
        connected = [row["connected"] for row in rows if row["connected"] is not None]
        print(f"{way:24} answer {answers:6.1f} ms, connected {statistics.median(connected):6.1f} ms (medians)")
    for row in figures_found["loads"]:
        print(f"{row['viewers']:2} viewers: {row['cpuPercent']:5.1f} % of a core, {row['rssKb']} kB")
    ratio = statistics.median(row["camera"] / row["engine"] for row in figures_found["pairs"])
    print(f"camera against the engine alone, processor time: {ratio:.3f}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
