"""What a long run's samples and timelines say: drift, growth, gaps, restarts. Times in seconds, one clock for all."""
import statistics

from .process_figures import HEAP_KB_PER_CALL

# Lips and words come apart visibly beyond this.
MOST_DRIFT_MS = 40
DRIFT_WINDOW = 30
FEWEST_SECONDS_OF_A_WINDOW = 5
FIRST_WINDOWS = 3
# Of a second. Beyond it, pictures and sound wait for the machine's host rather than for the camera.
MOST_STOLEN = 0.25
# A source that comes back is tried again within 2 s at most while it has been off for one.
MOST_BLACK_SECONDS = 3
# What a viewer may miss while nothing is restarted; a test may share the machine with others.
MOST_GAP_MS = 1000
MOST_GAP_OF_A_TEST_MS = 3000
# A run on a machine that is mostly taken away shows nothing.
FEWEST_CLEAN = 0.5
# What the lasting calls keep of themselves, such as sent packets and lines of the log, fills up within some minutes. In
# a test that cannot be told from a leak; a call that is never released holds more.
HEAP_KB_OF_A_TEST = 1024
# Resident memory follows the heap, but in steps, and depends on where free blocks happen to lie. It is level only after
# many calls.
PSS_KB_ONCE = 4096
LEVEL_SECONDS = 600
COUNTED = ("descriptors", "threads")
# A connection that just closes, a pool's idle thread: they come and go. What calls or restarts leave adds up to more.
MOST_BY_CHANCE = 2


def stolen_seconds(shares):
    return {int(second) for second, share in shares.items() if share > MOST_STOLEN}


def touches(stolen, begin, end):
    return any(second in stolen for second in range(int(begin), int(end) + 1))


