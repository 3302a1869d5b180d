"""The helpers do what the other tests rely on."""

import os
import pathlib
import signal
import socket

import pytest
from PIL import Image

from harness.desktop import Desktop, Settings
from harness.process import Here
from harness.program import Program
from harness.sandbox import Sandbox, SandboxError
from harness.service import Line, Service, quote, unquote
from harness.system_log import SystemLog
from harness.waiting import DeadlineMissed, wait_until


@pytest.fixture
def sandbox():
    sandbox = Sandbox()
    yield sandbox
    sandbox.close()


# ---- Waiting ------------------------------------------------------------------------------------

def test_waiting_returns_the_first_true_result():
    results = iter([None, [], "seen", "late"])
    assert wait_until(lambda: next(results), "anything") == "seen"


def test_a_missed_deadline_says_what_was_waited_for():
    with pytest.raises(DeadlineMissed, match="the moon"):
        wait_until(lambda: False, "the moon", deadline=0.02)


# ---- The sandbox --------------------------------------------------------------------------------

def test_a_process_beside_the_test_is_like_one_inside():
    place = Here()
    process = place.start(["sh", "-c", "read word; echo got $word; echo oops >&2; exec sleep 1000"])
    process.write(b"hello\n")
    wait_until(process.stdout, "its answer")
    assert (process.stdout(), process.stderr(), process.poll()) == (b"got hello\n", b"oops\n", None)
    assert process.kill() == -signal.SIGKILL


def test_the_network_inside_is_a_loopback_of_its_own(sandbox):
    with socket.create_server(("127.0.0.1", 0)) as outside:
        connect = ["bash", "-c", f"exec 3<>/dev/tcp/127.0.0.1/{outside.getsockname()[1]}"]
        assert sandbox.run(connect)[0] != 0
    listener = sandbox.start(["python3", "-c", "import socket; s = socket.create_server(("
                              "'127.0.0.1', 1753)); print('ready', flush=True); s.accept()"])
    wait_until(listener.stdout, "a listener")
    assert sandbox.run(["bash", "-c", "exec 3<>/dev/tcp/127.0.0.1/1753"])[0] == 0
    assert listener.wait() == 0


def test_the_configuration_file_inside_is_the_tests_own(sandbox):
    path = "/etc/zor-card-printer.conf"
    assert sandbox.run(["test", "-e", path])[0] == 1
    (sandbox.etc / "zor-card-printer.conf").write_text("inside only")
    assert sandbox.run(["cat", path])[1] == b"inside only"
    assert not os.path.exists(path) or pathlib.Path(path).read_text() != "inside only"
    assert sandbox.run(["cat", "/etc/passwd"])[1] == pathlib.Path("/etc/passwd").read_bytes()


def test_nothing_of_the_machine_can_be_written(sandbox):
    for path in ("/usr/x", str(pathlib.Path(__file__).with_suffix(".x")), "/var/tmp/x"):
        assert sandbox.run(["touch", path])[0] != 0
    assert sandbox.run(["touch", "/tmp/x-of-a-sandbox"])[0] == 0
    assert not os.path.exists("/tmp/x-of-a-sandbox")


def test_closing_a_sandbox_ends_what_detached_itself_in_it():
    sandbox = Sandbox()
    mark = f"987{os.getpid()}"
    sandbox.run(["bash", "-c", f"setsid sleep {mark} & disown"])
    wait_until(lambda: any(process["arguments"] == ["sleep", mark]
                           for process in sandbox.processes()), "a detached process")
    directory = sandbox.directory
    sandbox.close()
    assert not directory.exists()
    for path in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        try:
            assert path.read_bytes() != b"sleep\0" + mark.encode() + b"\0"
        except (FileNotFoundError, ProcessLookupError):
            pass


# ---- The log ------------------------------------------------------------------------------------

def test_log_messages_are_split_by_datagram(sandbox):
    log = SystemLog(sandbox.log_socket)
    try:
        sandbox.run(["python3", "-c", "import syslog; syslog.openlog('some_name', syslog.LOG_PID, "
                     "syslog.LOG_USER); syslog.syslog(syslog.LOG_INFO, 'one\\n<14>two'); "
                     "syslog.syslog(syslog.LOG_INFO, 'x' * 100000)"])
        first = log.wait_for("one")[0]
        assert (first.priority, first.identity, first.text) == (14, "some_name", "one\n<14>two")
        assert first.pid > 0
        assert log.wait_for("xxx")[0].text == "x" * 100000
        assert log.messages("one", since=1) == []
        assert log.malformed() == []
    finally:
        log.close()


