"""Does what a reader of the getting-started pages does: every command on them, to the letter, in a fresh home.

Only the port of the account service is another one. With --installed the library is not built again.
"""
import argparse
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
PAGES = SOURCE / "docs/getting-started"
BLOCK = re.compile(r"^```sh( terminal=2)?\n(.*?)^```$", re.S | re.M)
SECONDS = 1800
# What a newcomer is promised.
BAR_SECONDS = 600
WALKED = ["cmake.md", "qt-host.md", "python.md"]
if shutil.which("mcs"):
    WALKED.append("csharp.md")
else:
    print("SKIPPED: mcs is missing (tools/setup installs mono-mcs), so the page csharp.md is not walked.")
DONE = "::all of the block is done"


def free_port() -> str:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return str(probe.getsockname()[1])


class Terminal:
    """A shell that ends at the first command that fails."""

    def __init__(self, home: pathlib.Path):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("XDG_")}
        self.home = home
        self.shell = subprocess.Popen(["bash"], cwd=home, env={**environment, "HOME": str(home)}, stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.guard = threading.Timer(SECONDS, self.shell.kill)
        self.guard.start()
        # What runs in the background would hold the output open after the shell has ended.
        self.type("set -em\ntrap 'kill %1 2>/dev/null' EXIT\n")

    def type(self, text: str) -> None:
        self.shell.stdin.write(text)
        self.shell.stdin.flush()

    def read_until(self, *starts: str) -> str:
        lines = []
        for line in self.shell.stdout:
            lines.append(line)
            if line.startswith(starts):
                return "".join(lines)
        raise AssertionError("the shell has ended:\n" + "".join(lines[-40:]))

    def run(self, block: str, sign_in: str) -> str:
        """What the block prints. When it asks for a sign-in, that is done in a second terminal."""
        self.type(block)
        if block.endswith("&\n"):
            # A reader waits for this line, too.
            return self.read_until("Account service ready")
        asks = re.search(r"[/ ](first-request|qt-host|first_request.py|first-request.exe) account \S+\n\Z", block)
        if asks:
            page = self.read_until("https://", "http://").splitlines()[-1]
            subprocess.run(["bash", "-ec", sign_in], cwd=self.home / "vq-start", check=True, timeout=60, stdout=subprocess.DEVNULL,
                           env={**os.environ, "VQ": str(self.home / "vqwebservices"), "PAGE": page})
            self.type("\n")
            # The program may read more than the line, so the next command comes after it.
            return self.read_until("Authorization: ", "{")
        self.type(f"echo {DONE}\n")
        return self.read_until(DONE)

    def close(self) -> None:
        self.guard.cancel()
        self.shell.stdin.close()
        self.shell.wait(30)


def walk(home: pathlib.Path, installed: pathlib.Path | None) -> None:
    (home / "vqwebservices").symlink_to(SOURCE)
    port, started, output = free_port(), time.monotonic(), ""
    blocks = {name: [(bool(second), text.replace("8443", port)) for second, text in BLOCK.findall((PAGES / name).read_text())]
              for name in ("README.md", *WALKED)}
    sign_in = next(text for second, text in blocks["README.md"] if second)
    first = [text for second, text in blocks["README.md"] if not second]
    begin, clean_up = first[:-1], first[-1]
    terminal = Terminal(home)
    try:
        for block in begin:
            if installed and "cmake --install" in block:
                (home / "vq-start/installed").symlink_to(installed)
            else:
                terminal.run(block, sign_in)
        for page in WALKED:
            output = ""
            for _, block in blocks[page]:
                output += terminal.run(block, sign_in)
                if page == "qt-host.md" and "CMAKE_PREFIX_PATH" in block:
                    # A reader of this page alone is not signed in yet.
                    terminal.run("rm -r data\n", sign_in)
            if '"user":"ada"' not in output:
                raise AssertionError(f"{page}: no answer to a signed request:\n{output}")
            seconds = time.monotonic() - started
            print(f"FIGURE | {page}: from the {'package' if installed else 'checkout'} to a signed request | < {BAR_SECONDS} s | "
                  f"{seconds:.0f} s", flush=True)
            if seconds > BAR_SECONDS:
                raise AssertionError(f"{page}: a signed request after {seconds:.0f} s")
        terminal.run(clean_up, sign_in)
        if (home / "vq-start").exists():
            raise AssertionError("the clean-up has left something behind")
    finally:
        terminal.close()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--installed", type=pathlib.Path, help="the library is installed there")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="vqws-walk-", ignore_cleanup_errors=True) as folder:
        walk(pathlib.Path(folder), options.installed)
    return 0


if __name__ == "__main__":
    sys.exit(main())
