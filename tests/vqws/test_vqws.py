"""Every command of the support tool: what it says, how it ends, and that it keeps secrets to itself."""
import json
import re
import signal
import subprocess
import time
import unittest

from tool import (BINARIES, CANCELLED, FAILED, NOT_SIGNED_IN, OK, SECRET, SOURCE, SYSROOT, USAGE, Lines, ToolTest, valid)

COMMANDS = ["status", "login", "logout", "watch", "sign", "token", "get", "doctor", "check-server", "dump", "report"]


class CommandLineTest(ToolTest):
    def test_help_of_the_tool_and_of_each_command(self):
        self.assertRegex(self.check(OK, "--version").out, r"^vqws \d+\.\d+\.\d+\.\d+\n$")
        self.assertEqual(1, self.check(OK, "--version", "--json").json()["version"])
        everything = self.check(OK, "--help", "--json").json()
        self.assertEqual(COMMANDS, [command["name"] for command in everything["commands"]])
        tool_help = self.check(OK, "--help").out
        for command in everything["commands"]:
            self.assertIn(command["summary"], tool_help)
            text = self.check(OK, command["name"], "--help").out
            self.assertIn(f"usage: vqws {command['name']}", text)
            self.assertIn("3 nobody is signed in, 4 cancelled", text)
            for option in [*command["options"], *everything["options"]]:
                self.assertIn(option["name"], text)
        self.assertIn("picture", self.check(OK, "token", "--help").out, "no warning that the token is printed")

    def test_wrong_command_lines_are_refused_with_a_reason(self):
        self.extra = {"VQWS_CONSUMER_KEY": "k", "VQWS_CONSUMER_SECRET": "s"}
        for arguments, text in [
                ([], "No command given"), (["fly"], 'no command "fly"'), (["get"], '"get" needs URL'),
                (["get", "https://a/", "b"], 'no argument "b"'), (["get", "ftp://a/"], "no http or https address"),
                (["get", "https://a/", "--header"], '"--header" is no option of this command'), (["status", "--fly"], "fly"),
                (["status", "--timeout", "0"], "whole seconds"), (["status", "--server", "moon"], "production, staging or"),
                (["sign", "https://a/", "--method", "FLY"], '"FLY" is no method'), (["token", "--oauth2", "X"], "RT or JWT"),
                (["token", "scope"], "A scope needs --oauth2"), (["status", "--timeout"], "timeout"),
                (["status", "--ca", "/nowhere"], "no certificate"), (["login", "--secret-file", "/nowhere"], "/nowhere")]:
            with self.subTest(arguments):
                self.assertIn(text, self.check(USAGE, *arguments).err)
                error = self.check(USAGE, "--json", *arguments).json()
                self.assertEqual((False, USAGE), (error["ok"], error["exitStatus"]))
                self.assertIn(text, error["error"])
        self.extra = {}
        self.assertIn("No consumer key", self.check(USAGE, "login").err)
        self.assertIn("No consumer secret", self.check(USAGE, "login", "--key", "k").err)

    def test_completion_and_manual_know_the_same_words(self):
        everything = self.check(OK, "--help", "--json").json()
        common = {option["name"] for option in everything["options"]}
        for name in ("vqws.bash", "vqws.ps1"):
            text = (SOURCE / "tools/vqws/completion" / name).read_text(encoding="utf-8")
            words = {key: set(value.split()) for key, value in re.findall(r"^\s*# words ([\w-]+):(.*)$", text, re.M)}
            self.assertEqual(set(COMMANDS), words.pop("commands"), name)
            self.assertEqual(common, words.pop("common"), name)
            own = {command["name"]: {option["name"] for option in command["options"]}
                   for command in everything["commands"] if command["options"]}
            self.assertEqual(own, words, name)
        manual = (SOURCE / "tools/vqws/vqws.1").read_text(encoding="utf-8").replace("\\-", "-")
        named = {*re.findall(r"--[a-z0-9][a-z0-9-]*", manual)}
        options = common.union(*({option["name"] for option in command["options"]} for command in everything["commands"]))
        self.assertEqual(options, named)
        self.assertEqual(COMMANDS, re.findall(r"^\.SS ([\w-]+)", manual, re.M))

    @unittest.skipIf(SYSROOT, "bash completes natively")
    def test_bash_completes_commands_and_options(self):
        def complete(*words: str) -> set[str]:
            script = (f"source '{SOURCE}/tools/vqws/completion/vqws.bash'; COMP_WORDS=({' '.join(words)} ''); "
                      f"COMP_CWORD=${{#COMP_WORDS[@]}}; COMP_CWORD=$((COMP_CWORD - 1)); COMP_WORDS[COMP_CWORD]=\"$CURRENT\"; "
                      "_vqws; printf '%s\\n' \"${COMPREPLY[@]}\"")
            run = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True, timeout=60,
                                 env={"CURRENT": self.current, "PATH": "/usr/bin:/bin"})
            return set(run.stdout.split())

        self.current = "s"
        self.assertEqual({"status", "sign"}, complete("vqws"))
        self.current = "--h"
        self.assertEqual({"--header", "--help"}, complete("vqws", "sign"))
        self.assertEqual({"--help"}, complete("vqws", "get"))
        self.current = ""
        self.assertEqual({"production", "staging", "development"}, complete("vqws", "status", "--server"))


class SessionTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.start_service()

    def secrets(self) -> list[str]:
        return [*self.service.control("secrets")["secrets"], SECRET]

    def test_commands_need_a_sign_in(self):
        self.assertIn("Signed in           no", self.check(NOT_SIGNED_IN, "status").out)
        self.assertFalse(self.check(NOT_SIGNED_IN, "status", "--json").json()["signedIn"])
        for arguments in (["logout"], ["token"], ["sign", "https://a/"], ["get", "https://a/"]):
            self.assertIn("vqws login", self.check(NOT_SIGNED_IN, *arguments).err)
            self.assertEqual(NOT_SIGNED_IN, self.check(NOT_SIGNED_IN, *arguments, "--json").json()["exitStatus"])

    def test_signs_in_with_a_browser_and_does_its_work(self):
        process = self.start("login", "--no-browser")
        lines = Lines(process.stdout)
        url = lines.wait_for("https://")
        subprocess.run([str(SOURCE / "dev/account-service/drive_sign_in.py"), url, "--ca", self.service.info["ca_file"]],
                       check=True, timeout=60, capture_output=True)
        lines.wait_for("Signed in as ada.")
        self.assertEqual(OK, process.wait(30))
        self.assertIn("Waiting for the sign-in in the browser (Ctrl-C cancels)", process.stderr.read())
        self.assertEqual("ada", self.check(OK, "login", "--json").json()["user"])

        status = self.check(OK, "status", "--json").json()
        self.assertEqual(("ada", "Production", True), (status["user"], status["server"], status["accessToken"]["available"]))
        self.assertEqual(status["loginStateFile"].split("/")[-1], "LoginState.xml")
        text = self.check(OK, "status").out
        self.assertRegex(text, r"Access token +valid until [-\d]+ [:\d]+ UTC \(in \d+ min\)")
        dump = self.check(OK, "dump", "--json").json()
        self.assertEqual("ada", dump["SignedInAs"])
        self.assertEqual(1, len(dump["LoginSession"]["ProductLoginSessions"]))
        self.assertIn("Process state dump", self.check(OK, "dump").out)
        self.run_tool("doctor")
        self.run_tool("doctor", "--json")
        for run in self.outputs:
            for secret in self.secrets():
                self.assertNotIn(secret, run.out + run.err)

    def test_tokens_and_requests_work_until_the_sign_out(self):
        self.sign_in()
        token = self.check(OK, "token").out.strip()
        self.assertIn(token, self.service.control("secrets")["secrets"])
        self.assertEqual(token, self.check(OK, "token", "--json").json()["token"])
        for number, (kind, form) in enumerate({"RT": r"[^.]{20,}", "JWT": r"[^.]+\.[^.]+\.[^.]+"}.items(), 1):
            oauth2 = self.check(OK, "token", "--oauth2", kind, "read write", "--json").json()["token"]
            self.assertRegex(oauth2, f"^{form}$")
            self.assertNotEqual(token, oauth2)
            self.assertEqual(number, self.service.accepted("oauth2-token"))

        # Another product of the same user gets a token of its own, without another sign-in.
        self.extra = {"VQWS_CONSUMER_KEY": "second-product-0002", "VQWS_CONSUMER_SECRET": "demo-secret-0002"}
        self.assertNotIn(self.check(OK, "token").out.strip(), ("", token))
        self.extra = {}

        echo = f"{self.service.info['url']}/api/echo?note=%C3%BC"
        reply = self.check(OK, "get", echo)
        self.assertIn('"ada"', reply.out)
        self.assertIn("200 OK", reply.err)
        self.assertEqual("", self.check(OK, "get", echo, "--quiet").err)
        answer = self.check(OK, "get", echo, "--json").json()
        self.assertEqual(200, answer["status"])
        self.assertIn("\\u00fc", answer["body"])
        missing = self.check(FAILED, "get", f"{self.service.info['url']}/nothing", "--json").json()
        self.assertEqual((404, False), (missing["status"], missing["ok"]))
        self.assertIn("no reply", self.check(FAILED, "get", "https://127.0.0.1:1/").err)

        header = self.check(OK, "sign", echo, "--header").out.strip()
        self.assertTrue(header.startswith("OAuth "), header)
        page = self.check(OK, "sign", f"{self.service.info['url']}/account").out.strip()
        shown = subprocess.run([str(SOURCE / "dev/account-service/drive_sign_in.py"), page, "--open", "--ca",
                                self.service.info["ca_file"]], check=False, timeout=60, capture_output=True, text=True)
        self.assertEqual(0, shown.returncode, shown.stderr)

        # What the server sends back of a secret, in a text or a name, stays out of the log.
        self.service.control("faults", {"kind": "status", "endpoint": "oauth2-token", "count": 2, "status": 400, "reason_phrase": token,
                                        "body": json.dumps({token: 1, "error_description": token}), "headers": {"X-" + token: token}})
        self.check(FAILED, "token", "--oauth2", "RT", "other")
        log = (self.home.data() / "WebServices.log").read_text(encoding="utf-8")
        self.assertIn("***", log)
        for secret in self.secrets():
            self.assertNotIn(secret, log)

        report = self.folder / "report.txt"
        self.assertIn("End of the log. It has names", self.check(OK, "report", self.home.path(report)).err.replace("\n  ", " "))
        text = report.read_text(encoding="utf-8")
        for part in ("ok       product: the account server accepts its token", '"signedIn": true', '"SignedInAs": "ada"', "Process state dump",
                     "***"):
            self.assertIn(part, text)
        for secret in self.secrets():
            self.assertNotIn(secret, text)
        self.assertIn("exists already", self.check(USAGE, "report", self.home.path(report)).err)

        self.assertIn("ada is signed out", self.check(OK, "logout").out)
        self.assertEqual(1, self.service.accepted("invalidate-token"))
        self.check(NOT_SIGNED_IN, "status")

    def test_watch_shows_the_events_of_other_programs(self):
        process = self.start("watch", "--json")
        lines = Lines(process.stdout)
        example = Lines(self.start(program=BINARIES / "event-watch").stdout)
        example.wait_for("LoginRestored             origin: here")
        self.assertEqual("vqws", valid(lines.wait_for("LoginRestored"))["origin"])
        self.sign_in()
        event = valid(lines.wait_for('"LoggedIn"'))
        self.assertEqual(("outside", "ada"), (event["origin"], event["detail"]))
        example.wait_for("LoggedIn                  origin: outside")
        self.check(OK, "logout")
        lines.wait_for("LoggedOut")
        example.wait_for("LoggedOut")
        if not SYSROOT:
            process.send_signal(signal.SIGINT)
            self.assertEqual(OK, process.wait(30))
        self.assertRegex(self.check(OK, "watch", "--timeout", "1").out, r"(?m)^[-\d]+T[:.\d]+Z LoginRestored +vqws")

    def test_waits_end_at_the_time_limit(self):
        begin = time.monotonic()
        run = self.check(CANCELLED, "login", "--no-browser", "--timeout", "3", "--json")
        self.assertIn("Timed out after 3 s", run.json()["error"])
        self.service.control("faults", {"endpoint": "request-token", "kind": "delay", "delay_ms": 60000, "count": -1})
        # The tool reports the wait after a second. The limit counts from the start of the process, which may be slow.
        run = self.check(CANCELLED, "login", "--no-browser", "--timeout", "5")
        self.assertIn("Waiting for the account server (Ctrl-C cancels)", run.err)
        self.assertIn("Timed out after 5 s", run.err)
        self.assertLess(time.monotonic() - begin, 30)

    @unittest.skipIf(SYSROOT, "Wine's programs have no Ctrl-C from here")
    def test_ctrl_c_cancels(self):
        self.service.control("faults", {"endpoint": "request-token", "kind": "delay", "delay_ms": 60000, "count": -1})
        process = self.start("login", "--no-browser")
        Lines(process.stderr).wait_for("Waiting for the account server")
        process.send_signal(signal.SIGINT)
        self.assertEqual(CANCELLED, process.wait(30))

    def test_a_refused_sign_in_says_what_to_check(self):
        for status, text in ((403, "check key and secret"), (404, "check the URL file"), (429, "try again later"), (503, "try again later")):
            with self.subTest(status=status):
                self.service.control("faults", {"endpoint": "request-token", "kind": "status", "status": status, "count": 1})
                error = self.check(FAILED, "login", "--no-browser", "--json").json()["error"]
                self.assertIn(f"status {status}; {text}", error)

    def test_keys_come_from_files_and_the_server_is_kept(self):
        secret = self.folder / "secret"
        secret.write_text(f"{SECRET}\nmore\n", encoding="utf-8")
        secret.chmod(0o600)
        self.extra = {"VQWS_CONSUMER_SECRET": "wrong"}
        refused = self.check(FAILED, "login", "--no-browser", "--json").json()["error"]
        self.assertIn("status 401; check key and secret", refused)
        self.extra = {}
        process = self.start("login", "--no-browser", "--secret-file", self.home.path(secret), "--server", "staging")
        self.service.control("approve", {"url": Lines(process.stdout).wait_for("https://"), "user": "ada"})
        self.assertEqual(OK, process.wait(30))
        self.assertEqual("Staging", self.check(OK, "status", "--json").json()["server"])
        self.assertIn("vqws login --server production", self.check(FAILED, "status", "--server", "production").err)
        self.assertEqual("Staging", self.check(OK, "status", "--json").json()["server"], "the server was changed")

    def test_each_example_of_a_url_file_serves_a_sign_in_without_an_error(self):
        for example in (SOURCE / "config").glob("*.example"):
            urls = re.sub(r"https://[\w.]+\.example\.com", self.service.info["url"], example.read_text(encoding="utf-8"))
            (self.service.folder / example.stem).write_text(urls, encoding="utf-8")
        for server in ("production", "staging", "development"):
            with self.subTest(server):
                self.sign_in("--server", server)
                self.assertIn('"ada"', self.check(OK, "get", f"{self.service.info['url']}/api/echo").out)
                self.check(OK, "logout")
        log = (self.home.data() / "WebServices.log").read_text(encoding="utf-8")
        self.assertIn("Completed login successfully", log)
        self.assertEqual([], [line for line in log.splitlines() if " ERROR " in line])


if __name__ == "__main__":
    unittest.main()
