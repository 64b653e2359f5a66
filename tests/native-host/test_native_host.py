"""A native Windows host with a message loop of its own: it signs in, and the event hook delivers the event to its observer."""
import os
import pathlib
import queue
import shutil
import ssl
import subprocess
import sys
import tempfile
import threading
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402

RUN = [str(SOURCE / "tools/windows/run"), "--sysroot", os.environ["VQ_WINDOWS_SYSROOT"]]
ANSWER_SECONDS = 60


class Host:
    """The program under Wine: lines in, lines out."""

    def __init__(self, *arguments: str):
        self.process = subprocess.Popen([*RUN, *arguments], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.lines: queue.Queue = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self) -> None:
        for line in self.process.stdout:
            self.lines.put(line.strip())
        self.lines.put(None)

    def tell(self, command: str) -> None:
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def line(self) -> str:
        return self.lines.get(timeout=ANSWER_SECONDS) or ""


class NativeHostTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-native-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.service = AccountService(self.folder / "service")
        self.service.start()
        self.addCleanup(self.service.stop)
        os.environ["VQ_WINE_HOME"] = str(self.folder / "wine")
        self.addCleanup(subprocess.run, ["/usr/lib/wine/wineserver64", "-k"], check=False,
                        env={**os.environ, "WINEPREFIX": os.environ["VQ_WINE_HOME"]})
        self.trust()

    def trust(self):
        pem = pathlib.Path(self.service.info["ca_file"]).read_text(encoding="ascii")
        (self.folder / "ca.der").write_bytes(ssl.PEM_cert_to_DER_cert(pem))
        subprocess.run([*RUN, str(BINARIES / "trust_authority.exe"), self.windows_path("ca.der")],
                       check=True, timeout=60, stdout=subprocess.DEVNULL)

    def windows_path(self, name: str) -> str:
        return "Z:" + str(self.folder / name).replace("/", "\\")

    def start(self) -> Host:
        host = Host(str(BINARIES / "native-host.exe"), "demo-product-0001", "demo-secret-0001", self.windows_path("service"))
        self.addCleanup(host.process.stdout.close)
        self.addCleanup(host.process.wait, 30)
        self.addCleanup(host.process.stdin.close)
        return host

    def test_signs_in_and_its_observer_hears_of_it_through_the_hook(self):
        host = self.start()
        self.assertEqual("event LoginRestored on the main thread", host.line())
        host.tell("status")
        self.assertEqual("nobody is signed in", host.line())
        host.tell("sign-in")
        url = host.line()
        self.assertTrue(url.startswith(f"open {self.service.info['url']}"), url)
        self.service.control("approve", {"url": url.removeprefix("open "), "user": "ada"})
        # The sign-in is completed on another thread; only the hook can bring the event to the message loop.
        host.tell("complete")
        self.assertEqual({"completed", "event LoggedIn through the event hook"}, {host.line(), host.line()})
        host.tell("status")
        self.assertEqual("signed in as ada", host.line())

        second = self.start()
        self.assertEqual("event LoginRestored on the main thread", second.line())
        second.tell("status")
        self.assertEqual("signed in as ada", second.line())
        second.tell("sign-out")
        self.assertEqual({"signed out", "event LoggedOut on the main thread"}, {second.line(), second.line()})
        host.tell("status")
        lines = {host.line(), host.line()}
        self.assertIn("nobody is signed in", lines)
        # By the hook when the message of the other process was faster than this question, else inside of it; never on another thread.
        self.assertTrue(lines & {"event LoggedOut on the main thread", "event LoggedOut through the event hook"}, lines)
        for program in (host, second):
            program.tell("quit")
            self.assertEqual(0, program.process.wait(30))


if __name__ == "__main__":
    unittest.main()
