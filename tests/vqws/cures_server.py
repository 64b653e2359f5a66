"""The cures for the way to the account server: network, certificate, clock, and another thing that answers."""
import pathlib
import socket
import unittest

from cures import CureTest, Row
from http_servers import TunnelProxy, start_self_signed
from terminal import Terminal
from tool import FAILED, SYSROOT, AccountService

ONE_HOUR = 3600
ONE_DAY = 24 * ONE_HOUR
OPERATOR = "whoever runs the server"
NO_PROXY = "Wine does not take the proxy from the environment"
NAME_OF_CERTIFICATE = "accounts.elsewhere.invalid"


class ServerCureTest(CureTest):
    other: AccountService
    proxy: TunnelProxy
    terminal: Terminal | None = None

    def use_other(self, certificate: str, offset: int = 0):
        """The products use a server with this certificate, whose clock is ahead of the one of this machine."""
        self.other = AccountService(self.folder / f"{certificate}-{offset}", "--certificate", certificate)
        self.other.start()
        self.other.control("clock", {"offset_seconds": offset})
        self.other.folder.chmod(0o755)
        self.extra = {"VQWS_SUPPORT": self.home.path(self.other.folder), "VQWS_CA": self.home.path(pathlib.Path(self.other.info["ca_file"]))}

        def end() -> None:
            self.other.stop()
            self.extra = {}
        return end

    def install_certificate(self) -> None:
        self.other.stop()
        self.other.options = ("--port", self.other.info["url"].rpartition(":")[2])
        self.other.start()
        self.other.folder.chmod(0o755)

    def use_self_signed(self):
        server = start_self_signed(self.folder)
        self.change_urls(AccountServerUrl=server.url)
        return server.stop

    def stop_listening(self) -> None:
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            self.change_urls(AccountServerUrl=f"https://127.0.0.1:{closed.getsockname()[1]}")

    def set_clock(self, seconds: int = 0) -> None:
        """The clock of this machine cannot be moved, so the one of the server is."""
        self.service.control("clock", {"offset_seconds": seconds})

    def spoil_answers(self, fault: dict) -> None:
        self.service.control("faults", {"endpoint": "*", "count": -1, **fault})

    def leave_answers(self) -> None:
        self.service.control("reset", {"keep_sessions": True})

    def use_proxy(self, status: int = 0):
        """The server is reached by a name, and only through the proxy. For a loopback address no proxy would be asked."""
        end = self.use_other("other-host")
        address = f"https://{NAME_OF_CERTIFICATE}:{self.other.info['url'].rpartition(':')[2]}"
        file = self.other.folder / "VqWebservicesURLs.config"
        file.write_text(file.read_text(encoding="utf-8").replace(self.other.info["url"], address), encoding="utf-8")
        self.proxy = TunnelProxy(int(address.rpartition(":")[2]), status)
        # The service does not accept products by this name.
        self.extra |= {"https_proxy": self.proxy.url, "http_proxy": self.proxy.url, "VQWS_CONSUMER_KEY": None, "VQWS_CONSUMER_SECRET": None}

        def end_both() -> None:
            self.proxy.stop()
            end()
        return end_both

    def user_options(self) -> dict:
        return super().user_options() | ({"preexec_fn": self.terminal.take} if self.terminal else {})

    def ask_for_login(self, password: str) -> dict:
        """The proxy demands this password from now on: what the doctor says, before the user enters it at a terminal."""
        self.proxy.login = f"office:{password}"
        found = self.examine()["proxy"]
        self.terminal = Terminal("office", password)
        left = self.follow(found["command"])
        self.terminal.close()
        self.terminal = None
        self.assertTrue({"proxy", "account server"}.isdisjoint(left), left)
        return found

    def use_dead_proxy(self):
        end = self.use_proxy()
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            dead = f"http://127.0.0.1:{closed.getsockname()[1]}"
        self.extra |= {"https_proxy": dead, "http_proxy": dead}
        return end

    def correct_proxy(self) -> None:
        self.proxy.status = 0
        self.extra |= {"https_proxy": self.proxy.url, "http_proxy": self.proxy.url}

    def test_each_fault_of_the_server_is_named_and_cured(self):
        self.check_rows(SERVER_ROWS)

    def test_each_fault_of_the_proxy_is_named_and_cured(self):
        self.check_rows(PROXY_ROWS)

    @unittest.skipIf(SYSROOT, NO_PROXY)
    def test_the_credentials_of_a_proxy_are_named_and_cured(self):
        self.addCleanup(self.use_proxy())
        # The service does not accept products by the name of the server, so a check of the product fails after the cure.
        del self.extra["VQWS_CONSUMER_KEY"], self.extra["VQWS_CONSUMER_SECRET"]
        self.assertIn("asks for credentials, and none are stored", self.ask_for_login("open-sesame")["text"])
        self.assertIn("refuses the stored credentials", self.ask_for_login("another")["text"])

    def test_a_failed_login_tells_the_cure_of_the_doctor(self):
        self.addCleanup(self.use_other("expired"))
        self.assertIn("has expired", self.check(FAILED, "login", "--json").json()["error"])
        self.extra = {}
        self.set_clock(-2 * ONE_HOUR)
        self.assertIn("Cure: set the clock", self.check(FAILED, "login", "--json").json()["error"])


