"""What an answer must say, as one line of text each, and how an answer would look that does not say it.

status 201                          the response's status, or several of them: status 201 422
reason H.264                        the refusal's reason holds this text
section 0: port 0                   or: port not 0
section 0: direction sendonly
section 0: formats 96 97
section 0: first format 96
section 0: has a=rtcp-mux           exactly this line
section 0: lacks a=rtcp-rsize       no line that begins so
section 0: matches a=msid:.+        a regular expression for a whole line
session: has, lacks, matches        the same for the lines before the first section
either: has, lacks, matches         the same for the session and the section 0 together
groups 0 1 | 2                      the BUNDLE groups, or: groups none
if answered: ..., if refused: ...   a rule that holds only with, or without, the status 201
"""
import re

from support.sdp import Description, SdpError


class Broken(Exception):
    """The answer does not say what it must."""


class Answer:
    def __init__(self, status, text, reason):
        self.status, self.text, self.reason = status, text, reason
        self.description = None

    def sdp(self):
        if self.status != 201:
            raise Broken(f"refused with {self.status}: {self.reason}")
        if self.description is None:
            try:
                self.description = Description(self.text)
            except SdpError as error:
                raise Broken(f"not a session description: {error}") from error
        return self.description

    def with_text(self, text):
        return Answer(self.status, text, self.reason)


def _demand(holds, problem):
    if not holds:
        raise Broken(problem)


def _lines(answer, place):
    description = answer.sdp()
    if place == "session":
        return description.session.lines
    if place == "either":
        return description.session.lines + description.media[0].lines
    number = int(place.split(" ")[1])
    _demand(number < len(description.media), f"there is no section {number}")
    return description.media[number].lines


def _media(answer, place):
    _lines(answer, place)
    return answer.sdp().media[int(place.split(" ")[1])]


def _check_line(answer, place, verb, text):
    lines = _lines(answer, place)
    if verb == "has":
        _demand(text in lines, f"{place} has no line {text}")
    elif verb == "lacks":
        found = [line for line in lines if line.startswith(text)]
        _demand(not found, f"{place} has {found and found[0]}")
    else:
        _demand(any(re.fullmatch(text, line) for line in lines), f"no line of {place} is like {text}")


def _check_media(answer, place, verb, text):
    media = _media(answer, place)
    if verb == "port":
        wanted_zero = text == "0"
        _demand((media.port == 0) == wanted_zero, f"{place} has port {media.port}")
    elif verb == "direction":
        _demand(media.direction() == text, f"{place} is {media.direction()}")
    elif verb == "formats":
        _demand(media.formats == text.split(" "), f"{place} has the formats {' '.join(media.formats)}")
    else:
        _demand(media.formats[0] == text, f"{place} begins with the format {media.formats[0]}")


MEDIA_RULES = ("port", "direction", "formats", "first format")
LINE_RULES = ("has", "lacks", "matches")


class Rule:
    def __init__(self, text):
        self.text = text
        found = re.match(r"if (answered|refused): ", text)
        self.condition = found and found[1]
        text = text[found.end():] if found else text
        self.place, _, self.what = text.partition(": ")
        self.verb = self.argument = None
        for verb in MEDIA_RULES + LINE_RULES:
            if self.what.startswith(verb + " "):
                self.verb, self.argument = verb, self.what[len(verb) + 1:]
        if not self.verb:
            self.verb, _, self.argument = text.partition(" ")
            if self.verb not in ("status", "reason", "groups"):
                raise ValueError(f"not a rule: {text}")

    def applies(self, answer):
        return not self.condition or (answer.status == 201) == (self.condition == "answered")

    def check(self, answer):
        """Broken says how the answer differs."""
        if self.verb == "status":
            _demand(str(answer.status) in self.argument.split(" "), f"the status is {answer.status}: {answer.reason}")
        elif self.verb == "reason":
            _demand(self.argument in answer.reason, f"the reason is {answer.reason!r}")
        elif self.verb == "groups":
            groups = " | ".join(" ".join(group) for group in answer.sdp().groups()) or "none"
            _demand(groups == self.argument, f"the groups are {groups}")
        elif self.verb in LINE_RULES:
            _check_line(answer, self.place, self.verb, self.argument)
        else:
            _check_media(answer, self.place, self.verb, self.argument)

    def spoil(self, answer):
        """An answer like this one that breaks the rule."""
        if self.verb in ("status", "reason"):
            return Answer(599, answer.text, "no reason")
        description = Description(answer.text)
        head, sections = description.session.lines, [media.lines for media in description.media]
        if self.verb == "groups":
            head = [line for line in head if not line.startswith("a=group:BUNDLE")]
            head += ["a=group:BUNDLE nobody"] if self.argument == "none" else []
        elif self.place == "session":
            head = self._spoil_lines(head)
        elif self.place == "either":
            head, sections[0] = self._spoil_lines(head), self._spoil_lines(sections[0])
        else:
            number = int(self.place.split(" ")[1])
            sections[number] = self._spoil_lines(sections[number])
        return answer.with_text("\r\n".join(head + sum(sections, [])) + "\r\n")

    def _spoil_lines(self, lines):
        if self.verb == "lacks":
            return lines + [self.argument + "x"]
        if self.verb == "has":
            return [line for line in lines if line != self.argument]
        if self.verb == "matches":
            return [line for line in lines if not re.fullmatch(self.argument, line)]
        if self.verb == "direction":
            other = "a=inactive" if self.argument != "inactive" else "a=sendrecv"
            return [line for line in lines if line != f"a={self.argument}"] + [other]
        words = lines[0].split(" ")
        if self.verb == "port":
            words[1] = "9" if self.argument == "0" else "0"
        else:
            words[3:] = ["34"]
        return [" ".join(words)] + lines[1:]
