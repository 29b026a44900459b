"""Prints every event of a camera's calls as JSON lines: watch_calls.py URL LIST; LIST is the camera's --call-list.
Runs beside the camera, to keep its reports off the link under test."""
import json
import sys
import threading
import time
import urllib.request

URL = sys.argv[1].rstrip("/")
LIST = sys.argv[2]
LOCK = threading.Lock()


def report(call, name, data):
    with LOCK:
        print(json.dumps({"at": time.monotonic(), "call": call, "event": name, "data": data}), flush=True)


def follow(call, key):
    name = None
    with urllib.request.urlopen(f"{URL}/calls/{key}/events") as stream:
        for raw in stream:
            line = raw.decode().rstrip("\r\n")
            if line.startswith("event:"):
                name = line[6:].strip()
            elif line.startswith("data:") and name in ("state", "ended", "log", "level"):
                report(call, name, json.loads(line[5:]))


def main():
    known = 0
    while True:
        with open(LIST, encoding="ascii") as calls:
            lines = [line.split() for line in calls if line.endswith("\n")]
        for call, key in lines[known:]:
            threading.Thread(target=follow, args=(int(call), key), daemon=True).start()
        known = len(lines)
        time.sleep(0.05)


main()
