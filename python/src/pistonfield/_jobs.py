# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Long calls of the library, which can be interrupted.

The call runs in a thread of its own while the caller's waits in Python. So the caller's thread
hears of signals at once and tells of the progress; an exception there, Ctrl-C's as any other, has
the library stop at the next piece of its work. A call in the caller's thread would hear of signals
in its progress function alone, where an exception goes nowhere: between the library's code and the
first line of the function no `try` can be.
"""

from __future__ import annotations

import atexit
import threading
from collections.abc import Callable
from typing import Any, Generic, TypeVar

from . import _library

Result = TypeVar("Result")

_PATIENCE = 0.5
"""Seconds that an interrupted call is waited for; a piece of some works takes longer."""

_INTERVAL = 0.05
"""Seconds between two looks at the progress."""


class Job(Generic[Result]):
    """A call that tells how far it is and is told to stop through this object."""

    def __init__(self, work: Callable[[Job[Result]], Result]) -> None:
        self.done = 0
        self.stop = False
        self.left_alone = False
        """Whether the caller is to wait for ever, as the process ends."""
        self._work = work
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._run, name="pistonfield", daemon=True)
        self._result: Result | None = None
        self._failure: BaseException | None = None

    def run(self, tell: Callable[[int], object] | None = None) -> Result:
        """Do the work, and tell of the progress in the calling thread, at its end as well."""
        try:
            if not self._is_started():
                return self._work(self)
            self._wait(tell)
        except BaseException:
            self.stop = True
            self.end(_PATIENCE)
            raise
        if self._failure is not None:
            raise self._failure
        return self._result  # type: ignore[return-value]

    def end(self, patience: float | None = None) -> None:
        """Wait for the thread, so many seconds at most."""
        if self._thread.is_alive():
            self._thread.join(patience)

    def _is_started(self) -> bool:
        """Start the thread where there can be one: without it the call cannot be interrupted."""
        _running.add(self)
        try:
            self._thread.start()
        except RuntimeError:
            _running.discard(self)
            return False
        return True

    def _wait(self, tell: Callable[[int], object] | None) -> None:
        if tell is None:
            self._ended.wait()
            return
        told = 0
        while not self._ended.wait(_INTERVAL):
            done = self.done
            if done != told:
                told = done
                tell(done)

    def _run(self) -> None:
        try:
            self._result = self._work(self)
        except BaseException as failure:
            self._failure = failure
        finally:
            _running.discard(self)
            if not self.left_alone:
                self._ended.set()


_running: set[Job[Any]] = set()


@atexit.register
def _end_all() -> None:
    """Stop what daemon threads compute when the process ends, before the library's own data do."""
    jobs = list(_running)
    for job in jobs:
        job.stop = job.left_alone = True
    for job in jobs:
        job.end()


def stopping(job: Job[Any], threads: int = 0) -> _library.Conduct:
    """Have the library stop when the job is to."""
    return _library.conduct(threads, lambda _points, _user: job.stop)


def interruptible(work: Callable[[], Result]) -> Result:
    """Do a work that cannot be stopped, but left alone."""
    return Job[Result](lambda _job: work()).run()
