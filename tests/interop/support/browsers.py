"""The browsers' rows of the table, from the tests that the project has for them."""
import os
import re
import shutil
import subprocess
import tempfile

FOLDER = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), "browser")
SECONDS = 300
# Which test file shows what.
SHOWN = {
    "Chromium": {"picture": "picture.test.mjs", "sound": "sound.test.mjs", "talk-back": "sound.test.mjs",
                 "hanging up": "ending.test.mjs", "vanishing": "ending.test.mjs",
                 "WHEP": "standard_viewer.test.mjs"},
    "Firefox": {what: "firefox.test.mjs" for what in ("picture", "sound", "talk-back", "hanging up", "WHEP")},
}
PROGRAMS = {"Chromium": ("chromium",), "Firefox": ("firefox-esr", "firefox")}


def _failures_in(file, environment):
    """The names of the tests that failed; those that could not even run have the file's name."""
    with tempfile.TemporaryDirectory() as output:
        run = subprocess.run(["node", "--test", "--test-reporter=tap", file], cwd=FOLDER, check=False, timeout=SECONDS,
                             capture_output=True, text=True,
                             env={**os.environ, **environment, "ZELRTC_OUTPUT": output})
    failures = re.findall(r"^ *not ok \d+ - (.*)", run.stdout, re.MULTILINE)
    return failures or ([file] if run.returncode else [])


def reports(camera):
    """One report for each browser that is there, like those of the other runs."""
    programs = {name: next(filter(None, map(shutil.which, names)), "") for name, names in PROGRAMS.items()}
    environment = {"ZELRTC_CAMERA": os.path.abspath(camera), "ZELRTC_CHROMIUM": programs["Chromium"],
                   "ZELRTC_FIREFOX": programs["Firefox"]}
    for name, program in programs.items():
        if program:
            version = subprocess.run([program, "--version"], capture_output=True, text=True, check=False).stdout
            failures = {file: _failures_in(file, environment) for file in sorted(set(SHOWN[name].values()))}
            works = {what: not failures[file] for what, file in SHOWN[name].items()}
            yield {"stack": name, "version": (re.findall(r"\d+[\d.]*", version) or ["?"])[0], "run": "page and WHEP",
                   "works": works, "problems": sum(failures.values(), [])}
