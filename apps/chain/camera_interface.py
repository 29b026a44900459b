"""The part of the demo camera's HTTP interface that the headless viewer uses, in front of another program that answers
calls."""
import asyncio
import json
import secrets
import signal

from aiohttp import web

LARGEST_BODY = 64 * 1024
STOP_SECONDS = 1


class Calls:
    """Serves a backend with place(offer) -> (call, answer), add_candidate(call, candidate), end(call)."""

    def __init__(self, backend):
        self.backend = backend
        self._calls = {}
        self._ended = {}
        self._newest = 0

    def routes(self):
        return [web.post("/calls", self.place), web.get("/health", self.health),
                web.get("/calls/{key}/events", self.events), web.post("/calls/{key}/candidates", self.candidate),
                web.delete("/calls/{key}", self.hang_up)]

    def count(self):
        return len(self._calls)

    def keeps(self, call):
        return call in self._calls.values()

    def call_of(self, request):
        """Who knows the key can end the call, so it cannot be guessed."""
        key = request.match_info["key"]
        if key not in self._calls:
            raise web.HTTPNotFound()
        return self._calls[key]

    def answered(self, call, **body):
        """Keeps the call, and tells the viewer where it is."""
        key = secrets.token_hex(16)
        self._newest += 1
        self._calls[key] = call
        self._ended[key] = asyncio.Event()
        return web.json_response({"id": self._newest, **body}, status=201, headers={"Location": f"/calls/{key}"})

    async def place(self, request):
        call, answer = await self.backend.place((await json_of(request))["sdp"])
        return self.answered(call, trickle=True, answer={"type": "answer", "sdp": answer})

    async def events(self, request):
        """The answer holds every candidate, so the stream only reports the end."""
        self.call_of(request)
        ended = self._ended[request.match_info["key"]]
        stream = web.StreamResponse(headers={"Content-Type": "text/event-stream"})
        await stream.prepare(request)
        await ended.wait()
        await stream.write(b'id: 1\nevent: ended\ndata: {"reason":"the call has ended"}\n\n')
        return stream

    async def candidate(self, request):
        await self.backend.add_candidate(self.call_of(request), await json_of(request))
        return web.Response(status=204)

    async def hang_up(self, request):
        call = self.call_of(request)
        self.forget(call)
        await self.backend.end(call)
        return web.Response(status=204)

    def forget(self, call):
        """The call has ended, whoever ended it."""
        for key in [key for key, kept in self._calls.items() if kept == call]:
            del self._calls[key]
            self._ended.pop(key).set()

    async def health(self, _request):
        return web.json_response({"status": "ok", "calls": self.count()})


async def json_of(request):
    """The body. A page of another site cannot send this type without asking first."""
    if request.content_type != "application/json":
        raise web.HTTPUnsupportedMediaType()
    try:
        body = json.loads(await request.text())
    except ValueError:
        body = None
    if not isinstance(body, dict):
        raise web.HTTPBadRequest(text="the body is not a JSON object")
    return body


async def serve(backend):
    """Serves calls to the backend on a free port of the loopback address."""
    await serve_routes(Calls(backend).routes(), "127.0.0.1", 0)


async def serve_routes(routes, address, port):
    """Prints the address and serves until the process is stopped."""
    application = web.Application(client_max_size=LARGEST_BODY)
    application.add_routes(routes)
    runner = web.AppRunner(application)
    await runner.setup()
    await web.TCPSite(runner, address, port, shutdown_timeout=STOP_SECONDS).start()
    print(f"listening on http://{address}:{runner.addresses[0][1]}/", flush=True)
    told = asyncio.Event()
    for number in (signal.SIGINT, signal.SIGTERM):
        asyncio.get_running_loop().add_signal_handler(number, told.set)
    await told.wait()
    await runner.cleanup()
