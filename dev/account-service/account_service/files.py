"""Writes files that appear complete, and private files that others can never read."""

import os
import tempfile
from pathlib import Path


def _write(path: Path, data: bytes, mode: int) -> None:
    descriptor, name = tempfile.mkstemp(dir=path.parent, prefix=f".{path.name}.")
    try:
        with os.fdopen(descriptor, "wb") as file:
            file.write(data)
            os.fchmod(file.fileno(), mode)
        os.replace(name, path)
    except BaseException:
        os.unlink(name)
        raise


def write_private(path: Path, data: bytes) -> None:
    _write(path, data, 0o600)


def write_public(path: Path, data: bytes) -> None:
    _write(path, data, 0o644)
