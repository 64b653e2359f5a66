"""A sample product in a separate process. It receives commands, and answers and reports events in lines of JSON."""
import json
import os
import pathlib
import queue
import subprocess
import threading

from account import AccountService

ANSWER_SECONDS = 70
EVENT_SECONDS = 30
WINE_RUNNER = pathlib.Path(__file__).resolve().parent.parent.parent / "tools/windows/run"
WINE_SERVER = "/usr/lib/wine/wineserver64"


class Home:
    """The home folder of a user, in which the user's products read and write their files, natively or in a Wine prefix."""

    def __init__(self, folder: pathlib.Path, sysroot: str = "", variables: dict[str, str] | None = None):
        self.folder = folder
        self.sysroot = sysroot
        self.variables = variables or {}
        self.lacks_desktop = bool(sysroot)
        (folder / "runtime").mkdir(mode=0o700, parents=True, exist_ok=True)
        if sysroot:
            # Two programs that start first at the same time would both try to start the server of the prefix.
            subprocess.run([str(WINE_RUNNER), "--sysroot", sysroot, "cmd", "/c", "exit"], env=self.environment(), check=True,
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=120)

    def data(self) -> pathlib.Path:
        """The library's folder."""
        if not self.sysroot:
            return self.folder / "data/Velquor/Web Services"
        user = next(path for path in (self.folder / "wine/drive_c/users").iterdir() if path.name != "Public")
        return user / "AppData/Local/Velquor/Web Services"

    def command(self, program: pathlib.Path) -> list[str]:
        if not self.sysroot:
            return [str(program)]
        return [str(WINE_RUNNER), "--sysroot", self.sysroot, f"{program}.exe"]

    def path(self, path: pathlib.Path) -> str:
        """A path in the form that the products of this home use."""
        return "Z:" + str(path).replace("/", "\\") if self.sysroot else str(path)

    def environment(self) -> dict[str, str]:
        return {**os.environ, "XDG_DATA_HOME": str(self.folder / "data"), "XDG_CONFIG_HOME": str(self.folder / "config"),
                "XDG_RUNTIME_DIR": str(self.folder / "runtime"), "VQ_WINE_HOME": str(self.folder / "wine"),
                "QT_BEARER_POLL_TIMEOUT": "2147483647", **self.variables}

    def close(self) -> None:
        """Ends the processes that Wine left running. Wine then writes its data in memory, such as the registry, to its files."""
        if self.sysroot:
            environment = {**os.environ, "WINEPREFIX": str(self.folder / "wine")}
            subprocess.run([WINE_SERVER, "-k"], env=environment, check=False)
            subprocess.run([WINE_SERVER, "-w"], env=environment, check=False, timeout=60)


class Product:
    def __init__(self, program: pathlib.Path, service: AccountService, home: Home, title: str, *options: str):
        self.title = title
        self.events: list[str] = []
        self._event_came = threading.Condition()
        self._answers: queue.Queue = queue.Queue()
        self.process = subprocess.Popen([*home.command(program), "--support", home.path(service.folder),
                                         "--ca", home.path(pathlib.Path(service.info["ca_file"])), *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=home.environment())
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        # Of two programs that start at the same time both would make Wine's desktop, and one may end up without: its threads get
        # no windows, and so no events.
        if home.lacks_desktop:
            home.lacks_desktop = False
            self.ask("status")

    def _read(self) -> None:
        for line in self.process.stdout:
            try:
                message = json.loads(line)
            except ValueError:
                continue
            if "event" in message:
                with self._event_came:
                    self.events.append(message["event"])
                    self._event_came.notify_all()
            else:
                self._answers.put(message)
        self._answers.put(None)

    def ask(self, command: str) -> dict:
        """Sends one command and returns its answer."""
        try:
            self.process.stdin.write(command + "\n")
            self.process.stdin.flush()
            answer = self._answers.get(timeout=ANSWER_SECONDS)
        except (queue.Empty, OSError) as error:
            raise OSError(f"the {self.title} product did not answer to \"{command.split()[0]}\"") from error
        if answer is None:
            raise OSError(f"the {self.title} product ended with status {self.process.wait()}")
        return answer

    def hears(self, event: str) -> bool:
        """Waits until the product's observer receives the event; false when the time is over before."""
        with self._event_came:
            return self._event_came.wait_for(lambda: event in self.events, EVENT_SECONDS)

    def stop(self) -> None:
        try:
            self.process.stdin.close()
            self.process.wait(20)
        except (OSError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        self._reader.join(5)
        self.process.stdout.close()
