# SPDX-License-Identifier: Apache-2.0
"""The device profiles: what a router of each model has in "/etc" when it leaves the factory."""
import ctypes
import hashlib
import re
import string
import tomllib
from pathlib import Path

FOLDER = Path(__file__).resolve().parent / "profiles"
FACTORY_PASSWORD = "admin"


def _table():
    return tomllib.loads((FOLDER / "models.toml").read_text(encoding="utf-8"))


def models():
    """The model names, in the order of the table."""
    return list(_table()["model"])


def write(model, etc):
    """Fills etc, which holds the firmware's own files, with what is the model's."""
    table = _table()
    values = table["family"][table["model"][model]["family"]] | table["model"][model]
    service_code = values["service_code"]
    password = md5_crypt(FACTORY_PASSWORD, service_code[:8])
    values |= {
        "model": model,
        "id": service_code[4:8],
        "server_zone": (etc / "device/server_zone").read_text(encoding="ascii").strip(),
        "password_digest": hashlib.sha256(password.rpartition("$")[2].encode()).hexdigest(),
    }
    write_packages(values, etc / "config")
    write_device_facts(values, etc / "device")
    (etc / "shadow").write_text(f"root:{password}:19700:0:99999:7:::\n", encoding="ascii")
    (etc / "shadow").chmod(0o600)
    enable_services(Path(etc))


def write_packages(values, config):
    """A package is the fragments' files of its name, one after the other, with the values put in."""
    config.mkdir()
    for fragment in values["fragments"]:
        for part in sorted((FOLDER / fragment).iterdir()):
            text = string.Template(part.read_text(encoding="ascii")).substitute(values)
            with (config / part.name).open("a", encoding="ascii") as package:
                package.write(text)


def write_device_facts(values, device):
    facts = {"model_name": values["model"], "service_code": values["service_code"],
             "ddns_name": f"r{values['id']}", "repeater": "0"}
    for name, value in facts.items():
        (device / name).write_text(value + "\n", encoding="ascii")


def enable_services(etc):
    (etc / "rc.d").mkdir()
    for script in (FOLDER.parent / "firmware/etc/init.d").iterdir():
        place = re.search(r"^START=(\d\d)$", script.read_text(encoding="ascii"), re.MULTILINE).group(1)
        (etc / f"rc.d/S{place}{script.name}").symlink_to(f"../init.d/{script.name}")


def md5_crypt(password, salt):
    crypt = ctypes.CDLL("libcrypt.so.1").crypt
    crypt.restype = ctypes.c_char_p
    return crypt(password.encode(), f"$1${salt}$".encode()).decode()
