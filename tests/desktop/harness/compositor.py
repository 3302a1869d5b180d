"""Desktops on Wayland. What is on them is found by the screen reader: no program sees windows there.

A compositor is itself a window of the test's X server, at which the person types. Only mutter runs
without a screen, and is typed at through its interface for remote desktops.
"""

import dataclasses
import json
import sys

import pytest

from .desktop import Desktop
from .editor import Editor
from .pictures import BLACK
from .sandbox import INSIDE
from .waiting import wait_until

# Some refuse to run as root. Xwayland lets people in by the name of its user, so that has one.
NOT_AS_ROOT = ("unshare", "--map-user=65534", "--map-group=65534")
SWAY = "output * mode --custom 1920x1080\nxwayland enable\n"
# KWin 5 has an option for the scale, KWin 6 this file; kdeglobals keeps X programs from scaling.
KWIN_OUTPUTS = """[{"name": "outputs", "data": [{"connectorName": "X11-0", "scale": SCALE}]},
{"name": "setups", "data": [{"lidClosed": false, "outputs":
[{"enabled": true, "outputIndex": 0, "position": {"x": 0, "y": 0}, "priority": 0}]}]}]"""
STANDSTILL = 0.8  # seconds; who is kept from typing for longer has paused
# GTK's own complaint of a window whose title bar it draws itself, when the screen reader looks.
GTK_ON_WAYLAND = "gdk_window_get_origin: assertion 'GDK_IS_WINDOW|^$"


@dataclasses.dataclass(frozen=True)
class Compositor:
    """How one is started inside the X server of the test."""
    command: tuple
    environment: dict = dataclasses.field(default_factory=dict)
    files: dict = dataclasses.field(default_factory=dict)  # in ~/.config
    x_server: bool = True  # whether it runs one beside itself
    # Whether its pointer goes as far as the mouse does, from where it saw the mouse come in. What
    # came in while it started it has not seen.
    relative_pointer: bool = False


COMPOSITORS = {
    "kwin": Compositor(("kwin_wayland", "--x11-display", "{display}", "--width", "1920",
                        "--height", "1080", "--xwayland", "--no-lockscreen", "--scale", "{scale}"),
                       {"KWIN_COMPOSE": "Q"}, {"kwinoutputconfig.json": KWIN_OUTPUTS,
                        "kdeglobals": "[KScreen]\nXwaylandClientsScale=false\n"}),
    "sway": Compositor((*NOT_AS_ROOT, "sway", "--config", "{configuration}/sway"),
                       {"WLR_BACKENDS": "x11", "WLR_RENDERER": "pixman"}, {"sway": SWAY}),
    "weston": Compositor(("weston", "--backend=x11-backend.so", "--use-pixman", "--xwayland",
                          "--width=1920", "--height=1080", "--idle-time=0", "--no-config"),
                         relative_pointer=True),
    # A kiosk: each window fills the screen, and without -d GTK draws its title.
    "cage": Compositor((*NOT_AS_ROOT, "cage", "-d", "--", "sleep", "infinity"),
                       {"WLR_BACKENDS": "x11", "WLR_RENDERER": "pixman"}, x_server=False),
}


