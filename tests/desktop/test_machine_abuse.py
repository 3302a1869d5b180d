"""A machine that has nothing left: the program waits, says why, or ends; it never spins."""

import os
import signal
import socket
import time

import pytest

from abuse_support import (CONFIGURATION, FAILED, Visitor, descriptors, kept_descriptors, looks,
                           preloaded, processor_seconds, skip_when_sanitized)
from harness.service import RETRY, command_document
from harness.waiting import wait_until

BOX_FILE = "error-ui-message-box.glade"
NOT_LOADED = "Failed to load error ui xml"
FILLER = b"<14>Jan  1 00:00:00 filler: x"


def limit(desktop, program, what, value):
    """Sets a soft limit of the running program; returns the one before."""
    show = ["prlimit", f"--pid={program.pid}", "--raw", "--noheadings", "--output=SOFT"]
    before = desktop.sandbox.run([*show, f"--{what}"])[1].decode().strip()
    change = ["prlimit", f"--pid={program.pid}", f"--{what}={value}:"]
    status, _, error = desktop.sandbox.run(change)
    assert status == 0, error
    return before


# ---- Descriptors --------------------------------------------------------------------------------

def leave_descriptors(desktop, program, count):
    """Lets the program open so many descriptors more, at rest; returns its limit before."""
    kept = kept_descriptors(desktop, program)
    free = [number for number in range(len(kept) + 2) if str(number) not in kept]
    usual = limit(desktop, program, "nofile", free[count])
    wait_until(lambda: len(descriptors(desktop, program)) <= len(kept) + count, "open polls end")
    return usual


def test_polling_goes_on_when_there_are_descriptors_again(desktop):
    skip_when_sanitized("its checks need descriptors of their own")
    program = desktop.start_polling_program(environment=preloaded("short_rests"))
    desktop.service.report("Stays")
    desktop.person.wait_for_box("Stays")
    before = looks(desktop)
    usual = leave_descriptors(desktop, program, 1)  # for the log, but not for both connections
    desktop.log.wait_for(FAILED + "Failed to create socket handle.", 3)
    visitor = Visitor(desktop)
    printer = visitor.report()
    desktop.log.wait_for(FAILED, 2, since=desktop.log.count())
    assert looks(desktop) == before
    limit(desktop, program, "nofile", usual)
    visitor.expect_box(printer, "a time without descriptors")
    visitor.leave(printer)
    assert looks(desktop) == before


# ---- The log ------------------------------------------------------------------------------------

class StuckLog:
    """A log daemon that does not read for a while."""

    def __init__(self, desktop):
        self._path = str(desktop.sandbox.directory / "log")
        self._lock = desktop.log._lock  # its reader waits at it

    def __enter__(self):
        self._lock.acquire()
        self._senders = []
        while self._add_sender():
            pass

    def _add_sender(self):
        """Sends what one socket may have under way; whether there was room for any."""
        sender = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_NONBLOCK)
        self._senders.append(sender)
        sent = 0
        try:
            while True:
                sender.sendto(FILLER, self._path)
                sent += 1
        except BlockingIOError:
            return sent > 0

    def __exit__(self, *_):
        self._lock.release()
        for sender in self._senders:
            sender.close()


def test_a_stuck_log_delays_boxes_and_loses_nothing(desktop):
    program = desktop.start_polling_program()
    desktop.service.report("Stays")
    desktop.person.wait_for_box("Stays")
    before = looks(desktop)
    with StuckLog(desktop):
        desktop.service.report("Late")
        desktop.service.wait_for("event published", 2)
        assert not desktop.person.windows("Late")
        assert program.is_running()
    desktop.person.wait_for_box("Late")
    desktop.service.withdraw("Late")
    desktop.person.wait_until_gone("Late")
    assert looks(desktop) == before
    assert desktop.log.messages("present_error_box begin; printer=Late")


def test_a_stuck_log_is_nothing_to_a_program_that_logs_nothing(start_desktop):
    desktop = start_desktop(log_level=None)
    desktop.start_program()
    desktop.service.wait_for_replies(3, deadline=20)
    with StuckLog(desktop):
        desktop.service.report("A")
        desktop.person.click(desktop.person.wait_for_box("A"), "Retry")
        assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]


def test_a_log_that_is_gone_is_done_without(desktop):
    desktop.start_polling_program()
    desktop.log.close()
    desktop.sandbox.log_socket.close()
    for printer in ("A", "B"):
        desktop.service.report(printer)
        desktop.person.click(desktop.person.wait_for_box(printer), "Retry")
        desktop.person.wait_until_gone(printer)
    assert len(desktop.service.wait_for_commands(2)) == 2


# ---- The configuration file ---------------------------------------------------------------------

