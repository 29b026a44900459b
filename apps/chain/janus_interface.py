#!/usr/bin/env python3
"""The camera's HTTP interface, and a page, in front of Janus' streaming plugin: janus_interface.py JANUS_URL [ADDRESS:PORT].

The plugin makes the offer and wants an answer. So the page asks for an offer. For a viewer that makes offers itself,
as the headless one, the two are swapped: its offer, with the DTLS role settled, serves as the answer to Janus, and
Janus' offer as the answer to the viewer, which has to have numbered the formats as the mountpoint does. Janus runs as
an ICE-lite agent, so that the viewer nominates, as it expects to in a call that it placed."""
import asyncio
import itertools
import os
import sys

import aiohttp
from aiohttp import web

from camera_interface import Calls, json_of, serve_routes
from janus_files import MOUNTPOINT, ORIGIN

PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "page.html")
ANSWER_LIMIT = 10
CONNECT_LIMIT = 30
MOST_VIEWERS = 500


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
        self._listener = None
        self.session = None

    async def _post(self, path, **message):
        message["transaction"] = str(next(self._numbers))
        async with self._client.post(self._url + path, json=message) as response:
            reply = await response.json(content_type=None)
        if reply["janus"] == "error":
            raise web.HTTPBadGateway(text="Janus: " + reply["error"]["reason"])
        return reply

    async def open(self, listener):
        """The listener hears of connections: connected(handle) and gone(handle)."""
        self._listener = listener
        self.session = (await self._post("", janus="create"))["data"]["id"]

    async def poll(self):
        """Passes each event to the handle that waits for it. Ends with an error once Janus has ended."""
        while True:
            async with self._client.get(f"{self._url}/{self.session}?maxev=10") as response:
                events = await response.json(content_type=None)
            for event in events if isinstance(events, list) else [events]:
                self._take(event)

    def _take(self, event):
        handle = event.get("sender")
        if event["janus"] == "error":
            raise RuntimeError(event["error"]["reason"])
        if event["janus"] == "webrtcup":
            self._listener.connected(handle)
        elif event["janus"] == "hangup":
            self._listener.gone(handle)
        waiting = self._answers.get(handle)
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

    async def offer(self):
        handle = await self._janus.attach()
        event = await self._janus.ask(handle, {"request": "watch", "id": MOUNTPOINT})
        if "jsep" not in event:
            raise web.HTTPBadGateway(text="Janus: " + event["plugindata"]["data"].get("error", "no offer"))
        return handle, event["jsep"]["sdp"]

    async def answer(self, handle, sdp):
        await self._janus.tell(handle, {"request": "start"}, jsep={"type": "answer", "sdp": sdp})

    async def place(self, offer):
        handle, theirs = await self.offer()
        await self.answer(handle, mids_like(with_role(offer, "passive"), theirs))
        return handle, mids_like(with_role(theirs, "active"), offer)

    async def add_candidate(self, handle, candidate):
        await self._janus.trickle(handle, {**candidate, "sdpMid": "v", "sdpMLineIndex": 0})

    async def end(self, handle):
        await self._janus.detach(handle)


class Viewers(Calls):
    """Also for browsers, which answer Janus' offer, and for whoever leaves without a word."""

    def __init__(self, backend):
        super().__init__(backend)
        self._connected = set()

    def routes(self):
        return [*super().routes(), web.get("/", self.page), web.post("/offers", self.offer),
                web.put("/calls/{key}/answer", self.answer)]

    async def page(self, _request):
        return web.FileResponse(PAGE, headers={"Cache-Control": "no-cache"})

    async def offer(self, request):
        await json_of(request)
        self._refuse_if_full()
        handle, sdp = await self.backend.offer()
        return self.answered(handle, offer={"type": "offer", "sdp": sdp})

    async def answer(self, request):
        await self.backend.answer(self.call_of(request), (await json_of(request))["sdp"])
        return web.Response(status=204)

    async def place(self, request):
        self._refuse_if_full()
        return await super().place(request)

    def answered(self, call, **body):
        asyncio.get_running_loop().call_later(CONNECT_LIMIT, self._end_if_unconnected, call)
        return super().answered(call, **body)

    def connected(self, handle):
        self._connected.add(handle)

    def gone(self, handle):
        if self.keeps(handle):
            self.forget(handle)
            asyncio.ensure_future(self.backend.end(handle))

    def forget(self, call):
        self._connected.discard(call)
        super().forget(call)

    def _end_if_unconnected(self, handle):
        if handle not in self._connected:
            self.gone(handle)

    def _refuse_if_full(self):
        if self.count() >= MOST_VIEWERS:
            raise web.HTTPServiceUnavailable(headers={"Retry-After": "30"})


async def main():
    url, listen = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "127.0.0.1:0"
    address, port = listen.rsplit(":", 1)
    async with aiohttp.ClientSession(headers={"Origin": ORIGIN}) as client:
        janus = Janus(url, client)
        viewers = Viewers(Backend(janus))
        await janus.open(viewers)
        tasks = [asyncio.ensure_future(task) for task in
                 (janus.poll(), serve_routes(viewers.routes(), address, int(port)))]
        done, _ = await asyncio.wait(tasks, return_when=asyncio.FIRST_COMPLETED)
        for task in tasks:
            task.cancel()
        for task in done:
            task.result()


asyncio.run(main())
