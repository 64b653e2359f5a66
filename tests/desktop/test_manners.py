"""The desktop sample for everyone: by screen reader, by keyboard alone, in German, in high contrast, at 200 %, from right to left.

With VQ_PICTURES=1 the pictures of the documentation are made again; otherwise they go to a temporary folder.
"""
import os
import re
import shutil
import subprocess
import xml.etree.ElementTree

from cases import GAP, SOURCE, TITLES, WIDTH, DesktopCase, run_tests
import reader  # noqa: I001 (the cases make the other modules known)
from screen import Screen, Window, wait_until

SAMPLE = SOURCE / "examples/desktop-product"
GERMAN_FILE = SAMPLE / "translations/desktop_de.ts"
GERMAN_TABS = ("alt+t", "alt+z", "alt+n")
CONTROLS = {"push button", "page tab", "page tab list", "text", "password text", "spin button", "combo box", "list", "tree", "progress bar"}
# Texts that are the same in every language: names, what the services answer, and values.
DATA = [*map(re.escape, TITLES), "ada", "Ada Example", "ada@example.com", "demo-product-0001", r"(Log|Token|OAuth2)[A-Za-z]+", r"[\d:.]+"]
WORDS = {"en": ("Nobody is signed in", "Signed in as ada", "alt+s", "alt+o"),
         "de": ("Niemand ist angemeldet", "Angemeldet als ada", "alt+a", "alt+b")}
# The colours of a desktop, as its high contrast settings write them.
HIGH_CONTRAST = "".join(f"[Colors:{part}]\nBackgroundNormal={{back}}\nBackgroundAlternate={{back}}\nForegroundNormal={{text}}\n"
                        for part in ("Window", "View", "Button", "Tooltip")) + (
    "[Colors:Selection]\nBackgroundNormal={mark}\nForegroundNormal={marked}\n")


def german_patterns() -> list[str]:
    """What each German text may look like, without its mnemonic and with any value in the place of its %1."""
    texts = [message.findtext("translation") for message in xml.etree.ElementTree.parse(GERMAN_FILE).iter("message")]
    return [re.sub(r"%\d", ".*", re.escape(re.sub("&(?=.)", "", text))) for text in texts]


def contrast(first: str, second: str) -> float:
    """The contrast of two colours like #rrggbb, 1 to 21."""
    def brightness(colour: str) -> float:
        channels = [int(colour[start:start + 2], 16) / 255 for start in (1, 3, 5)]
        linear = [value / 12.92 if value <= 0.03928 else ((value + 0.055) / 1.055) ** 2.4 for value in channels]
        return sum(part * weight for part, weight in zip(linear, (0.2126, 0.7152, 0.0722)))
    low, high = sorted([brightness(first), brightness(second)])
    return (high + 0.05) / (low + 0.05)


