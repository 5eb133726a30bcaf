# SPDX-License-Identifier: Apache-2.0
"""The recipe of the OpenWrt package: its statements, its configuration, and what it builds and installs.

An SDK's makefiles are stood in for by those in sdk/, which do with the recipe what an SDK does with it.
"""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
PACKAGE = SOURCE / "packaging/openwrt/aerolink"
SDK = Path(__file__).resolve().parent / "sdk"
DAEMON_FOLDER = "usr/lib/api"

# Which package of a firmware brings a library that the plug-in needs; what every firmware has brings itself.
PACKAGE_OF = {"libc.so": None, "libcrypt.so": None, "libjson-c.so": "libjson-c", "libzuutil.so": "libzuutil",
              "libzuwificore.so": "libzuwificore"}

HARDENED_TEXT = b"value refused, key = "
HOST_OPTION = re.compile(r'set\((AEROLINK_HOST_\w+) "([^"]+)" CACHE STRING')


def run(*command, cwd=None, **environment):
    return subprocess.run(command, cwd=cwd, env=os.environ | environment, text=True, capture_output=True, check=True).stdout


def files(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


class Sdk:
    """An SDK with the recipe in it, configured with these lines over the defaults."""

    def __init__(self, folder, chosen=""):
        self.out = Path(folder)
        self.config = self.out / "config"
        (self.out / "Kconfig").write_text(
            f'config PACKAGE_aerolink\n\tbool\n\tdefault y\nsource "{PACKAGE}/Config.in"\n', encoding="ascii")
        self.config.write_text(chosen, encoding="ascii")
        self.configure(self.out / "Kconfig")

    def configure(self, kconfig):
        """Completes the configuration. Run in its folder: the file is first written in the current one, then renamed."""
        run(os.environ["KCONFIG"], "--olddefconfig", str(kconfig), cwd=self.out, KCONFIG_CONFIG=str(self.config))

    def options(self):
        """The configuration: symbol to value."""
        return dict(re.findall(r'^CONFIG_(\w+)="(.*)"$', self.config.read_text(encoding="ascii"), re.MULTILINE))

    def make(self, target):
        done = subprocess.run([os.environ["MAKE"], "--no-print-directory", "--warn-undefined-variables",
                               "-f", PACKAGE / "Makefile", f"TOPDIR={SDK}", f"SOURCE_TREE={SOURCE}",
                               f"OUT={self.out}", f"CONFIG={self.config}", target],
                              capture_output=True, text=True, check=False)
        if done.returncode or "warning: undefined variable" in done.stderr:
            raise AssertionError(done.stdout + done.stderr)
        return done.stdout

    def fields(self):
        """What the recipe states: name to value."""
        return dict(line.split("=", 1) for line in self.make("fields").splitlines())


class SdkTest(unittest.TestCase):
    maxDiff = None

    def new_sdk(self, chosen=""):
        return Sdk(self.enterContext(tempfile.TemporaryDirectory(prefix="sdk-")), chosen)


class Statements(SdkTest):
    def setUp(self):
        self.sdk = self.new_sdk()
        self.fields = self.sdk.fields()

    def test_every_field_that_a_feed_wants(self):
        for field in ("PKG_NAME", "PKG_VERSION", "PKG_RELEASE", "PKG_SOURCE", "PKG_SOURCE_URL", "PKG_HASH",
                      "PKG_MAINTAINER", "PKG_LICENSE", "PKG_LICENSE_FILES", "SECTION", "CATEGORY", "TITLE", "URL",
                      "DEPENDS"):
            self.assertTrue(self.fields[field], field)
        self.assertGreater(len(self.sdk.make("description").split()), 10)

    def test_forms(self):
        for field, form in {"PKG_NAME": r"aerolink", "PKG_RELEASE": r"[1-9]\d*", "PKG_HASH": r"skip|[0-9a-f]{64}",
                            "PKG_MAINTAINER": r"[^<>]+ <[^@\s]+@[^@\s]+>", "TITLE": r"[A-Z].{0,58}[^.]",
                            "PKG_SOURCE_URL": r"https://\S+/", "URL": r"https://\S+"}.items():
            self.assertRegex(self.fields[field], f"^(?:{form})$", field)
        self.assertEqual(self.fields["PKG_SOURCE"], f"aerolink-{self.fields['PKG_VERSION']}.tar.gz")

    def test_version_and_license_are_the_trees(self):
        project = (SOURCE / "CMakeLists.txt").read_text(encoding="ascii")
        self.assertIn(f"project(aerolink VERSION {self.fields['PKG_VERSION']} ", project)
        self.assertEqual(self.fields["PKG_LICENSE"], "Apache-2.0")
        for name in self.fields["PKG_LICENSE_FILES"].split():
            self.assertTrue((SOURCE / name).is_file(), name)

    def test_layout(self):
        """Commands and Config.in are indented by tabs, statements by two spaces; no line has a loose end."""
        for name in ("Makefile", "Config.in"):
            define = ""
            for number, line in enumerate((PACKAGE / name).read_text(encoding="ascii").splitlines(), 1):
                with self.subTest(f"{name}:{number}: {line}"):
                    self.assertNotRegex(line, r"[ \t]$")
                    define = line.removeprefix("define ") if line.startswith("define ") else define
                    if line == "endef":
                        define = ""
                    elif define in ("Package/aerolink", "Package/aerolink/description"):
                        self.assertRegex(line, r"^(define |  \S)")
                    else:
                        self.assertRegex(line, r"^(\S|\t\S|\t  \S|$)")


class Configuration(SdkTest):
    def test_is_the_builds(self):
        """The same options with the same defaults, and a change of each builds the package anew."""
        sdk = self.new_sdk()
        options = dict(HOST_OPTION.findall((SOURCE / "cmake/plugin.cmake").read_text(encoding="ascii")))
        self.assertEqual(len(options), 6)
        self.assertEqual(sdk.options(), options)
        self.assertEqual(sdk.fields()["PKG_CONFIG_DEPENDS"].split(),
                         ["CONFIG_AEROLINK_HARDENED"] + [f"CONFIG_{name}" for name in options])
        self.assertIn("# CONFIG_AEROLINK_HARDENED is not set\n", sdk.config.read_text(encoding="ascii"))

    def test_belongs_to_the_package(self):
        sdk = self.new_sdk()
        sdk.config.write_text("# CONFIG_PACKAGE_aerolink is not set\n", encoding="ascii")
        kconfig = sdk.out / "Kconfig"
        kconfig.write_text(kconfig.read_text(encoding="ascii").replace("bool", 'bool "aerolink"'), encoding="ascii")
        sdk.configure(kconfig)
        self.assertEqual(sdk.options(), {})


class Build(SdkTest):
    """One build with host names of its own, looked at from all sides."""

    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(tempfile.TemporaryDirectory(prefix="sdk-"))
        names = [name for name, _ in HOST_OPTION.findall((SOURCE / "cmake/plugin.cmake").read_text(encoding="ascii"))]
        cls.hosts = {name: f"host{number}.firmware.example" for number, name in enumerate(names)}
        cls.sdk = Sdk(folder, "".join(f'CONFIG_{name}="{host}"\n' for name, host in cls.hosts.items()))
        cls.sdk.make("compile")
        cls.package = cls.sdk.out / "package"
        cls.plugin = cls.package / DAEMON_FOLDER / "aerolink.so"

    def test_package(self):
        self.assertEqual(files(self.package), {f"{DAEMON_FOLDER}/aerolink.so"})

    def test_the_routers_daemon_loads_from_there(self):
        start = (SOURCE / "devkit/router/firmware/sbin/init").read_text(encoding="ascii")
        self.assertIn(f"--plugin /{DAEMON_FOLDER}/aerolink.so ", start)

    def test_headers(self):
        include = self.sdk.out / "staging/usr/include/aerolink"
        public = {"plugin/aerolink.h"} | {f"platform/{path.name}" for path in (SOURCE / "platform").glob("*.h")}
        self.assertEqual(files(self.sdk.out / "staging"), {f"usr/include/aerolink/{name}" for name in public})
        for name in public:
            self.assertEqual((include / name).read_bytes(), (SOURCE / name).read_bytes(), name)

    def test_host_names(self):
        content = self.plugin.read_bytes()
        for name, host in self.hosts.items():
            self.assertIn(host.encode() + b"\0", content, name)
        self.assertNotIn(b".lb.aerolink.example", content)

    def test_hardened_when_chosen(self):
        self.assertNotIn(HARDENED_TEXT, self.plugin.read_bytes())
        sdk = self.new_sdk("CONFIG_AEROLINK_HARDENED=y\n")
        sdk.make("compile")
        self.assertIn(HARDENED_TEXT, (sdk.out / "package" / DAEMON_FOLDER / "aerolink.so").read_bytes())

    def test_dependencies_bring_what_is_needed(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*?\.so)", run("readelf", "--wide", "--dynamic", str(self.plugin)))
        packages = {PACKAGE_OF[library] for library in needed} - {None}
        self.assertEqual(self.sdk.fields()["DEPENDS"].split(), [f"+{package}" for package in sorted(packages)])


if __name__ == "__main__":
    unittest.main()
