#!/usr/bin/env python3
"""Posts offers with random mistakes to a camera: each is answered, or refused with a reason, within a second.

Afterwards the camera has no call, no more descriptors than before, and ends in order. --seed repeats a run; an offer
that is answered wrongly is kept in the folder of --output.
"""
import argparse
import collections
import http.client
import os
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from answers.cases import all_cases  # noqa: E402  (the path above makes it importable)
from answers.mutation import Mutation  # noqa: E402
from support.camera import Camera, CameraFailed, wait_for  # noqa: E402

ANSWER_SECONDS = 1.0
RETURN_SECONDS = 20
WARM_UP = 20
MOST_KEPT = 50
# A mistake in an offer is the viewer's; 5xx would say that it is the camera's.
REFUSALS = (400, 413, 422)


class Storm:
    def __init__(self, folder):
        self._camera, self._folder = None, folder
        self.has_camera = True
        self.statuses = collections.Counter()
        self.slowest = 0.0
        self.problems = []

    def begin(self, camera):
        self._camera = camera

    def post(self, number, offer):
        started = time.monotonic()
        try:
            reply = self._camera.request("POST", "/whep", offer, "application/sdp")
        except (OSError, http.client.HTTPException) as error:
            self.has_camera = not self._camera.has_ended()
            self._complain(number, offer, f"no answer: {error!r}")
            return
        seconds = time.monotonic() - started
        self.statuses[reply.status] += 1
        self.slowest = max(self.slowest, seconds)
        if seconds > ANSWER_SECONDS:
            self._complain(number, offer, f"{reply.status} after {seconds:.1f} s")
        if reply.status == 201:
            self._camera.request("DELETE", reply.headers["Location"])
        elif reply.status not in REFUSALS:
            self._complain(number, offer, f"{reply.status}: {reply.reason()}")
        elif not reply.reason():
            self._complain(number, offer, f"refused with {reply.status} without a reason")

    def _complain(self, number, offer, problem):
        self.problems.append(f"offer {number}: {problem}")
        if len(self.problems) <= MOST_KEPT:
            with open(os.path.join(self._folder, f"{number}.sdp"), "wb") as file:
                file.write(offer)

    def check_that_it_is_as_before(self, descriptors):
        def has_returned():
            health = self._camera.health()
            return health["calls"] == 0 and health["descriptors"] <= descriptors

        try:
            wait_for(has_returned, RETURN_SECONDS, f"{descriptors} descriptors")
        except TimeoutError:
            self.problems.append(f"before there were {descriptors} descriptors, now: {self._camera.health()}")


def run(storm, camera, options):
    offers = [case.offer for case in all_cases()]
    for number, offer in enumerate(offers[:WARM_UP]):
        storm.post(f"warm-up {number}", offer.encode())
    wait_for(lambda: camera.health()["calls"] == 0, RETURN_SECONDS, "the end of the first calls")
    descriptors = camera.health()["descriptors"]
    mutation = Mutation(options.seed, offers)
    storm.statuses.clear()
    for number in range(options.count):
        storm.post(number, mutation.next())
        if not storm.has_camera:
            return
    storm.check_that_it_is_as_before(descriptors)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--count", type=int, default=400)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--output", help="folder for the camera's log and offers that were answered wrongly")
    options = parser.parse_args()
    folder = options.output or tempfile.mkdtemp(prefix="zelrtc-mutated-")
    os.makedirs(folder, exist_ok=True)
    storm, started = Storm(folder), time.monotonic()
    try:
        with Camera(options.camera, os.path.join(folder, "camera.log"), ["--log-level", "5"]) as camera:
            storm.begin(camera)
            run(storm, camera, options)
    except CameraFailed as failure:
        storm.problems.append(str(failure))
    answered = ", ".join(f"{count} with {status}" for status, count in sorted(storm.statuses.items()))
    print(f"{options.count} offers in {time.monotonic() - started:.0f} s, seed {options.seed}: {answered}; the slowest "
          f"after {storm.slowest * 1000:.0f} ms")
    for problem in storm.problems[:MOST_KEPT]:
        print(f"FAILED  {problem}")
    if storm.problems:
        print(f"{len(storm.problems)} problems; what belongs to them is in {folder}")
    return 1 if storm.problems else 0


if __name__ == "__main__":
    sys.exit(main())
