#!/usr/bin/env python3
"""Writes the benchmarks' figures into docs/performance.md and its plots: write_report.py FIGURES_DIR DOCS_DIR
The figures of a long run, into its section only: write_report.py --long-run JSON DOCS_DIR
"""
import json
import os
import re
import statistics
import sys

import plots
from run_comparison import cpu_ratios, own_share
from stage import interval

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "network"))
from harness.documents import replace_between, table  # noqa: E402  (the path above makes it importable)

STEPS = (("answer", "answer"), ("connected", "connected"), ("firstDecoded", "first picture decoded"))
PEER_STEPS = (("answer", "answer"), ("connected", "connected"), ("black", "from there to the first picture"),
              ("waited", "of it waiting for a key frame"), ("rest", "without that wait"))
BROWSER_STEPS = (("answer", "answer"), ("connected", "connected"), ("firstPicture", "first picture shown"))
# The first that fits, on x86-64.
INSTRUCTION_KINDS = (
    ("decisions: a comparison, then a branch", r"cmp|test|j"),
    ("registers kept for the caller, and the stack", r"push|pop|(add|sub) .*,%rsp$"),
    ("calls, and the return", r"call|ret"),
    ("the frame filled, arguments and members moved", r""),
)
NOT_MEASURED = "This part failed when the benchmarks ran last: there are no figures."


def percentile(values, share):
    ordered = sorted(values) or [0]
    return ordered[min(len(ordered) - 1, round(share * (len(ordered) - 1)))]


def load(path):
    """None from a part that failed: it has written nothing, or was stopped while writing."""
    with open(path, encoding="utf-8") as file:
        try:
            return json.load(file)
        except json.JSONDecodeError:
            return None


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


def account_table(instructions):
    """The instructions of a write, by what they are for."""
    ways = instructions["account"]
    rows = []
    for kind, _ in INSTRUCTION_KINDS:
        texts = {way: [text for text in path if kind_of(text) == kind] for way, path in ways.items()}
        rows.append([kind, *(f"{len(found)}: " + listed(found) for found in texts.values())])
    rows.append(["together", *(len(path) for path in ways.values())])
    return table(["of the write itself", *ways], rows)


def listed(texts):
    """`push` twice and `pop` once as `push 2, pop 1`, in the order of their first use."""
    names = [text.split()[0] for text in texts]
    return ", ".join(f"{name} {names.count(name)}" for name in dict.fromkeys(names))


def kind_of(text):
    return next(kind for kind, pattern in INSTRUCTION_KINDS if re.match(pattern, text))


def session_table(session):
    rows = []
    for run in session["benchmarks"]:
        parts = run["name"].replace("/manual_time", "").split("/")
        servers = parts[1] if len(parts) > 1 else ""
        rows.append([parts[0], servers, f"{run['real_time']:.0f} ns", f"{run['allocations']:.0f}"])
    return table(["step", "ICE servers", "time", "allocations"], rows)


def step_values(rows, step):
    return [row[step] for row in rows if row.get(step) is not None]


def percentiles(rows, step):
    values = step_values(rows, step)
    return f"{percentile(values, 0.5):.1f} / {percentile(values, 0.95):.1f} ms" if values else "never"


def times_table(call_times, steps=STEPS):
    rows = [[way, len(calls), *(percentiles(calls, step) for step, _ in steps)] for way, calls in call_times.items()]
    return table(["sender", "calls", *(f"{name}, p50 / p95" for _, name in steps)], rows)


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


