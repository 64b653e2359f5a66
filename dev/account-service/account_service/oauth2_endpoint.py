"""OAuth2 tokens in exchange for an OAuth 1.0 access token."""

import base64
import hashlib
import hmac
import json
import os
import time

from flask import Flask, Response, jsonify, request

from .exchange import Exchange
from .model import AccessToken, random_secret
from .refusal import Refusal
from .service import Service

SHOWN = ("token_type", "scope")
REQUIRED = ["client_id", "client_secret", "oauth1_token", "oauth1_secret", "token_type"]
JWT_KEY = os.urandom(32)


def _encoded(data: bytes) -> str:
    return base64.urlsafe_b64encode(data).rstrip(b"=").decode("ascii")


def make_jwt(claims: dict) -> str:
    header = {"alg": "HS256", "typ": "JWT"}
    text = ".".join(_encoded(json.dumps(part).encode()) for part in (header, claims))
    return f"{text}.{_encoded(hmac.digest(JWT_KEY, text.encode(), hashlib.sha256))}"


def _read_form() -> dict[str, str]:
    if request.mimetype != "application/x-www-form-urlencoded":
        raise Refusal(400, "parameter_rejected", "content_type", oauth2_error="invalid_request")
    form = request.form
    Exchange.of(request.environ).form = "&".join(
        f"{name}={value}" if name in SHOWN else name for name, value in form.items())[:400]
    absent = [name for name in REQUIRED if not form.get(name) and name != "token_type"]
    # The parameter is required. An empty type requests an RT.
    absent += [] if "token_type" in form else ["token_type"]
    if absent:
        raise Refusal(400, "parameter_absent", absent=absent, oauth2_error="invalid_request")
    if any(len(form.getlist(name)) != 1 for name in form):
        raise Refusal(400, "parameter_rejected", "duplicate_parameters",
                      oauth2_error="invalid_request")
    return form.to_dict()


def register(app: Flask, service: Service) -> None:
    store = service.store

    def authenticate(form: dict[str, str]) -> AccessToken:
        exchange = Exchange.of(request.environ)
        exchange.consumer_key = form["client_id"]
        secret = service.oauth2_clients.get(form["client_id"], "")
        if not secret or not hmac.compare_digest(secret.encode(), form["client_secret"].encode()):
            raise Refusal(401, "consumer_key_unknown", oauth2_error="invalid_client")
        token = store.find(form["oauth1_token"])
        exchange.token_kind = token.kind if token else "unknown"
        if not isinstance(token, AccessToken) or not hmac.compare_digest(
                token.secret.encode(), form["oauth1_secret"].encode()):
            raise Refusal(400, "token_rejected", oauth2_error="invalid_grant")
        try:
            store.check_alive(token)
        except Refusal as refusal:
            # After 400 a client signs the user out. A client with an old token
            # gets 401, so that it fetches the new token and retries.
            status = 400 if refusal.problem == "token_revoked" else 401
            raise Refusal(status, refusal.problem, refusal.info,
                          oauth2_error="invalid_grant") from None
        exchange.user = token.session.user.name
        return token

    def oauth2_token() -> Response:
        form = _read_form()
        token = authenticate(form)
        kind = form["token_type"].upper() or "RT"
        if kind not in ("RT", "JWT"):
            raise Refusal(400, "parameter_rejected", "token_type", oauth2_error="invalid_request")
        lifetime = store.lifetimes.oauth2_token
        scope = form.get("scope", "")
        if kind == "JWT":
            now = int(time.time())
            value = make_jwt({"iss": request.host_url.rstrip("/"), "sub": token.session.user.guid,
                              "aud": form["client_id"], "scope": scope, "iat": now,
                              "exp": now + lifetime, "jti": random_secret()})
        else:
            value = random_secret()
        reply = jsonify(access_token=value, token_type="Bearer", expires_in=lifetime, scope=scope)
        reply.headers["Cache-Control"] = "no-store"
        return reply

    app.add_url_rule("/oauth2/token", "oauth2-token", oauth2_token, methods=["POST"])
