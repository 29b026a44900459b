#!/usr/bin/env python3
"""Attacks the camera in every known way, each attack beside an innocent viewer whose picture must go on.

Every attack stands in attacks/, one file for each kind; stage/scene.py says what is judged and by which limits. All of
it stays on this machine, and every attack is bounded in count and time. --write-table plays all attacks and writes the
table of them into a document; --check-table plays none and says whether that table names these attacks, all held.
"""
import argparse
import importlib
import json
import os
import shutil
import signal
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", "interop"), os.path.join(HERE, "..", "network"), HERE]
from harness import sdk_limits  # noqa: E402  (the path above makes it importable)
from stage import table  # noqa: E402
from stage.scene import Scene  # noqa: E402

GROUPS = ("crowds", "requests", "websites", "guessing", "calls", "media", "datagrams", "recordings", "ending")


def group_named(name):
    return importlib.import_module(f"attacks.{name}").GROUP


def tell(report):
    after, before = report.get("after"), report.get("before")
    figures = f"; {before['descriptors']} -> {after['descriptors']} descriptors, {before['threads']} -> " \
              f"{after['threads']} threads, {before['rssKb']} -> {after['rssKb']} kB" if after else ""
    verdict = "FAILED: " + "; ".join(report["problems"]) if report["problems"] else "held"
    gap = f"gap {report['gapMs']} ms of {report['limitMs']}, played {report['times']}x" if report.get("times") else \
        "never began"
    print(f"{report['name']}: {verdict} ({gap}, {report.get('seconds', 0)} s{figures})", flush=True)


def report_of(attack, played):
    report = {"name": attack.name, "who": attack.who, "holds": attack.holds, **played}
    tell(report)
    return report


def play(group, attacks, camera, folder):
    """The attacks one after the other; a scene that one of them has broken is set up again."""
    reports, left = [], list(attacks)
    while left:
        to_do = len(left)
        try:
            with Scene(camera, group, folder) as scene:
                while left and not scene.is_broken():
                    reports.append(report_of(left[0], scene.play(left[0])))
                    left.pop(0)
        except (RuntimeError, OSError) as error:
            if len(left) == to_do:
                return reports + [report_of(attack, {"problems": [str(error)]}) for attack in left]
            reports.append({"name": f"the camera of the attacks on {group.name}", "problems": [str(error)]})
            tell(reports[-1])
    return reports


def play_group(name, options):
    group = group_named(name)
    folder = os.path.join(options.output, name)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    attacks = [attack for attack in group.attacks if options.only in (None, attack.name)]
    reports = play(group, attacks, sdk_limits.camera_under_test(options.camera), folder) if attacks else []
    with open(os.path.join(folder, "reports.json"), "w", encoding="utf-8") as file:
        json.dump(reports, file, indent=1)
    return reports


def play_apart(name, options):
    """In a process of its own, because attackers give up their priority for good."""
    only = ["--only", options.only] if options.only else []
    subprocess.run([sys.executable, os.path.abspath(__file__), "--group", name, "--camera", options.camera, "--output",
                    options.output, *only], check=False)
    with open(os.path.join(options.output, name, "reports.json"), encoding="utf-8") as file:
        return json.load(file)


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that a run that is stopped stops its camera
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", help="path of zelrtc-camera")
    parser.add_argument("--group", choices=GROUPS, help="only this kind")
    parser.add_argument("--only", help="only the attack of this name")
    parser.add_argument("--output", default="build/attack", help="folder for what each run leaves")
    parser.add_argument("--write-table", metavar="DOCUMENT")
    parser.add_argument("--check-table", metavar="DOCUMENT")
    options = parser.parse_args()
    if options.check_table:
        return table.check(options.check_table, [attack for name in GROUPS for attack in group_named(name).attacks])
    if not options.camera:
        parser.error("--camera is needed")
    if options.group:
        reports = play_group(options.group, options)
    else:
        reports = [report for name in GROUPS for report in play_apart(name, options)]
    failed = [report for report in reports if report["problems"]]
    print(f"{len(reports) - len(failed)} held, {len(failed)} failed", flush=True)
    if options.write_table:
        table.write(options.write_table, [report for report in reports if "who" in report])
    return 1 if failed or not reports else 0


if __name__ == "__main__":
    sys.exit(main())
