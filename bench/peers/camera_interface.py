"""The part of the demo camera's HTTP interface that the headless viewer uses, in front of another program that answers
calls."""
import asyncio
import json
import signal

from aiohttp import web


class Calls:
    """Serves a backend with place(offer) -> (call, answer), add_candidate(call, candidate), end(call)."""

    def __init__(self, backend):
        self._backend = backend
        self._calls = {}
        self._ended = {}
        self._newest = 0

    def _call(self, request):
        number = int(request.match_info["id"])
        if number not in self._calls:
            raise web.HTTPNotFound()
        return number

    async def place(self, request):
        offer = json.loads(await request.text())["sdp"]
        call, answer = await self._backend.place(offer)
        self._newest += 1
        self._calls[self._newest] = call
        self._ended[self._newest] = asyncio.Event()
        body = {"id": self._newest, "trickle": True, "answer": {"type": "answer", "sdp": answer}}
        return web.json_response(body, status=201, headers={"Location": f"/calls/{self._newest}"})

    async def events(self, request):
        """The answer holds every candidate, so the stream only reports the end."""
        ended = self._ended[self._call(request)]
        stream = web.StreamResponse(headers={"Content-Type": "text/event-stream"})
        await stream.prepare(request)
        await ended.wait()
        await stream.write(b'id: 1\nevent: ended\ndata: {"reason":"the viewer hung up"}\n\n')
        return stream

    async def candidate(self, request):
        call = self._calls[self._call(request)]
        await self._backend.add_candidate(call, json.loads(await request.text()))
        return web.Response(status=204)

    async def hang_up(self, request):
        number = self._call(request)
        await self._backend.end(self._calls.pop(number))
        self._ended.pop(number).set()
        return web.Response(status=204)

    async def health(self, _request):
        return web.json_response({"status": "ok", "calls": len(self._calls)})


async def serve(backend):
    """Serves on a free port, which it prints, until the process is stopped."""
    calls = Calls(backend)
    application = web.Application()
    application.add_routes([
        web.post("/calls", calls.place), web.get("/health", calls.health), web.get("/calls/{id}/events", calls.events),
        web.post("/calls/{id}/candidates", calls.candidate), web.delete("/calls/{id}", calls.hang_up)])
    runner = web.AppRunner(application)
    await runner.setup()
    site = web.TCPSite(runner, "127.0.0.1", 0)
    await site.start()
    print(f"listening on http://127.0.0.1:{runner.addresses[0][1]}/", flush=True)
    told = asyncio.Event()
    for number in (signal.SIGINT, signal.SIGTERM):
        asyncio.get_running_loop().add_signal_handler(number, told.set)
    await told.wait()
    await runner.cleanup()
