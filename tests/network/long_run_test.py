#!/usr/bin/env python3
"""What the long run's samples and timelines say, on samples and timelines made up for it."""
import os
import random
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import long_run, stolen_time  # noqa: E402  (the path above makes it importable)


def line(second, picture_ms=3.0, sound_ms=1.0, width=640, gap_ms=33.0):
    return {"second": second, "frames": 30, "width": width, "longestGapMs": gap_ms, "gapEnded": second + 0.5,
            "soundPackets": 50, "pictureDelayMs": picture_ms, "soundDelayMs": sound_ms}


def drift_of(timeline):
    return {"a viewer": {width: long_run.summarize_drift(windows)
                         for width, windows in long_run.drift(timeline).items()}}


class Drift(unittest.TestCase):
    def test_a_constant_difference_is_none(self):
        found = drift_of([line(second, picture_ms=120) for second in range(600)])
        self.assertEqual(found["a viewer"][640]["firstMs"], 119)
        self.assertEqual(found["a viewer"][640]["mostMs"], 0)
        self.assertEqual(long_run.drift_problems(found), [])

    def test_a_slow_one_is_found(self):
        found = drift_of([line(second, picture_ms=3 + second * 60 / 600) for second in range(600)])
        self.assertEqual(long_run.drift_problems(found),
                         ["a viewer, picture 640 wide: picture and sound drifted +54.0 ms apart"])

    def test_sound_that_falls_behind_is_found_too(self):
        found = drift_of([line(second, sound_ms=1 + second * 60 / 600) for second in range(600)])
        self.assertLess(found["a viewer"][640]["mostMs"], -long_run.MOST_DRIFT_MS)

    def test_one_that_goes_back_is_found(self):
        found = drift_of([line(second, picture_ms=60 if 300 <= second < 330 else 3) for second in range(600)])
        self.assertEqual(found["a viewer"][640]["lastMs"], 2)
        self.assertEqual(found["a viewer"][640]["mostMs"], 57)

    def test_seconds_in_which_packets_wait_are_none(self):
        found = drift_of([line(second, picture_ms=200 if second % 30 < 14 else 3) for second in range(600)])
        self.assertEqual(found["a viewer"][640]["mostMs"], 0)

    def test_each_size_of_the_picture_counts_by_itself(self):
        found = drift_of([line(second, 3 if second < 300 else 90, width=640 if second < 300 else 1280)
                          for second in range(600)])
        self.assertEqual(sorted(found["a viewer"]), [640, 1280])
        self.assertEqual(long_run.drift_problems(found), [])

    def test_a_window_that_is_mostly_missing_says_nothing(self):
        timeline = [line(second) for second in range(600)]
        for missing in timeline[90:116]:
            missing["pictureDelayMs"] = None
        for late in timeline[116:120]:
            late["pictureDelayMs"] = 900
        self.assertEqual(drift_of(timeline)["a viewer"][640], {"windows": 19, "firstMs": 2, "lastMs": 2, "mostMs": 0})


class Gaps(unittest.TestCase):
    timeline = [line(10), line(11, gap_ms=700), line(14, gap_ms=2500), line(20, gap_ms=400)]

    def test_the_gap_of_a_restart_is_found(self):
        self.assertEqual(long_run.gap_over(self.timeline, 13), (12, 14.5))
        self.assertIsNone(long_run.gap_over(self.timeline, 15))

    def test_the_longest_one_is_told_apart_from_the_restarts(self):
        self.assertEqual(long_run.longest_gap(self.timeline, []), 2500)
        self.assertEqual(long_run.longest_gap(self.timeline, [13]), 700)

    def test_one_that_is_too_long_is_a_problem(self):
        self.assertEqual(long_run.gap_problems({"a viewer": 1500}, 1000),
                         ["a viewer: 1500 ms without a picture while nothing was restarted"])
        self.assertEqual(long_run.gap_problems({"a viewer": 900}, 1000), [])

    def test_a_picture_that_stays_away_is_a_problem(self):
        self.assertEqual(long_run.restart_problems([{"restart": number, "seconds": seconds}
                                                    for number, seconds in enumerate((0.7, 3.5, None), 1)]),
                         ["after restart 2 of the source the picture came back after 3.50 s",
                          "after restart 3 of the source the picture never came back"])


