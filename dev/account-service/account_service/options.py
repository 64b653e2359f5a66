"""The command line."""

import argparse

from .certificates import KINDS
from .model import Consumer, User

DEFAULT_USERS = ["ada:correct horse"]
DEFAULT_CONSUMERS = [
    "demo-product-0001:demo-secret-0001:Demo Product",
    "second-product-0002:demo-secret-0002:Second Product",
]

EPILOG = """\
When the service is ready it prints one line. It runs until SIGTERM, SIGINT or,
with --exit-with-parent, until its parent ends. The output folder then contains
ca.pem (the authority to trust), service.json (all addresses and files),
control-token (the token for the control interface), the three URL configuration
files and the log. service.json, control-token and the server key are removed at
the end.
"""


def _port(text: str) -> int:
    value = int(text)
    if not 0 <= value <= 65535:
        raise argparse.ArgumentTypeError(f"{value} is not a port")
    return value


def _seconds(text: str) -> int:
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError("must be at least 1 second")
    return value


def _milliseconds(text: str) -> int:
    value = int(text)
    if not 0 <= value <= 10_000:
        raise argparse.ArgumentTypeError("must be between 0 and 10000 milliseconds")
    return value


def _user(text: str) -> User:
    name, colon, password = text.partition(":")
    if not name or not colon or not password:
        raise argparse.ArgumentTypeError("expected NAME:PASSWORD")
    return User.named(name, password)


def _key_and_secret(text: str) -> tuple[str, str]:
    key, colon, secret = text.partition(":")
    if not key or not colon or not secret:
        raise argparse.ArgumentTypeError("expected KEY:SECRET")
    return key, secret


def _consumer(text: str) -> Consumer:
    key, rest = _key_and_secret(text)
    secret, _, product = rest.partition(":")
    if not secret:
        raise argparse.ArgumentTypeError("expected KEY:SECRET[:PRODUCT]")
    return Consumer(key, secret, product or key)


def parse(arguments: list[str] | None = None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="account-service",
        description="The account service for development: OAuth 1.0 sign-in, "
        "OAuth2 tokens, account documents and server time on loopback, with TLS.",
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    add = parser.add_argument
    add("--port", type=_port, default=0, metavar="N",
        help="HTTPS port on 127.0.0.1; 0 takes a free one (default)")
    add("--http", action="store_true",
        help="without TLS, for clients that cannot be made to trust another authority")
    add("--control-port", type=_port, default=0, metavar="N",
        help="plain HTTP port of the control interface on 127.0.0.1; 0 takes a free one (default)")
    add("--out", metavar="DIR",
        help="folder for the files, created owner-only when it does not exist "
        "(default: a temporary folder that is removed at the end)")
    add("--users", type=_user, action="append", metavar="NAME:PASSWORD",
        help='a user, may be repeated (default: "ada:correct horse")')
    add("--consumer", type=_consumer, action="append", metavar="KEY:SECRET[:PRODUCT]",
        help="a product that may sign in, may be repeated (default: demo-product-0001 "
        "and second-product-0002 with demo-secret-0001 and demo-secret-0002)")
    add("--oauth2-client", type=_key_and_secret, action="append", default=[],
        metavar="KEY:SECRET",
        help="an additional OAuth2 client; each consumer is already an OAuth2 client "
        "with the same key and secret; may be repeated")
    add("--token-lifetime", type=_seconds, default=3600, metavar="S",
        help="lifetime of an access token in seconds (default %(default)s)")
    add("--session-lifetime", type=_seconds, default=14 * 86400, metavar="S",
        help="lifetime of a session and its handles in seconds (default %(default)s)")
    add("--request-token-lifetime", type=_seconds, default=600, metavar="S",
        help="lifetime of a request token in seconds (default %(default)s)")
    add("--oauth2-token-lifetime", type=_seconds, default=3600, metavar="S",
        help="lifetime of an OAuth2 token in seconds (default %(default)s)")
    add("--timestamp-window", type=_seconds, default=300, metavar="S",
        help="greatest difference of a time stamp from the clock, in seconds to either side "
        "(default %(default)s)")
    add("--line-delay", type=_milliseconds, default=0, metavar="MS",
        help="time that each packet takes to the service, and back, in milliseconds (default %(default)s)")
    add("--certificate", choices=KINDS, default="good", help="kind of the server certificate (default %(default)s)")
    add("--exit-with-parent", action="store_true",
        help="end when the parent process ends, or when standard input is a "
        "pipe or socket and is closed")
    options = parser.parse_args(arguments)
    options.users = options.users or [_user(text) for text in DEFAULT_USERS]
    options.consumer = options.consumer or [_consumer(text) for text in DEFAULT_CONSUMERS]
    return options
