"""Raw connections to the camera's port, so that requests can be as wrong as one likes."""
import contextlib
import re
import socket
import struct
import time

READ_SECONDS = 12
QUIET_SECONDS = 1
# Loopback is a whole network: attackers come from addresses of their own, as they would on another one.
ATTACKER = "127.0.0.2"


class Door:
    def __init__(self, port):
        self._port = port
        self._open = []

    def connect(self, source=ATTACKER, receive_buffer=None):
        connection = socket.socket()
        if receive_buffer:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        connection.settimeout(READ_SECONDS)
        connection.bind((source, 0))
        connection.connect(("127.0.0.1", self._port))
        self._open.append(connection)
        return connection

    def crowd(self, count, sources=(ATTACKER,)):
        """So many connections; those that the camera no longer takes are left out."""
        found = []
        for number in range(count):
            with contextlib.suppress(OSError):
                found.append(self.connect(sources[number % len(sources)]))
        return found

    def say(self, data, source=ATTACKER, patience=QUIET_SECONDS):
        """Everything that comes back until the camera closes the connection, or has been quiet for so long. Of a stream
        without end, what comes in READ_SECONDS."""
        connection = self.connect(source)
        connection.settimeout(patience)
        answer = b""
        end = time.monotonic() + READ_SECONDS
        try:
            connection.sendall(data)
            while time.monotonic() < end and (chunk := connection.recv(65536)):
                answer += chunk
        except OSError:
            pass  # quiet, or closed with data unread, which is an answer as well
        connection.close()
        return answer

    def ask(self, method, path, headers=(), body=b"", host=None, source=ATTACKER):
        """A whole request, sent as it stands. @return (status, header, body); status 0: closed without a word"""
        lines = [f"{method} {path} HTTP/1.1", f"Host: {host or f'127.0.0.1:{self._port}'}", "Connection: close",
                 *headers]
        if body:
            lines.append(f"Content-Length: {len(body)}")
        return parse(self.say("\r\n".join(lines).encode("latin-1") + b"\r\n\r\n" + body, source,
                              READ_SECONDS))

    def close(self):
        for connection in self._open:
            connection.close()
        self._open.clear()


def parse(answer):
    head, _, body = answer.partition(b"\r\n\r\n")
    found = re.match(rb"HTTP/1\.[01] (\d{3})", head)
    return (int(found.group(1)) if found else 0), head.decode("latin-1").lower(), body


def statuses(answer):
    """The status of each response in what came back."""
    return [int(status) for status in re.findall(rb"HTTP/1\.[01] (\d{3}) ", answer)]


def reset(connection):
    """Closes with RST, in the middle of whatever was going on."""
    with contextlib.suppress(OSError):
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def is_closed(connection):
    """Whether the camera has closed it; what it had sent before is thrown away."""
    connection.setblocking(False)
    try:
        while connection.recv(65536):
            pass
        return True
    except BlockingIOError:
        return False
    except OSError:
        return True
