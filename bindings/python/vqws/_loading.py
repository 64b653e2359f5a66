"""Finds and loads the library, once, with the first call."""
import ctypes
import functools
import os
import pathlib
import sys
from collections.abc import Iterator

from ._native import SIGNATURES, VERSION

_NAME = "VqWebServices.dll" if sys.platform == "win32" else "libvqws.so.1"


def _is_ours(path: pathlib.Path, package: pathlib.Path) -> bool:
    """Whether it is there, and was put there by the user, the system or whoever installed this package: a folder above may be /tmp."""
    if not path.is_file():
        return False
    return sys.platform == "win32" or {path.stat().st_uid, path.lstat().st_uid} <= {0, os.geteuid(), package.stat().st_uid}


def _candidates() -> Iterator[str]:
    named = os.environ.get("VQWS_LIBRARY")
    if named:
        # Who names a library wants no other one.
        yield named
        return
    package = pathlib.Path(__file__).resolve().parent
    folders = [package, *package.parents[1:4]]
    # An installation has the package in lib/python3/dist-packages, or in python.
    folders += [parent / name for parent in package.parents[1:4] for name in ("bin", "lib")]
    yield from (str(folder / _NAME) for folder in folders if _is_ours(folder / _NAME, package))
    yield from (str(path) for path in package.parents[2].glob(f"*-linux-*/{_NAME}") if _is_ours(path, package))
    yield _NAME


def _open(path: str) -> ctypes.CDLL:
    if sys.platform == "win32" and os.path.isabs(path):
        # Python searches neither PATH nor the DLL's own folder for what the DLL needs.
        with os.add_dll_directory(os.path.dirname(path)):
            return ctypes.CDLL(path)
    return ctypes.CDLL(path)


def _load() -> ctypes.CDLL:
    tried = []
    for path in _candidates():
        try:
            return _open(path)
        except OSError as error:
            tried.append(str(error))
    raise ImportError(f"the library {_NAME} was not found; VQWS_LIBRARY may name it: {'; '.join(tried)}", name="vqws")


@functools.lru_cache(maxsize=None)
def native() -> ctypes.CDLL:
    """The functions of the library. Fails with ImportError when there is no library, or an older one."""
    library = _load()
    library.vqws_version.restype = ctypes.c_uint32
    found = library.vqws_version()
    if found >> 16 != VERSION >> 16 or found < VERSION:
        raise ImportError(f"the library has version {found:#x} of the C interface, and {VERSION:#x} is needed", name="vqws")
    for name, arguments in SIGNATURES.items():
        function = getattr(library, name)
        function.argtypes = arguments
        function.restype = ctypes.c_int32
    return library
