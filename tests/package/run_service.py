"""Runs the installed camera as its systemd unit says, without systemd: run_service.py UNIT BINDIR SCRATCH [VIEWER].

What a service manager does for a service with these settings is done here with bubblewrap and libseccomp: an unprivileged
user without capabilities, a system that cannot be written to, homes and /tmp of its own, the system call filter with the
address families and the ban on writable code, the limit of descriptors, and the state and cache folders. Cgroups
(MemoryMax, TasksMax) and what only systemd can do (restarting, RestrictNamespaces, ProtectProc) are not.
"""
import configparser
import errno
import json
import os
import pathlib
import re
import resource
import shlex
import signal
import socket
import subprocess
import sys
import time

import seccomp

LIMIT_SECONDS = 60
STATE = "/var/lib/zelrtc-camera"
CACHE = "/var/cache/zelrtc-camera"
USER = "65534"
PROT_WRITE, PROT_EXEC = 2, 4


class ManyValues(dict):
    """Keeps every value of a name that is given more than once."""

    def __setitem__(self, name, value):
        if isinstance(value, list) and isinstance(self.get(name), list):
            self[name].extend(value)
        else:
            super().__setitem__(name, value)


def service_settings(path):
    unit = configparser.ConfigParser(dict_type=ManyValues, strict=False, interpolation=None, delimiters="=",
                                     comment_prefixes="#", default_section="none")
    unit.optionxform = str
    unit.read(path)
    return {name: value.split("\n") for name, value in unit["Service"].items()}


def words_of(line, variables):
    """A command line of a unit as systemd reads it: $NAME makes words, ${NAME} is part of one, $$ is a dollar."""
    words = []
    for word in shlex.split(line):
        alone = re.fullmatch(r"\$(\w+)", word)
        if alone:
            words += shlex.split(variables.get(alone[1], ""))
        else:
            words.append(re.sub(r"\$\{(\w+)\}|\$(\$)", lambda found: variables[found[1]] if found[1] else "$", word))
    return words


def calls_of(group):
    text = subprocess.run(["systemd-analyze", "syscall-filter", group], check=True, capture_output=True, text=True).stdout
    calls = set()
    for line in text.splitlines()[1:]:
        name = line.strip()
        if name.startswith("@"):
            calls |= calls_of(name)
        elif name and not name.startswith("#"):
            calls.add(name)
    return calls


def allowed_calls(filters):
    allowed = set()
    for text in filters:
        for group in text.lstrip("~").split():
            allowed = allowed - calls_of(group) if text.startswith("~") else allowed | calls_of(group)
    return allowed


def write_filter(settings, path):
    """The unit's filter of system calls as the kernel takes it."""
    refusal = seccomp.ERRNO(getattr(errno, settings["SystemCallErrorNumber"][0]))
    rules = seccomp.SyscallFilter(refusal)
    families = [getattr(socket, name) for name in settings["RestrictAddressFamilies"][0].split()]
    # Programs are started with these two before the filter holds, as far as systemd is concerned.
    for name in sorted(allowed_calls(settings["SystemCallFilter"]) | {"execve", "brk"}):
        if seccomp.resolve_syscall(seccomp.Arch(), name) < 0:
            continue
        if name == "socket":
            for family in families:
                rules.add_rule(seccomp.ALLOW, name, seccomp.Arg(0, seccomp.EQ, family))
        elif name == "mmap":
            # All but writable and executable at once, which are the two highest of eight.
            for protection in range(PROT_WRITE | PROT_EXEC):
                rules.add_rule(seccomp.ALLOW, name, seccomp.Arg(2, seccomp.MASKED_EQ, 7, protection))
        elif name in ("mprotect", "pkey_mprotect"):
            rules.add_rule(seccomp.ALLOW, name, seccomp.Arg(2, seccomp.MASKED_EQ, PROT_EXEC, 0))
        else:
            rules.add_rule(seccomp.ALLOW, name)
    with open(path, "wb") as file:
        rules.export_bpf(file)


class Sandbox:
    def __init__(self, settings, programs, scratch):
        self.filter = scratch / "filter.bpf"
        write_filter(settings, self.filter)
        self.limit = int(settings["LimitNOFILE"][0])
        self.mounts = ["--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc"]
        for folder in ("/tmp", "/var/tmp", "/home", "/root", "/run", "/var/lib", "/var/cache", "/usr/local/bin"):
            self.mounts += ["--tmpfs", folder]
        for inside, outside in ((STATE, "state"), (CACHE, "cache")):
            (scratch / outside).mkdir()
            self.mounts += ["--bind", str(scratch / outside), inside]
        # Where systemd looks for a program that is named without its folder.
        for program in programs.iterdir():
            self.mounts += ["--ro-bind", str(program), f"/usr/local/bin/{program.name}"]

    def start(self, command, environment, **streams):
        """Returns the process of the sandbox, which ends with the program's status, and the program's own number."""
        rules = os.open(self.filter, os.O_RDONLY)
        reading, writing = os.pipe()
        process = subprocess.Popen(
            ["bwrap", *self.mounts, "--unshare-user", "--uid", USER, "--gid", USER, "--unshare-ipc", "--unshare-uts",
             "--die-with-parent", "--remount-ro", "/", "--chdir", "/", "--info-fd", str(writing), "--seccomp", str(rules),
             *command], env={"PATH": "/usr/local/bin:/usr/bin:/bin", **environment}, pass_fds=(rules, writing),
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (self.limit, self.limit)), **streams)
        os.close(rules)
        os.close(writing)
        with os.fdopen(reading) as info:
            return process, json.load(info)["child-pid"]


def wait_for(what, probe):
    deadline = time.monotonic() + LIMIT_SECONDS
    while time.monotonic() < deadline:
        found = probe()
        if found:
            return found
        time.sleep(0.05)
    sys.exit(f"FAILED: not within {LIMIT_SECONDS} s: {what}")


def require(is_so, what):
    if not is_so:
        sys.exit(f"FAILED: {what}")
    print(f"ok: {what}")


def environment_of(settings):
    pairs = [word.replace("%C", "/var/cache") for line in settings["Environment"] for word in shlex.split(line)]
    return {"STATE_DIRECTORY": STATE, "CACHE_DIRECTORY": CACHE, **dict(pair.split("=", 1) for pair in pairs),
            "ZELRTC_CAMERA_OPTIONS": f"--listen 127.0.0.1:0 --tls-self-signed --record-dir {STATE}/recordings"}


def prepare(sandbox, settings, environment):
    """Twice, because the second start must find the token of the first."""
    tokens = []
    for _ in range(2):
        process, _ = sandbox.start(words_of(settings["ExecStartPre"][0], environment), environment)
        if process.wait(LIMIT_SECONDS) != 0:
            sys.exit("FAILED: ExecStartPre")
        tokens.append((sandbox_state(sandbox) / "token").read_text())
    require(re.fullmatch("[0-9a-f]{32}", tokens[0]) and tokens[0] == tokens[1], "the first start makes the token")


def sandbox_state(sandbox):
    return sandbox.filter.parent / "state"


def place_call(viewer, address, scratch):
    where = re.match(r"https://([^/]+)/", address)[1]
    asked = subprocess.run(["openssl", "s_client", "-connect", where], input="", capture_output=True, text=True, check=False)
    certificate = scratch / "certificate.pem"
    certificate.write_text(asked.stdout)
    call = subprocess.run([viewer, address, "--certificate", certificate, "--seconds", "3"], timeout=LIMIT_SECONDS,
                          capture_output=True, text=True, check=False)
    require(call.returncode == 0, f"a call{'' if call.returncode == 0 else ': ' + call.stdout + call.stderr}")


def main():
    unit, programs, scratch = (pathlib.Path(path) for path in sys.argv[1:4])
    settings = service_settings(unit)
    environment = environment_of(settings)
    sandbox = Sandbox(settings, programs, scratch)
    # What this test makes is the service's alone, as with systemd.
    os.umask(int(settings["UMask"][0], 8))
    prepare(sandbox, settings, environment)
    output, log = scratch / "output", scratch / "log"
    with open(output, "wb") as out, open(log, "wb") as err:
        process, camera = sandbox.start(words_of(settings["ExecStart"][0], environment), environment, stdout=out, stderr=err)
    try:
        wait_for("the camera serves", lambda: "listening on" in output.read_text() or process.poll() is not None)
        address = output.read_text().removeprefix("listening on ").strip()
        require(address.startswith("https://"), f"the camera serves{'' if address else ': ' + log.read_text()}")
        if len(sys.argv) > 4:
            place_call(sys.argv[4], address, scratch)
            recordings = list(sandbox_state(sandbox).glob("recordings/*.wav"))
            require(len(recordings) == 1 and recordings[0].stat().st_size > 1000, "it records what the viewer said")
        os.kill(camera, signal.SIGTERM)
        started = time.monotonic()
        status = process.wait(LIMIT_SECONDS)
        require(status == 0, f"SIGTERM ends it with status {status}")
        require(time.monotonic() - started < int(settings["TimeoutStopSec"][0]), "in time")
    finally:
        process.kill()


main()
