"""The project's own viewer on webrtcbin, which does its signalling itself and reports when it has ended."""
import json
import os
import subprocess

SECONDS = "2.5"
WATCH_SECONDS = "21"
REPORT_SECONDS = 60


def _options(run):
    """--no-decode: the other viewers do not decode either, and the processor is shared."""
    options = ["--no-decode"]
    options += ["--whep"] if run.interface == "whep" else []
    options += [] if run.trickle else ["--no-trickle"]
    options += ["--no-talk"] if run.watch else []
    seconds = WATCH_SECONDS if run.watch else SECONDS
    return options + ["--abort-at" if run.end == "vanish" else "--seconds", seconds]


def report_of(program, run, url, folder):
    """What the viewer says of its one call."""
    with open(os.path.join(folder, "viewer.log"), "wb") as log:
        finished = subprocess.run([program, url, "--json", *_options(run)], stdout=subprocess.PIPE, stderr=log,
                                  check=False, timeout=REPORT_SECONDS)
    return json.loads(finished.stdout)["calls"][0]