class StolenTime(unittest.TestCase):
    """A machine of which others take their share."""

    def test_each_second_between_two_looks_has_the_same_share(self):
        share = stolen_time.share_by_second
        self.assertEqual(share(10.002, (50, 1000), 11.001, (110, 1200)), {10: 0.3})
        self.assertEqual(share(10.0, (50, 1000), 13.4, (400, 1700)), {10: 0.5, 11: 0.5, 12: 0.5})
        self.assertEqual(share(10.0, (50, 1000), 10.9999, (100, 1200)), {10: 0.25}, "a look that comes early")
        self.assertEqual(share(10.0, (50, 1000), 11.0, (50, 1200)), {})

    def test_a_little_of_a_second_does_not_matter(self):
        self.assertEqual(long_run.stolen_seconds({"10": 0.2, "11": 0.3}), {11})

    def test_its_half_minute_does_not_count_as_drift(self):
        timeline = [line(second, picture_ms=900 if 300 <= second < 330 else 3) for second in range(600)]
        self.assertEqual(drift_of(timeline)["a viewer"][640]["mostMs"], 897)
        self.assertEqual(long_run.summarize_drift(long_run.drift(timeline, {299, 330})[640])["mostMs"], 897)
        self.assertEqual(long_run.summarize_drift(long_run.drift(timeline, {300})[640])["mostMs"], 0)

    def test_a_gap_that_it_touches_does_not_count(self):
        self.assertEqual(long_run.longest_gap(Gaps.timeline, [], {12}), 700)
        self.assertEqual(long_run.longest_gap(Gaps.timeline, [], {14}), 700)
        self.assertEqual(long_run.longest_gap(Gaps.timeline, [], {15}), 2500)

    def test_a_restart_that_it_touches_does_not_count(self):
        restarts = [{"on": 13}, {"on": 30}]
        found = long_run.backs(Gaps.timeline, restarts, set())
        self.assertEqual(found, [{"restart": 1, "seconds": 1.5}, {"restart": 2, "seconds": None}])
        self.assertEqual(long_run.backs(Gaps.timeline, restarts, {33}), found[:1])
        self.assertEqual(long_run.backs(Gaps.timeline, restarts, {12}), found[1:])

    def test_an_hour_that_is_mostly_stolen_shows_nothing(self):
        self.assertEqual(long_run.stolen_problems({"watchedSeconds": 100, "stolenSeconds": 51}),
                         ["only 49 of 100 seconds had the whole machine"])
        self.assertEqual(long_run.stolen_problems({"watchedSeconds": 100, "stolenSeconds": 50}), [])

    def test_a_viewer_that_saw_nothing_is_judged(self):
        record = {"stolenShares": {}, "restarts": [], "turnRestarts": [], "judgedForDrift": ["a viewer"],
                  "samples": [], "warmUpSeconds": 600, "noticed": ["a viewer saw nothing"]}
        found = long_run.judge(record, {"a viewer": []})
        self.assertEqual(found["problems"], ["a viewer saw nothing",
                                             "there are too few samples to tell how the camera grows"])


def point(number, calls=14, heap=20000.0, descriptors=50, threads=60, pss=60000):
    return {"at": 60 * number, "placed": calls * number, "heapKb": heap, "pssKb": pss, "rssKb": pss + 20000,
            "descriptors": descriptors, "threads": threads}


NOISE_KB = 300


class Growth(unittest.TestCase):
    ROUNDS = 50

    def noisy(self, kb_per_call):
        """The heap of a real camera differs by so much from round to round."""
        chance = random.Random(2)
        return [point(number, heap=20000 + chance.uniform(-NOISE_KB, NOISE_KB) + kb_per_call * 14 * number)
                for number in range(self.ROUNDS)]

    def problems(self, points):
        return long_run.growth_problems(long_run.growth(points), True)

    def test_noise_alone_is_no_growth(self):
        self.assertEqual(self.problems(self.noisy(0)), [])

    def test_the_engines_own_growth_is_allowed(self):
        self.assertEqual(self.problems(self.noisy(2.5)), [])

    def test_one_kilobyte_a_call_more_than_that_is_found(self):
        self.assertRegex(self.problems(self.noisy(long_run.HEAP_KB_PER_CALL + 1))[0], "the heap grew by .* kB a call")

    def test_one_kilobyte_a_call_is_told_from_none(self):
        _, low, _ = long_run.growth(self.noisy(1))["heapKbPerCall"]
        self.assertGreater(low, 0)

    def test_a_descriptor_that_each_restart_leaves_is_found(self):
        points = [point(number, descriptors=50 + number) for number in range(6)]
        self.assertEqual(self.problems(points), ["descriptors grew from 50 to 54"])

    def test_a_thread_that_comes_and_goes_is_none(self):
        self.assertEqual(self.problems([point(number, threads=60 + number // 4) for number in range(6)]), [])

    def test_memory_that_grows_beside_the_heap_is_found(self):
        points = [point(number, pss=60000 + 300 * number) for number in range(self.ROUNDS)]
        self.assertEqual(self.problems(points), ["the memory (PSS) grew by 10200 kB in 686 calls"])
        self.assertEqual(long_run.growth_problems(long_run.growth(points), False), [])

    def test_in_a_test_what_fills_up_is_no_growth(self):
        points = [point(number, heap=20000 + 200 * number) for number in range(6)]
        self.assertEqual(long_run.growth_problems(long_run.growth(points), False), [])

    def test_in_a_test_calls_that_are_never_released_are_found(self):
        points = [point(number, heap=20000 + 1000 * number) for number in range(6)]
        self.assertEqual(long_run.growth_problems(long_run.growth(points), False),
                         ["the heap grew by 4000 kB in 70 calls"])

    def test_the_least_of_a_rest_counts(self):
        samples = [{**point(0, heap=heap), "quiet": quiet}
                   for quiet, heap in ((0, 300), (0, 200), (None, 100), (1, 500))]
        self.assertEqual([rest["heapKb"] for rest in long_run.quiet_points(samples)], [200, 500])


if __name__ == "__main__":
    unittest.main()
