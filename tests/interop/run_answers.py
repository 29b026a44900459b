#!/usr/bin/env python3
"""Posts offers to a camera and checks the text of its answers against the rules that stand with each offer.

A rule that holds is tried once more on an answer that breaks it, so that no rule can pass whatever the camera says.
Offers and answers stay in the folder of --output.
"""
import argparse
import http.client
import json
import os
import shutil
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from answers import always  # noqa: E402  (the path above makes it importable)
from answers.cases import all_cases  # noqa: E402
from answers.rules import Answer, Broken  # noqa: E402
from support.camera import Camera, CameraFailed  # noqa: E402

SLOW_SECONDS = 1.0


def place(camera, case):
    """The camera's answer; the call has ended again when this returns."""
    if case.by == "whep":
        reply = camera.request("POST", "/whep", case.offer, "application/sdp")
        location = reply.headers["Location"] if reply.status == 201 else None
        text = reply.text()
    else:
        body = json.dumps({"type": "offer", "sdp": case.offer})
        path = f"/calls?trickle={int(case.by == 'calls-trickle')}"
        reply = camera.request("POST", path, body, "application/json")
        location = reply.headers["Location"] if reply.status == 201 else None
        text = reply.json()["answer"]["sdp"] if location else reply.text()
    if location:
        camera.request("DELETE", location)
    return Answer(reply.status, text, reply.reason() if not location else "")


def cannot_fail(rule, answer):
    try:
        rule.check(rule.spoil(answer))
    except Broken:
        return False
    return True


def judge(case, answer):
    """What is wrong with the answer."""
    problems = []
    for rule in case.rules:
        if not rule.applies(answer):
            continue
        try:
            rule.check(answer)
        except Broken as broken:
            problems.append(f"{rule.text}: {broken}")
            continue
        if cannot_fail(rule, answer):
            problems.append(f"the rule cannot fail: {rule.text}")
    if answer.status == 201:
        try:
            problems += always.problems(case.offer, answer.sdp())
        except Broken as broken:
            problems.append(str(broken))
    elif not answer.reason:
        problems.append(f"refused with {answer.status} and no reason")
    # The same sentence of several rules is said once.
    return list(dict.fromkeys(problems))


def keep(folder, case, answer):
    stem = os.path.join(folder, case.name.replace(" ", "-"))
    with open(f"{stem}.offer.sdp", "w", encoding="utf-8", newline="") as file:
        file.write(case.offer)
    with open(f"{stem}.answer.sdp", "w", encoding="utf-8", newline="") as file:
        file.write(answer.text)


def problems_of(camera, case, folder):
    started = time.monotonic()
    answer = place(camera, case)
    seconds = time.monotonic() - started
    keep(folder, case, answer)
    return judge(case, answer) + ([f"answered after {seconds:.1f} s"] if seconds > SLOW_SECONDS else [])


def check(camera, case, folder):
    """Whether every answer is right; what hangs on the order of events is asked several times."""
    for number in range(1, case.times + 1):
        problems = problems_of(camera, case, folder)
        if problems:
            print(f"FAILED  {case.name}\n        {case.source}")
            for problem in problems + ([f"the {number}. time"] if case.times > 1 else []):
                print(f"        - {problem}")
            return False
    print(f"ok      {case.name}")
    return True


def check_all(cases, program, folder):
    """How many are right. An offer that ends the camera does not keep the others from being checked."""
    passed, waiting, log = 0, list(cases), os.path.join(folder, "camera.log")
    while waiting:
        try:
            with Camera(program, log) as camera:
                while waiting:
                    case = waiting.pop(0)
                    passed += check(camera, case, folder)
        except (CameraFailed, OSError, http.client.HTTPException) as error:
            print(f"FAILED  {case.name}\n        {case.source}\n        - no answer: {error}; the camera's log is {log}")
    return passed


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--only", default="", help="only offers with this text in their name")
    parser.add_argument("--output", help="folder for offers and answers")
    options = parser.parse_args()
    cases = [case for case in all_cases() if options.only in case.name]
    folder = options.output or tempfile.mkdtemp(prefix="zelrtc-answers-")
    os.makedirs(folder, exist_ok=True)
    try:
        passed = check_all(cases, options.camera, folder)
    finally:
        if not options.output:
            shutil.rmtree(folder)
    print(f"{passed} passed, {len(cases) - passed} failed")
    return 0 if passed == len(cases) else 1


if __name__ == "__main__":
    sys.exit(main())
