"""A service that fails in every way: boxes stay as they are, and the next good reply counts.

Where the program's rests of 10 s and its time-outs of 15 s would make a test take hours, they last
a hundredth here (preload/short_rests.c); test_service_faults.py has them at full length.
"""

import re
import signal

import pytest

from abuse_support import (FAILED, Visitor, looks, memory, preloaded, skip_when_sanitized)
from harness.waiting import wait_until

GIB = 1 << 30


@pytest.fixture
def start_abused(start_desktop):
    """A desktop with two boxes, a program with short rests, and what is on the screen."""
    def start(**settings):
        desktop = start_desktop(**settings)
        program = desktop.start_polling_program(environment=preloaded("short_rests"))
        for printer, code, severity in (("Stays 1", 110, 3), ("Stays 2", 111, 4)):
            # One after the other: of two statuses between two ticks only the newer one counts.
            desktop.service.report(printer, "1", code, severity)
            desktop.person.wait_for_box(printer)
        return desktop, program, looks(desktop)
    return start


def spoil(desktop, fault, times=2):
    """Has the service show a fault so many times, and waits until it has."""
    ended = len(desktop.service.lines("fault ended"))
    desktop.service.fault(f"{fault} times {times} on status")
    desktop.service.wait_for("fault ended", ended + 1, deadline=30)


def failures(desktop, since=0):
    return [message.text.partition(FAILED)[2] for message in desktop.log.messages(FAILED, since)]


def expect_failures(desktop, since, text, count):
    """The failures since a mark of the log are so many, each with this text."""
    wait_until(lambda: len(failures(desktop, since)) >= count, lambda: failures(desktop, since))
    assert failures(desktop, since) == [text] * count


def cut_and_recover(desktop, visitor, offsets):
    for offset in offsets:
        since = desktop.log.count()
        spoil(desktop, f"cut {offset}", 1)
        expect_failures(desktop, since, "Empty receive.", 1)
        visitor.call(f"a cut at {offset}")


def reply_size(desktop):
    """The bytes of a reply frame, that of the error which is quoted now."""
    desktop.settle()
    return int(desktop.service.lines("reply status")[-1].fields["size"]) + 8


def test_a_reply_cut_at_its_seams_costs_one_poll(start_abused):
    desktop, _, before = start_abused()
    cut_and_recover(desktop, Visitor(desktop), [0, 1, 7, 8, 9, reply_size(desktop) - 1])
    assert looks(desktop) == before


@pytest.mark.slow
def test_a_reply_cut_at_any_offset_costs_one_poll(start_abused):
    desktop, _, before = start_abused()
    cut_and_recover(desktop, Visitor(desktop), range(reply_size(desktop)))
    assert looks(desktop) == before


# Whether the kernel grants so many addresses depends on the machine.
LONG = {"Receive failed.", "std::bad_alloc"}
LIES = {
    "lie 0": set(),
    "lie 1": set(),
    f"lie {2**31}": {"Empty receive."},
    f"lie {2**31} hold": {"Receive failed."},
    f"lie {20 * GIB} hold": LONG,
    f"lie {2**40} hold": LONG,
    f"lie {2**63}": {"std::bad_alloc", "std::bad_array_new_length"},
    f"lie {2**64 - 1}": {"std::bad_alloc", "std::bad_array_new_length"},
}


def test_a_lying_length_costs_no_memory(start_abused):
    skip_when_sanitized("its allocator ends the process for such lengths")
    desktop, program, before = start_abused()
    visitor = Visitor(desktop)
    visitor.call("nothing")
    used = memory(desktop, program, "VmHWM")
    for fault, texts in LIES.items():
        since = desktop.log.count()
        spoil(desktop, fault)
        wait_until(lambda: len(failures(desktop, since)) >= (2 if texts else 0), fault)
        assert set(failures(desktop, since)) <= texts, fault
        visitor.call(fault)
        assert memory(desktop, program, "VmHWM") < used + 32 * 1024, fault
    assert looks(desktop) == before


@pytest.mark.parametrize("fault, texts", [
    ("refuse", {"Failed to connect socket."}),
    ("silent times 2", {"Receive failed."}),
    ("garbage bare times 3", {"std::bad_alloc", "std::bad_array_new_length", "Empty receive."}),
    ("garbage 100000 times 3", set()),
    ("empty times 3", set()),
    ("trickle 2ms times 2", set()),
    ("trickle 400ms times 1", {"Receive failed."}),
    ("delay 140ms times 3", set()),
    ("cut 50 times 20", {"Empty receive."}),
])
def test_a_service_that_answers_badly_costs_its_replies_only(start_abused, fault, texts):
    if "bare" in fault:
        skip_when_sanitized("its allocator ends the process for such lengths")
    desktop, _, before = start_abused()
    since = desktop.log.count()
    desktop.service.fault(f"{fault} on status" if "times" in fault else fault)
    if texts:
        count = 2 if "times 1" not in fault else 1
        wait_until(lambda: len(failures(desktop, since)) >= count, fault, deadline=20)
    if "times" in fault:
        desktop.service.wait_for("fault ended", deadline=30)
    else:
        desktop.service.fault("none")
    Visitor(desktop).call(fault)
    assert bool(failures(desktop, since)) == bool(texts)
    assert set(failures(desktop, since)) <= texts
    assert looks(desktop) == before


