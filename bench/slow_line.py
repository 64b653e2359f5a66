#!/usr/bin/python3
"""What a user waits for on a long line: from the end of the sign-in page until every product is signed in.

Two sample products in two processes sign in at the account service, with a time that each packet takes. All figures are in round trips
of that line, so that they do not depend on the machine: a request on an open connection takes one, on a new one with TLS three.
"""
import argparse
import pathlib
import shutil
import statistics
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "dev/demo"))
from account import AccountService  # noqa: E402
from product import Home, Product  # noqa: E402

SECOND_PRODUCT = ("--key", "second-product-0002", "--secret", "demo-secret-0002")
WAIT_SECONDS = 30


def measure(program: pathlib.Path, one_way_ms: int, folder: pathlib.Path) -> tuple[float, float, int, int]:
    """Round trips until the first product and until both are signed in; requests and connections of the whole run."""
    service = AccountService(folder / "service", "--line-delay", str(one_way_ms))
    products = []
    try:
        service.start()
        shutil.copy(ROOT / "config/WebServices.logconfig", folder / "service")
        home = Home(folder)
        products = [Product(program, service, home, "first"), Product(program, service, home, "second", *SECOND_PRODUCT)]
        for product in products:
            product.ask("status")
        page = products[0].ask("initiate-login")["url"]
        service.control("approve", {"url": page})
        started = time.monotonic()
        if not products[0].ask("complete-login")["ok"]:
            raise OSError("the sign-in failed")
        first = time.monotonic() - started
        while not products[1].ask("status")["hasToken"]:
            if time.monotonic() - started > WAIT_SECONDS:
                raise OSError("the second product is not signed in")
        both = time.monotonic() - started
        log = service.control("log")["requests"]
        round_trip = 2 * one_way_ms / 1000
        return first / round_trip, both / round_trip, len(log), len({entry["connection"] for entry in log})
    finally:
        for product in products:
            product.stop()
        service.stop()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--binaries", default=str(ROOT / "build/linux-release/bin"), help="folder of sample-product")
    parser.add_argument("--one-way", type=int, default=100, metavar="MS", help="time of each packet (default %(default)s)")
    parser.add_argument("--runs", type=int, default=5, help="the figures are medians (default %(default)s)")
    options = parser.parse_args()
    runs = []
    for _ in range(options.runs):
        with tempfile.TemporaryDirectory(prefix="vqws-line-") as folder:
            runs.append(measure(pathlib.Path(options.binaries) / "sample-product", options.one_way, pathlib.Path(folder)))
    names = ("round trips to complete the sign-in", "round trips until both products have a token", "requests", "connections")
    for name, values in zip(names, zip(*runs)):
        print(f"{statistics.median(values):8.2f}  {name}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
