"""The calls over bad networks: what happens to each, and what it must achieve."""
import signal
import time
from dataclasses import dataclass, field

from . import namespaces, sdk_limits
from .programs import Camera, Viewer, wait_for
from .turn import Turn

FRAMES_A_SECOND = 30
AUDIO_PACKETS_A_SECOND = 50
CONNECT_SECONDS = 40
RELEASE_SECONDS = sdk_limits.seconds("neverConnected")
MOST_ATTEMPTS = 3
DEAD_STUN = "stun:10.77.0.9:3478"
DEAD_TURN = "turn:10.77.0.9:3478"
MOST_SERVERS = 21
MOST_ANSWER_MS = 1000 * sdk_limits.seconds("completeAnswer")
COMPLETE = ("--no-trickle",)


@dataclass
class Programs:
    camera: str
    viewer: str
    link: str


@dataclass
class Outcome:
    """The result of one case: a row of the table, and what went wrong."""
    name: str
    network: str
    seconds: float = 0
    report: dict = None
    camera_states: list = field(default_factory=list)
    came_back: str = "never left"
    notes: str = ""
    problems: list = field(default_factory=list)

    def expect(self, condition, what):
        if not condition:
            self.problems.append(what)

    def call(self):
        return self.report["calls"][0]


class Scene:
    """A network with a running camera in it."""

    def __init__(self, programs, network, camera_options=(), silence_rate=1):
        self._programs = programs
        self.network = network
        options = ["--all-addresses", "--no-token", "--listen", f":{getattr(network, 'http_port', 0)}",
                   "--log-level", "2"]
        self.camera = Camera(programs.camera, [*options, *camera_options], network.command_in,
                             silence_rate=silence_rate)

    def viewer(self, *options):
        # The viewer's buffer covers the longest delay that the links here can add.
        settings = ["--connect-timeout", str(CONNECT_SECONDS), "--jitter-buffer", "250", *options]
        return Viewer(self._programs.viewer, self.camera.url(self.network.camera_address), settings,
                      self.network.command_in)

    def wait_for_state(self, state, seconds=CONNECT_SECONDS, times=1):
        def reached():
            states = [event["data"]["state"] for event in list(self.camera.events) if event["event"] == "state"]
            return states.count(state) >= times

        wait_for(reached, seconds, f"the state {state}")

    def wait_for_sound(self, frames=50, seconds=CONNECT_SECONDS):
        """Waits until the camera has received this many audio frames from the viewer: by then media flows."""
        def heard():
            levels = [event["data"]["frames"] for event in list(self.camera.events) if event["event"] == "level"]
            return levels and levels[-1] >= frames

        wait_for(heard, seconds, f"{frames} frames of the viewer's sound")

    def last_call_states(self):
        calls = self.camera.calls()
        return self.camera.states_of(calls[-1]) if calls else []


def describe_ends(camera, call):
    return [(f"ended: {event['data']['reason']}", None) for event in camera.events_of(call, "ended")]


def finish(outcome, scene):
    """Waits until the camera has released the call, and notes what its application heard."""
    def all_released():
        ended = all(scene.camera.events_of(call, "ended") for call in scene.camera.calls())
        return ended and scene.camera.health()["calls"] == 0

    try:
        wait_for(all_released, RELEASE_SECONDS, "the release of the call")
    except TimeoutError:
        outcome.problems.append("the camera still holds the call")
    for call in scene.camera.calls():
        outcome.camera_states += scene.camera.states_of(call) + describe_ends(scene.camera, call)


def steady(name, text, commands, seconds, frames, audio, viewer_options=()):
    """A call over a link that is equally bad throughout; frames and audio are the shares that must arrive."""
    def case(programs, seed):
        outcome = Outcome(name, text, seconds)
        with namespaces.Network(programs.link, seed) as network:
            scene = Scene(programs, network)
            with scene.camera:
                network.link.set(commands)
                place_until_connected(outcome, scene, "--seconds", str(seconds), *viewer_options)
                finish(outcome, scene)
        check_picture(outcome, frames, audio)
        return outcome

    case.title = name
    return case


def place_until_connected(outcome, scene, *options):
    """Calls again if the call did not connect, as people do: a very bad link may lose a request, too."""
    reason = ""
    for attempt in range(1, MOST_ATTEMPTS + 1):
        outcome.report = scene.viewer(*options).report()
        call = outcome.call()
        if call["ms"]["connected"] is not None:
            outcome.notes = f"connected with call {attempt}, {reason} before" if attempt > 1 else ""
            return
        reason = call["failure"] or "no connection"


