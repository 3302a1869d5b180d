"""Thousands of errors come and go: what the program holds of the machine stays the same.

The rests between its polls and ticks take a fiftieth here, so that the desktop sets the pace.
"""

import json
import os
import signal
import struct
import sys
import time

import pytest

from abuse_support import PRELOAD, is_sanitized, kept_descriptors, memory, preloaded
from harness.service import RETRY, command_document
from harness.waiting import wait_until

ERRORS_FIRST = 100
ERRORS = [300, pytest.param(int(os.environ.get("ZOR_ENDURANCE_ERRORS", "20000")),
                            marks=[pytest.mark.slow, pytest.mark.timeout(4 * 3600)])]
# Polls of an idle program: some minutes, and the hour that takes 36,000 of them.
POLLS = [1000, pytest.param(int(os.environ.get("ZOR_ENDURANCE_POLLS", "36000")),
                            marks=[pytest.mark.slow, pytest.mark.timeout(2 * 3600)])]
BUTTONS = 2  # of a box
PATIENCE = 2  # seconds after which a person clicks again
PICTURES = 256  # that cairo keeps on the X server for later use
RESOURCES = PRELOAD / "x_resources.py"


class Holdings:
    """What the program holds at rest."""

    def __init__(self, desktop, program, press, counter):
        desktop.configure("diagnostics.level = 2\n")
        desktop.settle(rounds=10)
        press.answer_all()
        desktop.settle(rounds=10)
        self.memory = memory(desktop, program)
        self.descriptors = len(kept_descriptors(desktop, program))
        self.threads = program.threads()
        status, output, error = desktop.sandbox.run(
            [sys.executable, "-Es", RESOURCES, program.pid])
        assert status == 0, error.decode()
        self.x_resources = json.loads(output)
        self.pictures = self.x_resources.pop("PICTURE")
        desktop.configure("diagnostics.level = 1\n")
        self.count_objects = lambda: struct.unpack("q", counter.read_bytes())[0]
        self.objects = self.count_objects()

    def __str__(self):
        return (f"{self.memory} KiB, {self.descriptors} descriptors, {self.threads} threads, "
                f"{self.objects} objects, X: {self.x_resources}, {self.pictures} pictures")


class Press:
    """Answers boxes that all look alike, at the place where the button was in the first."""

    def __init__(self, desktop):
        self._person = desktop.person
        self._service = desktop.service
        program = desktop.start_polling_program()
        desktop.service.report("First")
        box = desktop.person.wait_for_box("First")
        self._client = box.window.client
        self._place = box.button("Retry").extents.center
        self._aside = 15  # pixels
        desktop.service.withdraw("First")
        desktop.person.wait_until_gone("First")
        program.send_signal(signal.SIGTERM)
        program.wait_for_end()

    def boxes(self):
        return [window for window in self._person.windows() if window.client == self._client]

    def answer_all(self):
        """Answers the uppermost box until there is none.

        A box that opens between the look and the click takes the click; so any command ends the
        wait for the one that was seen. If the box that took it is withdrawn at that moment, nothing
        happens at all, and a person clicks again.
        """
        while boxes := self.boxes():
            commands = self._count_commands()
            last_click = None

            def is_over(box=boxes[-1].id, commands=commands):
                nonlocal last_click
                if last_click is None or time.monotonic() > last_click + PATIENCE:
                    # A box that comes up under the pointer takes no press at that place.
                    x, y = self._place
                    self._aside = -self._aside
                    self._person.click_at(x + self._aside, y)
                    last_click = time.monotonic()
                return (self._count_commands() > commands or
                        all(other.id != box for other in self.boxes()))

            wait_until(is_over, f"the end of the box of {boxes[-1].title}")

    def answer(self, printer):
        """Answers boxes until there is none and the service has the answer for a printer.

        Mostly that is one box; but a status that was asked for between an earlier press and the
        arrival of its command may have shown another box again.
        """
        while not self._has_arrived(printer):
            self.answer_all()

    def _count_commands(self):
        return self._service.count("request command")

    def _has_arrived(self, printer):
        return any(line.fields["printer"] == printer.encode()
                   for line in self._service.lines("request command")[-5:])


def endure(desktop, press, numbers):
    """Each error is shown; every second one is answered, the others are withdrawn.

    The person looks only for what is to be answered: looking costs more than a box does. The next
    error is reported when all of the last one is over, because of two events that come between two
    ticks only the later one is seen.
    """
    for number in numbers:
        printer = f"Printer {number}"
        since = desktop.log.count()
        desktop.service.report(printer)
        desktop.log.wait_for(f"present_error_box begin; printer={printer} ", since=since, deadline=20)
        if number % 2:
            press.answer(printer)
        else:
            desktop.log.wait_for("present_error_box end", since=since)
            since = desktop.log.count()
            desktop.service.withdraw(printer)
            desktop.log.wait_for("deleted button click info", BUTTONS, since=since)


def start_counted(desktop):
    """Starts the program in a hurry; returns it and the file with the number of its objects."""
    counter = desktop.sandbox.directory / "objects"
    counter.write_bytes(bytes(8))
    program = desktop.start_polling_program(
        environment=preloaded("short_rests", "object_count") | {
            "ZOR_HURRY": "1", "ZOR_OBJECT_COUNT": str(counter),
            # Its accessibility bridge keeps what is gone for half a minute.
            "NO_AT_BRIDGE": "1"})
    desktop.configure("diagnostics.level = 1\n")
    return program, counter


def compare(first, last):
    assert last.descriptors <= first.descriptors  # newer GdkPixbufs end an idle reader of images
    assert last.threads <= first.threads  # GLib ends idle ones of its own
    assert last.x_resources == first.x_resources
    assert last.pictures < first.pictures + PICTURES
    # GTK gives a gone box's scroll bar back when it is idle; what has leaked never goes.
    wait_until(lambda: last.count_objects() <= first.objects, "as few objects as at first")
    if not is_sanitized():
        assert last.memory < first.memory + 2048


@pytest.mark.parametrize("count", ERRORS)
def test_errors_that_come_and_go_leave_nothing_behind(start_desktop, count):
    desktop = start_desktop(screen="1024x768")
    press = Press(desktop)
    program, counter = start_counted(desktop)
    endure(desktop, press, range(1, ERRORS_FIRST + 1))
    first = Holdings(desktop, program, press, counter)
    endure(desktop, press, range(ERRORS_FIRST + 1, count + 1))
    last = Holdings(desktop, program, press, counter)
    print(f"after {ERRORS_FIRST} errors: {first}\nafter {count} errors: {last}")
    compare(first, last)
    answered = set(desktop.service.commands())
    assert {command_document(f"Printer {number}", RETRY)
            for number in range(1, count + 1, 2)} <= answered


@pytest.mark.parametrize("count", POLLS)
def test_polls_without_news_leave_nothing_behind(desktop, count):
    press = Press(desktop)
    program, counter = start_counted(desktop)
    endure(desktop, press, range(1, 11))
    first = Holdings(desktop, program, press, counter)
    desktop.service.wait_for_replies(count, 60 + count / 10)
    last = Holdings(desktop, program, press, counter)
    print(f"after some errors: {first}\nafter {count} polls: {last}")
    compare(first, last)
