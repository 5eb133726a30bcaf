# SPDX-License-Identifier: Apache-2.0
"""One push by the types that quicktype makes of a model's schema. Usage: client.py BASE-URL"""
import json
import sys
import urllib.request

import push

settings = push.Push(the_2_g_ssid="Typed", the_2_g_key="short", lan_ip="192.168.70.1")
try:
    push.Push.from_dict({"2g_ssid": 5})
except AssertionError:
    pass
else:
    sys.exit("a setting that is no text was taken")
request = urllib.request.Request(sys.argv[1] + "/cloud/aerolink/batch_set", method="POST",
                                 data=json.dumps(push.push_to_dict(settings)).encode(),
                                 headers={"Content-Type": "application/json"})
with urllib.request.urlopen(request, timeout=30) as answer:
    reply = json.load(answer)
    print(json.dumps([answer.status, reply["result"], reply["response"]]))
