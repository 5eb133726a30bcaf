#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes what `aerolink` knows of devices without asking one: a snapshot of each model as it leaves the factory, made
from the box's device profiles, and the firmware's time-zone table.

  factory.py ROUTER-FOLDER SERVER-ZONE-HOST OUTPUT.cpp
"""
import json
import sys
import tempfile
from pathlib import Path


def packages(folder):
    """The text that `uci export` gives for the folder."""
    return "".join(f"package {path.name}\n{path.read_text(encoding='ascii')}\n" for path in sorted(folder.iterdir()))


def snapshot(profiles, model, server_zone):
    with tempfile.TemporaryDirectory() as name:
        etc = Path(name)
        (etc / "device").mkdir()
        (etc / "device/server_zone").write_text(server_zone + "\n", encoding="ascii")
        profiles.write(model, etc)
        facts = {path.name: path.read_text(encoding="ascii").strip() for path in (etc / "device").iterdir()}
        return {"model": facts["model_name"], "uci": packages(etc / "config"), "service_code": facts["service_code"],
                "ddns_name": facts["ddns_name"], "repeater": facts["repeater"] == "1"}


def time_zones(timezones):
    with tempfile.TemporaryDirectory() as name:
        table = Path(name) / "tzdata.lua"
        timezones.write_table(table)
        return table.read_text(encoding="ascii")


def literal(text):
    return f'R"~~({text})~~"'


def main():
    router, server_zone, output = sys.argv[1:]
    sys.path.insert(0, router)
    sys.dont_write_bytecode = True
    import profiles
    import timezones
    rows = [f"    {{{json.dumps(model)}, {literal(json.dumps(snapshot(profiles, model, server_zone)))}}},\n"
            for model in profiles.models()]
    Path(output).write_text(
        '#include "tools/plan/factory.h"\n\nnamespace plan {\n\nnamespace {\n\nconstexpr factory_profile table[] = {\n'
        + "".join(rows) + "};\n\n} // namespace\n\n"
        "std::span<const factory_profile> factory_profiles() { return table; }\n\n"
        f"const std::string_view time_zone_table = {literal(time_zones(timezones))};\n\n"
        "} // namespace plan\n", encoding="ascii")


if __name__ == "__main__":
    main()
