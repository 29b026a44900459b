"""Session descriptions, read strictly: what breaks RFC 8866's form is an error that names the line."""
import re

FIRST_LINES = "vost"


class SdpError(ValueError):
    pass


class Section:
    """The lines that belong to the session (kind "session") or to one m-line."""

    def __init__(self, kind, lines):
        self.kind = kind
        self.lines = lines

    def values(self, name):
        """The values of an attribute, one for each line of it."""
        prefix = f"a={name}:"
        return [line[len(prefix):] for line in self.lines if line.startswith(prefix)]

    def value(self, name):
        return next(iter(self.values(name)), None)

    def has(self, line):
        return line in self.lines


class Media(Section):
    def __init__(self, lines):
        super().__init__("media", lines)
        words = lines[0][2:].split(" ")
        if len(words) < 4 or not words[1].isdigit():
            raise SdpError(f"not a media line: {lines[0]}")
        self.kind, self.port, self.protocol, self.formats = words[0], int(words[1]), words[2], words[3:]

    @property
    def is_rejected(self):
        return self.port == 0 and not self.has("a=bundle-only")

    def direction(self, default="sendrecv"):
        found = [line[2:] for line in self.lines if line in DIRECTION_LINES]
        if len(found) > 1:
            raise SdpError(f"{self.kind} has {len(found)} directions")
        return found[0] if found else default

    def encoding(self, payload_type):
        for value in self.values("rtpmap"):
            number, _, name = value.partition(" ")
            if number == payload_type:
                return name
        return {"0": "PCMU/8000", "8": "PCMA/8000"}.get(payload_type)


DIRECTION_LINES = {"a=sendrecv", "a=sendonly", "a=recvonly", "a=inactive"}


class Description:
    def __init__(self, text):
        lines = lines_of(text)
        starts = [number for number, line in enumerate(lines) if line.startswith("m=")] + [len(lines)]
        self.session = Section("session", lines[:starts[0]])
        self.media = [Media(lines[start:end]) for start, end in zip(starts, starts[1:])]

    def groups(self):
        """The BUNDLE groups as lists of mids."""
        return [value.split(" ")[1:] for value in self.session.values("group") if value.split(" ")[0] == "BUNDLE"]

    def mids(self):
        return [media.value("mid") for media in self.media]

    def payload_type(self, kind):
        """The first format of the first section of this kind that is not rejected, as a number."""
        media = next((one for one in self.media if one.kind == kind and not one.is_rejected), None)
        return int(media.formats[0]) if media else None


def lines_of(text):
    if not text.endswith("\r\n"):
        raise SdpError("the last line does not end with CR LF")
    lines = text[:-2].split("\r\n")
    for number, line in enumerate(lines, 1):
        if not re.fullmatch(r"[a-z]=[^\r\n\0]+", line):
            raise SdpError(f"line {number} is not of the form x=text: {line!r}")
        if line != line.rstrip(" "):
            raise SdpError(f"line {number} ends with a space: {line!r}")
    found = [line[0] for line in lines if line[0] in FIRST_LINES]
    if "".join(found) != FIRST_LINES or lines[0] != "v=0" or lines[1][0] != "o" or lines[2][0] != "s":
        raise SdpError("v=, o=, s= and t= do not stand there once, in this order")
    return lines


def decline(text, kind):
    """An offer that wants nothing of this kind: the section stays, with port 0 and outside of the BUNDLE group."""
    description = Description(text)
    lines = description.session.lines
    for media in description.media:
        if media.kind != kind:
            lines = lines + media.lines
            continue
        mid = media.value("mid")
        lines = [leave_group(line, mid) for line in lines]
        lines += [f"m={kind} 0 {media.protocol} {media.formats[0]}", "c=IN IP4 0.0.0.0", f"a=mid:{mid}", "a=inactive"]
    return "\r\n".join(lines) + "\r\n"


def leave_group(line, mid):
    if not line.startswith("a=group:BUNDLE "):
        return line
    return " ".join(word for word in line.split(" ") if word != mid)
