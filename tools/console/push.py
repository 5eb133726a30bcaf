# SPDX-License-Identifier: Apache-2.0
"""Sends a request to the router and sets what was planned beside what happened."""
import asyncio
import difflib
import time

import aiohttp

from box_files import parse_show
from boxes.failure import Failure

REQUEST_SECONDS = 120
SETTLE_SECONDS = 3
RESTART_SECONDS = 20
SHOW = "for file in /etc/config/*; do uci show ${file##*/} || exit; done"
SUBJECTS = ("path", "package", "command", "interface", "seconds")
COMPARED = ("set", "delete", "commit", "system", "exec", "fork", "iwpriv", "sleep")


class Push:
    def __init__(self, box, timeline, planner, url):
        self.box = box
        self.timeline = timeline
        self.planner = planner
        self.url = url

    async def send(self, route, method, request):
        """Plan and reality of one request, and their differences."""
        snapshot = await self.box.snapshot()
        plan = (await self.planner.plans([snapshot | {"route": route, "request": request}]))[0]
        before = await self.options()
        await self.timeline.look()
        mark = self.timeline.raw_number
        start = time.monotonic()
        status, reply = await self.call(route, method, request)
        seconds = time.monotonic() - start
        effects = await self.effects_since(mark, route)
        after = await self.options_after(plan)
        reality = {"status": status, "result": reply.get("result"), "response": reply.get("response"),
                   "changes": in_order_of(plan, changes_between(before, after)), "effects": effects,
                   "seconds": round(seconds, 3)}
        return {"plan": plan, "reality": reality, "faults": faults_of(plan, reality)}

    async def call(self, route, method, request):
        timeout = aiohttp.ClientTimeout(total=REQUEST_SECONDS)
        async with aiohttp.ClientSession(timeout=timeout) as session:
            async with session.request(method, self.url + route, json=request) as response:
                return response.status, await response.json()

    async def options(self):
        return parse_show((await self.box.run(SHOW)).decode(errors="replace"))

    async def options_after(self, plan):
        """The configuration after the request, and after the restart that the plan foresees."""
        deadline = time.monotonic() + RESTART_SECONDS
        while True:
            try:
                return await self.options()
            except Failure:
                if plan.get("then") != "reboot" or time.monotonic() > deadline:
                    raise
                await asyncio.sleep(0.2)

    async def effects_since(self, mark, route):
        """What the daemon did for the first request on the route after that line of its record."""
        deadline = time.monotonic() + SETTLE_SECONDS
        while True:
            await self.timeline.look()
            entries = [entry for entry in self.timeline.raw if entry["number"] > mark]
            effects = effects_of_first(entries, route)
            if effects is not None or time.monotonic() > deadline:
                return effects or []
            await asyncio.sleep(0.05)


def effects_of_first(entries, route):
    """The effects between a request and its reply; None while there is no reply."""
    starts = [index for index, entry in enumerate(entries)
              if entry["kind"] == "request" and entry["of"].get("path") == route]
    if not starts:
        return None
    effects, nested = [], 0
    for entry in entries[starts[0] + 1:]:
        if entry["kind"] == "reply":
            return effects
        nested -= entry["kind"] == "dispatched"
        if entry["kind"] in COMPARED:
            effects.append({"kind": entry["kind"], **entry["of"], **({"nested": True} if nested else {})})
        nested += entry["kind"] == "dispatch"
    return None


def changes_between(before, after):
    paths = [*before, *(path for path in after if path not in before)]
    return [{"path": path, "from": before.get(path), "to": after.get(path)} for path in paths
            if before.get(path) != after.get(path) and path.count(".") == 2]


def in_order_of(plan, changes):
    """The changes, those that were planned first and as the plan has them."""
    planned = [change["path"] for change in plan.get("changes", [])]
    return sorted(changes, key=lambda change: planned.index(change["path"]) if change["path"] in planned
                  else len(planned))


def effect_text(effect):
    """An effect in words that are the same for a planned one and one that happened."""
    kind = effect["kind"]
    subject = next((str(effect[name]) for name in SUBJECTS if name in effect), "")
    if kind == "set":
        return f"set {subject} = {effect.get('value')}"
    if kind == "iwpriv":
        return f"iwpriv {subject} set {effect.get('parameter')}={effect.get('value')}"
    return f"{kind} {subject}".strip()


def faults_of(plan, reality):
    """The differences, in words."""
    faults = []
    if plan.get("result") != reality["result"]:
        faults.append({"what": "result", "planned": str(plan.get("result")), "happened": str(reality["result"])})
    nested = {effect.get("path") for effect in reality["effects"] if effect.get("nested")}
    faults += difference_of_members("answer", plan.get("response") or {}, reality["response"] or {})
    planned = {change["path"]: arrow(change) for change in plan.get("changes", [])}
    happened = {change["path"]: arrow(change) for change in reality["changes"] if change["path"] not in nested}
    faults += difference_of_members("change", planned, happened)
    return faults + difference_of_effects(plan.get("effects", []), reality["effects"])


def arrow(change):
    return f"{change.get('from') or '(nothing)'} → {change.get('to') or '(nothing)'}"


def difference_of_members(what, planned, happened):
    names = [*planned, *(name for name in happened if name not in planned)]
    return [{"what": f"{what} {name}", "planned": str(planned.get(name, "(nothing)")),
             "happened": str(happened.get(name, "(nothing)"))}
            for name in names if planned.get(name) != happened.get(name)]


def difference_of_effects(planned, happened):
    left = [effect_text(effect) for effect in planned if effect["kind"] in COMPARED]
    right = [effect_text(effect) for effect in happened if not effect.get("nested")]
    faults = []
    for tag, a, b, c, d in difflib.SequenceMatcher(None, left, right, autojunk=False).get_opcodes():
        if tag != "equal":
            faults.append({"what": "effects", "planned": "\n".join(left[a:b]) or "(nothing)",
                           "happened": "\n".join(right[c:d]) or "(nothing)"})
    return faults
