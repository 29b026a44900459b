"""Offers that are a little, or very, wrong: right ones with a few random changes, the same for the same seed."""
import random

MOST_CHANGES = 4
LONGEST = 60000
NUMBERS = ("-1", "0", "1", "64", "127", "128", "255", "256", "65535", "65536", "4294967296", "9" * 30)
LINES = ("m=video 9 UDP/TLS/RTP/SAVPF 96", "m=audio 0 UDP/TLS/RTP/SAVPF 0", "m=video", "m=", "m=video 9", "a=mid:0",
         "a=group:BUNDLE 0 1", "a=group:BUNDLE", "a=setup:holdconn", "a=bundle-only", "a=rtpmap:96", "a=rtpmap:96 H264",
         "a=fmtp:96", "a=fmtp:0 =;=;;", "a=rtcp-fb:* nack", "a=extmap:1", "a=ssrc:1 msid", "a=ssrc-group:FID 1 1",
         "a=candidate:", "a=candidate:1 1 udp 1 127.0.0.1 99999 typ host", "a=fingerprint:sha-256 00", "a=ice-ufrag:",
         "a=ice-options:", "a=end-of-candidates", "a=msid:", "a=sendrecv", "a=inactive", "a", "=", "",
         "a=" + "x" * 5000, "a=mid:" + "m" * 300, "v=0", "s=", "c=IN IP6 ::1", "t=",
         "a=crypto:1 AES_CM_128_HMAC_SHA1_80 inline:x", "a=rid:1 recv", "a=simulcast:recv 1", "a=sctp-port:5000",
         "\u00e4\u00f6\u00fc", "a=mid:\u20ac", "a=mid:%s%n")


def _drop(lines, at, _):
    del lines[at]


def _double(lines, at, _):
    lines.insert(at, lines[at])


def _exchange(lines, at, chance):
    other = chance.randrange(len(lines))
    lines[at], lines[other] = lines[other], lines[at]


def _insert(lines, at, chance):
    lines.insert(at, chance.choice(LINES))


def _shorten(lines, at, chance):
    lines[at] = lines[at][:chance.randrange(len(lines[at]) + 1)]


def _change_character(lines, at, chance):
    line = lines[at] or "a"
    where = chance.randrange(len(line))
    lines[at] = line[:where] + chr(chance.randrange(1, 256)) + line[where + 1:]


def _change_number(lines, at, chance):
    words = lines[at].split(" ")
    words[chance.randrange(len(words))] = chance.choice(NUMBERS)
    lines[at] = " ".join(words)


def _drop_word(lines, at, chance):
    words = lines[at].split(" ")
    del words[chance.randrange(len(words))]
    lines[at] = " ".join(words)


def _repeat_block(lines, at, chance):
    block = lines[at:at + chance.randrange(1, 20)]
    lines[at:at] = block * chance.randrange(1, 8)


def _cut_off(lines, at, _):
    del lines[at:]


CHANGES = (_drop, _double, _exchange, _insert, _shorten, _change_character, _change_number, _drop_word, _repeat_block)
RARE_CHANGES = (_cut_off,)


class Mutation:
    """An endless supply of offers as bytes."""

    def __init__(self, seed, offers):
        self._chance = random.Random(seed)
        self._offers = [offer.splitlines() for offer in offers]

    def next(self):
        chance = self._chance
        lines = list(chance.choice(self._offers))
        if chance.random() < 0.1:  # the head of one, the rest of another
            other = chance.choice(self._offers)
            lines = lines[:chance.randrange(len(lines))] + other[chance.randrange(len(other)):]
        for _ in range(chance.randrange(1, MOST_CHANGES + 1)):
            if lines:
                change = chance.choice(CHANGES if chance.random() < 0.95 else RARE_CHANGES)
                change(lines, chance.randrange(len(lines)), chance)
        end = "\n" if chance.random() < 0.1 else "\r\n"
        return "".join(line + end for line in lines).encode()[:LONGEST]