class WaylandDesktop(Desktop):
    """One with a compositor. Programs use the X server beside it unless they are to run natively."""

    def __init__(self, settings, name):
        super().__init__(settings, name)
        try:
            self.start_compositor()
        except BaseException:
            self.sandbox.close()
            self.log.close()
            raise

    def start_compositor(self):
        compositor = COMPOSITORS[self.settings.compositor]
        scale = str(self.settings.scale)
        configuration = self.sandbox.home / ".config"
        configuration.mkdir(exist_ok=True)
        for name, text in compositor.files.items():
            (configuration / name).write_text(text.replace("SCALE", scale))
        command = [word.format(display=self.display, configuration=configuration, scale=scale)
                   for word in compositor.command]
        self._start(command, compositor.environment, compositor.x_server)
        # Without a window manager the keys go to the window under the pointer.
        self.person.move_pointer(700, 40)
        wait_until(lambda: self.person.any_window_at(700, 40), "the compositor's window")
        if compositor.relative_pointer:
            everything = (0, 0, *self.person.screen_size())
            wait_until(lambda: self.find_color(BLACK) != everything, "the compositor's first picture")
            self.person.enter_again()

    def _start(self, command, environment, x_server):
        displays = self._x_servers()
        self.compositor = self.sandbox.start(command, name=self.settings.compositor,
                                             environment=environment)
        runtime = self.sandbox.runtime
        wait_until(lambda: list(runtime.glob("wayland-?")),
                   lambda: f"a compositor: {self.compositor.stderr().decode()}")
        self.windows_environment = {"WAYLAND_DISPLAY": next(runtime.glob("wayland-?")).name,
                                    "DISPLAY": None}
        if x_server:
            wait_until(lambda: self._x_servers() - displays, "the X server beside it")
            number = min(self._x_servers() - displays)[1:]
            self.windows_environment["DISPLAY"] = f":{number}"
        if self.settings.native:
            self.windows_environment["GDK_BACKEND"] = "wayland"

    def _x_servers(self):
        return set(self.sandbox.call("list_directory", path="/tmp/.X11-unix"))

    def start_program(self, *arguments, environment=None, **more):
        program = super().start_program(
            *arguments, environment=self.windows_environment | (environment or {}), **more)
        program.expect_problem(GTK_ON_WAYLAND)
        return program


class MutterDesktop(WaylandDesktop):
    """Mutter, the compositor of GNOME, without a screen."""

    def start_compositor(self):
        self.sandbox.start(["pipewire"])  # remote desktops want it
        monitors = [word for size in self.settings.monitors
                    for word in ("--virtual-monitor", size)]
        # Looking for a sound card in vain, it would stand still for seconds at its first sound.
        self._start(["mutter", "--wayland", "--headless", *monitors],
                    {"DISPLAY": None, "CANBERRA_DRIVER": "null"}, x_server=True)
        cookies = ".mutter-Xwaylandauth.*"
        wait_until(lambda: list(self.sandbox.runtime.glob(cookies)), "the X server's cookies")
        self.windows_environment["XAUTHORITY"] = str(next(self.sandbox.runtime.glob(cookies)))
        self._keys = self.sandbox.start([sys.executable, "-Es", INSIDE / "remote_keys.py"])
        wait_until(lambda: b"ready" in self._keys.stdout(),
                   lambda: f"the keyboard: {self._keys.stderr().decode()}")
        self._requests = 0

    def press(self, *keys, pace=0):
        self._requests += 1
        self._keys.write(json.dumps({"keys": keys, "pace": pace}).encode() + b"\n")
        wait_until(lambda: self._keys.stdout().count(b"done") == self._requests,
                   "the end of the typing", 30)
        return float(self._keys.stdout().split()[-1])

    def type_text(self, text, pace):
        names = {" ": "space", "\n": "Return", "\t": "Tab"}
        longest = self.press(*(names.get(character, character) for character in text), pace=pace)
        if longest > STANDSTILL:
            pytest.skip(f"mutter, which draws without a graphics card, stood still for {longest} s")


class TypedAtEditor(Editor):
    """The editor where windows have no numbers: it has the keyboard when a letter arrives."""

    def __init__(self, desktop):  # pylint: disable=super-init-not-called
        self._process = desktop.sandbox.start(
            [sys.executable, "-Es", INSIDE / "editor.py", self.TITLE, "maximized"], name="editor",
            environment=getattr(desktop, "windows_environment", None))

        def has_keyboard():
            desktop.press("x")
            return self.text()

        wait_until(has_keyboard, lambda: f"a letter: {self._process.stderr().decode()}")
        # The letters that were pressed while it started are behind this one.
        desktop.press("z")
        wait_until(lambda: self.text().endswith("z"), "the last of the first letters")
        self._begin = len(self.text())

    def new_text(self):
        """What has been typed since it had the keyboard."""
        return self.text()[self._begin:]

    def end(self):
        self._process.kill()


def make_desktop(settings, name):
    """The desktop that the settings tell of."""
    if settings.compositor is None:
        return Desktop(settings, name)
    return (MutterDesktop if settings.compositor == "mutter" else WaylandDesktop)(settings, name)
