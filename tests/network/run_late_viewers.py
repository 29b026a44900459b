#!/usr/bin/env python3
"""Viewers that come in the middle of a file, over narrow links: how long until they see something, and what is lost.

A stream of a given share of the link's rate has a key frame every two seconds. Another viewer, beside the camera, keeps
the stream going. Needs root, /dev/net/tun, ip and gst-launch-1.0.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import namespaces  # noqa: E402  (the path above makes it importable)
from harness.programs import Camera, Viewer, wait_for  # noqa: E402

QUEUE_SECONDS = 0.5
VIEW_SECONDS = 5
BETWEEN_VIEWERS = 0.37  # so that they come at every point of the two seconds


def make_clip(path, kbit):
    subprocess.run(["gst-launch-1.0", "-q", "videotestsrc", "pattern=ball", "num-buffers=480", "!",
                    "video/x-raw,width=640,height=360,framerate=30/1", "!",
                    "x264enc", "tune=zerolatency", f"bitrate={kbit}", "key-int-max=60",
                    "option-string=scenecut=0:nal-hrd=cbr", "!",
                    "video/x-h264,profile=constrained-baseline,stream-format=byte-stream", "!",
                    "filesink", f"location={path}"], check=True)
    return os.path.getsize(path) * 8 / 16 / 1000


def watch(options, network, url, viewers):
    calls = []
    for _ in range(viewers):
        time.sleep(BETWEEN_VIEWERS)
        viewer = Viewer(options.viewer, url, ["--seconds", str(VIEW_SECONDS)], network.command_in)
        calls.append(viewer.report()["calls"][0])
    return calls


def measure(options, rate, share):
    with tempfile.TemporaryDirectory() as folder, namespaces.Network(options.link) as network:
        clip = os.path.join(folder, "clip.h264")
        kbit = make_clip(clip, int(rate * share))
        arguments = ["--all-addresses", "--no-token", "--listen", ":0", "--video-file", f"1={clip}"]
        with Camera(options.camera, arguments, network.command_in) as camera:
            first = subprocess.Popen(network.command_in("camera", [options.viewer, camera.url("127.0.0.1"), "--keep",
                                                                   "--no-decode"]), stdout=subprocess.DEVNULL)
            wait_for(lambda: camera.health()["calls"] == 1, 20, "the first call")
            network.link.set(f"rate {rate} {int(rate * 1000 / 8 * QUEUE_SECONDS)}")
            calls = watch(options, network, camera.url(network.camera_address), options.viewers)
            first.terminate()
            first.wait()
    black = [call["ms"]["firstFrame"] - call["ms"]["connected"] for call in calls if call["ms"]["firstFrame"]]
    lost = sum(call["transport"]["packetsLost"] for call in calls)
    received = sum(call["transport"]["packetsReceived"] for call in calls)
    print(f"{rate:5} kbit/s, stream {kbit:6.0f} kbit/s: first picture {statistics.median(black or [-1]):5.0f} ms after "
          f"the connection (median of {len(black)} of {len(calls)}), {lost} of {received} packets lost", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True)
    parser.add_argument("--link", required=True)
    parser.add_argument("--viewers", type=int, default=6)
    parser.add_argument("--rate", type=int, action="append", help="of the link in kbit/s; may be repeated")
    options = parser.parse_args()
    namespaces.prepare_or_skip()
    for rate in options.rate or (500, 2000):
        for share in (0.5, 0.7, 0.85):
            measure(options, rate, share)
    return 0


if __name__ == "__main__":
    sys.exit(main())
