"""A real browser over the pages of the account service."""

import json
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

    def sign_in_url(self) -> tuple[str, dict]:
        token = self.service.request_token()
        return self.service.sign("/oauth/authorize", token=token, query=True)[0], token

    def test_sign_in_and_out(self) -> None:
        url, request_token = self.sign_in_url()
        cookies = self.service.folder / "cookies.json"
        picture = self.service.folder / "form.png"
        done = self.drive(url, "--wrong-password-first", "--cookies", cookies, "--screenshot", picture)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("password is wrong", done.stdout)
        self.assertTrue(picture.read_bytes().startswith(b"\x89PNG"))
        written = {cookie["Name"]: cookie for cookie in json.loads(cookies.read_text())["Cookies"]}
        self.assertTrue(written["VqSession"]["IsSecure"] and written["VqSession"]["IsHttpOnly"])
        self.assertIn("ExpiryDate", written["VqLanguage"])
        token = self.service.call("/oauth/access-token", token=request_token).form
        for path, title in (("/account", "Account of ada"), ("/oauth/logout", "Signed out")):
            page = self.drive(self.service.sign(path, token=token, query=True)[0], "--open")
            self.assertEqual(page.returncode, 0, page.stderr)
            self.assertIn(title, page.stdout)
        self.assertEqual(self.service.call("/api/echo", token=token).problem, "token_revoked")

    def test_failures(self) -> None:
        stranger = RunningService()
        self.addCleanup(stranger.close)
        url, _ = self.sign_in_url()
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
