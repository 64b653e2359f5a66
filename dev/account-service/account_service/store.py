"""Tokens and sessions, in memory, under one lock.

Every decision that must be taken once (spending a token, ending a session)
is taken inside the lock, so only one of two concurrent requests succeeds.
Lifetimes follow the real clock. A clock offset set by tests moves time
stamps and dates, never the expiry of tokens.
"""

import threading
import time

from .model import (AccessToken, Consumer, Lifetimes, RequestToken, Session, User,
                    random_name, random_secret)
from .refusal import Refusal

Token = RequestToken | AccessToken


class Store:
    def __init__(self, users: list[User], consumers: list[Consumer],
                 lifetimes: Lifetimes) -> None:
        self.users = {user.name: user for user in users}
        self.consumers = {consumer.key: consumer for consumer in consumers}
        self.lifetimes = lifetimes
        self.lock = threading.RLock()
        self.clear()

    def clear(self) -> None:
        """Removes every sign-in. The verifier keeps the used nonces."""
        with self.lock:
            self.tokens: dict[str, Token] = {}
            self.handles: dict[str, Session] = {}
            self.sessions: list[Session] = []
            self.browsers: dict[str, User] = {}

    def find(self, token: str) -> Token | None:
        with self.lock:
            return self.tokens.get(token)

    def check_alive(self, token: Token, allow_expired: bool = False) -> None:
        """Refuses a token that is spent, revoked or expired."""
        with self.lock:
            if token.spent:
                raise Refusal(401, "token_used")
            if isinstance(token, AccessToken):
                self._check_session(token.session, 401, "token_revoked")
            if not allow_expired and time.time() >= token.expires_at:
                raise Refusal(401, "token_expired")

    # Sign-in

    def issue_request_token(self, consumer: Consumer) -> RequestToken:
        with self.lock:
            expires_at = time.time() + self.lifetimes.request_token
            token = RequestToken(random_secret(), random_secret(), consumer.key, expires_at)
            self.tokens[token.token] = token
            return token

    def open_ticket(self, token: RequestToken) -> str:
        """Opens the sign-in page of a request token. An unguessable ticket names it."""
        with self.lock:
            self._check_not_approved(token)
            token.ticket = token.ticket or random_name()
            return token.ticket

    def find_ticket(self, ticket: str) -> RequestToken | None:
        with self.lock:
            return next((token for token in self.tokens.values()
                         if isinstance(token, RequestToken) and ticket
                         and token.ticket == ticket), None)

    def approve(self, token: RequestToken, user: User) -> None:
        with self.lock:
            self.check_alive(token)
            self._check_not_approved(token)
            token.user = user
            token.ticket = ""

    def exchange(self, token: RequestToken) -> AccessToken:
        """The access token for a request token that the user has approved."""
        with self.lock:
            self.check_alive(token)
            if token.user is None:
                raise Refusal(401, "permission_unknown")
            token.spent = True
            session = Session(token.user, time.time() + self.lifetimes.session)
            self.sessions.append(session)
            return self._issue_access_token(session, token.consumer_key)

    def refresh(self, token: AccessToken, handle: str) -> AccessToken:
        """A new access token for an old one, which becomes invalid. A request
        that can never succeed is refused with 400, so that the client gives up."""
        with self.lock:
            self._check_session(token.session, 400, "session_rejected")
            if token.session.handles.get(token.consumer_key) != handle:
                raise Refusal(400, "session_rejected", "session_handle_not_of_this_token")
            if token.spent:
                raise Refusal(400, "token_used")
            token.spent = True
            return self._issue_access_token(token.session, token.consumer_key)

    def join(self, consumer: Consumer, handle: str) -> AccessToken:
        """An access token of a living session for another product."""
        with self.lock:
            session = self.handles.get(handle)
            if session is None:
                raise Refusal(400, "session_rejected", "session_handle_unknown")
            self._check_session(session, 400, "session_rejected")
            return self._issue_access_token(session, consumer.key)

    def end_session(self, session: Session) -> None:
        with self.lock:
            session.ended = True

    # Helpers for the browser pages and the control interface

    def open_browser(self, user: User) -> str:
        with self.lock:
            cookie = random_name()
            self.browsers[cookie] = user
            return cookie

    def close_browser(self, cookie: str) -> None:
        with self.lock:
            self.browsers.pop(cookie, None)

    def expire(self, what: str, consumer_key: str = "") -> int:
        """Makes all tokens or sessions of a kind expire now; returns their number."""
        with self.lock:
            kinds = {"access-tokens": AccessToken, "request-tokens": RequestToken}
            if what == "sessions":
                chosen = [session for session in self.sessions
                          if not consumer_key or consumer_key in session.handles]
            else:
                chosen = [token for token in self.tokens.values()
                          if isinstance(token, kinds[what])
                          and consumer_key in ("", token.consumer_key)]
            for record in chosen:
                record.expires_at = min(record.expires_at, time.time())
            return len(chosen)

    def all_secrets(self) -> list[str]:
        """All issued secrets, which must never be in clear text on the client side."""
        with self.lock:
            issued = [text for token in self.tokens.values() for text in (token.token, token.secret)]
            consumers = [consumer.secret for consumer in self.consumers.values()]
            return sorted({*issued, *consumers, *self.handles, *self.browsers})

    @staticmethod
    def _check_not_approved(token: RequestToken) -> None:
        if token.user is not None:
            raise Refusal(401, "token_used", "already_approved")

    @staticmethod
    def _check_session(session: Session, status: int, problem: str) -> None:
        if session.ended:
            raise Refusal(status, problem, "session_ended")
        if time.time() >= session.expires_at:
            raise Refusal(status, problem, "session_expired")

    def _issue_access_token(self, session: Session, consumer_key: str) -> AccessToken:
        expires_at = min(time.time() + self.lifetimes.token, session.expires_at)
        token = AccessToken(random_secret(), random_secret(), consumer_key, session, expires_at)
        self.tokens[token.token] = token
        handle = session.handles.setdefault(consumer_key, random_secret())
        self.handles[handle] = session
        return token
