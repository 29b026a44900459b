#!/usr/bin/env python3
"""The demo camera beside programs that could be used instead: Janus' streaming plugin, and senders on pion,
libdatachannel and aiortc.

All send the same clip to the same viewer over the same HTTP interface, taking turns within one run; none encodes.
Programs that are not installed are left out. Needs root for a network namespace.
"""
import os
import random
import shutil
import signal
import statistics
import subprocess
import sys
import time
import urllib.error
from contextlib import ExitStack

from stage import (ROOT, Stage, namespaces, picture_times, read_options, wait_for, wait_for_calls,
                   write_figures)

CHAIN = os.path.join(ROOT, "apps", "chain")
sys.path.insert(0, CHAIN)
from janus_files import write_janus_files  # noqa: E402  (the path above makes it importable)

PEERS = os.path.join(ROOT, "bench", "peers")
# The interpreter that sees Debian's Python packages.
PYTHON = "/usr/bin/python3"
JANUS_PORT, VIDEO_PORT, AUDIO_PORT = 8088, 5004, 5006
START_SECONDS = 20
# The clip has a key frame a second, and no sender can add another.
KEY_FRAME_SECONDS = 1
CALL_SECONDS = 1.3
TRIAL_SECONDS = 3
FEWEST_PICTURES = 10  # of a trial; key frames alone would be three
# Janus sends in bursts, which a viewer with hardly any buffer drops as late.
BUFFER_MS = 50
LONGEST_RUN_SECONDS = 900
FAILURES = (OSError, RuntimeError, TimeoutError, subprocess.SubprocessError, urllib.error.URLError)


class OneHost(namespaces.Loopback):
    """Adds a second interface, because some peers gather no candidates on loopback."""

    def _build(self):
        super()._build()
        inside = ("ip", "-n", self.namespace("both"))
        namespaces.run(*inside, "link", "add", "lan0", "type", "veth", "peer", "name", "lan1")
        namespaces.run(*inside, "address", "add", namespaces.CAMERA_ADDRESS + "/24", "dev", "lan0")
        for end in ("lan0", "lan1"):
            namespaces.run(*inside, "link", "set", end, "up")


