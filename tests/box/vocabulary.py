# SPDX-License-Identifier: Apache-2.0
"""The batch tables, as the recorded case plugin/tables pins them: UCI path, JSON key, check of a pushed value."""
from pathlib import Path
from typing import NamedTuple

RECORDED = Path(__file__).resolve().parents[1] / "recorded" / "cases" / "plugin" / "tables.case"

# What a check is called here, by a key that has it.
CHECKS = {"2g_ssid": "ssid", "2g_key": "key", "probe_data_path1": "url", "lan_ip": "ipv4"}

DISABLE_KEYS = {"2g_disable", "5g_disable", "guest_2g_disable", "guest_5g_disable"}
HIDDEN_KEYS = {"2g_hidden", "5g_hidden"}
KEY_KEYS = {"2g_key", "5g_key", "guest_2g_key", "guest_5g_key"}


class Row(NamedTuple):
    path: str
    key: str
    check: str  # "-" for none


def read_tables():
    tables = {}
    response = RECORDED.read_text(encoding="ascii").partition("[response]\n")[2].partition("\n[")[0]
    for line in response.splitlines():
        if line.startswith("batch_list"):
            rows = tables[line] = []
        else:
            rows.append(Row(*line.split(" ", 3)[1:]))
    names = {row.check: CHECKS[row.key] for row in tables["batch_list1"] if row.key in CHECKS} | {"-": "-"}
    return {name: [row._replace(check=names[row.check]) for row in rows] for name, rows in tables.items()}


TABLES = read_tables()
COMMON = TABLES["batch_list_common"]
