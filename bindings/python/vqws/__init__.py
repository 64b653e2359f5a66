"""VqWebServices: every product of one user has the same signed-in user.

    with vqws.Library(support_paths=["folder of the URL files"]):
        client = vqws.Client()
        client.configure(vqws.Config("key", "secret"))
        client.restore_login()
        header = client.sign("https://example.com/")
"""
from .client import Client
from .errors import (ArgumentError, ConfigurationError, Error, NetworkError, NotFoundError, NotSignedInError, RefusedError,
                     ResultCode, StateError, VetoedError)
from .events import EventFunction, LogFunction, Registration, log_drops, observe_log
from .library import (Library, OAuth2, WakeFunction, is_initialized, library_version, set_support_paths, support_paths, version)
from .proxy import ANY_PORT, Proxy
from .types import (CacheKind, Config, Entitlement, Event, EventKind, Method, Mode, Params, Server, SigningMode, TokenSpec,
                    TokenType)

__all__ = ["ANY_PORT", "ArgumentError", "CacheKind", "Client", "Config", "ConfigurationError", "Entitlement", "Error", "Event",
           "EventFunction", "EventKind", "Library", "LogFunction", "Method", "Mode", "NetworkError", "NotFoundError",
           "NotSignedInError", "OAuth2", "Params", "Proxy", "RefusedError", "Registration", "ResultCode", "Server", "SigningMode",
           "StateError", "TokenSpec", "TokenType", "VetoedError", "WakeFunction", "is_initialized", "library_version", "log_drops",
           "observe_log", "set_support_paths", "support_paths", "version"]
