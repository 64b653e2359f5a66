"""Servers that no account server is: a proxy that refuses, and one whose certificate nobody signed."""
import base64
import contextlib
import datetime
import http.server
import ipaddress
import pathlib
import socket
import ssl
import threading

from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.x509.oid import NameOID

IDLE_SECONDS = 30


class Server:
    """Listens on loopback until stop()."""

    def __init__(self, handler: type[http.server.BaseHTTPRequestHandler], context: ssl.SSLContext | None = None):
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        self._server.owner = self
        if context:
            # The handshake belongs to the thread of the connection.
            self._server.socket = context.wrap_socket(self._server.socket, server_side=True, do_handshake_on_connect=False)
        self.url = f"{'https' if context else 'http'}://127.0.0.1:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def stop(self) -> None:
        self._server.shutdown()
        self._server.server_close()


class QuietHandler(http.server.BaseHTTPRequestHandler):
    timeout = IDLE_SECONDS

    def log_message(self, *_arguments) -> None:
        pass


class TunnelHandler(QuietHandler):
    protocol_version = "HTTP/1.1"

    def do_CONNECT(self) -> None:
        owner = self.server.owner
        if owner.status:
            self._answer(owner.status)
        elif owner.login and self.headers.get("Proxy-Authorization", "") != "Basic " + base64.b64encode(owner.login.encode()).decode():
            self._answer(407)
        else:
            self._tunnel(owner.port)

    def _answer(self, status: int) -> None:
        self.send_response(status)
        if status == 407:
            self.send_header("Proxy-Authenticate", 'Basic realm="office"')
        self.send_header("Content-Length", "0")
        self.end_headers()

    def handle(self) -> None:
        # A client may end the connection at any time.
        with contextlib.suppress(ConnectionError):
            super().handle()

    def _tunnel(self, port: int) -> None:
        self.send_response(200)
        self.end_headers()
        with socket.create_connection(("127.0.0.1", port), IDLE_SECONDS) as server:
            back = threading.Thread(target=self._copy, args=(server, self.connection), daemon=True)
            back.start()
            self._copy(self.connection, server)
            back.join(IDLE_SECONDS)
        self.close_connection = True

    @staticmethod
    def _copy(source: socket.socket, target: socket.socket) -> None:
        try:
            while data := source.recv(65536):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass


class TunnelProxy(Server):
    """Leads every tunnel to one port. It refuses with `status`, or asks for the `login` "user:password", when they are set."""

    def __init__(self, port: int, status: int = 0, login: str = ""):
        self.port, self.status, self.login = port, status, login
        super().__init__(TunnelHandler)


def start_self_signed(folder: pathlib.Path) -> Server:
    """A server with a certificate of its own."""
    key = ec.generate_private_key(ec.SECP256R1())
    name = x509.Name([x509.NameAttribute(NameOID.COMMON_NAME, "127.0.0.1")])
    now = datetime.datetime.utcnow()
    certificate = (x509.CertificateBuilder().subject_name(name).issuer_name(name).public_key(key.public_key())
                   .serial_number(x509.random_serial_number()).not_valid_before(now - datetime.timedelta(days=1))
                   .not_valid_after(now + datetime.timedelta(days=1))
                   .add_extension(x509.SubjectAlternativeName([x509.IPAddress(ipaddress.ip_address("127.0.0.1"))]), False)
                   .sign(key, hashes.SHA256()))
    file = folder / "self-signed.pem"
    file.write_bytes(certificate.public_bytes(serialization.Encoding.PEM)
                     + key.private_bytes(serialization.Encoding.PEM, serialization.PrivateFormat.PKCS8, serialization.NoEncryption()))
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(file)
    return Server(QuietHandler, context)
