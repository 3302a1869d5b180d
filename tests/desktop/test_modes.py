"""How the program is started, what it does then, and how it ends."""

import signal

import pytest

from harness.sandbox import build_directory
from harness.service import CANCEL, command_document
from harness.waiting import wait_until

MAIN_WINDOW = "Error UI Window: Temp Main Window for Early Testing"
SIMULATED = "Simulated Error Printer"


def test_without_options_it_detaches_from_the_starting_process(desktop):
    starter = desktop.start_program(fork=True)
    assert starter.wait_for_end() == 0
    desktop.log.wait_for("handling updated status")
    path = str(build_directory() / "zor-card-printer-error-ui")
    detached = [process for process in desktop.sandbox.processes()
                if process["arguments"] == [path]]
    assert len(detached) == 1
    assert detached[0]["session"] == detached[0]["pid"] != starter.pid
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    assert box.window.process == detached[0]["pid"]


def test_unknown_options_are_ignored_and_do_not_reach_gtk(desktop):
    desktop.start_polling_program("--display=:77", "--g-fatal-warnings", "--help", "word", "-g")


def test_with_a_display_that_is_not_there_it_says_so_and_fails(desktop):
    program = desktop.start_program(environment={"DISPLAY": ":77"})
    problem = "cannot open display: :77"
    program.expect_problem(problem)
    assert program.wait_for_end() == 1
    assert problem in program.stderr()


def test_a_simulated_error_is_shown_once(desktop):
    desktop.start_polling_program("--simulate-error=4x")
    box = desktop.person.wait_for_box(SIMULATED)
    assert box.labels == ["OK", "Cancel"]
    assert box.text.startswith("Message 114: ")
    desktop.person.click(box, "Cancel")
    command = desktop.service.wait_for_commands()[0]
    assert command == command_document(SIMULATED, CANCEL, "123", 114)
    desktop.person.wait_until_gone(SIMULATED)
    desktop.settle()
    assert desktop.person.windows() == []


@pytest.mark.parametrize("code, severity, text", [("x", "3", "x"), ("110", "", "")])
def test_a_code_or_severity_that_is_no_number_ends_the_program_with_its_reason(
        desktop, code, severity, text):
    program = desktop.start_polling_program()
    program.expect_problem("terminate called|what\\(\\)")
    desktop.service.publish(
        f"<PrinterStatus><PrinterName>A</PrinterName><PrinterJobID>1</PrinterJobID>"
        f"<ErrorCode>{code}</ErrorCode><ErrorSeverity>{severity}</ErrorSeverity></PrinterStatus>")
    assert program.wait_for_end() == -signal.SIGABRT
    assert f"Failed to parse {text}." in program.stderr()
    desktop.log.wait_for(f"Failed to parse {text}.")
    assert desktop.person.windows() == []


@pytest.mark.parametrize("option, count", [((), 5), (("--valgrind-num-boxes=3x",), 3)])
def test_valgrind_mode_shows_its_boxes_and_closes_them_all_at_once(desktop, option, count):
    desktop.start_program("--valgrind", *option)
    desktop.log.wait_for("present_error_box end", count,
                         deadline=20 + count)
    shown = [message.text.split("printer=")[1].split(" job=")[0]
             for message in desktop.log.messages("present_error_box begin")]
    assert shown == [f"fake{n} severity={n % 4 + 1}" for n in range(1, count + 1)]
    wait_until(lambda: [window.title for window in desktop.person.windows()] == [MAIN_WINDOW],
               "only the main window", 20)
    desktop.settle()
    assert len(desktop.log.messages("present_error_box begin")) == count
    assert desktop.service.commands() == []


def test_the_main_window_is_shown_only_when_asked_for(desktop):
    desktop.start_polling_program()
    assert desktop.person.windows() == []
    shown = desktop.start_program("--show-main-window",
                                  environment={"DBUS_SESSION_BUS_ADDRESS": "unix:path=/none"})
    shown.expect_problem("WARNING")  # there is no such session bus
    window = desktop.person.wait_for_window(MAIN_WINDOW)
    assert (window.client.width, window.client.height) == (200, 200)


def test_closing_the_main_window_ends_the_program_cleanly(desktop):
    program = desktop.start_polling_program("--show-main-window")
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
    desktop.person.request_close(desktop.person.wait_for_window(MAIN_WINDOW))
    assert program.wait_for_end() == 0
    assert desktop.log.wait_for("end; exit_code=0")
    assert desktop.person.windows() == []


@pytest.mark.parametrize("first_options", [(), ("--show-main-window",)])
def test_a_second_start_leaves_everything_to_the_first(desktop, first_options):
    first = desktop.start_polling_program(*first_options)
    desktop.settle()
    threads, windows = first.threads(), len(desktop.person.windows())
    for _ in range(3):
        assert desktop.start_program("--show-main-window").wait_for_end() == 0
    desktop.settle()
    assert len(desktop.person.windows()) == windows
    assert first.threads() <= threads  # GLib ends idle ones of its own
    assert len(desktop.log.messages("printer_io_thread_proc begin")) == 1
    desktop.service.report("A")
    desktop.person.wait_for_box("A")


def test_the_log_follows_the_configuration_while_the_program_runs(start_desktop):
    desktop = start_desktop(log_level=None)
    desktop.start_program()
    desktop.service.report("A")
    desktop.person.click(desktop.person.wait_for_box("A"), "Cancel")
    desktop.service.wait_for_commands()
    assert desktop.log.messages() == []

    desktop.configure("diagnostics.level=1\n")
    desktop.service.report("B")
    desktop.person.wait_for_box("B")
    desktop.log.wait_for("present_error_box end")
    desktop.service.wait_for_replies(3)
    assert desktop.log.messages("handling updated status") == []

    desktop.configure("diagnostics.level=2\n", in_place=True)
    desktop.log.wait_for("handling updated status")
    desktop.configure("diagnostics.level=0\n")
    desktop.service.wait_for_replies(3)  # what was being written is out
    since = desktop.log.count()
    desktop.service.wait_for_replies(3)
    assert desktop.log.messages(since=since) == []


def test_every_log_message_names_program_process_and_place(desktop):
    program = desktop.start_polling_program()
    desktop.settle()
    for message in desktop.log.messages():
        assert (message.priority, message.identity, message.pid) == (
            14, "zor_card_printer_gui", program.pid)
        place, _, rest = message.text.partition(":")
        assert place.startswith(("zor", "gui_")), message.text
        line, function, _ = (rest + " ").split(" ", 2)
        assert line.isdecimal(), message.text
        assert function.strip("~").isidentifier() or function == "operator()", message.text
