#!/usr/bin/env python3
"""What one call costs the camera when many watch it through a media server, and what server and feeder need, beside
direct calls; and how old the picture is when it is decoded, either way. Needs root for a network namespace.
"""
import os
import shutil
import signal
import sys
import time
from contextlib import contextmanager

from run_peers import OneHost
from stage import (ROOT, SETTLE_SECONDS, Stage, cpu_seconds, figures, namespaces, read_options, wait_for,
                   wait_for_calls, write_figures)

CHAIN = os.path.join(ROOT, "apps", "chain", "run_chain.py")
DIRECT, THROUGH_JANUS = "direct", "through Janus"
# As the kernel names the chain's programs.
PARTS = {"feeder": "zelrtc-viewer", "Janus": "janus"}
BUFFER_MS = 50
STOP_SECONDS = 60


class Chain:
    """The camera with its one call, and what stands behind it."""

    def __init__(self, camera, server):
        self.camera, self.server = camera, server
        wait_for_calls(camera, 1)
        children = children_of(server.process.pid)
        self.processes = {"camera": camera.process.pid, **{name: children[program] for name, program in PARTS.items()}}


def children_of(pid):
    found = {}
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        for child in file.read().split():
            with open(f"/proc/{child}/comm", encoding="utf-8") as name:
                found[name.read().strip()] = int(child)
    return found


@contextmanager
def chain(stage, options):
    with stage.camera() as camera:
        command = [CHAIN, "--camera", camera.local_url(), "--listen", "127.0.0.1:0", "--camera-program",
                   options.camera, "--viewer-program", options.viewer]
        with stage.sender(command) as server:
            yield Chain(camera, server)


def costs(stage, sender, processes, viewers, seconds):
    """Processor time and memory of each process while so many viewers count the sender's frames."""
    before = sender.health()["calls"]
    run = stage.view(sender, "--keep", "--calls", str(viewers), "--no-decode", "--no-talk", "--connect-timeout", "60",
                     buffer_ms=BUFFER_MS)
    wait_for_calls(sender, before + viewers)
    time.sleep(SETTLE_SECONDS)
    start, used = time.monotonic(), {name: cpu_seconds(pid) for name, pid in processes.items()}
    time.sleep(seconds)
    passed = time.monotonic() - start
    found = {name: {"cpuPercent": 100 * (cpu_seconds(pid) - used[name]) / passed, "pssKb": figures(pid)["pssKb"]}
             for name, pid in processes.items()}
    run.signal(signal.SIGINT)
    calls = run.report(STOP_SECONDS)["calls"]
    wait_for(lambda: sender.health()["calls"] == before, STOP_SECONDS, "the end of the calls")
    return {"viewers": viewers, "costs": found, "fewestFramesASecond": min(map(frames_a_second, calls))}


def frames_a_second(call):
    ms = call["ms"]
    if ms["firstFrame"] is None or ms["lastFrame"] == ms["firstFrame"]:
        return 0
    return 1000 * (call["video"]["frames"] - 1) / (ms["lastFrame"] - ms["firstFrame"])


def age(stage, sender, seconds):
    report = stage.view(sender, "--seconds", str(seconds), "--no-talk", buffer_ms=BUFFER_MS).report()
    return report["calls"][0]["video"]["ageMs"]


def main():
    options = read_options(__doc__, ())
    if not shutil.which("janus"):
        print("SKIPPED: the package janus is not installed")
        return namespaces.SKIPPED
    direct, passed_on, seconds = ((1,), (1, 4), 1) if options.short else ((1, 16), (1, 16, 64), 8)
    rows, ages = [], {}
    with OneHost() as network:
        stage = Stage(network, options)
        for viewers in direct:
            with stage.camera() as camera:
                found = costs(stage, camera, {"camera": camera.process.pid}, viewers, seconds)
                rows.append({"way": DIRECT, **found})
                ages.setdefault(DIRECT, age(stage, camera, seconds))
        with chain(stage, options) as running:
            ages[THROUGH_JANUS] = age(stage, running.server, seconds)
            for viewers in passed_on:
                found = costs(stage, running.server, running.processes, viewers, seconds)
                rows.append({"way": THROUGH_JANUS, **found})
                if running.camera.health()["calls"] != 1:
                    raise RuntimeError("the camera has more than its one call")
    write_figures(options, {"costs": rows, "ages": ages})
    for row in rows:
        parts = ", ".join(f"{name} {cost['cpuPercent']:.1f} % of a core and {cost['pssKb']} kB"
                          for name, cost in row["costs"].items())
        print(f"{row['way']:13} {row['viewers']:2} viewers: {parts}; worst-served {row['fewestFramesASecond']:.1f} frames/s")
    for way, found in ages.items():
        print(f"{way:13} age of a picture: median {found['p50']} ms, 95 % {found['p95']} ms")
    return 0


if __name__ == "__main__":
    sys.exit(main())