class MannersCase(DesktopCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen(1760, 1320)
        cls.addClassCleanup(cls.screen.close)

    def variables(self) -> dict[str, str]:
        self.bus = reader.Bus()
        self.addCleanup(self.bus.close)
        return {**super().variables(), **self.bus.variables}

    def read(self, window: Window) -> reader.ScreenReader:
        made = reader.ScreenReader(self.bus, window.process.pid)
        self.addCleanup(made.close)
        return made

    def assert_keys_differ(self, parts: list[reader.Part]) -> None:
        keys = [part.keys.lower() for part in parts if part.keys.startswith("Alt+") and part.role != "page tab list"]
        self.assertLess(3, len(keys))
        self.assertEqual(sorted(set(keys)), sorted(keys))

    def open_tabs(self, window: Window, *keys: str):
        """Each tab of the window in turn."""
        for key, part in zip(keys or ("alt+v", "alt+b", "alt+g"), ("services", "noteText", "proxyHost")):
            window.keys(key)
            wait_until(lambda: window.part(part)["visible"], what=f"the tab of {part}")
            yield part


class ReaderTest(MannersCase):
    def test_names_roles_and_announcements(self):
        window = self.open(0)
        screen_reader = self.read(window)
        shown = {"services": {("status bar", "Nobody is signed in · Production"), ("push button", "Sign in"), ("page tab", "Overview"),
                              ("list", "Services"), ("tree", "Events"), ("progress bar", "Storage in use"), ("push button", "Renew"),
                              ("panel", "Account"), ("label", "Access token: no token")},
                 "noteText": {("text", "Note"), ("push button", "Save")},
                 "proxyHost": {("combo box", "Production"), ("text", "Host:"), ("spin button", "Port:"), ("password text", "Password:")}}
        for part in self.open_tabs(window):
            with self.subTest(part):
                parts = screen_reader.parts()
                self.assertEqual(set(), shown[part] - {told[:2] for told in parts})
                self.assertEqual([], [told for told in parts if told.role in CONTROLS and not told.name])
                self.assert_keys_differ(parts)
        self.fault("request-token", "drop", count=5)
        window.keys("alt+s")
        wait_until(lambda: screen_reader.hears("notification", "The account service could not be reached."), what="the alert")
        self.service.control("reset", {})
        self.sign_in_on_page(window)
        # The reader asks for the name that has changed, and would find the next one.
        wait_until(lambda: screen_reader.hears("status bar", "Sign in on the page in your browser"), what="the next step to be told")
        window.keys("Return")
        wait_until(lambda: screen_reader.hears("status bar", "Signed in as ada · Production"), what="the sign-in to be told")

class KeyboardTest(MannersCase):
    ORDERS = {"services": "signOutButton qt_tabwidget_tabbar refreshButton services accessRenewButton oauth2RenewButton events",
              "noteText": "signOutButton qt_tabwidget_tabbar noteText",
              "proxyHost": "signOutButton qt_tabwidget_tabbar serverBox proxyHost proxyPort proxyUser proxyPassword storeProxyButton"}

    def test_everything_works_by_keyboard_alone(self):
        window = self.open(0)
        window.keys("space")
        self.service.control("approve", {"url": window.pages.get(timeout=20), "user": "ada"})
        wait_until(lambda: window.focus() == "continueButton", what="the focus on Continue")
        window.keys("Return")
        wait_until(lambda: window.focus() == "signOutButton" and window.shows("services", "Rendering"), what="the sign-in")
        for part in self.open_tabs(window):
            with self.subTest(part):
                order = self.ORDERS[part].split()
                self.assertEqual(order, self.walk(window, "Tab", len(order)))
                self.assertEqual(order[:1] + order[:0:-1], self.walk(window, "shift+Tab", len(order)))
        self.move_to(window, "signOutButton")
        window.keys("Return")
        wait_until(lambda: window.focus() == "signInButton" and window.shows("status", "Nobody"), what="the sign-out")
        self.fault("request-token", "garbage")
        window.keys("Return")
        wait_until(lambda: window.part("noticeTitle")["visible"], what="the notice")
        window.keys("Escape")
        wait_until(lambda: not window.part("noticeTitle")["visible"], what="Escape to close the notice")

    def move_to(self, window: Window, name: str) -> None:
        for _ in range(20):
            if window.focus() == name:
                return
            window.keys("Tab")
        self.fail(f"the Tab key does not reach {name}")

    def walk(self, window: Window, key: str, count: int) -> list[str]:
        """The parts that the key reaches, from the sign-out button on. Each must look different while it has the focus."""
        self.move_to(window, "signOutButton")
        names = []
        for _ in range(count):
            name = window.focus()
            focused = window.part(name)["look"]
            window.keys(key)
            wait_until(lambda: window.focus() != name, what=f"the focus to leave {name}")
            self.assertNotEqual(focused, window.part(name)["look"], f"the focus on {name} is not seen")
            names.append(name)
        self.assertEqual("signOutButton", window.focus(), "the keyboard does not come round")
        return names


class LookTest(MannersCase):
    def test_contrast(self):
        kde = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5"}
        rows = [("--light", {}, ""), ("--dark", {}, ""), ("system", {}, ""),
                ("white on black", kde, HIGH_CONTRAST.format(back="0,0,0", text="255,255,255", mark="255,255,0", marked="0,0,0")),
                ("black on white", kde, HIGH_CONTRAST.format(back="255,255,255", text="0,0,0", mark="0,0,128", marked="255,255,255"))]
        for name, variables, colours in rows:
            with self.subTest(name):
                (self.home.folder / "config").mkdir(exist_ok=True)
                (self.home.folder / "config/kdeglobals").write_text(colours, encoding="utf-8")
                self.home.variables.update(variables)
                window = self.open(0, *([name] if name.startswith("--") else []))
                if variables:
                    back = {"white on black": "#000000", "black on white": "#ffffff"}[name]
                    self.assertEqual({back}, {text["back"] for text in self.texts(window) if text["part"].startswith("status")})
                self.fault("request-token", "garbage")
                window.keys("alt+s")
                wait_until(lambda: window.part("noticeTitle")["visible"], what="the notice")
                low = [text for part in self.open_tabs(window) for text in self.low_texts(window)]
                window.keys("alt+m")
                self.sign_in(window)
                window.keys("alt+v")
                wait_until(lambda: window.shows("services", "Rendering"), what="the services")
                if name == "white on black":
                    window.ask("size 760 560")
                    self.take_picture(window, "desktop-high-contrast")
                low += self.low_texts(window)
                self.sign_out_and_stop(window)
                self.assertEqual([], low)

    def texts(self, window: Window) -> list[dict]:
        found = window.ask("colours")["texts"]
        self.assertLess(10, len(found))
        return found

    def low_texts(self, window: Window) -> list[dict]:
        return [text for text in self.texts(window) if contrast(text["text"], text["back"]) < 4.5]

    def sign_out_and_stop(self, window: Window) -> None:
        window.keys(self.SIGN_OUT_KEY)
        wait_until(lambda: window.shows("status", self.NOBODY), what="the sign-out")
        window.stop()

    def test_nothing_is_cut_off_at_200_percent(self):
        self.home.variables["QT_SCALE_FACTOR"] = "2"
        for language, tabs in (("en", ()), ("de", GERMAN_TABS)):
            with self.subTest(language):
                self.NOBODY, self.SIGNED_IN, self.SIGN_IN_KEY, self.SIGN_OUT_KEY = WORDS[language]
                window = self.open(0, "--language", language)
                self.sign_in(window)
                cut = [text for _ in self.open_tabs(window, *tabs) for text in window.ask("cut")["texts"]]
                if language == "en":
                    window.ask("size 760 440")
                    self.take_picture(window, "desktop-200-percent")
                self.sign_out_and_stop(window)
                self.assertEqual([], cut)

    def test_right_to_left_is_the_mirror_of_left_to_right(self):
        parts = ["status", "signInButton", "userMail", "accessRenewButton", "refreshButton", "accessExpiryText"]
        places = {}
        for option in ("--light", "-reverse"):
            window = self.open(0, option)
            places[option] = [(window.part(part)["x"], window.part(part)["y"]) for part in parts]
            if option == "-reverse":
                self.take_picture(window, "desktop-right-to-left")
            window.stop()
        edges = 2 * GAP + WIDTH - 1
        for part, left, right in zip(parts, places["--light"], places["-reverse"]):
            with self.subTest(part):
                self.assertAlmostEqual(edges - left[0], right[0], delta=2)
                self.assertAlmostEqual(left[1], right[1], delta=1)


class LanguageTest(MannersCase):
    NOBODY, SIGNED_IN, SIGN_IN_KEY, SIGN_OUT_KEY = WORDS["de"]

    def test_each_text_of_the_code_has_a_german_one(self):
        fresh = self.folder / "desktop_de.ts"
        shutil.copy(GERMAN_FILE, fresh)
        tool = os.path.join(os.path.dirname(os.environ["VQ_LRELEASE"]), "lupdate")
        subprocess.run([tool, str(SAMPLE), "-no-obsolete", "-locations", "none", "-ts", str(fresh)], check=True, capture_output=True)
        texts = [[(context.findtext("name"), source.text) for context in xml.etree.ElementTree.parse(file).iter("context")
                  for source in context.iter("source")] for file in (GERMAN_FILE, fresh)]
        self.assertEqual(sorted(texts[0]), sorted(texts[1]), "run lupdate, and translate")
        for message in xml.etree.ElementTree.parse(GERMAN_FILE).iter("message"):
            english, german = message.findtext("source"), message.findtext("translation")
            with self.subTest(english):
                self.assertIsNone(message.find("translation").get("type"), "not translated")
                for mark in (r"%\d", "&(?=.)"):
                    self.assertEqual(sorted(re.findall(mark, english)), sorted(re.findall(mark, german)))

    def test_no_english_is_left_in_the_window(self):
        window = self.open(0, "--language", "de")
        screen_reader = self.read(window)
        known = re.compile("|".join(f"(?:{pattern})" for pattern in german_patterns() + DATA), re.DOTALL)
        parts = []
        for fails in (True, False):
            if fails:
                self.fault("request-token", "garbage")
                window.keys("alt+a")
                wait_until(lambda: window.part("noticeTitle")["visible"], what="the notice")
            else:
                self.sign_in(window)
            for part in self.open_tabs(window, *GERMAN_TABS):
                shown = screen_reader.parts()
                self.assert_keys_differ(shown)
                parts += shown
            window.keys("alt+t")
        wait_until(lambda: window.shows("services", "enthalten"), what="the services")
        parts += screen_reader.parts()
        texts = {text for part in parts for text in (part.name, part.description) if text}
        self.assertLess(60, len(texts))
        self.assertEqual([], sorted(text for text in texts if not known.fullmatch(text)))
        self.take_picture(window, "desktop-german")


if __name__ == "__main__":
    run_tests()
