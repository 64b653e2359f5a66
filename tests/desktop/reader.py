"""A screen reader: the parts of a window as AT-SPI tells them, and the events that a reader would speak."""
import collections
import json
import os
import pathlib
import queue
import subprocess
import sys
import threading

from screen import wait_until

PROGRAM = pathlib.Path(__file__).with_name("read_window.py")
Part = collections.namedtuple("Part", "role name description keys")
ANSWER_SECONDS = 20


class Bus:
    """A session bus of its own. A product tells its parts when it is on the bus before the first reader."""

    def __init__(self):
        self._program = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], stdout=subprocess.PIPE,
                                         stderr=subprocess.DEVNULL, text=True)
        self.variables = {"DBUS_SESSION_BUS_ADDRESS": self._program.stdout.readline().strip(), "QT_ACCESSIBILITY": "1",
                          "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}

    def close(self) -> None:
        """Ends the bus, and with it the services that it has started."""
        self._program.terminate()
        self._program.wait(ANSWER_SECONDS)
        self._program.stdout.close()


class ScreenReader:
    def __init__(self, bus: Bus, process: int):
        self._heard: list[list[str]] = []
        self._answers: queue.Queue = queue.Queue()
        self._program = subprocess.Popen([sys.executable, "-B", str(PROGRAM), str(process)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         text=True, env={**os.environ, **bus.variables})
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()
        wait_until(self.parts, what="the product to tell its parts")

    def _read(self) -> None:
        for line in self._program.stdout:
            told = json.loads(line)
            if "parts" in told:
                self._answers.put([Part(*part) for part in told["parts"]])
            else:
                self._heard.append(told["heard"])

    def parts(self) -> list[Part]:
        """All visible parts of all windows of the process, in their order."""
        self._program.stdin.write("\n")
        self._program.stdin.flush()
        return self._answers.get(timeout=ANSWER_SECONDS)

    def hears(self, role: str, name: str) -> bool:
        """Whether a part of this role has changed its name to this one, or appeared with it."""
        return any(role == heard[0] and name in heard[1] for heard in list(self._heard))

    def close(self) -> None:
        self._program.stdin.close()
        self._program.wait(ANSWER_SECONDS)
        self._thread.join(ANSWER_SECONDS)
        self._program.stdout.close()
