"""Threaded servers on loopback, one with TLS and one without."""

import contextlib
import logging
import select
import socket
import socketserver
import ssl

from werkzeug.serving import ThreadedWSGIServer, WSGIRequestHandler

from .slow_line import behind_slow_line

LOG = logging.getLogger("account_service")
SILENT_AFTER_SECONDS = 30


class RequestHandler(WSGIRequestHandler):
    timeout = SILENT_AFTER_SECONDS
    protocol_version = "HTTP/1.1"

    def run_wsgi(self) -> None:
        """In place of the inherited function, which closes each connection."""
        environ = self.make_environ()
        try:
            body = self.server.app(environ, self._start_response)
            for piece in body:
                self.wfile.write(piece)
            self._drain()
        except (ConnectionError, TimeoutError) as error:
            self.connection_dropped(error, environ)

    def _start_response(self, status: str, headers: list[tuple[str, str]], _error=None) -> None:
        self.send_response(int(status.split()[0]), status.partition(" ")[2])
        for name, value in headers:
            self.send_header(name, value)
        self.end_headers()

    def _drain(self) -> None:
        """A connection that is closed with unread bytes is reset, and the client may lose the answer."""
        while self.close_connection and select.select([self.connection], [], [], 0.01)[0]:
            if not self.connection.recv(1 << 16):
                return

    def version_string(self) -> str:
        return "account-service"

    def send_response(self, code: int, message: str | None = None) -> None:
        # The application adds the date to its answers itself, from its own clock.
        self.send_response_only(code, message)
        self.send_header("Server", self.version_string())

    def connection_dropped(self, error: BaseException, environ: dict | None = None) -> None:
        self.close_connection = True

    def log(self, type: str, message: str, *args) -> None:
        # The request line can contain tokens, and the journal already records the request.
        if type == "error":
            LOG.warning("a request could not be read")


class LoopbackServer(ThreadedWSGIServer):
    def __init__(self, port: int, app, context: ssl.SSLContext | None = None, line_delay_ms: int = 0) -> None:
        super().__init__("127.0.0.1", port, app, RequestHandler)
        self.ssl_context = context
        self.line_delay_ms = line_delay_ms

    def server_bind(self) -> None:
        # Not the inherited function, which queries the name service for the host's name.
        socketserver.TCPServer.server_bind(self)
        self.server_name, self.server_port = self.server_address[:2]

    def log(self, type: str, message: str, *args) -> None:
        LOG.error(message, *args)

    def get_request(self) -> tuple[socket.socket, object]:
        request, client_address = super().get_request()
        if self.line_delay_ms:
            request = behind_slow_line(request, self.line_delay_ms / 1000)
        return request, client_address

    def finish_request(self, request: socket.socket, client_address) -> None:
        """Runs in the thread of the connection, so that a client that never
        ends its TLS handshake does not block other clients."""
        if self.ssl_context is None:
            super().finish_request(request, client_address)
            return
        request.settimeout(SILENT_AFTER_SECONDS)
        with self.ssl_context.wrap_socket(request, server_side=True) as secured:
            super().finish_request(secured, client_address)
            # Closes the TLS session without waiting for the other side.
            secured.setblocking(False)
            with contextlib.suppress(OSError, ValueError):
                secured.unwrap()

    def handle_error(self, request, client_address) -> None:
        LOG.info("connection ended early", exc_info=LOG.isEnabledFor(logging.DEBUG))
