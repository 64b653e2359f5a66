"""Another user of the machine attacks: nobody's sign-in ends or waits. Each row is the life of a sign-in under one attack."""
import contextlib
import ctypes
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import other_user_attacks as attacks

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
# Short, since the path of a socket is; and open, since the users of the rows are not the one of the test.
FOLDER = pathlib.Path(tempfile.mkdtemp(prefix="vq-", dir="/tmp"))
os.environ["TMPDIR"] = str(FOLDER)
sys.path.insert(0, str(SOURCE / "tests/bindings"))

import service  # noqa: E402
from service import KEY, SECRET, ServiceTest  # noqa: E402
from test_one_sign_in import LOGGED_IN, LOGGED_OUT, Spoken  # noqa: E402

PRODUCT = SOURCE / "tests/bindings/python_product.py"
SECOND = ["second-product-0002", "demo-secret-0002"]
ATTACKER = 65534
# Numbers that no user of the machine has.
VICTIM = 60000 + os.getpid() % 5000
LATE_SECONDS = 1.0
NEW_NAMESPACES = 0x00020000 | 0x08000000  # of mounts and of System V objects
UNATTACKED = attacks.Row("no attack", lambda place: None)


def as_user(uid: int) -> dict:
    return {"user": uid, "group": uid, "extra_groups": []}


def reason_to_skip() -> str:
    if os.geteuid() != 0:
        return "only root can start programs of other users"
    command = [sys.executable, "-c", "import ctypes, sys; ctypes.CDLL(sys.argv[1]); [open(name) for name in sys.argv[2:]]",
               service.LIBRARY, PRODUCT, attacks.__file__]
    try:
        subprocess.run(command, check=True, capture_output=True, cwd="/", **as_user(VICTIM))
    except (OSError, subprocess.CalledProcessError):
        return "the build, or Python, is closed to other users"
    return ""


def has_own_namespace() -> bool:
    """Apart from the machine's: it can be used up. Nothing else on the machine notices."""
    libc = ctypes.CDLL(None)
    if libc.unshare(NEW_NAMESPACES) != 0 or subprocess.run(["mount", "--make-rprivate", "/"], check=False).returncode != 0:
        return False
    pathlib.Path("/proc/sys/kernel/sem").write_text("32000 1024000000 500 64", encoding="utf-8")
    return True


class Life:
    """A sign-in of the victim from its begin to its end, in products that start, hear and end one after another."""

    def __init__(self, test: "OtherUserTest", row: attacks.Row, place: attacks.Place):
        self.test, self.row = test, row
        self.begin = lambda: None
        self.seconds: dict[str, float] = {}
        self.state = place.data / "LoginState.xml"
        named = {name: value.format(shared=place.shared, home=place.home) for name, value in row.variables.items()}
        if "XDG_DATA_HOME" in named:
            self.state = pathlib.Path(named["XDG_DATA_HOME"]) / self.state.relative_to(place.home / "data")
        self.variables = {"HOME": str(place.home), "TMPDIR": str(place.shared), "XDG_DATA_HOME": str(place.home / "data"),
                          "XDG_CONFIG_HOME": str(place.home / "config"), "XDG_RUNTIME_DIR": str(place.home / "runtime"), **named}

    @contextlib.contextmanager
    def step(self, name: str):
        start = time.monotonic()
        try:
            yield
        except AssertionError as error:
            raise AssertionError(f"{name}: {error}") from error
        self.seconds[name] = time.monotonic() - start

    def start(self, key: str = KEY, secret: str = SECRET) -> Spoken:
        product = Spoken(sys.executable, "-B", PRODUCT, self.test.service.folder, key, secret, variables=self.variables,
                         stderr=None if self.row.has_folder else subprocess.DEVNULL, cwd=self.variables["TMPDIR"], **as_user(VICTIM))
        self.test.row_cleanups.callback(product.stop)
        return product

    def sign(self, product: Spoken) -> None:
        self.test.assertEqual("ada", self.test.asked_by(product.header(self.test.echo)))

    def live(self) -> None:
        with self.step("start"):
            first = self.start()
        self.begin()
        if not self.row.has_folder:
            self.refuse(first)
            return
        with self.step("sign in"):
            first.sign_in(self.test.approve)
        with self.step("sign"):
            self.sign(first)
        others = self.share(first)
        with self.step("sign out"):
            first.sign_out()
            self.test.assertEqual("", first.user())
        with self.step("sign-out heard"):
            for product in others:
                product.hears(LOGGED_OUT)
                self.test.assertEqual("", product.user())
        with self.step("end"):
            self.test.row_cleanups.close()

    def refuse(self, product: Spoken) -> None:
        with self.step("refused"):
            print("login", file=product.process.stdin, flush=True)
            self.test.assertEqual(1, product.process.wait(service.PATIENCE))

    def share(self, first: Spoken) -> list[Spoken]:
        """What other processes have of the sign-in; returns them."""
        with self.step("sign in from the file"):
            second = self.start(*SECOND)
            self.test.assertEqual("ada", second.user())
        with self.step("save"):
            self.sign(second)
            self.test.eventually(lambda: SECOND[0] in self.state.read_text(encoding="utf-8"))
        with self.step("sign in again"):
            second.events.clear()
            first.sign_in(self.test.approve)
        with self.step("event"):
            second.hears(LOGGED_IN)
        with self.step("sign in from the file again"):
            third = self.start()
            self.sign(third)
        return [second, third]


