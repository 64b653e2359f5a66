"""Signed documents, the echo, and the time of the server."""

import datetime

from flask import Flask, Response, jsonify, redirect, request

from .exchange import Exchange
from .refusal import Refusal
from .service import Service


def register(app: Flask, service: Service) -> None:
    verify, documents = service.verifier.verify, service.documents

    def document(name: str, needs_format: bool) -> Response:
        verified = verify(request)
        if needs_format and ("format", "xml") not in verified.parameters:
            raise Refusal(400, "parameter_rejected", "format")
        headers = {"Last-Modified": documents.last_modified(name)}
        if documents.is_unchanged(name, request.headers.get("If-Modified-Since")):
            return Response(status=304, headers=headers)
        body = documents.render(name, verified.token.session.user)
        return Response(body, headers=headers, content_type="application/xml; charset=utf-8")

    def echo() -> Response:
        verified = verify(request)
        return jsonify(user=verified.token.session.user.name, consumer=verified.consumer.key,
                       method=request.method, parameters=sorted(verified.parameters))

    def now() -> datetime.datetime:
        moment = Exchange.of(request.environ).now()
        return datetime.datetime.fromtimestamp(moment, datetime.timezone.utc)

    def text(body: str) -> Response:
        return Response(body, content_type="text/plain; charset=utf-8",
                        headers={"Cache-Control": "no-store"})

    rule = app.add_url_rule
    rule("/api/account", "account", lambda: document("account", True))
    rule("/api/entitlement", "entitlement", lambda: document("entitlement", True))
    rule("/storage/usage", "quota", lambda: document("quota", False))
    rule("/api/echo", "echo", echo, methods=["GET", "POST"])
    rule("/time/unix", "time-unix", lambda: text(str(int(now().timestamp()))))
    rule("/time/iso", "time-iso", lambda: text(now().strftime("%Y-%m-%dT%H:%M:%SZ")))
    rule("/time/date-header-only", "time-date-header-only", lambda: text(""))
    rule("/time/moved", "time-moved",
         lambda: redirect(f"{request.scheme}://{request.host}/time/unix", 301))
