"""A sample product in a process of its own, told what to do and asked what it sees in lines of JSON."""
import json
import os
import pathlib
import queue
import subprocess
import threading

from account import AccountService

ANSWER_SECONDS = 70


class Product:
    def __init__(self, program: pathlib.Path, service: AccountService, home: pathlib.Path, title: str, *options: str):
        self.title = title
        self.events: list[str] = []
        self._answers: queue.Queue = queue.Queue()
        runtime = home / "runtime"
        runtime.mkdir(mode=0o700, parents=True, exist_ok=True)
        environment = {**os.environ, "XDG_DATA_HOME": str(home / "data"), "XDG_CONFIG_HOME": str(home / "config"),
                       "XDG_RUNTIME_DIR": str(runtime), "QT_BEARER_POLL_TIMEOUT": "2147483647"}
        self.process = subprocess.Popen([str(program), "--support", str(service.folder), "--ca", service.info["ca_file"], *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self) -> None:
        for line in self.process.stdout:
            try:
                message = json.loads(line)
            except ValueError:
                continue
            if "event" in message:
                self.events.append(message["event"])
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

    def has_heard(self, event: str) -> bool:
        return event in self.events

    def stop(self) -> None:
        try:
            self.process.stdin.close()
            self.process.wait(20)
        except (OSError, subprocess.TimeoutExpired):
            self.process.kill()
