"""The states in which a product must tell its user what is the matter and what to do next. Each has a picture in the documentation.

With VQ_PICTURES=1 the pictures of the documentation are made again; otherwise they go to a temporary folder.
"""
from cases import AT_ONCE_SECONDS, GAP, HEIGHT, SECOND, WIDTH, DesktopCase, run_tests
from screen import Screen, Window, wait_until

QUESTION = "Unsaved note"


class StatesTest(DesktopCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen(2 * WIDTH + 3 * GAP, HEIGHT + 2 * GAP)
        cls.addClassCleanup(cls.screen.close)

    def assert_told(self, window: Window, what: str, *next_steps: str, picture: str) -> None:
        wait_until(lambda: window.shows("noticeTitle", what), what=f'"{what}"')
        for step in next_steps:
            self.assertIn(step, window.text("noticeText"))
        self.assertTrue(window.is_usable("signInButton"))
        window.keys("alt+b")
        wait_until(lambda: window.part("noteText")["visible"], what="the notebook")
        self.take_picture(window, picture)

    def write_note(self, window: Window, text: str) -> None:
        window.keys("alt+b")
        wait_until(lambda: window.is_usable("noteText"), what="the note")
        window.click("noteText")
        window.write(text)
        wait_until(lambda: window.shows("noteText", text) and window.shows("noteHint", "not saved"), what="the text of the note")

    def ask_to_sign_out(self, window: Window) -> None:
        window.keys("alt+o")
        wait_until(lambda: self.screen.find(QUESTION), what="the question")

    def answer(self, key: str) -> None:
        self.screen.do("windowfocus", "--sync", self.screen.find(QUESTION), "key", key)
        wait_until(lambda: not self.screen.find(QUESTION), what="the answer")

    def test_offline(self):
        window = self.open(0, "--light")
        self.service.stop()
        window.keys("alt+s")
        self.assert_told(window, "could not be reached", "Check the network connection", "then sign in again", picture="state-offline")

    def test_captive_portal(self):
        window = self.open(0, "--light")
        self.fault("*", "html", count=-1)
        window.keys("alt+s")
        self.assert_told(window, "an answer that makes no sense", "hotel network", "sign in to the network there, then sign in here again",
                         picture="state-captive-portal")
        self.service.control("reset", {})
        self.sign_in(window)
        self.assertFalse(window.part("noticeTitle")["visible"])

    def test_expired_sign_in(self):
        window = self.open(0, "--light")
        self.sign_in(window)
        self.write_note(window, "Milk and bread")
        self.service.control("expire", {"what": "sessions"})
        window.keys("alt+v", "alt+r")
        self.assert_told(window, "Your sign-in has expired.", "Choose Sign in", "unsaved note comes back", picture="state-expired")
        self.assertEqual("", window.text("noteText"))
        self.sign_in(window)
        wait_until(lambda: window.text("noteText") == "Milk and bread", what="the note to come back")
        self.assertIn("not saved", window.text("noteHint"))

    def test_sign_out_with_unsaved_work(self):
        window, other = self.open(0, "--light"), self.open(1, *SECOND)
        self.sign_in(window)
        self.write_note(window, "Milk")
        self.ask_to_sign_out(window)
        self.take_picture(window, "state-unsaved-work")
        for key in ("Escape", "alt+t"):
            self.answer(key)
            self.assertTrue(window.shows("status", "Signed in as ada") and window.shows("noteText", "Milk"))
            self.assertTrue(other.shows("status", "Signed in as ada"))
            self.ask_to_sign_out(window)
        self.answer("Return")
        self.wait_for_sign_out(window, other)
        self.sign_in(window)
        wait_until(lambda: window.text("noteText") == "Milk" and window.text("noteHint") == "The note is saved.", what="the saved note")
        self.write_note(window, "Bread")
        window.keys("alt+g", "alt+e", "Down", "alt+w")
        wait_until(lambda: self.screen.find(QUESTION), what="the question before the change of server")
        self.answer("alt+d")
        self.wait_for_sign_out(window, other)
        wait_until(lambda: window.shows("status", "Staging"), what="the change of server")

    def wait_for_sign_out(self, *windows: Window) -> None:
        for window in windows:
            wait_until(lambda: window.shows("status", "Nobody is signed in"), AT_ONCE_SECONDS, "the sign-out")
        # The user who has signed out here needs no explanation.
        self.assertFalse(windows[0].part("noticeTitle")["visible"])

    def test_sign_out_by_another_product(self):
        window, other = self.open(0, "--light"), self.open(1, *SECOND)
        self.sign_in(window)
        self.write_note(window, "Milk and bread")
        self.ask_to_sign_out(window)
        other.keys("alt+o")
        wait_until(lambda: not self.screen.find(QUESTION), what="the question to go, which is about nothing now")
        self.assert_told(window, "Another product has ended your sign-in.", "Choose Sign in", "unsaved note comes back",
                         picture="state-signed-out-elsewhere")
        self.assertFalse(window.part("logButton")["visible"], "there is nothing to find in the log")
        window.stop()
        window = self.open(0)
        self.sign_in(window)
        wait_until(lambda: window.text("noteText") == "Milk and bread", what="the note to come back")


if __name__ == "__main__":
    run_tests()
