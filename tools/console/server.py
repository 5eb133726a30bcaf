# SPDX-License-Identifier: Apache-2.0
"""The console's server: one page, and what it asks. For loopback, and for whoever has the token, only."""
import asyncio
import contextlib
import hmac
import re
import secrets
from pathlib import Path

import aiohttp
from aiohttp import web

import profiles
from box_files import BoxFiles, Unusable, compact
from boxes.failure import Failure
from planner import Unavailable
from push import Push
from timeline import Timeline

ADDRESS = "127.0.0.1"
PAGE = Path(__file__).resolve().parent / "page"
KINDS = {".html": "text/html", ".css": "text/css", ".js": "text/javascript", ".svg": "image/svg+xml"}
MAX_BODY = 1 << 20
HEARTBEAT_SECONDS = 10
LOGO_KINDS = ((b"\x89PNG\r\n\x1a\n", "image/png"), (b"\xff\xd8\xff", "image/jpeg"), (b"GIF8", "image/gif"))

HEADERS = {
    "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                               "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'",
    "X-Content-Type-Options": "nosniff",
    "Referrer-Policy": "no-referrer",
    "Cross-Origin-Resource-Policy": "same-origin",
    "Cross-Origin-Opener-Policy": "same-origin",
    "Cache-Control": "no-store",
}


