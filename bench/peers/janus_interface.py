#!/usr/bin/env python3
"""The camera's HTTP interface in front of Janus' streaming plugin: janus_interface.py JANUS_URL VIDEO_PORT AUDIO_PORT.

The plugin makes the offer and wants an answer. The viewer's offer, with the DTLS role settled, serves as the answer to
Janus, and Janus' offer as the answer to the viewer. Janus runs as an ICE-lite agent, so that the viewer nominates, as
it expects to in a call that it placed."""
import asyncio
import itertools
import sys

import aiohttp

from camera_interface import serve

MOUNTPOINT = 1
ANSWER_LIMIT = 10


def value_of(section, name):
    return next(line.split(":", 1)[1] for line in section.splitlines() if line.startswith(f"a={name}:"))


def sections(sdp):
    """The session-level lines, and the media sections by kind."""
    head, *media = sdp.replace("\r\n", "\n").split("\nm=")
    return head, {text.split(" ", 1)[0]: "m=" + text for text in media}


def mids_like(sdp, model):
    """`sdp` with its media named and ordered as in `model`."""
    head, media = sections(sdp)
    _, wanted = sections(model)
    names = {kind: value_of(text, "mid") for kind, text in wanted.items()}
    head = [line for line in head.splitlines() if line and not line.startswith("a=group:")]
    lines = [*head, "a=group:BUNDLE " + " ".join(names.values())]
    for kind, name in names.items():
        lines += [f"a=mid:{name}" if line.startswith("a=mid:") else line for line in media[kind].splitlines() if line]
    return "\r\n".join(lines) + "\r\n"


def with_role(sdp, role):
    return sdp.replace("a=setup:actpass", f"a=setup:{role}")


class Janus:
    """Janus' HTTP interface: one session for all viewers, one handle per viewer."""

    def __init__(self, url, client):
        self._url = url
        self._client = client
        self._numbers = itertools.count()
        self._answers = {}
        self.session = None

    async def _post(self, path, **message):
        message["transaction"] = str(next(self._numbers))
        async with self._client.post(self._url + path, json=message) as response:
            reply = await response.json(content_type=None)
        if reply["janus"] == "error":
            raise RuntimeError(reply["error"]["reason"])
        return reply

    async def open(self):
        self.session = (await self._post("", janus="create"))["data"]["id"]

    async def poll(self):
        """Passes each event to the handle that waits for it."""
        while True:
            async with self._client.get(f"{self._url}/{self.session}?maxev=10") as response:
                events = await response.json(content_type=None)
            for event in events if isinstance(events, list) else [events]:
                waiting = self._answers.get(event.get("sender"))
                if event["janus"] == "event" and waiting is not None and not waiting.done():
                    waiting.set_result(event)

    async def attach(self):
        reply = await self._post(f"/{self.session}", janus="attach", plugin="janus.plugin.streaming")
        return reply["data"]["id"]

    async def tell(self, handle, body, **more):
        return await self._post(f"/{self.session}/{handle}", janus="message", body=body, **more)

    async def ask(self, handle, body):
        """Sends the plugin a request. The reply comes as an event, unless the plugin answers at once."""
        answer = self._answers[handle] = asyncio.get_running_loop().create_future()
        reply = await self.tell(handle, body)
        if reply["janus"] == "success":
            return reply
        return await asyncio.wait_for(answer, ANSWER_LIMIT)

    async def trickle(self, handle, candidate):
        await self._post(f"/{self.session}/{handle}", janus="trickle", candidate=candidate)

    async def detach(self, handle):
        self._answers.pop(handle, None)
        await self._post(f"/{self.session}/{handle}", janus="detach")


class Backend:
    def __init__(self, janus):
        self._janus = janus

    async def create_mountpoint(self, video_port, audio_port):
        handle = await self._janus.attach()
        await self._janus.ask(handle, {
            "request": "create", "type": "rtp", "id": MOUNTPOINT, "media": [
                {"type": "video", "mid": "v", "port": video_port, "pt": 96, "codec": "h264",
                 "fmtp": "packetization-mode=1;profile-level-id=42e01f"},
                {"type": "audio", "mid": "a", "port": audio_port, "pt": 0, "codec": "pcmu"}]})

    async def place(self, offer):
        handle = await self._janus.attach()
        event = await self._janus.ask(handle, {"request": "watch", "id": MOUNTPOINT})
        theirs = event["jsep"]["sdp"]
        mine = mids_like(with_role(offer, "passive"), theirs)
        await self._janus.tell(handle, {"request": "start"}, jsep={"type": "answer", "sdp": mine})
        return handle, mids_like(with_role(theirs, "active"), offer)

    async def add_candidate(self, handle, candidate):
        await self._janus.trickle(handle, {**candidate, "sdpMid": "v", "sdpMLineIndex": 0})

    async def end(self, handle):
        await self._janus.detach(handle)


async def main():
    url, video_port, audio_port = sys.argv[1:]
    async with aiohttp.ClientSession() as client:
        janus = Janus(url, client)
        await janus.open()
        polling = asyncio.create_task(janus.poll())
        backend = Backend(janus)
        await backend.create_mountpoint(int(video_port), int(audio_port))
        await serve(backend)
        polling.cancel()


asyncio.run(main())
