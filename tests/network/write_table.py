#!/usr/bin/env python3
"""Writes the results of run_cases.py into docs/networks.md: write_table.py OUTCOMES.json DOCUMENT.md"""
import json
import sys

from harness.documents import replace_between, table


def seconds(milliseconds):
    return "never" if milliseconds is None else f"{milliseconds / 1000:.2f} s"


def age(milliseconds):
    if milliseconds["p50"] is None:
        return ""
    return f"{milliseconds['p50'] / 1000:.2f} / {milliseconds['p95'] / 1000:.2f} s"


def states(outcome):
    words = [name if at is None else f"{name} {at / 1000:.1f} s" for name, at in outcome["camera_states"]]
    return ", ".join(words)


def row(outcome):
    if outcome["report"] is None:
        picture = ["", "", "", "", "", ""]
    else:
        call = outcome["report"]["calls"][0]
        video, audio, times = call["video"], call["audio"], call["ms"]
        picture = [seconds(times["answer"]), seconds(times["connected"]), seconds(times["firstDecoded"]),
                   f"{video['decoded']} of {outcome['seconds'] * 30}", f"{audio['received']} of {outcome['seconds'] * 50}",
                   age(video["ageMs"])]
    came_back = "" if outcome["came_back"] == "never left" else outcome["came_back"]
    remarks = "; ".join(text for text in (came_back, outcome["notes"], *outcome["problems"]) if text)
    return [f"**{outcome['name']}**: {outcome['network']}", *picture, states(outcome), remarks]


def main():
    outcomes_path, document = sys.argv[1:]
    with open(outcomes_path, encoding="utf-8") as file:
        outcomes = json.load(file)
    header = ["network", "answer", "connected", "first picture", "pictures decoded", "sound packets",
              "frame age, median / 95 %",
              "what the application heard", "remarks"]
    replace_between(document, "networks", table(header, [row(outcome) for outcome in outcomes]))


main()
