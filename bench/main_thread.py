#!/usr/bin/python3
"""How long the calls of a host's main thread take at worst, while other processes of the user work.

One product makes the calls that a user interface makes: who is signed in, a signed request with a valid token, a cached value. Eight other
processes save, renew tokens and thereby raise events, first with a server that answers, then with one that does not. The first call
only asks the system for the number of the process: what the machine itself takes at worst.
"""
import argparse
import gc
import os
import pathlib
import select
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path += [str(ROOT / "bindings/python"), str(ROOT / "dev/demo")]
import vqws  # noqa: E402
from account import AccountService  # noqa: E402
from product import Home  # noqa: E402

KEY, SECRET = "demo-product-0001", "demo-secret-0001"
OTHERS = 8
PAUSE_OF_OTHERS = 1
PAUSE = 0.001
# No request is answered within the time of a measurement.
SILENCE = {"kind": "status", "status": 503, "delay_ms": 600_000, "count": -1}


def product(folder: pathlib.Path):
    library = vqws.Library(support_paths=[str(folder / "service")])
    client = vqws.Client()
    client.configure(vqws.Config(KEY, SECRET))
    client.restore_login()
    return library, client


def work(folder: pathlib.Path) -> None:
    """One of the other processes, until its standard input ends."""
    library, client = product(folder)
    print("ready", flush=True)
    number = 0
    while not select.select([sys.stdin], [], [], PAUSE_OF_OTHERS)[0]:
        number += 1
        try:
            library.proxy.set_login("proxy.example", 8080, "ada", f"{os.getpid()}-{number}")
            client.refresh_token(wait=False)
        except vqws.Error:
            pass
    library.close()


def measure(calls: dict, rounds: int) -> dict[str, list[float]]:
    """Milliseconds of each call."""
    taken: dict[str, list[float]] = {name: [] for name in calls}
    gc.disable()
    for _ in range(rounds):
        for name, call in calls.items():
            start = time.perf_counter_ns()
            call()
            taken[name].append((time.perf_counter_ns() - start) / 1e6)
        time.sleep(PAUSE)
    gc.enable()
    return taken


def show(title: str, taken: dict[str, list[float]]) -> None:
    print(f"{title}\n  {'median':>8} {'p99':>8} {'p99.9':>8} {'most':>8}  ms")
    for name, values in taken.items():
        cuts = statistics.quantiles(values, n=1000, method="inclusive")
        print(f"  {cuts[499]:8.3f} {cuts[989]:8.3f} {cuts[998]:8.3f} {max(values):8.3f}  {name}")


def run(folder: pathlib.Path, rounds: int) -> None:
    service = AccountService(folder / "service", "--http")
    service.start()
    others: list[subprocess.Popen] = []
    try:
        library, client = product(folder)
        service.control("approve", {"url": client.initiate_login()})
        client.complete_login()
        client.user_email()
        calls = {"the number of the process": os.getppid, "user_name": lambda: client.user_name,
                 "is_logged_in": lambda: client.is_logged_in, "is_token_expired": lambda: client.is_token_expired,
                 "sign": lambda: client.sign(service.info["url"] + "/api/echo"), "user_email": client.user_email}
        show("alone", measure(calls, rounds // 4))
        for _ in range(OTHERS):
            others.append(subprocess.Popen([sys.executable, __file__, "--other", str(folder)], stdin=subprocess.PIPE,
                                           stdout=subprocess.PIPE))
        for other in others:
            other.stdout.readline()
        show(f"beside {OTHERS} processes that save, renew and raise events", measure(calls, rounds))
        service.control("faults", SILENCE)
        show("the same with a server that does not answer", measure(calls, rounds))
        library.close()
    finally:
        for other in others:
            other.stdin.close()
            other.wait(60)
        service.stop()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library", default=str(ROOT / "build/linux-release/bin/libvqws.so.1"))
    parser.add_argument("--rounds", type=int, default=10_000, help="of all calls (default %(default)s)")
    parser.add_argument("--other", type=pathlib.Path, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.other:
        work(options.other)
        return 0
    with tempfile.TemporaryDirectory(prefix="vqws-main-") as name:
        folder = pathlib.Path(name)
        os.environ.update(Home(folder).environment(), VQWS_LIBRARY=options.library)
        run(folder, options.rounds)
    return 0


if __name__ == "__main__":
    sys.exit(main())
