"""A terminal at which programs of a test run, and the user who enters credentials there."""
import fcntl
import os
import pty
import select
import termios
import threading
import time

LOCAL_FLAGS = 3
HIDE_SECONDS = 10


class Terminal:
    def __init__(self, user: str, password: str):
        self._answers = {b"User name: ": user, b"Password: ": password}
        self._ours, self._theirs = pty.openpty()
        self._end, self._ended = os.pipe()
        self._user = threading.Thread(target=self._answer, daemon=True)
        self._user.start()

    def take(self) -> None:
        """Makes it the terminal of a process that begins, and of those that it starts."""
        os.setsid()
        fcntl.ioctl(self._theirs, termios.TIOCSCTTY, 0)

    def close(self) -> None:
        os.close(self._ended)
        self._user.join()
        for file in (self._ours, self._theirs, self._end):
            os.close(file)

    def _answer(self) -> None:
        shown = b""
        while self._ours in select.select([self._ours, self._end], [], [])[0]:
            try:
                read = os.read(self._ours, 4096)
            except OSError:
                read = b""
            if not read:  # the programs have ended
                return
            shown += read
            for prompt, answer in self._answers.items():
                if shown.endswith(prompt):
                    shown = b""
                    if prompt == b"Password: ":
                        self._wait_until_hidden()
                    os.write(self._ours, answer.encode() + b"\n")

    def _wait_until_hidden(self) -> None:
        """What was entered before the program hides the input is lost."""
        deadline = time.monotonic() + HIDE_SECONDS
        while termios.tcgetattr(self._theirs)[LOCAL_FLAGS] & termios.ECHO and time.monotonic() < deadline:
            time.sleep(0.01)
