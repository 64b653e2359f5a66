"""Every request of the service passes through the gateway, which also applies the faults."""

import threading
from email.utils import formatdate
from io import BytesIO
from typing import Iterable, Iterator

from flask import Flask
from werkzeug.exceptions import HTTPException
from werkzeug.wrappers import Response

from .exchange import Clock, Exchange, Journal
from .faults import Fault, FaultList

BODY_LIMIT = 1 << 20


class Gateway:
    """A WSGI application around the service. It determines the endpoint, applies
    the fault for it, adds the date to the answer and writes the journal."""

    def __init__(self, app: Flask, clock: Clock, journal: Journal, faults: FaultList) -> None:
        self.app = app
        self.clock = clock
        self.journal = journal
        self.faults = faults
        self.closing = threading.Event()

    def __call__(self, environ: dict, start_response) -> Iterable[bytes]:
        exchange = Exchange(environ["REQUEST_METHOD"], self._endpoint(environ), self.clock,
                            int(environ.get("REMOTE_PORT") or 0), self.journal.era)
        exchange.attach(environ)
        fault = self.faults.take(exchange.endpoint)
        try:
            answer = self._answer(environ, exchange, fault)
            exchange.status = answer.status_code
        except (ConnectionError, TimeoutError):
            exchange.verdict = exchange.verdict if fault else "connection_lost"
            raise
        finally:
            exchange.fault = fault.kind if fault else ""
            self.journal.add(exchange)
        if fault is None or not fault.omit_date:
            answer.headers["Date"] = formatdate(exchange.now(), usegmt=True)
        body = answer(environ, start_response)
        return self._cut(body, fault, answer) if fault and fault.kind == "truncate" else body

    def _endpoint(self, environ: dict) -> str:
        try:
            return self.app.url_map.bind_to_environ(environ).match()[0]
        except HTTPException:
            return "unknown"

    def _answer(self, environ: dict, exchange: Exchange, fault: Fault | None) -> Response:
        if not self._take_body(environ):
            exchange.verdict = "too_large"
            return Response("The request is too large.\n", 413, {"Connection": "close"})
        if environ.get("HTTP_HOST") not in self._own_hosts(environ):
            exchange.verdict = "wrong_host"
            return Response("This is not the host that was asked for.\n", 421)
        if fault is None:
            return Response.from_app(self.app, environ, buffered=True)
        if fault.delay_ms > 0:
            self.closing.wait(fault.delay_ms / 1000)
        exchange.clock_offset = fault.offset_seconds
        answer = None
        if fault.is_carried_out():
            answer = Response.from_app(self.app, environ, buffered=True)
        else:
            exchange.verdict = "fault"
        if fault.kind == "drop":
            raise ConnectionAbortedError("dropped by order")
        return fault.spoil(answer)

    @staticmethod
    def _take_body(environ: dict) -> bool:
        """Reads the body even when it is not used. A connection that is closed
        with unread bytes is reset, and the client may lose the answer."""
        try:
            length = int(environ.get("CONTENT_LENGTH") or 0)
        except ValueError:
            length = -1
        if not 0 <= length <= BODY_LIMIT or environ.get("wsgi.input_terminated"):
            return False
        environ["wsgi.input"] = BytesIO(environ["wsgi.input"].read(length))
        return True

    @staticmethod
    def _own_hosts(environ: dict) -> tuple[str, str]:
        port = environ["SERVER_PORT"]
        return f"127.0.0.1:{port}", f"localhost:{port}"

    @staticmethod
    def _cut(body: Iterable[bytes], fault: Fault, answer: Response) -> Iterator[bytes]:
        whole = b"".join(body)
        yield whole[:fault.keep_bytes if fault.keep_bytes >= 0 else len(whole) // 2]
        raise ConnectionAbortedError("cut short by order")
