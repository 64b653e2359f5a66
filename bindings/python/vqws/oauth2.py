"""The OAuth2 tokens of a client."""
import datetime
from typing import Any, Optional

from ._calls import do, given, read_text, read_time, read_truth
from .types import TokenSpec


class OAuth2Client:
    """What `Client` has of OAuth2. Without a spec the client's default token is meant."""

    def __init__(self, key: Optional[str] = None):
        self.key = key
        self._key = given(key)

    def __repr__(self) -> str:
        return f"Client({self.key!r})"

    def _kind(self, spec: Optional[TokenSpec]) -> tuple[Any, ...]:
        return (*self._key, spec.native() if spec else None)

    @property
    def is_oauth2_enabled(self) -> bool:
        return read_truth("vqws_is_oauth2_enabled", *self._key)

    def enable_oauth2(self, spec: Optional[TokenSpec] = None) -> None:
        """Enables tokens of this kind in addition to those before."""
        do("vqws_enable_oauth2", *self._kind(spec))

    def disable_oauth2(self) -> None:
        """Discards the tokens in this process."""
        do("vqws_disable_oauth2", *self._key)

    def oauth2_token(self, spec: Optional[TokenSpec] = None, wait: bool = True) -> str:
        """With `wait` a missing or expired token is requested first."""
        return read_text("vqws_get_oauth2_token", *self._kind(spec), wait)

    def refresh_oauth2_token(self, spec: Optional[TokenSpec] = None, wait: bool = True) -> None:
        do("vqws_refresh_oauth2_token", *self._kind(spec), wait)

    def is_oauth2_token_available(self, spec: Optional[TokenSpec] = None) -> bool:
        return read_truth("vqws_is_oauth2_token_available", *self._kind(spec))

    def is_oauth2_token_expired(self, spec: Optional[TokenSpec] = None) -> bool:
        return read_truth("vqws_is_oauth2_token_expired", *self._kind(spec))

    def oauth2_token_expiry(self, spec: Optional[TokenSpec] = None) -> Optional[datetime.datetime]:
        return read_time("vqws_get_oauth2_token_expiry", *self._kind(spec))
