"""The cures for what is installed and set: URL files, log configuration, settings and variables."""
import os
import pathlib
import shutil
import unittest

from cures import FILES_OF_POSIX, NEEDS_RIGHTS, CureTest, Row
from tool import BINARIES, SYSROOT, FAILED

OWN_LIBRARY = "moves the library by the loader's search path, which Windows does not have"
INSTALL = "whoever installed the product"


def bad_urls(name: str, break_it, text: str, also=("account server",), **more) -> Row:
    return Row(name, break_it, "URL files", text, sentence=INSTALL, person=CureTest.restore_urls, also=also, **more)


def lose_urls(t: CureTest) -> None:
    shutil.move(t.url_file(), t.folder / t.url_file().name)


def protect_urls(t: CureTest) -> None:
    t.url_file().chmod(0)


def set_variable(name: str, value) -> object:
    def act(t: CureTest):
        t.extra = {name: value(t) if callable(value) else value}
        return lambda: t.extra.clear()
    return act


def a_file(t: CureTest) -> str:
    blocked = t.folder / "file"
    blocked.write_text("x", encoding="utf-8")
    return t.home.path(blocked)


def move_library(t: CureTest, configuration: str | None, mode: int = 0o644):
    """A library whose own folder has no log configuration; the folder of the URL files has this one."""
    library = t.folder / "library"
    if not library.exists():
        library.mkdir()
        for file in BINARIES.glob("libVqWebServices.so*"):
            shutil.copy(file, library, follow_symlinks=False)
    t.extra = {"LD_LIBRARY_PATH": str(library)}
    path = t.service.folder / "WebServices.logconfig"
    if configuration is not None:
        path.write_text(configuration, encoding="utf-8")
        path.chmod(mode)

    def end() -> None:
        t.extra.clear()
        path.unlink(missing_ok=True)
    return end


def log_configuration(t: CureTest) -> pathlib.Path:
    return shutil.copy(BINARIES / "WebServices.logconfig", t.service.folder)


def bad_log_configuration(name: str, text: str, *arguments, **more) -> Row:
    return Row(name, lambda t: move_library(t, *arguments), "log configuration", text, not_on_windows=OWN_LIBRARY, **more)


def make_pipe_of_settings(t: CureTest) -> None:
    t.set_setting("EnableLog", "0")
    file = t.settings_file()
    file.unlink()
    os.mkfifo(file)
    t.give_home()


def protect_log(t: CureTest) -> None:
    (t.home.data() / "WebServices.log").chmod(0o400)


URL_ROWS = [
    bad_urls("URL file missing", lose_urls, "VqWebservicesURLs.config for the current server Production was not found"),
    bad_urls("URL file is no JSON", lambda t: t.write_urls('{"Configurations": {'), "is no JSON at byte"),
    bad_urls("URL file is a list", lambda t: t.write_urls("[]"), "has no AccountServerUrl"),
    bad_urls("URL file too large", lambda t: t.write_urls(t.url_file().read_text(encoding="utf-8") + " " * (1 << 20)),
             "is larger than the library reads"),
    bad_urls("entry missing", lambda t: t.change_urls(LogoutEndPoint=None, AccessTokenEndPoint=""),
             "has no AccessTokenEndPoint, LogoutEndPoint", also=()),
    bad_urls("entry of the first request missing", lambda t: t.change_urls(RequestTokenEndPoint=None), "has no RequestTokenEndPoint"),
    bad_urls("no address", lambda t: t.change_urls(AccountServerUrl="accounts"), "AccountServerUrl in"),
    bad_urls("addresses of the example", lambda t: t.change_urls(AccountServerUrl="https://accounts.example.com"), "of the example"),
    bad_urls("plain http to another machine", lambda t: t.change_urls(AccountServerUrl="http://192.0.2.1"),
             "everybody on the way could read the tokens"),
    bad_urls("plain http for OAuth2", lambda t: t.change_urls(OAuth2AccountServerUrl="http://192.0.2.1"),
             "everybody on the way could read the tokens", also=()),
    bad_urls("URL file of another server", lambda t: t.write_urls("{}", "VqWebservicesURLs-Staging.config"),
             "VqWebservicesURLs-Staging.config has no AccountServerUrl", also=()),
    Row("URL file not readable", protect_urls, "URL files", "cannot be read", also=("account server",), not_on_windows=FILES_OF_POSIX,
        not_on_linux=NEEDS_RIGHTS),
]

LOG_ROWS = [
    Row("level unknown", set_variable("VQWS_LOGLEVEL", "LOUD"), "log level", '"LOUD", which is no level', state="warning"),
    Row("level off", set_variable("VQWS_LOGLEVEL", "OFF"), "log level", "switched off by VQWS_LOGLEVEL", state="warning"),
    Row("level off in the settings", lambda t: t.set_setting("LogLevel", "OFF"), "log level", "switched off by the setting LogLevel",
        state="warning"),
    Row("log off in the settings", lambda t: t.set_setting("EnableLog", "0"), "log level", "switched off by the setting EnableLog",
        state="warning"),
    Row("settings are a pipe", make_pipe_of_settings, "settings", "Web Services.conf is not used", state="warning",
        not_on_windows="the settings are in the registry"),
    Row("log folder is a file", set_variable("VQWS_LOGFILEDIR", a_file), "log file", "no log can be written in"),
    Row("log folder of the settings is a file", lambda t: t.set_setting("WebServicesDataPath", a_file(t)), "log file",
        "no log can be written in"),
    Row("log write-protected", protect_log, "log file", "WebServices.log cannot be written to", not_on_windows=FILES_OF_POSIX,
        not_on_linux=NEEDS_RIGHTS),
    bad_log_configuration("log configuration missing", '"WebServices.logconfig" was not found', None, sentence=INSTALL,
                          person=log_configuration),
    bad_log_configuration("log configuration empty", "it is empty", "", sentence=INSTALL, person=log_configuration),
    bad_log_configuration("log configuration not readable", "cannot be read",
                          (BINARIES / "WebServices.logconfig").read_text(encoding="utf-8"), 0, not_on_linux=NEEDS_RIGHTS),
    Row("relative data folder", set_variable("XDG_DATA_HOME", "data"), "data folder", 'XDG_DATA_HOME is "data"', state="warning",
        not_on_windows="Windows knows the folder without a variable"),
]


class SetUpCureTest(CureTest):
    def test_each_fault_of_an_url_file_is_named_and_cured(self):
        self.check_rows(URL_ROWS)

    def test_each_fault_of_the_log_and_the_variables_is_named_and_cured(self):
        self.check_rows(LOG_ROWS)

    def test_plain_http_is_right_on_this_machine(self):
        self.change_urls(OAuth2AccountServerUrl="http://127.0.0.1:9")
        self.assertEqual({}, self.examine())

    def test_a_failed_login_tells_the_cure_of_the_doctor(self):
        lose_urls(self)
        error = self.check(FAILED, "login", "--json").json()["error"]
        self.assertIn("was not found", error)
        self.assertIn(INSTALL, error)
        if SYSROOT:
            return
        told = move_library(self, None)
        self.assertIn("vqws doctor", self.check(FAILED, "login", "--json").json()["error"])
        told()
        self.extra = {"VQWS_LOGFILEDIR": a_file(self)}
        told = [line for line in self.run_tool("status").err.splitlines() if line.startswith(("vqws:", "log4cplus:"))]
        self.assertEqual(1, len(told), told)
        self.assertTrue(told[0].startswith("vqws: No log is written: "), told)


if __name__ == "__main__":
    unittest.main()
