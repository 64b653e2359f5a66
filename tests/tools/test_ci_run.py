""".ci/run with tools of its own: a store of ready-made dependencies is asked and may refuse, and second tries are named."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
TRIES = """1/3 Test #1: ShakyTest ....***Failed 0.1 sec
    Test #1: ShakyTest ....   Passed 0.1 sec
2/3 Test #2: GoodTest ....   Passed 0.1 sec
3/3 Test #3: ApiDocsTest ....***Skipped 0.1 sec
"""


class CiRunTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-ci-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.script("checkout/tools/test", f'echo "test $*" >>../calls; echo "{TRIES}"; [ "$1" = "$FAILS" ] && exit 1 || true')
        self.script("checkout/tools/setup", 'echo "setup $*" >>../calls')
        (self.folder / "checkout/.ci").mkdir()
        shutil.copy(SOURCE / ".ci/run", self.folder / "checkout/.ci/run")

    def script(self, name: str, text: str) -> None:
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"#!/bin/bash\n{text}\n", encoding="ascii")
        path.chmod(0o755)

    def run_all(self, fails: str = "") -> tuple[int, str, list[str]]:
        calls = self.folder / "calls"
        calls.unlink(missing_ok=True)
        result = subprocess.run([str(self.folder / "checkout/.ci/run")], capture_output=True, text=True, timeout=30, check=False,
                                env={**os.environ, "FAILS": fails})
        return result.returncode, result.stdout, [line.split()[0] for line in calls.read_text(encoding="ascii").splitlines()]

    def test_dependencies_that_cannot_be_restored_are_no_failure(self):
        store = "shared/windows-dependencies/restore"
        rows = {"no store": (None, ["test"] * 3),
                "a store": ('echo "restore $1" >>calls', ["setup", "restore", "test", "test", "test"]),
                "a store that refuses": ('echo "restore $1" >>calls; exit 1', ["setup", "restore", "test", "test", "test"])}
        for name, (text, calls) in rows.items():
            with self.subTest(name):
                if text:
                    self.script(store, f'cd "$(dirname "$0")/../.."; {text}')
                status, _, made = self.run_all()
                self.assertEqual((0, calls), (status, made))

    def test_the_end_names_tests_that_needed_a_second_try(self):
        for fails, runs in {"": ["Linux", "Qt6", "Windows"], "--windows": ["Linux", "Qt6", "Windows"], "--qt6": ["Linux", "Qt6"]}.items():
            with self.subTest(fails=fails):
                status, output, _ = self.run_all(fails)
                self.assertEqual(1 if fails else 0, status)
                self.assertEqual([f"  ShakyTest ({run})" for run in runs], output.partition("at the first try:\n")[2].splitlines())


if __name__ == "__main__":
    unittest.main()
