"""Waits for what can be observed, with a deadline; what arrives on the buses is dealt with meanwhile."""

import time

from gi.repository import GLib

interval_ms = 20


class Late(AssertionError):
    """Something did not happen in time."""


def let_pass(milliseconds):
    """For a hand that is no faster than a person's."""
    loop = GLib.MainLoop()
    GLib.timeout_add(milliseconds, loop.quit)
    loop.run()


def await_that(what, holds, seconds=20):
    """The first true answer of holds(); Late, naming what, when there was none in time."""
    deadline = time.monotonic() + seconds
    while True:
        problem = ""
        try:
            answer = holds()
            if answer:
                return answer
        # What is asked may not be there yet.
        except (GLib.Error, OSError, LookupError, AttributeError) as error:
            problem = f" ({error})"
        if time.monotonic() > deadline:
            raise Late(f"not within {seconds} s: {what}{problem}")
        let_pass(interval_ms)


def happens(holds, seconds):
    try:
        return bool(await_that("", holds, seconds))
    except Late:
        return False
