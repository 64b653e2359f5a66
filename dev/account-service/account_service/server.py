"""Threaded servers on loopback, one with TLS and one without."""

import contextlib
import logging
import socket
import socketserver
import ssl

from werkzeug.serving import ThreadedWSGIServer, WSGIRequestHandler

LOG = logging.getLogger("account_service")
SILENT_AFTER_SECONDS = 30


class RequestHandler(WSGIRequestHandler):
    timeout = SILENT_AFTER_SECONDS
    protocol_version = "HTTP/1.1"

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
    def __init__(self, port: int, app, context: ssl.SSLContext | None = None) -> None:
        super().__init__("127.0.0.1", port, app, RequestHandler)
        self.ssl_context = context

    def server_bind(self) -> None:
        # Not the inherited function, which queries the name service for the host's name.
        socketserver.TCPServer.server_bind(self)
        self.server_name, self.server_port = self.server_address[:2]

    def log(self, type: str, message: str, *args) -> None:
        LOG.error(message, *args)

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
