"""The doctor itself: a healthy set-up has no fault, nothing is changed, and its commands can be copied. The cures have tests of
their own."""
import fcntl
import os
import pty
import shutil
import struct
import subprocess
import termios
import unittest

from cures import CureTest
from tool import RUN_SECONDS, SYSROOT, TOOL

COLUMNS = 60


class DoctorTest(CureTest):
    def doctor_on_terminal(self) -> list[str]:
        """The lines on a narrow terminal."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, COLUMNS, 0, 0))
        process = subprocess.Popen([str(TOOL), "doctor"], stdin=subprocess.DEVNULL, stdout=theirs, env=self.environment(),
                                   **self.user_options())
        os.close(theirs)
        shown = b""
        try:
            while read := os.read(ours, 4096):
                shown += read
        except OSError:
            pass  # the program has ended
        process.wait(RUN_SECONDS)
        os.close(ours)
        return shown.decode().splitlines()

    def test_a_healthy_set_up_has_no_fault(self):
        self.assertEqual({}, self.examine(), "before anybody signed in")
        self.sign_in_or_out(True)
        self.assertEqual({}, self.examine(), "with a user signed in")
        if not SYSROOT:
            text = self.run_tool("doctor").out
            self.assertGreaterEqual(text.count("\nok "), 10)
            self.assertEqual(text.count("\n"), text.count("\nok ") + 2, "more or fewer than one line for each check")
            self.assertIn("Faults: 0, warnings: 0.", text)
        self.extra = {"VQWS_CONSUMER_KEY": None, "VQWS_CONSUMER_SECRET": None}
        self.assertEqual({}, self.examine(), "without a product")

    def test_an_examination_changes_nothing(self):
        self.sign_in_or_out(True)
        for damaged in (b"<Other/>", b""):
            self.state().write_bytes(damaged)
            self.assertEqual(["login state file"], list(self.examine()))
            self.assertEqual(damaged, self.state().read_bytes())

    @unittest.skipIf(SYSROOT, "the terminal is one of this system")
    def test_a_command_is_not_wrapped(self):
        self.sign_in_or_out(True)
        self.state().chmod(0o666)
        command = self.examine()["login state file"]["command"]
        self.assertGreater(len(command), COLUMNS)
        shown = self.doctor_on_terminal()
        self.assertEqual([command], [line.strip() for line in shown if len(line) > COLUMNS and "chmod" in line], shown)

    def test_a_command_has_the_options_of_the_run(self):
        support = self.folder / ("its files" if SYSROOT else "the user's files")
        shutil.copytree(self.service.folder, support, ignore=shutil.ignore_patterns("*token*", "*key*"))
        support.chmod(0o755)
        quote = '"' if SYSROOT else "'"
        names = {"--support": support, "--ca": support / "ca.pem"}
        words = {name: quote + self.home.path(path).replace("'", "'\\''") + quote for name, path in names.items()}
        self.extra = {"VQWS_SUPPORT": None, "VQWS_CA": None}
        self.options = "".join(f" {name} {word}" for name, word in words.items())
        self.state().parent.mkdir(mode=0o700, parents=True)
        self.state().write_bytes(b"<Other/>")
        self.give_home()
        command = self.examine()["login state file"]["command"]
        for name, word in words.items():
            self.assertIn(f"{name} {word}", command)
        self.assertEqual(["left-over files"], list(self.follow(command)))


if __name__ == "__main__":
    unittest.main()
