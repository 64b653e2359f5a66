"""Checks a signed request. oauthlib verifies the signature itself."""

import threading
from dataclasses import dataclass
from types import SimpleNamespace
from urllib.request import parse_http_list

from flask import Request
from oauthlib.common import urldecode
from oauthlib.oauth1.rfc5849.signature import collect_parameters, verify_hmac_sha1

from .exchange import Exchange
from .model import AccessToken, Consumer
from .refusal import Refusal
from .store import Store, Token

REQUIRED = ["oauth_consumer_key", "oauth_signature_method", "oauth_timestamp",
            "oauth_nonce", "oauth_signature"]
PROTOCOL = set(REQUIRED) | {"oauth_token", "oauth_version", "oauth_session_handle"}
FORM = "application/x-www-form-urlencoded"


@dataclass
class Verified:
    """A request that passed, with its signer and its parameters."""

    consumer: Consumer
    token: Token | None
    session_handle: str
    parameters: list[tuple[str, str]]


class Verifier:
    def __init__(self, store: Store, timestamp_window: int) -> None:
        self.store = store
        self.timestamp_window = timestamp_window
        self._nonces: set[tuple[str, str]] = set()
        self._lock = threading.Lock()

    def verify(self, request: Request, kinds: tuple[str, ...] = ("access",), where: str = "any",
               allow_dead: bool = False) -> Verified:
        """kinds: the allowed kinds of token ("none", "request", "access").
        where: "header" or "query" when only one place is allowed.
        allow_dead: the caller checks the state of the token."""
        header, query, body = self._sources(request)
        protocol = self._protocol(header, query, body, where)
        exchange = Exchange.of(request.environ)
        exchange.consumer_key = protocol.get("oauth_consumer_key", "")
        self._check_form(protocol, exchange.now())
        consumer = self.store.consumers.get(protocol["oauth_consumer_key"])
        if consumer is None:
            raise Refusal(401, "consumer_key_unknown")
        token = self._token(protocol, consumer, kinds, exchange)
        parameters = header + query + body
        self._check_signature(request, parameters, protocol, consumer, token)
        self._spend_nonce(consumer.key, protocol["oauth_nonce"])
        if token is not None and not allow_dead:
            self.store.check_alive(token)
        return Verified(consumer, token, protocol.get("oauth_session_handle", ""),
                        [(name, value) for name, value in parameters if name not in PROTOCOL])

    @staticmethod
    def _sources(request: Request) -> tuple[list, list, list]:
        authorization = request.headers.get("Authorization", "")
        scheme, _, rest = authorization.partition(" ")
        try:
            header = collect_parameters(headers={"Authorization": authorization},
                                        exclude_oauth_signature=False) if rest else []
            query = collect_parameters(uri_query=request.environ["QUERY_STRING"],
                                       exclude_oauth_signature=False)
            text = request.get_data(as_text=True) if request.mimetype == FORM else ""
            body = urldecode(text) if text else []
        except ValueError:
            raise Refusal(400, "parameter_rejected", "malformed_parameters") from None
        # oauthlib reads the header into a dictionary, which would hide a duplicate parameter.
        written = [item for item in parse_http_list(rest) if not item.startswith("realm=")]
        if scheme.lower() == "oauth" and len(written) != len(header):
            raise Refusal(400, "parameter_rejected", "duplicate_parameters")
        return header, query, body

    @staticmethod
    def _protocol(header: list, query: list, body: list, where: str) -> dict[str, str]:
        found = {"header": [pair for pair in header if pair[0] in PROTOCOL],
                 "query": [pair for pair in query if pair[0] in PROTOCOL]}
        if any(name in PROTOCOL for name, _ in body):
            raise Refusal(400, "parameter_rejected", "protocol_parameters_in_body")
        # With a signed header, only the session handle may be in the query.
        stray = [name for name, _ in found["query"] if name != "oauth_session_handle"]
        if found["header"] and stray:
            raise Refusal(400, "parameter_rejected", "protocol_parameters_in_two_places")
        used = "header" if found["header"] else "query"
        if stray and where == "header" or found["header"] and where == "query":
            raise Refusal(400, "parameter_rejected", f"protocol_parameters_belong_in_the_{where}")
        pairs = found["header"] + found["query"] if used == "header" else found["query"]
        if len({name for name, _ in pairs}) != len(pairs):
            raise Refusal(400, "parameter_rejected", "duplicate_parameters")
        return dict(pairs)

    def _check_form(self, protocol: dict[str, str], now: float) -> None:
        absent = [name for name in REQUIRED if not protocol.get(name)]
        if absent:
            raise Refusal(400, "parameter_absent", absent=absent)
        if protocol.get("oauth_version", "1.0") != "1.0":
            raise Refusal(400, "version_rejected")
        if protocol["oauth_signature_method"] != "HMAC-SHA1":
            raise Refusal(400, "signature_method_rejected")
        stamp = protocol["oauth_timestamp"]
        if not (stamp.isascii() and stamp.isdecimal() and len(stamp) <= 12):
            raise Refusal(400, "parameter_rejected", "malformed_timestamp")
        if abs(int(stamp) - now) > self.timestamp_window:
            raise Refusal(401, "message_expired", f"window_is_{self.timestamp_window}_seconds")

    def _token(self, protocol: dict[str, str], consumer: Consumer, kinds: tuple[str, ...],
               exchange: Exchange) -> Token | None:
        if "oauth_token" not in protocol:
            exchange.token_kind = "none"
            if "none" not in kinds:
                raise Refusal(400, "parameter_absent", absent=["oauth_token"])
            return None
        token = self.store.find(protocol["oauth_token"])
        exchange.token_kind = token.kind if token else "unknown"
        if token is None or token.kind not in kinds or token.consumer_key != consumer.key:
            raise Refusal(401, "token_rejected")
        if isinstance(token, AccessToken):
            exchange.user = token.session.user.name
        return token

    @staticmethod
    def _check_signature(request: Request, parameters: list, protocol: dict[str, str],
                         consumer: Consumer, token: Token | None) -> None:
        signed = SimpleNamespace(
            uri=f"{request.scheme}://{request.host}{request.environ['REQUEST_URI']}",
            http_method=request.method,
            params=[pair for pair in parameters if pair[0] != "oauth_signature"],
            signature=protocol["oauth_signature"])
        if not verify_hmac_sha1(signed, consumer.secret, token.secret if token else ""):
            raise Refusal(401, "signature_invalid")

    def _spend_nonce(self, consumer_key: str, nonce: str) -> None:
        with self._lock:
            if (consumer_key, nonce) in self._nonces:
                raise Refusal(401, "nonce_used")
            self._nonces.add((consumer_key, nonce))
