"""Runs the programs of the getting-started pages against the account service, as the pages say: sign in, press Enter, request."""
import argparse
import json
import pathlib
import ssl
import subprocess
import sys
import tempfile
import threading
import urllib.request

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402
from product import Home  # noqa: E402

RUN_SECONDS = 60


class Run:
    """One program from its start to its end."""

    def __init__(self, program: pathlib.Path, home: Home, service: AccountService, url: str):
        self.process = subprocess.Popen([*home.command(program), home.path(service.folder), url], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, env=home.environment())
        self.home = home
        self.guard = threading.Timer(RUN_SECONDS, self.stop)
        self.guard.start()
        self.lines: list[str] = []

    def stop(self) -> None:
        self.process.kill()
        # Under Wine the program outlives the script that started it, and holds on to its output.
        self.home.close()

    def wait_for(self, start: str) -> str:
        """The first line that begins so; empty when the program ends before."""
        for line in self.process.stdout:
            self.lines.append(line.strip())
            if self.lines[-1].startswith(start):
                return self.lines[-1]
        return ""

    def press_enter(self) -> None:
        self.process.stdin.write("\n")
        self.process.stdin.flush()

    def finish(self) -> str:
        self.wait_for("there is no such line")
        self.process.stdin.close()
        status = self.process.wait(RUN_SECONDS)
        self.guard.cancel()
        output = "\n".join(self.lines)
        if status != 0:
            raise AssertionError(f"{self.process.args} ended with status {status}:\n{output}")
        return output


def answer_to(output: str, service: AccountService, url: str) -> dict:
    """What the service says: printed by the program, or to a request with the header that it printed."""
    header = next((line for line in output.splitlines() if line.startswith("Authorization: ")), "")
    if not header:
        return json.loads(output.partition("Status 200\n")[2])
    request = urllib.request.Request(url, headers={"Authorization": header.partition(": ")[2]})
    context = ssl.create_default_context(cafile=service.info["ca_file"])
    with urllib.request.urlopen(request, timeout=20, context=context) as reply:
        return json.loads(reply.read())


def try_program(program: pathlib.Path, home: Home, service: AccountService) -> None:
    url = f"{service.info['url']}/api/echo"
    first = Run(program, home, service, url)
    page = first.wait_for("https://")
    if not page:
        first.finish()
        raise AssertionError(f"{program.name} did not ask for a sign-in: {first.lines}")
    # A second copy waits for a sign-in too, and gets it from the first one.
    second = Run(program, home, service, url) if program.name.startswith(("qt-host", "native-host")) else None
    if second and not second.wait_for("https://"):
        raise AssertionError(f"the second copy did not wait: {second.lines}")
    service.control("approve", {"url": page, "user": "ada"})
    first.press_enter()
    outputs = [first.finish()]
    # A program that starts later is signed in from the start.
    outputs.append((second or Run(program, home, service, url)).finish())
    for output in outputs:
        answer = answer_to(output, service, url)
        if answer["user"] != "ada":
            raise AssertionError(f"{program.name} was answered {answer}")
    print(f"{program.name}: signed in and answered, twice", flush=True)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sysroot", default="", help="the programs are built for Windows and run under Wine")
    parser.add_argument("programs", nargs="+", type=pathlib.Path, help="without the ending of executables")
    options = parser.parse_args()
    for program in options.programs:
        with tempfile.TemporaryDirectory(prefix="vqws-start-", ignore_cleanup_errors=True) as folder:
            home = Home(pathlib.Path(folder) / "home", options.sysroot)
            service = AccountService(pathlib.Path(folder) / "service")
            try:
                service.start()
                if program.name == "native-host":
                    authority = home.path(pathlib.Path(service.info["ca_file"]))
                    subprocess.run([*home.command(program.with_name("trust")), authority], env=home.environment(), check=True,
                                   timeout=60)
                try_program(program, home, service)
            finally:
                service.stop()
                home.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
