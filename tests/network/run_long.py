#!/usr/bin/env python3
"""A camera in use for long: do picture and sound stay together, does it grow, is a call lost?

Four viewers stay: one looks at an IP camera, one at a picture of the camera's own, one is sent another stream now and
then, and one comes through a TURN server. Others come and go. Once in each round the IP camera loses its power for a
second; now and then the TURN server is restarted, which ends the call that it relays and must end no other. At the end
of each round only those who stay are there, and what the camera holds then is compared over the run.

Picture and sound are judged by what a player goes by: when a packet comes, against the capture time that its timestamp
stands for by the camera's RTCP sender reports. Needs root for a network namespace, turnserver and ip.
"""
import argparse
import json
import os
import signal
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import long_run, namespaces, sdk_limits  # noqa: E402  (the path above makes it importable)
from harness.ip_camera import IpCamera  # noqa: E402
from harness.process_figures import EXACT_HEAP, figures  # noqa: E402
from harness.programs import Camera, Viewer, wait_for  # noqa: E402
from harness.stolen_time import StolenTime  # noqa: E402
from harness.turn import Turn  # noqa: E402

IP_STREAM, BIG_STREAM, SMALL_STREAM = 1, 0, 2
LASTING_CALLS = 4
CONNECT_SECONDS = 40
RELEASE_SECONDS = sdk_limits.seconds("vanished") + 15
SAMPLES_OF_A_ROUND = 3
# Shorter runs are for tests: the stand-in counts a vanished viewer's silence faster, and more is left to chance.
SHORT_MINUTES = 10
WARM_UP_SHARE = 0.25


class Pace:
    """Of a round; waves of visitors begin at these shares of it."""

    def __init__(self, minutes):
        is_short = minutes < SHORT_MINUTES
        self.round_seconds = 15 if is_short else 60
        self.sample_seconds = 1 if is_short else 3
        self.waves = (0,) if is_short else (0, 0.15)
        self.visit_seconds = 6 if is_short else 9
        self.rounds_between_turn_restarts = 3 if is_short else 10
        # The camera tries again after half a second and one more: in a test, well before the second time.
        self.off_seconds = 0.3 if is_short else 1
        self.silence_rate = 5 if is_short else 1
        # In short rounds, whoever changes streams is catching up with the new one for much of the time.
        self.judges_changes = not is_short
        self.warm_up_seconds = min(long_run.LEVEL_SECONDS, WARM_UP_SHARE * minutes * 60)


def timeline_file(folder, name):
    return os.path.join(folder, f"{name}.timeline".replace(" ", "-"))


def read_timeline(path):
    with open(path, encoding="ascii") as file:
        return [json.loads(line) for line in file if line.endswith("\n")]


class Lasting:
    """A viewer that stays until it is told to go."""

    def __init__(self, run, name, *options):
        self.name = name
        self._timeline = timeline_file(run.folder, name)
        self._viewer = run.view("--keep", "--no-decode", "--timeline", self._timeline, *options)

    def is_there(self):
        return self._viewer.process.poll() is None

    def leave(self):
        self._viewer.signal(signal.SIGINT)
        return self.report()

    def report(self):
        return self._viewer.report()["calls"][0]

    def timeline(self):
        return read_timeline(self._timeline)


