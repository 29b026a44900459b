#!/usr/bin/env python3
"""Measures times and memory of whole calls: the demo camera, and for comparison the engine without session and SDK.

The senders take turns within one run, so that other load on the machine affects both alike. Needs root for a network
namespace.
"""
import os
import platform
import statistics
import sys

from stage import CLIP_SECONDS, Stage, namespaces, read_options, write_figures


def call_times(stage, count):
    """For each step, milliseconds since the offer, over `count` calls with each sender in turn."""
    ways = {"camera": [], "camera, complete answer": [], "engine alone": []}
    with stage.camera() as camera, stage.plain() as plain:
        for sender in (camera, plain):
            stage.place(sender)  # the first call of a process creates its certificate
        for _ in range(count):
            ways["camera"].append(stage.place(camera))
            ways["camera, complete answer"].append(stage.place(camera, "--no-trickle"))
            ways["engine alone"].append(stage.place(plain))
    return ways


def loads(stage, viewer_counts, seconds):
    rows = []
    for viewers in viewer_counts:
        with stage.camera_with_clip() as camera:
            rows.append(stage.load(camera, viewers, seconds))
    return rows


def frame_ages(stage, seconds):
    """For each stream, the time from capture, as painted into the picture, to the decoded picture."""
    ages = {}
    with stage.camera() as camera:
        for stream in ("0", "1", "2"):
            call = stage.view(camera, "--stream", stream, "--seconds", str(seconds)).report()["calls"][0]
            ages[stream] = call["video"]["ageMs"]
    return ages


def machine():
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                  if line.startswith("model name")), platform.machine())
    return {"processor": model, "cores": os.cpu_count(), "kernel": platform.release(),
            "loadBefore": os.getloadavg()[0]}


def main():
    options = read_options(__doc__)
    calls, viewer_counts, seconds = (1, (1,), 0.5) if options.short else (50, (1, 4, 16), 8)
    found = {"machine": machine()}
    with namespaces.Loopback() as network:
        stage = Stage(network, options)
        found["clipKbit"] = os.path.getsize(stage.clip) * 8 / CLIP_SECONDS / 1000
        found["callTimes"] = call_times(stage, calls)
        found["frameAges"] = frame_ages(stage, seconds)
        found["loads"] = loads(stage, viewer_counts, seconds)
    write_figures(options, found)

    for way, rows in found["callTimes"].items():
        medians = [statistics.median(row[step] for row in rows if row[step] is not None)
                   for step in ("answer", "connected", "firstDecoded")]
        print("{:24} answer {:6.1f} ms, connected {:6.1f} ms, first picture {:6.1f} ms (medians)".format(way, *medians))
    for row in found["loads"]:
        print(f"{row['viewers']:2} viewers: {row['cpuPercent']:5.1f} % of a core, {row['rssKb']} kB")
    return 0


if __name__ == "__main__":
    sys.exit(main())