def comparison(found):
    ratios = cpu_ratios(found["cpu"])
    low, high = interval(ratios)
    rows = [
        [f"processor time with {found['viewers']} viewers, median of {len(ratios)} rounds",
         f"{statistics.median(ratios):.3f}"],
        ["95 % confidence", f"{low:.3f} to {high:.3f}"],
    ]
    if found["instructions"]:
        costs = [row["camera"]["instructions"] / row["engine"]["instructions"] for row in found["instructions"]]
        shares = [own_share(row) for row in found["instructions"]]
        rows.append(["instructions for each packet sent, each run", ", ".join(f"{cost:.3f}" for cost in costs)])
        rows.append(["the same, only where the two senders differ, each run",
                     ", ".join(f"{1 + share:.4f}" for share in shares)])
    return table(["camera (session, SDK stand-in, engine) against the engine alone", "value"], rows)


def answer_difference(call_times):
    """The calls took turns, so each one has a neighbour to compare with."""
    pairs = zip(call_times["camera"], call_times["engine alone"])
    differences = [one["answer"] - other["answer"] for one, other in pairs
                   if one["answer"] is not None and other["answer"] is not None]
    low, high = interval(differences)
    return table(["answer, camera against the engine alone", "value"], [
        [f"difference, median of {len(differences)} pairs of calls", f"{statistics.median(differences):+.2f} ms"],
        ["95 % confidence", f"{low:+.2f} to {high:+.2f} ms"]])


def for_each_further(row, first, what, divisor=1, unit=""):
    """What a viewer adds to the sender's row with the fewest."""
    more = row["viewers"] - first["viewers"]
    return f"{(row[what] - first[what]) / divisor / more:.2f}{unit}" if more else ""


def peer_loads_table(loads):
    rows = []
    for row in loads:
        first = next(other for other in loads if other["sender"] == row["sender"])
        rows.append([row["sender"], row["viewers"], f"{row['cpuPercent'] / row['viewers']:.2f} %",
                     f"{row['pssKb'] / 1024:.1f} MB", for_each_further(row, first, "privateKb", 1024, " MB"),
                     row["threads"], for_each_further(row, first, "threads"),
                     f"{row['fewestFrames']} of about {row['expectedFrames']}"])
    return table(["sender", "viewers", "processor (of one core), for each viewer", "memory (PSS)",
                  "of its own, for each further viewer", "threads", "for each further viewer",
                  "frames at the worst-served viewer"], rows)


def soon_text(call_times, limit=150):
    shares = [f"{name} {sum(ms <= limit for ms in step_values(calls, 'black'))} of {len(calls)}"
              for name, calls in call_times.items()]
    return f"Calls with a picture within {limit} ms of the connection: {', '.join(shares)}."


def first_pictures_table(found):
    rows = []
    for source, times in found["times"].items():
        for name, black in times.items():
            seen = [ms for ms in black if ms is not None]
            start = "the newest group" if name == "camera" else "the next key frame"
            rows.append([source, f"{found['keyFrameSeconds'][source]} s", f"{name}, {start}",
                         f"{len(seen)} of {len(black)}", f"{statistics.median(seen or [0]):.0f} ms",
                         f"{max(seen or [0]):.0f} ms"])
    return table(["source", "a key frame every", "sender, and with what it begins", "saw a picture", "median", "worst"],
                 rows)


def peer_plot(loads):
    senders = list(dict.fromkeys(row["sender"] for row in loads))
    groups = []
    for viewers in dict.fromkeys(row["viewers"] for row in loads):
        share = {row["sender"]: row["cpuPercent"] / viewers for row in loads if row["viewers"] == viewers}
        groups.append((f"{viewers} viewers", [(share.get(name, 0), None) for name in senders]))
    return plots.bars("Processor time for each viewer, per cent of one core", "%", groups, senders)


def left_out_text(left_out):
    if not left_out:
        return "All of them ran."
    return "\n".join(f"- {name} was left out: {reason.strip().splitlines()[-1]}" for name, reason in left_out.items())


