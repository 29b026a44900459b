#!/usr/bin/env python3
"""Calls a camera once and serves it to many viewers: starts Janus, zelrtc-viewer --pass-on and a page to watch on.

Prints the address to open, and ends everything on SIGINT or SIGTERM. Without --camera it starts the demo camera, too.
"""
import argparse
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time

from janus_files import write_janus_files

HERE = os.path.dirname(os.path.abspath(__file__))
# The interpreter that sees Debian's Python packages.
PYTHON = "/usr/bin/python3"
START_SECONDS = 30
STOP_SECONDS = 15
FIRST_PAUSE, LONGEST_PAUSE = 0.5, 8
# A call that lasted this long has worked; the next failure is a new one.
GOOD_CALL_SECONDS = 10
LOOK_SECONDS = 0.1


class ChainBroken(Exception):
    """A part that the others need has not started, or has ended."""


class Parts:
    """The programs of the chain, each in a session of its own, so that Ctrl-C in a terminal reaches only this one."""

    def __init__(self):
        self._running = {}

    def start(self, name, command, **more):
        try:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, start_new_session=True, **more)
        except OSError as failure:
            raise ChainBroken(f"{name} cannot be started: {failure}") from failure
        self._running[name] = process
        return process

    def forget(self, name):
        self._running.pop(name)

    def expect_all(self, but=None):
        for name, process in self._running.items():
            if name != but and process.poll() is not None:
                raise ChainBroken(f"{name} has ended with {process.returncode}")

    def stop(self):
        """The last one first, so that none misses another."""
        for process in reversed(self._running.values()):
            process.terminate()
            try:
                process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def say(text):
    print(f"run-chain: {text}", file=sys.stderr, flush=True)


def free_port(kind):
    with socket.socket(type=kind) as trial:
        trial.bind(("127.0.0.1", 0))
        return trial.getsockname()[1]


def is_free(port):
    with socket.socket(type=socket.SOCK_DGRAM) as trial:
        try:
            trial.bind(("127.0.0.1", port))
        except OSError:
            return False
        return True


def free_rtp_ports():
    """The first of four in a row: RTP and RTCP of video, then of audio."""
    while True:
        first = free_port(socket.SOCK_DGRAM) & ~1
        if first + 3 < 65536 and all(is_free(port) for port in range(first, first + 4)):
            return first


def address_line(name, process):
    """The address that the program prints when it serves."""
    found = re.match(r"listening on (https?://\S+)", process.stdout.readline())
    if not found:
        raise ChainBroken(f"{name} does not serve")
    return found.group(1)


def wait_until_served(parts, port):
    deadline = time.monotonic() + START_SECONDS
    while True:
        parts.expect_all()
        try:
            socket.create_connection(("127.0.0.1", port), 1).close()
            return
        except OSError as failure:
            if time.monotonic() > deadline:
                raise ChainBroken("Janus does not serve") from failure
            time.sleep(LOOK_SECONDS)


def start_camera(parts, options):
    camera = parts.start("the camera", [options.camera_program, "--listen", "127.0.0.1:0"], stdout=subprocess.PIPE,
                         text=True)
    return address_line("the camera", camera)


def start_server(parts, options, folder, rtp_port):
    """Janus, and what viewers talk to. Returns the address to open."""
    http_port = free_port(socket.SOCK_STREAM)
    media = options.media or options.listen.rsplit(":", 1)[0]
    files = write_janus_files(folder, http_port, rtp_port, rtp_port + 2, None if media == "0.0.0.0" else media,
                              options.public_address)
    parts.start("Janus", ["janus", "-F", files, "-o"], stdout=subprocess.DEVNULL)
    wait_until_served(parts, http_port)
    interface = parts.start("the page's server", [PYTHON, os.path.join(HERE, "janus_interface.py"),
                                                  f"http://127.0.0.1:{http_port}/janus", options.listen],
                            stdout=subprocess.PIPE, text=True)
    return address_line("the page's server", interface)


def feeder_command(options, camera, rtp_port):
    command = [options.viewer_program, camera, "--keep", "--pass-on",
               f"127.0.0.1:{rtp_port},127.0.0.1:{rtp_port + 2}"]
    for name, value in (("--stream", options.stream), ("--token-file", options.token_file),
                        ("--certificate", options.certificate)):
        command += [name, str(value)] if value is not None else []
    return command


def keep_feeding(parts, command):
    """Calls the camera again, with growing pauses, whenever the call has ended."""
    pause = FIRST_PAUSE
    while True:
        started = time.monotonic()
        feeder = parts.start("the feeder", command, stdout=sys.stderr)
        while feeder.poll() is None:
            time.sleep(LOOK_SECONDS)
            parts.expect_all(but="the feeder")
        parts.forget("the feeder")
        if time.monotonic() - started > GOOD_CALL_SECONDS:
            pause = FIRST_PAUSE
        say(f"the call of the camera has ended; the next one follows in {pause} s")
        time.sleep(pause)
        pause = min(2 * pause, LONGEST_PAUSE)


def read_options():
    parser = argparse.ArgumentParser(prog="run-chain", description=__doc__.splitlines()[0])
    parser.add_argument("--camera", metavar="URL", help="the camera's address as it prints it")
    parser.add_argument("--token-file", metavar="PATH", help="holds the camera's token, where the address does not")
    parser.add_argument("--certificate", metavar="PATH", help="the camera's certificate, where it made it itself")
    parser.add_argument("--stream", type=int, choices=(0, 1, 2), help="the stream to pass on; 1 if not given")
    parser.add_argument("--listen", metavar="ADDRESS:PORT", default="127.0.0.1:8090",
                        help="where viewers come to, by default %(default)s; 0.0.0.0 for every address")
    parser.add_argument("--media", metavar="ADDRESS",
                        help="the address for picture and sound, where that is not the one of --listen")
    parser.add_argument("--public-address", metavar="ADDRESS",
                        help="what viewers are told for picture and sound, where a router translates it")
    parser.add_argument("--camera-program", metavar="PATH", required=True, help="the demo camera")
    parser.add_argument("--viewer-program", metavar="PATH", required=True, help="the headless viewer")
    options = parser.parse_args()
    if not re.fullmatch(r"[0-9.]+:[0-9]{1,5}", options.listen):
        parser.error(f"--listen wants an IPv4 address and a port, not {options.listen}")
    return options


def main():
    options = read_options()
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: sys.exit(0))
    parts = Parts()
    with tempfile.TemporaryDirectory(prefix="zelrtc-chain-") as folder:
        try:
            camera = options.camera or start_camera(parts, options)
            rtp_port = free_rtp_ports()
            address = start_server(parts, options, folder, rtp_port)
            print(f"listening on {address}", flush=True)
            keep_feeding(parts, feeder_command(options, camera, rtp_port))
        except ChainBroken as broken:
            say(str(broken))
            return 1
        finally:
            parts.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main())
