"""The installed program in a session: started once, kept alive, ended with the session.

A real systemd user manager keeps the program where one can run (see with-cgroup). A small
supervisor that goes by the same unit file does so everywhere.
"""

import configparser
import os
import pathlib
import re
import shlex
import signal
import subprocess
import threading
import time

import pytest

from support import (
    NAME, SIMULATOR, answer_an_error, boxes, install, press_first_button, run,
    simulated_service, wait_for)

PRINTER = "Front Desk"


@pytest.fixture(scope="module", name="prefix")
def fixture_prefix(tmp_path_factory):
    # A path that every file which names it has to quote.
    return install(tmp_path_factory.mktemp("prefix") / "a place with blanks")


@pytest.fixture(name="service")
def fixture_service(prefix):
    with simulated_service([prefix / "bin" / SIMULATOR]) as service:
        yield service


def read_unit(prefix):
    unit = configparser.ConfigParser(interpolation=None, strict=False)
    unit.optionxform = str
    unit.read(prefix / "lib/systemd/user" / f"{NAME}.service")
    return unit


def autostart_command(prefix):
    entry = configparser.ConfigParser(interpolation=None)
    entry.read(prefix / "etc/xdg/autostart" / f"{NAME}.desktop")
    return shlex.split(entry["Desktop Entry"]["Exec"])


class Supervisor:
    """Starts what the unit says and starts it again as the unit says."""

    CLEAN_ENDS = {0, *(-number for number in (
        signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGPIPE))}

    def __init__(self, prefix):
        unit = read_unit(prefix)
        self.command = shlex.split(unit["Service"]["ExecStart"])
        self.pause = float(unit["Service"]["RestartSec"])
        assert unit["Service"]["Restart"] == "on-failure"
        assert unit["Unit"]["StartLimitIntervalSec"] == "0"  # a limit is not played here
        self.starts = 0
        self.process = None
        self.stopping = threading.Event()
        self.thread = threading.Thread(target=self._keep)
        self.thread.start()

    def _keep(self):
        while not self.stopping.is_set():
            self.process = subprocess.Popen(self.command, stderr=subprocess.DEVNULL)
            self.starts += 1
            if self.process.wait() in self.CLEAN_ENDS:
                return
            self.stopping.wait(self.pause)

    def main_pid(self):
        return self.process.pid if self.process and self.process.poll() is None else 0

    def stop(self):
        self.stopping.set()
        if self.process and self.process.poll() is None:
            self.process.terminate()
        self.thread.join()


class UserManager:
    """A systemd user manager with a graphical session, in which the unit is enabled."""

    SESSION = "test-session.target"

    def __init__(self, prefix):
        os.makedirs("/run/systemd/system", exist_ok=True)  # what systemd takes as its own machine
        units = pathlib.Path.home() / ".config/systemd/user"
        units.mkdir(parents=True, exist_ok=True)
        # As the sessions of small window managers do it.
        (units / self.SESSION).write_text("[Unit]\nBindsTo=graphical-session.target\n")
        environment = dict(os.environ, SYSTEMD_UNIT_PATH=f"{units}:{prefix}/lib/systemd/user:")
        self.process = subprocess.Popen(["/lib/systemd/systemd", "--user"], env=environment)
        private_socket = pathlib.Path(os.environ["XDG_RUNTIME_DIR"]) / "systemd/private"
        wait_for("the user manager", private_socket.exists)
        wait_for("the user manager's readiness", lambda: self.show("Version", "") != "")
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
    return os.access("/sys/fs/cgroup/cgroup.procs", os.W_OK)


needs_user_manager = pytest.mark.skipif(
    not can_run_user_manager(),
    reason="no writable control group: a systemd user manager cannot run here")


@pytest.fixture(name="manager")
def fixture_manager(prefix):
    manager = UserManager(prefix)
    yield manager
    manager.stop()


@pytest.fixture(name="keeper", params=[
    pytest.param(UserManager, marks=needs_user_manager), Supervisor])
def fixture_keeper(request, prefix):
    keeper = request.param(prefix)
    yield keeper
    keeper.stop()


def test_box_is_back_after_the_program_was_killed(keeper, prefix, service):
    mark = service.command(f'error "{PRINTER}" 17 110 3 Print ribbon out or missing.')
    wait_for("the box", lambda: boxes(PRINTER), 30)
    killed = wait_for("the program", keeper.main_pid)
    killed_at = time.monotonic()
    os.kill(killed, signal.SIGKILL)
    wait_for("the end of the box", lambda: not boxes(PRINTER))
    wait_for("another start", lambda: keeper.main_pid() not in (0, killed), 30)
    pause = float(read_unit(prefix)["Service"]["RestartSec"])
    assert time.monotonic() - killed_at > pause - 1
    wait_for("the box again", lambda: boxes(PRINTER), 30)
    assert keeper.starts == 2
    press_first_button(PRINTER)
    service.wait_for_line("^request command .*=retry ", mark)


@needs_user_manager
def test_error_that_ends_the_program_leaves_it_alive_afterwards(manager, service):
    answer_an_error(service)
    service.command('error "Back Office" 4 111 high A severity that is no number.')
    wait_for("two starts after the first one", lambda: manager.starts >= 3, 60)
    assert manager.show("ExecMainStatus") in ("6", "0")
    mark = service.command('clear "Back Office" 4')
    service.command(f'error "{PRINTER}" 18 110 3 Print ribbon out or missing.')
    wait_for("the box of the next error", lambda: boxes(PRINTER), 60)
    press_first_button(PRINTER)
    service.wait_for_line('^request command .* job="18" .*=retry ', mark)
    assert manager.show("ActiveState") == "active"


@needs_user_manager
def test_unit_runs_the_program_with_its_rights_cut(manager, service):
    pid = wait_for("the program", manager.main_pid)
    answer_an_error(service)
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
    wait_for("the end of the program", lambda: not pathlib.Path(f"/proc/{pid}").exists())
    wait_for("the end of the graphical session",
             lambda: manager.show("ActiveState", "graphical-session.target") == "inactive")
    assert manager.show("Result") == "success"
    assert manager.main_pid() == 0


@needs_user_manager
def test_terminated_program_stays_ended(manager, service):
    answer_an_error(service)
    os.kill(wait_for("the program", manager.main_pid), signal.SIGTERM)
    wait_for("the end of the unit", lambda: manager.show("ActiveState") == "inactive")


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


def test_unit_beside_the_autostart_entry_makes_no_second_program(prefix, service):
    first = subprocess.Popen(autostart_command(prefix))
    try:
        answer_an_error(service)
        supervisor = Supervisor(prefix)
        try:
            # Status 0 ends it for good: no start follows.
            wait_for("the end of the second start", lambda: not supervisor.thread.is_alive())
            assert supervisor.process.returncode == 0
            assert supervisor.starts == 1
        finally:
            supervisor.stop()
        answer_an_error(service, "Back Office")
    finally:
        first.terminate()
        assert first.wait(60) == -signal.SIGTERM
