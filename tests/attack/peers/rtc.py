"""A viewer on aiortc that decodes nothing and shows every packet to whoever wants to see it."""
import asyncio
import json
import re
import urllib.request

from aiortc import RTCConfiguration, RTCPeerConnection, RTCSessionDescription, rtcrtpreceiver
from aiortc.rtcdtlstransport import RTCDtlsTransport

REQUEST_SECONDS = 30


def _throw_away(_loop, frames, _pictures):
    """In place of aiortc's decoder: these viewers count packets, and share the machine with the camera."""
    while frames.get() is not None:
        pass


rtcrtpreceiver.decoder_worker = _throw_away


def bundled(sdp):
    """The offer with one transport: aiortc offers one for each m-line, and then uses the first."""
    first, second = re.split(r"(?=^m=video)", sdp, flags=re.M)
    second = re.sub(r"^a=(candidate:.*|end-of-candidates)\r\n", "", second, flags=re.M)
    for name in ("ice-ufrag", "ice-pwd"):
        second = re.sub(f"a={name}:.*\r\n", re.search(f"a={name}:.*\r\n", first).group(0), second)
    return first + second


class Viewer:
    """One call. `on_rtp` gets every RTP packet, decrypted; `on_datagram` the size of whatever arrives."""

    def __init__(self, url, token="", on_rtp=lambda data: None, on_datagram=lambda size: None):
        self._url, self._token = url, token
        self._on_rtp, self._on_datagram = on_rtp, on_datagram
        self.connection = RTCPeerConnection(RTCConfiguration(iceServers=[]))
        self.path = None
        self.answer = ""
        self.payload_type = None  # of H.264

    async def request(self, method, path, body=None):
        headers = {"Content-Type": "application/json"} if body is not None else {}
        if self._token:
            headers["Authorization"] = f"Bearer {self._token}"
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self._url + path, data, headers, method=method)

        def send():
            with urllib.request.urlopen(request, timeout=REQUEST_SECONDS) as response:
                return response.headers, response.read()

        return await asyncio.get_running_loop().run_in_executor(None, send)

    async def call(self):
        """Returns once it is connected."""
        connection = self.connection
        connection.addTransceiver("audio", "sendrecv")
        connection.addTransceiver("video", "recvonly")
        connected = asyncio.Event()
        connection.on("connectionstatechange",
                      lambda: connected.set() if connection.connectionState == "connected" else None)
        await connection.setLocalDescription(await connection.createOffer())
        offer = {"type": "offer", "sdp": bundled(connection.localDescription.sdp)}
        headers, body = await self.request("POST", "/calls?trickle=0", offer)
        self.path = headers["Location"]
        self.answer = json.loads(body)["answer"]["sdp"]
        self.payload_type = int(re.search(r"a=rtpmap:(\d+) H264", self.answer).group(1))
        self._listen()
        await connection.setRemoteDescription(RTCSessionDescription(self.answer, "answer"))
        await asyncio.wait_for(connected.wait(), REQUEST_SECONDS)

    def _listen(self):
        ice = self.dtls.transport
        receive = ice._recv

        async def count():
            data = await receive()
            self._on_datagram(len(data))
            return data

        ice._recv = count

    @property
    def dtls(self) -> RTCDtlsTransport:
        return self.connection.getTransceivers()[0].receiver.transport

    @property
    def ssrc(self):
        """Of what it may send."""
        return self.connection.getSenders()[0]._ssrc

    async def send(self, packet):
        """RTP or RTCP, encrypted on its way."""
        await self.dtls._send_rtp(packet)

    def has_ended(self):
        return self.connection.connectionState in ("closed", "failed")

    async def hang_up(self):
        await self.request("DELETE", self.path)
        await self.connection.close()


def watch_packets(viewers):
    """Passes decrypted packets on to the viewer whose transport they came by."""
    handle = RTCDtlsTransport._handle_rtp_data

    async def seen(self, data, arrival_time_ms):
        for viewer in viewers:
            if viewer.dtls is self:
                viewer._on_rtp(data)
        await handle(self, data, arrival_time_ms)

    RTCDtlsTransport._handle_rtp_data = seen
