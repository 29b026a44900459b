"""Processor time that a virtual machine's host gave to others. What happens meanwhile is not the camera's doing."""
import threading
import time

STOLEN = 7  # the column of /proc/stat; guests' time, behind it, is counted in the first ones already


def _ticks():
    with open("/proc/stat", encoding="ascii") as file:
        ticks = [int(field) for field in file.readline().split()[1:STOLEN + 2]]
    return ticks[STOLEN], sum(ticks)


def share_by_second(began, before, ended, after):
    """Of the seconds between two looks at the ticks: the share that was stolen, the same for all; none without any."""
    (stolen_before, all_before), (stolen, total) = before, after
    if stolen <= stolen_before:
        return {}
    seconds = range(int(began), max(int(ended), int(began) + 1))
    return dict.fromkeys(seconds, (stolen - stolen_before) / (total - all_before))


class StolenTime:
    """Watches from now on: `shares` has each second of the monotonic clock in which some was stolen, and its share."""

    def __init__(self):
        self.shares = {}
        threading.Thread(target=self._watch, daemon=True).start()

    def _watch(self):
        began, before = time.monotonic(), _ticks()
        while True:
            time.sleep(1 - time.monotonic() % 1)
            now, ticks = time.monotonic(), _ticks()
            # More than one second if the watch itself was held up.
            self.shares.update(share_by_second(began, before, now, ticks))
            began, before = now, ticks
