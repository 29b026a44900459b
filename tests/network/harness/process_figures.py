"""What a process holds: descriptors, threads, memory, processor time."""
import os
import time

# For a program's environment: only with these is its heap in use exact.
EXACT_HEAP = {"G_SLICE": "always-malloc", "GLIBC_TUNABLES": "glibc.malloc.tcache_count=0", "MALLOC_ARENA_MAX": "1"}
# The engine's own growth: GLib never forgets a name, and webrtcbin makes new ones from the numbers of each call's
# streams. That is 1 to 3 kB for each call, in steps, as GLib's table of names doubles now and then.
HEAP_KB_PER_CALL = 3


def figures(pid):
    """Memory in kB, processor time in seconds."""
    found = {"descriptors": len(os.listdir(f"/proc/{pid}/fd")), "threads": len(os.listdir(f"/proc/{pid}/task"))}
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        fields = dict(line.split(":", 1) for line in file.read().splitlines()[1:])
    found["pssKb"] = int(fields["Pss"].split()[0])
    found["rssKb"] = int(fields["Rss"].split()[0])
    found["privateKb"] = int(fields["Private_Dirty"].split()[0])
    found["cpuSeconds"] = cpu_seconds(pid)
    return found


def cpu_seconds(pid):
    """To the nanosecond and including ended threads, from the process's own clock."""
    per_process_clock = 2
    return time.clock_gettime((~pid << 3) | per_process_clock)
