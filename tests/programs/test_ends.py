"""The ends of a host's process, most of them without Uninitialize: quiet, quick and with the status that the host gave."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
sys.path.insert(0, str(SOURCE / "dev/demo"))

from product import Home  # noqa: E402

SYSROOT = os.environ.get("VQ_WINDOWS_SYSROOT", "")
STATUS = 7
SIGNALS = {"abort": -6, "SIGTERM": -15}
ENDS = ["return", "exit", "thread-exit", "ExitProcess", "TerminateProcess"] if SYSROOT else [
    "return", "exit", "thread-exit", "quick_exit", "_exit", "abort", "SIGTERM", "fork-exit", "fork-_exit"]
UNINITIALIZED = ["uninitialize", "thread-uninitialize", "static"]
# A process costs a second under Wine.
HOSTS = ("", "qt gone ") if SYSROOT else ("", "qt ", "qt gone ")
ROWS = [f"{host}{busy}{end}" for host in HOSTS for busy in ("", "busy ") for end in ENDS + UNINITIALIZED]
if not SYSROOT:
    ROWS += ["daemon exit", "daemon uninitialize"]
# Loads the library and drops it while its threads work, as a host does with a plug-in that is linked with it.
UNLOADED = """
import _ctypes, ctypes, sys, time
library = ctypes.CDLL(sys.argv[1])
assert library._ZN7Velquor11WebServices18WebServicesManager10InitializeEv()
_ctypes.dlclose(library._handle)
time.sleep(0.3)
sys.exit(7)
"""


class EndsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-end-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.home = Home(self.folder / "home", SYSROOT)
        self.addCleanup(self.home.close)

    def check(self, command: list[str], status: int):
        start = time.monotonic()
        run = subprocess.run(command, capture_output=True, timeout=20, check=False, env=self.home.environment())
        self.assertEqual((status, b""), (run.returncode, b"" if SYSROOT else run.stderr))
        self.assertLess(time.monotonic() - start, 20 if SYSROOT else 3)

    def test_every_end_is_quiet_and_quick(self):
        for row in ROWS:
            with self.subTest(row):
                self.check([*self.home.command(BINARIES / "end_host"), row], SIGNALS.get(row.split()[-1], STATUS))

    @unittest.skipIf(SYSROOT or os.environ["VQ_SANITIZE"], "Python is built for this system, and without a sanitizer")
    def test_an_unloaded_library_ends_with_the_process(self):
        self.check([sys.executable, "-c", UNLOADED, str(BINARIES / "libVqWebServices.so")], STATUS)


if __name__ == "__main__":
    unittest.main()
