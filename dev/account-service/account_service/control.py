"""The control interface: JSON over plain HTTP, for tests on this computer.

Every call must carry the header X-Control-Token with the text of the file
control-token, which only the owner can read.
"""

import hmac
import time
from dataclasses import asdict, fields
from typing import Any, Callable
from urllib.parse import urlsplit

from flask import Flask, Request, Response, jsonify, request
from werkzeug.test import EnvironBuilder

from .documents import NAMES
from .exchange import Exchange
from .faults import Fault
from .service import Service


class BadOrder(ValueError):
    """A call with a request that the service cannot execute."""


def _body(**allowed: tuple[type, Any]) -> dict[str, Any]:
    """The JSON object of the call. allowed: the type and default of each field."""
    data = request.get_json(silent=True, force=True) if request.get_data() else {}
    if not isinstance(data, dict):
        raise BadOrder("a JSON object is expected")
    for name, value in data.items():
        if name not in allowed:
            raise BadOrder(f"unknown field {name}")
        kind = allowed[name][0]
        if not isinstance(value, kind) or isinstance(value, bool) != (kind is bool):
            raise BadOrder(f"{name} has the wrong type")
    return {name: data.get(name, default) for name, (_, default) in allowed.items()}


def make_control(service: Service, control_token: str, base_url: str) -> Flask:
    app = Flask(__name__, static_folder=None)
    store = service.store

    @app.before_request
    def guard() -> Response | None:
        given = request.headers.get("X-Control-Token", "")
        if not hmac.compare_digest(given.encode(), control_token.encode()):
            return Response("The header X-Control-Token is missing or wrong.\n", 403)
        return None

    @app.errorhandler(ValueError)
    def refuse(error: ValueError) -> tuple[Response, int]:
        return jsonify(error=str(error)), 400

    def state() -> Response:
        with store.lock:
            sessions = [{"user": session.user.name, "consumers": sorted(session.handles),
                         "alive": not session.ended and time.time() < session.expires_at,
                         "expires_in": round(session.expires_at - time.time())}
                        for session in store.sessions]
        return jsonify(lifetimes=asdict(store.lifetimes), sessions=sessions,
                       timestamp_window=service.verifier.timestamp_window,
                       clock_offset=service.clock.offset, faults=service.faults.as_json(),
                       counters=service.journal.totals(), sequence=service.journal.sequence)

    def secrets() -> Response:
        return jsonify(secrets=store.all_secrets())

    def log() -> Response:
        return jsonify(requests=service.journal.since(request.args.get("since", 0, int)))

    def faults() -> Response:
        if request.method == "POST":
            data = request.get_json(silent=True, force=True)
            orders = [Fault.from_json(order) for order in
                      (data if isinstance(data, list) else [data])]
            for order in orders:
                service.faults.add(order)
        elif request.method == "DELETE":
            service.faults.clear()
        return jsonify(faults=service.faults.as_json())

    def lifetimes() -> Response:
        names = [field.name for field in fields(store.lifetimes)] + ["timestamp_window"]
        given = {name: value for name, value in
                 _body(**{name: (int, None) for name in names}).items() if value is not None}
        if any(value < 1 for value in given.values()):
            raise BadOrder("a lifetime is at least 1 second")
        for name, value in given.items():
            owner = service.verifier if name == "timestamp_window" else store.lifetimes
            setattr(owner, name, value)
        return state()

    def clock() -> Response:
        service.clock.offset = float(_body(offset_seconds=((int, float), 0))["offset_seconds"])
        return state()

    def expire() -> Response:
        order = _body(what=(str, ""), consumer=(str, ""))
        if order["what"] not in ("access-tokens", "request-tokens", "sessions"):
            raise BadOrder("what must be access-tokens, request-tokens or sessions")
        return jsonify(expired=store.expire(order["what"], order["consumer"]))

    def documents() -> Response:
        order = _body(touch=(str, ""), quota=(int, None), used=(int, None), services=(list, None),
                      trials=(list, None))
        if order["touch"] and order["touch"] not in NAMES:
            raise BadOrder(f"touch must be one of {', '.join(NAMES)}")
        changed = {order.pop("touch")} - {""}
        for name, value in order.items():
            if value is not None:
                service.documents.values[name] = value
                changed.add("entitlement" if name in ("services", "trials") else "quota")
        for name in changed:
            service.documents.touch(name)
        return jsonify({name: service.documents.last_modified(name) for name in NAMES})

    def approve() -> Response:
        """Does the same as the user in the browser: checks the signed sign-in
        URL exactly as the page does, and approves its request token."""
        order = _body(url=(str, ""), user=(str, ""))
        user = store.users.get(order["user"] or next(iter(store.users)))
        parts = urlsplit(order["url"])
        if user is None or f"{parts.scheme}://{parts.netloc}" != base_url:
            raise BadOrder("url must be a sign-in URL of this service and user a known user")
        environ = EnvironBuilder(parts.path, base_url, parts.query).get_environ()
        environ["QUERY_STRING"] = parts.query
        environ["REQUEST_URI"] = f"{parts.path}?{parts.query}"
        Exchange("GET", "authorize", service.clock).attach(environ)
        verified = service.verifier.verify(Request(environ), ("request",), "query")
        store.approve(verified.token, user)
        return jsonify(user=user.name, consumer=verified.consumer.key)

    def reset() -> Response:
        service.reset(_body(keep_sessions=(bool, False))["keep_sessions"])
        return state()

    def rule(name: str, view: Callable[[], Response], *methods: str) -> None:
        app.add_url_rule(f"/control/{name}", name, view, methods=methods)

    rule("state", state, "GET")
    rule("log", log, "GET")
    rule("secrets", secrets, "GET")
    rule("faults", faults, "GET", "POST", "DELETE")
    for name, view in (("lifetimes", lifetimes), ("clock", clock), ("expire", expire),
                       ("documents", documents), ("approve", approve), ("reset", reset)):
        rule(name, view, "POST")
    return app