def check_picture(outcome, frames, audio):
    call = outcome.call()
    decoded, received = call["video"]["decoded"], call["audio"]["received"]
    outcome.expect(call["ms"]["connected"] is not None, "never connected")
    outcome.expect(decoded >= frames * FRAMES_A_SECOND * outcome.seconds, f"only {decoded} pictures were decoded")
    outcome.expect(received >= audio * AUDIO_PACKETS_A_SECOND * outcome.seconds, f"only {received} audio packets")


def let_pass(seconds):
    """The condition that is measured lasts this long; nothing is awaited."""
    time.sleep(seconds)


def outage(seconds, before, after, same_call):
    """The link goes down in the middle of a call."""
    def case(programs, seed):
        total = before + seconds + after
        outcome = Outcome(f"outage of {seconds} s", f"nothing passes for {seconds} s", total)
        with namespaces.Network(programs.link, seed) as network:
            scene = Scene(programs, network)
            with scene.camera:
                viewer = scene.viewer("--seconds", str(total))
                scene.wait_for_state("connected")
                let_pass(before)
                network.link.set("down")
                let_pass(seconds)
                network.link.set("up")
                outcome.report = viewer.report()
                call_ms = outcome.call()["ms"]
                has_ended = bool(outcome.call()["ended"]) or not same_call
                if has_ended:
                    again = scene.viewer("--seconds", "3").report()["calls"][0]
                    outcome.came_back = f"with a new call, {again['ms']['firstDecoded']:.0f} ms after its offer"
                    outcome.expect(again["video"]["decoded"] > 0, "no picture in the new call")
                else:
                    outcome.came_back = f"by itself, after {outcome.call()['video']['largestGapMs'] / 1000:.1f} s"
                finish(outcome, scene)
        if same_call:
            outcome.expect(not has_ended, "the camera gave the call up")
            last = (call_ms["lastFrame"] - call_ms["connected"]) / 1000
            outcome.expect(last > total - 1, f"the picture stopped {last:.1f} s into the call")
        return outcome

    case.title = f"outage of {seconds} s"
    return case


def killed(silence_rate):
    """The SDK takes 30 s to notice; the stand-in can be faster, in runs that publish no figure."""
    def case(programs, seed):
        outcome = Outcome("viewer killed", "the viewer's process disappears", 3)
        with namespaces.Network(programs.link, seed) as network:
            scene = Scene(programs, network, silence_rate=silence_rate)
            with scene.camera:
                viewer = scene.viewer("--keep")
                scene.wait_for_state("connected")
                scene.wait_for_sound()
                killed_at = time.monotonic()
                viewer.kill()
                finish(outcome, scene)
                noticed = [event["at"] - killed_at for event in scene.camera.events if event["event"] == "ended"]
                outcome.came_back = f"call released {noticed[0]:.1f} s later" if noticed else "call not released"
                limit = sdk_limits.seconds("vanished")
                outcome.expect(noticed and noticed[0] < limit, f"the camera did not notice within {limit} s")
        return outcome

    case.title = "viewer killed"
    return case


def suspended(seconds):
    """The viewer stops running: a phone in a pocket, a closed lid."""
    def case(programs, seed):
        outcome = Outcome(f"viewer suspended for {seconds} s", "no packet is read or sent by the viewer", seconds + 6)
        with namespaces.Network(programs.link, seed) as network:
            scene = Scene(programs, network)
            with scene.camera:
                viewer = scene.viewer("--seconds", str(outcome.seconds))
                scene.wait_for_state("connected")
                scene.wait_for_sound()
                viewer.signal(signal.SIGSTOP)
                let_pass(seconds)
                viewer.signal(signal.SIGCONT)
                outcome.report = viewer.report()
                outcome.came_back = f"by itself, after {outcome.call()['video']['largestGapMs'] / 1000:.1f} s"
                outcome.expect(not outcome.call()["ended"], "the camera gave the call up")
                finish(outcome, scene)
        return outcome

    case.title = f"viewer suspended for {seconds} s"
    return case


def viewer_behind_nat(programs, seed):
    outcome = Outcome("viewer behind NAT", "address translation before the viewer, camera reachable", 5)
    with namespaces.ViewerBehindNat(programs.link, seed) as network:
        scene = Scene(programs, network)
        with scene.camera:
            outcome.report = scene.viewer("--seconds", "5").report()
            finish(outcome, scene)
            log = " ".join(scene.camera.log_of(scene.camera.calls()[0]))
            outcome.expect("Remote Candidate type: prflx" in log, "the log does not name a peer-reflexive candidate")
    check_picture(outcome, 0.8, 0.8)
    outcome.notes = pair(outcome)
    return outcome


