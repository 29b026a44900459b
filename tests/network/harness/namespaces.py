"""Networks made of network namespaces. Each has a camera side and a viewer side with an adjustable link between."""
import json
import os
import signal
import subprocess
import sys

CAMERA_ADDRESS = "10.77.0.1"
VIEWER_ADDRESS = "10.77.0.2"
HIDDEN_CAMERA = "192.168.1.2"
HIDDEN_VIEWER = "192.168.2.2"
# What CTest takes for "skipped".
SKIPPED = 77


def missing_ability():
    """Why these tests cannot run on this machine; None if they can."""
    if os.geteuid() != 0:
        return "network namespaces need root"
    if not os.access("/dev/net/tun", os.R_OK | os.W_OK):
        return "there is no /dev/net/tun"
    name = f"zelrtc{os.getpid()}probe"
    try:
        made = subprocess.run(["ip", "netns", "add", name], capture_output=True, text=True)
        if made.returncode != 0:
            return "network namespaces cannot be made: " + made.stderr.strip()
        # A plain chroot can make them, but not enter them.
        entered = subprocess.run(["ip", "netns", "exec", name, "true"], capture_output=True, text=True)
        subprocess.run(["ip", "netns", "del", name], check=True)
        if entered.returncode != 0:
            return "network namespaces cannot be entered: " + entered.stderr.strip()
        subprocess.run(["nft", "--version"], capture_output=True, check=True)
    except FileNotFoundError as missing:
        return f"{missing.filename} is not installed"
    return None


def prepare_or_skip():
    """For the main program, before it makes any: ends it where there can be none."""
    clean_up_when_terminated()
    missing = missing_ability()
    if missing:
        print(f"SKIPPED: {missing}")
        sys.exit(SKIPPED)


def clean_up_when_terminated():
    """Lets the with statements remove their namespaces even when the test is stopped from outside."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))


def run(*command, text=None):
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {done.stderr.strip()}")


class Link:
    """The emulator between two namespaces; commands change its conditions."""

    def __init__(self, program, left, right, seed):
        self._process = subprocess.Popen([program, "--left", left, "--right", right, "--seed", str(seed)],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self._process.stdout.readline() != "ready\n":
            raise RuntimeError("the link did not start")

    def _ask(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()
        return self._process.stdout.readline().strip()

    def set(self, commands):
        answer = self._ask(commands)
        if answer != "ok":
            raise RuntimeError(answer)

    def counters(self):
        return json.loads(self._ask("counters"))

    def close(self):
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()


class Network:
    """camera --link-- viewer. For use in a with statement, which removes every trace at its end."""

    camera_address = CAMERA_ADDRESS
    viewer_address = VIEWER_ADDRESS

    def __init__(self, link_program, seed=1):
        self._program = link_program
        self._seed = seed
        self._prefix = f"zelrtc{os.getpid()}"
        self._made = []
        self.link = None

    def namespace(self, role):
        return f"{self._prefix}{role}"

    def command_in(self, role, command):
        return ["ip", "netns", "exec", self.namespace(role), *command]

    def _add(self, role):
        run("ip", "netns", "add", self.namespace(role))
        self._made.append(role)
        run("ip", "-n", self.namespace(role), "link", "set", "lo", "up")

    def _join(self, left, right):
        self.link = Link(self._program, self.namespace(left), self.namespace(right), self._seed)
        for role, address in ((left, CAMERA_ADDRESS), (right, VIEWER_ADDRESS)):
            run("ip", "-n", self.namespace(role), "address", "add", address + "/24", "dev", "link0")
            run("ip", "-n", self.namespace(role), "link", "set", "link0", "up")

    def _build(self):
        self._add("camera")
        self._add("viewer")
        self._join("camera", "viewer")

    def __enter__(self):
        try:
            self._build()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *unused):
        if self.link:
            self.link.close()
        for role in reversed(self._made):
            subprocess.run(["ip", "netns", "del", self.namespace(role)], check=False)

    def _hide(self, role, gate, address):
        """Puts a role behind its gate: a small network of its own, with its address translated on the way out."""
        gateway = address.rsplit(".", 1)[0] + ".1"
        inside, outside = self.namespace(role), self.namespace(gate)
        run("ip", "-n", inside, "link", "add", "eth0", "type", "veth", "peer", "name", "lan0", "netns", outside)
        run("ip", "-n", outside, "address", "add", gateway + "/24", "dev", "lan0")
        run("ip", "-n", outside, "link", "set", "lan0", "up")
        run("ip", "-n", inside, "address", "add", address + "/24", "dev", "eth0")
        run("ip", "-n", inside, "link", "set", "eth0", "up")
        run("ip", "-n", inside, "route", "add", "default", "via", gateway)
        run("ip", "netns", "exec", outside, "sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward")
        run("ip", "netns", "exec", outside, "nft", "-f", "-", text="""
            table ip translation {
                chain out { type nat hook postrouting priority 100; oifname "link0" masquerade; }
            }
            table ip firewall {
                chain forward {
                    type filter hook forward priority 0;
                    ct status dnat accept
                    iifname "link0" ct state new drop
                }
            }""")


class ViewerBehindNat(Network):
    """camera --link-- gate (translates) -- viewer: the viewer has a private address."""

    def _build(self):
        for role in ("camera", "gate", "viewer"):
            self._add(role)
        self._join("camera", "gate")
        self._hide("viewer", "gate", HIDDEN_VIEWER)
        self.viewer_address = HIDDEN_VIEWER


class BothBehindNat(Network):
    """camera -- home (translates) --link-- gate (translates) -- viewer; only the camera's HTTP port is forwarded."""

    http_port = 8080

    def _build(self):
        for role in ("camera", "home", "gate", "viewer"):
            self._add(role)
        self._join("home", "gate")
        self._hide("camera", "home", HIDDEN_CAMERA)
        self._hide("viewer", "gate", HIDDEN_VIEWER)
        run("ip", "netns", "exec", self.namespace("home"), "nft", "-f", "-", text=f"""
            table ip forwarding {{
                chain in {{
                    type nat hook prerouting priority -100;
                    iifname "link0" tcp dport {self.http_port} dnat to {HIDDEN_CAMERA};
                }}
            }}""")
        self.viewer_address = HIDDEN_VIEWER


class Loopback(Network):
    """Camera and viewer on the loopback interface of one namespace, apart from the machine's own network."""

    camera_address = "127.0.0.1"
    viewer_address = "127.0.0.1"

    def __init__(self):
        super().__init__(None)

    def namespace(self, role):
        return f"{self._prefix}both"

    def _build(self):
        self._add("both")
