"""The parts of one running service. Every endpoint receives them."""

from argparse import Namespace
from dataclasses import replace
from typing import Callable

from .documents import Documents
from .exchange import Clock, Journal
from .faults import FaultList
from .model import Lifetimes
from .store import Store
from .verifier import Verifier


class Service:
    def __init__(self, options: Namespace, write_line: Callable[[dict], None]) -> None:
        self._lifetimes = Lifetimes(options.token_lifetime, options.session_lifetime,
                                    options.request_token_lifetime, options.oauth2_token_lifetime)
        self._timestamp_window = options.timestamp_window
        self.clock = Clock()
        self.journal = Journal(write_line)
        self.faults = FaultList()
        self.documents = Documents()
        self.store = Store(options.users, options.consumer, replace(self._lifetimes))
        self.verifier = Verifier(self.store, options.timestamp_window)
        self.oauth2_clients = {consumer.key: consumer.secret for consumer in options.consumer}
        self.oauth2_clients.update(options.oauth2_client)

    def reset(self, keep_sessions: bool) -> None:
        """Restores the state after the start. Only the used nonces stay used."""
        self.faults.clear()
        self.journal.clear()
        self.documents.clear()
        self.clock.offset = 0.0
        self.store.lifetimes = replace(self._lifetimes)
        self.verifier.timestamp_window = self._timestamp_window
        if not keep_sessions:
            self.store.clear()