def test_what_is_no_log_message_is_kept_as_malformed(sandbox):
    log = SystemLog(sandbox.log_socket)
    try:
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
            sender.sendto(b"garbage", str(sandbox.directory / "log"))
        wait_until(log.malformed, "the garbage")
        assert log.malformed() == [b"garbage"]
    finally:
        log.close()


# ---- The service --------------------------------------------------------------------------------

@pytest.mark.parametrize("data", [b"", b"Front desk", b'a "b" \\ c\n\r\t', bytes(range(1, 256))])
def test_quoting_is_undone_by_unquoting(data):
    assert unquote(quote(data)) == data


def test_a_line_of_the_service_is_words_and_fields():
    line = Line.parse(r'request command connection=3 printer="a b=\"c\"" action=102 text="1\n\x41"')
    assert line.words == "request command"
    assert line.fields == {"connection": "3", "printer": b'a b="c"', "action": "102",
                           "text": b"1\nA"}
    assert line.time is None
    assert Line.parse("1234 settings hold_ms=5") == Line("settings", {"hold_ms": "5"}, 1234)


def test_the_service_is_as_strict_as_it_is_told_when_the_call_returns(sandbox):
    service = Service(sandbox)
    for change, now in [(lambda: service.retell(False), ("off", "0", "0")),
                        (lambda: service.hold(1500), ("off", "1500", "0")),
                        (lambda: service.carry_out(600.0), ("off", "1500", "600")),
                        (lambda: service.retell(True), ("on", "1500", "600"))]:
        change()
        settings = service.lines("settings")[-1].fields
        assert (settings["retell"], settings["hold_ms"], settings["carry_out_ms"]) == now


# ---- The desktop and the person -----------------------------------------------------------------

@pytest.mark.parametrize("window_manager, screen", [
    ("openbox", "800x600"), ("metacity", "3840x2160"), ("xfwm4", "1920x1080"), (None, "800x600")])
def test_a_desktop_is_as_asked_for(start_desktop, window_manager, screen):
    desktop = start_desktop(screen=screen, window_manager=window_manager, service=False)
    assert desktop.person.window_manager().lower() == (window_manager or "")
    width, height = map(int, screen.split("x"))
    assert desktop.person.screen_size() == (width, height)
    picture = desktop.sandbox.directory / "picture.png"
    desktop.person.take_screenshot(picture)
    with Image.open(picture) as image:
        assert image.size == (width, height)


def test_the_text_scale_and_theme_reach_programs(start_desktop):
    desktop = start_desktop(text_scale=2, theme="HighContrast", service=False)
    status, output, errors = desktop.sandbox.run(
        ["/usr/bin/python3", "-c", "import gi; gi.require_version('Gtk', '3.0')\n"
         "from gi.repository import Gtk\nprint(Gtk.Settings.get_default().props.gtk_xft_dpi, "
         "__import__('os').environ['GTK_THEME'])"])
    assert (status, output, errors) == (0, b"196608 HighContrast\n", b"")


# ---- What fails a test at its end ---------------------------------------------------------------

class ProgramStandIn(Program):
    """A program that says something on standard error and ends with a status."""

    def __init__(self, sandbox, message, status):
        super().__init__(sandbox, "/bin/sh", ["-c", f"printf '{message}' >&2; exit {status}"], None)


def test_a_warning_on_standard_error_is_a_problem_unless_it_is_expected(sandbox):
    program = ProgramStandIn(sandbox, "(x:1): Gtk-WARNING **: 01:02:03.004: bad", 0)
    program.wait_for_end()
    assert program.finish() == ["(x:1): Gtk-WARNING **: 01:02:03.004: bad"]
    program.expect_problem("Gtk-WARNING .* bad")
    assert program.finish() == []


def test_an_end_that_nobody_expects_is_a_problem(sandbox):
    program = ProgramStandIn(sandbox, "", 3)
    wait_until(lambda: not program.is_running(), "the end")
    assert "ended with 3" in program.finish()[0]
    assert program.wait_for_end() == 3
    assert program.finish() == []


def test_a_desktop_that_cannot_start_leaves_nothing_behind(tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    monkeypatch.setattr("tempfile.tempdir", None)
    with pytest.raises(SandboxError):
        Desktop(Settings(window_manager="/no/such/window-manager", service=False), "name")
    assert list(tmp_path.iterdir()) == []
