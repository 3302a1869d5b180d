"""The installed program in a session: started once, kept alive, ended with the session.

A real systemd user manager keeps the program, where one can run (see with-cgroup).
"""

import configparser
import os
import pathlib
import re
import shlex
import signal
import subprocess
import time

import pytest

from support import (
    NAME, RETRY, SIMULATOR, answer_an_error, command_document, install, person,
    press_first_button, run, simulated_service, wait_until)

PRINTER = "Front Desk"


@pytest.fixture(scope="module", name="prefix")
def fixture_prefix(tmp_path_factory):
    # A path that every file which names it has to quote.
    return install(tmp_path_factory.mktemp("prefix") / "a place with blanks")


@pytest.fixture(name="service")
def fixture_service(prefix):
    with simulated_service([prefix / "bin" / SIMULATOR]) as service:
        yield service


def autostart_command(prefix):
    entry = configparser.ConfigParser(interpolation=None)
    entry.read(prefix / "etc/xdg/autostart" / f"{NAME}.desktop")
    return shlex.split(entry["Desktop Entry"]["Exec"])


class UserManager:
    """A systemd user manager with a graphical session, in which the unit is enabled."""

    SESSION = "test-session.target"

    def __init__(self, prefix):
        os.makedirs("/run/systemd/system", exist_ok=True)  # what systemd takes as its own machine
        units = pathlib.Path.home() / ".config/systemd/user"
        units.mkdir(parents=True, exist_ok=True)
        # As the sessions of small window managers do it.
        (units / self.SESSION).write_text("[Unit]\nBindsTo=graphical-session.target\n")
        # Debian's own starts a second session bus, and gives it to units at a moment of its own.
        run("ln", "-sf", "/dev/null", units / "dbus.socket")
        environment = dict(os.environ, SYSTEMD_UNIT_PATH=f"{units}:{prefix}/lib/systemd/user:")
        self.process = subprocess.Popen(["/lib/systemd/systemd", "--user"], env=environment)
        private_socket = pathlib.Path(os.environ["XDG_RUNTIME_DIR"]) / "systemd/private"
        wait_until(private_socket.exists, "the user manager")
        wait_until(lambda: self.show("Version", "") != "", "the user manager's readiness")
        self.systemctl("enable", NAME)
        self.systemctl("import-environment", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS")
        self.systemctl("start", self.SESSION)

    def systemctl(self, *arguments):
        return run("systemctl", "--user", *arguments)

    def show(self, name, *unit):
        unit = [word for word in unit or [NAME] if word]
        done = subprocess.run(["systemctl", "--user", "show", "--value", "-p", name, *unit],
                              capture_output=True, text=True)
        return done.stdout.strip()

    def main_pid(self):
        return int(self.show("MainPID") or 0)

    @property
    def starts(self):
        return 1 + int(self.show("NRestarts"))

    def end_session(self):
        self.systemctl("stop", self.SESSION)

    def stop(self):
        self.systemctl("exit")
        self.process.wait(60)


def can_run_user_manager():
    # Root may write to the groups of the whole machine, too.
    return os.getuid() != 0 and os.access("/sys/fs/cgroup/cgroup.procs", os.W_OK)


needs_user_manager = pytest.mark.skipif(
    not can_run_user_manager(),
    reason="no control group of its own: a systemd user manager cannot run here")


@pytest.fixture(name="manager")
def fixture_manager(prefix):
    manager = UserManager(prefix)
    yield manager
    manager.stop()


def error_of(service, job):
    service.report(PRINTER, job, 110, 3, "Print ribbon out or missing.")
    person().wait_for_window(PRINTER, 60)


def check_answer(service, job, count=1):
    press_first_button(PRINTER)
    assert service.wait_for_commands(count)[-1] == command_document(PRINTER, RETRY, job)


@needs_user_manager
def test_box_is_back_after_the_program_was_killed(manager, service):
    error_of(service, "17")
    killed, killed_at = manager.main_pid(), time.monotonic()
    os.kill(killed, signal.SIGKILL)
    person().wait_until_gone(PRINTER)
    wait_until(lambda: manager.main_pid() not in (0, killed), "another start", 30)
    # After the unit's pause: what ends at its start must not spin.
    assert int(manager.show("ExecMainStartTimestampMonotonic")) / 1e6 >= killed_at + 10
    person().wait_for_window(PRINTER, 30)
    assert manager.starts == 2
    check_answer(service, "17")


@needs_user_manager
def test_error_that_ends_the_program_leaves_it_alive_afterwards(manager, service):
    answer_an_error(service)
    service.report("Back Office", "4", 111, "high", "A severity that is no number.")
    wait_until(lambda: manager.starts >= 3, "two starts after the first one", 60)
    assert manager.show("ExecMainStatus") in ("6", "0")
    service.withdraw("Back Office", "4")
    error_of(service, "18")
    check_answer(service, "18", 2)
    assert manager.show("ActiveState") == "active"


@needs_user_manager
def test_unit_runs_the_program_with_its_rights_cut(manager, service):
    pid = wait_until(manager.main_pid, "the program")
    error_of(service, "17")
    # Newer systems have images read by a process of its own, in a sandbox where they get one.
    assert person().wait_for_box(PRINTER).icon.image_size == [54, 54]
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    assert re.search(r"^NoNewPrivs:\s*1$", status, re.M)
    assert re.search(r"^Seccomp:\s*2$", status, re.M)
    assert re.search(r"^Umask:\s*0077$", status, re.M)
    assert re.search(r"^Max core file size\s+0\s+0\s",
                     pathlib.Path(f"/proc/{pid}/limits").read_text(), re.M)


@needs_user_manager
def test_program_ends_with_the_session_and_does_not_hold_it(manager, service):
    answer_an_error(service)
    pid = manager.main_pid()
    manager.end_session()
    wait_until(lambda: not pathlib.Path(f"/proc/{pid}").exists(), "the end of the program")
    wait_until(lambda: manager.show("ActiveState", "graphical-session.target") == "inactive",
               "the end of the graphical session")
    assert manager.show("Result") == "success"
    assert manager.main_pid() == 0


@needs_user_manager
def test_terminated_program_stays_ended(manager, service):
    answer_an_error(service)
    os.kill(manager.main_pid(), signal.SIGTERM)
    wait_until(lambda: manager.show("ActiveState") == "inactive", "the end of the unit")


@needs_user_manager
def test_user_restarts_stops_and_bars_the_program(manager, service):
    answer_an_error(service)
    first = manager.main_pid()
    manager.systemctl("restart", NAME)
    assert manager.main_pid() not in (0, first)
    answer_an_error(service, "Back Office")
    manager.systemctl("stop", NAME)
    assert manager.show("ActiveState") == "inactive"
    manager.systemctl("mask", NAME)
    try:
        barred = subprocess.run(["systemctl", "--user", "start", NAME], capture_output=True,
                                text=True)
        assert barred.returncode != 0 and "masked" in barred.stderr
    finally:
        manager.systemctl("unmask", NAME)
    manager.systemctl("start", NAME)
    answer_an_error(service, "Cash Desk")


@needs_user_manager
def test_autostart_entry_beside_the_unit_makes_no_second_program(manager, prefix, service):
    answer_an_error(service)
    second = subprocess.run(autostart_command(prefix), timeout=60)
    assert second.returncode == 0
    answer_an_error(service, "Back Office")
    assert manager.starts == 1


@needs_user_manager
def test_unit_beside_the_autostart_entry_makes_no_second_program(prefix, service):
    first = subprocess.Popen(autostart_command(prefix))
    try:
        answer_an_error(service)
        manager = UserManager(prefix)
        try:
            # Status 0 ends the unit for good: no start follows.
            wait_until(lambda: manager.show("ExecMainExitTimestampMonotonic") != "0",
                       "the end of the second start", 30)
            wait_until(lambda: manager.show("ActiveState") == "inactive", "the end of the unit")
            assert (manager.show("ExecMainStatus"), manager.starts) == ("0", 1)
            answer_an_error(service, "Back Office")
        finally:
            manager.stop()
    finally:
        first.terminate()
        assert first.wait(60) == -signal.SIGTERM
