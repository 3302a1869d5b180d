"""What the tests that abuse the program share."""

import os
import pathlib
import re
import subprocess

import pytest

from harness.sandbox import build_directory
from harness.waiting import DEADLINE_SCALE, wait_until

PRELOAD = pathlib.Path(__file__).resolve().parent / "preload"
FAILED = "caught c++ exception: "
CONFIGURATION = "zor-card-printer.conf"
POLLED = "get_updated_printer_status end; status_text="
PRESENTED = "present_error_box begin; printer="


def preloaded(*names):
    """The environment in which the program runs with preload/NAME.c in front of its libraries."""
    options = os.environ.get("ASAN_OPTIONS", "")
    return {"LD_PRELOAD": " ".join(str(compiled(name)) for name in names),
            # Its run-time library wants to be the first otherwise.
            "ASAN_OPTIONS": ":".join(filter(None, [options, "verify_asan_link_order=0"]))}


def compiled(name):
    library = build_directory() / f"{name}.so"
    fresh = library.with_suffix(f".{os.getpid()}")  # several tests may be at it
    flags = subprocess.run(["pkg-config", "--cflags", "gobject-2.0"], check=True,
                           stdout=subprocess.PIPE, text=True).stdout.split()
    subprocess.run(["cc", "-O1", "-fPIC", "-shared", "-Wall", "-Wextra", "-Werror", "-fno-builtin",
                    *flags, "-o", fresh, PRELOAD / f"{name}.c", "-ldl"], check=True)
    fresh.replace(library)
    return library


def is_sanitized():
    """Whether the program under test has a sanitizer in it, with an allocator of its own."""
    program = (build_directory() / "zor-card-printer-error-ui").read_bytes()
    return b"__asan_init" in program or b"__tsan_init" in program


def skip_when_sanitized(reason):
    if is_sanitized():
        pytest.skip(reason)


# ---- What the program takes of the machine ------------------------------------------------------

def memory(desktop, program, figure="VmRSS"):
    """A figure of /proc/PID/status, in KiB."""
    status = desktop.sandbox.call("read_file", path=f"/proc/{program.pid}/status")
    return int(re.search(rf"^{figure}:\s+(\d+) kB", status, re.MULTILINE)[1])


def descriptors(desktop, program):
    """What the program has open, by number."""
    return desktop.sandbox.call("links", path=f"/proc/{program.pid}/fd")


def kept_descriptors(desktop, program):
    """The numbers that stay open between polls, however long a poll takes.

    One look can find a poll's sockets, and many quick ones can all find those of the same slow poll.
    A later poll has other sockets, so whatever is the same thing after two more is no poll's. The
    configuration file is opened for a moment for each line of the log.
    """
    before = descriptors(desktop, program)
    desktop.service.wait_for_replies(2)
    after = descriptors(desktop, program)
    return {number for number, target in before.items()
            if after.get(number) == target and target != f"/etc/{CONFIGURATION}"}


def processor_seconds(desktop, program):
    """How long the program has computed so far."""
    stat = desktop.sandbox.call("read_file", path=f"/proc/{program.pid}/stat")
    user, system = stat.rpartition(")")[2].split()[11:13]
    return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")


# ---- What the person has on the screen ----------------------------------------------------------

def looks(desktop):
    """All boxes, by what a person can tell apart."""
    return {(box.window.id, box.title, box.text, tuple(box.labels), box.window.frame)
            for box in desktop.person.boxes()}


class Visitor:
    """Reports errors one after the other, each to be seen, and takes them away again."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.count = 0
        self._since = 0

    def report(self):
        """Reports a new error; returns the printer's name."""
        self.count += 1
        self._since = self.desktop.log.count()
        printer = f"Visitor {self.count}."
        self.desktop.service.report(printer)
        return printer

    def expect_box(self, printer, after=""):
        """Waits for the box of an error, which must come within two polls of its good reply."""
        self._expect_window(printer, after)
        return self.desktop.person.wait_for_box(printer)

    def _expect_window(self, printer, after, deadline=20):
        log = self.desktop.log
        seen = f"no box of {printer!r} after {after}"
        wait_until(lambda: log.messages(PRESENTED + printer, self._since), seen, deadline)
        lines = [message.text for message in log.messages(since=self._since)]
        first = next(number for number, line in enumerate(lines)
                     if POLLED in line and printer in line)
        last = next(number for number, line in enumerate(lines) if PRESENTED + printer in line)
        polls = sum(POLLED in line for line in lines[first:last])
        assert polls <= 2 * DEADLINE_SCALE, f"{printer!r} after {after}: {polls} polls"
        self.desktop.person.wait_for_window(printer)

    def leave(self, printer):
        self.desktop.service.withdraw(printer)
        self.desktop.person.wait_until_gone(printer)

    def call(self, after, deadline=20):
        """An error comes, is seen, and goes. (A glance: what is in the box takes far longer.)"""
        printer = self.report()
        self._expect_window(printer, after, deadline)
        self.leave(printer)
