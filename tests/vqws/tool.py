"""The support tool in a process of its own, against the account service."""
import contextlib
import dataclasses
import json
import os
import pathlib
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

import jsonschema

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
# Set where the tool is built for Windows and runs under Wine.
SYSROOT = os.environ.get("VQ_WINDOWS_SYSROOT", "")
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402
from product import WINE_RUNNER, Home  # noqa: E402,F401

VALIDATOR = jsonschema.Draft7Validator(json.loads((SOURCE / "tools/vqws/vqws.schema.json").read_text(encoding="utf-8")))
TOOL = BINARIES / "vqws"
SECRET = "demo-secret-0001"
RUN_SECONDS = 90
OK, FAILED, USAGE, NOT_SIGNED_IN, CANCELLED = range(5)


def valid(line: str) -> dict:
    """The object of a line of JSON, which has the form that the schema promises."""
    found = json.loads(line)
    VALIDATOR.validate(found)
    return found


@dataclasses.dataclass
class Run:
    status: int
    out: str
    err: str

    def json(self) -> dict:
        """The one object on standard output."""
        lines = self.out.splitlines()
        if len(lines) != 1:
            raise AssertionError(f"not one line of JSON: {self.out!r} {self.err!r}")
        return valid(lines[0])


class Lines:
    """A stream that is read line by line while the program runs."""

    def __init__(self, stream):
        self._queue: queue.Queue = queue.Queue()
        self.seen: list[str] = []
        threading.Thread(target=self._read, args=(stream,), daemon=True).start()

    def _read(self, stream) -> None:
        with contextlib.suppress(ValueError):  # the test is over and has closed it
            for line in stream:
                self._queue.put(line.strip())
        self._queue.put(None)

    def __iter__(self):
        return iter(lambda: self._queue.get(timeout=RUN_SECONDS), None)

    def wait_for(self, text: str) -> str:
        """The next line that holds the text."""
        for line in self:
            self.seen.append(line)
            if text in line:
                return line
        raise AssertionError(f"ended without {text!r}: {self.seen}")


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-tool-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.home = Home(self.folder / "home", SYSROOT)
        self.addCleanup(self.home.close)
        self.extra: dict[str, str] = {}
        self.outputs: list[Run] = []

    def start_service(self, *options: str) -> None:
        self.service = AccountService(self.folder / "service", *options)
        self.service.start()
        self.addCleanup(self.service.stop)

    def product(self) -> dict[str, str]:
        """What a product of the service has in its environment."""
        return {"VQWS_CONSUMER_KEY": "demo-product-0001", "VQWS_CONSUMER_SECRET": SECRET,
                "VQWS_SUPPORT": self.home.path(self.service.folder),
                "VQWS_CA": self.home.path(pathlib.Path(self.service.info["ca_file"]))}

    def environment(self) -> dict[str, str]:
        environment = {name: value for name, value in self.home.environment().items() if not name.startswith("VQWS_")}
        environment.pop("DISPLAY", None)
        return {**environment, **(self.product() if hasattr(self, "service") else {}), **self.extra}

    def user_options(self) -> dict:
        """The user of the programs, in the form of the module subprocess; by default the one of the tests."""
        return {}

    def start(self, *arguments: str, program: pathlib.Path = TOOL) -> subprocess.Popen:
        process = subprocess.Popen([*self.home.command(program), *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, encoding="utf-8", env=self.environment(), **self.user_options())
        self.addCleanup(self._end, process)
        return process

    def _end(self, process: subprocess.Popen) -> None:
        process.terminate()
        # Under Wine this ends the runner alone; the program holds the streams until it ends, too.
        self.home.close()
        process.wait(30)
        process.stdout.close()
        process.stderr.close()

    def run_tool(self, *arguments: str) -> Run:
        run = subprocess.run([*self.home.command(TOOL), *arguments], stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8",
                             timeout=RUN_SECONDS, check=False, env=self.environment(), **self.user_options())
        self.outputs.append(Run(run.returncode, run.stdout, run.stderr))
        return self.outputs[-1]

    def check(self, status: int, *arguments: str) -> Run:
        run = self.run_tool(*arguments)
        self.assertEqual(status, run.status, f"{arguments}: {run.out} {run.err}")
        return run

    def sign_in(self, *options: str) -> None:
        """Signs in with the page answered without a browser."""
        process = self.start("login", "--no-browser", *options)
        url = Lines(process.stdout).wait_for("https://")
        self.service.control("approve", {"url": url, "user": "ada"})
        self.assertEqual(OK, process.wait(60))
