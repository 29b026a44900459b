"""The offers, read from their files, with what stands for many lines in each of them put in."""
import os
import re

from answers.rules import Rule

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "offers")

SESSION = """v=0
o=- 4611731400430051336 2 IN IP4 127.0.0.1
s=-
t=0 0"""
ICE = """a=ice-ufrag:vwVw
a=ice-pwd:9zYn8aPq3dRk7LmT2xWc5vBh"""
FINGERPRINT = "a=fingerprint:sha-256 " + ":".join(["7B", "8D", "F0", "65"] * 8)
SECURITY = f"""c=IN IP4 0.0.0.0
{ICE}
{FINGERPRINT}
a=setup:actpass
a=rtcp-mux"""


def h264(payload_type):
    return f"""a=rtpmap:{payload_type} H264/90000
a=fmtp:{payload_type} level-asymmetry-allowed=1;packetization-mode=1;profile-level-id=42e01f
a=rtcp-fb:{payload_type} nack
a=rtcp-fb:{payload_type} nack pli
a=rtcp-fb:{payload_type} ccm fir"""


PCMU = "a=rtpmap:0 PCMU/8000"
VIDEO = f"""m=video 9 UDP/TLS/RTP/SAVPF 96
{SECURITY}
a=mid:0
a=recvonly
{h264(96)}"""
AUDIO = f"""m=audio 9 UDP/TLS/RTP/SAVPF 0
{SECURITY}
a=mid:1
a=sendrecv
{PCMU}"""
WORDS = {"session": SESSION, "ice": ICE, "fingerprint": FINGERPRINT, "security": SECURITY, "pcmu": PCMU, "video": VIDEO,
         "audio": AUDIO, "space": " "}


def expand(text):
    text = re.sub(r"\{h264 (\d+)\}", lambda found: h264(found[1]), text)
    for word, lines in WORDS.items():
        text = text.replace("{" + word + "}", lines)
    return text


class Case:
    def __init__(self, name, head, offer, rules):
        self.name = name
        self.source, *options = head.strip().splitlines()
        options = dict(option.split(": ") for option in options)
        self.by = options.get("by", "whep")
        self.times = int(options.get("times", 1))
        end = "\n" if options.get("ends") == "LF" else "\r\n"
        self.offer = expand(offer).strip("\n").replace("\n", end) + end
        self.rules = [Rule(expand(rule)) for rule in rules.strip().splitlines()]


def all_cases():
    cases = []
    for name in sorted(os.listdir(FOLDER)):
        with open(os.path.join(FOLDER, name), encoding="utf-8") as file:
            for block in re.split(r"^=== ", file.read(), flags=re.MULTILINE)[1:]:
                title, rest = block.split("\n", 1)
                head, rest = rest.split("--- offer\n", 1)
                cases.append(Case(title, head, *rest.split("--- answer\n", 1)))
    return cases
