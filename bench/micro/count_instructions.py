#!/usr/bin/env python3
"""Counts the instructions of writing one frame in each way, and compares the session with the hand-written version.

The counts come from callgrind, which gives the same number on every run: the difference of two runs that write
different numbers of frames is the cost of a frame and of nothing else.
"""
import argparse
import json
import re
import subprocess
import sys
import tempfile

FEW, MANY = 1000, 11000
FLOOR = "by hand"
COMPARED = ("video", "audio")


def instructions(loop, number, frames):
    with tempfile.NamedTemporaryFile() as out:
        command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}", loop, str(number), str(frames)]
        run = subprocess.run(command, capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("loop", help="path of write_path_loop")
    parser.add_argument("--limit", type=float, help="fail when a session's write costs more than LIMIT times the floor")
    parser.add_argument("--json", help="write the counts to this file")
    options = parser.parse_args()

    names = subprocess.run([options.loop], capture_output=True, text=True, check=True).stdout.splitlines()
    counts = {}
    for number, name in enumerate(names):
        many, few = (instructions(options.loop, number, frames) for frames in (MANY, FEW))
        counts[name] = (many - few) / (MANY - FEW)
        print(f"{name:24} {counts[name]:7.1f} instructions, {counts[name] / counts[FLOOR]:.2f} of the floor")
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump({"floor": FLOOR, "instructions": counts}, out, indent=1)

    over = [name for name in COMPARED if options.limit and counts[name] > options.limit * counts[FLOOR]]
    for name in over:
        print(f"FAILED: writing {name} costs more than {options.limit} times the hand-written write", file=sys.stderr)
    return 1 if over else 0


if __name__ == "__main__":
    sys.exit(main())
