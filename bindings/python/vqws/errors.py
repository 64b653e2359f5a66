"""Results that are no success, as exceptions."""
import enum
from typing import Union


class ResultCode(enum.IntEnum):
    """The results of the C interface. A later library may have more."""

    OK = 0
    FAILED = 1
    ARGUMENT = 2
    TEXT = 3
    TOO_LONG = 4
    BUFFER = 5
    STATE = 6
    WRONG_THREAD = 7
    UNKNOWN_CLIENT = 8
    NOT_SIGNED_IN = 9
    VETOED = 10
    NO_NETWORK = 11
    TLS = 12
    CLOCK = 13
    REFUSED = 14
    INVALID_REPLY = 15
    SIGNING = 16
    NOT_FOUND = 17
    UNSUPPORTED = 18
    NO_LOG_CONFIG = 19
    NO_CONFIGURATION = 20
    EXPIRED = 21
    BUSY = 22
    MEMORY = 23
    INTERNAL = 24


class Error(Exception):
    """A call has failed. `text` is the error line of the log, without secrets; it may be empty."""

    def __init__(self, code: int, http_status: int = 0, text: str = ""):
        super().__init__(code, http_status, text)
        known = code in ResultCode.__members__.values()
        #: A `ResultCode`, or the number of one that is unknown here.
        self.code: Union[ResultCode, int] = ResultCode(code) if known else code
        #: Of the reply of the service; 0 without one.
        self.http_status = http_status
        self.text = text

    def __str__(self) -> str:
        name = self.code.name if isinstance(self.code, ResultCode) else f"result {self.code}"
        status = f" (HTTP status {self.http_status})" if self.http_status else ""
        return f"{name}{status}: {self.text}" if self.text else f"{name}{status}"


class ArgumentError(Error, ValueError):
    """An argument that the library does not take: ARGUMENT, TEXT, TOO_LONG."""


class StateError(Error):
    """The library is not initialized, or not at that point: STATE, WRONG_THREAD, BUSY."""


class ConfigurationError(Error):
    """The client, its configuration or the log's is missing: UNKNOWN_CLIENT, NO_CONFIGURATION, NO_LOG_CONFIG."""


class NotSignedInError(Error):
    """The user, or the product, is not signed in, or not any more: NOT_SIGNED_IN, EXPIRED."""


class VetoedError(Error):
    """An observer has refused the sign-out."""


class NetworkError(Error):
    """The service was not reached, or gave no usable reply: NO_NETWORK, TLS, INVALID_REPLY."""


class RefusedError(Error):
    """The service refused the request: REFUSED, CLOCK."""


class NotFoundError(Error, LookupError):
    """What was asked for does not exist."""


_CLASSES: dict[int, type[Error]] = {
    ResultCode.ARGUMENT: ArgumentError, ResultCode.TEXT: ArgumentError, ResultCode.TOO_LONG: ArgumentError,
    ResultCode.STATE: StateError, ResultCode.WRONG_THREAD: StateError, ResultCode.BUSY: StateError,
    ResultCode.UNKNOWN_CLIENT: ConfigurationError, ResultCode.NO_CONFIGURATION: ConfigurationError,
    ResultCode.NO_LOG_CONFIG: ConfigurationError,
    ResultCode.NOT_SIGNED_IN: NotSignedInError, ResultCode.EXPIRED: NotSignedInError,
    ResultCode.VETOED: VetoedError,
    ResultCode.NO_NETWORK: NetworkError, ResultCode.TLS: NetworkError, ResultCode.INVALID_REPLY: NetworkError,
    ResultCode.REFUSED: RefusedError, ResultCode.CLOCK: RefusedError,
    ResultCode.NOT_FOUND: NotFoundError,
}


def error_for(code: int, http_status: int, text: str) -> Error:
    return _CLASSES.get(code, Error)(code, http_status, text)
