"""The faults that the simulation must find: each patch still fits the code, so that tests/simulation/mutants/run can put it back."""
import pathlib
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
PATCHES = sorted((SOURCE / "tests/simulation/mutants").glob("*.patch"))


def fits(patch: str) -> bool:
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["patch", "--dry-run", "--fuzz=0", "--strip=1", "--silent", f"--directory={SOURCE}",
                               f"--reject-file={folder}/rejected"], input=patch, text=True, check=False, capture_output=True)
    return done.returncode == 0


class MutantsTest(unittest.TestCase):
    def test_each_patch_fits_and_names_its_rule(self):
        self.assertGreater(len(PATCHES), 10)
        for path in PATCHES:
            with self.subTest(path.name):
                self.assertRegex(path.name, r"^R[1-8]-[a-z0-9-]+\.patch$")
                self.assertTrue(fits(path.read_text(encoding="utf-8")))


if __name__ == "__main__":
    unittest.main()
