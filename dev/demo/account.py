"""Starts and controls the account service, and reads its log, for the demo and the tests of whole programs."""
import json
import pathlib
import select
import subprocess
import urllib.request

SERVICE = pathlib.Path(__file__).resolve().parent.parent / "account-service/account-service"
TIMEOUT_SECONDS = 20
START_SECONDS = 60


class AccountService:
    def __init__(self, folder: pathlib.Path, *options: str):
        self.folder = folder
        self.options = options
        self.info: dict = {}
        self.process: subprocess.Popen | None = None

    def start(self) -> None:
        self.process = subprocess.Popen([str(SERVICE), "--out", str(self.folder), "--exit-with-parent", *self.options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        ready, _, _ = select.select([self.process.stdout], [], [], START_SECONDS)
        line = self.process.stdout.readline() if ready else ""
        if not line.startswith("Account service ready"):
            raise OSError(f"the account service did not start: {line.strip() or 'no output'}")
        self.info = json.loads((self.folder / "service.json").read_text(encoding="utf-8"))

    def stop(self) -> None:
        if not self.process:
            return
        self.process.terminate()
        try:
            self.process.wait(TIMEOUT_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()

    def control(self, path: str, body: object = None) -> object:
        """One call of the control interface; a body makes it a POST."""
        token = pathlib.Path(self.info["control_token_file"]).read_text(encoding="utf-8").strip()
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.info['control_url']}/control/{path}", data=data,
                                         headers={"X-Control-Token": token, "Content-Type": "application/json"})
        with urllib.request.urlopen(request, timeout=TIMEOUT_SECONDS) as reply:
            return json.loads(reply.read())

    def accepted(self, endpoint: str) -> int:
        """The number of requests of an endpoint that the service accepted, from its own log."""
        requests = self.control("log")["requests"]
        return sum(1 for entry in requests if entry["endpoint"] == endpoint and entry["verdict"] == "ok")

    def how_to_talk(self) -> str:
        return (f"Account service: {self.info['url']} (process {self.info['pid']}, authority {self.info['ca_file']})\n"
                f"Control interface: curl -H \"X-Control-Token: $(cat {self.info['control_token_file']})\" "
                f"{self.info['control_url']}/control/state")
