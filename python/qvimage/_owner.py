"""What is open and must be closed, while other threads may be reading through it."""
from __future__ import annotations

import threading
import weakref
from typing import Any, Callable


class Owner:
    """Something open. `close` ends it as soon as nobody is inside (`with owner`); it is also closed when
    nothing refers to it any more. What ends it must not refer to the owner."""

    def __init__(self, end: Callable[[], None], path: Any) -> None:
        self.path = path
        self.closed = False
        self._users = 0
        self._lock = threading.Lock()
        self._end = weakref.finalize(self, end)

    def __enter__(self) -> Owner:
        with self._lock:
            if self.closed:
                raise ValueError(f'{self.path}: closed')
            self._users += 1
        return self

    def __exit__(self, *_: object) -> None:
        with self._lock:
            self._users -= 1
            last = self.closed and self._users == 0
        if last:
            self._end()

    def close(self) -> None:
        with self._lock:
            self.closed = True
            last = self._users == 0
        if last:
            self._end()