@pytest.mark.parametrize("kind", ["directory", "loop", "endless", "no newline"])
def test_a_configuration_that_is_no_text_is_as_good_as_none(desktop, kind):
    desktop.start_polling_program()
    path = desktop.sandbox.etc / CONFIGURATION
    path.unlink()
    if kind == "directory":
        path.mkdir()
    elif kind == "no newline":
        path.write_bytes(b"diagnostics.level = 2" + b" " * (20 << 20))
    else:
        path.symlink_to({"loop": path.name, "endless": "/dev/zero"}[kind])
    for printer in ("A", "B"):
        desktop.service.report(printer)
        desktop.person.wait_for_box(printer)
    silence = desktop.log.count()
    desktop.service.wait_for_replies(3)
    assert desktop.log.count() == silence


# ---- The data directory -------------------------------------------------------------------------

def close_directory(data):
    data.chmod(0)


def put_file_in_place(data):
    data.rename(data.with_name("away"))
    data.write_text("no directory")


def put_loop_in_place(data):
    data.rename(data.with_name("away"))
    data.symlink_to(data.name)


def put_directory_in_place_of_file(data):
    (data / BOX_FILE).unlink()
    (data / BOX_FILE).mkdir()


@pytest.mark.parametrize("spoil", [close_directory, put_file_in_place, put_loop_in_place,
                                   put_directory_in_place_of_file])
def test_an_unreadable_data_directory_costs_boxes_only_while_it_is_unreadable(desktop, spoil):
    if spoil is close_directory and os.geteuid() == 0:
        pytest.skip("nothing is unreadable to root")
    path = desktop.copy_program()
    data = path.parent / "Data"
    content = (data / BOX_FILE).read_bytes()
    desktop.start_polling_program(path=path)
    desktop.service.report("Stays")
    desktop.person.wait_for_box("Stays")
    before = looks(desktop)
    spoil(data)
    desktop.service.report("Late")
    desktop.log.wait_for(NOT_LOADED, 3)  # it is tried with each status
    assert looks(desktop) == before
    if spoil is close_directory:
        data.chmod(0o755)
    elif spoil is put_directory_in_place_of_file:
        (data / BOX_FILE).rmdir()
        (data / BOX_FILE).write_bytes(content)
    else:
        data.unlink()
        data.with_name("away").rename(data)
    desktop.person.wait_for_box("Late")
    assert before < looks(desktop)


# ---- The clock ----------------------------------------------------------------------------------

@pytest.mark.parametrize("jump", [-20 * 365 * 86400, -3600, 10 * 365 * 86400])
def test_a_clock_that_jumps_changes_nothing(desktop, jump):
    offset = desktop.sandbox.directory / "clock"
    environment = preloaded("other_clock") | {"ZOR_CLOCK_OFFSET": str(offset)}
    program = desktop.start_polling_program(environment=environment)
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    fresh = offset.with_suffix(".new")
    fresh.write_text(str(jump))
    fresh.rename(offset)
    said = desktop.sandbox.run(["date", "+%s"], environment=environment)[1]
    assert abs(int(said) - time.time() - jump) < 60  # the clock has jumped
    Visitor(desktop).call("a jump of the clock")
    assert program.is_running()
    desktop.person.click(box, "Retry")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]


# ---- The desktop --------------------------------------------------------------------------------

@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM])
def test_the_end_of_the_x_server_ends_the_program_with_a_message(desktop, number):
    program = desktop.start_polling_program()
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
    problem = "lost the connection to the X server"
    program.expect_problem(problem)
    desktop.x_server.send_signal(number)
    assert program.wait_for_end() == 1
    desktop.log.wait_for(f"terminating: {problem}")
    assert program.stderr().count(problem) == 1


def test_a_stopped_x_server_is_waited_for_without_spinning(desktop):
    program = desktop.start_polling_program()
    visitor = Visitor(desktop)
    desktop.x_server.send_signal(signal.SIGSTOP)
    printer = visitor.report()
    desktop.log.wait_for("present_error_box begin; printer=" + printer)
    computed = processor_seconds(desktop, program)
    time.sleep(1)  # the time over which is measured
    assert processor_seconds(desktop, program) - computed < 0.5
    desktop.x_server.send_signal(signal.SIGCONT)
    visitor.expect_box(printer)


def test_the_end_of_the_window_manager_leaves_boxes_answerable(desktop):
    desktop.start_polling_program()
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
    desktop.window_manager.kill()
    wait_until(lambda: desktop.person.wait_for_box("A").root.all("label"), "its name, without a title")
    desktop.settle()  # the rest of the box makes room
    desktop.person.click(desktop.person.wait_for_box("A"), "Retry")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]


def test_the_end_of_the_session_bus_ends_the_program_with_the_session(desktop):
    program = desktop.start_polling_program()
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
    desktop.bus.kill()
    assert program.wait_for_end() == -signal.SIGTERM
