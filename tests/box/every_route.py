# SPDX-License-Identifier: Apache-2.0
"""One request to each route, and what a router answers to them one after the other."""
import http.client
import json
import re
import urllib.parse
from typing import NamedTuple

from router import SOURCE

API = SOURCE / "docs/api.md"
SETTINGS = {"2g_ssid": "Quay", "lan_ip": "192.168.70.1", "system_timezone": "Asia/Tokyo", "autoupdate_enable": "1",
            "language": "CN"}
REQUESTS = {
    "/cloud/aerolink/get": {},
    "/cloud/aerolink/set": {"cloud_enable": True, "serverzone": "America", "rtty_ssh": "0", "rtty_web": "0"},
    "/cloud/aerolink/unbind": {"unbind": True},
    "/cloud/aerolink/log": {},
    "/router/bind_info": {"username": "jane"},
    "/cloud/aerolink/log_level": {"cloud_log_level": True},
    "/cloud/aerolink/batch_set": SETTINGS | {"reboot_flag": "0"},
    "/cloud/aerolink/batch_get": {},
    "/whiteboard/set_config": SETTINGS | {"customer_name": "Harbour", "server_name": "cloud.harbour.example",
                                          "image_url": "https://harbour.example/logo.png"},
    "/whiteboard/get_config": {},
    "/whiteboard/designated_customer": {"server_name": "cloud.harbour.example",
                                        "server_url": "https://harbour.example/"},
}


class Answer(NamedTuple):
    status: int
    body: dict


def documented_routes():
    """Route to method, as the document's first table has them."""
    rows = re.findall(r"^\| \[(/\S+?)\]\(#\S+\) \| (GET|POST) \|", API.read_text(encoding="utf-8"), re.MULTILINE)
    return dict(rows)


def ask(router, route, request, timeout):
    """The router's answer, which must come in that many seconds."""
    where = urllib.parse.urlsplit(router.url)
    connection = http.client.HTTPConnection(where.hostname, where.port, timeout=timeout)
    try:
        if documented_routes()[route] == "GET":
            connection.request("GET", route)
        else:
            connection.request("POST", route, json.dumps(request), {"Content-Type": "application/json"})
        reply = connection.getresponse()
        return Answer(reply.status, json.loads(reply.read()))
    finally:
        connection.close()


def ask_all(router, timeout):
    return {route: ask(router, route, request, timeout) for route, request in REQUESTS.items()}
