"""Prints every event of a camera's calls as JSON lines: watch_calls.py URL. Runs beside the camera, so that what it
reports does not travel over the link under test."""
import json
import sys
import threading
import time
import urllib.request

URL = sys.argv[1].rstrip("/")
LOCK = threading.Lock()


def report(call, name, data):
    with LOCK:
        print(json.dumps({"at": time.monotonic(), "call": call, "event": name, "data": data}), flush=True)


def follow(call):
    name = None
    with urllib.request.urlopen(f"{URL}/calls/{call}/events") as stream:
        for raw in stream:
            line = raw.decode().rstrip("\r\n")
            if line.startswith("event:"):
                name = line[6:].strip()
            elif line.startswith("data:") and name in ("state", "ended", "log", "level"):
                report(call, name, json.loads(line[5:]))


def main():
    known = set()
    while True:
        with urllib.request.urlopen(f"{URL}/calls") as answer:
            calls = json.load(answer)
        for call in calls:
            if call["id"] not in known:
                known.add(call["id"])
                threading.Thread(target=follow, args=(call["id"],), daemon=True).start()
        time.sleep(0.05)


main()
