#!/usr/bin/env python3
"""Calls from viewers on WebRTC stacks of others, each judged by what arrived on either side.

Every run has a camera of its own. Prints a JSON object for each run, and what was wrong on standard error. What was
said, heard and logged in a run stays in the folder of --output. Stacks that are not installed are left out and named.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import shutil
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from support import stacks, table  # noqa: E402  (the path above makes it importable)
from support.camera import Camera, wait_for  # noqa: E402
from support.peer import Peer  # noqa: E402
from support.received import Received  # noqa: E402
from support.sdp import Description, decline  # noqa: E402
from support.signalling import CallsApi, Refused, Whep  # noqa: E402
from support.sound import read_wav, tone  # noqa: E402
from support.viewer import report_of  # noqa: E402

SKIPPED = 77
AT_ONCE = 3
CONNECT_SECONDS = 15
MEDIA_SECONDS = 15
# A viewer that left without a word is noticed after 6 seconds and some at this rate; one that watches may not be taken
# for it in more than the 15 seconds and some that the other rate gives.
VANISHING_RATE = 5
WATCHING_RATE = 2
WATCH_SECONDS = 20
NOTICE_SECONDS = 20
RELEASE_SECONDS = 10
ENOUGH_PICTURES = 45
ENOUGH_SOUND_SECONDS = 1.0
CAMERA_HERTZ = 440
VIEWER_HERTZ = 700
CLEAR_TONE = 0.9
# What a camera records of the only call that it has.
VOICE_FILE = "call-1.wav"

# `more` goes to the peer; a `may_refuse` of the camera's is right if its reason holds this text.
Run = collections.namedtuple("Run", "stack name interface trickle watch end more may_refuse", defaults=((), None))


class Outcome:
    """What a run measured, and for everything that it was to show whether it did."""

    def __init__(self, run, version):
        self.report = {"stack": run.stack.name, "version": version, "run": run.name, "works": wanted_of(run),
                       "problems": []}

    def __setitem__(self, name, value):
        self.report[name] = value

    def shows(self, what, holds, problem):
        """Every statement about one thing has to hold."""
        earlier = [one for one in self.report["problems"] if one.startswith(what)]
        self.report["works"][what] = holds and not earlier
        if not holds:
            self.report["problems"].append(f"{what}: {problem}")

    def fails(self, problem):
        """Nothing that has not been shown yet will be."""
        self.report["problems"].append(problem)

    def is_refused_rightly(self):
        self.report["works"] = {}


def wanted_of(run):
    wanted = ["picture"] if run.stack.has_pictures else []
    wanted += ["sound"]
    wanted += ["watching"] if run.watch else ["talk-back", "vanishing" if run.end == "vanish" else "hanging up"]
    return {what: False for what in wanted}


def judge_voice(outcome, samples):
    seconds, clearness = len(samples) / 8000, tone(samples, 8000, VIEWER_HERTZ)
    outcome["voiceSeconds"], outcome["voiceTone"] = round(seconds, 2), round(clearness, 2)
    outcome.shows("talk-back", seconds >= ENOUGH_SOUND_SECONDS, f"{seconds:.2f} s were recorded")
    outcome.shows("talk-back", clearness >= CLEAR_TONE, f"{clearness:.2f} of it is the viewer's tone")


class Call:
    """One peer's call at one camera, from the offer to the end."""

    def __init__(self, run, camera, folder, outcome):
        self._run, self._camera, self._folder, self._outcome = run, camera, folder, outcome
        options = [name for name, is_wanted in (("--complete", not run.trickle), ("--watch", run.watch),
                                                ("--no-reports", run.watch)) if is_wanted]
        self._peer = Peer(run.stack.command, self._path("received"), self._path("peer.log"), [*options, *run.more])
        signalling = Whep if run.interface == "whep" else CallsApi
        self._signalling = signalling(camera, run.trickle, lambda candidate: self._peer.tell(candidate=candidate))
        self._received = None
        self._is_structured = True

    def _path(self, name):
        return os.path.join(self._folder, name)

    def _keep(self, name, text):
        with open(self._path(name), "w", encoding="utf-8", newline="") as file:
            file.write(text)

    def play(self):
        try:
            self._place()
            self._see_and_hear()
            if not self._run.watch or self._goes_on():
                self._end()
        except Refused as refusal:
            self._keep("refusal.txt", str(refusal) + "\n")
            if refusal.status == 422 and self._run.may_refuse and self._run.may_refuse in refusal.reason:
                self._outcome.is_refused_rightly()
            else:
                self._outcome.fails(str(refusal))
        except (RuntimeError, TimeoutError, OSError, ValueError) as error:
            self._outcome.fails(str(error))
        finally:
            self._peer.kill()

    def _place(self):
        offer = self._peer.offer()
        if not self._run.stack.has_pictures:
            offer = decline(offer, "video")
        self._keep("offer.sdp", offer)
        answer = self._signalling.place(offer)
        self._keep("answer.sdp", answer)
        description = Description(answer)
        self._received = Received(self._path("received"), description.payload_type("video"),
                                  description.payload_type("audio"))
        self._is_structured = "packetization-mode=1" in answer
        self._peer.tell(answer=answer)
        self._signalling.listen()
        wait_for(self._is_connected, CONNECT_SECONDS, "the connection")

    def _is_connected(self):
        for candidate in self._peer.take_candidates():
            self._signalling.send_candidate(candidate)
        self._peer.check()
        return "connected" in self._peer.states

    def _voice(self):
        return read_wav(self._path(VOICE_FILE))

    def _has_enough(self):
        self._peer.check()
        received = self._received.update()
        return ((received.pictures >= ENOUGH_PICTURES or not self._run.stack.has_pictures) and
                received.sound_seconds() >= ENOUGH_SOUND_SECONDS and
                (self._run.watch or len(self._voice()) / 8000 >= ENOUGH_SOUND_SECONDS))

    def _see_and_hear(self):
        try:
            wait_for(self._has_enough, MEDIA_SECONDS, "picture and sound")
        except TimeoutError:
            pass  # what is missing is named below
        self._judge_picture()
        self._judge_sound()

    def _judge_picture(self):
        received, outcome = self._received, self._outcome
        outcome["pictures"], outcome["keyPictures"] = received.pictures, received.key_pictures
        outcome["firstIsKey"] = received.first_is_key
        if not self._run.stack.has_pictures:
            return
        outcome.shows("picture", received.pictures >= ENOUGH_PICTURES, f"{received.pictures} arrived")
        outcome.shows("picture", received.first_is_key is not False,
                      "the first is no key frame with its parameter sets")
        outcome.shows("picture", self._is_structured or not received.structured_packets,
                      f"{received.structured_packets} packets are not the single NAL units that were agreed")
        outcome.shows("picture", not received.other_packets,
                      f"{received.other_packets} packets have a payload type that the answer does not begin with")

    def _judge_sound(self):
        received, outcome = self._received, self._outcome
        seconds, clearness = received.sound_seconds(), tone(received.sound, received.sound_rate, CAMERA_HERTZ)
        outcome["soundSeconds"], outcome["tone"] = round(seconds, 2), round(clearness, 2)
        outcome.shows("sound", seconds >= ENOUGH_SOUND_SECONDS, f"{seconds:.2f} s arrived")
        outcome.shows("sound", clearness >= CLEAR_TONE, f"{clearness:.2f} of it is the camera's tone")
        if not self._run.watch:
            judge_voice(outcome, self._voice())

    def _goes_on(self):
        """Whether the call is still up after longer than the camera lets a viewer be silent."""
        deadline = time.monotonic() + WATCH_SECONDS
        while time.monotonic() < deadline and self._camera.calls():
            time.sleep(0.2)
        is_up = bool(self._camera.calls())
        self._outcome.shows("watching", is_up, "the camera ended the call of a viewer that only watched")
        return is_up

    def _end(self):
        if self._run.end == "vanish":
            started = time.monotonic()
            self._peer.kill()
            self._wait_for_release(NOTICE_SECONDS)
            self._outcome["noticedAfter"] = round(time.monotonic() - started, 1)
            self._outcome.shows("vanishing", True, "")
            return
        status = self._signalling.hang_up()
        self._wait_for_release(RELEASE_SECONDS)
        self._outcome.shows("hanging up", status in (200, 204), f"DELETE was answered with {status}")
        self._peer.close()

    def _wait_for_release(self, seconds):
        wait_for(lambda: not self._camera.calls() and self._camera.health()["calls"] == 0, seconds,
                 "the camera to forget the call")


