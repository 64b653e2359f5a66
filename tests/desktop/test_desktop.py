"""The desktop sample as its users see it: two windows next to each other, a real browser, keyboard and mouse.

With VQ_PICTURES=1 the pictures of the documentation are made again; otherwise they go to a temporary folder.
"""
import subprocess
import time

from cases import AT_ONCE_SECONDS, GAP, HEIGHT, SECOND, SOURCE, SYSROOT, WIDTH, DesktopCase, run_tests
from screen import Screen, Window, wait_until

# Wine waits two seconds for the window manager, which is not there, when it takes a window away.
CLOSING_SECONDS = AT_ONCE_SECONDS + (2 if SYSROOT else 0)


class DesktopTest(DesktopCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen(2 * WIDTH + 3 * GAP, HEIGHT + 2 * GAP)
        cls.addClassCleanup(cls.screen.close)

    def test_two_windows_follow_each_other(self):
        first, second = self.open(0, "--light"), self.open(1, "--dark", *SECOND)
        browser = [str(SOURCE / "dev/account-service/drive_sign_in.py"), self.ask_for_page(first), "--ca", self.service.info["ca_file"]]
        subprocess.run(browser, check=True, timeout=90, capture_output=True)
        self.assertEqual("continueButton", first.focus())
        first.keys("Return")
        wait_until(lambda: first.shows("status", "Signed in as ada"), what="the sign-in")
        wait_until(lambda: second.shows("status", "Signed in as ada"), AT_ONCE_SECONDS, "the sign-in in the second window")
        wait_until(lambda: first.focus() == "signOutButton", what="the keyboard to stay with the button")
        for window, origin in ((first, "this process"), (second, "another process")):
            wait_until(lambda: window.shows("services", "Rendering – included"), what="the services")
            self.assertEqual(("Ada Example", "ada@example.com"), (window.text("userName"), window.text("userMail")))
            self.assertEqual(("240", "1.3 GB of 5.4 GB in use (24 %)"), (window.text("quotaBar"), window.text("quotaText")))
            for token in ("access", "oauth2"):
                wait_until(lambda: window.text(f"{token}Expiry").startswith("59:"), what=f"the {token} token")
                self.assertRegex(window.text(f"{token}Renewal"), "^54:")
            self.assertEqual([origin], [row[2] for row in window.events() if row[1] == "LoggedIn"])
        shown = first.text("accessExpiry")
        wait_until(lambda: first.text("accessExpiry") < shown, AT_ONCE_SECONDS, "the countdown")
        self.take_picture(first, "desktop-light")
        self.take_picture(second, "desktop-dark")
        self.take_picture(first, "desktop-two", "screen")
        second.click("signOutButton")
        for window, origin in ((second, "this process"), (first, "another process")):
            wait_until(lambda: window.shows("status", "Nobody is signed in"), AT_ONCE_SECONDS, "the sign-out")
            wait_until(lambda: window.text("userName") == "Nobody is signed in" and "example.com" not in window.text("userMail"))
            self.assertEqual([origin], [row[2] for row in window.events() if row[1] == "LoggedOut"])
            self.assertEqual("–", window.text("accessExpiry"))

    def test_failures_are_shown_with_advice(self):
        window = self.open(0, "--dark")
        rows = [("status", {"status": 503}, "refused to begin a sign-in (status 503)", "Try again in a minute"),
                ("problem", {"problem": "system_error", "additional_error_info": "timestamp_mismatch"}, "clock of this computer", "time zone"),
                ("garbage", {}, "makes no sense", "hotel network"),
                ("drop", {"count": 5}, "could not be reached", "Check the network connection")]
        for kind, more, what, advice in rows:
            with self.subTest(kind):
                self.fault("request-token", kind, **more)
                window.keys("alt+s")
                wait_until(lambda: window.shows("noticeTitle", what), what=f'"{what}"')
                self.assertIn(advice, window.text("noticeText"))
                self.assertTrue(window.is_usable("signInButton"))
        self.take_picture(window, "desktop-failure")
        window.keys("alt+m")
        wait_until(lambda: not window.part("noticeTitle")["visible"], what="the message to go")
        self.service.control("reset", {})
        page = self.ask_for_page(window)
        window.keys("alt+c")
        wait_until(lambda: window.shows("noticeTitle", "You are not signed in yet"), what="the failure of a hasty Continue")
        window.keys("alt+a")
        self.assertEqual(page, window.pages.get(timeout=20), "Open page again")
        self.service.control("approve", {"url": page, "user": "ada"})
        window.keys("alt+c")
        wait_until(lambda: window.shows("status", "Signed in as ada"), what="the sign-in after all")
        self.service.stop()
        window.keys("alt+r")
        wait_until(lambda: window.shows("noticeTitle", "The access token could not be renewed"), what="the failed renewal")
        self.assertTrue(window.shows("status", "Signed in as ada"))

    def test_waits_can_be_cancelled(self):
        window = self.open(0)
        self.ask_for_page(window)
        wait_until(lambda: window.is_usable("continueButton"), what="the wait for the browser")
        window.keys("Escape")
        wait_until(lambda: window.is_usable("signInButton"), AT_ONCE_SECONDS, "the end of the wait for the browser")
        self.fault("request-token", "delay", delay_ms=60000, count=-1)
        window.keys("alt+s")
        wait_until(lambda: window.shows("activityText", "Asking the account service for a sign-in page"), AT_ONCE_SECONDS, "the progress")
        start = time.monotonic()
        window.keys("Escape")
        wait_until(lambda: window.is_usable("signInButton"), AT_ONCE_SECONDS, "the end of the wait")
        print(f"\ncancelled after {time.monotonic() - start:.2f} s")
        self.service.control("reset", {})
        self.sign_in(window)
        self.fault("access-token", "delay", delay_ms=60000, count=-1)
        window.click("accessRenewButton")
        wait_until(lambda: window.shows("activityText", "new access token"), AT_ONCE_SECONDS, "the progress")
        start = time.monotonic()
        window.click("cancelButton")
        wait_until(lambda: window.is_usable("accessRenewButton"), AT_ONCE_SECONDS, "the end of the renewal")
        print(f"cancelled after {time.monotonic() - start:.2f} s")
        self.assertTrue(window.shows("status", "Signed in as ada"))
        wait_until(lambda: window.shows("userMail", "ada@example.com"), what="the mail address")
        window.click("accessRenewButton")
        wait_until(lambda: window.shows("activityText", "new access token"), AT_ONCE_SECONDS, "the progress")
        seconds = window.stop()
        print(f"closed during work in {seconds:.2f} s")
        self.assertLess(seconds, CLOSING_SECONDS)

    def test_settings_work_by_keyboard(self):
        first, second = self.open(0), self.open(1, *SECOND)
        self.sign_in(first)
        first.keys("alt+g", "alt+h")
        wait_until(lambda: first.focus() == "proxyHost", what="the focus on the host")
        first.keys("alt+t")
        wait_until(lambda: first.shows("noticeTitle", "proxy needs a host"), what="the hint at what is missing")
        first.keys("alt+h")
        first.write("proxy.example.com\t3128\tada\tsecret")
        first.keys("Return")
        wait_until(lambda: first.shows("proxyHint", "A proxy is stored"), what="the stored proxy")
        self.assertEqual("", first.text("proxyPassword"))
        self.assertFalse(first.part("noticeTitle")["visible"])
        first.keys("alt+r")
        wait_until(lambda: first.shows("proxyHint", "No proxy is stored"), what="the proxy to be forgotten")
        first.keys("alt+e", "Down")
        wait_until(lambda: first.shows("serverHint", "signs you out of Production"), what="the warning")
        first.keys("alt+w")
        for window, server, origin in ((first, "Staging", "this process"), (second, "Staging", "another process")):
            wait_until(lambda: window.shows("status", f"Nobody is signed in · {server}"), what="the sign-out by the change of server")
            wait_until(lambda: ["ServerChanged", origin] in [row[1:3] for row in window.events()], what="the event")


if __name__ == "__main__":
    run_tests()