class Run:
    def __init__(self, options, network, camera, source, turn, folder):
        self._options = options
        self._network = network
        self._camera = camera
        self._source = source
        self._turn = turn
        self.folder = folder
        self.pace = Pace(options.minutes)
        self.noticed = []
        self.samples = []
        self.restarts = []
        self.turn_restarts = []
        self.ages = []
        self.placed = 0
        self._stolen = StolenTime()
        self._quiet = None
        self._visits = []
        self._begin = time.monotonic()

    def view(self, *options, calls=1):
        self.placed += calls
        return Viewer(self._options.viewer, self._camera.url(self._network.camera_address),
                      ["--jitter-buffer", "50", "--connect-timeout", str(CONNECT_SECONDS), *options],
                      self._network.command_in)

    def place_lasting(self):
        self._ip = self._connected(Lasting(self, "IP camera", "--stream", str(IP_STREAM)), 1)
        self._own = self._connected(Lasting(self, "own picture", "--stream", str(SMALL_STREAM)), 2)
        self._changing = self._connected(Lasting(self, "changing", "--stream", str(IP_STREAM)), 3)
        self._relayed = self._connected(self._place_relayed(), LASTING_CALLS)
        with open(self._options.call_list, encoding="ascii") as calls:
            self._key_of_changing = calls.read().splitlines()[2].split()[1]

    def lasting(self):
        return self._ip, self._own, self._changing

    def _connected(self, viewer, calls):
        wait_for(lambda: sum(call["state"] == "connected" for call in self._camera.live_calls()) == calls,
                 CONNECT_SECONDS, f"the viewer \"{viewer.name}\"")
        return viewer

    def _place_relayed(self):
        return Lasting(self, f"relayed {len(self.turn_restarts)}", "--relay-only", *self._turn.option())

    def play(self):
        sampler = threading.Thread(target=self._sample, daemon=True)
        sampler.start()
        end = self._begin + self._options.minutes * 60
        number = 0
        while time.monotonic() < end and all(viewer.is_there() for viewer in self.lasting()):
            try:
                self._play_round(number)
            except (TimeoutError, RuntimeError, subprocess.SubprocessError) as error:
                self.noticed.append(f"round {number}: {error}")
            number += 1
        self._begin_rest(None)

    def _play_round(self, number):
        start = time.monotonic()
        events = [(share, self._place_visitors) for share in self.pace.waves]
        events += [(0.1, self._cut_source), (0.02, lambda: self._change(BIG_STREAM)),
                   (0.2, lambda: self._change(SMALL_STREAM)), (0.35, lambda: self._change(IP_STREAM))]
        if number % self.pace.rounds_between_turn_restarts == 1:
            events.append((0.18, lambda: self._restart_turn(number)))
        for share, act in sorted(events, key=lambda event: event[0]):
            until(start + share * self.pace.round_seconds)
            act()
        self._end_visits()
        self._begin_rest(number)
        until(start + self.pace.round_seconds)
        wait_for(lambda: sum(sample["quiet"] == number for sample in self.samples) >= SAMPLES_OF_A_ROUND,
                 CONNECT_SECONDS, "the samples of a round")
        self._begin_rest(None)
        self._tell(number)

    def _begin_rest(self, number):
        self._quiet = number

    def _place_visitors(self):
        seconds = self.pace.visit_seconds
        steps = ["--switch-at", f"{seconds / 4}:{BIG_STREAM}", "--switch-at", f"{seconds / 2}:{SMALL_STREAM}"]
        for name, calls, options in (("changes", 1, ["--no-decode", *steps]), ("WHEP", 1, ["--no-decode", "--whep"]),
                                     ("three at once", 3, ["--no-decode", "--calls", "3"]),
                                     ("looks", 1, ["--no-trickle", "--stream", str(SMALL_STREAM)])):
            self._visits.append((name, self.view("--seconds", str(seconds), *options, calls=calls)))
        self._visits.append((None, self.view("--no-decode", "--abort-at", "0.5")))

    def _end_visits(self):
        for name, viewer in self._visits:
            calls = viewer.report()["calls"]
            if name is None:
                continue
            for call in calls:
                self._check_visit(name, call)
            if name == "looks":
                self.ages.append({"at": self._now(), **calls[0]["video"]["ageMs"]})
        self._visits.clear()
        self._check_lasting()
        try:
            wait_for(lambda: self._camera.health()["calls"] == LASTING_CALLS, RELEASE_SECONDS, "the others' release")
        except TimeoutError:
            self.noticed.append(f"not only the lasting calls are left: {self._camera.live_calls()}")

    def _check_visit(self, name, call):
        if call["failure"] or call["ended"] or not (call["video"]["frames"] and call["audio"]["received"]):
            self.noticed.append(f"at {self._now():.0f} s the call of a visitor (\"{name}\") was lost: "
                                f"{call['failure'] or call['ended'] or 'no picture or no sound'}")

    def _check_lasting(self):
        for viewer in (*self.lasting(), self._relayed):
            if not viewer.is_there():
                call = viewer.report()
                self.noticed.append(f"at {self._now():.0f} s the lasting call \"{viewer.name}\" was lost: "
                                    f"{call['ended'] or call['failure']}")

    def _change(self, stream):
        self._camera.select_stream(self._key_of_changing, stream)

    def _cut_source(self):
        self._source.switch_off()
        until(time.monotonic() + self.pace.off_seconds)
        self.restarts.append({"on": self._source.switch_on()})

    def _restart_turn(self, number):
        self._turn.restart()
        at = time.monotonic()
        wait_for(lambda: not self._relayed.is_there(), RELEASE_SECONDS, "the end of the relayed call")
        call = self._relayed.report()
        self.turn_restarts.append({"round": number, "at": self._now(), "endedAfter": time.monotonic() - at,
                                   "reason": call["ended"] or call["failure"]})
        self._relayed = self._place_relayed()

    def _now(self):
        return time.monotonic() - self._begin

    def _sample(self):
        while True:
            # First, because asking the camera costs it a descriptor and a thread.
            began, quiet, held = time.monotonic(), self._quiet, figures(self._camera.process.pid)
            try:
                health = self._camera.health()
            except subprocess.SubprocessError:  # the camera is closing
                return
            sample = {"at": self._now(), "placed": self.placed, "calls": health["calls"], "load": os.getloadavg()[0],
                      "heapKb": health["heapBytes"] // 1024, **held}
            is_quiet = quiet == self._quiet and health["calls"] == LASTING_CALLS
            self.samples.append({**sample, "quiet": quiet if is_quiet else None})
            until(began + self.pace.sample_seconds)

    def _tell(self, number):
        point = long_run.quiet_points(self.samples)[-1]
        back = long_run.back_after(self._ip.timeline(), self.restarts[-1]["on"])
        print(f"{self._now():5.0f} s, round {number}: {self.placed} calls so far, heap {point['heapKb']} kB, PSS "
              f"{point['pssKb']} kB, {point['descriptors']} descriptors, {point['threads']} threads; the IP camera's "
              f"picture back after {'never' if back is None else f'{back:.2f} s'}"
              + "".join(f"; {problem}" for problem in self.noticed[-1:]), flush=True)
        if self._options.json:
            write_found(self.found(), self._options.json + ".part")

    def leave(self):
        for viewer in (*self.lasting(), self._relayed):
            if viewer.is_there():
                viewer.leave()

    def found(self):
        judged = self.lasting() if self.pace.judges_changes else (self._ip, self._own)
        record = {"minutes": self._options.minutes, "roundSeconds": self.pace.round_seconds, "calls": self.placed,
                  "warmUpSeconds": self.pace.warm_up_seconds, "restarts": self.restarts,
                  "turnRestarts": self.turn_restarts, "ages": self.ages, "samples": self.samples,
                  "judgedForDrift": [viewer.name for viewer in judged], "stolenShares": dict(self._stolen.shares),
                  "noticed": self.noticed}
        return long_run.judge(record, {viewer.name: viewer.timeline() for viewer in self.lasting()})


def write_found(found, path):
    with open(path, "w", encoding="utf-8") as out:
        json.dump(found, out, indent=1)


def judge_again(folder, path):
    """A run that has been kept, by its record and its timelines."""
    with open(path, encoding="utf-8") as file:
        record = json.load(file)
    timelines = {name: read_timeline(timeline_file(folder, name)) for name in record["longestGapMs"]}
    found = long_run.judge(record, timelines)
    write_found(found, path)
    tell(found)
    return found["problems"]


def until(moment):
    time.sleep(max(0.0, moment - time.monotonic()))


def tell(found):
    """The sum of a run."""
    for name, widths in found["drift"].items():
        for width, drift in widths.items():
            print(f"{name}, picture {width} wide: it comes {drift['firstMs']:+.1f} ms after the sound at first, "
                  f"{drift['lastMs']:+.1f} ms at last, at most {drift['mostMs']:+.1f} ms from the first")
        print(f"{name}: longest gap {found['longestGapMs'][name]:.0f} ms apart from the restarts")
    known = [back["seconds"] for back in found["backs"] if back["seconds"] is not None]
    print(f"the IP camera's picture back after {max(known, default=0):.2f} s at most, in {len(known)} of "
          f"{len(found['backs'])} restarts; {len(found['turnRestarts'])} restarts of the TURN server, "
          f"{found['calls']} calls")
    print(f"{found['stolenSeconds']} of {found['watchedSeconds']} seconds left out for pictures and sound, in which "
          f"the machine's host took more than {100 * long_run.MOST_STOLEN:.0f} % of the processor time")
    growth = found["growth"]
    if growth:
        middle, low, high = growth["heapKbPerCall"] or (0, 0, 0)
        print(f"after the warm-up, {growth['points']} rounds and {growth['calls']} calls: heap {middle:+.2f} kB a call "
              f"({low:+.2f} to {high:+.2f}); " +
              ", ".join(f"{what} {growth[what]['first']} -> {growth[what]['last']}"
                        for what in ("heapKb", "pssKb", "rssKb", *long_run.COUNTED)))


def tell_verdict(problems):
    print("ok" if not problems else "FAILED:\n" + "\n".join(problems))
    return 1 if problems else 0


def run_in(folder, options):
    options.call_list = os.path.join(folder, "calls")
    with namespaces.Loopback() as network, Turn(network, "both", network.camera_address) as turn, \
            IpCamera(options.rtsp_server, network, "both") as source, \
            Camera(sdk_limits.camera_under_test(options.camera),
                   ["--listen", "127.0.0.1:0", "--max-calls", "64", "--call-list", options.call_list, "--video-rtsp",
                    f"{IP_STREAM}={source.url}", *turn.option()], network.command_in,
                   os.path.join(folder, "camera.log"), watched=False,
                   silence_rate=Pace(options.minutes).silence_rate) as camera:
        run = Run(options, network, camera, source, turn, folder)
        try:
            run.place_lasting()
            run.play()
        finally:
            run.leave()
        found = run.found()
        if options.json:
            write_found(found, options.json)
        tell(found)
    return found["problems"]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--camera")
    parser.add_argument("--viewer")
    parser.add_argument("--rtsp-server", help="path of zelrtc-rtsp-server")
    parser.add_argument("--minutes", type=float, default=60)
    parser.add_argument("--json", help="write the figures to this file")
    parser.add_argument("--keep", help="keep the camera's log and the viewers' timelines in this folder")
    parser.add_argument("--judge", help="use nothing, but judge again what --keep has kept in this folder, by --json")
    options = parser.parse_args()
    if options.judge:
        if not options.json:
            parser.error("--judge needs --json")
        return tell_verdict(judge_again(options.judge, options.json))
    if not (options.camera and options.viewer and options.rtsp_server):
        parser.error("--camera, --viewer and --rtsp-server are needed")
    namespaces.prepare_or_skip()
    os.environ.update(EXACT_HEAP)
    if options.keep:
        os.makedirs(options.keep, exist_ok=True)
        problems = run_in(options.keep, options)
    else:
        with tempfile.TemporaryDirectory() as folder:
            problems = run_in(folder, options)
    return tell_verdict(problems)


if __name__ == "__main__":
    sys.exit(main())