def scale_costs_table(rows):
    """What each program of the chain needs, beside direct calls, which have no others."""
    def cost(row, name):
        if name not in row["costs"]:
            return "", ""
        return f"{row['costs'][name]['cpuPercent']:.1f} %", f"{row['costs'][name]['pssKb'] / 1024:.1f} MB"

    return table(["way", "viewers", "camera", "memory", "feeder", "memory", "Janus", "memory",
                  "frames a second at the worst-served viewer"],
                 [[row["way"], row["viewers"], *cost(row, "camera"), *cost(row, "feeder"), *cost(row, "Janus"),
                   f"{row['fewestFramesASecond']:.1f}"] for row in rows])


def scale_ages_table(ages):
    return table(["way", "median", "95th percentile"],
                 [[way, f"{age['p50']:.0f} ms", f"{age['p95']:.0f} ms"] for way, age in ages.items()])


def ages_table(ages):
    sizes = {"0": "1280x720", "1": "640x360", "2": "320x180"}
    return table(["stream", "median", "95th percentile"],
                 [[sizes[stream], f"{age['p50']:.0f} ms", f"{age['p95']:.0f} ms"] for stream, age in ages.items()])


def grown(row, what, unit, divisor):
    return f"{row['before'][what] / divisor:.1f} -> {row['after'][what] / divisor:.1f} {unit}"


def churn_table(rounds):
    rows = []
    for row in rounds:
        held = 1024 * (row["after"]["heapKb"] - row["before"]["heapKb"]) / row["calls"]
        rows.append([row["name"], row["calls"], f"{row['baseline']['descriptors']} -> {row['after']['descriptors']}",
                     f"{row['baseline']['threads']} -> {row['after']['threads']}", grown(row, "heapKb", "MB", 1024),
                     f"{held:.0f} bytes", grown(row, "rssKb", "MB", 1024),
                     "; ".join(row["problems"]) or "nothing left behind"])
    return table(["calls", "how many", "descriptors", "threads", "heap in use", "for each call", "resident memory",
                  "verdict"], rows)


def drift_rows(run):
    rows = []
    for viewer, widths in run["drift"].items():
        for width, found in widths.items():
            rows.append([viewer, f"{width} wide", f"{found['firstMs']:+.1f} ms", f"{found['lastMs']:+.1f} ms",
                         f"{found['mostMs']:+.1f} ms", f"{run['longestGapMs'][viewer]:.0f} ms"])
    return rows


def long_run_growth_rows(growth):
    rows = [[words, *(f"{growth[what][when] / divisor:.{digits}f}{unit}" for when in ("first", "last"))]
            for what, words, divisor, digits, unit in (
                ("descriptors", "descriptors", 1, 0, ""), ("threads", "threads", 1, 0, ""),
                ("heapKb", "heap in use", 1024, 1, " MB"), ("pssKb", "memory (PSS)", 1024, 1, " MB"),
                ("rssKb", "resident memory", 1024, 1, " MB"))]
    middle, low, high = (1024 * value for value in growth["heapKbPerCall"])
    rows.append(["growth of the heap for each call", "", f"{middle:.0f} bytes ({low:.0f} to {high:.0f})"])
    return rows


def restarts_text(backs):
    """Of the restarts that count; on a machine that was taken away at the wrong moments there may be none."""
    known = [back["seconds"] for back in backs if back["seconds"] is not None]
    if not known:
        return f"Of {len(backs)} restarts that count, the picture was back after none."
    return (f"After a restart the picture was back after {statistics.median(known):.2f} s (median), "
            f"{max(known):.2f} s at most, in {len(known)} of {len(backs)} cases.")


def long_run_text(run):
    growth = run["growth"]
    loads = [sample["load"] for sample in run["samples"]]
    return "\n\n".join([
        f"{run['minutes']:g} minutes, {run['calls']} calls, {len(run['restarts'])} restarts of the source and "
        f"{len(run['turnRestarts'])} of the TURN server; load average {min(loads):.1f} to {max(loads):.1f}. In "
        f"{run['stolenSeconds']} of {run['watchedSeconds']} seconds the machine's host took more than "
        f"{100 * run['mostStolen']:.0f} % of the processor time. "
        + ("Not as it should be: " + "; ".join(run["problems"]) if run["problems"] else
           "No call was lost but those that were meant to end") + ".",
        table(["viewer that stayed", "picture", "behind the sound, at first", "at last", "most change",
               "longest gap but for restarts"], drift_rows(run)),
        restarts_text(run["backs"]),
        table([f"{growth['points']} rests, {growth['calls']} calls", "first third, least", "last third, least"],
              long_run_growth_rows(growth))])


