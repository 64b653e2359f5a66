"""The life of the library, and what it has for all clients."""
import atexit
import contextlib
import ctypes
import datetime
import enum
import itertools
import threading
from collections.abc import Iterable
from typing import Callable, Optional, Union

from . import _native, events
from ._calls import do, given, read_number, read_text, read_time, read_truth
from ._loading import native
from .errors import Error
from .proxy import Proxy
from .types import Mode, Server, TokenSpec

#: Called on any thread when events wait for `Library.dispatch`. It may only post to the main thread.
WakeFunction = Callable[[], object]

_wakes: dict[int, WakeFunction] = {}
_wake_numbers = itertools.count(1)
_open: list["Library"] = []


class OAuth2(enum.Enum):
    """The OAuth2 tokens of the client of the process, where no spec is named."""

    OFF = 0
    DEFAULT = 1  #: The token of type RT with the scope of the configuration.


@_native.WAKE  # type: ignore[misc]
def _on_wake(user: int) -> None:
    wake = _wakes.get(user)
    if wake:
        events.run_guarded(wake)


def version() -> tuple[int, int, int]:
    """The version of the C interface in the library."""
    number = native().vqws_version()
    return number >> 16, number >> 8 & 255, number & 255


def library_version() -> str:
    return read_text("vqws_library_version")


def is_initialized() -> bool:
    """Whether anybody in the process has initialized the library."""
    return read_truth("vqws_is_initialized")


def set_support_paths(*folders: str) -> None:
    """The folders that are searched for "WebServices.logconfig" and the URL files. Set them before the library starts."""
    do("vqws_set_support_paths", *given(";".join(folders)))


def support_paths() -> list[str]:
    return [folder for folder in read_text("vqws_get_support_paths").split(";") if folder]


class Library:
    """The library, from here to `close`. A context manager. Objects count: the library stops with the last one in the process.

    With Mode.HOST it is made, dispatched and closed on the main thread."""

    def __init__(self, *, support_paths: Iterable[str] = (), mode: Mode = Mode.OWN,
                 oauth2: Union[OAuth2, TokenSpec] = OAuth2.OFF, wake: Optional[WakeFunction] = None):
        if mode == Mode.HOST and threading.current_thread() is not threading.main_thread():
            raise ValueError("Mode.HOST is for the main thread; take Mode.OWN")
        folders = [support_paths] if isinstance(support_paths, str) else list(support_paths)
        if folders:
            set_support_paths(*folders)
        options = _native.InitOptionsStruct(mode=mode, oauth2=2 if isinstance(oauth2, TokenSpec) else oauth2.value)
        if isinstance(oauth2, TokenSpec):
            options.oauth2_spec = ctypes.pointer(oauth2.native())
        if wake:
            options.wake, options.wake_user = _on_wake, next(_wake_numbers)
            # It stays: only the options of the first start count, and they count until the last end.
            _wakes[options.wake_user] = wake
        self.proxy = Proxy()
        self._is_open = False
        do("vqws_init", options)
        self._is_open = True
        _open.append(self)

    def close(self) -> None:
        """Counts one user of the library less. A second close does nothing."""
        if not self._is_open:
            return
        do("vqws_uninit")
        self._is_open = False
        _open.remove(self)

    def __enter__(self) -> "Library":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def observe(self, function: events.EventFunction) -> events.Registration:
        """Registers a callable for events, until the registration is closed or the library stops."""
        return events.observe(function)

    def dispatch(self) -> None:
        """Delivers the events that wait. Mode.HOST, on the main thread."""
        do("vqws_dispatch")

    def set_event_hook(self) -> None:
        """Delivers events with the messages of this thread. Windows only."""
        do("vqws_set_event_hook")

    def remove_event_hook(self) -> None:
        do("vqws_remove_event_hook")

    def set_default_plugin_paths(self) -> None:
        """Adds the library's default folders to those that Qt searches for its plug-ins."""
        do("vqws_set_default_plugin_paths")

    def add_plugin_path(self, folder: str) -> None:
        do("vqws_add_plugin_path", *given(folder))

    @property
    def server(self) -> Server:
        """The current server of all products; `Client.set_server` changes it."""
        return Server(read_number("vqws_get_server"))

    def url(self, code: int) -> str:
        """The URL with this code on the current server. Raises NotFoundError when there is none."""
        return read_text("vqws_get_url", code)

    @property
    def login_state_file(self) -> str:
        return read_text("vqws_get_login_state_file")

    @property
    def log_file(self) -> str:
        return read_text("vqws_get_log_file")

    @property
    def is_sso_for_all_users(self) -> bool:
        return read_truth("vqws_is_sso_for_all_users")

    @property
    def is_log_enabled(self) -> bool:
        return read_truth("vqws_is_log_enabled")

    @property
    def user_id(self) -> str:
        """Empty when nobody is signed in."""
        return read_text("vqws_get_user_id")

    @property
    def ldap_domain_key(self) -> str:
        """Of the last sign-in."""
        return read_text("vqws_get_ldap_domain_key")

    @property
    def is_login_expired(self) -> bool:
        return read_truth("vqws_is_login_expired")

    @property
    def login_expiry(self) -> Optional[datetime.datetime]:
        return read_time("vqws_get_login_expiry")


@atexit.register
def _end() -> None:
    """What the program has left open ends while Python can still be called."""
    if native.cache_info().currsize == 0:
        return
    with contextlib.suppress(Error):
        events.end_all()
    for library in list(_open):
        with contextlib.suppress(Error):
            library.close()
