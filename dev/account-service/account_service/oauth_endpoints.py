"""The OAuth 1.0 endpoints that products call themselves."""

import time

from flask import Flask, Response, request
from oauthlib.common import urlencode

from .model import AccessToken, RequestToken
from .refusal import Refusal
from .service import Service


def _form(fields: list[tuple[str, str]]) -> Response:
    return Response(urlencode(fields), content_type="application/x-www-form-urlencoded",
                    headers={"Cache-Control": "no-store"})


def _access_token_reply(token: AccessToken) -> Response:
    now, session = time.time(), token.session
    return _form([
        ("oauth_token", token.token), ("oauth_token_secret", token.secret),
        ("oauth_session_handle", session.handles[token.consumer_key]),
        ("oauth_expires_in", str(max(0, round(token.expires_at - now)))),
        ("oauth_authorization_expires_in", str(max(0, round(session.expires_at - now)))),
        ("x_oauth_user_name", session.user.name), ("x_oauth_user_guid", session.user.guid)])


def register(app: Flask, service: Service) -> None:
    store, verify = service.store, service.verifier.verify

    def request_token() -> Response:
        verified = verify(request, kinds=("none",), where="header")
        token = store.issue_request_token(verified.consumer)
        return _form([("oauth_token", token.token), ("oauth_token_secret", token.secret),
                      ("x_oauth_client_identifier", verified.consumer.client_identifier)])

    def access_token() -> Response:
        # The store handles a dead token here. Only the store knows whether the
        # refusal is final (400) or the client may retry (401).
        verified = verify(request, kinds=("none", "request", "access"), where="header",
                          allow_dead=True)
        token, handle = verified.token, verified.session_handle
        if isinstance(token, RequestToken):
            if handle:
                raise Refusal(400, "parameter_rejected", "session_handle_with_request_token")
            return _access_token_reply(store.exchange(token))
        if not handle:
            missing = "oauth_session_handle" if token else "oauth_token"
            raise Refusal(400, "parameter_absent", absent=[missing])
        if token is None:
            return _access_token_reply(store.join(verified.consumer, handle))
        return _access_token_reply(store.refresh(token, handle))

    def invalidate_token() -> Response:
        verified = verify(request, where="header")
        store.end_session(verified.token.session)
        return _form([("x_oauth_user_name", verified.token.session.user.name)])

    rule = app.add_url_rule
    rule("/oauth/request-token", "request-token", request_token)
    rule("/oauth/access-token", "access-token", access_token)
    rule("/oauth/invalidate-token", "invalidate-token", invalidate_token)
