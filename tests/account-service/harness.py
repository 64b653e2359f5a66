"""A running account service and a small client that signs with oauthlib."""

import http.client
import json
import shutil
import ssl
import subprocess
import tempfile
from pathlib import Path
from urllib.parse import parse_qsl, urlencode, urlsplit

from oauthlib.oauth1 import SIGNATURE_TYPE_QUERY, Client

LAUNCHER = Path(__file__).resolve().parents[2] / "dev/account-service/account-service"
FORM = "application/x-www-form-urlencoded"
FIRST = ("demo-product-0001", "demo-secret-0001")
SECOND = ("second-product-0002", "demo-secret-0002")


class Reply:
    def __init__(self, response: http.client.HTTPResponse) -> None:
        self.status = response.status
        self.headers = response.headers
        self.body = response.read()
        self.text = self.body.decode("utf-8", "replace")

    @property
    def problem(self) -> str:
        return self.headers.get("xoauth_problem", "")

    @property
    def form(self) -> dict[str, str]:
        return dict(parse_qsl(self.text, keep_blank_values=True))


class RunningService:
    """One service in a folder of its own. It ends with this process at the latest."""

    def __init__(self, *options: str) -> None:
        self.folder = Path(tempfile.mkdtemp(prefix="account-service-test-"))
        self.process = subprocess.Popen(
            [LAUNCHER, "--out", self.folder / "out", "--exit-with-parent", *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.ready_line = self.process.stdout.readline().strip()
        self.out = self.folder / "out"
        self.about = json.loads((self.out / "service.json").read_text())
        self.url = self.about["url"]
        self.context = ssl.create_default_context(cafile=self.about["ca_file"])
        self.control_token = Path(self.about["control_token_file"]).read_text()

    def close(self) -> None:
        self.process.stdin.close()
        self.process.wait(60)
        self.process.stdout.close()
        shutil.rmtree(self.folder)

    def send(self, method: str, url: str, body: str | None = None,
             headers: dict[str, str] | None = None) -> Reply:
        parts = urlsplit(url)
        kind = http.client.HTTPSConnection if parts.scheme == "https" else http.client.HTTPConnection
        extra = {"context": self.context} if parts.scheme == "https" else {}
        connection = kind(parts.hostname, parts.port, timeout=60, **extra)
        try:
            target = parts.path + ("?" + parts.query if parts.query else "")
            connection.request(method, target, body, headers or {})
            return Reply(connection.getresponse())
        finally:
            connection.close()

    def control(self, name: str, order: object = None, method: str = "", token: str | None = None):
        headers = {"X-Control-Token": self.control_token if token is None else token}
        reply = self.send(method or ("GET" if order is None else "POST"),
                          f"{self.about['control_url']}/control/{name}",
                          None if order is None else json.dumps(order), headers)
        return reply.status, json.loads(reply.text) if reply.status != 403 else reply.text

    # Signed requests

    def sign(self, path: str, consumer=FIRST, token: dict | None = None, method: str = "GET",
             body: str | None = None, query: bool = False, **changes):
        client = Client(*consumer, resource_owner_key=(token or {}).get("oauth_token"),
                        resource_owner_secret=(token or {}).get("oauth_token_secret"),
                        **({"signature_type": SIGNATURE_TYPE_QUERY} if query else {}), **changes)
        headers = {"Content-Type": FORM} if body is not None else {}
        return client.sign(self.url + path, method, body, headers)

    def call(self, path: str, consumer=FIRST, token: dict | None = None, method: str = "GET",
             body: str | None = None, extra_headers: dict | None = None, **changes) -> Reply:
        url, headers, body = self.sign(path, consumer, token, method, body, **changes)
        return self.send(method, url, body, {**headers, **(extra_headers or {})})

    def request_token(self, consumer=FIRST) -> dict[str, str]:
        return self.call("/oauth/request-token", consumer).form

    def sign_in_page(self, token: dict, consumer=FIRST) -> str:
        """Opens the signed sign-in URL like a browser; returns the address of the form."""
        url, _, _ = self.sign("/oauth/authorize?domain_key=a%20b", consumer, token, query=True)
        return self.url + self.send("GET", url).headers["Location"]

    def post_form(self, page: str, user: str, password: str) -> Reply:
        ticket = dict(parse_qsl(urlsplit(page).query))["ticket"]
        body = urlencode({"ticket": ticket, "username": user, "password": password})
        return self.send("POST", page.partition("?")[0], body, {"Content-Type": FORM})

    def access_token(self, consumer=FIRST) -> dict[str, str]:
        token = self.request_token(consumer)
        assert self.post_form(self.sign_in_page(token, consumer), "ada", "correct horse").status == 303
        return self.call("/oauth/access-token", consumer, token).form

    def refresh(self, token: dict, consumer=FIRST) -> Reply:
        return self.call("/oauth/access-token?" + urlencode(
            {"oauth_session_handle": token["oauth_session_handle"]}), consumer, token)
