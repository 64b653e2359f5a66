"""The structs and functions of vqws.h, as ctypes calls them."""
import ctypes
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_size_t, c_uint32, c_uint64, c_void_p
from typing import Any

VERSION = 0x00010000

WAKE = ctypes.CFUNCTYPE(None, c_void_p)
RELEASE = ctypes.CFUNCTYPE(None, c_void_p)


class Text(ctypes.Structure):
    """Keeps the bytes that it points to."""

    _fields_ = [("data", c_char_p), ("length", c_size_t)]


class _Sized(ctypes.Structure):
    def __init__(self, **members: Any):
        super().__init__(**members)
        self.size = ctypes.sizeof(self)


class ErrorStruct(_Sized):
    _fields_ = [("size", c_uint32), ("code", c_int32), ("http_status", c_int32)]


class TokenSpecStruct(_Sized):
    _fields_ = [("size", c_uint32), ("type", c_int32), ("scope", Text)]


class InitOptionsStruct(_Sized):
    _fields_ = [("size", c_uint32), ("mode", c_int32), ("oauth2", c_int32), ("reserved", c_int32),
                ("oauth2_spec", POINTER(TokenSpecStruct)), ("wake", WAKE), ("wake_user", c_void_p)]


class ConfigStruct(_Sized):
    _fields_ = [("size", c_uint32), ("server", c_int32), *[(name, Text) for name in (
        "consumer_key", "consumer_secret", "serial_number", "product_line_code", "upi_release", "upi_master", "upi_build",
        "feature_name", "feature_version", "oauth2_consumer_key", "oauth2_consumer_secret", "oauth2_scope")]]


class ParamStruct(ctypes.Structure):
    _fields_ = [("name", Text), ("value", Text)]


class RequestStruct(_Sized):
    _fields_ = [("size", c_uint32), ("method", c_int32), ("mode", c_int32), ("reserved", c_int32), ("url", Text),
                ("params", POINTER(ParamStruct)), ("param_count", c_size_t), ("token", Text), ("token_secret", Text)]


class EventStruct(ctypes.Structure):
    # The text is not bytes that Python owns, and may have zeros.
    class Key(ctypes.Structure):
        _fields_ = [("data", c_void_p), ("length", c_size_t)]

    _fields_ = [("size", c_uint32), ("kind", c_int32), ("key", Key), ("thread_id", c_uint64)]


EVENT = ctypes.CFUNCTYPE(c_int32, POINTER(EventStruct), c_void_p)
LOG = ctypes.CFUNCTYPE(None, c_int32, c_void_p, c_size_t, c_void_p)

_IN = (c_char_p, c_size_t)
_OUT = (c_char_p, c_size_t, POINTER(c_size_t))
_NUMBER = (POINTER(c_int32),)
_TIME = (POINTER(c_int64),)
_COUNT = (POINTER(c_uint64),)
_CHOICE = (c_int32,)
_SPEC = (POINTER(TokenSpecStruct),)

_SHAPES: list[tuple[tuple[Any, ...], str]] = [
    ((), "uninit dispatch set_event_hook remove_event_hook set_default_plugin_paths clear_proxy"),
    (_OUT, "library_version take_text get_support_paths get_login_state_file get_log_file get_user_id get_ldap_domain_key"),
    (_NUMBER, "is_initialized get_server is_sso_for_all_users is_log_enabled is_login_expired has_proxy"),
    (_TIME, "get_login_expiry"),
    (_COUNT, "get_log_drops"),
    (_IN, "set_support_paths add_plugin_path restore_login complete_logout logout disable_oauth2"),
    (_IN + _OUT, "get_cache_path get_user_name get_login_cookie get_login_cookies_json initiate_logout get_user_email "
     "get_user_first_name get_user_last_name get_user_info"),
    (_IN + _NUMBER, "is_logged_in is_login_valid is_token_available is_token_expired is_oauth2_enabled"),
    (_IN + _TIME, "get_token_expiry"),
    (_IN + _TIME + _TIME, "get_storage_quota"),
    (_IN + _IN, "complete_login set_proxy_dialog_texts"),
    (_IN + _IN + _OUT, "initiate_login get_entitlement_xml"),
    (_IN + _IN + _NUMBER, "get_entitlement"),
    (_IN + _IN + _CHOICE + _OUT, "sign_url_for_browser"),
    (_IN + _CHOICE, "set_server refresh_token invalidate_cache"),
    (_IN + _CHOICE + _CHOICE, "enable_cache"),
    (_IN + _CHOICE + _OUT, "get_config_text get_access_token get_proxy_user get_proxy_password"),
    (_IN + _CHOICE + _NUMBER, "is_cache_enabled is_cache_available has_proxy_login"),
    (_IN + _CHOICE + _IN + _IN, "set_proxy_login"),
    (_IN + _SPEC, "enable_oauth2"),
    (_IN + _SPEC + _CHOICE, "refresh_oauth2_token"),
    (_IN + _SPEC + _CHOICE + _OUT, "get_oauth2_token"),
    (_IN + _SPEC + _NUMBER, "is_oauth2_token_available is_oauth2_token_expired"),
    (_IN + _SPEC + _TIME, "get_oauth2_token_expiry"),
    (_CHOICE + _OUT, "get_url get_proxy_dialog_text"),
    ((POINTER(InitOptionsStruct),), "init"),
    ((POINTER(ErrorStruct),) + _OUT, "last_error"),
    (_IN + (POINTER(ConfigStruct),), "set_config"),
    (_IN + (POINTER(RequestStruct),) + _OUT, "sign_request"),
    ((EVENT, c_void_p, RELEASE) + _COUNT, "observe"),
    ((LOG, c_void_p, RELEASE) + _COUNT, "observe_log"),
    ((c_uint64,), "unobserve"),
]

#: The arguments of each function that gives a result; `vqws_version` gives a number.
SIGNATURES: dict[str, tuple[Any, ...]] = {f"vqws_{name}": shape for shape, names in _SHAPES for name in names.split()}
