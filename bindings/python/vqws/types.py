"""The values of the interface."""
import ctypes
import dataclasses
import enum
from collections.abc import Mapping, Sequence
from typing import Optional, Union

from . import _native
from ._calls import member


class Mode(enum.IntEnum):
    """The thread of the events."""

    HOST = 0  #: The main thread, when it calls `Library.dispatch`.
    OWN = 1  #: A thread of the library.


class Server(enum.IntEnum):
    NONE = -1
    PRODUCTION = 0
    STAGING = 1
    DEVELOPMENT = 2


class TokenType(enum.IntEnum):
    RT = 1
    JWT = 2


class Method(enum.IntEnum):
    """The methods of HTTP."""

    GET = 0
    POST = 1
    PUT = 2
    DELETE = 3
    HEAD = 4
    OPTIONS = 5
    TRACE = 6
    PROPFIND = 7
    MOVE = 8
    COPY = 9
    LOCK = 10
    UNLOCK = 11
    CHECKIN = 12
    CHECKOUT = 13
    CANCEL_UPLOAD = 14
    REPORT = 15
    UPDATE = 16
    PROPPATCH = 17
    GET_LIB = 18
    VERSION_CONTROL = 19


class SigningMode(enum.IntEnum):
    """The form of a signature."""

    QUERY = 0  #: name=value joined with "&": the OAuth parameters, for a query.
    HEADER = 1  #: The value of the header "Authorization".
    URL = 2  #: The whole URL.
    BODY = 3  #: As QUERY, with the given parameters before the OAuth ones, for a form body.


class CacheKind(enum.IntEnum):
    USER_INFO = 1
    STORAGE_QUOTA = 2
    ENTITLEMENT = 16


class Entitlement(enum.IntEnum):
    """Whether the user may use a service."""

    UNKNOWN = 0
    YES = 1
    NO = 2
    TRIAL = 3
    NO_SESSION = 4


class EventKind(enum.IntEnum):
    ACCOUNT_CREATED = 0
    LOGGED_IN = 1
    LOGIN_RESTORED = 2
    LOGGED_OUT = 3
    TOKEN_REFRESHED = 4
    ABOUT_TO_LOGOUT = 5
    LOGGING_OUT = 6
    SERVER_CHANGED = 7
    OAUTH2_TOKEN_REFRESHED = 8
    TOKEN_ACQUIRED = 9
    TOKEN_AVAILABLE = 10
    OAUTH2_ENABLED = 11
    OAUTH2_DISABLED = 12
    OAUTH2_TOKEN_ACQUIRED = 13
    OAUTH2_TOKEN_AVAILABLE = 14
    OAUTH2_TOKEN_DISCARDED = 15
    TOKEN_QUERY_FAILED = 16
    OAUTH2_TOKEN_QUERY_FAILED = 17
    LOGIN_DIALOG_TIMEOUT = 19


@dataclasses.dataclass(frozen=True)
class Event:
    """An event. `kind` is a number when the library has one that is unknown here."""

    kind: Union[EventKind, int]
    key: str  #: The consumer key of the product that the event is about; empty when it is about none.
    thread_id: int  #: Of the event thread: that of GetCurrentThreadId on Windows, of pthread_self elsewhere.


@dataclasses.dataclass(frozen=True)
class TokenSpec:
    """The kind of an OAuth2 token; the scope is words separated by blanks."""

    type: TokenType = TokenType.RT
    scope: Optional[str] = None

    def native(self) -> _native.TokenSpecStruct:
        return _native.TokenSpecStruct(type=self.type, scope=member(self.scope))


@dataclasses.dataclass
class Config:
    """The configuration of a client for one server. Key and secret are required."""

    consumer_key: str
    consumer_secret: str = dataclasses.field(repr=False)
    server: Server = Server.PRODUCTION
    serial_number: Optional[str] = None
    product_line_code: Optional[str] = None
    upi_release: Optional[str] = None
    upi_master: Optional[str] = None
    upi_build: Optional[str] = None
    feature_name: Optional[str] = None
    feature_version: Optional[str] = None
    oauth2_consumer_key: Optional[str] = None
    oauth2_consumer_secret: Optional[str] = dataclasses.field(default=None, repr=False)
    oauth2_scope: Optional[str] = None

    def native(self) -> _native.ConfigStruct:
        texts = {name: member(getattr(self, name)) for name in CONFIG_TEXTS}
        return _native.ConfigStruct(server=self.server, **texts)


#: The texts of a configuration in the order of the C interface.
CONFIG_TEXTS = tuple(field.name for field in dataclasses.fields(Config) if field.name != "server")

#: Names with values, in their order; a name may come more than once.
Params = Union[Mapping[str, Optional[str]], Sequence[tuple[str, Optional[str]]]]


def native_params(params: Optional[Params]) -> "ctypes.Array[_native.ParamStruct]":
    pairs = list(params.items() if isinstance(params, Mapping) else params or ())
    return (_native.ParamStruct * len(pairs))(*[_native.ParamStruct(member(name), member(value)) for name, value in pairs])
