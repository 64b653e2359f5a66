"""Callables for events and for lines of the log."""
import ctypes
import itertools
from typing import Any, Callable, Optional, Union

from . import _native
from ._calls import do, read_count
from ._loading import native
from .errors import NotFoundError
from .types import Event, EventKind

#: Told of each event; only `True` is a veto, and counts for EventKind.ABOUT_TO_LOGOUT.
EventFunction = Callable[[Event], object]
#: Told of each line with its level: 0 trace, 10000 debug, 20000 information, 30000 warning, 40000 error.
LogFunction = Callable[[int, str], object]

_NOTHING = ctypes.CFUNCTYPE(None)
# The library knows a registration by this number, never by an address: what it calls is one of the functions below, which never go.
_functions: dict[int, Callable[..., object]] = {}
_numbers = itertools.count(1)
_identities: dict[int, int] = {}


class Registration:
    """A callable that the library calls until `close`, or until the end of the library or the interpreter. A context manager."""

    def __init__(self, identity: int):
        self._identity = identity

    def close(self) -> None:
        """Waits for a call that runs on another thread. A second close does nothing."""
        _end(self._identity)

    def __enter__(self) -> "Registration":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def _tell(error: BaseException) -> None:
    """An exception ends here, since there is no caller to have it. Only ctypes can hand it to sys.unraisablehook."""
    def callable_of_vqws() -> None:
        raise error

    _NOTHING(callable_of_vqws)()


def run_guarded(function: Callable[..., object], *arguments: object) -> object:
    try:
        return function(*arguments)
    except BaseException as error:
        _tell(error)
        return None


def _text(data: Optional[int], length: int) -> str:
    return ctypes.string_at(data, length).decode("utf-8", "replace") if data else ""


@_native.EVENT  # type: ignore[misc]
def _on_event(event: Any, user: int) -> int:
    function = _functions.get(user)
    if not function:
        return 0
    try:
        told = event.contents
        kind: Union[EventKind, int] = told.kind
        if kind in EventKind.__members__.values():
            kind = EventKind(kind)
        key = _text(told.key.data, told.key.length)
        return 1 if run_guarded(function, Event(kind, key, told.thread_id)) is True else 0
    except BaseException as error:
        _tell(error)
        return 0


@_native.LOG  # type: ignore[misc]
def _on_line(level: int, text: int, length: int, user: int) -> None:
    function = _functions.get(user)
    if function:
        run_guarded(lambda call: call(level, _text(text, length)), function)


@_native.RELEASE  # type: ignore[misc]
def _on_release(user: int) -> None:
    _functions.pop(user, None)
    _identities.pop(user, None)


def _end(identity: int) -> None:
    try:
        do("vqws_unobserve", identity)
    except NotFoundError:
        pass  # The end of the library, or an earlier close, has ended it.


def _register(name: str, trampoline: object, function: Callable[..., object]) -> Registration:
    if not callable(function):
        raise TypeError(f"a callable is needed, not {type(function).__name__}")
    native()
    number, identity = next(_numbers), ctypes.c_uint64()
    _functions[number] = function
    try:
        do(name, trampoline, number, _on_release, identity)
    except BaseException:
        # A registration that fails is not released.
        _functions.pop(number, None)
        raise
    _identities[number] = identity.value
    return Registration(identity.value)


def observe(function: EventFunction) -> Registration:
    return _register("vqws_observe", _on_event, function)


def observe_log(function: LogFunction) -> Registration:
    """Registers a callable for lines of the log, also before the library starts. It is called on a thread of the log, and may not
    call the library."""
    return _register("vqws_observe_log", _on_line, function)


def log_drops() -> int:
    """How many lines were dropped since the process began, because callables were too slow."""
    return read_count("vqws_get_log_drops")


def end_all() -> None:
    """Before the interpreter ends: afterwards nothing of Python can be called."""
    for identity in list(_identities.values()):
        _end(identity)
