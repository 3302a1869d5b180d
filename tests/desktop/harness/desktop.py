"""One desktop session in a sandbox: X server, session bus, window manager, service, program."""

import dataclasses
import os
import pathlib
import re
import shutil

from .person import Person
from .pictures import find_color
from .program import Program
from .sandbox import Sandbox, build_directory
from .service import Service
from .system_log import SystemLog
from .waiting import wait_until

WINDOW_MANAGERS = ("openbox", "metacity", "xfwm4")
COMMANDS = {"i3": ["i3", "-c", "/dev/null"]}  # with the settings that it has by itself
STANDARD_DPI = 96
HANDLED = "handling updated status"  # the program's line for each status that reached its boxes


@dataclasses.dataclass(frozen=True)
class Settings:
    """What a desktop is like."""
    screen: str = "1920x1080"
    window_manager: str | None = "openbox"
    theme: str | None = None      # a GTK theme's name
    text_scale: float = 1
    log_level: int | None = 2     # None: no configuration file
    service: bool = True          # whether the printer service runs from the start
    replaced: dict | None = None  # see Sandbox
    compositor: str | None = None  # a Wayland compositor; see compositor.py
    scale: float = 1              # kwin's
    monitors: tuple = ("800x600",)  # of mutter, which has no screen; small ones are soon drawn
    native: bool = False          # whether programs keep off the X server beside it


