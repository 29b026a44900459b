#!/usr/bin/env python3
"""How long viewers see nothing who join a file or an IP camera at random times, from the connection on.

Four viewers at a time join the demo camera, which begins with the newest group of pictures, and in turns the engine
alone, which is told to begin with the next key frame, as if no group were kept. The IP camera is GStreamer's RTSP
server. Needs root for a network namespace.
"""
import random
import statistics
import subprocess
import sys
import time
from contextlib import ExitStack, contextmanager

from stage import Stage, namespaces, picture_times, read_options, wait_for, wait_for_calls, write_figures

VIEWERS = 4
BUFFER_MS = 50
LONGEST_RUN_SECONDS = 600
START_SECONDS = 20
# The clip has a key frame a second; IP cameras have one every two seconds or so.
KEY_FRAME_SECONDS = {"file": 1, "RTSP": 2}
IP_CAMERA = ("( videotestsrc is-live=true pattern=ball ! video/x-raw,width=640,height=360,framerate=30/1 ! x264enc "
             "tune=zerolatency speed-preset=ultrafast threads=1 bitrate=800 option-string=scenecut=0 key-int-max={} ! "
             "video/x-h264,profile=constrained-baseline ! rtph264pay name=pay0 pt=96 )")


@contextmanager
def ip_camera(stage, program):
    """Serves until the end of the with statement. Gives its address."""
    media = IP_CAMERA.format(30 * KEY_FRAME_SECONDS["RTSP"])
    process = subprocess.Popen(stage.network.command_in("camera", [program, "0", media]), stdout=subprocess.PIPE,
                               text=True)
    try:
        yield process.stdout.readline().strip()
    finally:
        process.terminate()
        process.wait()
        process.stdout.close()


def join(stage, sender, chance, interval):
    """Viewers who join within two intervals between key frames and stay for more than one."""
    offsets = sorted(chance.uniform(0, 2 * interval) for _ in range(VIEWERS))
    start, views = time.monotonic(), []
    for offset in offsets:
        time.sleep(max(0.0, start + offset - time.monotonic()))
        views.append(stage.view(sender, "--no-talk", "--seconds", str(interval + 0.5), buffer_ms=BUFFER_MS))
    return [picture_times(view.report()["calls"][0]["ms"]).get("black") for view in views]


def measure(stage, senders, interval, rounds):
    """The milliseconds of all viewers of each sender, None for one who saw nothing."""
    times, chance = {name: [] for name in senders}, random.Random(1)
    with ExitStack() as running:
        for sender in senders.values():
            # Keeps the source running: without viewers it stops, and begins with a key frame for the next one.
            running.callback(stage.watch(sender, 1, LONGEST_RUN_SECONDS).kill)
            wait_for_calls(sender, 1)
        for _ in range(rounds):
            for name, sender in senders.items():
                times[name] += join(stage, sender, chance, interval)
    return times


def both(stage, running, source, *camera_source):
    """The camera and the engine alone, with the same source."""
    return {"camera": running.enter_context(stage.camera(*camera_source)),
            "engine alone": running.enter_context(stage.plain("--next-key-frame", *source))}


def from_file(stage, rounds):
    with ExitStack() as running:
        senders = both(stage, running, ("--video-file", stage.clip), "--video-file", f"1={stage.clip}")
        return measure(stage, senders, KEY_FRAME_SECONDS["file"], rounds)


def from_ip_camera(stage, program, rounds):
    with ExitStack() as running:
        url = running.enter_context(ip_camera(stage, program))
        senders = both(stage, running, ("--video-rtsp", url), "--video-rtsp", f"1={url}")
        wait_for(lambda: senders["camera"].health()["sources"][1]["state"] == "running", START_SECONDS, "the IP camera")
        return measure(stage, senders, KEY_FRAME_SECONDS["RTSP"], rounds)


def main():
    options = read_options(__doc__, ("plain", "rtsp-server"))
    rounds = 1 if options.short else 10
    with namespaces.Loopback() as network:
        stage = Stage(network, options)
        found = {"keyFrameSeconds": KEY_FRAME_SECONDS, "times": {
            "file": from_file(stage, rounds), "RTSP": from_ip_camera(stage, options.rtsp_server, rounds)}}
    write_figures(options, found)

    for source, times in found["times"].items():
        for name, rows in times.items():
            black = [ms for ms in rows if ms is not None]
            print(f"{source}, {name}: first picture {statistics.median(black):.0f} ms after the connection (median of "
                  f"{len(black)} of {len(rows)}), at worst {max(black):.0f} ms")
    return 0


if __name__ == "__main__":
    sys.exit(main())
