"""Whole programs in processes of their own: a real browser, a second process, and a search for leaked secrets."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
BINARIES = pathlib.Path(os.environ["VQ_BINARY_DIR"]) / "bin"
sys.path.insert(0, str(SOURCE / "dev/demo"))

from account import AccountService  # noqa: E402
from product import Home, Product  # noqa: E402

PASSWORD = "correct horse"
PRODUCT = BINARIES / "sample-product"
# Set where the products are built for Windows and run under Wine.
SYSROOT = os.environ.get("VQ_WINDOWS_SYSROOT", "")


class ProgramsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-test-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.home = Home(self.folder / "home", SYSROOT)
        self.addCleanup(self.home.close)
        self.service = AccountService(self.folder / "service")
        self.service.start()
        self.addCleanup(self.service.stop)

    def start(self, title: str) -> Product:
        product = Product(PRODUCT, self.service, self.home, title)
        self.addCleanup(product.stop)
        return product

    def test_no_secret_is_found_in_clear(self):
        os.environ["VQWS_LOGLEVEL"] = "TRACE"
        self.addCleanup(os.environ.pop, "VQWS_LOGLEVEL")
        product = self.start("first")
        login = product.ask("initiate-login")
        cookies = self.folder / "cookies.json"
        subprocess.run([str(SOURCE / "dev/account-service/drive_sign_in.py"), login["url"], "--ca", self.service.info["ca_file"],
                        "--user", "ada", "--password", PASSWORD, "--cookies", str(cookies), "--wrong-password-first"],
                       check=True, timeout=60, capture_output=True)
        # A refused exchange writes its dump, where a secret would show first.
        self.service.control("faults", {"endpoint": "access-token", "kind": "missing", "parameters": ["oauth_session_handle"], "count": 1})
        product.ask(f"complete-login {self.home.path(cookies)}")
        login = product.ask("initiate-login")
        self.service.control("approve", {"url": login["url"], "user": "ada"})
        self.assertTrue(product.ask(f"complete-login {self.home.path(cookies)}")["ok"])
        self.assertTrue(product.ask(f"get {self.service.info['url']}/api/echo?note=x")["ok"])
        self.assertTrue(product.ask(f"sign-url {self.service.info['url']}/account")["ok"])
        state = (self.home.data() / "LoginState.xml").read_text(encoding="utf-8")
        self.assertIn("<Product ", state)
        self.assertTrue(product.ask("initiate-logout")["ok"])
        browser = [cookie["Value"] for cookie in json.loads(cookies.read_text(encoding="utf-8"))["Cookies"] if len(cookie["Value"]) > 8]
        secrets = self.service.control("secrets")["secrets"] + browser + [PASSWORD]
        self.assertGreater(len(secrets), 8)
        product.stop()
        self.home.close()
        written = self.written_files()
        log = written[self.home.data() / "WebServices.log"]
        self.assertIn(b"DEBUG", log, "the log was not written at trace level")
        self.assertIn(b"server returned invalid response body", log.lower(), "no dump was written")
        for secret in secrets:
            for form in {secret, urllib.parse.quote(secret, safe=""), urllib.parse.quote(urllib.parse.quote(secret, safe=""), safe="")}:
                for path, contents in written.items():
                    self.assertNotIn(form.encode(), contents, f"a secret is in {path.name}")

    def written_files(self) -> dict[pathlib.Path, bytes]:
        """Everything the product wrote: its data, its temporary files, under Wine also the registry."""
        return {path: path.read_bytes() for path in self.home.folder.rglob("*") if path.is_file() and not path.is_symlink()}

    def run_with_configuration(self, configuration: bytes | None, command: list[str] | None = None, orders: str = "") -> subprocess.CompletedProcess:
        """Runs the product with the library in a folder that holds this log configuration, or none."""
        library = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        for file in BINARIES.glob("libVqWebServices.so*"):
            shutil.copy(file, library, follow_symlinks=False)
        if configuration is not None:
            (library / "WebServices.logconfig").write_bytes(configuration)
        environment = {**os.environ, "LD_LIBRARY_PATH": str(library), "XDG_DATA_HOME": str(library / "none")}
        return subprocess.run(command or [str(PRODUCT), "--support", str(self.service.folder), "--ca", self.service.info["ca_file"]],
                              input=orders or f"status\ninitiate-login\nget {self.service.info['url']}/api/echo\n"
                                              "logout\ninitiate-logout\ncomplete-login\nquit\n",
                              capture_output=True, text=True, timeout=30, check=False, env=environment)

    @unittest.skipIf(SYSROOT, "moves the library by the loader's search path, which Windows does not have")
    def test_without_a_log_configuration_the_network_is_refused(self):
        before = self.service.control("log")["requests"]
        run = self.run_with_configuration(None)
        reason = "Web Services initialization failed due to missing WebServices.logconfig file."
        self.assertIn("Web Services initialization failed. Log config file- WebServices.logconfig could not be located in any of "
                      f"the following paths:\n{self.folder}", run.stdout)
        for refusal in ("Cannot get access token.", "Cannot initiate login.", "Cannot sign request.",
                        "Cannot log out.", "Cannot initiate logout.", "Cannot complete login."):
            self.assertIn(f"{refusal} {reason}", run.stdout)
        # Nor does the library ask by itself, for instance for the time.
        self.assertEqual(before, self.service.control("log")["requests"])

    @unittest.skipIf(SYSROOT, "moves the library by the loader's search path, which Windows does not have")
    def test_the_c_interface_tells_that_by_a_result_and_prints_nothing(self):
        run = self.run_with_configuration(None, [str(BINARIES / "product_c"), str(self.service.folder), self.service.info["ca_file"]],
                                          "sign https://example.com/\nlogout\ncomplete\n")
        self.assertEqual(["start 0", "sign 19", "logout 19", "complete 19"],
                         [" ".join(line.split()[:2]) for line in run.stdout.splitlines() if not line.startswith(("event", "released"))])

    @unittest.skipIf(SYSROOT, "moves the library by the loader's search path, which Windows does not have")
    def test_a_log_configuration_that_cannot_be_applied_costs_the_log_only(self):
        for configuration, reason in ((b" \n", "The file is empty"), (b"#" * 20481, "20480")):
            with self.subTest(reason=reason):
                run = self.run_with_configuration(configuration)
                self.assertRegex(run.stdout, f"Failed to setup log: .*WebServices.logconfig: .*{reason}")
                self.assertNotIn("missing WebServices.logconfig", run.stdout)
                self.assertIn('"command":"initiate-login"', run.stdout)


if __name__ == "__main__":
    unittest.main()
