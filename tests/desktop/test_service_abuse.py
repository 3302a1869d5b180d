"""A service that fails in every way: boxes stay as they are, and the next good reply counts.

Where the program's rests of 10 s and its time-outs of 15 s would make a test take hours, they last
a hundredth here (preload/short_rests.c); test_service_faults.py has them at full length.
"""

import signal
import sys

import pytest

from abuse_support import FAILED, Visitor, looks, memory, preloaded, skip_when_sanitized
from harness.waiting import wait_until

MIB_IN_KIB = 1024

# What may sit on the port in the service's place, each with what it does to whoever connects.
STRANGERS = {
    "closes at once": "connection.close()",
    "never says anything": "pass",
    "greets as a mail server does": "connection.sendall(b'220 mail.example.org ESMTP ready\\r\\n')",
    "echoes": "threading.Thread(target=echo, args=[connection], daemon=True).start()",
    "sends zeros without end": "threading.Thread(target=flood, args=[connection, bytes(65536)], "
                               "daemon=True).start()",
    "answers as a web server does": "connection.sendall(b'HTTP/1.0 400 Bad Request\\r\\n\\r\\n'); "
                                    "connection.close()",
}
STRANGER = """
import socket, threading
def echo(connection):
    try:
        while data := connection.recv(65536):
            connection.sendall(data)
    except OSError:
        pass
    connection.close()
def flood(connection, data):
    try:
        while True:
            connection.sendall(data)
    except OSError:
        connection.close()
server = socket.create_server(("127.0.0.1", 1753), backlog=100)
print("ready", flush=True)
kept = []
while True:
    connection, _ = server.accept()
    print("visited", flush=True)
    kept = [*kept[-20:], connection]
    try:
        BEHAVIOUR
    except OSError:
        pass
"""


@pytest.fixture
def start_abused(start_desktop):
    """A desktop with two boxes, a program (with short rests), and what is on the screen."""
    def start(environment=None):
        desktop = start_desktop()
        if environment is None:
            environment = preloaded("short_rests")
        program = desktop.start_polling_program(environment=environment)
        for printer, code, severity in (("Stays 1", 110, 3), ("Stays 2", 111, 4)):
            # One after the other: of two statuses between two ticks only the newer one counts.
            desktop.service.report(printer, "1", code, severity)
            desktop.person.wait_for_box(printer)
        return desktop, program, looks(desktop)
    return start


def failures(desktop, since=0):
    return [message.text.partition(FAILED)[2] for message in desktop.log.messages(FAILED, since)]


def test_a_reply_cut_at_its_seams_costs_one_poll(start_abused):
    desktop, _, before = start_abused()
    desktop.settle()
    size = int(desktop.service.lines("reply status")[-1].fields["size"]) + 8
    visitor = Visitor(desktop)
    for offset in (0, 1, 7, 8, 9, size - 1):
        since = desktop.log.count()
        desktop.service.fault(f"cut {offset} times 1 on status")
        wait_until(lambda mark=since: failures(desktop, mark), f"a cut at {offset}", 30)
        visitor.call(f"a cut at {offset}")
        assert failures(desktop, since) == ["Empty receive."]
    assert looks(desktop) == before


@pytest.mark.parametrize("fault, texts", [
    ("refuse", {"Failed to connect socket."}),
    ("silent times 2", {"Receive failed."}),
    ("garbage bare times 3", {"std::bad_alloc", "std::bad_array_new_length", "Empty receive."}),
    ("garbage 100000 times 3", set()),
    ("empty times 3", set()),
    ("trickle 2ms times 2", set()),
    ("trickle 400ms times 1", {"Receive failed."}),
    ("delay 1s times 3", set()),
    ("cut 50 times 20", {"Empty receive."}),
])
def test_a_service_that_answers_badly_costs_its_replies_only(start_abused, fault, texts):
    if "bare" in fault:
        skip_when_sanitized("its allocator ends the process for such lengths")
    # A delay costs nothing as long as the program waits for it: not in a hurry, then.
    desktop, _, before = start_abused(environment={} if fault.startswith("delay") else None)
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


def test_replies_of_100_mib_are_read_and_forgotten(start_abused):
    desktop, program, before = start_abused(environment={})
    visitor = Visitor(desktop)
    visitor.call("nothing")
    used = memory(desktop, program)
    desktop.configure("diagnostics.level = 1\n")  # not a gigabyte of log
    desktop.service.fault("big 100M times 2 on status")
    desktop.service.wait_for("fault ended", deadline=60)
    desktop.configure("diagnostics.level = 2\n")
    # The second of them is still on its way, and is then quoted as a whole.
    visitor.call("replies of 100 MiB", deadline=60)
    assert not failures(desktop)
    # The C library keeps up to 64 MiB for later; a reply that stayed would be more.
    assert memory(desktop, program) < used + 96 * MIB_IN_KIB
    assert looks(desktop) == before


def test_a_service_that_is_killed_and_started_anew_knows_nothing_and_boxes_stay(start_abused):
    desktop, _, before = start_abused()
    for attempt in range(1, 4):
        end_service(desktop)
        desktop.log.wait_for("Failed to connect socket.", attempt)
        desktop.start_service()
        visitor = Visitor(desktop)
        visitor.count = attempt * 100  # a name that no earlier service has reported
        visitor.call(f"death {attempt}")
    assert looks(desktop) == before


def test_a_service_that_is_stopped_and_continued_goes_on_where_it_was(start_abused):
    desktop, _, before = start_abused()
    service = service_process(desktop)
    visitor = Visitor(desktop)  # one: after a failed poll the service tells all its events again
    for _ in range(3):
        since = desktop.log.count()
        desktop.sandbox.call("send_signal", pid=service, number=signal.SIGSTOP)
        desktop.log.wait_for(FAILED + "Receive failed.", 2, since)
        assert looks(desktop) == before
        desktop.sandbox.call("send_signal", pid=service, number=signal.SIGCONT)
        visitor.call("a stop")
    assert looks(desktop) == before


@pytest.mark.parametrize("behaviour", STRANGERS)
def test_a_stranger_on_the_port_does_no_harm(start_abused, behaviour):
    if "server" in behaviour:
        skip_when_sanitized("its allocator ends the process for the length that this reads as")
    desktop, program, before = start_abused()
    used = memory(desktop, program, "VmHWM")
    end_service(desktop)
    stranger = desktop.sandbox.start(
        [sys.executable, "-c", STRANGER.replace("BEHAVIOUR", STRANGERS[behaviour])])
    wait_until(lambda: stranger.stdout().count(b"visited") >= 10,
               lambda: f"ten visits; {stranger.stdout()} {stranger.stderr()}", deadline=20)
    assert looks(desktop) == before
    stranger.kill()
    desktop.start_service()
    Visitor(desktop).call(f"a stranger that {behaviour}")
    assert memory(desktop, program, "VmHWM") < used + 32 * MIB_IN_KIB
    assert looks(desktop) == before


def service_process(desktop):
    """The number of the newest service's process."""
    return max(process["pid"] for process in desktop.sandbox.processes()
               if process["arguments"] and process["arguments"][0].endswith("-simulator"))


def end_service(desktop):
    desktop.service.say("quit")
    desktop.service.wait_for("ended")
