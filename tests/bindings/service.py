"""What the tests of the bindings share: the account service, the build, and the header as a table."""
import json
import os
import pathlib
import re
import subprocess
import sys
import time
import unittest
import urllib.request

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
LIBRARY = BINARIES / "libvqws.so.1"
KEY, SECRET = "demo-product-0001", "demo-secret-0001"
CSHARP = SOURCE / "bindings/csharp"
PATIENCE = 20
# Never the data of whoever runs the test: it is removed.
DATA = pathlib.Path(os.environ["TMPDIR"]) / "bindings-data"
TRIAL = DATA.parent / "trial.exe"
os.environ["VQWS_LIBRARY"] = str(LIBRARY)
os.environ["XDG_DATA_HOME"] = str(DATA)
sys.path += [str(SOURCE / "bindings/python")]
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402


def exports() -> set[str]:
    text = (SOURCE / "WebServicesCore/vqws.exports").read_text(encoding="utf-8")
    return set(re.findall(r"^vqws_\w+", text, re.M))


def numbers() -> dict[str, int]:
    """The constants of the header, and the sizes and offsets of its structs."""
    lines = (SOURCE / "tests/cinterface/numbers.txt").read_text(encoding="utf-8").splitlines()
    return {name: int(value) for name, value in (line.split(" = ") for line in lines)}


def parameters() -> dict[str, list[str]]:
    """The types of the parameters of each function in the header."""
    header = (SOURCE / "include/VqWebServices/vqws.h").read_text(encoding="utf-8")
    found = re.findall(r"^VQWS_API int32_t VQWS_CALL (vqws_\w+)\(([^)]*)\)", header, re.M)
    return {name: [] if given == "void" else [re.sub(r"\s*\w+$", "", one.strip()) for one in given.split(",")]
            for name, given in found}


def compile_trial() -> None:
    """The package for C#, and a program with it that does what a test says."""
    sources = [str(path) for path in sorted(CSHARP.glob("*.cs"))]
    mcs = ["mcs", "-langversion:7", "-warn:4", "-warnaserror", "-codepage:utf8"]
    subprocess.run([*mcs, "-target:library", f"-out:{DATA.parent / 'Velquor.WebServices.dll'}", *sources], check=True)
    subprocess.run([*mcs, f"-out:{TRIAL}", *sources, str(SOURCE / "tests/bindings/Trial.cs")], check=True)


class ServiceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = AccountService(pathlib.Path(os.environ["TMPDIR"]) / cls.__name__, "--http")
        cls.service.start()
        cls.addClassCleanup(cls.service.stop)
        cls.echo = cls.service.info["url"] + "/api/echo"

    def approve(self, page: str) -> None:
        self.service.control("approve", {"url": page, "user": "ada"})

    def asked_by(self, header: str) -> str:
        """Whom the service sees behind a signed header."""
        request = urllib.request.Request(self.echo, headers={"Authorization": header})
        with urllib.request.urlopen(request, timeout=PATIENCE) as reply:
            return json.load(reply)["user"]

    def eventually(self, condition) -> None:
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, "it did not come")
            time.sleep(0.01)
