#!/usr/bin/python3
"""The main job of the library, shown step by step against the account service for development.

Every step is observed from the outside: in what the service logged, in what the browser shows, in what another
process reports. Exit status 0 means that each of them was seen.
"""
import argparse
import datetime
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

from account import AccountService
from product import Home, Product

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
DRIVER = ROOT / "dev/account-service/drive_sign_in.py"
USER, PASSWORD = "ada", "correct horse"
BROWSER_WAIT_SECONDS = 600
STEPS = 9
# A product refreshes a token with less than five minutes left; the first token of the demo is such a one.
SHORT_LIFE_SECONDS, LIFE_SECONDS = 240, 3600
REFRESH_WAIT_SECONDS = 60
# More than the driver allows itself, so that it ends its browser and says what was wrong.
DRIVER_SECONDS = 100
SECOND_PRODUCT = ("--key", "second-product-0002", "--secret", "demo-secret-0002")


class StepFailed(Exception):
    """What was to be seen was not seen."""


def expect(condition: bool, text: str) -> None:
    if not condition:
        raise StepFailed(text)


def when(seconds: int) -> str:
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%Y-%m-%d %H:%M:%S UTC")


class Demo:
    def __init__(self, options: argparse.Namespace, folder: pathlib.Path):
        self.options = options
        self.folder = folder
        self.step_name = "starting"
        self.step_number = 0
        self.home = Home(folder)
        self.service = AccountService(folder / "service")
        self.products: list[Product] = []

    def step(self, name: str) -> None:
        self.step_number += 1
        self.step_name = name
        print(f"[{self.step_number}/{STEPS}] {name} ...", flush=True)

    @staticmethod
    def seen(text: str) -> None:
        print(f"      {text}", flush=True)

    def start_product(self, title: str, *options: str) -> Product:
        shutil.copy(ROOT / "config/WebServices.logconfig", self.folder / "service")
        product = Product(pathlib.Path(self.options.binaries) / "sample-product", self.service, self.home, title, *options)
        self.products.append(product)
        return product

    def browse(self, url: str, *arguments: str) -> str:
        """Opens a page in headless Chromium, which trusts the service's authority, and returns what the driver says."""
        command = [str(DRIVER), url, "--ca", self.service.info["ca_file"], *arguments]
        result = subprocess.run(command, capture_output=True, text=True, timeout=DRIVER_SECONDS, check=False)
        expect(result.returncode == 0, f"the browser did not show the page: {result.stderr.strip() or result.stdout.strip()}")
        return result.stdout.strip()

    def sign_in(self, product: Product) -> None:
        login = product.ask("initiate-login")
        expect(login["ok"] and login["url"].startswith(self.service.info["url"]), f"no sign-in page: {login}")
        cookies = self.folder / "cookies.json"
        if self.options.headless:
            self.browse(login["url"], "--user", USER, "--password", PASSWORD, "--cookies", str(cookies))
            completed = product.ask(f"complete-login {cookies}")
        else:
            self.open_browser(login["url"])
            completed = product.ask("complete-login")
        expect(completed["ok"], f"the sign-in was not completed: {completed}")

    def open_browser(self, url: str) -> None:
        self.seen(f"Sign in as \"{USER}\" with the password \"{PASSWORD}\". The page's certificate comes from a throw-away authority")
        self.seen(f"({self.service.info['ca_file']}), so your browser will ask whether to trust it.")
        subprocess.Popen(["xdg-open", url], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        end = time.monotonic() + BROWSER_WAIT_SECONDS
        while time.monotonic() < end:
            if self.service.accepted("signed-in"):
                self.clear_progress()
                return
            self.show_progress(f"waiting for you to sign in, {int(end - time.monotonic())} s left")
            time.sleep(1)
        self.clear_progress()
        raise StepFailed("nobody signed in")

    @staticmethod
    def show_progress(text: str) -> None:
        """One line that renews itself; a file or a pipe would only be filled by it."""
        if sys.stdout.isatty():
            print(f"\r      {text} ", end="", flush=True)

    @staticmethod
    def clear_progress() -> None:
        if sys.stdout.isatty():
            print("\r" + " " * 60 + "\r", end="", flush=True)

    def wait_for_refresh(self, product: Product, expiry: int) -> dict:
        """Waits for a token that lives longer; on a slow machine one of short life may have been refreshed before it."""
        end = time.monotonic() + REFRESH_WAIT_SECONDS
        while time.monotonic() < end:
            status = product.ask("status")
            if status["tokenExpires"] > expiry and self.service.accepted("access-token") >= 2:
                return status
            time.sleep(0.2)
        raise StepFailed(f"the token was not refreshed within {REFRESH_WAIT_SECONDS} s: {status}")

    def run(self) -> None:
        self.step("Starting the account service")
        self.service.start()
        self.seen(f"It listens at {self.service.info['url']} and checks every signature with oauthlib.")

        self.step("Signing in through the browser")
        self.service.control("lifetimes", {"token": SHORT_LIFE_SECONDS})
        first = self.start_product("first")
        expect(not first.ask("status")["signedIn"], "the product was signed in before it began")
        self.sign_in(first)
        status = first.ask("status")
        expect(status["signedIn"] and status["user"] == USER, f"nobody is signed in: {status}")
        expect(self.service.accepted("access-token") >= 1, "the service did not hand out an access token")
        self.seen(f"{status['user']} is signed in until {when(status['loginExpires'])};")
        self.seen(f"the access token lives until {when(status['tokenExpires'])}.")

        self.step("Waiting for the token to be refreshed ahead of time")
        self.service.control("lifetimes", {"token": LIFE_SECONDS})
        status = self.wait_for_refresh(first, int(time.time()) + LIFE_SECONDS // 2)
        self.seen(f"Nobody asked for it: the new token lives until {when(status['tokenExpires'])}.")

        self.step("Sending a signed request")
        before = self.service.accepted("echo")
        reply = first.ask(f"get {self.service.info['url']}/api/echo?greeting=hello%20world")
        expect(reply["ok"] and json.loads(reply["body"])["user"] == USER, f"the request was refused: {reply}")
        expect(self.service.accepted("echo") == before + 1, "the service did not log the request as accepted")
        self.seen(f"The service accepted it and answered: {reply['body'].strip()}")

        self.step("Signing a URL for the browser")
        url = first.ask(f"sign-url {self.service.info['url']}/account")
        expect(url["ok"], f"the URL was not signed: {url}")
        title = self.browse(url["url"], "--open")
        expect(self.service.accepted("account-page") == 1, "the service did not accept the signed URL")
        self.seen(f"The browser shows the page \"{title}\".")

        self.step("Starting a second product in a second process")
        before = self.service.accepted("access-token")
        second = self.start_product("second", *SECOND_PRODUCT)
        status = second.ask("status")
        expect(status["signedIn"] and status["user"] == USER, f"the second product is not signed in: {status}")
        reply = second.ask(f"get {self.service.info['url']}/api/echo")
        expect(reply["ok"] and json.loads(reply["body"])["user"] == USER, f"its request was refused: {reply}")
        expect(self.service.accepted("access-token") == before + 1, "the second product did not get a token of its own")
        self.seen(f"{status['user']} is signed in there too, without any sign-in, with a token of its own,")
        self.seen("and the service accepted its request.")

        self.step("Signing out in the first product")
        expect(first.ask("logout")["ok"], "the product did not sign out")
        expect(not first.ask("status")["signedIn"], "the product still says that somebody is signed in")
        expect(self.service.accepted("invalidate-token") == 1, "the service did not end the session")
        self.seen("The user is signed out, and the service has ended the session.")

        self.step("Looking at the second product")
        status = second.ask("status")
        expect(not status["signedIn"], f"the second product is still signed in: {status}")
        expect(second.hears("LoggedOut"), "the second product's observer did not receive the sign-out event")
        self.seen("It is signed out as well, and its observer was notified.")

        self.step("Asking the second product for a signed request")
        reply = second.ask(f"get {self.service.info['url']}/api/echo")
        expect(not reply["ok"] and "status" not in reply, f"it still signs: {reply}")
        self.seen("It refuses: nobody is signed in.")

    def finish(self, keep: bool) -> None:
        for product in self.products:
            product.stop()
        if keep:
            print(self.service.how_to_talk())
            print("The service runs until you press Ctrl+C.", flush=True)
            try:
                self.service.process.wait()
            except KeyboardInterrupt:
                pass
        self.service.stop()


def parse_options() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="tools/demo", description=__doc__)
    parser.add_argument("--headless", action="store_true",
                        help="drive headless Chromium over the sign-in page; the default where there is no display")
    parser.add_argument("--keep", action="store_true", help="leave the account service running and print how to talk to it")
    parser.add_argument("--binaries", default=str(ROOT / "build/linux-release/bin"), help=argparse.SUPPRESS)
    options = parser.parse_args()
    options.headless = options.headless or not (os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY"))
    return options


def main() -> int:
    options = parse_options()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-demo-"))
    demo = Demo(options, folder)
    started = time.monotonic()
    failure = ""
    try:
        demo.run()
    except (StepFailed, OSError, subprocess.SubprocessError, ValueError, KeyError) as error:
        failure = str(error) or type(error).__name__
    except KeyboardInterrupt:
        failure = "stopped by the user"
    demo.finish(options.keep and not failure)
    if failure:
        print(f"Failed at step {demo.step_number}, {demo.step_name}: {failure}", file=sys.stderr)
        print(f"Logs: {folder}/data/Velquor/Web Services/WebServices.log (library), "
              f"{folder}/service/account-service.log (service)", file=sys.stderr)
        return 1
    print(f"Every step was observed, in {time.monotonic() - started:.0f} s.")
    shutil.rmtree(folder, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
