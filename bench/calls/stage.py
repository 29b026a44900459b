"""Shared by the call benchmarks: the clip, senders and viewers in their network, and a sender's load."""
import argparse
import json
import os
import random
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "network"))
from harness import namespaces  # noqa: E402  (the path above makes it importable)
from harness.process_figures import cpu_seconds, figures  # noqa: E402
from harness.programs import Camera, Viewer, wait_for  # noqa: E402

CLIP_SECONDS = 10
SETTLE_SECONDS = 2


def make_clip(path):
    """720p30 at 2 Mbit/s, baseline, a key frame a second. Encoded once, so that no sender has to encode."""
    if os.path.exists(path):
        return path
    frames = CLIP_SECONDS * 30
    pipeline = (f"videotestsrc num-buffers={frames} pattern=zone-plate kx2=20 ky2=20 kt=3 ! "
                "video/x-raw,format=I420,width=1280,height=720,framerate=30/1 ! "
                "x264enc bitrate=2000 tune=zerolatency speed-preset=veryfast key-int-max=30 bframes=0 ! "
                f"video/x-h264,profile=constrained-baseline,stream-format=byte-stream ! filesink location={path}.part")
    subprocess.run(["gst-launch-1.0", "-q", *pipeline.split()], check=True)
    os.rename(path + ".part", path)
    return path


def read_options(description, programs=("plain",)):
    """The command line, with an option for the path of each program. Exits where calls cannot be made."""
    parser = argparse.ArgumentParser(description=description)
    for name in ("camera", "viewer", *programs):
        parser.add_argument("--" + name, required=True, metavar="PATH")
    parser.add_argument("--short", action="store_true", help="a few samples only: does it all still run?")
    parser.add_argument("--json", required=True, help="write the figures to this file")
    options = parser.parse_args()
    namespaces.prepare_or_skip()
    os.environ["MALLOC_ARENA_MAX"] = "1"  # as the camera itself does
    return options


def write_figures(options, found):
    with open(options.json, "w", encoding="utf-8") as out:
        json.dump(found, out, indent=1)


class Stage:
    """Senders and viewers in one network; `programs` has their paths, named as the options of read_options."""

    def __init__(self, network, programs):
        self.network = network
        self._programs = programs
        self.clip = make_clip(os.path.join(os.path.dirname(os.path.abspath(programs.json)), "clip-720p30.h264"))

    def camera(self, *options, prefix=()):
        listening = ["--listen", "127.0.0.1:0", "--max-calls", "64", "--log-level", "5"]
        return self.sender([*prefix, self._programs.camera, *listening, *options])

    def camera_with_clip(self, prefix=()):
        return self.camera("--video-file", f"1={self.clip}", prefix=prefix)

    def plain(self, *options, prefix=()):
        return self.sender([*prefix, self._programs.plain, *options])

    def plain_with_clip(self, prefix=()):
        return self.plain("--video-file", self.clip, prefix=prefix)

    def sender(self, command):
        return Camera(command[0], command[1:], self.network.command_in, watched=False)

    def view(self, sender, *options, buffer_ms=50):
        return Viewer(self._programs.viewer, sender.local_url(), ["--jitter-buffer", str(buffer_ms), *options],
                      self.network.command_in)

    def watch(self, sender, viewers, seconds):
        """Starts `viewers` viewers that count the sender's frames."""
        return self.view(sender, "--seconds", str(seconds), "--calls", str(viewers), "--no-decode", "--no-talk",
                         "--connect-timeout", "60")

    def place(self, sender, *options, seconds=0.3, buffer_ms=5):
        """Places one call that lasts `seconds` once connected. Returns its steps in milliseconds since the offer.

        With a longer buffer the first picture would often have to wait: GStreamer's buffer starts with the first packet
        only if it has already passed on its own first events.
        """
        return self.view(sender, "--seconds", str(seconds), *options, buffer_ms=buffer_ms).report()["calls"][0]["ms"]

    def load(self, sender, viewers, seconds):
        """Processor time and memory of a sender with `viewers` viewers of the clip."""
        idle = figures(sender.process.pid)
        total = SETTLE_SECONDS + seconds + 2
        run = self.watch(sender, viewers, total)
        wait_for_calls(sender, viewers)
        time.sleep(SETTLE_SECONDS)
        start, cpu = time.monotonic(), cpu_seconds(sender.process.pid)
        time.sleep(seconds)
        share = (cpu_seconds(sender.process.pid) - cpu) / (time.monotonic() - start)
        busy = figures(sender.process.pid)
        frames = [call["video"]["frames"] for call in run.report()["calls"]]
        return {"viewers": viewers, "cpuPercent": 100 * share, "rssKb": busy["rssKb"], "idleRssKb": idle["rssKb"],
                "pssKb": busy["pssKb"], "privateKb": busy["privateKb"], "threads": busy["threads"],
                "fewestFrames": min(frames), "expectedFrames": int(total * 30)}


def picture_times(ms):
    """The milliseconds from a call's connection to its first decoded picture: all, those that passed from the first
    packet of video to the first of a key frame, and the rest. Empty for a call without a picture."""
    if ms["connected"] is None or ms["firstDecoded"] is None:
        return {}
    black = ms["firstDecoded"] - ms["connected"]
    waited = ms["firstFrameBegan"] - max(ms["firstPacket"], ms["connected"])
    return {"black": black, "waited": max(waited, 0), "rest": black - max(waited, 0)}


def wait_for_calls(sender, count):
    wait_for(lambda: sender.health()["calls"] == count, 90, f"{count} calls")


def interval(values, statistic=statistics.median, share=0.95, draws=4000):
    """The bootstrap confidence interval of a statistic; deterministic."""
    chance = random.Random(1)
    found = sorted(statistic(chance.choices(values, k=len(values))) for _ in range(draws))
    cut = int((1 - share) / 2 * draws)
    return found[cut], found[-1 - cut]