def bad_certificate(kind: str, text: str, sentence: str, offset: int = 0, **more) -> Row:
    return Row(f"certificate {kind}, clock {offset} s behind", lambda t: t.use_other(kind, offset), "account server", text,
               sentence=sentence, person=ServerCureTest.install_certificate, signed_in=False, **more)


def wrong_clock(name: str, seconds: int, text: str, state: str = "fault") -> Row:
    return Row(name, lambda t: t.set_clock(seconds), "time offset", text, state=state, sentence="set the clock",
               person=ServerCureTest.set_clock, signed_in=False)


def unreachable(name: str, break_it, text: str, sentence: str, person, signed_in: bool = False) -> Row:
    return Row(name, break_it, "account server", text, sentence=sentence, person=person, signed_in=signed_in)


def other_answer(name: str, text: str = "something else answers", sentence: str = "sign in to the network", signed_in: bool = False,
           **fault) -> Row:
    return unreachable(name, lambda t: t.spoil_answers(fault), text, sentence, ServerCureTest.leave_answers, signed_in)


SERVER_ROWS = [
    bad_certificate("expired", "has expired", OPERATOR),
    bad_certificate("other-host", "valid for accounts.elsewhere.invalid", OPERATOR),
    bad_certificate("not-yet-valid", "not yet valid", OPERATOR),
    bad_certificate("not-yet-valid", "not yet valid", "set the clock", 31 * ONE_DAY, also=("time offset",)),
    unreachable("certificate self-signed", ServerCureTest.use_self_signed, "self-signed", OPERATOR, CureTest.restore_urls),
    unreachable("authority not trusted", lambda t: t.extra.update(VQWS_CA=""), "is not trusted", "--ca", lambda t: t.extra.clear()),
    unreachable("no server listens", ServerCureTest.stop_listening, "does not answer", OPERATOR, CureTest.restore_urls),
    unreachable("no such host", lambda t: t.change_urls(AccountServerUrl="https://accounts.velquor.invalid"), "does not answer",
              "AccountServerUrl", CureTest.restore_urls),
    wrong_clock("clock an hour ahead", -ONE_HOUR - 60, "ahead of the one of the account server"),
    wrong_clock("clock a year back", 366 * ONE_DAY, "365 days behind the one"),
    wrong_clock("clock a minute back", 60, "s behind the one", state="warning"),
    other_answer("sign-in page of the network", kind="html"),
    other_answer("redirection to the network's page", kind="redirect", location="http://192.0.2.1/welcome"),
    other_answer("server out of order", text="status 503", sentence=OPERATOR, kind="status", status=503),
    other_answer("sign-in page of the network, signed in", signed_in=True, kind="html"),
]

PROXY_ROWS = [
    Row("proxy does not answer", ServerCureTest.use_dead_proxy, "proxy", "does not answer", sentence="settings of the system",
        person=ServerCureTest.correct_proxy, also=("account server",), signed_in=False, not_on_windows=NO_PROXY),
    Row("proxy refuses the server", lambda t: t.use_proxy(403), "proxy", "does not lead to", sentence="whoever runs the proxy",
        person=ServerCureTest.correct_proxy, also=("account server",), signed_in=False, not_on_windows=NO_PROXY),
]


if __name__ == "__main__":
    unittest.main()
