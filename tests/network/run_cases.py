#!/usr/bin/env python3
"""Calls over bad networks, each in its own network namespaces. Needs root, /dev/net/tun, ip and nft."""
import argparse
import json
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import cases, namespaces, sdk_limits  # noqa: E402  (the path above makes it importable)


def run_case(case, programs, seed):
    try:
        return case(programs, seed)
    except (RuntimeError, TimeoutError, OSError) as error:
        return cases.Outcome(case.title, "", problems=[str(error)])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--camera", required=True)
    parser.add_argument("--viewer", required=True)
    parser.add_argument("--link", required=True)
    parser.add_argument("--short", action="store_true", help="the few cases of a test run, under a minute")
    parser.add_argument("--only", help="only cases with this text in their name")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--json", help="write the outcomes to this file")
    options = parser.parse_args()

    namespaces.prepare_or_skip()

    programs = cases.Programs(sdk_limits.camera_under_test(options.camera), options.viewer, options.link)
    outcomes = []
    for case in cases.SHORT if options.short else cases.FULL:
        if options.only and options.only not in case.title:
            continue
        start = time.monotonic()
        outcome = run_case(case, programs, options.seed)
        outcomes.append(outcome)
        verdict = "ok" if not outcome.problems else "FAILED: " + "; ".join(outcome.problems)
        print(f"{outcome.name:24} {time.monotonic() - start:5.1f} s  {verdict}", flush=True)
    if options.json:
        with open(options.json, "w", encoding="utf-8") as out:
            json.dump([vars(outcome) for outcome in outcomes], out, indent=1)
    return 1 if any(outcome.problems for outcome in outcomes) else 0


if __name__ == "__main__":
    sys.exit(main())
