"""The project's own viewer on webrtcbin, which does its signalling itself and reports when it has ended."""
import json
import os
import subprocess

from support.camera import wait_for
from support.sound import read_wav, tone

SECONDS = "2.5"
WATCH_SECONDS = "13"
REPORT_SECONDS = 60
NOTICE_SECONDS = 20
ENOUGH_PICTURES = 45
ENOUGH_PACKETS = 50


def _options(run):
    """--no-decode: the other viewers do not decode either, and the processor is shared."""
    options = ["--no-decode"]
    options += ["--whep"] if run.interface == "whep" else []
    options += [] if run.trickle else ["--no-trickle"]
    options += ["--no-talk"] if run.watch else []
    options += ["--abort-at", SECONDS] if run.end == "vanish" else ["--seconds", WATCH_SECONDS if run.watch else SECONDS]
    return options


def run_viewer(program, run, camera, folder, outcome):
    with open(os.path.join(folder, "viewer.log"), "wb") as log:
        finished = subprocess.run([program, camera.url, "--json", *_options(run)], stdout=subprocess.PIPE, stderr=log,
                                  check=False, timeout=REPORT_SECONDS)
    call = json.loads(finished.stdout)["calls"][0]
    video, audio = call["video"], call["audio"]
    outcome["connected"] = call["ms"]["connected"] is not None
    outcome["pictures"], outcome["keyPictures"] = video["frames"], video["keyFrames"]
    outcome["firstIsKey"] = bool(video["sizes"]) and video["sizes"][0]["keyFrame"]
    outcome["soundSeconds"] = audio["received"] / 50
    outcome.demand(not call["failure"], str(call["failure"]))
    outcome.demand(video["frames"] >= ENOUGH_PICTURES, f"{video['frames']} pictures arrived")
    outcome.demand(audio["received"] >= ENOUGH_PACKETS, f"{audio['received']} packets of sound arrived")
    if not run.watch:
        voice = read_wav(os.path.join(folder, f"call-{call['id']}.wav"))
        outcome["voiceSeconds"], outcome["voiceTone"] = len(voice) / 8000, round(tone(voice, 8000, 700), 2)
        outcome.demand(len(voice) >= 8000, f"{len(voice) / 8000:.2f} s of talk-back were recorded")
    outcome["ended"] = "noticed" if run.end == "vanish" else "DELETE"
    try:
        wait_for(lambda: camera.health()["calls"] == 0, NOTICE_SECONDS, "the camera to forget the call")
    except TimeoutError as error:
        outcome.demand(False, str(error))
