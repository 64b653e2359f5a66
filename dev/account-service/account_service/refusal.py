"""The refusal of a request, and the answer for it."""

import json

from flask import Response, render_template, request
from oauthlib.common import urlencode

BROWSER_PAGES = {"authorize", "sign-in", "signed-in", "logout", "account-page"}

PHRASES = {
    "consumer_key_unknown": "The consumer key is not known",
    "message_expired": "The time stamp is outside of the accepted window",
    "nonce_used": "The nonce was used before",
    "parameter_absent": "A required parameter is missing",
    "parameter_rejected": "A parameter was not accepted",
    "permission_unknown": "The user has not signed in yet",
    "session_rejected": "The session handle is not accepted",
    "signature_invalid": "The signature is wrong",
    "signature_method_rejected": "The signature method is not accepted",
    "token_expired": "The token has expired",
    "token_rejected": "The token is not accepted",
    "token_revoked": "The session of the token has ended",
    "token_used": "The token was used before",
    "version_rejected": "The OAuth version is not accepted",
}


class Refusal(Exception):
    """A request that is not accepted, with the status and the data of the headers."""

    def __init__(self, status: int, problem: str, info: str = "",
                 absent: list[str] | None = None, phrase: str = "",
                 oauth2_error: str = "") -> None:
        super().__init__(problem)
        self.status = status
        self.problem = problem
        self.info = info
        self.absent = absent or []
        self.phrase = phrase or PHRASES.get(problem, "The request was refused")
        self.oauth2_error = oauth2_error

    def headers(self) -> dict[str, str]:
        headers = {"xoauth_problem": self.problem, "x-vqs-reason-phrase": self.phrase}
        if self.info:
            headers["xoauth_additional_error_info"] = self.info
        if self.absent:
            headers["xoauth_parameters_absent"] = "&".join(self.absent)
        if self.status == 401:
            headers["WWW-Authenticate"] = 'OAuth realm="account service"'
        return headers

    def to_response(self) -> Response:
        if request.endpoint in BROWSER_PAGES:
            body, kind = render_template("refused.html", refusal=self), "text/html; charset=utf-8"
        elif self.oauth2_error:
            body = json.dumps({"error": self.oauth2_error, "error_description": self.phrase})
            kind = "application/json"
        else:
            fields = [("oauth_problem", self.problem)]
            if self.absent:
                fields.append(("oauth_parameters_absent", "&".join(self.absent)))
            body, kind = urlencode(fields), "application/x-www-form-urlencoded"
        return Response(body, self.status, self.headers(), content_type=kind)