class Janus:
    """Janus, a process that feeds it the clip, and the camera's HTTP interface in front. Only Janus is measured."""

    def __init__(self, stage, folder):
        self._processes = ExitStack()
        files = write_janus_files(folder, JANUS_PORT, VIDEO_PORT, AUDIO_PORT)
        try:
            self.process = self._start(stage, ["janus", "-F", files, "-o"])
            self._start(stage, [sys.executable, os.path.join(PEERS, "feed_rtp.py"), stage.clip, str(VIDEO_PORT),
                                str(AUDIO_PORT)])
            listening = ["sh", "-c", f"ss -Hltn sport = :{JANUS_PORT} | grep -q ."]
            wait_for(lambda: subprocess.run(stage.network.command_in("camera", listening), check=False).returncode == 0,
                     START_SECONDS, "Janus to serve")
            self._interface = self._processes.enter_context(stage.sender(
                [PYTHON, os.path.join(CHAIN, "janus_interface.py"), f"http://127.0.0.1:{JANUS_PORT}/janus"]))
        except BaseException:
            self._processes.close()
            raise

    def _start(self, stage, command):
        process = subprocess.Popen(stage.network.command_in("camera", command), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self._processes.callback(end, process)
        return process

    def local_url(self):
        return self._interface.local_url()

    def health(self):
        return self._interface.health()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._processes.close()


def end(process):
    process.send_signal(signal.SIGTERM)
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def has_modules(*names):
    command = [PYTHON, "-c", "import " + ",".join(names)]
    return subprocess.run(command, stderr=subprocess.DEVNULL, check=False).returncode == 0


def has_package(name):
    return shutil.which("node") and os.path.isdir(os.path.join(PEERS, "node_modules", name))


def find_peers(pion, folder):
    """How to start each available sender, and why the others are left out."""
    starts, left_out = {"camera": lambda stage: stage.camera_with_clip()}, {}
    if shutil.which("janus") and has_modules("aiohttp"):
        starts["Janus"] = lambda stage: Janus(stage, folder)
    else:
        left_out["Janus"] = "the packages janus and python3-aiohttp are not installed"
    if os.access(pion, os.X_OK):
        starts["pion"] = lambda stage: stage.sender([pion, stage.clip])
    else:
        left_out["pion"] = "the packages golang-go and golang-github-pion-webrtc.v3-dev are not installed"
    if has_package("node-datachannel"):
        script = os.path.join(PEERS, "libdatachannel_sender.mjs")
        starts["libdatachannel"] = lambda stage: stage.sender(["node", script, stage.clip])
    else:
        left_out["libdatachannel"] = "the npm package node-datachannel is not installed"
    if has_modules("aiortc", "av", "aiohttp"):
        program = os.path.join(PEERS, "aiortc_sender.py")
        starts["aiortc"] = lambda stage: stage.sender([PYTHON, program, stage.clip])
    else:
        left_out["aiortc"] = "the package python3-aiortc is not installed"
    return starts, left_out


def leave_out_the_unable(stage, starts):
    """Tries each sender once, to see whether it can answer the viewer on this machine. Returns what failed and why."""
    failures = {}
    for name in list(starts):
        try:
            with starts[name](stage) as sender:
                trial = stage.view(sender, "--no-talk", "--seconds", str(TRIAL_SECONDS), buffer_ms=BUFFER_MS).report()
                pictures = trial["calls"][0]["video"]["decoded"]
                if pictures < FEWEST_PICTURES:
                    raise RuntimeError(f"its call brought {pictures} pictures in {TRIAL_SECONDS} s")
        except FAILURES as failure:
            starts.pop(name)
            failures[name] = str(failure)
    return failures


def call_times(stage, starts, count):
    times = {name: [] for name in starts}
    with ExitStack() as running:
        senders = {name: running.enter_context(begin(stage)) for name, begin in starts.items()}
        for sender in senders.values():
            # Keeps the source running: the camera stops it while nobody watches, and restarts it with a key frame.
            running.callback(stage.watch(sender, 1, LONGEST_RUN_SECONDS).kill)
            wait_for_calls(sender, 1)
        chance = random.Random(1)
        for _ in range(count):
            for name, sender in senders.items():
                time.sleep(chance.uniform(0, KEY_FRAME_SECONDS))
                ms = stage.place(sender, "--no-talk", seconds=CALL_SECONDS, buffer_ms=BUFFER_MS)
                times[name].append({**ms, **picture_times(ms)})
    return times


def loads(stage, starts, viewer_counts, seconds, left_out):
    """A load that cannot be measured, as on a machine with too much else to do, is noted in left_out."""
    rows = []
    for viewers in viewer_counts:
        for name, begin in starts.items():
            try:
                with begin(stage) as sender:
                    rows.append({"sender": name, **stage.load(sender, viewers, seconds)})
            except FAILURES as failure:
                left_out[f"{name} with {viewers} viewers"] = str(failure)
    return rows


def summary(starts, found):
    print("can answer the viewer: " + ", ".join(starts))
    for name, reason in found["leftOut"].items():
        print(f"{name:14} left out: {reason}")
    for name, rows in found["callTimes"].items():
        medians = [statistics.median(row[step] for row in rows if row.get(step) is not None)
                   for step in ("answer", "connected", "black", "waited", "rest")]
        print("{:14} answer {:6.1f} ms, connected {:6.1f} ms, then black {:6.1f} ms, of it waiting for a key frame "
              "{:6.1f} ms, the rest {:6.1f} ms (medians)".format(name, *medians))
    for row in found["loads"]:
        print(f"{row['sender']:14} {row['viewers']:2} viewers: {row['cpuPercent']:5.1f} % of a core, PSS "
              f"{row['pssKb']} kB, {row['threads']} threads, worst-served {row['fewestFrames']} frames")


def main():
    options = read_options(__doc__, ("pion",))
    calls, viewer_counts, seconds = (0, (), 0) if options.short else (30, (1, 4, 16), 5)
    starts, left_out = find_peers(os.path.abspath(options.pion), os.path.dirname(os.path.abspath(options.json)))
    with OneHost() as network:
        stage = Stage(network, options)
        failures = leave_out_the_unable(stage, starts)
        left_out.update(failures)
        found = {"callTimes": call_times(stage, starts, calls) if calls else {},
                 "loads": loads(stage, starts, viewer_counts, seconds, left_out), "leftOut": left_out}
    write_figures(options, found)
    summary(starts, found)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