class ViewerCall:
    """The same with the project's viewer, which signals, and measures, itself."""

    def __init__(self, run, camera, folder, outcome):
        self._run, self._camera, self._folder, self._outcome = run, camera, folder, outcome

    def play(self, program):
        call = report_of(program, self._run, self._camera.url, self._folder)
        outcome, video, seconds = self._outcome, call["video"], call["audio"]["received"] / 50
        outcome["pictures"], outcome["keyPictures"] = video["frames"], video["keyFrames"]
        outcome["soundSeconds"] = seconds
        if call["failure"]:
            outcome.fails(call["failure"])
        outcome.shows("picture", video["frames"] >= ENOUGH_PICTURES, f"{video['frames']} arrived")
        outcome.shows("picture", bool(video["sizes"]) and video["sizes"][0]["keyFrame"], "the first is no key frame")
        outcome.shows("sound", seconds >= ENOUGH_SOUND_SECONDS, f"{seconds:.2f} s arrived")
        if self._run.watch:
            outcome.shows("watching", not call["ended"], f"the camera ended the call: {call['ended']}")
        else:
            judge_voice(outcome, read_wav(os.path.join(self._folder, VOICE_FILE)))
        self._judge_end()

    def _judge_end(self):
        ending = "vanishing" if self._run.end == "vanish" else "hanging up"
        try:
            wait_for(lambda: self._camera.health()["calls"] == 0, NOTICE_SECONDS, "the camera to forget the call")
            self._outcome.shows(ending, True, "")
        except TimeoutError as error:
            self._outcome.shows(ending, False, str(error))


