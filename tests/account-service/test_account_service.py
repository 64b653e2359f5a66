"""Tests of the account service for development, over real TLS on loopback."""

import base64
import http.client
import json
import os
import re
import signal
import socket
import ssl
import stat
import subprocess
import sys
import time
import unittest
from urllib.parse import urlencode

from oauthlib.oauth1 import Client

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from harness import FIRST, FORM, LAUNCHER, SECOND, RunningService  # noqa: E402

USAGE = "/storage/usage"


class AccountServiceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.service = RunningService()
        cls.addClassCleanup(cls.service.close)

    def setUp(self) -> None:
        self.assertEqual(self.service.control("reset", {})[0], 200)

    def assert_refused(self, reply, status: int, problem: str) -> None:
        self.assertEqual((reply.status, reply.problem), (status, problem))
        self.assertTrue(reply.headers["x-vqs-reason-phrase"])

    # The files and the door

    def test_files_are_private_and_complete(self) -> None:
        out = self.service.out
        self.assertRegex(self.service.ready_line, r"^Account service ready at "
                         rf"https://127\.0\.0\.1:\d+ \(files in {re.escape(str(out))}\)$")
        for name in ("service.json", "control-token", "server-key.pem", "account-service.log"):
            self.assertEqual(stat.S_IMODE((out / name).stat().st_mode), 0o600, name)
        for suffix in ("", "-Staging", "-Development"):
            text = (out / f"VqWebservicesURLs{suffix}.config").read_text()
            urls = json.loads(text)["Configurations"]["WebServices"]["Urls"]
            self.assertEqual(urls["AccountServerUrl"], self.service.url)
            self.assertIn("=%EncodedDomainKey%", urls["AuthorizationEndPoint"])
            self.assertEqual(self.service.send(
                "GET", self.service.url + urls["AccessTokenEndPoint"]).status, 400)
            self.assertEqual(self.service.send("GET", urls["HelpUrl"]).status, 200)

    def test_untrusting_and_silent_clients_do_no_harm(self) -> None:
        port = int(self.service.url.rpartition(":")[2])
        with socket.create_connection(("127.0.0.1", port)) as silent:
            with self.assertRaises(ssl.SSLCertVerificationError):
                http.client.HTTPSConnection("127.0.0.1", port).request("GET", "/")
            self.assertEqual(self.service.request_token().keys(), {
                "oauth_token", "oauth_token_secret", "x_oauth_client_identifier"})
            silent.sendall(b"no TLS at all\r\n\r\n")
        self.assertEqual(self.service.send("GET", self.service.url + "/time/unix").status, 200)
        wrong_host = self.service.send("GET", self.service.url + "/time/unix", None,
                                       {"Host": "example.com"})
        self.assertEqual(wrong_host.status, 421)

    # Strictness

    def test_malformed_requests_are_refused_with_a_problem(self) -> None:
        old, soon = str(int(time.time()) - 301), str(int(time.time()) + 400)
        path = "/oauth/request-token"
        rows = [
            ("stale", {"timestamp": old}, FIRST, 401, "message_expired"),
            ("future", {"timestamp": soon}, FIRST, 401, "message_expired"),
            ("no number", {"timestamp": "12e4"}, FIRST, 400, "parameter_rejected"),
            ("wrong secret", {}, (FIRST[0], "x"), 401, "signature_invalid"),
            ("unknown consumer", {}, ("nobody", "x"), 401, "consumer_key_unknown"),
            ("method", {"signature_method": "PLAINTEXT"}, FIRST, 400, "signature_method_rejected"),
            ("token", {"resource_owner_key": "unknown"}, FIRST, 401, "token_rejected"),
        ]
        for name, changes, consumer, status, problem in rows:
            with self.subTest(name):
                url, headers, _ = Client(*consumer, **changes).sign(self.service.url + path)
                self.assert_refused(self.service.send("GET", url, None, headers), status, problem)
        bare = self.service.send("GET", self.service.url + path)
        self.assert_refused(bare, 400, "parameter_absent")
        self.assertIn("oauth_nonce", bare.headers["xoauth_parameters_absent"].split("&"))
        self.assertIn("Date", bare.headers)

    def test_changed_requests_are_refused(self) -> None:
        url, headers, _ = self.service.sign("/oauth/request-token?x_upi_release=2%2B0")
        good = headers["Authorization"]
        twice = good + ', oauth_version="1.0"'
        rows = [
            ("query changed", url.replace("2%2B0", "2+0"), good, 401, "signature_invalid"),
            ("query added", url + "&a=", good, 401, "signature_invalid"),
            ("twice", url, twice, 400, "parameter_rejected"),
            ("two places", url + "&oauth_version=1.0", good, 400, "parameter_rejected"),
            ("version", url, good.replace('"1.0"', '"2.0"'), 400, "version_rejected"),
            ("basic", url, "Basic YTpi", 400, "parameter_rejected"),
            ("as signed", url, good, 200, ""),
            ("nonce again", url, good, 401, "nonce_used"),
        ]
        for name, target, header, status, problem in rows:
            with self.subTest(name):
                reply = self.service.send("GET", target, None, {"Authorization": header})
                self.assertEqual((reply.status, reply.problem), (status, problem))
        self.service.control("reset", {})
        again = self.service.send("GET", url, None, headers)
        self.assert_refused(again, 401, "nonce_used")

    def test_a_request_token_works_once_and_expires(self) -> None:
        token = self.service.request_token()
        fetch = "/oauth/access-token"
        self.assert_refused(self.service.call(fetch, token=token), 401, "permission_unknown")
        self.assert_refused(self.service.call(fetch, SECOND, token), 401, "token_rejected")
        page = self.service.sign_in_page(token)
        self.assertEqual(self.service.post_form(page, "ada", "correct horse").status, 303)
        url, _, _ = self.service.sign("/oauth/authorize", token=token, query=True)
        self.assert_refused(self.service.send("GET", url), 401, "token_used")
        self.assertEqual(self.service.call(fetch, token=token).status, 200)
        self.assert_refused(self.service.call(fetch, token=token), 401, "token_used")
        self.assertEqual(self.service.post_form(page, "ada", "correct horse").status, 400)
        late = self.service.request_token()
        self.service.control("expire", {"what": "request-tokens"})
        self.assert_refused(self.service.call(fetch, token=late), 401, "token_expired")

    # The flows

    def test_the_sign_in_page_refuses_wrong_passwords(self) -> None:
        page = self.service.sign_in_page(self.service.request_token())
        html = self.service.send("GET", page).text
        for part in ('lang="en"', 'for="username"', 'for="password"', 'id="sign-in"', "Demo Product"):
            self.assertIn(part, html)
        wrong = self.service.post_form(page, '"><b>', "correct horse")
        self.assertEqual(wrong.status, 403)
        self.assertRegex(wrong.text, r'role="alert">The user name or the password is wrong')
        self.assertNotIn("<b>", wrong.text)
        done = self.service.post_form(page, "ada", "correct horse")
        cookies = done.headers.get_all("Set-Cookie")
        session = next(cookie for cookie in cookies if cookie.startswith("VqSession="))
        self.assertTrue("Secure" in session and "HttpOnly" in session, session)
        target = self.service.url + done.headers["Location"]
        last = self.service.send("GET", target, None, {"Cookie": session.partition(";")[0]})
        self.assertIn('id="signed-in"', last.text)
        self.assertNotIn('id="signed-in"', self.service.send("GET", target).text)

    def test_a_signed_in_client_sends_signed_requests(self) -> None:
        token = self.service.access_token()
        self.assertEqual(token["x_oauth_user_name"], "ada")
        self.assertAlmostEqual(int(token["oauth_expires_in"]), 3600, delta=60)
        get = self.service.call("/api/echo?b=%C3%A4%20%2B&b=&a=1", token=token)
        self.assertEqual(json.loads(get.text)["parameters"], [["a", "1"], ["b", ""], ["b", "ä +"]])
        post = self.service.call("/api/echo?q=1", token=token, method="POST", body="f=x+y&f=%26")
        self.assertEqual(json.loads(post.text)["parameters"], [["f", "&"], ["f", "x y"], ["q", "1"]])
        url, _, _ = self.service.sign("/account", token=token, query=True)
        self.assertRegex(self.service.send("GET", url).text, r'id="user">ada<')
        again = self.service.send("GET", url)
        self.assert_refused(again, 401, "nonce_used")
        self.assertIn('id="refused"', again.text)

    def test_a_refresh_spends_the_old_token(self) -> None:
        old = self.service.access_token()
        self.service.control("expire", {"what": "access-tokens"})
        self.assert_refused(self.service.call(USAGE, token=old), 401, "token_expired")
        new = self.service.refresh(old).form
        self.assertEqual(new["oauth_session_handle"], old["oauth_session_handle"])
        self.assertEqual(self.service.call(USAGE, token=new).status, 200)
        self.assert_refused(self.service.call(USAGE, token=old), 401, "token_used")
        self.assert_refused(self.service.refresh(old), 400, "token_used")
        wrong = {**new, "oauth_session_handle": "unknown"}
        self.assert_refused(self.service.refresh(wrong), 400, "session_rejected")
        self.service.control("expire", {"what": "sessions"})
        self.assert_refused(self.service.refresh(new), 400, "session_rejected")

    def test_a_second_product_signs_in_and_any_sign_out_ends_all(self) -> None:
        for ending in ("/oauth/invalidate-token", "/oauth/logout"):
            with self.subTest(ending):
                first = self.service.access_token()
                handle = urlencode({"oauth_session_handle": first["oauth_session_handle"]})
                path = f"/oauth/access-token?{handle}"
                second = self.service.call(path, SECOND).form
                self.assertEqual(second["x_oauth_user_guid"], first["x_oauth_user_guid"])
                self.assertNotEqual(second["oauth_token"], first["oauth_token"])
                self.assertEqual(self.service.call(USAGE, SECOND, second).status, 200)
                end = self.service.call(ending, SECOND, second, query=ending.endswith("logout"))
                self.assertEqual(end.status, 200)
                self.assert_refused(self.service.call(USAGE, token=first), 401, "token_revoked")
                self.assert_refused(self.service.call(path, SECOND), 400, "session_rejected")

    def test_oauth2_tokens_need_valid_credentials(self) -> None:
        token = self.service.access_token()
        form = {"client_id": FIRST[0], "client_secret": FIRST[1], "token_type": "",
                "oauth1_token": token["oauth_token"], "oauth1_secret": token["oauth_token_secret"]}
        absent = {name: value for name, value in form.items() if name != "token_type"}
        rows = [
            ("RT", form, 200, ""),
            ("jwt", {**form, "token_type": "jwt", "scope": "data:read"}, 200, ""),
            ("Jwt", {**form, "token_type": "Jwt"}, 200, ""),
            ("type", {**form, "token_type": "saml"}, 400, "invalid_request"),
            ("no type", absent, 400, "invalid_request"),
            ("client", {**form, "client_secret": "x"}, 401, "invalid_client"),
            ("secret", {**form, "oauth1_secret": "x"}, 400, "invalid_grant"),
        ]
        for name, fields, status, error in rows:
            with self.subTest(name):
                reply = self.service.send("POST", self.service.url + "/oauth2/token",
                                          urlencode(fields), {"Content-Type": FORM})
                answer = json.loads(reply.text)
                self.assertEqual((reply.status, answer.get("error", "")), (status, error))
                if status == 200:
                    self.assertEqual(answer["expires_in"], 3600)
                    dots = answer["access_token"].count(".")
                    self.assertEqual(dots, 2 if fields["token_type"] else 0)
                if fields.get("scope"):
                    claims = answer["access_token"].split(".")[1]
                    decoded = json.loads(base64.urlsafe_b64decode(claims + "=" * (-len(claims) % 4)))
                    self.assertEqual((decoded["sub"], decoded["scope"]),
                                     (token["x_oauth_user_guid"], "data:read"))

    # Faults and the control interface

    def test_ordered_faults_happen_once(self) -> None:
        def order(**fault) -> None:
            status, answer = self.service.control("faults", {"endpoint": "request-token", **fault})
            self.assertEqual(status, 200, answer)

        def call():
            return self.service.call("/oauth/request-token")

        clock = {"kind": "problem", "problem": "system_error", "status": 400,
                 "additional_error_info": "timestamp_mismatch", "parameters_absent": "oauth_timestamp"}
        rows = [
            # The other kinds are those of SignInTest.
            ({"kind": "status", "status": 503, "body": "later", "headers": {"Retry-After": 3}},
             lambda r: (r.status, r.text, r.headers["Retry-After"]) == (503, "later", "3")),
            (clock, lambda r: r.status == 400 and r.problem == "system_error"
             and r.headers["xoauth_additional_error_info"] == "timestamp_mismatch"
             and r.headers["xoauth_parameters_absent"] == "oauth_timestamp"),
            ({"kind": "clock", "offset_seconds": -400}, lambda r: r.problem == "message_expired"),
            ({"kind": "html", "omit_date": True}, lambda r: "Date" not in r.headers),
        ]
        for fault, check in rows:
            with self.subTest(fault["kind"]):
                order(**fault)
                self.assertTrue(check(call()))
                self.assertEqual(call().form.keys() & {"oauth_token_secret"}, {"oauth_token_secret"})
        order(kind="delay", delay_ms=300, skip=1)
        for least, faults in ((0, 1), (0.3, 0)):
            start = time.monotonic()
            self.assertEqual((call().status, time.monotonic() - start >= least), (200, True))
            self.assertEqual(len(self.service.control("faults")[1]["faults"]), faults)
        order(kind="drop", count=2)
        for _ in range(2):
            with self.assertRaises((http.client.RemoteDisconnected, ssl.SSLEOFError)):
                call()
        order(kind="truncate")
        with self.assertRaises((http.client.IncompleteRead, ssl.SSLEOFError)):
            call()
        self.assertEqual(call().status, 200)

    def test_a_lost_answer_spends_the_token(self) -> None:
        token = self.service.access_token()
        self.service.control("faults", {"kind": "drop", "endpoint": "access-token", "carry_out": True})
        with self.assertRaises((http.client.RemoteDisconnected, ssl.SSLEOFError)):
            self.service.refresh(token)
        self.assert_refused(self.service.refresh(token), 400, "token_used")

    def test_control_is_guarded(self) -> None:
        for token in ("", "wrong", self.service.control_token[:-1]):
            self.assertEqual(self.service.control("state", token=token)[0], 403)
        rows = [("faults", {"kind": "earthquake"}), ("faults", {"kind": "status"}),
                ("faults", {"kind": "drop", "count": "2"}), ("lifetimes", {"token": 0}),
                ("lifetimes", {"tokens": 5}), ("expire", {"what": "all"}), ("clock", [1]),
                ("approve", {"url": "https://example.com/oauth/authorize?a=b"})]
        for name, order in rows:
            with self.subTest(f"{name} {order}"):
                status, answer = self.service.control(name, order)
                self.assertEqual(status, 400)
                self.assertTrue(answer["error"])

    def test_the_log_and_counters_hold_no_secret(self) -> None:
        _, before = self.service.control("state")
        self.service.control("lifetimes", {"token": 7, "timestamp_window": 30})
        token = self.service.request_token()
        url, _, _ = self.service.sign("/oauth/authorize?domain_key=", token=token, query=True)
        self.assertEqual(self.service.control("approve", {"url": url})[1]["user"], "ada")
        access = self.service.call("/oauth/access-token", token=token).form
        self.assertLessEqual(int(access["oauth_expires_in"]), 7)
        self.service.call(USAGE, token={**access, "oauth_token_secret": "x"})
        stale = self.service.call("/oauth/request-token", timestamp=str(int(time.time()) - 40))
        self.assert_refused(stale, 401, "message_expired")
        _, state = self.service.control("state")
        self.assertEqual(state["counters"]["request-token"],
                         {"requests": 2, "ok": 1, "message_expired": 1})
        self.assertEqual(state["sessions"][0]["consumers"], [FIRST[0]])
        log = self.service.control(f"log?since={before['sequence']}")[1]["requests"]
        seen = [(line["endpoint"], line["token_kind"], line["verdict"]) for line in log]
        self.assertEqual(seen[:3], [
            ("request-token", "none", "ok"), ("access-token", "request", "ok"),
            ("quota", "access", "signature_invalid")])
        written = json.dumps(log) + (self.service.out / "account-service.log").read_text()
        for secret in (*token.values(), *list(access.values())[:3], FIRST[1], "correct horse"):
            if secret != token["x_oauth_client_identifier"]:
                self.assertNotIn(secret, written)


class LifeTest(unittest.TestCase):
    def test_the_service_ends_cleanly(self) -> None:
        def stop(service: RunningService) -> None:
            service.process.send_signal(signal.SIGTERM)

        for name, end in (("signal", stop), ("stdin", lambda s: s.process.stdin.close())):
            with self.subTest(name):
                service = RunningService()
                second = subprocess.run([LAUNCHER, "--out", service.out], capture_output=True,
                                        text=True, timeout=60)
                self.assertEqual(second.returncode, 1)
                self.assertIn("another account service", second.stderr)
                self.assertTrue((service.out / "control-token").exists())
                end(service)
                self.assertEqual(service.process.wait(60), 0)
                left = {path.name for path in service.out.iterdir()}
                self.assertFalse(left & {"service.json", "control-token", "server-key.pem"})
                service.close()


if __name__ == "__main__":
    unittest.main()
