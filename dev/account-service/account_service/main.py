"""Starts the service, prints that it is ready, and ends it cleanly."""

import fcntl
import json
import logging
import os
import secrets
import select
import shutil
import signal
import stat
import sys
import tempfile
import threading
from argparse import Namespace
from pathlib import Path

from . import options as command_line
from .application import make_application
from .certificates import make_tls_context
from .control import make_control
from .files import write_private
from .gateway import Gateway
from .server import LOG, LoopbackServer
from .service import Service
from .url_files import write_url_files

SECRET_FILES = ("service.json", "control-token", "server-key.pem")


def _open_log(folder: Path) -> Path:
    path = folder / "account-service.log"
    os.close(os.open(path, os.O_CREAT | os.O_WRONLY | os.O_TRUNC, 0o600))
    os.chmod(path, 0o600)
    handler = logging.FileHandler(path, encoding="utf-8")
    handler.setFormatter(logging.Formatter("%(asctime)s %(levelname)s %(message)s"))
    LOG.addHandler(handler)
    LOG.setLevel(logging.INFO)
    LOG.propagate = False
    return path


def _describe(options: Namespace, folder: Path, url: str, control_url: str,
              url_files: list[Path], log: Path) -> dict:
    return {
        "url": url, "control_url": control_url, "pid": os.getpid(),
        "control_token_file": str(folder / "control-token"), "ca_file": str(folder / "ca.pem"),
        "url_files": [str(path) for path in url_files], "log_file": str(log),
        "users": [{"name": user.name, "password": user.password} for user in options.users],
        "consumers": [{"key": consumer.key, "secret": consumer.secret,
                       "product": consumer.product} for consumer in options.consumer],
        "oauth2_clients": [{"key": key, "secret": secret} for key, secret in
                           [(c.key, c.secret) for c in options.consumer] + options.oauth2_client],
    }


def _watch_parent(parent: int, done: threading.Event) -> None:
    """Sets done when the parent has ended or closes its end of standard input."""
    mode = os.fstat(0).st_mode if sys.stdin is not None else 0
    inputs = [0] if stat.S_ISFIFO(mode) or stat.S_ISSOCK(mode) else []
    while not done.is_set():
        ready, _, _ = select.select(inputs, [], [], 0.25)
        if os.getppid() != parent or (ready and not os.read(0, 4096)):
            done.set()


def _claim(folder: Path) -> int:
    """Locks the folder while the descriptor is open, so that a second service
    cannot overwrite the files of the first."""
    folder.mkdir(parents=True, exist_ok=True)
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        os.close(descriptor)
        raise OSError(f"another account service uses the folder {folder}") from None
    return descriptor


def _serve(options: Namespace, folder: Path, parent: int) -> None:
    done = threading.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: done.set())
    log = _open_log(folder)
    service = Service(options, lambda record: LOG.info("%s", json.dumps(record)))
    gateway = Gateway(make_application(service), service.clock, service.journal, service.faults)
    context = make_tls_context(folder, options.certificate)
    server = LoopbackServer(options.port, gateway, None if options.http else context, options.line_delay)
    url = f"{'http' if options.http else 'https'}://127.0.0.1:{server.port}"
    control_token = secrets.token_urlsafe(32)
    write_private(folder / "control-token", control_token.encode())
    control = LoopbackServer(options.control_port, make_control(service, control_token, url))
    url_files = write_url_files(folder, url)
    description = _describe(options, folder, url, f"http://127.0.0.1:{control.port}",
                            url_files, log)
    write_private(folder / "service.json", json.dumps(description, indent=4).encode() + b"\n")

    if options.exit_with_parent:
        threading.Thread(target=_watch_parent, args=(parent, done), daemon=True).start()
    servers = [server, control]
    for one in servers:
        threading.Thread(target=one.serve_forever, args=(0.05,), daemon=True).start()
    print(f"Account service ready at {url} (files in {folder})", flush=True)
    done.wait()
    gateway.closing.set()
    for one in servers:
        one.shutdown()


def main(arguments: list[str] | None = None) -> int:
    parent = os.getppid()
    options = command_line.parse(arguments)
    os.umask(0o077)
    folder = Path(options.out or tempfile.mkdtemp(prefix="account-service-")).absolute()
    try:
        claim = _claim(folder)
    except OSError as error:
        print(f"account-service: {error}", file=sys.stderr)
        return 1
    try:
        _serve(options, folder, parent)
        return 0
    except OSError as error:
        print(f"account-service: {error}", file=sys.stderr)
        return 1
    finally:
        for name in SECRET_FILES:
            (folder / name).unlink(missing_ok=True)
        os.close(claim)
        if not options.out:
            shutil.rmtree(folder, ignore_errors=True)
