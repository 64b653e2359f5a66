"""Set-ups that are broken on purpose: the doctor names each fault, and its cure is carried out as it is printed."""
import contextlib
import dataclasses
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
from collections.abc import Callable

from tool import FAILED, OK, RUN_SECONDS, SYSROOT, TOOL, WINE_RUNNER, Home, Lines, ToolTest, valid

FILES_OF_POSIX = "Wine's programs do not see modes and owners of files"


def ordinary_user() -> int | None:
    """Whose set-ups the tests break when they run as root, who is refused nothing. None: the one of the tests."""
    nobody = 65534
    if SYSROOT or os.geteuid() != 0:
        return None
    with contextlib.suppress(PermissionError):
        subprocess.run([str(TOOL), "--version"], user=nobody, cwd=tempfile.gettempdir(), check=True, capture_output=True)
        return nobody
    return None


ORDINARY_USER = ordinary_user()
# Reasons on Linux why a row cannot apply.
NEEDS_RIGHTS = "" if SYSROOT or ORDINARY_USER or os.geteuid() != 0 else "root is refused nothing, and the build is closed to others"
NEEDS_ROOT = "" if ORDINARY_USER else "only root can make files of another user"


@dataclasses.dataclass
class Row:
    """One broken set-up. `break_it` may return a step that ends the row."""
    name: str
    break_it: Callable[["CureTest"], object]
    check: str
    text: str
    # Without these the doctor must print a command. With them a person must act: a part of the sentence, and the act.
    sentence: str = ""
    person: Callable[["CureTest"], object] | None = None
    state: str = "fault"
    # Checks that cannot be ok while the fault is there, and a check that the cure leaves with a command of its own.
    also: tuple[str, ...] = ()
    then: str = ""
    signed_in: bool = True
    # The reasons, when a row cannot apply.
    not_on_windows: str = ""
    not_on_linux: str = ""
    # Wine has the program of the command, but it does nothing.
    person_in_wine: Callable[["CureTest"], object] | None = None

    def reason_to_skip(self) -> str:
        return self.not_on_windows if SYSROOT else self.not_on_linux


