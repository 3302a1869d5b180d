"""The program under valgrind: no error, and nothing lost.

Best with a debug build. The findings inside libraries are named in tests/valgrind.supp and in the
files that GLib and GTK come with.
"""

import pathlib
import re
import shutil
import signal

import pytest

from abuse_support import skip_when_sanitized
from harness.sandbox import TREE
from harness.service import CANCEL, RETRY, command_document
from harness.waiting import wait_until

DEADLINE = 240  # everything is some thirty times slower
SUPPRESSIONS = [TREE / "tests" / "valgrind.supp",
                *map(pathlib.Path, ("/usr/share/glib-2.0/valgrind/glib.supp",
                                    "/usr/share/gtk-3.0/valgrind/gtk.supp"))]
ENVIRONMENT = {"G_SLICE": "always-malloc", "G_DEBUG": "gc-friendly"}

pytestmark = [pytest.mark.slow, pytest.mark.timeout(1800)]


class Watched:
    """A desktop whose programs run under valgrind."""

    def __init__(self, desktop, monkeypatch):
        if shutil.which("valgrind") is None:
            pytest.skip("there is no valgrind")
        skip_when_sanitized("a sanitizer and valgrind do not go together")
        self.desktop = desktop
        self._report = desktop.sandbox.directory / "valgrind"
        monkeypatch.setenv("ZOR_PROGRAM_WRAPPER", " ".join([
            "valgrind", f"--log-file={self._report}", "--leak-check=full", "--num-callers=40",
            "--show-leak-kinds=definite", "--errors-for-leak-kinds=definite",
            *(f"--suppressions={path}" for path in SUPPRESSIONS if path.exists())]))

    def start(self, *arguments):
        return self.desktop.start_program(*arguments, environment=ENVIRONMENT)

    def finish(self, program):
        """Ends the program; nothing may have been found."""
        program.send_signal(signal.SIGTERM)
        program.wait_for_end(DEADLINE)
        report = self._report.read_text(errors="replace")
        errors = re.search(r"ERROR SUMMARY: (\d+) errors", report)
        assert errors is not None, report
        # The numbers of the report, for whoever looks at them with -rP.
        print("\n".join(line for line in report.splitlines() if re.search(
            r"ERROR SUMMARY|definitely lost:|total heap usage|in use at exit", line)))
        assert errors[1] == "0", report


@pytest.fixture
def watched(desktop, monkeypatch):
    return Watched(desktop, monkeypatch)


def test_the_mode_for_memory_checks_is_clean(watched):
    desktop = watched.desktop
    program = watched.start("--valgrind", "--valgrind-num-boxes=20")
    desktop.log.wait_for("present_error_box end", 20, deadline=DEADLINE)
    wait_until(lambda: len(desktop.person.windows(process=program.pid)) == 1,
               "only the main window", DEADLINE)
    watched.finish(program)


def test_a_session_is_clean(watched):
    desktop = watched.desktop
    program = watched.start()
    desktop.service.wait_for_replies(1, DEADLINE)
    for printer, severity, answer in (("A", 1, "OK"), ("B", 3, "Retry"), ("C", 4, "Cancel"),
                                      ("D", 9, None), ("<E> & %s\xff", 3, "Cancel")):
        desktop.service.report(printer, "1", 110, severity)
        box = desktop.person.wait_for_box(printer, DEADLINE)
        if answer is None:
            desktop.service.withdraw(printer)
        else:
            desktop.person.click(box, answer)
        desktop.person.wait_until_gone(printer, DEADLINE)
    commands = desktop.service.wait_for_commands(4, DEADLINE)
    assert commands[:2] == [command_document("A", CANCEL), command_document("B", RETRY)]
    for fault in ("cut 100 times 1", "garbage 1000 times 1", "empty times 1"):
        ended = desktop.service.count("fault ended")
        desktop.service.fault(f"{fault} on status")
        desktop.service.wait_for("fault ended", ended + 1, DEADLINE)
    desktop.service.report("F", "1", 9999, 5)
    box = desktop.person.wait_for_box("F", DEADLINE)
    desktop.person.delete_window(box.window)  # it stays
    desktop.service.report("G", "1", 105, 3)
    desktop.person.wait_for_box("G", DEADLINE)
    watched.finish(program)
