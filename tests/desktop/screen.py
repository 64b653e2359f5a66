"""A virtual screen with a keyboard and a mouse, and the windows of desktop products on it."""
import json
import os
import pathlib
import queue
import subprocess
import threading
import time

from account import AccountService
from product import Home

WAIT_SECONDS = 20


def wait_until(condition, seconds: float = WAIT_SECONDS, what: str = "it") -> float:
    """Waits until the condition holds; returns the seconds that took."""
    start = time.monotonic()
    while not condition():
        if time.monotonic() - start > seconds:
            raise AssertionError(f"{what} did not happen within {seconds} s")
        time.sleep(0.03)
    return time.monotonic() - start


class Screen:
    """An X server without a monitor. It has no window manager, so the test gives a window the keyboard."""

    def __init__(self, width: int, height: int):
        read_end, write_end = os.pipe()
        # Without -noreset it restarts when its last client ends, and refuses new clients for that time.
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24", "-dpi", "96", "-nolisten", "tcp", "-wr",
             "-noreset"], pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline().strip()
        if not number:
            raise OSError("Xvfb did not start")
        self.display = f":{number}"

    def variables(self, sysroot: str) -> dict[str, str]:
        """Environment of a home whose programs show their windows here."""
        own = {"VQ_WINE_DISPLAY": self.display} if sysroot else {"DISPLAY": self.display, "QT_QPA_PLATFORM": "xcb"}
        return {**own, "QT_ACCESSIBILITY": "0"}

    def do(self, *command: str) -> str:
        """What the person at this screen does: keys, and the mouse."""
        return subprocess.run(["xdotool", *command], env={**os.environ, "DISPLAY": self.display}, check=True, timeout=WAIT_SECONDS,
                              capture_output=True, text=True).stdout

    def find(self, title: str) -> str:
        """The number of the visible window with this title; empty when there is none."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"],
                               env={**os.environ, "DISPLAY": self.display}, check=False, capture_output=True, text=True)
        return found.stdout.split()[0] if found.stdout.split() else ""

    def close(self) -> None:
        self.process.terminate()
        self.process.wait(WAIT_SECONDS)


class Window:
    """A desktop product in a process of its own: used by keyboard and mouse, and asked what it shows."""

    def __init__(self, program: pathlib.Path, screen: Screen, service: AccountService, home: Home, title: str, *options: str):
        self.screen = screen
        self.pages: queue.Queue = queue.Queue()
        self._answers: queue.Queue = queue.Queue()
        self.process = subprocess.Popen([*home.command(program), "--test-interface", "--support", home.path(service.folder),
                                         "--ca", home.path(pathlib.Path(service.info["ca_file"])), "--product", title, *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="utf-8", env=home.environment())
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        wait_until(lambda: screen.find(title), what="a window")
        self.number = screen.find(title)

    def _read(self) -> None:
        for line in self.process.stdout:
            try:
                message = json.loads(line)
            except ValueError:
                continue
            if "open" in message:
                self.pages.put(message["open"])
            else:
                self._answers.put(message)

    def ask(self, command: str) -> dict:
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self._answers.get(timeout=WAIT_SECONDS)

    def part(self, name: str) -> dict:
        found = self.ask(f"part {name}")
        if "error" in found:
            raise AssertionError(f"{name}: {found['error']}")
        return found

    def text(self, name: str) -> str:
        return self.part(name)["text"]

    def shows(self, name: str, text: str) -> bool:
        found = self.part(name)
        return found["visible"] and text in found["text"]

    def is_usable(self, name: str) -> bool:
        found = self.part(name)
        return found["visible"] and found["enabled"]

    def events(self) -> list[list[str]]:
        """The rows of the event list, the latest first: time, event, origin, product."""
        return [row.split("\t") for row in self.text("events").splitlines()]

    def move(self, x: int, y: int, width: int, height: int) -> None:
        self.ask(f"size {width} {height}")
        self.screen.do("windowmove", "--sync", self.number, str(x), str(y))

    def click(self, name: str) -> None:
        wait_until(lambda: self.is_usable(name), what=f"{name} to be usable")
        part = self.part(name)
        self.screen.do("mousemove", "--sync", str(part["x"]), str(part["y"]), "click", "1")

    def keys(self, *keys: str) -> None:
        self.screen.do("windowfocus", "--sync", self.number, *(["key", *keys] if keys else []))

    def write(self, text: str) -> None:
        self.screen.do("windowfocus", "--sync", self.number, "type", text)

    def focus(self) -> str:
        return self.ask("focus")["name"]

    def stop(self) -> float:
        """Closes the window; returns the seconds until the process had ended."""
        start = time.monotonic()
        try:
            self.process.stdin.close()
            self.process.wait(WAIT_SECONDS)
        except (OSError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait(WAIT_SECONDS)
        self._reader.join(WAIT_SECONDS)
        self.process.stdout.close()
        return time.monotonic() - start
