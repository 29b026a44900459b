#!/usr/bin/env python3
"""Writes the benchmarks' figures into docs/performance.md and its plots: write_report.py FIGURES_DIR DOCS_DIR"""
import json
import os
import statistics
import sys

import plots

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "network"))
from harness.documents import replace_between, table  # noqa: E402  (the path above makes it importable)

STEPS = (("answer", "answer"), ("connected", "connected"), ("firstDecoded", "first picture decoded"))


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, round(share * (len(ordered) - 1)))]


def load(directory, name):
    path = os.path.join(directory, name)
    if not os.path.exists(path):
        return None
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def micro_table(instructions, write_path):
    times = {}
    for run in write_path["benchmarks"]:
        name, threads = run["name"].split("/threads:")
        times.setdefault(name, {})[threads] = run["cpu_time"]
    floor = instructions["instructions"][instructions["floor"]]
    rows = []
    for name, count in instructions["instructions"].items():
        rows.append([name, f"{count:.0f}", f"{count / floor:.2f}", f"{times[name]['1']:.1f} ns",
                     f"{times[name]['4']:.1f} ns"])
    return table(["one frame", "instructions", "of the floor", "time, one thread", "time, four threads"], rows)


def session_table(session):
    rows = []
    for run in session["benchmarks"]:
        parts = run["name"].replace("/manual_time", "").split("/")
        servers = parts[1] if len(parts) > 1 else ""
        rows.append([parts[0], servers, f"{run['real_time']:.0f} ns", f"{run['allocations']:.0f}"])
    return table(["step", "ICE servers", "time", "allocations"], rows)


def step_values(rows, step):
    return [row[step] for row in rows if row[step] is not None]


def times_table(call_times):
    rows = []
    for way, calls in call_times.items():
        cells = []
        for step, _ in STEPS:
            values = step_values(calls, step)
            cells.append(f"{percentile(values, 0.5):.1f} / {percentile(values, 0.95):.1f} ms")
        rows.append([way, len(calls), *cells])
    return table(["sender", "calls", *(f"{name}, p50 / p95" for _, name in STEPS)], rows)


def times_plot(call_times):
    groups = []
    for step, name in STEPS:
        pairs = [(percentile(step_values(calls, step), 0.5), percentile(step_values(calls, step), 0.95))
                 for calls in call_times.values()]
        groups.append((name, pairs))
    return plots.bars("From the offer to ..., median (95th percentile as a line)", "ms", groups, list(call_times))


def loads_table(loads):
    rows = []
    for row in loads:
        viewers = row["viewers"]
        memory = (row["rssKb"] - row["idleRssKb"]) / viewers
        rows.append([viewers, f"{row['cpuPercent']:.1f} %", f"{row['cpuPercent'] / viewers:.2f} %",
                     f"{row['rssKb'] / 1024:.1f} MB", f"{memory / 1024:.2f} MB", row["threads"],
                     f"{row['fewestFrames']} of about {row['expectedFrames']}"])
    return table(["viewers", "processor (of one core)", "for each viewer", "resident memory", "for each viewer",
                  "threads", "frames at the worst-served viewer"], rows)


def loads_plot(loads):
    groups = [(f"{row['viewers']} viewers", [(row["cpuPercent"] / row["viewers"], None)]) for row in loads]
    return plots.bars("Processor time for each viewer, per cent of one core", "%", groups, ["camera, 720p30, 2 Mbit/s"])


def comparison(figures):
    ratios = [row["camera"] / row["engine"] for row in figures["pairs"]]
    answers = {way: statistics.median(step_values(calls, "answer")) for way, calls in figures["callTimes"].items()}
    return table(["camera (session, SDK stand-in, engine) against the engine alone", "value"], [
        ["processor time with four viewers, median of the ratios", f"{statistics.median(ratios):.3f}"],
        ["the same, smallest and largest of " + str(len(ratios)), f"{min(ratios):.3f} to {max(ratios):.3f}"],
        ["answer, difference of the medians", f"{answers['camera'] - answers['engine alone']:+.1f} ms"],
    ])


def ages_table(ages):
    sizes = {"0": "1280x720", "1": "640x360", "2": "320x180"}
    return table(["stream", "median", "95th percentile"],
                 [[sizes[stream], f"{age['p50']:.0f} ms", f"{age['p95']:.0f} ms"] for stream, age in ages.items()])


def churn_table(rounds):
    return table(["calls", "how many", "descriptors", "threads", "resident memory", "verdict"],
                 [[row["name"], row["calls"], f"{row['baseline']['descriptors']} -> {row['after']['descriptors']}",
                   f"{row['baseline']['threads']} -> {row['after']['threads']}",
                   f"{row['rssKbBefore'] / 1024:.1f} -> {row['after']['rssKb'] / 1024:.1f} MB",
                   "; ".join(row["problems"]) or "nothing left behind"] for row in rounds])


def machine_text(machine, clip_kbit):
    return (f"{machine['processor']}, {machine['cores']} cores, Linux {machine['kernel']}; load average before the run "
            f"{machine['loadBefore']:.1f}. The clip: {clip_kbit:.0f} kbit/s.")


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main():
    directory, docs = sys.argv[1:]
    document = os.path.join(docs, "performance.md")
    images = os.path.join(docs, "images")
    os.makedirs(images, exist_ok=True)

    replace_between(document, "write path",
                    micro_table(load(directory, "instructions.json"), load(directory, "write_path.json")))
    replace_between(document, "session", session_table(load(directory, "session.json")))
    calls = load(directory, "calls.json")
    if calls is not None:
        replace_between(document, "machine", machine_text(calls["machine"], calls["clipKbit"]))
        replace_between(document, "call times", times_table(calls["callTimes"]))
        replace_between(document, "comparison", comparison(calls))
        replace_between(document, "loads", loads_table(calls["loads"]))
        replace_between(document, "frame ages", ages_table(calls["frameAges"]))
        write(os.path.join(images, "call-times.svg"), times_plot(calls["callTimes"]))
        write(os.path.join(images, "processor-time.svg"), loads_plot(calls["loads"]))
    churn = load(directory, "churn.json")
    if churn is not None:
        replace_between(document, "churn", churn_table(churn))


main()