class Server:
    def __init__(self, state, planner):
        self.state = state
        self.planner = planner
        self.token = secrets.token_urlsafe(24)
        self.port = 0
        self.timeline = Timeline(state)
        self.box = BoxFiles(state, self.timeline)
        self.pushing = asyncio.Lock()
        self.app = web.Application(middlewares=[self.guard], client_max_size=MAX_BODY)
        self.app.add_routes([
            web.get("/", self.page), web.get("/page/{name}", self.part), web.get("/api/router", self.router),
            web.get("/api/keys", self.keys), web.get("/api/settings", self.settings), web.post("/api/plan", self.plan),
            web.post("/api/matrix", self.matrix), web.post("/api/push", self.push),
            web.get("/api/timeline", self.follow), web.get("/api/world", self.world),
            web.post("/api/world", self.change_world), web.get("/api/customer", self.customer),
            web.get("/api/logo", self.logo)])

    async def start(self, port):
        """Listens; the runner, which ends it."""
        runner = web.AppRunner(self.app, access_log=None)
        await runner.setup()
        site = web.TCPSite(runner, ADDRESS, port, shutdown_timeout=1)
        await site.start()
        self.port = site._server.sockets[0].getsockname()[1]
        return runner

    @property
    def address(self):
        return f"http://{ADDRESS}:{self.port}/?token={self.token}"

    # --- Who may ask ---------------------------------------------------------------------------------

    @web.middleware
    async def guard(self, request, handler):
        try:
            response = self.refusal(request)
            if response is None:
                response = await handler(request)
        except web.HTTPException as error:
            response = refuse(error.status, error.reason)
        except (Unusable, Failure) as error:
            response = refuse(409, str(error))
        except Unavailable as error:
            response = refuse(503, str(error))
        if not response.prepared:
            response.headers.update(HEADERS)
        return response

    def refusal(self, request):
        """The answer to a request that may not be served, else None."""
        hosts = (f"{ADDRESS}:{self.port}", f"localhost:{self.port}")
        host = request.headers.getall("Host", [])
        if len(host) != 1 or host[0] not in hosts:
            return refuse(421, "this is not the host that was asked for")
        if any(origin != f"http://{host[0]}" for origin in request.headers.getall("Origin", [])):
            return refuse(403, "another site's page may not ask this")
        if request.method == "POST" and "Origin" not in request.headers:
            return refuse(403, "the Origin is missing")
        if request.method == "POST" and request.content_type != "application/json":
            return refuse(415, "the body must be application/json")
        given = request.query.get("token") if request.path == "/" and "token" in request.query \
            else request.cookies.get(self.cookie)
        if given is None or not hmac.compare_digest(given.encode(errors="replace"), self.token.encode()):
            return refuse(401, "open the address that was printed at the start, with its token")
        return None

    @property
    def cookie(self):
        return f"console-{self.port}"

    # --- The page ------------------------------------------------------------------------------------

    async def page(self, request):
        if "token" in request.query:
            response = web.Response(status=303, headers={"Location": "/"})
            response.set_cookie(self.cookie, self.token, httponly=True, samesite="Strict", path="/")
            return response
        return self.file("index.html")

    async def part(self, request):
        return self.file(request.match_info["name"])

    @staticmethod
    def file(name):
        path = PAGE / name
        if not re.fullmatch(r"[a-z_]+\.(html|css|js|svg)", name) or not path.is_file():
            raise web.HTTPNotFound
        return web.Response(body=path.read_bytes(), content_type=KINDS[path.suffix], charset="utf-8")

    # --- Settings ------------------------------------------------------------------------------------

    def facts(self):
        facts = self.state.description()
        if facts is None:
            raise Failure("the router does not run")
        return facts

    async def router(self, _):
        facts = self.facts()
        return answer({"model": facts["model"], "url": facts["url"], "models": profiles.models(),
                       "boots": int(self.state.boots.read_text(encoding="ascii") or 0)})

    async def keys(self, request):
        return answer(await self.planner.keys(self.state.model(), request.query.get("route", "")))

    async def settings(self, request):
        """Current values, by a named read, which changes nothing on any model."""
        names = [("name", name) for name in request.query.getall("name", [])]
        async with aiohttp.ClientSession(timeout=aiohttp.ClientTimeout(total=60)) as session:
            try:
                async with session.get(self.facts()["url"] + request.query["route"], params=names) as reply:
                    return answer((await reply.json())["response"])
            except (aiohttp.ClientError, asyncio.TimeoutError, KeyError) as error:
                raise Unusable(f"the router's API does not answer: {error}") from error

    async def plan(self, request):
        wish = await wish_of(request)
        plans = await self.planner.plans([await self.box.snapshot() | wish])
        return answer(plans[0])

    async def matrix(self, request):
        wish = await wish_of(request)
        return answer(await self.planner.plans([{"model": model} | wish for model in profiles.models()]))

    async def push(self, request):
        wish = await wish_of(request)
        push = Push(self.box, self.timeline, self.planner, self.facts()["url"])
        async with self.pushing:
            try:
                return answer(await push.send(wish["route"], "POST", wish["request"]))
            except (aiohttp.ClientError, asyncio.TimeoutError) as error:
                raise Unusable(f"the router's API does not answer: {error}") from error

    # --- Timeline ------------------------------------------------------------------------------------

    async def follow(self, request):
        """Server-sent events: each a list of what arrived, its id the number of the last."""
        response = web.StreamResponse(headers=HEADERS | {"Content-Type": "text/event-stream"})
        await response.prepare(request)
        given = request.headers.get("Last-Event-ID", "")
        number = int(given) if given.isascii() and given.isdigit() and len(given) < 12 else 0
        if number > self.timeline.last:
            number = 0  # of a server before this one
        with contextlib.suppress(ConnectionResetError):
            await self.send_events(response, number)
        return response

    async def send_events(self, response, number):
        """Until the page is gone."""
        while True:
            if await self.timeline.wait_for_more(number, HEARTBEAT_SECONDS):
                events = self.timeline.since(number)
                number = self.timeline.last
                await response.write(f"id: {number}\ndata: {compact(events)}\n\n".encode())
            else:
                await response.write(b": still here\n\n")

    # --- World and brand -----------------------------------------------------------------------------

    async def world(self, _):
        return answer(await self.box.world())

    async def change_world(self, request):
        await self.box.change(await object_of(request))
        return answer({})

    async def customer(self, _):
        logo = self.box.logo()
        return answer({"file": self.box.customer_file(), "logo_bytes": None if logo is None else len(logo),
                       "logo_is_image": logo is not None and kind_of(logo) is not None})

    async def logo(self, _):
        logo = self.box.logo()
        kind = None if logo is None else kind_of(logo)
        if kind is None:
            raise web.HTTPNotFound
        return web.Response(body=logo, content_type=kind)


def kind_of(logo):
    return next((kind for start, kind in LOGO_KINDS if logo.startswith(start)), None)


def answer(value):
    return web.Response(text=compact(value), content_type="application/json")


def refuse(status, text):
    return web.Response(status=status, text=compact({"error": text}), content_type="application/json")


async def object_of(request):
    try:
        value = await request.json()
    except (ValueError, UnicodeDecodeError, RecursionError):
        raise web.HTTPBadRequest(reason="the body is not JSON") from None
    if not isinstance(value, dict):
        raise web.HTTPBadRequest(reason="the body is not a JSON object")
    return value


async def wish_of(request):
    """The route and the request to plan or send."""
    wish = await object_of(request)
    if not isinstance(wish.get("route"), str) or not isinstance(wish.get("request"), dict):
        raise web.HTTPBadRequest(reason="route and request are missing")
    return {"route": wish["route"], "request": wish["request"]}