def machine_text(machine, clip_kbit):
    return (f"{machine['processor']}, {machine['cores']} cores, Linux {machine['kernel']}; load average before the run "
            f"{machine['loadBefore']:.1f}. The clip: {clip_kbit:.0f} kbit/s.")


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


class Report:
    """The document and its plots. A part that failed says so in place of its table; one that has no file was not run,
    and what it found before stays."""

    def __init__(self, figures, docs):
        self._figures = figures
        self._document = os.path.join(docs, "performance.md")
        self._images = os.path.join(docs, "images")
        os.makedirs(self._images, exist_ok=True)

    def fill(self, names, source, make):
        """Puts the texts that `make` returns, one for each name, into the document."""
        paths = [os.path.join(self._figures, name) for name in source]
        if not all(map(os.path.exists, paths)):
            return
        found = [load(path) for path in paths]
        texts = [NOT_MEASURED] * len(names) if any(part is None for part in found) else make(*found)
        for name, text in zip(names, texts):
            replace_between(self._document, name, text)

    def plot(self, name, source, make):
        path = os.path.join(self._figures, source)
        found = load(path) if os.path.exists(path) else None
        if found is not None:
            write(os.path.join(self._images, name), make(found))


def main():
    report = Report(*sys.argv[1:])
    report.fill(["write path"], ["instructions.json", "write_path.json"], lambda *found: [micro_table(*found)])
    report.fill(["write account"], ["instructions.json"], lambda found: [account_table(found)])
    report.fill(["session"], ["session.json"], lambda found: [session_table(found)])
    report.fill(["machine", "call times", "answer difference", "loads", "frame ages"], ["calls.json"], lambda found: [
        machine_text(found["machine"], found["clipKbit"]), times_table(found["callTimes"]),
        answer_difference(found["callTimes"]), loads_table(found["loads"]), ages_table(found["frameAges"])])
    report.fill(["browser times"], ["browser.json"], lambda found: [times_table(
        {"Chromium, " + way: calls for way, calls in found.items()}, BROWSER_STEPS)])
    report.fill(["comparison"], ["comparison.json"], lambda found: [comparison(found)])
    report.fill(["peers left out", "peer times", "peer loads"], ["peers.json"], lambda found: [
        left_out_text(found["leftOut"]),
        times_table(found["callTimes"], PEER_STEPS) + "\n\n" + soon_text(found["callTimes"]),
        peer_loads_table(found["loads"])])
    report.fill(["first pictures"], ["first-pictures.json"], lambda found: [first_pictures_table(found)])
    report.fill(["scale costs", "scale ages"], ["scale.json"], lambda found: [
        scale_costs_table(found["costs"]), scale_ages_table(found["ages"])])
    report.fill(["churn"], ["churn.json"], lambda found: [churn_table(found)])
    report.plot("call-times.svg", "calls.json", lambda found: times_plot(found["callTimes"]))
    report.plot("processor-time.svg", "calls.json", lambda found: loads_plot(found["loads"]))
    report.plot("peers-processor-time.svg", "peers.json", lambda found: peer_plot(found["loads"]))


def write_long_run(figures, docs):
    with open(figures, encoding="utf-8") as file:
        replace_between(os.path.join(docs, "performance.md"), "long run", long_run_text(json.load(file)))


if sys.argv[1:2] == ["--long-run"]:
    write_long_run(*sys.argv[2:])
else:
    main()
