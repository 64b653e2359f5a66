"""A client: one product of the process."""
import ctypes
import datetime
from typing import Optional

from . import _native
from ._calls import check, do, given, member, read_number, read_text, read_time, read_truth
from ._loading import native
from .types import CONFIG_TEXTS, CacheKind, Config, Entitlement, Method, Params, Server, SigningMode, native_params
from .oauth2 import OAuth2Client


class Client(OAuth2Client):
    """The client with this key, usually the consumer key of the product; without a key the one of the process itself.

    Methods may wait for the network, as those of the C interface; properties do not. Any thread may call them."""

    def configure(self, config: Config) -> None:
        """Registers or replaces the configuration for the configuration's server."""
        do("vqws_set_config", *self._key, config.native())

    def config_text(self, name: str) -> str:
        """A text of the configuration for the current server, by the name of the field in `Config`."""
        return read_text("vqws_get_config_text", *self._key, CONFIG_TEXTS.index(name))

    def set_server(self, server: Server) -> None:
        """Changes the current server of all products, and signs the user out of the previous one."""
        do("vqws_set_server", *self._key, server)

    @property
    def cache_path(self) -> str:
        return read_text("vqws_get_cache_path", *self._key)

    # The signed-in user

    @property
    def user_name(self) -> str:
        """Empty when nobody is signed in."""
        return read_text("vqws_get_user_name", *self._key)

    @property
    def is_logged_in(self) -> bool:
        return read_truth("vqws_is_logged_in", *self._key)

    @property
    def is_login_valid(self) -> bool:
        return read_truth("vqws_is_login_valid", *self._key)

    def login_cookie(self) -> str:
        """The cookies of the sign-in as the value of an HTTP header "Cookie"."""
        return read_text("vqws_get_login_cookie", *self._key)

    def login_cookies_json(self) -> str:
        """The same cookies as `complete_login` takes them."""
        return read_text("vqws_get_login_cookies_json", *self._key)

    # Sign-in and sign-out

    def restore_login(self) -> None:
        """Restores the sign-in of all products. Call it once after `configure`."""
        do("vqws_restore_login", *self._key)

    def initiate_login(self, user: Optional[str] = None) -> str:
        """The URL of the sign-in page for the browser; `user` is a hint for the service."""
        return read_text("vqws_initiate_login", *self._key, *given(user))

    def complete_login(self, cookies: Optional[str] = None) -> None:
        """After the browser step; `cookies` are those of the browser as JSON."""
        do("vqws_complete_login", *self._key, *given(cookies))

    def initiate_logout(self) -> str:
        """The signed URL of the logout page for the browser."""
        return read_text("vqws_initiate_logout", *self._key)

    def complete_logout(self) -> None:
        """Removes the user from this machine, for all products."""
        do("vqws_complete_logout", *self._key)

    def logout(self) -> None:
        """The whole sign-out without a browser. Raises VetoedError when an observer refuses."""
        do("vqws_logout", *self._key)

    # Tokens and signing

    @property
    def is_token_available(self) -> bool:
        return read_truth("vqws_is_token_available", *self._key)

    @property
    def is_token_expired(self) -> bool:
        return read_truth("vqws_is_token_expired", *self._key)

    @property
    def token_expiry(self) -> Optional[datetime.datetime]:
        return read_time("vqws_get_token_expiry", *self._key)

    def access_token(self, check_expiry: bool = True) -> str:
        """The OAuth 1.0 access token; an expired one is refreshed first."""
        return read_text("vqws_get_access_token", *self._key, check_expiry)

    def refresh_token(self, wait: bool = True) -> None:
        do("vqws_refresh_token", *self._key, wait)

    def sign(self, url: str, method: Method = Method.GET, mode: SigningMode = SigningMode.HEADER, params: Optional[Params] = None,
             token: Optional[str] = None, token_secret: Optional[str] = None) -> str:
        """Signs a request. Send the URL to the letter as it was signed. An expired token is refreshed first."""
        pairs = native_params(params)
        request = _native.RequestStruct(method=method, mode=mode, url=member(url), params=pairs, param_count=len(pairs),
                                        token=member(token), token_secret=member(token_secret))
        return read_text("vqws_sign_request", *self._key, request)

    def sign_url_for_browser(self, url: str, check_expiry: bool = True) -> str:
        return read_text("vqws_sign_url_for_browser", *self._key, *given(url), check_expiry)

    # Cached replies about the user

    def user_email(self) -> str:
        return read_text("vqws_get_user_email", *self._key)

    def user_first_name(self) -> str:
        return read_text("vqws_get_user_first_name", *self._key)

    def user_last_name(self) -> str:
        return read_text("vqws_get_user_last_name", *self._key)

    def user_info(self) -> str:
        """The whole reply about the user, as XML."""
        return read_text("vqws_get_user_info", *self._key)

    def entitlement(self, service: str) -> Entitlement:
        return Entitlement(read_number("vqws_get_entitlement", *self._key, *given(service)))

    def entitlement_xml(self, service: Optional[str] = None) -> str:
        """The reply about the services: the part about this one, or without one the whole."""
        return read_text("vqws_get_entitlement_xml", *self._key, *given(service))

    def storage_quota(self) -> tuple[int, int]:
        """The used and the total cloud storage in bytes."""
        used, total = ctypes.c_int64(), ctypes.c_int64()
        check(native().vqws_get_storage_quota(*self._key, used, total))
        return used.value, total.value

    def is_cache_enabled(self, cache: CacheKind) -> bool:
        return read_truth("vqws_is_cache_enabled", *self._key, cache)

    def enable_cache(self, cache: CacheKind, enable: bool = True) -> None:
        do("vqws_enable_cache", *self._key, cache, enable)

    def is_cache_available(self, cache: CacheKind) -> bool:
        return read_truth("vqws_is_cache_available", *self._key, cache)

    def invalidate_cache(self, cache: CacheKind) -> None:
        do("vqws_invalidate_cache", *self._key, cache)
