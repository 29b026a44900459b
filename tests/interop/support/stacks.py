"""The stacks: how to start a viewer on each, whether it is there, and what is known of it."""
import json
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PEERS = os.path.join(HERE, "peers")


def _output(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def _debian_version(package):
    return _output("dpkg-query", "-W", "-f", "${Version}", package)


def _npm_version(package):
    try:
        with open(os.path.join(HERE, "node_modules", package, "package.json"), encoding="utf-8") as file:
            return json.load(file)["version"]
    except OSError:
        return ""


def _python_with(module):
    """Debian's modules belong to Debian's Python, which need not be the first one on the path."""
    for python in (sys.executable, "/usr/bin/python3"):
        if _output(python, "-c", f"import {module}; print(1)"):
            return python
    return ""


class Stack:
    def __init__(self, name, title, command, package, version, trickles=True, has_pictures=True, remark=""):
        self.name, self.title, self.command, self._package = name, title, command, package
        self.version = version
        self.trickles, self.has_pictures, self.remark = trickles, has_pictures, remark
        self.is_viewer = not command

    def missing(self):
        """What keeps it from running; empty when nothing does."""
        return "" if self.version() and (self.is_viewer or self.command[0]) else self._package


def _on_node(name, title, package, **more):
    return Stack(name, title, ["node", os.path.join(PEERS, f"{name}.mjs")], f"npm's {package}",
                 lambda: _npm_version(package), **more)


def all_stacks(pion):
    pion_package, aiortc = "golang-github-pion-webrtc.v3-dev", "python3-aiortc"
    return [
        Stack("webrtcbin", "GStreamer's webrtcbin (zelrtc-viewer)", [], "libgstreamer1.0-0",
              lambda: _debian_version("gstreamer1.0-plugins-bad")),
        Stack("pion", "pion", [pion] if pion and os.access(pion, os.X_OK) else [None], pion_package,
              lambda: _debian_version(pion_package)),
        _on_node("libdatachannel", "libdatachannel (node-datachannel)", "node-datachannel"),
        _on_node("werift", "werift", "werift"),
        Stack("aiortc", "aiortc", [_python_with("aiortc"), os.path.join(PEERS, "aiortc_peer.py")], aiortc,
              lambda: _debian_version(aiortc), trickles=False),
        _on_node("libwebrtc", "libwebrtc for Node (@roamhq/wrtc)", "@roamhq/wrtc", has_pictures=False,
                 remark="no picture, it is built without H.264: the stack's"),
    ]
