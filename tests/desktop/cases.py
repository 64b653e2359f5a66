"""What the tests of the desktop sample share: an account service, a home, and the windows of products."""
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
# Set where the sample is built for Windows and runs under Wine.
SYSROOT = os.environ.get("VQ_WINDOWS_SYSROOT", "")
PROGRAM = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin/desktop-product"
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402
from product import Home  # noqa: E402
from screen import Screen, Window, wait_until  # noqa: E402

SKIPPED = 77
AT_ONCE_SECONDS = 2 if "VQ_SOAK" in os.environ else 15
WIDTH, HEIGHT, GAP = 760, 640, 24
SECOND = ["--key", "second-product-0002", "--secret", "demo-secret-0002"]
TITLES = ["Demo Product", "Second Product"]


class DesktopCase(unittest.TestCase):
    screen: Screen
    NOBODY, SIGNED_IN, SIGN_IN_KEY, SIGN_OUT_KEY = "Nobody is signed in", "Signed in as ada", "alt+s", "alt+o"

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-test-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.pictures = SOURCE / "docs/pictures" if os.environ.get("VQ_PICTURES") == "1" else self.folder
        self.home = Home(self.folder / "home", SYSROOT, self.variables())
        self.addCleanup(self.home.close)
        self.service = AccountService(self.folder / "service")
        self.service.start()
        self.addCleanup(self.service.stop)

    def variables(self) -> dict[str, str]:
        """The environment of the products."""
        return self.screen.variables(SYSROOT)

    def open(self, place: int, *options: str) -> Window:
        window = Window(PROGRAM, self.screen, self.service, self.home, TITLES[place], *options)
        self.addCleanup(self.close, window)
        window.move(GAP + place * (WIDTH + GAP), GAP, WIDTH, HEIGHT)
        wait_until(lambda: window.shows("status", self.NOBODY) and window.is_usable("signInButton"), what="the start")
        window.keys()
        wait_until(lambda: window.focus() == "signInButton", what="the keyboard to be with the button")
        return window

    def close(self, window: Window) -> None:
        window.stop()
        self.assertEqual(0, window.process.returncode, "the program did not end well")

    def ask_for_page(self, window: Window) -> str:
        window.keys(self.SIGN_IN_KEY)
        return window.pages.get(timeout=20)

    def sign_in_on_page(self, window: Window) -> None:
        self.service.control("approve", {"url": self.ask_for_page(window), "user": "ada"})
        wait_until(lambda: window.focus() == "continueButton", what="the focus on Continue")

    def sign_in(self, window: Window) -> None:
        self.sign_in_on_page(window)
        window.keys("Return")
        wait_until(lambda: window.shows("status", self.SIGNED_IN), what="the sign-in")

    def fault(self, endpoint: str, kind: str, **more) -> None:
        self.service.control("faults", {"endpoint": endpoint, "kind": kind, **more})

    def take_picture(self, window: Window, name: str, kind: str = "picture") -> None:
        self.screen.do("mousemove", "0", "0")
        self.assertTrue(window.ask(f"{kind} {self.home.path(self.pictures)}/{name}.png")["ok"])


def run_tests() -> None:
    if not shutil.which("Xvfb"):
        print("Skipped: Xvfb is not installed; tools/setup installs it.")
        sys.exit(SKIPPED)
    unittest.main(warnings="ignore")
