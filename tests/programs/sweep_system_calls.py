"""Each system call of a product that is signed in fails, once and for good: the sign-in survives, and nothing crashes."""
import collections
import os
import pathlib
import random
import re
import shutil
import sys
import tempfile
import time
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402
from product import Home, Product  # noqa: E402

# What a call fails with. Calls that only wait, or that end the process, are not in it. Nor is fcntl: the log library ends the process
# when it cannot give back its lock file, which happens on network file systems alone.
ERRORS = {
    "openat": "EMFILE EIO", "read": "EIO", "write": "ENOSPC", "pread64": "EIO", "pwrite64": "EIO", "fsync": "EIO", "rename": "EIO",
    "unlink": "EIO", "flock": "ENOLCK EIO", "newfstatat": "EIO EACCES", "statx": "EIO EACCES", "access": "EACCES",
    "lseek": "EIO", "mkdir": "EACCES", "chmod": "EPERM", "fchmod": "EPERM", "ftruncate": "ENOSPC", "fallocate": "ENOSPC",
    "readlink": "EACCES", "getdents64": "EIO", "mmap": "ENOMEM", "socket": "EMFILE", "connect": "ECONNREFUSED", "bind": "EADDRINUSE",
    "listen": "EADDRINUSE", "accept4": "EMFILE", "getsockopt": "EINVAL", "setsockopt": "EINVAL", "getsockname": "EINVAL",
    "sendto": "EPIPE", "recvfrom": "ECONNRESET", "sendmsg": "EPIPE", "recvmsg": "ECONNRESET", "poll": "ENOMEM", "clone3": "EAGAIN",
    "semget": "ENOSPC", "semtimedop": "EIDRM", "semop": "EIDRM", "semctl": "EINVAL", "inotify_init1": "EMFILE",
    "inotify_add_watch": "ENOSPC", "eventfd2": "EMFILE", "pipe2": "EMFILE", "getrandom": "EAGAIN",
}
MINUTES = float(os.environ.get("VQ_SWEEP_MINUTES", "90"))


class Prefixed(Home):
    """The same home, with another program in front of the product."""

    prefix: list[str] = []

    def command(self, program: pathlib.Path) -> list[str]:
        return [*self.prefix, *super().command(program)]


@unittest.skipUnless(os.environ.get("VQ_SOAK"), "only in the long form: it takes hours")
@unittest.skipIf(os.environ["VQ_SANITIZE"], "the sanitizer's own calls would fail, too")
class SystemCallsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-calls-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.home = Prefixed(self.folder / "home")
        self.service = AccountService(self.folder / "service")
        self.addCleanup(self.service.stop)
        self.service.start()
        # So each life of a product refreshes its token.
        self.service.control("lifetimes", {"token": 1, "session": 20 * 86400})
        self.sign_in()

    def sign_in(self):
        product = Product(BINARIES / "sample-product", self.service, self.home, "first")
        self.service.control("approve", {"url": product.ask("initiate-login")["url"], "user": "ada"})
        self.assertTrue(product.ask("complete-login")["ok"])
        product.stop()

    def life(self, prefix: list[str]) -> tuple[bool, int]:
        """Whether a product was signed in and got an answer to a signed request, and how it ended."""
        self.home.prefix = prefix
        product = Product(BINARIES / "sample-product", self.service, self.home, "traced")
        try:
            works = product.ask("status")["signedIn"] and product.ask(f"get {self.service.info['url']}/api/echo")["status"] == 200
        except (OSError, KeyError):
            works = False
        product.stop()
        return works, product.process.wait()

    def cases(self) -> list[tuple[str, str, str]]:
        trace = self.folder / "trace"
        self.assertEqual((True, 0), self.life(["strace", "-f", "-qq", "-o", str(trace)]))
        # strace counts the calls of each thread.
        calls = collections.Counter(re.findall(r"^(\d+) +(\w+)\(", trace.read_text(errors="replace"), re.M))
        most = collections.Counter()
        for (_, call), count in calls.items():
            most[call] = max(most[call], count)
        found = [(call, error, f"{number}{more}") for call, count in most.items() for error in ERRORS.get(call, "").split()
                 for number in range(1, count + 1) for more in ("", "+") if not more or number in (1, count // 2, count)]
        random.Random(1).shuffle(found)
        return found

    def test_no_failing_call_costs_the_sign_in(self):
        cases, end, done = self.cases(), time.monotonic() + 60 * MINUTES, 0
        for call, error, when in cases:
            if time.monotonic() > end:
                break
            begin = time.monotonic()
            _, status = self.life(["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={call}", "-e",
                                   f"inject={call}:error={error}:when={when}"])
            with self.subTest(f"{call} {error} {when}"):
                self.assertGreaterEqual(status, 0, "the product crashed")
            time.sleep(max(0.0, begin + 1.1 - time.monotonic()))
            with self.subTest(f"after {call} {error} {when}"):
                works = self.life([])[0]
                if not works:
                    self.sign_in()
                self.assertTrue(works, "the sign-in is lost")
            done += 1
        print(f"FIGURE | failing system calls, of {len(cases)} | all | {done}", flush=True)


if __name__ == "__main__":
    unittest.main()