class CureTest(ToolTest):
    """Each row begins with the set-up that the cures of the rows before have left."""

    # Of each run of the doctor.
    options = ""

    def setUp(self):
        super().setUp()
        self.folder.chmod(0o755)
        self.start_service()
        self.service.folder.chmod(0o755)
        self.user = ORDINARY_USER
        self.give_home()

    def give_home(self) -> None:
        """The home belongs to the ordinary user."""
        if self.user is not None:
            subprocess.run(["chown", "-R", f"{self.user}:{self.user}", str(self.home.folder)], check=True)

    def renew_home(self) -> None:
        """A failed row may have left anything behind."""
        self.home.close()
        self.restore_urls()
        self.service.control("reset", {"keep_sessions": False})
        self.extra = {}
        self.home = Home(self.folder / f"home-{time.monotonic_ns()}", SYSROOT)
        self.give_home()

    def environment(self) -> dict[str, str]:
        variables = super().environment() | ({} if SYSROOT else {"HOME": str(self.home.folder)})
        return {name: value for name, value in variables.items() if value is not None}

    def state(self) -> pathlib.Path:
        return self.home.data() / "LoginState.xml"

    def key(self) -> pathlib.Path:
        return self.home.data() / "UserKey.pem"

    def url_file(self, name: str = "VqWebservicesURLs.config") -> pathlib.Path:
        return self.service.folder / name

    def write_urls(self, text: str, name: str = "VqWebservicesURLs.config") -> None:
        away = self.folder / name
        if not away.exists():
            shutil.move(self.url_file(name), away)
        self.url_file(name).write_text(text, encoding="utf-8")

    def change_urls(self, **urls: str | None) -> None:
        document = json.loads(self.url_file().read_text(encoding="utf-8"))
        document["Configurations"]["WebServices"]["Urls"].update(urls)
        self.write_urls(json.dumps(document))

    def restore_urls(self) -> None:
        for away in self.folder.glob("VqWebservicesURLs*.config"):
            shutil.move(away, self.url_file(away.name))

    def settings_file(self) -> pathlib.Path:
        return self.home.folder / "config/Velquor/Web Services.conf"

    def set_setting(self, name: str, value: str) -> None:
        if SYSROOT:
            command = [str(WINE_RUNNER), "--sysroot", SYSROOT, "reg", "add", r"HKCU\Software\Velquor\Web Services", "/v", name, "/d", value, "/f"]
            subprocess.run(command, env=self.environment(), check=True, capture_output=True, timeout=RUN_SECONDS)
            return
        file = self.settings_file()
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(f"[General]\n{name}={value}\n", encoding="utf-8")
        self.give_home()

    def user_options(self) -> dict:
        return {"user": self.user, "group": self.user, "extra_groups": []} if self.user is not None else {}

    def in_shell(self, *commands: str) -> subprocess.Popen:
        """The commands one after the other in one shell of the user, as they would be entered."""
        shell = ["sh", "-c", "\n".join(commands)]
        if SYSROOT:
            script = self.folder / "cure.cmd"
            script.write_text("@echo off\r\n" + "".join(f"{command}\r\n" for command in commands), encoding="utf-8")
            shell = [str(WINE_RUNNER), "--sysroot", SYSROOT, "cmd", "/c", self.home.path(script)]
        return subprocess.Popen(shell, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
                                env=self.environment(), cwd=self.folder, **self.user_options())

    def answer_page(self, process: subprocess.Popen) -> list[str]:
        """The lines of the programs; the user signs in on each page that they show."""
        errors, seen = Lines(process.stderr), []
        for line in Lines(process.stdout):
            seen.append(line)
            if line.startswith("https://"):
                self.service.control("approve", {"url": line, "user": "ada"})
        process.wait(RUN_SECONDS)
        process.stdout.close()
        return seen or list(errors)

    def tool_command(self) -> str:
        return f'"{self.home.path(TOOL)}{".exe" if SYSROOT else ""}"'

    def examine(self, *before: str) -> dict[str, dict]:
        """The checks that are not ok, by name, after the commands in the same shell."""
        lines = self.answer_page(self.in_shell(*before, f"{self.tool_command()} doctor --json{self.options}"))
        found = [valid(line) for line in lines if line.startswith('{"checks"')]
        self.assertEqual(1, len(found), lines)
        self.assertIn(found[0]["exitStatus"], (OK, FAILED), lines)
        bad: dict[str, dict] = {}
        for check in found[0]["checks"]:
            if check["state"] != "ok":
                self.assertTrue(check["cure"], check)
                bad.setdefault(check["check"], check)
        self.assertEqual(found[0]["exitStatus"] == FAILED, any(check["state"] == "fault" for check in bad.values()), lines)
        return bad

    def sign_in_or_out(self, wanted: bool) -> None:
        is_signed_in = self.state().is_file() and b"<LoginSession" in self.state().read_bytes()
        if is_signed_in != wanted:
            lines = self.answer_page(self.in_shell(f"{self.tool_command()} {'login --no-browser' if wanted else 'logout'}"))
            self.assertIn("Signed in as ada." if wanted else "ada is signed out", "".join(lines))

    def cure(self, row: Row, found: dict) -> dict[str, dict]:
        """What is still not ok after the doctor's cure."""
        if row.person:
            self.assertIn(row.sentence, found["cure"])
            row.person(self)
            return self.examine()
        self.assertTrue(found["command"], found)
        self.assertIn(found["command"], found["cure"])
        if SYSROOT and row.person_in_wine:
            row.person_in_wine(self)
            return self.examine()
        return self.follow(found["command"])

    def follow(self, command: str) -> dict[str, dict]:
        if not command.startswith("sudo "):
            # Wine may take the address and find no browser; here there is no display, and the address is printed.
            return self.examine(command.replace(" login", " login --no-browser") if SYSROOT else command)
        subprocess.run(["sh", "-c", command.removeprefix("sudo ")], check=True, timeout=RUN_SECONDS)
        return self.examine()

    def check_row(self, row: Row) -> None:
        self.sign_in_or_out(row.signed_in)
        end = row.break_it(self)
        try:
            bad = self.examine()
            self.assertEqual({row.check, *row.also}, set(bad), bad)
            self.assertEqual(row.state, bad[row.check]["state"])
            self.assertIn(row.text, bad[row.check]["text"])
            left = self.cure(row, bad[row.check])
            if row.then:
                self.assertEqual([row.then], list(left), left)
                left = self.follow(left[row.then]["command"])
            self.assertEqual({}, left)
        finally:
            if callable(end):
                end()

    def check_rows(self, rows: list[Row]) -> None:
        for row in rows:
            with self.subTest(row.name):
                if row.reason_to_skip():
                    self.skipTest(row.reason_to_skip())
                try:
                    self.check_row(row)
                except Exception:
                    self.renew_home()
                    raise
