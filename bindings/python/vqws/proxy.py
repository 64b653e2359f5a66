"""The proxy of the process and its credentials."""
from typing import Optional

from ._calls import do, given, read_text, read_truth

_CAPTION, _MESSAGE = 0, 1
ANY_PORT = -1


class Proxy:
    """A stored proxy is that of the process, also for other code that uses Qt. Reached as `Library.proxy`."""

    @property
    def is_stored(self) -> bool:
        return read_truth("vqws_has_proxy")

    def has_login(self, host: str, port: int = ANY_PORT) -> bool:
        return read_truth("vqws_has_proxy_login", *given(host), port)

    def user(self, host: str, port: int = ANY_PORT) -> str:
        """Raises NotFoundError when there is none."""
        return read_text("vqws_get_proxy_user", *given(host), port)

    def password(self, host: str, port: int = ANY_PORT) -> str:
        """Raises NotFoundError when there is none."""
        return read_text("vqws_get_proxy_password", *given(host), port)

    def set_login(self, host: str, port: int, user: str, password: str) -> None:
        do("vqws_set_proxy_login", *given(host), port, *given(user), *given(password))

    def clear(self) -> None:
        """Removes the stored proxy, here and in the file."""
        do("vqws_clear_proxy")

    def dialog_texts(self) -> tuple[str, str]:
        """Caption and message of the prompt for credentials; "%1" is the host of the proxy, "%2" its port."""
        return (read_text("vqws_get_proxy_dialog_text", _CAPTION), read_text("vqws_get_proxy_dialog_text", _MESSAGE))

    def set_dialog_texts(self, caption: Optional[str] = None, message: Optional[str] = None) -> None:
        """None restores the library's own text."""
        do("vqws_set_proxy_dialog_texts", *given(caption), *given(message))
