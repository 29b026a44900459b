"""What holds for every answer, whatever the offer: (the rule, a function that finds what breaks it)."""
import re

from support.sdp import Description

DIRECTIONS = {"sendrecv": ("sendrecv", "sendonly", "recvonly", "inactive"), "sendonly": ("recvonly", "inactive"),
              "recvonly": ("sendonly", "inactive"), "inactive": ("inactive",)}
SETUPS = {"actpass": ("active", "passive"), "active": ("passive",), "passive": ("active",)}
ADDRESS = r"[0-9a-fA-F.:]+|[0-9a-z-]+\.local"
CANDIDATE = re.compile(
    rf"[A-Za-z0-9+/]{{1,32}} [0-9]{{1,3}} (?:UDP|TCP|udp|tcp) [0-9]{{1,10}} (?:{ADDRESS}) [0-9]{{1,5}} "
    rf"typ (?P<type>host|srflx|prflx|relay)(?P<related> raddr (?:{ADDRESS}) rport [0-9]{{1,5}})?(?: [^ ]+ [^ ]+)*")


def default_direction(description):
    found = [line[2:] for line in description.session.lines if line[2:] in DIRECTIONS]
    return found[0] if found else "sendrecv"


def inherited(description, media, name):
    return media.value(name) or description.session.value(name)


def check_sections(offer, answer):
    kinds = [(media.kind, media.protocol) for media in offer.media]
    if [(media.kind, media.protocol) for media in answer.media] != kinds:
        yield "the sections are others, or in another order, than the offer's"


def check_rejected(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        if offered.is_rejected and answered.port != 0:
            yield f"section {number} was offered with port 0 and is answered with {answered.port}"


def check_mids(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.mids(), answer.mids())):
        if offered is not None and answered != offered:
            yield f"section {number} has the mid {answered} instead of {offered}"


def check_groups(offer, answer):
    offered = [set(group) for group in offer.groups()]
    rejected = {media.value("mid") for media in answer.media if media.port == 0}
    for group in answer.groups():
        if not any(set(group) <= one for one in offered):
            yield f"the group {' '.join(group)} is part of none of the offer's"
        if rejected & set(group):
            yield f"the group {' '.join(group)} holds a rejected section"


def check_formats(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        for payload_type in answered.formats:
            if payload_type not in offered.formats:
                yield f"section {number} answers the format {payload_type}, which was not offered"
            elif answered.port and (answered.encoding(payload_type) or "").lower().split("/")[:2] != \
                    (offered.encoding(payload_type) or "").lower().split("/")[:2]:
                yield f"section {number} maps {payload_type} to another codec than the offer"


def check_feedback(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        allowed = {value.strip() for value in offered.values("rtcp-fb")}
        for value in answered.values("rtcp-fb"):
            if value not in allowed and "* " + value.partition(" ")[2] not in allowed:
                yield f"section {number} answers the feedback {value}, which was not offered"


def without_direction(extension):
    return re.sub(r"/\w+(?= )", "", extension)


def check_extensions(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        allowed = {without_direction(value) for value in offered.values("extmap") + offer.session.values("extmap")}
        for value in answered.values("extmap"):
            if without_direction(value) not in allowed:
                yield f"section {number} answers the header extension {value}, which was not offered"


def check_directions(offer, answer):
    default = default_direction(offer)
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        if answered.port and answered.direction() not in DIRECTIONS[offered.direction(default)]:
            yield f"section {number} answers {offered.direction(default)} with {answered.direction()}"


def carrier(offer, answer, media):
    """The section of the offer whose transport the answered section has: the first of its group, or itself."""
    mid = media.value("mid")
    mids = [group[0] for group in answer.groups() if mid in group] or [mid]
    return next((offered for offered in offer.media if mid and offered.value("mid") == mids[0]), None)


def check_setup(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        role = inherited(answer, answered, "setup")
        wanted = inherited(offer, carrier(offer, answer, answered) or offered, "setup") or "active"
        if answered.port and role not in SETUPS.get(wanted, ("active", "passive")):
            yield f"section {number} answers the setup {wanted} with {role}"


def check_security(_, answer):
    for number, media in enumerate(answer.media):
        if not media.port:
            continue
        if not re.fullmatch(r"[A-Za-z0-9+/]{4,256}", inherited(answer, media, "ice-ufrag") or ""):
            yield f"section {number} has no valid ice-ufrag"
        if not re.fullmatch(r"[A-Za-z0-9+/]{22,256}", inherited(answer, media, "ice-pwd") or ""):
            yield f"section {number} has no valid ice-pwd"
        if not re.fullmatch(r"sha-256 [0-9A-F]{2}(:[0-9A-F]{2}){31}", inherited(answer, media, "fingerprint") or ""):
            yield f"section {number} has no valid fingerprint"


def check_bundled(_, answer):
    for group in answer.groups():
        users = {media.value("ice-ufrag") for media in answer.media if media.value("mid") in group} - {None}
        if len(users) > 1:
            yield f"the sections of the group {' '.join(group)} have {len(users)} ICE users"


def check_candidates(_, answer):
    for number, media in enumerate(answer.media):
        for value in media.values("candidate"):
            found = CANDIDATE.fullmatch(value)
            if not found:
                yield f"section {number} has a candidate that is none: {value}"
            elif (found["type"] == "host") == bool(found["related"]):
                yield f"section {number} has a candidate with an address too many or too few: {value}"


def check_multiplexing(offer, answer):
    for number, (offered, answered) in enumerate(zip(offer.media, answer.media)):
        for name in ("a=rtcp-mux", "a=rtcp-rsize"):
            if answered.has(name) and not offered.has(name):
                yield f"section {number} answers {name}, which was not offered"


RULES = (
    ("RFC 3264 6: as many sections as the offer, in its order", check_sections),
    ("RFC 3264 6: a rejected section stays rejected", check_rejected),
    ("RFC 9143 7.3.3: each section keeps its mid", check_mids),
    ("RFC 9143 7.3: a group holds what the offer's holds and nothing rejected", check_groups),
    ("RFC 3264 6.1: formats of the offer only, meaning the same", check_formats),
    ("RFC 4585 4.2: feedback of the offer only", check_feedback),
    ("RFC 8285 6: header extensions of the offer only", check_extensions),
    ("RFC 3264 6.1: the direction fits the offer's", check_directions),
    ("RFC 4145 4.1: the role fits the offer's", check_setup),
    ("RFC 8829 5.3.1: ICE user, password and fingerprint", check_security),
    ("RFC 9143 7.1.3: one ICE user for a group", check_bundled),
    ("RFC 8839 5.1: candidates as they are written", check_candidates),
    ("RFC 5761 5.1.1, RFC 5506 5: multiplexing and reduced reports only if offered", check_multiplexing),
)


def problems(offer_text, answer):
    """What is wrong with an answer whatever the offer asks for. The offer need not be strict."""
    offer = Description("\r\n".join(line.rstrip() for line in offer_text.splitlines()) + "\r\n")
    return [f"{rule}: {problem}" for rule, check in RULES for problem in check(offer, answer)]