class Desktop:
    """Everything that a test needs; finish() ends it and tells what went wrong by itself."""

    def __init__(self, settings, name):
        self.settings = settings
        self.name = name
        self.programs = []
        self.service = None
        self._pictures = 0
        self.sandbox = Sandbox(settings.replaced)
        try:
            self.log = SystemLog(self.sandbox.log_socket)
            self._start_session()
        except BaseException:
            self.sandbox.close()
            raise

    def _start_session(self):
        settings = self.settings
        self.person = Person(self.sandbox)
        self.x_server = self.sandbox.start(
            ["Xvfb", "-displayfd", "1", "-screen", "0", f"{settings.screen}x24", "-nolisten",
             "tcp", "-noreset", "-dpi", STANDARD_DPI])
        self.bus = self.sandbox.start(
            ["dbus-daemon", "--session", "--nofork", "--print-address=1",
             f"--address=unix:path={self.sandbox.runtime}/bus"])
        if settings.service:
            self.start_service()
        if settings.log_level is not None:
            self.configure(f"diagnostics.level = {settings.log_level}\n")
        self.display = ":" + self._first_line(self.x_server)
        self.sandbox.environment |= {
            "DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": self._first_line(self.bus)}
        if settings.theme:
            self.sandbox.environment["GTK_THEME"] = settings.theme
        self.person.connect(self.display, self.sandbox.environment["DBUS_SESSION_BUS_ADDRESS"])
        self.person.set_dots_per_inch(int(STANDARD_DPI * settings.text_scale))
        if settings.window_manager:
            self.window_manager = self.sandbox.start(
                COMMANDS.get(settings.window_manager, [settings.window_manager]))
            wait_until(self.person.window_manager, "the window manager", deadline=30)

    def _first_line(self, process):
        """What a process says when it is ready."""
        line = wait_until(lambda: b"\n" in process.stdout() and process.stdout(),
                          lambda: f"{process.name}: {process.stderr().decode()}")
        return line.decode().strip()

    # ---- Parts ----------------------------------------------------------------------------------

    def configure(self, text, in_place=False):
        """Writes the program's configuration file, by rename or in place; None removes it."""
        path = self.sandbox.etc / "zor-card-printer.conf"
        if text is None:
            path.unlink()
        elif in_place:
            path.write_text(text)
        else:
            new = path.with_suffix(".new")
            new.write_text(text)
            new.rename(path)

    def start_service(self):
        self.service = Service(self.sandbox)
        return self.service

    def start_program(self, *arguments, path=None, environment=None, fork=False, directory=None):
        """Starts the program, which stays in the foreground unless it is to fork."""
        arguments = arguments if fork else ("--no-fork", *arguments)
        program = Program(self.sandbox, path or build_directory() / "zor-card-printer-error-ui",
                          arguments, environment, directory)
        self.programs.append(program)
        return program

    def start_polling_program(self, *arguments, **more):
        """Starts the program and waits until it has handled its first status."""
        since = self.log.count()
        program = self.start_program(*arguments, **more)
        self.log.wait_for(HANDLED, since=since, deadline=20)
        return program

    def copy_program(self):
        """A copy of the program with data files of its own, to be changed; returns its path."""
        directory = self.sandbox.directory / "copy"
        shutil.copytree(build_directory() / "Data", directory / "Data")
        path = directory / "zor-card-printer-error-ui"
        path.symlink_to(build_directory() / path.name)
        return path

    def settle(self, rounds=3):
        """Waits until all that the service has said so far has reached the boxes.

        What was not seen by then does not come: some more statuses have been fetched and handled.
        """
        self.service.wait_for_replies(rounds)
        self.log.wait_for(HANDLED, rounds, since=self.log.count())

    # ---- What the tests of all desktops share -----------------------------------------------------

    def press(self, *keys):
        self.person.press(*keys)

    def type_text(self, text, pace):
        self.person.type_text(text, pace)

    def boxes(self):
        """The message boxes as the screen reader has them."""
        process = self.programs[-1].pid
        return [root for root in self.person.accessible_windows(process) if root.role == "alert"]

    def focused(self):
        """What of the boxes has the keyboard: (title, name or role) of each."""
        return [(box.name, part.name or part.role) for box in self.boxes()
                if "active" in box.states for part in box.all() if "focused" in part.states]

    # ---- Evidence -------------------------------------------------------------------------------

    def take_screenshot(self, name=None):
        """Leaves a picture of the screen in the folder for screenshots; returns its path."""
        self.person.take_screenshot(self.sandbox.directory / "screenshot.png")
        return self.keep_picture(self.sandbox.directory / "screenshot.png", name)

    def keep_picture(self, picture, name=None):
        """Leaves a copy of a picture in the folder for screenshots; returns its path."""
        self._pictures += 1
        folder = screenshot_directory()
        folder.mkdir(parents=True, exist_ok=True)
        path = folder / (f"{name or f'{plain(self.name)}-{self._pictures}'}.png")
        shutil.copyfile(picture, path)
        return path

    def find_color(self, color):
        """The part of the screen that holds all of a colour; see pictures.find_color."""
        picture = self.sandbox.directory / "look.png"
        self.person.take_screenshot(picture)
        return find_color(picture, color)

    def keep_evidence(self):
        """Leaves what a failed test saw in the folder for screenshots."""
        folder = screenshot_directory() / "failed" / plain(self.name)
        folder.mkdir(parents=True, exist_ok=True)
        for path in [*self.sandbox.directory.glob("*.out"), *self.sandbox.directory.glob("*.err")]:
            if path.stat().st_size:
                shutil.copyfile(path, folder / path.name)
        (folder / "system-log").write_text(
            "".join(f"[{message.pid}] {message.text}\n" for message in self.log.messages()),
            errors="surrogateescape")
        try:
            self.take_screenshot(folder.relative_to(screenshot_directory()) / "screen")
        except (AssertionError, RuntimeError, OSError) as problem:
            (folder / "no-screenshot").write_text(str(problem))
        return folder

    def finish(self):
        """Ends everything; returns what went wrong without the test noticing."""
        try:
            wrong = [problem for program in self.programs for problem in program.finish()]
            if self.service is not None and self.service.complaints():
                wrong.append(f"the service was told nonsense: {self.service.complaints()}")
            if self.log.malformed():
                wrong.append(f"no syslog messages: {self.log.malformed()}")
            return wrong
        finally:
            self.log.close()
            self.sandbox.close()


def screenshot_directory():
    return pathlib.Path(os.environ.get("ZOR_SCREENSHOT_DIR", build_directory() / "screenshots"))


def plain(name):
    """A file name out of a test's name."""
    return re.sub(r"[^A-Za-z0-9.]+", "-", name).strip("-")
