"""Calls of the library: texts and numbers of Python in, and out."""
import ctypes
import datetime
from typing import Any, Optional

from ._loading import native
from ._native import ErrorStruct, Text
from .errors import ResultCode, error_for

_FIRST_TRY = 4096


def given(text: Optional[str]) -> tuple[Optional[bytes], int]:
    """The two arguments of a text. The library refuses what is no Unicode, so that no text stands in an exception here."""
    if text is None:
        return None, 0
    if not isinstance(text, str):
        raise TypeError(f"a str is needed, not {type(text).__name__}")
    data = text.encode("utf-8", "surrogatepass")
    return data, len(data)


def member(text: Optional[str]) -> Text:
    """A text in a struct."""
    return Text(*given(text))


def _told(code: int) -> tuple[int, str]:
    """Status of HTTP, and reason of the last call of this thread, unless another call came between, for instance of a signal."""
    error, length = ErrorStruct(), ctypes.c_size_t()
    buffer = ctypes.create_string_buffer(_FIRST_TRY)
    if native().vqws_last_error(error, buffer, len(buffer), length) == ResultCode.BUFFER:
        buffer = ctypes.create_string_buffer(length.value + 1)
        native().vqws_last_error(error, buffer, len(buffer), length)
    if error.code != code:
        return 0, ""
    return error.http_status, buffer.raw[:length.value].decode("utf-8", "replace")


def check(code: int) -> None:
    """Raises the exception of a result that is no success."""
    if code != ResultCode.OK:
        raise error_for(code, *_told(code))


def do(name: str, *arguments: Any) -> None:
    """Calls a function that gives nothing."""
    check(getattr(native(), name)(*arguments))


def read_text(name: str, *arguments: Any) -> str:
    """Calls a function that fills (buf, cap, len). It is never called twice."""
    buffer, length = ctypes.create_string_buffer(_FIRST_TRY), ctypes.c_size_t()
    code = getattr(native(), name)(*arguments, buffer, len(buffer), length)
    if code == ResultCode.BUFFER:
        buffer = ctypes.create_string_buffer(length.value + 1)
        code = native().vqws_take_text(buffer, len(buffer), length)
    check(code)
    return buffer.raw[:length.value].decode("utf-8")


def _read(name: str, kind: Any, arguments: tuple[Any, ...]) -> int:
    number = kind()
    check(getattr(native(), name)(*arguments, number))
    return int(number.value)


def read_number(name: str, *arguments: Any) -> int:
    return _read(name, ctypes.c_int32, arguments)


def read_truth(name: str, *arguments: Any) -> bool:
    return _read(name, ctypes.c_int32, arguments) != 0


def read_count(name: str, *arguments: Any) -> int:
    return _read(name, ctypes.c_uint64, arguments)


def read_time(name: str, *arguments: Any) -> Optional[datetime.datetime]:
    """None when the time is unknown."""
    seconds = _read(name, ctypes.c_int64, arguments)
    # Not fromtimestamp, whose range is that of the system.
    return datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc) + datetime.timedelta(seconds=seconds) if seconds else None
