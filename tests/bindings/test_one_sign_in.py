"""One sign-in for all: processes of four kinds, and those that run one Qt while the library runs another. A sign-in in one reaches
all others, and so does a sign-out."""
import os
import pathlib
import queue
import shutil
import subprocess
import sys
import threading
import unittest

import service
from service import BINARIES, DATA, PATIENCE, SOURCE, ServiceTest

from product import Home, Product  # noqa: E402  of the demo
LOGGED_IN, LOGGED_OUT = 1, 3
# The programs and the library of the build with the other Qt.
OTHER = os.environ.get("VQ_OTHER_HELPERS", "")
# Whose host runs, beside whose library, and where the events come.
TWO_QTS = {f"{host} with two Qts, {mode}": (folders, mode) for mode in ("own", "host")
           for host, folders in (("host", (BINARIES, OTHER)), ("other host", (OTHER, BINARIES)))} if OTHER else {}


class Spoken:
    """A product that answers each order with a line, and tells events between them."""

    def __init__(self, *command: object, variables: dict[str, str] | None = None, **options):
        self.lines: queue.Queue = queue.Queue()
        self.events: list[int] = []
        environment = {**os.environ, "PYTHONPATH": str(SOURCE / "bindings/python"), **(variables or {})}
        self.process = subprocess.Popen([*map(str, command)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment,
                                        **options)
        threading.Thread(target=self._read, daemon=True).start()
        try:
            self.answer("start")
        except AssertionError:
            self.process.kill()
            raise

    def _read(self) -> None:
        for line in self.process.stdout:
            self.lines.put(line.strip())

    def _next(self) -> str:
        try:
            line = self.lines.get(timeout=PATIENCE)
        except queue.Empty:
            raise AssertionError(f"{self.process.args} says nothing more") from None
        if line.startswith("event "):
            self.events.append(int(line.split()[1]))
        return line

    def answer(self, order: str) -> str:
        line = ""
        while line.split(" ")[0] != order:
            line = self._next()
        # The one in C puts the result before the text.
        return line.partition(" ")[2].removeprefix("0").strip()

    def ask(self, order: str) -> str:
        print(order, file=self.process.stdin, flush=True)
        return self.answer(order.split()[0])

    def hears(self, event: int) -> None:
        while event not in self.events:
            self._next()
        self.events.clear()

    def sign_in(self, approve) -> None:
        approve(self.ask("login"))
        self.ask("complete")

    def sign_out(self) -> None:
        self.ask("logout")

    def user(self) -> str:
        return self.ask("user")

    def header(self, url: str) -> str:
        return self.ask(f"sign {url}")

    def stop(self) -> int:
        self.process.stdin.close()
        try:
            return self.process.wait(PATIENCE)
        finally:
            self.process.kill()
            self.process.stdout.close()


class QtHost(Product):
    """The sample product, which is built with the interface in C++ and Qt's event loop, in the same terms."""

    NAMES = {LOGGED_IN: "LoggedIn", LOGGED_OUT: "LoggedOut"}

    def hears(self, event: int) -> None:
        if not super().hears(self.NAMES[event]):
            raise AssertionError(f"no {self.NAMES[event]}")
        self.events.clear()

    def sign_in(self, approve) -> None:
        approve(self.ask("initiate-login")["url"])
        self.ask("complete-login")

    def sign_out(self) -> None:
        self.ask("logout")

    def user(self) -> str:
        return self.ask("status").get("user", "")


class OneSignInTest(ServiceTest):
    def start(self, kind: str):
        folder, authority = self.service.folder, self.service.info["ca_file"]
        if kind == "Qt":
            home = Home(DATA.parent / "qt", variables={name: os.environ[name] for name in os.environ if name.startswith("XDG_")})
            product = QtHost(BINARIES / "sample-product", self.service, home, kind)
        elif kind in TWO_QTS:
            (host, library), mode = TWO_QTS[kind]
            product = Spoken(pathlib.Path(host) / "qt_host", folder, mode, variables={"LD_LIBRARY_PATH": str(library)})
        else:
            product = Spoken(*{"C": [BINARIES / "product_c", folder, authority],
                               "Python": [sys.executable, "-B", pathlib.Path(__file__).with_name("python_product.py"), folder],
                               "C#": ["mono", DATA.parent / "trial.exe", "product", folder]}[kind])
        self.addCleanup(product.stop)
        return product

    def test_each_signs_in_and_the_next_signs_out(self):
        kinds = ["Qt", "C", "Python"]
        if shutil.which("mcs"):
            service.compile_trial()
            kinds.append("C#")
        else:
            print("SKIPPED: mcs is missing (tools/setup installs mono-mcs), so C# is not among the products.")
        kinds += TWO_QTS
        shutil.rmtree(DATA, ignore_errors=True)
        products = {kind: self.start(kind) for kind in kinds}
        for first, second in zip(kinds, [*kinds[1:], kinds[0]]):
            with self.subTest(f"{first} signs in, {second} signs out"):
                products[first].sign_in(self.approve)
                for product in products.values():
                    product.hears(LOGGED_IN)
                    self.assertEqual("ada", product.user())
                for kind in kinds[1:]:
                    self.assertEqual("ada", self.asked_by(products[kind].header(self.echo)))
                for kind in TWO_QTS:
                    self.assertIn('"ada"', products[kind].ask(f"fetch {self.echo}"))
                products[second].sign_out()
                for product in products.values():
                    product.hears(LOGGED_OUT)
                    self.assertEqual("", product.user())
        for kind in kinds[1:]:
            self.assertEqual(0, products[kind].stop())


if __name__ == "__main__":
    unittest.main(verbosity=2)
