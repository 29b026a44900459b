#!/usr/bin/env python3
"""What session and SDK stand-in cost beyond the engine: the demo camera against bench/plain_sender.

Processor time: in each round both serve the same clip to the same number of viewers during the same seconds, so that
other load on the machine affects both alike. Each round starts new processes, in the opposite order. Instructions: each
sender under callgrind, counted in user space for one pass of the clip and divided by the packets sent, which hardly
depends on the machine's load. Needs root for a network namespace.
"""
import os
import re
import statistics
import subprocess
import sys
import time
from contextlib import ExitStack

from stage import (CLIP_SECONDS, SETTLE_SECONDS, Stage, cpu_seconds, interval, namespaces, read_options,
                   wait_for_calls, write_figures)

SENDERS = ("camera", "engine")
# Under callgrind, connecting takes seconds.
WARM_UP_SECONDS = 5
# Everything in which the senders differ during a call: passing a frame to the engine, watching the connection,
# supervising the calls.
DIFFERENT = [re.compile(pattern) for pattern in (
    r"camera::Call::onVideo\(", r"camera::Call::onAudio\(", r"camera::CallKeeper::run\(", r"Link::onPacket\(",
    r"HandlerExecutor::run\(", r"PlainPeer::onVideo\(", r"PlainPeer::onAudio\(")]


def in_turn(number):
    return SENDERS if number % 2 == 0 else SENDERS[::-1]


def start(stage, name, prefix=()):
    return stage.camera_with_clip(prefix) if name == "camera" else stage.plain_with_clip(prefix)


def cpu_round(stage, order, viewers, seconds):
    """Processor seconds of each sender over the same interval."""
    with ExitStack() as running:
        senders = {name: running.enter_context(start(stage, name)) for name in order}
        views = {name: stage.watch(sender, viewers, SETTLE_SECONDS + seconds + 2) for name, sender in senders.items()}
        for sender in senders.values():
            wait_for_calls(sender, viewers)
        time.sleep(SETTLE_SECONDS)
        before = {name: cpu_seconds(sender.process.pid) for name, sender in senders.items()}
        time.sleep(seconds)
        spent = {name: cpu_seconds(sender.process.pid) - before[name] for name, sender in senders.items()}
        frames = {name: min(call["video"]["frames"] for call in view.report()["calls"])
                  for name, view in views.items()}
    return {"order": order, "cpuSeconds": spent, "fewestFrames": frames}


def control(sender, action):
    subprocess.run(["callgrind_control", "--instr=" + action, str(sender.process.pid)], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def read_profile(path):
    """From callgrind's file: all instructions, those of each function including its callees, and its number of calls.
    Wrong for recursive functions."""
    names, spent, calls = {}, {}, {}
    function = callee = None
    total = 0
    with open(path, encoding="utf-8") as profile:
        for line in profile:
            found = re.match(r"(c?fn)=\((\d+)\)(?: (.*))?", line)
            if found:
                kind, number, name = found.groups()
                names.setdefault(number, name)
                function, callee = (number, callee) if kind == "fn" else (function, number)
            elif line.startswith("calls="):
                calls[callee] = calls.get(callee, 0) + int(line[6:].split()[0])
            elif line.startswith(("totals:", "summary:")):
                total = int(line.split()[1])
            elif re.match(r"[0-9+*-]", line):
                spent[function] = spent.get(function, 0) + int(line.split()[1])
    return total, by_name(spent, names), by_name(calls, names)


def by_name(values, names):
    found = {}
    for number, value in values.items():
        found[names[number]] = found.get(names[number], 0) + value
    return found


def count_instructions(stage, name, folder):
    """Instructions per packet of a sender, over one pass of the clip."""
    path = os.path.join(folder, f"callgrind.{name}")
    valgrind = ["valgrind", "--tool=callgrind", "--fair-sched=yes", "--instr-atstart=no",
                f"--callgrind-out-file={path}"]
    with start(stage, name, valgrind) as sender:
        view = stage.watch(sender, 1, WARM_UP_SECONDS + CLIP_SECONDS + 4)
        wait_for_calls(sender, 1)
        time.sleep(WARM_UP_SECONDS)
        control(sender, "on")
        time.sleep(CLIP_SECONDS)
        control(sender, "off")
        view.report()
    return packet_costs(path)


def packet_costs(path):
    total, spent, calls = read_profile(path)
    packets = calls.get("srtp_protect_mki", 0) or calls.get("srtp_protect", 0)
    # A function and its thunk count once.
    different = sum(max([count for name, count in spent.items() if pattern.search(name)], default=0)
                    for pattern in DIFFERENT)
    return {"packets": packets, "instructions": total / packets, "different": different / packets}


def cpu_ratios(rounds):
    return [row["cpuSeconds"]["camera"] / row["cpuSeconds"]["engine"] for row in rounds]


def own_share(row):
    """What session, stand-in and supervision cost beyond the plain sender, as a share of all instructions."""
    return (row["camera"]["different"] - row["engine"]["different"]) / row["engine"]["instructions"]


def summary(found):
    ratios = cpu_ratios(found["cpu"])
    low, high = interval(ratios)
    print(f"processor time, camera against engine: {statistics.median(ratios):.3f}, "
          f"95 % confidence {low:.3f} to {high:.3f}, {len(ratios)} rounds")
    for row in found["instructions"]:
        print(f"instructions for each packet, camera against engine: "
              f"{row['camera']['instructions'] / row['engine']['instructions']:.4f}, "
              f"what differs: {100 * own_share(row):+.3f} %")


def main():
    options = read_options(__doc__)
    rounds, viewers, seconds, profiles = (1, 1, 1, 0) if options.short else (12, 4, 8, 2)
    folder = os.path.dirname(os.path.abspath(options.json))
    found = {"viewers": viewers, "seconds": seconds, "cpu": [], "instructions": []}
    with namespaces.Loopback() as network:
        stage = Stage(network, options)
        for number in range(rounds):
            found["cpu"].append(cpu_round(stage, in_turn(number), viewers, seconds))
        for number in range(profiles):
            found["instructions"].append({name: count_instructions(stage, name, folder) for name in in_turn(number)})
    write_figures(options, found)
    summary(found)
    return 0


if __name__ == "__main__":
    sys.exit(main())