viewer_behind_nat.title = "viewer behind NAT"


def both_behind_nat(programs, seed):
    outcome = Outcome("both behind NAT", "translation on both sides, a TURN server between, a dead one beside it", 5)
    with namespaces.BothBehindNat(programs.link, seed) as network, \
            Turn(network, "gate", namespaces.VIEWER_ADDRESS) as turn:
        dead = ["--ice-server", f"{DEAD_TURN},{turn.user},{turn.password}"]
        scene = Scene(programs, network, [*dead, *turn.option()])
        with scene.camera:
            outcome.report = scene.viewer("--seconds", "5", *turn.option()).report()
            finish(outcome, scene)
            log = scene.camera.log_of(scene.camera.calls()[0])
            named = [line.split("Candidate ")[1] for line in log if "Candidate type:" in line]
            outcome.expect(len(named) == 2, "the log does not name the pair")
    check_picture(outcome, 0.6, 0.6)
    outcome.notes = pair(outcome) + "; the log says " + ", ".join(named)
    return outcome


both_behind_nat.title = "both behind NAT"


def servers(name, text, camera_options, viewer_options, expected_log):
    """A call of a camera whose servers are all dead."""
    def case(programs, seed):
        outcome = Outcome(name, text, 3)
        with namespaces.Network(programs.link, seed) as network:
            scene = Scene(programs, network, camera_options)
            with scene.camera:
                outcome.report = scene.viewer("--seconds", "3", *viewer_options).report()
                finish(outcome, scene)
                log = "\n".join(scene.camera.log_of(scene.camera.calls()[0]))
                for line in expected_log:
                    outcome.expect(line in log, f"the log lacks \"{line}\"")
        check_picture(outcome, 0.8, 0.8)
        answer = outcome.call()["ms"]["answer"]
        outcome.expect(answer is not None and answer < MOST_ANSWER_MS, f"the answer took {answer} ms")
        return outcome

    case.title = name
    return case


def pair(outcome):
    transport = outcome.call()["transport"]
    return f"viewer {transport['local']}, camera {transport['remote']}, {transport['protocol']}"


SHORT = [
    steady("5 % loss", "5 % of the packets lost, both ways", "loss 5", 5, 0.7, 0.8),
    steady("delay", "200 ms delay, 50 ms jitter, both ways", "delay 200 50", 5, 0.7, 0.8),
    outage(3, 2, 4, same_call=True),
    killed(silence_rate=10),
    viewer_behind_nat,
]

FULL = [
    steady("clear", "nothing is done to the packets", "clear", 20, 0.95, 0.95),
    steady("1 % loss", "1 % of the packets lost, both ways", "loss 1", 20, 0.95, 0.95),
    steady("5 % loss", "5 % of the packets lost, both ways", "loss 5", 20, 0.9, 0.9),
    steady("20 % loss", "20 % of the packets lost, both ways", "loss 20", 20, 0.2, 0.6),
    steady("delay", "200 ms delay, 50 ms jitter, both ways", "delay 200 50", 20, 0.8, 0.8),
    steady("reordering", "10 % of the packets held back by 20 ms and overtaken", "delay 20 0,reorder 10 20", 20, 0.9, 0.9),
    steady("500 kbit/s, 640x360", "500 kbit/s each way, 64 KB queue", "rate 500 65536", 20, 0.1, 0.1),
    steady("200 kbit/s, 1280x720", "200 kbit/s each way, a stream that does not fit", "rate 200 65536", 20, 0, 0,
           ("--stream", "0")),
    outage(3, 5, 10, same_call=True),
    outage(60, 5, 5, same_call=False),
    killed(silence_rate=1),
    suspended(3),
    suspended(20),
    viewer_behind_nat,
    both_behind_nat,
    servers("dead STUN server", "complete answer, the camera's only server does not exist",
            ["--ice-server", DEAD_STUN], COMPLETE, ["add iceserver"]),
    servers("dead TURN server", "complete answer, the camera's only server does not exist",
            ["--ice-server", DEAD_TURN + ",user,secret"], COMPLETE, ["add iceserver"]),
    servers("21 dead servers", "complete answer, as many servers as the SDK takes",
            ["--ice-server", DEAD_TURN + ",user,secret"] * MOST_SERVERS, COMPLETE, ["add iceserver"]),
    servers("voice assistant", "--assistant-call: server, relay only and complete answer are overridden",
            ["--assistant-call", "--relay-only", "--ice-server", DEAD_STUN], COMPLETE, ["call from alexa"]),
]
