"""The pages of the sign-in are usable by people with disabilities: axe-core, whose rules follow WCAG, finds nothing."""

import os
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from harness import LAUNCHER, RunningService  # noqa: E402

sys.path.insert(0, str(LAUNCHER.parent))

import drive_sign_in  # noqa: E402

CACHE = Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache") / "vqwebservices"
AXE = next(iter(sorted(CACHE.glob("axe-core-*/axe.min.js"))), None)
RUN = """const done = arguments[arguments.length - 1];
axe.run(document).then(found => done(found.violations.map(rule => rule.id + ": " + rule.nodes.map(node => node.html).join(" "))))"""


@unittest.skipUnless(AXE, "axe-core is not here; tools/setup downloads it")
class SignInPageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.service = RunningService()
        cls.addClassCleanup(cls.service.close)
        home = tempfile.TemporaryDirectory(prefix="vqws-browser-", dir="/tmp", ignore_cleanup_errors=True)
        cls.addClassCleanup(home.cleanup)
        drive_sign_in.trust(Path(home.name), cls.service.about["ca_file"])
        cls.browser = drive_sign_in.open_browser(Path(home.name))
        cls.addClassCleanup(cls.browser.quit)

    def violations(self) -> list[str]:
        self.browser.execute_script(AXE.read_text())
        return self.browser.execute_async_script(RUN)

    def assert_usable(self, page: str, heading: str) -> None:
        for scheme in ("light", "dark"):
            with self.subTest(page, scheme=scheme):
                self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                             {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
                self.assertEqual(self.browser.find_element("css selector", "main h1").text, heading)
                self.assertEqual(self.violations(), [])

    def test_no_page_of_the_sign_in_shuts_anybody_out(self) -> None:
        service, browser = self.service, self.browser
        browser.get(service.sign("/oauth/authorize", token=service.request_token(), query=True)[0])
        self.assert_usable("sign-in", "Sign in")
        drive_sign_in.submit(browser, "ada", "wrong")
        drive_sign_in.wait_for(browser, lambda page: page.find_elements("id", "error"), "the error")
        self.assert_usable("after a wrong password", "Sign in")
        drive_sign_in.submit(browser, "ada", "correct horse")
        drive_sign_in.wait_for(browser, lambda page: page.find_elements("id", "signed-in"), "the signed-in page")
        self.assert_usable("signed in", "You are signed in")
        browser.get(service.url + "/oauth/logout")
        self.assert_usable("refused", "This did not work")

    def test_a_page_that_shuts_people_out_is_found(self) -> None:
        self.browser.get(self.service.sign("/oauth/authorize", token=self.service.request_token(), query=True)[0])
        self.browser.execute_script("document.querySelector('label').remove()")
        self.assertRegex("\n".join(self.violations()), "^label: .*username")


if __name__ == "__main__":
    unittest.main()
