"""The support tool examines healthy and broken set-ups, and names each fault with its cure."""
import fcntl
import json
import os
import pathlib
import shutil
import socket
import subprocess
import time
import unittest

from tool import BINARIES, FAILED, OK, SYSROOT, ToolTest

ONE_HOUR = 3600


class DoctorTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.start_service()

    def examine(self, status: int) -> dict[str, dict]:
        """The checks that are not ok, by name."""
        run = self.run_tool("doctor", "--json")
        checks = run.json()["checks"]
        self.assertEqual(status, run.status, run.out)
        self.assertEqual(status == FAILED, any(check["state"] == "fault" for check in checks), run.out)
        self.assertGreaterEqual(len(checks), 10 if status == OK else 5)
        bad = {check["check"]: check for check in checks if check["state"] != "ok"}
        for check in bad.values():
            self.assertTrue(check["cure"], check)
        return bad

    def expect(self, name: str, state: str, *texts: str) -> None:
        """Exactly this check fails, and its text has these parts."""
        bad = self.examine(FAILED if state == "fault" else OK)
        self.assertEqual({name: state}, {key: check["state"] for key, check in bad.items()}, bad)
        for text in texts:
            self.assertIn(text, bad[name]["text"])

    def url_file(self, name: str = "VqWebservicesURLs.config") -> pathlib.Path:
        return self.service.folder / name

    def change_urls(self, **urls: str | None) -> None:
        document = json.loads(self.url_file().read_text(encoding="utf-8"))
        document["Configurations"]["WebServices"]["Urls"].update(urls)
        self.url_file().write_text(json.dumps(document), encoding="utf-8")

    def test_a_healthy_set_up_has_no_fault(self):
        self.assertEqual({}, self.examine(OK), "before anybody signed in")
        self.sign_in()
        self.assertEqual({}, self.examine(OK), "with a user signed in")
        text = self.run_tool("doctor").out
        if SYSROOT:
            return
        self.assertEqual(text.count("\n"), text.count("\nok ") + 2, "more or fewer than one line for each check")
        self.assertIn("Faults: 0, warnings: 0.", text)

    def test_missing_and_damaged_url_files_are_found(self):
        shutil.move(self.url_file(), self.url_file("away"))
        bad = self.examine(FAILED)
        missing = "VqWebservicesURLs.config for the current server Production was not found"
        self.assertIn(missing, bad["URL files"]["text"])
        self.assertIn(missing, self.check(FAILED, "login", "--json").json()["error"])
        self.assertEqual("fault", bad["account server"]["state"])
        self.url_file().write_text('{"Configurations": {', encoding="utf-8")
        self.assertIn("is no JSON at byte", self.examine(FAILED)["URL files"]["text"])
        shutil.copy(self.url_file("away"), self.url_file())
        self.change_urls(AccessTokenEndPoint="", LogoutEndPoint=None)
        self.expect("URL files", "fault", "has no AccessTokenEndPoint, LogoutEndPoint")
        shutil.copy(self.url_file("away"), self.url_file())
        self.url_file("VqWebservicesURLs-Staging.config").write_text("{}", encoding="utf-8")
        self.expect("URL files", "fault", "VqWebservicesURLs-Staging.config has no AccountServerUrl")

    def test_an_unreachable_or_untrusted_server_is_found(self):
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            self.change_urls(AccountServerUrl=f"https://127.0.0.1:{closed.getsockname()[1]}")
            self.expect("account server", "fault", "does not answer")
        self.change_urls(AccountServerUrl=self.service.info["url"])
        self.extra = {"VQWS_CA": ""}
        self.expect("account server", "fault", "is not trusted")

    def test_a_bad_certificate_is_explained(self):
        for kind, text, cure in (("expired", "has expired", "whoever runs the server"), ("not-yet-valid", "not yet valid", "set the clock"),
                                 ("other-host", "valid for accounts.elsewhere.invalid", "correct AccountServerUrl")):
            with self.subTest(kind):
                self.service.stop()
                self.start_service("--certificate", kind)
                self.expect("account server", "fault", "is not trusted", text)
                self.assertIn(cure, self.examine(FAILED)["account server"]["cure"])
                self.assertIn(text, self.check(FAILED, "login", "--json").json()["error"])
        self.service.stop()
        self.start_service("--certificate", "not-yet-valid")
        self.service.control("clock", {"offset_seconds": 31 * 24 * ONE_HOUR})
        bad = self.examine(FAILED)
        self.assertEqual(["time offset", "account server"], list(bad))
        self.assertIn("set the clock", bad["account server"]["cure"])

    def test_a_wrong_clock_is_found(self):
        self.service.control("clock", {"offset_seconds": -2 * ONE_HOUR - 60})
        self.expect("time offset", "fault", "is 2 h ahead of the one of the account server")
        self.assertIn("Cure: set the clock", self.check(FAILED, "login", "--json").json()["error"])
        self.service.control("clock", {"offset_seconds": 60})
        self.expect("time offset", "warning", "s behind the one")

    def test_a_damaged_login_state_is_found_and_left_alone(self):
        self.sign_in()
        state = self.home.data() / "LoginState.xml"
        whole = state.read_bytes()
        for damaged, text in ((whole[:len(whole) // 2], "is damaged"), (b"<Other/>", 'the document is "Other"'), (b"", "is damaged"),
                              (b" " * 1200000, "larger than the library reads")):
            state.write_bytes(damaged)
            self.expect("login state file", "fault", text)
            self.assertEqual(damaged, state.read_bytes(), "the examination changed the file")
        state.write_bytes(whole)
        (state.parent / "LoginState.xml.damaged-1").write_text("x", encoding="utf-8")
        self.expect("left-over files", "warning", "LoginState.xml.damaged-1")

    def test_left_over_files_are_found(self):
        self.sign_in()
        stale = self.home.data() / "LoginState.xml.writing-0123"
        stale.write_text("x", encoding="utf-8")
        os.utime(stale, (time.time() - ONE_HOUR, time.time() - ONE_HOUR))
        self.expect("left-over files", "warning", stale.name)

    def test_a_log_that_cannot_be_written_is_found(self):
        self.extra = {"VQWS_LOGLEVEL": "LOUD"}
        self.expect("log level", "warning", '"LOUD", which is no level')
        blocked = self.folder / "file"
        blocked.write_text("x", encoding="utf-8")
        self.extra = {"VQWS_LOGFILEDIR": self.home.path(blocked)}
        self.expect("log file", "fault", "no log can be written")
        told = [line for line in self.run_tool("status").err.splitlines() if line.startswith(("vqws:", "log4cplus:"))]
        self.assertEqual(1, len(told), told)
        self.assertTrue(told[0].startswith("vqws: No log is written: "), told)

    def test_a_blocked_data_folder_is_found(self):
        self.home.data().parent.parent.mkdir(parents=True, exist_ok=True)
        shutil.rmtree(self.home.data().parent, ignore_errors=True)
        self.home.data().parent.write_text("x", encoding="utf-8")
        bad = self.examine(FAILED)
        self.assertIn("is not a folder", bad["data folder"]["text"])

    def test_files_open_to_others_are_found(self):
        self.sign_in()
        state = self.home.data() / "LoginState.xml"
        state.chmod(0o666)
        self.expect("login state file", "fault", "LoginState.xml")
        state.chmod(0o600)
        if SYSROOT:
            return
        # The library closes its folder again when it starts, so this is seen once.
        self.home.data().chmod(0o755)
        self.assertEqual("fault", self.examine(FAILED)["data folder"]["state"])
        self.assertEqual({}, self.examine(OK))

    @unittest.skipIf(SYSROOT or os.geteuid() != 0, "only root can make files of another user")
    def test_files_of_another_user_are_named_and_left_alone(self):
        self.sign_in()
        key = self.home.data() / "UserKey.pem"
        os.chown(key, 65534, 65534)
        self.assertIn("UserKey.pem belongs to nobody", self.examine(FAILED)["data folder"]["text"])
        self.assertIn("not as root", self.examine(FAILED)["data folder"]["cure"])
        subprocess.run(["chown", "-R", "65534", str(self.home.folder / "data")], check=True)
        before = {path: path.stat().st_mtime_ns for path in self.home.data().rglob("*")}
        self.run_tool("status")
        self.assertEqual(before, {path: path.stat().st_mtime_ns for path in self.home.data().rglob("*")})

    @unittest.skipIf(SYSROOT, "the key lies in a container of the system there")
    def test_a_missing_or_damaged_key_is_found(self):
        self.sign_in()
        key = self.home.data() / "UserKey.pem"
        whole = key.read_bytes()
        key.write_bytes(whole[:len(whole) // 2])
        self.expect("login state file", "fault", "its key", "is damaged")
        self.sign_in()
        self.assertIn("UserKey.pem.damaged-", self.examine(OK)["left-over files"]["text"])
        for path in (key, *self.home.data().glob("UserKey.pem.damaged-*")):
            path.unlink(missing_ok=True)
        self.expect("login state file", "fault", "its key", "is missing")

    def test_a_product_that_the_server_refuses_is_found(self):
        self.extra = {"VQWS_CONSUMER_SECRET": "wrong"}
        self.expect("product", "fault", "refuses its key or secret (status 401)")
        self.extra = {}
        self.sign_in()
        self.service.control("reset", {"keep_sessions": False})
        self.expect("product", "fault", "refuses its token")
        self.check(OK, "logout")
        self.assertEqual({}, self.examine(OK), "the cure did not help")

    @unittest.skipIf(SYSROOT, "the block is no file there")
    def test_a_shared_block_open_to_others_is_found(self):
        block = self.home.folder / "runtime/Velquor.WebServices.ProcessState"
        block.write_bytes(bytes(65536))
        block.chmod(0o644)
        self.expect("shared block", "fault", "everybody", "has access to")

    @unittest.skipIf(SYSROOT, "a lock from outside of Wine is no lock inside")
    def test_the_holder_of_a_lock_is_named(self):
        self.sign_in()
        with open(self.home.data() / "VqWebServicesLoginStateSemaphore.lock", "ab") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.expect("lock holder", "fault", f"(process {os.getpid()})")

    @unittest.skipIf(SYSROOT, "Wine does not take the proxy from the environment")
    def test_a_dead_proxy_is_found(self):
        # Qt asks no proxy for a loopback address.
        self.change_urls(AccountServerUrl="https://accounts.velquor.invalid")
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            port = closed.getsockname()[1]
            self.extra = {"http_proxy": f"http://127.0.0.1:{port}"}
            bad = self.examine(FAILED)
        self.assertIn(f"the proxy 127.0.0.1:{port} does not answer", bad["proxy"]["text"])

    @unittest.skipIf(SYSROOT, "moves the library by the loader's search path, which Windows does not have")
    def test_a_missing_log_configuration_is_found(self):
        library = self.folder / "library"
        library.mkdir()
        for file in BINARIES.glob("libVqWebServices.so*"):
            shutil.copy(file, library, follow_symlinks=False)
        self.extra = {"LD_LIBRARY_PATH": str(library)}
        self.expect("log configuration", "fault", '"WebServices.logconfig" was not found')
        self.assertIn("vqws doctor", self.check(FAILED, "login", "--json").json()["error"])


if __name__ == "__main__":
    unittest.main()