class OtherUserTest(ServiceTest):
    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(shutil.rmtree, FOLDER)
        if reason := reason_to_skip():
            raise unittest.SkipTest(reason)
        FOLDER.chmod(0o755)
        cls.has_namespace = has_own_namespace()
        super().setUpClass()
        subprocess.run(["chmod", "-R", "a+rX", str(cls.service.folder)], check=True)

    def make_place(self, number: int) -> attacks.Place:
        place = attacks.Place(FOLDER / str(number), VICTIM)
        place.shared.mkdir(parents=True)
        place.shared.chmod(0o1777)
        for folder in [place.home, *(place.home / name for name in ("runtime", "config", attacks.LONG_NAME))]:
            folder.mkdir(mode=0o700)
            os.chown(folder, VICTIM, VICTIM)
        return place

    @contextlib.contextmanager
    def attack(self, row: attacks.Row, place: attacks.Place):
        command = [sys.executable, "-B", attacks.__file__, row.name, str(place.base), str(VICTIM)]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, cwd="/", **as_user(ATTACKER)) as attacker:
            try:
                self.assertEqual("ready\n", attacker.stdout.readline())
                yield lambda: print(file=attacker.stdin, flush=True) if row.after_start else None
                self.assertIsNone(attacker.poll(), "the attack ended")
            finally:
                attacker.stdin.close()

    def foreign_files(self, place: attacks.Place) -> dict[pathlib.Path, int]:
        return {file: file.stat().st_size for file in place.shared.rglob("*")
                if file.is_file() and not file.is_symlink() and file.stat().st_uid == ATTACKER}

    def run_row(self, row: attacks.Row, number: int) -> dict[str, float]:
        place = self.make_place(number)
        life = Life(self, row, place)
        with contextlib.ExitStack() as self.row_cleanups, contextlib.ExitStack() as after:
            after.callback(self.clear, place)
            if row.given:
                row.given(place)
            if row is not UNATTACKED:
                life.begin = after.enter_context(self.attack(row, place))
            before = self.foreign_files(place)
            life.live()
            grown = [file for file, size in self.foreign_files(place).items() if size > before.get(file, size)]
            self.assertEqual([], grown, "the attacker can read what was written there")
        return life.seconds

    def clear(self, place: attacks.Place) -> None:
        if place.shared.is_mount():
            subprocess.run(["umount", str(place.shared)], check=True)
        short = place.short_runtime
        if short.is_dir() and not short.is_symlink():
            shutil.rmtree(short)
        else:
            short.unlink(missing_ok=True)

    def test_nobody_else_ends_or_delays_a_sign_in(self):
        usual = self.run_row(UNATTACKED, 0)
        chosen = os.environ.get("VQ_TEST_ROW", "")
        for number, row in enumerate(attacks.ROWS, 1):
            with self.subTest(row.name):
                if chosen not in ("", row.name):
                    continue
                if row.needs_namespace and not self.has_namespace:
                    self.skipTest("the system refuses name spaces of its own")
                seconds = self.run_row(row, number)
                late = {step: round(seconds[step] - usual[step], 2) for step in seconds if seconds[step] > usual.get(step, 0) + LATE_SECONDS}
                if os.environ.get("VQ_SOAK"):
                    self.assertEqual({}, late, "seconds later than without the attack")


if __name__ == "__main__":
    unittest.main(verbosity=2)
