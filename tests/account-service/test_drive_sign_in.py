"""The browser that tests drive says when it does not get where it should. Its way through the pages is part of ProgramsTest."""

import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from harness import LAUNCHER, RunningService  # noqa: E402


class DriveTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.service = RunningService()
        cls.addClassCleanup(cls.service.close)

    def drive(self, url: str, *options: str, ca: str = "") -> subprocess.CompletedProcess:
        return subprocess.run([LAUNCHER.with_name("drive_sign_in.py"), url, "--ca",
                               ca or self.service.about["ca_file"], *options],
                              capture_output=True, text=True, timeout=90)

    def test_a_page_that_is_not_reached_is_a_failure(self) -> None:
        stranger = RunningService()
        self.addCleanup(stranger.close)
        url = self.service.sign("/oauth/authorize", token=self.service.request_token(), query=True)[0]
        rows = [("other authority", [], stranger.about["ca_file"]),
                ("refused page", ["--open"], self.service.about["ca_file"])]
        for name, options, ca in rows:
            with self.subTest(name):
                target = url if not options else self.service.url + "/oauth/logout"
                failed = self.drive(target, *options, ca=ca)
                self.assertEqual(failed.returncode, 1)
                self.assertIn("did not get there", failed.stderr)
                self.assertNotIn("oauth_signature", failed.stderr)


if __name__ == "__main__":
    unittest.main()
