#!/usr/bin/python3
"""Signs in on the sign-in page with headless Chromium, as a user would.

The browser starts with a fresh profile that trusts the given certificate
authority. No other check is relaxed. Exit status 0 means that the browser
showed the page "You are signed in" or, with --open, that it loaded the page.
"""

import argparse
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path
from urllib.parse import urlsplit

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support import expected_conditions as expected
from selenium.webdriver.support.ui import WebDriverWait

TIMEOUT_SECONDS = 20
SWITCHES = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--disable-dev-shm-usage", "--window-size=1000,760"]
COOKIE_FIELDS = {"Name": "name", "Value": "value", "Domain": "domain", "Path": "path",
                 "IsSecure": "secure", "IsHttpOnly": "httpOnly", "ExpiryDate": "expiry"}


class Unexpected(Exception):
    """The browser did not show the expected page."""


def trust(home: Path, ca_file: str) -> None:
    """Makes the profile trust the authority for servers, through the profile's NSS database."""
    database = home / ".pki" / "nssdb"
    database.mkdir(parents=True)
    for arguments in (["-N", "--empty-password"],
                      ["-A", "-n", "account-service", "-t", "C,,", "-i", ca_file]):
        subprocess.run(["certutil", "-d", f"sql:{database}", *arguments], check=True,
                       timeout=TIMEOUT_SECONDS, capture_output=True)


def open_browser(home: Path) -> webdriver.Chrome:
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium") or "/usr/bin/chromium"
    for switch in [*SWITCHES, f"--user-data-dir={home / 'profile'}"]:
        options.add_argument(switch)
    options.page_load_strategy = "normal"
    driver = shutil.which("chromedriver") or "/usr/bin/chromedriver"
    environment = {**os.environ, "HOME": str(home), "XDG_CONFIG_HOME": str(home / "config"),
                   "XDG_CACHE_HOME": str(home / "cache"), "XDG_DATA_HOME": str(home / "data"),
                   "TMPDIR": str(home)}
    browser = webdriver.Chrome(service=Service(driver, env=environment), options=options)
    browser.set_page_load_timeout(TIMEOUT_SECONDS)
    return browser


def wait_for(browser: webdriver.Chrome, condition, what: str):
    try:
        return WebDriverWait(browser, TIMEOUT_SECONDS, 0.05).until(condition)
    except WebDriverException:
        raise Unexpected(f'{what} did not appear; the page is "{browser.title}"') from None


def submit(browser: webdriver.Chrome, user: str, password: str) -> None:
    for name, text in (("username", user), ("password", password)):
        box = wait_for(browser, expected.element_to_be_clickable((By.ID, name)), f"box {name}")
        box.clear()
        box.send_keys(text)
    browser.find_element(By.ID, "sign-in").click()


def sign_in(browser: webdriver.Chrome, options: argparse.Namespace) -> None:
    if options.wrong_password_first:
        submit(browser, options.user, options.password + "x")
        alert = wait_for(browser, expected.visibility_of_element_located(
            (By.CSS_SELECTOR, "form [role=alert]")), "the error on the form")
        kept = browser.find_element(By.ID, "username").get_attribute("value")
        if not alert.text or kept != options.user:
            raise Unexpected("the form is not ready for a second try")
        print(f"Wrong password first: {alert.text}")
    if options.screenshot:
        browser.save_screenshot(options.screenshot)
    submit(browser, options.user, options.password)
    wait_for(browser, expected.visibility_of_element_located((By.ID, "signed-in")),
             "the signed-in page")


def write_cookies(browser: webdriver.Chrome, path: str) -> None:
    """Writes all cookies of the browser, with their values, to an owner-only file."""
    cookies = [{ours: cookie[theirs] for ours, theirs in COOKIE_FIELDS.items() if theirs in cookie}
               for cookie in browser.get_cookies()]
    descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
    with os.fdopen(descriptor, "w", encoding="utf-8") as file:
        json.dump({"Cookies": cookies}, file, indent=4)


def parse() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("url", help="the page to open: a sign-in URL, or any with --open")
    parser.add_argument("--user", default="ada", help="user name (default %(default)s)")
    parser.add_argument("--password", default="correct horse",
                        help="password (default: that of the default user)")
    parser.add_argument("--ca", required=True, metavar="FILE", help="authority to trust, PEM")
    parser.add_argument("--open", action="store_true",
                        help="only open the page (sign-out, account) and print its title")
    parser.add_argument("--wrong-password-first", action="store_true",
                        help="try a wrong password first and check that the form says so")
    parser.add_argument("--screenshot", metavar="FILE",
                        help="PNG of the form before signing in, or of the page with --open")
    parser.add_argument("--cookies", metavar="FILE", help="write the browser's cookies as JSON")
    return parser.parse_args()


def run(options: argparse.Namespace, home: Path) -> None:
    trust(home, options.ca)
    browser = open_browser(home)
    try:
        browser.get(options.url)
        if browser.execute_script("return location.protocol") != urlsplit(options.url).scheme + ":":
            raise Unexpected(f'the browser refused to go there: "{browser.title}"')
        if options.open:
            # Pages of the service have this heading. The browser's own error page does not.
            wait_for(browser, expected.presence_of_element_located((By.CSS_SELECTOR, "main h1")),
                     "the page")
            if browser.find_elements(By.ID, "refused"):
                raise Unexpected(browser.find_element(By.ID, "refused").text.replace("\n", " "))
            if options.screenshot:
                browser.save_screenshot(options.screenshot)
        else:
            sign_in(browser, options)
        if options.cookies:
            write_cookies(browser, options.cookies)
        print(browser.title)
    finally:
        browser.quit()


def give_up(number: int, _frame) -> None:
    raise Unexpected("stopped from outside" if number == signal.SIGTERM else "it took too long")


def main() -> int:
    options = parse()
    signal.signal(signal.SIGTERM, give_up)
    signal.signal(signal.SIGALRM, give_up)
    signal.alarm(4 * TIMEOUT_SECONDS)
    # Not under TMPDIR: the browser creates a socket there, whose path must stay under 108 bytes.
    with tempfile.TemporaryDirectory(prefix="vqws-browser-", dir="/tmp", ignore_cleanup_errors=True) as home:
        try:
            run(options, Path(home))
            return 0
        except subprocess.CalledProcessError as error:
            print(f"certutil failed: {error.stderr.decode().strip()}", file=sys.stderr)
        except (Unexpected, OSError, subprocess.TimeoutExpired) as error:
            print(f"The browser did not get there: {error}", file=sys.stderr)
        except WebDriverException as error:
            # The full message contains the address, and with it tokens.
            first = (error.msg or "unknown").splitlines()[0].split("http")[0]
            print(f"The browser did not get there: {first}", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
