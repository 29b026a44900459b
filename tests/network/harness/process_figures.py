"""What a process holds: descriptors, threads, memory, processor time."""
import os

TICKS = os.sysconf("SC_CLK_TCK")


def figures(pid):
    """Memory in kB, processor time in seconds."""
    found = {"descriptors": len(os.listdir(f"/proc/{pid}/fd")), "threads": len(os.listdir(f"/proc/{pid}/task"))}
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        fields = dict(line.split(":", 1) for line in file.read().splitlines()[1:])
    found["rssKb"] = int(fields["Rss"].split()[0])
    found["privateKb"] = int(fields["Private_Dirty"].split()[0])
    found["cpuSeconds"] = cpu_seconds(pid)
    return found


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS
