"""A TURN server in one of a network's namespaces."""
import subprocess

from .programs import wait_for

PORT = 3478


class Turn:
    """For use in a with statement."""

    user = "camera"
    password = "secret"

    def __init__(self, network, role, address):
        self.url = f"turn:{address}:{PORT}"
        self._sockets = network.command_in(role, ["cat", "/proc/net/udp"])
        self._command = network.command_in(role, [
            "turnserver", "-n", "--lt-cred-mech", "--realm", "example.net", "--user", f"{self.user}:{self.password}",
            "--listening-ip", address, "--relay-ip", address, "--allow-loopback-peers", "--no-cli", "--no-tls",
            "--no-dtls", "--log-file", "stdout", "--pidfile", "/dev/null"])
        self._start()

    def _start(self):
        self._process = subprocess.Popen(self._command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        port = f":{PORT:04X} "
        wait_for(lambda: port in subprocess.run(self._sockets, capture_output=True, text=True, check=True).stdout, 20,
                 "the TURN server")

    def restart(self):
        """It forgets what it relays."""
        self._process.kill()
        self._process.wait()
        self._start()

    def option(self):
        return ["--ice-server", f"{self.url},{self.user},{self.password}"]

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._process.terminate()
        self._process.wait()
