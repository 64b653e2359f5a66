"""The record of one request while the service answers it."""

import threading
import time
from collections import Counter, deque
from dataclasses import dataclass, field
from typing import Callable

_KEY = "account_service.exchange"


class Clock:
    """The real time plus an offset that tests can set."""

    def __init__(self) -> None:
        self.offset = 0.0

    def now(self) -> float:
        return time.time() + self.offset


@dataclass
class Exchange:
    """One request: its clock, and the data of its log line. It never contains
    a secret: no token, password, cookie or query."""

    method: str
    endpoint: str
    clock: Clock
    connection: int = 0         # the client's port
    era: int = 0                # of the journal, when the request arrived
    clock_offset: float = 0.0
    consumer_key: str = ""
    token_kind: str = ""
    form: str = ""              # the names of a token form in their order, with values that are not secret
    user: str = ""
    verdict: str = "ok"
    fault: str = ""
    status: int = 0

    @staticmethod
    def of(environ: dict) -> "Exchange":
        return environ[_KEY]

    def attach(self, environ: dict) -> None:
        environ[_KEY] = self

    def now(self) -> float:
        return self.clock.now() + self.clock_offset

    def to_record(self) -> dict:
        return {"method": self.method, "endpoint": self.endpoint, "status": self.status,
                "verdict": self.verdict, "consumer_key": self.consumer_key[:80],
                "token_kind": self.token_kind, "form": self.form, "user": self.user, "fault": self.fault,
                "connection": self.connection}


@dataclass
class Journal:
    """The log of requests and the counters. A delayed request may arrive before
    the journal is cleared and be answered after that. It belongs to an earlier
    era and is ignored, or it would count among those of the next test."""

    write_line: Callable[[dict], None]
    era: int = 0
    records: deque = field(default_factory=lambda: deque(maxlen=10_000))
    counters: dict[str, Counter] = field(default_factory=dict)
    sequence: int = 0
    lock: threading.Lock = field(default_factory=threading.Lock)

    def add(self, exchange: Exchange) -> None:
        with self.lock:
            if exchange.era != self.era:
                return
            self.sequence += 1
            record = {"sequence": self.sequence, "time": round(time.time(), 3),
                      **exchange.to_record()}
            self.records.append(record)
            counter = self.counters.setdefault(exchange.endpoint, Counter())
            counter["requests"] += 1
            counter[exchange.verdict] += 1
            self.write_line(record)

    def since(self, sequence: int) -> list[dict]:
        with self.lock:
            return [record for record in self.records if record["sequence"] > sequence]

    def totals(self) -> dict[str, dict[str, int]]:
        with self.lock:
            return {name: dict(counter) for name, counter in sorted(self.counters.items())}

    def clear(self) -> None:
        with self.lock:
            self.era += 1
            self.records.clear()
            self.counters.clear()
