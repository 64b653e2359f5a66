"""A line on which each packet takes its time, for measuring what a user waits for far away from the servers."""

import collections
import contextlib
import select
import socket
import threading
import time

_CHUNK = 1 << 16


class _Direction:
    """Carries what one socket receives to the other, each piece after its time."""

    def __init__(self, source: socket.socket, target: socket.socket, delay: float, first_delay: float) -> None:
        self.source = source
        self.target = target
        self.delay = delay
        self.next_delay = first_delay
        self.pieces: collections.deque[tuple[float, bytes]] = collections.deque()
        self.is_open = True

    def read(self) -> None:
        data = self.source.recv(_CHUNK)
        self.pieces.append((time.monotonic() + self.next_delay, data))
        self.next_delay = self.delay
        self.is_open = bool(data)

    def wait(self) -> float | None:
        return max(0.0, self.pieces[0][0] - time.monotonic()) if self.pieces else None

    def deliver(self) -> None:
        while self.pieces and self.pieces[0][0] <= time.monotonic():
            data = self.pieces.popleft()[1]
            if data:
                self.target.sendall(data)
            else:
                self.target.shutdown(socket.SHUT_WR)


def _carry(outer: socket.socket, inner: socket.socket, delay: float) -> None:
    # The machine opens the connection at once; on a long line that takes one way there and one back.
    directions = [_Direction(outer, inner, delay, 3 * delay), _Direction(inner, outer, delay, delay)]
    with outer, inner, contextlib.suppress(OSError):
        while any(one.is_open or one.pieces for one in directions):
            waits = [wait for wait in (one.wait() for one in directions) if wait is not None]
            readable, _, _ = select.select([one.source for one in directions if one.is_open], [], [],
                                           min(waits, default=None))
            for one in directions:
                if one.source in readable:
                    one.read()
                one.deliver()


def behind_slow_line(connection: socket.socket, delay: float) -> socket.socket:
    """The server's end of a line whose other end is the connection; `delay` in seconds, for each way."""
    near, far = socket.socketpair()
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    threading.Thread(target=_carry, args=(connection, near, delay), daemon=True).start()
    return far
