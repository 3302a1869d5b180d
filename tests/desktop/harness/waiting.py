"""Waiting for something to happen, with a deadline."""

import os
import time

DEADLINE_SCALE = float(os.environ.get("ZOR_DEADLINE_SCALE", "1"))
# Longer where the program is slow, and the longer the wait: each look takes processor time away.
POLL_INTERVALS = [0.005 * DEADLINE_SCALE, 0.025 * DEADLINE_SCALE]


class DeadlineMissed(AssertionError):
    """What a test waited for did not happen."""


def scaled(seconds):
    """Seconds, longer where the program is slow, as under valgrind (ZOR_DEADLINE_SCALE)."""
    return seconds * DEADLINE_SCALE


def wait_until(predicate, what, deadline=10.0):
    """Calls predicate until it gives something true, and returns that.

    Raises DeadlineMissed naming `what` (a text, or a function that gives one) after `deadline`
    seconds, scaled.
    """
    end = time.monotonic() + scaled(deadline)
    interval, longest = POLL_INTERVALS
    while True:
        result = predicate()
        if result:
            return result
        if time.monotonic() > end:
            seen = what() if callable(what) else what
            raise DeadlineMissed(f"not within {scaled(deadline):g} s: {seen}")
        time.sleep(interval)
        interval = min(interval * 1.2, longest)
