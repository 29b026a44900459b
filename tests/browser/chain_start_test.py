#!/usr/bin/env python3
"""What the parts of the chain are told, and when the camera is called again, without starting any of them."""
import os
import sys
import tempfile
import types
import unittest
from unittest import mock

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "apps", "chain"))
import run_chain  # noqa: E402  (the path above makes it importable)


class EnoughCalls(Exception):
    """Ends what would go on for ever."""


class NoParts:
    """Starts nothing. Each program has ended when it is looked at, the feeder after so many looks."""

    def __init__(self, *looks_of_feeder):
        self._looks = list(looks_of_feeder)

    def start(self, _name, _command, **_more):
        process = mock.Mock()
        process.stdout.readline.return_value = "listening on http://127.0.0.1:8090/"
        looks = self._looks.pop(0) if self._looks else 0
        process.poll.side_effect = [None] * looks + [0]
        return process

    def forget(self, _name):
        pass

    def expect_all(self, but=None):
        pass


def options(*arguments):
    programs = ["--camera-program", "camera", "--viewer-program", "viewer"]
    with mock.patch.object(sys, "argv", ["run-chain", *programs, *arguments]):
        return run_chain.read_options()


def janus_file(*arguments):
    """Janus' own settings for these options of run-chain."""
    with tempfile.TemporaryDirectory() as folder, mock.patch.object(run_chain, "wait_until_served"):
        run_chain.start_server(NoParts(), options(*arguments), folder, 5004)
        with open(os.path.join(folder, "janus", "janus.jcfg"), encoding="ascii") as file:
            return file.read()


def pauses(*calls):
    """Between calls that last so many looks; as many as there are calls."""
    clock = types.SimpleNamespace(now=0.0, slept=[])

    def sleep(seconds):
        clock.now += seconds
        if seconds != run_chain.LOOK_SECONDS:
            clock.slept.append(seconds)
            if len(clock.slept) == len(calls):
                raise EnoughCalls

    with mock.patch.object(run_chain.time, "sleep", sleep), mock.patch.object(run_chain, "say"), \
            mock.patch.object(run_chain.time, "monotonic", lambda: clock.now):
        try:
            run_chain.keep_feeding(NoParts(*calls), ["viewer"])
        except EnoughCalls:
            pass
    return clock.slept


class Addresses(unittest.TestCase):
    def test_picture_and_sound_are_where_the_page_is(self):
        text = janus_file("--listen", "192.0.2.5:8090")
        self.assertIn('ice_enforce_list = "192.0.2.5"', text)
        self.assertNotIn("nat_1_1_mapping", text)

    def test_they_are_everywhere_when_the_page_is(self):
        self.assertNotIn("ice_enforce_list", janus_file("--listen", "0.0.0.0:8090"))

    def test_they_have_an_address_of_their_own_behind_a_proxy(self):
        self.assertIn('ice_enforce_list = "192.0.2.7"', janus_file("--media", "192.0.2.7"))
        self.assertNotIn("ice_enforce_list", janus_file("--media", "0.0.0.0"))

    def test_viewers_are_told_the_router_s(self):
        self.assertIn('nat_1_1_mapping = "203.0.113.5"', janus_file("--public-address", "203.0.113.5"))


class Feeder(unittest.TestCase):
    def command(self, *arguments):
        return run_chain.feeder_command(options(*arguments), "http://camera:8080", 5004)

    def test_passes_on_to_the_ports_of_picture_and_sound(self):
        self.assertEqual(self.command(), ["viewer", "http://camera:8080", "--keep", "--pass-on",
                                          "127.0.0.1:5004,127.0.0.1:5006"])

    def test_is_told_stream_token_and_certificate(self):
        self.assertEqual(self.command("--stream", "0", "--token-file", "token", "--certificate", "camera.pem")[5:],
                         ["--stream", "0", "--token-file", "token", "--certificate", "camera.pem"])


class Pauses(unittest.TestCase):
    LONG = round(2 * run_chain.GOOD_CALL_SECONDS / run_chain.LOOK_SECONDS)

    def test_grow_up_to_the_longest(self):
        self.assertEqual(pauses(0, 0, 0, 0, 0, 0), [0.5, 1, 2, 4, 8, 8])

    def test_begin_anew_after_a_call_that_has_worked(self):
        self.assertEqual(pauses(0, 0, self.LONG, 0), [0.5, 1, 0.5, 1])


if __name__ == "__main__":
    unittest.main()
