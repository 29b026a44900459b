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
from support import stacks  # noqa: E402  (the path above makes it importable)
from support.camera import Camera, wait_for  # noqa: E402
from support.peer import Peer  # noqa: E402
from support.received import Received  # noqa: E402
from support.sdp import Description, decline  # noqa: E402
from support.signalling import CallsApi, Refused, Whep  # noqa: E402
from support.sound import read_wav, tone  # noqa: E402
from support.viewer import run_viewer  # noqa: E402

AT_ONCE = 4
CONNECT_SECONDS = 15
MEDIA_SECONDS = 15
WATCH_SECONDS = 12
# A viewer that left without a word is noticed after about 8 seconds.
NOTICE_SECONDS = 20
RELEASE_SECONDS = 10
ENOUGH_PICTURES = 45
ENOUGH_SOUND_SECONDS = 1.0
CAMERA_HERTZ = 440
VIEWER_HERTZ = 700
# The camera's tone pauses a fifth of the time, and the viewer's starts within the recording.
CLEAR_TONE = 0.7

# `more` goes to the peer; a `may_refuse` of the camera's is right if its reason holds this text.
Run = collections.namedtuple("Run", "stack name interface trickle watch end more may_refuse", defaults=((), None))


class Outcome:
    def __init__(self, run, version):
        self.report = {"stack": run.stack.name, "version": version, "run": run.name, "connected": False, "pictures": 0,
                       "keyPictures": 0, "firstIsKey": None, "soundSeconds": 0, "tone": 0, "voiceSeconds": 0,
                       "voiceTone": 0, "ended": None, "problems": []}

    def __getitem__(self, name):
        return self.report[name]

    def __setitem__(self, name, value):
        self.report[name] = value

    def demand(self, holds, problem):
        if not holds:
            self.report["problems"].append(problem)


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
            if self._run.watch:
                self._go_on_watching()
            self._end()
        except Refused as refusal:
            self._keep("refusal.txt", str(refusal) + "\n")
            self._outcome["ended"] = f"refused with {refusal.status}"
            is_right = refusal.status == 422 and self._run.may_refuse and self._run.may_refuse in refusal.reason
            self._outcome.demand(is_right, str(refusal))
        except (RuntimeError, TimeoutError, OSError, ValueError) as error:
            self._outcome.demand(False, str(error))
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
        self._outcome["connected"] = True

    def _is_connected(self):
        for candidate in self._peer.take_candidates():
            self._signalling.send_candidate(candidate)
        self._peer.check()
        return "connected" in self._peer.states

    def _voice(self):
        return read_wav(self._path(f"call-{self._signalling.call}.wav"))

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
        if self._run.stack.has_pictures:
            outcome.demand(received.pictures >= ENOUGH_PICTURES, f"{received.pictures} pictures arrived")
            outcome.demand(received.first_is_key is not False,
                           "the first picture is no key frame with its parameter sets")
        outcome.demand(self._is_structured or not received.structured_packets,
                       f"{received.structured_packets} packets are not the single NAL units that were agreed")
        outcome.demand(received.other_packets == 0,
                       f"{received.other_packets} packets have a payload type that the answer does not begin with")

    def _judge_sound(self):
        received, outcome = self._received, self._outcome
        outcome["soundSeconds"] = round(received.sound_seconds(), 2)
        outcome["tone"] = round(tone(received.sound, received.sound_rate, CAMERA_HERTZ), 2)
        outcome.demand(received.sound_seconds() >= ENOUGH_SOUND_SECONDS,
                       f"{received.sound_seconds():.2f} s of sound arrived")
        outcome.demand(outcome["tone"] >= CLEAR_TONE, f"the sound is {outcome['tone']} of the camera's tone")
        if self._run.watch:
            return
        voice = self._voice()
        outcome["voiceSeconds"] = len(voice) / 8000
        outcome["voiceTone"] = round(tone(voice, 8000, VIEWER_HERTZ), 2)
        outcome.demand(len(voice) / 8000 >= ENOUGH_SOUND_SECONDS, f"{len(voice) / 8000:.2f} s of talk-back were recorded")
        outcome.demand(outcome["voiceTone"] >= CLEAR_TONE, f"talk-back is {outcome['voiceTone']} of the viewer's tone")

    def _go_on_watching(self):
        """Longer than the camera lets a viewer be silent."""
        deadline = time.monotonic() + WATCH_SECONDS
        while time.monotonic() < deadline and self._camera.calls():
            time.sleep(0.2)
        before = self._received.update().pictures
        self._outcome.demand(self._camera.calls(), "the camera ended the call of a viewer that only watched")
        if self._run.stack.has_pictures and self._camera.calls():
            wait_for(lambda: self._received.update().pictures > before, 2, "pictures after watching for a while")

    def _end(self):
        if self._run.end == "vanish":
            started = time.monotonic()
            self._peer.kill()
            self._wait_for_release(NOTICE_SECONDS)
            self._outcome["ended"] = f"noticed after {time.monotonic() - started:.1f} s"
            return
        status = self._signalling.hang_up()
        self._outcome["ended"] = f"DELETE: {status}"
        self._outcome.demand(status in (200, 204), f"DELETE was answered with {status}")
        self._wait_for_release(RELEASE_SECONDS)
        self._peer.close()

    def _wait_for_release(self, seconds):
        wait_for(lambda: not self._camera.calls() and self._camera.health()["calls"] == 0, seconds,
                 "the camera to forget the call")


def play(run, options):
    folder = os.path.join(options.output, f"{run.stack.name} {run.name}".replace(", ", "-").replace(" ", "-"))
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    outcome = Outcome(run, run.stack.version())
    started = time.monotonic()
    try:
        with Camera(options.camera, os.path.join(folder, "camera.log"), ["--record-dir", folder]) as camera:
            if run.stack.is_viewer:
                run_viewer(options.viewer, run, camera, folder, outcome)
            else:
                Call(run, camera, folder, outcome).play()
    except RuntimeError as error:
        outcome.demand(False, str(error))
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
        sys.exit("no stack to run")
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
