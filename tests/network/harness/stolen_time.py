"""Processor time that a virtual machine's host gave to others. What happens meanwhile is not the camera's doing."""
import threading
import time

STOLEN = 7  # the column of /proc/stat; guests' time, behind it, is counted in the first ones already


def _ticks():
    with open("/proc/stat", encoding="ascii") as file:
        ticks = [int(field) for field in file.readline().split()[1:STOLEN + 2]]
    return ticks[STOLEN], sum(ticks)


class StolenTime:
    """Watches from now on: `shares` has each second of the monotonic clock in which some was stolen, and its share."""

    def __init__(self):
        self.shares = {}
        threading.Thread(target=self._watch, daemon=True).start()

    def _watch(self):
        began, (stolen_before, all_before) = time.monotonic(), _ticks()
        while True:
            time.sleep(1 - time.monotonic() % 1)
            now, (stolen, total) = time.monotonic(), _ticks()
            # More than one second if the watch itself was held up.
            if stolen > stolen_before:
                for second in range(int(began), int(now)):
                    self.shares[second] = (stolen - stolen_before) / (total - all_before)
            began, stolen_before, all_before = now, stolen, total
