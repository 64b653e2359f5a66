"""tools/windows/sysroot and tools/windows/run where something is missing: a clear sentence, and no cache that looks whole."""
import hashlib
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
SYSROOT = SOURCE / "tools/windows/sysroot"
RUN = SOURCE / "tools/windows/run"
NEEDED = ["x86_64-w64-mingw32-g++-posix", "dpkg-source", "cmake", "ninja", "moc", "rcc", "perl"]


class WindowsToolsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-tools-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.shims = self.folder / "bin"
        self.shims.mkdir()
        # Only what stands here and the plainest tools of the system are in reach.
        for name in ["bash", "awk", "basename", "cat", "cmp", "cp", "cut", "df", "dirname", "flock", "grep", "ls", "mkdir", "mv",
                     "nproc", "readlink", "rm", "sed", "sha256sum", "stat", "touch", "env"]:
            (self.shims / name).symlink_to(shutil.which(name))

    def shim(self, name: str, script: str) -> None:
        (self.shims / name).unlink(missing_ok=True)
        (self.shims / name).write_text(f"#!/bin/bash\n{script}\n", encoding="ascii")
        (self.shims / name).chmod(0o755)

    def all_tools(self) -> None:
        for name in NEEDED:
            self.shim(name, "exit 0")

    def run_sysroot(self, *arguments: str) -> subprocess.CompletedProcess:
        return subprocess.run([str(SYSROOT), *arguments], capture_output=True, text=True, timeout=30, check=False,
                              env={"PATH": str(self.shims), "XDG_CACHE_HOME": str(self.folder / "cache"), "HOME": str(self.folder)})

    def assert_nothing_looks_whole(self) -> None:
        result = self.run_sysroot("--path")
        self.assertEqual((1, ""), (result.returncode, result.stdout))
        self.assertIn("nothing built yet", result.stderr)

    def fails_with(self, text: str) -> None:
        result = self.run_sysroot()
        self.assertNotEqual(0, result.returncode)
        self.assertEqual("", result.stdout)
        self.assertIn(text, result.stderr.splitlines()[-1])
        self.assert_nothing_looks_whole()

    def test_a_missing_compiler_is_named(self):
        self.fails_with("the tool 'x86_64-w64-mingw32-g++-posix' is missing; run tools/setup --windows first")

    def test_too_little_space_is_told_before_anything_is_fetched(self):
        self.all_tools()
        self.shim("df", "printf 'head\\nfs 1 1 100 1%% /\\n'")
        self.fails_with("100 MB free, 6000 MB needed")

    def test_a_broken_download_leaves_nothing_that_looks_whole(self):
        self.all_tools()
        self.shim("df", "printf 'head\\nfs 1 1 99999 1%% /\\n'")
        self.shim("apt-get", "echo 'E: Unable to fetch some archives' >&2; exit 100")
        self.fails_with("step 1 failed (log: ")

    def test_a_damaged_cache_is_noticed(self):
        root = self.folder / "cache/vqwebservices" / f"sysroot-{hashlib.sha256(SYSROOT.read_bytes()).hexdigest()[:16]}"
        (root / "bin").mkdir(parents=True)
        (root / "bin/Qt5Core.dll").write_bytes(b"12345")
        (root / "manifest.sizes").write_text("5 bin/Qt5Core.dll\n", encoding="ascii")
        whole = self.run_sysroot()
        self.assertEqual((0, f"{root}\n"), (whole.returncode, whole.stdout), "a whole cache is used at once")
        (root / "bin/Qt5Core.dll").write_bytes(b"1234")
        self.assert_nothing_looks_whole()
        (root / "bin/Qt5Core.dll").unlink()
        self.fails_with("is missing; run tools/setup --windows first")

    def test_a_run_without_dependencies_says_what_to_do(self):
        result = subprocess.run([str(RUN), "program.exe"], capture_output=True, text=True, timeout=30, check=False,
                                env={**os.environ, "XDG_CACHE_HOME": str(self.folder / "cache")})
        self.assertEqual(125, result.returncode)
        self.assertRegex(result.stderr, "Wine is missing; run tools/setup --windows first|run tools/windows/sysroot first")


if __name__ == "__main__":
    unittest.main()
