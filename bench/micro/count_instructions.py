#!/usr/bin/env python3
"""Counts the instructions of writing one frame in each way, and compares the session with the hand-written version.

The counts come from callgrind, which gives the same number on every run: the difference between two runs that write
different numbers of frames is exactly the cost of a frame.

With --account it prints instead the instructions of the write itself that one frame runs through. The loop around it
and the SDK below it are left out; they are the same for all.
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
WRITES = re.compile(r"(?:ZelRtcSession|HandWrittenSender)::write")


def profile(loop, number, frames):
    """Total instructions, and how often each instruction of the writes ran, by address."""
    with tempfile.NamedTemporaryFile(mode="r") as out:
        subprocess.run(["valgrind", "--tool=callgrind", "--dump-instr=yes", "--compress-strings=no",
                        "--compress-pos=no", f"--callgrind-out-file={out.name}", loop, str(number), str(frames)],
                       capture_output=True, check=True)
        text = out.read()
    runs = {}
    for function in re.split(r"^fn=", text, flags=re.MULTILINE)[1:]:
        name, _, body = function.partition("\n")
        if WRITES.search(name):
            body = re.sub(r"^calls=.*\n.*\n", "", body, flags=re.MULTILINE)
            for address, count in re.findall(r"^(0x[0-9a-f]+) \d+ (\d+)$", body, re.MULTILINE):
                runs[int(address, 16)] = runs.get(int(address, 16), 0) + int(count)
    return int(re.search(r"^summary: (\d+)", text, re.MULTILINE).group(1)), runs


def cost_of_frame(loop, number):
    (many, _), (few, _) = (profile(loop, number, frames) for frames in (MANY, FEW))
    return (many - few) / (MANY - FEW)


def disassembly(loop):
    listing = subprocess.run(["objdump", "-d", "-C", "--no-show-raw-insn", loop], capture_output=True, text=True,
                             check=True).stdout
    return {int(address, 16): " ".join(text.split())
            for address, text in re.findall(r"^ +([0-9a-f]+):\t(.*)$", listing, re.MULTILINE)}


def account(loop, names):
    """The instructions that each frame runs through, by way."""
    texts = disassembly(loop)
    found = {}
    for name in (FLOOR, *COMPARED):
        _, runs = profile(loop, names.index(name), FEW)
        found[name] = [texts[address] for address in sorted(runs) if runs[address] >= FEW]
    return found


def print_account(found):
    for name, path in found.items():
        print(f"{name}: {len(path)} instructions")
        for text in path:
            print(f"    {text}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("loop", help="path of write_path_loop")
    parser.add_argument("--limit", type=float, help="fail when a session's write costs more than LIMIT times the floor")
    parser.add_argument("--json", help="write the counts to this file")
    parser.add_argument("--account", action="store_true", help="print the instructions themselves")
    options = parser.parse_args()

    names = subprocess.run([options.loop], capture_output=True, text=True, check=True).stdout.splitlines()
    if options.account:
        print_account(account(options.loop, names))
        return 0
    counts = {}
    for number, name in enumerate(names):
        counts[name] = cost_of_frame(options.loop, number)
        print(f"{name:24} {counts[name]:7.1f} instructions, {counts[name] / counts[FLOOR]:.2f} of the floor")
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump({"floor": FLOOR, "instructions": counts, "account": account(options.loop, names)}, out, indent=1)

    over = [name for name in COMPARED if options.limit and counts[name] > options.limit * counts[FLOOR]]
    for name in over:
        print(f"FAILED: writing {name} costs more than {options.limit} times the hand-written write", file=sys.stderr)
    return 1 if over else 0


if __name__ == "__main__":
    sys.exit(main())
