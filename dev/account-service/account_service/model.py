"""The records that the service keeps in memory."""

import base64
import hashlib
import os
import secrets
from dataclasses import dataclass, field


def random_secret() -> str:
    """A new token or secret. Standard Base64 of 32 bytes always contains a "=".
    So a client that forgets to percent-encode it fails at once."""
    return base64.b64encode(os.urandom(32)).decode("ascii")


def random_name() -> str:
    """A new unguessable name that a URL or a cookie can contain unchanged."""
    return secrets.token_urlsafe(24)


def stable_id(kind: str, name: str) -> str:
    """An identifier that is the same each time the service runs."""
    return hashlib.sha256(f"{kind}:{name}".encode()).hexdigest()[:16].upper()


@dataclass
class User:
    name: str
    password: str = field(repr=False)
    guid: str
    first_name: str
    last_name: str
    email: str

    @staticmethod
    def named(name: str, password: str) -> "User":
        return User(name, password, stable_id("user", name), name.capitalize(),
                    "Example", f"{name}@example.com")


@dataclass
class Consumer:
    key: str
    secret: str = field(repr=False)
    product: str

    @property
    def client_identifier(self) -> str:
        return stable_id("client", self.key)


@dataclass
class Session:
    """One sign-in of one user, shared by all products that joined it."""

    user: User
    expires_at: float
    ended: bool = False
    handles: dict[str, str] = field(default_factory=dict, repr=False)


@dataclass
class RequestToken:
    token: str = field(repr=False)
    secret: str = field(repr=False)
    consumer_key: str
    expires_at: float
    ticket: str = field(default="", repr=False)
    user: User | None = None
    spent: bool = False

    kind = "request"


@dataclass
class AccessToken:
    token: str = field(repr=False)
    secret: str = field(repr=False)
    consumer_key: str
    session: Session
    expires_at: float
    spent: bool = False

    kind = "access"


@dataclass
class Lifetimes:
    """Lifetimes in seconds, for everything issued from now on."""

    token: int
    session: int
    request_token: int
    oauth2_token: int