def play(run, options):
    folder = os.path.join(options.output, f"{run.stack.name} {run.name}".replace(", ", "-").replace(" ", "-"))
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    outcome = Outcome(run, run.stack.version())
    started = time.monotonic()
    try:
        rate = WATCHING_RATE if run.watch else VANISHING_RATE if run.end == "vanish" else 1
        with Camera(options.camera, os.path.join(folder, "camera.log"), ["--record-dir", folder], rate) as camera:
            if run.stack.is_viewer:
                ViewerCall(run, camera, folder, outcome).play(options.viewer)
            else:
                Call(run, camera, folder, outcome).play()
    except RuntimeError as error:
        outcome.fails(str(error))
    outcome["seconds"] = round(time.monotonic() - started, 1)
    with open(os.path.join(folder, "report.json"), "w", encoding="utf-8") as file:
        json.dump(outcome.report, file, indent=1)
    print(json.dumps(outcome.report), flush=True)
    return outcome.report


def runs_of(stack):
    """Trickle by WHEP leaves the camera's answer complete; a viewer that vanishes is tried once for each stack."""
    runs = [Run(stack, "whep, complete", "whep", False, False, "delete"),
            Run(stack, "calls, complete", "calls", False, False, "vanish" if not stack.trickles else "delete"),
            Run(stack, "watching only", "whep", False, True, "delete")]
    if stack.trickles:
        runs += [Run(stack, "whep, trickle", "whep", True, False, "delete"),
                 Run(stack, "calls, trickle", "calls", True, False, "vanish")]
    runs += [Run(stack, *choice) for choice in CHOICES.get(stack.name, ())]
    return runs


def _h264(name, *more, may_refuse=None):
    return name, "whep", False, False, "delete", more, may_refuse


# What only some stacks let a viewer choose.
CHOICES = {
    "libdatachannel": (
        _h264("H.264 as 35", "--payload-type", "35"),
        _h264("H.264 as 127", "--payload-type", "127"),
        _h264("single NAL units", "--fmtp", "profile-level-id=42e01f;packetization-mode=0",
              may_refuse="packetization-mode"),
        _h264("high profile", "--fmtp", "profile-level-id=640032;packetization-mode=1"),
    ),
    "werift": (
        _h264("H.264 without parameters", "--fmtp", "", may_refuse="packetization-mode"),
        ("whep, trickle, unbundled", "whep", True, False, "delete", ("--unbundled",)),
        ("calls, trickle, unbundled", "calls", True, False, "delete", ("--unbundled",)),
    ),
}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True, help="path of zelrtc-viewer")
    parser.add_argument("--pion", help="path of the peer on pion")
    parser.add_argument("--only", help="only this stack")
    parser.add_argument("--output", default="build/interop", help="folder for what each run leaves")
    parser.add_argument("--write-table", metavar="DOCUMENT", help="run the browsers' tests, too, and write the table")
    options = parser.parse_args()

    known = [stack for stack in stacks.all_stacks(options.pion) if options.only in (None, stack.name)]
    missing = {stack.name: stack.missing() for stack in known if stack.missing()}
    for name, what in missing.items():
        print(f"{name}: left out, {what} is not installed", file=sys.stderr)
    runs = [run for stack in known if stack.name not in missing for run in runs_of(stack)]
    if not runs:
        return SKIPPED
    # The long ones first, so that no core waits for the other at the end.
    runs.sort(key=lambda run: (not run.watch, run.end != "vanish"))
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        reports = list(pool.map(lambda run: play(run, options), runs))
    failed = [report for report in reports if report["problems"]]
    for report in failed:
        print(f"FAILED {report['stack']}, {report['run']}: " + "; ".join(report["problems"]), file=sys.stderr)
    print(f"{len(reports) - len(failed)} passed, {len(failed)} failed", file=sys.stderr)
    if options.write_table:
        table.write(options.write_table, reports, known, options.camera)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