def drift(timeline, stolen=frozenset()):
    """For each width of the picture: how much later than the sound it comes by its timestamps, window by window.

    Of each second the timeline has the least delay of either, because whatever is in the way can only add to it. The
    median of a window leaves out the seconds in which the machine or a source that comes back was busy. A window with a
    stolen second does not count: who works at a backlog is late for longer than the second.
    """
    windows = {}
    of_others = {second // DRIFT_WINDOW for second in stolen}
    for line in timeline:
        if line["second"] // DRIFT_WINDOW in of_others:
            continue
        if line["pictureDelayMs"] is not None and line["soundDelayMs"] is not None and line["frames"]:
            differences = windows.setdefault((line["width"], line["second"] // DRIFT_WINDOW), [])
            differences.append(line["pictureDelayMs"] - line["soundDelayMs"])
    found = {}
    for (width, window), differences in sorted(windows.items()):
        if len(differences) >= FEWEST_SECONDS_OF_A_WINDOW:
            found.setdefault(width, []).append({"second": window * DRIFT_WINDOW, "ms": statistics.median(differences)})
    return found


def summarize_drift(windows):
    """Against the first windows: the last, and the farthest away in between."""
    values = [window["ms"] for window in windows]
    first = statistics.median(values[:FIRST_WINDOWS])
    return {"windows": len(values), "firstMs": first, "lastMs": statistics.median(values[-FIRST_WINDOWS:]),
            "mostMs": max((value - first for value in values), key=abs)}


def gap_over(timeline, moment):
    """The gap between two pictures that a moment falls into, as (begin, end); None if there is none."""
    for line in timeline:
        begin = line["gapEnded"] - line["longestGapMs"] / 1000
        if begin <= moment < line["gapEnded"]:
            return begin, line["gapEnded"]
    return None


def longest_gap(timeline, without, stolen=frozenset()):
    """In ms, apart from the gaps that one of the moments `without` falls into, or a stolen second."""
    longest = 0
    for line in timeline:
        begin, end = line["gapEnded"] - line["longestGapMs"] / 1000, line["gapEnded"]
        if not touches(stolen, begin, end) and not any(begin <= moment < end for moment in without):
            longest = max(longest, line["longestGapMs"])
    return longest


def back_after(timeline, moment):
    """Seconds from a restart of the source until its picture was back, None if it never was."""
    gap = gap_over(timeline, moment)
    return gap[1] - moment if gap else None


def backs(timeline, restarts, stolen):
    """Of the restarts, numbered from 1, that no stolen second touches until the picture is to be back."""
    return [{"restart": number, "seconds": back_after(timeline, restart["on"])}
            for number, restart in enumerate(restarts, 1)
            if not touches(stolen, restart["on"] - 1, restart["on"] + MOST_BLACK_SECONDS)]


def slope(points):
    """The median of the slopes between all pairs of points (x, y), and its 95 % confidence interval.

    Unlike a line of least squares it is not drawn away by a few samples that were taken at a bad moment.
    """
    slopes = sorted((b[1] - a[1]) / (b[0] - a[0])
                    for i, a in enumerate(points) for b in points[i + 1:] if b[0] != a[0])
    if not slopes:
        return None
    count = len(points)
    spread = 1.96 * (count * (count - 1) * (2 * count + 5) / 18) ** 0.5
    low = max(0, int((len(slopes) - spread) / 2))
    return statistics.median(slopes), slopes[low], slopes[len(slopes) - 1 - low]


def quiet_points(samples):
    """One for each round: of the samples taken with the lasting calls alone, the least of every figure."""
    rounds = {}
    for sample in samples:
        if sample["quiet"] is not None:
            rounds.setdefault(sample["quiet"], []).append(sample)
    return [{**{what: min(sample[what] for sample in taken)
                for what in ("heapKb", "pssKb", "rssKb", *COUNTED)},
             "at": taken[0]["at"], "placed": taken[0]["placed"], "round": number}
            for number, taken in sorted(rounds.items())]


def growth(points):
    """From the points after the warm-up; None without any."""
    if not points:
        return None
    third = max(1, len(points) // 3)
    found = {"points": len(points), "calls": points[-1]["placed"] - points[0]["placed"],
             "heapKbPerCall": slope([(point["placed"], point["heapKb"]) for point in points])}
    for what in (*COUNTED, "heapKb", "pssKb", "rssKb"):
        found[what] = {"first": min(point[what] for point in points[:third]),
                       "last": min(point[what] for point in points[-third:])}
    return found


def drift_problems(drifts):
    return [f"{viewer}, picture {width} wide: picture and sound drifted {found['mostMs']:+.1f} ms apart"
            for viewer, widths in drifts.items() for width, found in widths.items()
            if abs(found["mostMs"]) > MOST_DRIFT_MS]


def growth_problems(found, is_long):
    if found is None or found["heapKbPerCall"] is None:
        return ["there are too few samples to tell how the camera grows"]
    problems = [f"{what} grew from {found[what]['first']} to {found[what]['last']}" for what in COUNTED
                if found[what]["last"] > found[what]["first"] + MOST_BY_CHANCE]
    return problems + (memory_problems(found) if is_long else heap_problems_of_a_test(found))


def memory_problems(found):
    problems = []
    middle, low, high = found["heapKbPerCall"]
    # The lower bound: what is not certain is no finding.
    if low > HEAP_KB_PER_CALL:
        problems.append(f"the heap grew by {middle:.2f} kB a call ({low:.2f} to {high:.2f})")
    grown = found["pssKb"]["last"] - found["pssKb"]["first"]
    if grown > PSS_KB_ONCE + HEAP_KB_PER_CALL * found["calls"]:
        problems.append(f"the memory (PSS) grew by {grown} kB in {found['calls']} calls")
    return problems


def heap_problems_of_a_test(found):
    grown = found["heapKb"]["last"] - found["heapKb"]["first"]
    if grown > HEAP_KB_OF_A_TEST + HEAP_KB_PER_CALL * found["calls"]:
        return [f"the heap grew by {grown} kB in {found['calls']} calls"]
    return []


def restart_problems(found):
    return [f"after restart {back['restart']} of the source the picture " +
            ("never came back" if back["seconds"] is None else f"came back after {back['seconds']:.2f} s")
            for back in found if back["seconds"] is None or back["seconds"] > MOST_BLACK_SECONDS]


def gap_problems(gaps, most):
    return [f"{viewer}: {gap:.0f} ms without a picture while nothing was restarted"
            for viewer, gap in gaps.items() if gap > most]


def judge(record, timelines):
    """What a run's record and its viewers' timelines, by name, say. The first of these looks at the source."""
    stolen = stolen_seconds(record["stolenShares"])
    moments = [restart["on"] for restart in record["restarts"]]
    windows = {name: drift(timelines[name], stolen) for name in record["judgedForDrift"]}
    # A relayed call that has just begun holds less than one that has sent for a while.
    young = {restart["round"] for restart in record["turnRestarts"]}
    points = [point for point in quiet_points(record["samples"])
              if point["at"] >= record["warmUpSeconds"] and point["round"] not in young]
    watching = next(iter(timelines.values()))
    watched = range(watching[0]["second"], watching[-1]["second"] + 1) if watching else range(0)
    found = {**record, "mostStolen": MOST_STOLEN, "watchedSeconds": len(watched),
            "stolenSeconds": len(stolen.intersection(watched)), "windows": windows,
            "backs": backs(watching, record["restarts"], stolen),
            "drift": {name: {width: summarize_drift(found) for width, found in widths.items()}
                      for name, widths in windows.items()},
            "longestGapMs": {name: longest_gap(timeline, moments, stolen) for name, timeline in timelines.items()},
            "growth": growth(points)}
    return {**found, "problems": problems(found)}


def stolen_problems(found):
    clean = found["watchedSeconds"] - found["stolenSeconds"]
    return [f"only {clean} of {found['watchedSeconds']} seconds had the whole machine"] \
        if clean < FEWEST_CLEAN * found["watchedSeconds"] else []


def problems(found):
    """Of a whole run, with what was noticed while it lasted."""
    is_long = found["warmUpSeconds"] >= LEVEL_SECONDS
    return [*found["noticed"], *drift_problems(found["drift"]), *restart_problems(found["backs"]),
            *gap_problems(found["longestGapMs"], MOST_GAP_MS if is_long else MOST_GAP_OF_A_TEST_MS),
            *growth_problems(found["growth"], is_long), *(stolen_problems(found) if is_long else [])]
