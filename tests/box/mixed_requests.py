# SPDX-License-Identifier: Apache-2.0
"""Many requests of all kinds to one daemon, and what it holds in memory and in descriptors meanwhile."""
import http.client
import json
import time
import urllib.parse
from typing import NamedTuple

JSON = {"Content-Type": "application/json"}
SETTINGS = {"2g_ssid": "Harbour Cafe", "2g_key": "tide-table-4017", "lan_ip": "192.168.70.1", "5g_key": "short",
            "hostname": "quay", "2g_channel": "11", "nobody_knows": [1, {"x": None}]}

# How many in a round of 100, and what must come of them. Those that run commands on the router are the rarer ones.
KINDS = [
    (26, "GET", "/cloud/aerolink/get", None, {}, 200),
    (16, "GET", "/cloud/aerolink/batch_get?name=2g_ssid&name=lan_ip&name=2g_key", None, {}, 200),
    (1, "GET", "/whiteboard/get_config?name=2g_ssid", None, {}, 200),
    (1, "GET", "/cloud/aerolink/batch_get", None, {}, 200),
    (1, "GET", "/cloud/aerolink/log", None, {}, 200),
    (1, "POST", "/cloud/aerolink/batch_set", SETTINGS, JSON, 200),
    (5, "POST", "/cloud/aerolink/log_level", {"level": "3"}, JSON, 200),
    (3, "POST", "/router/bind_info", {"username": "u", "email": "e@example.org"}, JSON, 200),
    (6, "POST", "/cloud/aerolink/set", {"cloud_enable": True}, JSON, 400),
    (6, "POST", "/cloud/aerolink/unbind", {}, JSON, 400),
    (6, "POST", "/whiteboard/designated_customer", {}, JSON, 400),
    (8, "POST", "/cloud/aerolink/batch_set", '{"2g_ssid": "x"', JSON, 400),
    (5, "POST", "/cloud/aerolink/batch_set", {}, {}, 415),
    (5, "PUT", "/cloud/aerolink/get", {}, JSON, 405),
    (5, "GET", "/none/of/these", None, {}, 404),
    (5, "GET", "/cloud/aerolink/get?" + "&".join(f"name={n}" for n in range(300)), None, {}, 200),
]
ROUND = sum(kind[0] for kind in KINDS)


class Held(NamedTuple):
    requests: int
    seconds: float
    memory: int  # kB
    descriptors: int


def held(router, requests, start):
    text = router.shell('pid=$(pgrep -o apid); grep VmRSS /proc/$pid/status; ls /proc/$pid/fd | wc -l').split()
    return Held(requests, time.monotonic() - start, int(text[1]), int(text[3]))


def ask(connection, method, path, body, headers):
    text = json.dumps(body) if isinstance(body, (dict, list)) else body
    connection.request(method, path, body=text, headers=headers)
    reply = connection.getresponse()
    reply.read()
    return reply.status


def soak(router, requests, looks):
    """Sends that many requests and yields a Held so many times, the first one after a round."""
    where = urllib.parse.urlsplit(router.url)
    start = time.monotonic()
    rounds = max(requests // ROUND, 1)
    for number in range(rounds):
        connection = http.client.HTTPConnection(where.hostname, where.port, timeout=60)
        for count, method, path, body, headers, wanted in KINDS:
            for _ in range(count):
                status = ask(connection, method, path, body, headers)
                if status != wanted:
                    raise AssertionError(f"{method} {path} {body}: status {status}")
        connection.close()
        if number * looks // rounds != (number - 1) * looks // rounds or number == rounds - 1:
            yield held(router, (number + 1) * ROUND, start)
