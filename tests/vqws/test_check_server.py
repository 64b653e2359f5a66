"""The contract test of an account server, against the account service as it is and with each fault that such a test can see."""
import re
import signal
import unittest

from tool import CANCELLED, FAILED, OK, SOURCE, SYSROOT, USAGE, Lines, ToolTest, valid

TOKENS = "access-token"
# In the order of the requests: those of the access token are the early one, the first token, the second one, the wrong handle, the
# refresh, the handle alone, and the refresh after the sign-out.
EARLY, FIRST, SECOND, WRONG_HANDLE, REFRESH, ALONE, AFTER = range(7)


def fault(kind: str, endpoint: str, skip: int = 0, **more) -> dict:
    return {"kind": kind, "endpoint": endpoint, "skip": skip, **more}


def missing(endpoint: str, skip: int, *names: str) -> dict:
    return fault("missing", endpoint, skip, parameters=list(names))


def status(code: int, endpoint: str, skip: int = 0, **more) -> dict:
    return fault("status", endpoint, skip, status=code, **more)


ROWS = [
    (missing("request-token", 0, "x_oauth_client_identifier"), {"request token": "has no x_oauth_client_identifier"}),
    (missing("request-token", 0, "oauth_token"), {"request token": "has no oauth_token"}),
    (fault("drop", "request-token", count=2), {"request token": "no reply"}),
    (fault("truncate", "request-token"), {"request token": "cut short"}),
    (fault("garbage", "request-token"), {"request token": "has no oauth_token, oauth_token_secret"}),
    (fault("redirect", "request-token", location="/elsewhere"), {"request token": "status 302"}),
    (fault("clock", "request-token", offset_seconds=7200), {"request token": "status 401 (message_expired)"}),
    (status(200, "request-token", 1), {"used nonce": "status 200"}),
    (status(400, "request-token", 2), {"wrong signature": "status 400", "reasons": "not at /oauth/request-token"}),
    (fault("clock", "request-token", 3, offset_seconds=-86400), {"stale time stamp": "status 200"}),
    (fault("problem", "request-token", 3, problem="nonce_used"), {"stale time stamp": "status 401 (nonce_used)"}),
    (status(403, "request-token", 4, headers={"xoauth_problem": "consumer_key_unknown"}), {}),
    (fault("html", "authorize"), {"sign-in page": "status 200"}),
    (status(200, TOKENS, EARLY), {"before the sign-in": "status 200"}),
    (missing(TOKENS, FIRST, "oauth_expires_in"), {"access token": "has no oauth_expires_in"}),
    (missing(TOKENS, FIRST, "x_oauth_user_guid"), {"user": "has no x_oauth_user_guid"}),
    (missing(TOKENS, FIRST, "oauth_authorization_expires_in"), {"session lifetime": "has no"}),
    (status(200, TOKENS, SECOND), {"spent request token": "status 200"}),
    (status(401, TOKENS, WRONG_HANDLE, headers={"xoauth_problem": "session_rejected"}), {"wrong session handle": "status 401"}),
    (missing(TOKENS, REFRESH, "oauth_session_handle"), {"refresh": "has no oauth_session_handle"}),
    (fault("problem", TOKENS, ALONE, status=400, problem="token_rejected"), {"session handle alone": "status 400 (token_rejected)"}),
    (status(503, TOKENS, AFTER), {"refresh after sign-out": "status 503"}),
    (fault("html", "account"), {"profile": "something else (text/html", "unchanged document": "no Last-Modified"}),
    (status(200, "account", 1), {"unchanged document": "status 200"}),
    (status(200, "account", 2), {"wrong token secret": "status 200"}),
    (fault("html", "entitlement"), {"entitlements": "something else"}),
    (fault("truncate", "quota"), {"quota": "cut short"}),
    (missing("oauth2-token", 0, "expires_in"), {"OAuth2 token": "no lifetime"}),
    (fault("problem", "oauth2-token", 1, status=400, problem="parameter_rejected"), {"OAuth2 JWT": "status 400"}),
    (fault("problem", "oauth2-token", 2, status=400, problem="token_rejected"), {"OAuth2 wrong secret": "status 400"}),
    (status(200, "oauth2-token", 3), {"OAuth2 after sign-out": "status 200"}),
    (status(200, "invalidate-token"), {"token after sign-out": "status 200", "OAuth2 after sign-out": "status 200",
                                           "refresh after sign-out": "status 200"}),
    (status(500, "invalidate-token"), {"sign-out": "status 500"}),
    (fault("clock", "time-iso", offset_seconds=-900), {"time": "/time/iso is"}),
    (status(404, "time-unix"), {"time": "/time/unix tells no time"}),
    (fault("delay", "quota", delay_ms=2100), {"answer time": "took 2"}),
    (fault("clock", "quota", omit_date=True), {"date": "not at /storage/usage"}),
]


class CheckServerTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.start_service()
        # With a "/" at the end, which is not to be doubled.
        urls = self.service.folder / "VqWebservicesURLs.config"
        urls.write_text(re.sub(r'("AccountServerUrl": "[^"]*)', r"\1/", urls.read_text(encoding="utf-8")), encoding="utf-8")

    def signed_in(self) -> int:
        return sum(session["alive"] for session in self.service.control("state")["sessions"])

    def approver(self) -> str:
        """A command that does what the user does on the sign-in page."""
        path, info = self.folder / "approve", self.service.info
        path.write_text(f"""#!/bin/sh
exec curl -sf -o /dev/null -H "X-Control-Token: $(cat '{info["control_token_file"]}')" -d "{{\\"url\\": \\"$1\\"}}" {info["control_url"]}/control/approve
""", encoding="utf-8")
        path.chmod(0o700)
        return str(path)

    def test_a_right_server_has_no_fault_and_nothing_of_the_user_is_touched(self):
        process = self.start("check-server", "--json", "--no-browser")
        page = Lines(process.stderr).wait_for("https://")
        self.assertNotIn("//oauth", page)
        self.service.control("approve", {"url": page, "user": "ada"})
        self.assertEqual(OK, process.wait(60))
        checks = valid(process.stdout.read())["checks"]
        self.assertEqual({"ok"}, {check["state"] for check in checks}, checks)
        self.assertEqual(0, self.signed_in())
        self.assertFalse(self.home.data().exists(), "the user's own folder")
        words = re.sub(r"[`*]", "", (SOURCE / "docs/account-server.md").read_text(encoding="utf-8"))
        for check in checks:
            self.assertIn(check["requirement"], " ".join(words.split()))

    @unittest.skipIf(SYSROOT, "the same on both platforms, and slow under Wine")
    def test_each_fault_is_named(self):
        command = self.approver()
        for order, expected in ROWS:
            with self.subTest(f"{order}"):
                self.service.control("reset", {})
                self.service.control("faults", order)
                run = self.run_tool("check-server", "--json", "--browser-command", command)
                bad = {check["check"]: check["text"] for check in run.json()["checks"] if check["state"] in ("fault", "warning")}
                self.assertEqual(expected.keys(), bad.keys(), bad)
                for name, text in expected.items():
                    self.assertIn(text, bad[name])
                for secret in self.service.control("secrets")["secrets"]:
                    self.assertNotIn(secret, run.out + run.err)
                self.assertEqual(FAILED if run.json()["faults"] else OK, run.status)
                self.assertEqual((0, None), (self.signed_in(), run.json()["leftSignedIn"]))

    @unittest.skipIf(SYSROOT, "the same on both platforms, and slow under Wine")
    def test_what_hinders_the_check_is_said(self):
        command = self.approver()
        self.service.control("faults", missing(TOKENS, FIRST, "oauth_token"))
        self.assertIn("may still be signed in", self.check(FAILED, "check-server", "--browser-command", command).err)
        self.service.control("lifetimes", {"token": 300})
        run = self.check(FAILED, "check-server", "--browser-command", command)
        self.assertRegex(run.out, r"fault +token lifetime: +300 s\. The page says: An access token lasts well above 300 s\.")
        self.assertIn("nobody has signed in", self.check(FAILED, "check-server", "--browser-command", "false").out)
        self.check(CANCELLED, "check-server", "--no-browser", "--timeout", "1")
        self.service.control("reset", {})
        self.service.control("faults", fault("delay", "quota", delay_ms=5000))
        process = self.start("check-server", "--browser-command", command)
        Lines(process.stdout).wait_for("entitlements")
        process.send_signal(signal.SIGINT)
        self.assertEqual((CANCELLED, 0), (process.wait(30), self.signed_in()), "signed out after Ctrl-C, too")
        self.assertIn("no JSON at byte", self.check(USAGE, "check-server", self.service.info["ca_file"]).err)
        file = self.folder / "urls"
        file.write_text('{"Configurations": {"WebServices": {"Urls": {"AccountServerUrl": "x"}}}}', encoding="utf-8")
        self.assertRegex(self.check(FAILED, "check-server", str(file)).out, "URL file: +it has no RequestTokenEndPoint, ")


if __name__ == "__main__":
    unittest.main()
