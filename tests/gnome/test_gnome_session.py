"""What somebody meets in a whole session of GNOME. The tests run within it, one after the other."""

import json
import os
import pathlib
import subprocess
import sys
import time

import pytest
from gi.repository import Gio, GLib
from PIL import Image

HERE = pathlib.Path(__file__).parent
PROGRAM = "zor-card-printer-error-ui"
SIMULATOR = "zor-printer-service-simulator"
IS_WAYLAND = os.environ["SESSION_KIND"] == "wayland"
on_wayland = pytest.mark.skipif(not IS_WAYLAND, reason="the session is one on an X server")
LONGEST = 210  # the error code with the longest text
PACE = 0.04  # seconds for a letter
STANDSTILL = 0.8  # seconds; who is kept from typing for longer has paused
# With all that answers a box that has the keyboard: a Tab and a blank, say.
LETTER = "\ni am well and so are we all\n\ta b c\n\t\td e f \n\tg h i j k l m\n\nyours ed"
STOP_SIGN = 192, 28, 40
KEYS = {" ": "space", "\n": "Return", "\t": "Tab"}


def wait_until(predicate, what, deadline=60):
    end = time.monotonic() + deadline
    while not (result := predicate()):
        if time.monotonic() > end:
            raise AssertionError(f"not within {deadline} s: {what}")
        time.sleep(0.05)
    return result


class Shell:
    """GNOME's shell, seen from within."""

    def __init__(self):
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def _call(self, interface, method, arguments):
        return self._bus.call_sync(interface, "/" + interface.replace(".", "/"),
                                   interface, method, arguments, None, 0, 60000).unpack()

    def evaluate(self, script):
        done, result = self._call("org.gnome.Shell", "Eval", GLib.Variant("(s)", (script,)))
        assert done, f"{script}: {result}"
        return json.loads(result) if result else None

    def is_there(self):
        try:
            return self.evaluate("Main.layoutManager._startingUp") is False
        except GLib.GError:
            return False

    def boxes(self):
        return self.evaluate("""global.get_window_actors().map(actor => actor.meta_window)
            .filter(window => window.wm_class === 'Zor-card-printer-error-ui'
                              || window.wm_class === 'zor-card-printer-error-ui')
            .map(window => ({title: window.title, above: window.is_above(),
                focused: window.has_focus(), everywhere: window.is_on_all_workspaces(),
                listed: !window.is_skip_taskbar(), x11: window.get_client_type() === 1,
                application: imports.gi.Shell.WindowTracker.get_default()
                    .get_window_app(window).get_name(),
                frame: [window.get_frame_rect().x, window.get_frame_rect().y,
                        window.get_frame_rect().width, window.get_frame_rect().height]}))""")

    def titles(self):
        return [box["title"] for box in self.boxes()]

    def focus(self):
        return self.evaluate("(global.display.focus_window || {title: ''}).title")

    def turn_to(self, title):
        def has_keyboard():
            self.evaluate(f"""global.get_window_actors().map(actor => actor.meta_window)
                .find(window => window.title === '{title}').activate(global.get_current_time())""")
            return self.focus() == title

        wait_until(has_keyboard, f"the keyboard in {title}")

    def notifications(self):
        return self.evaluate("""Main.messageTray.getSources().flatMap(source =>
            source.notifications.map(one => one.title + ': ' + (one.body || one.bannerBodyText)))""")

    def lock(self):
        self.evaluate("Main.screenShield.lock(false)")
        wait_until(lambda: self.evaluate("Main.screenShield.locked"), "the locked screen")

    def unlock(self):
        self.evaluate("Main.screenShield.deactivate(false)")
        wait_until(lambda: not self.evaluate("Main.screenShield.active"), "the unlocked screen")

    def set_scale(self, scale):
        """Has the only monitor draw everything so many times bigger."""
        name = "org.gnome.Mutter.DisplayConfig"

        def call(method, arguments=None):
            return self._bus.call_sync(name, "/org/gnome/Mutter/DisplayConfig", name, method,
                                       arguments, None, 0, 60000).unpack()

        serial, ((description, modes, _),), _, _ = call("GetCurrentState")
        mode = next(mode[0] for mode in modes if mode[6].get("is-current"))
        monitor = (0, 0, scale, 0, True, [(description[0], mode, {})])
        call("ApplyMonitorsConfig", GLib.Variant(
            "(uua(iiduba(ssa{sv}))a{sv})", (serial, 1, [monitor], {})))
        wait_until(lambda: self.evaluate("global.display.get_monitor_scale(0)") == scale,
                   "the scale")

    def room_for_windows(self):
        return self.evaluate("""(area => [area.x, area.y, area.width, area.height])(
            Main.layoutManager.getWorkAreaForMonitor(0))""")

    def take_picture(self, name):
        path = HERE / "output" / f"{name}.png"
        done, _ = self._call("org.gnome.Shell.Screenshot", "Screenshot",
                             GLib.Variant("(bbs)", (False, False, str(path))))
        assert done
        return Image.open(path).convert("RGB")


    def shows_stop_sign(self, name):
        """Whether a picture, which stays under the name, has the sign of a box."""
        return STOP_SIGN in {color for _, color in self.take_picture(name).getcolors(1 << 24)}

    def wait_for_stop_sign(self, name):
        wait_until(lambda: self.shows_stop_sign(name), f"the sign of a box, {name}")


class Agent:
    """A process that is told things line by line."""

    def __init__(self, *command, log=None):
        self._log = log
        self._process = subprocess.Popen(
            command, stdin=subprocess.PIPE, text=True, bufsize=1,
            stdout=log.open("w") if log else subprocess.PIPE)

    def tell(self, line):
        self._process.stdin.write(line + "\n")

    def read(self):
        return self._process.stdout.readline()

    def log(self):
        return self._log.read_text()

    def end(self):
        self._process.terminate()
        self._process.wait()


class Person:
    """Types at the session's keyboard."""

    def __init__(self):
        self._keys = Agent(sys.executable, "-Es", HERE / "remote_keys.py")
        assert self._keys.read() == "ready\n"

    def type(self, text):
        self._keys.tell(json.dumps({"keys": [KEYS.get(letter, letter) for letter in text],
                                    "pace": PACE}))
        longest = float(self._keys.read().split()[-1])
        if longest > STANDSTILL:
            pytest.skip(f"GNOME, which draws without a graphics card, stood still for {longest} s")

    def end(self):
        self._keys.end()


class PersonAtXServer:
    """The same, where GNOME lets nobody type at its locked screen from outside."""

    def __init__(self):
        import screen
        self._screen = screen.Screen(os.environ["DISPLAY"])
        self.end = self._screen.display.close

    def type(self, text):
        self._screen.type_text(text, PACE)


class Service(Agent):
    """The simulated printer service."""

    def __init__(self, log):
        super().__init__("/usr/bin/" + SIMULATOR, "--exit-at-eof", log=log)

    def commands(self):
        return [line for line in self.log().splitlines() if line.startswith("request command")]


class Editor(Agent):
    TITLE = "Editor"

    def __init__(self, log):
        super().__init__(sys.executable, "-Es", HERE / "editor.py", self.TITLE, "maximized",
                         log=log)

    def text(self):
        texts = [value for what, value in map(json.loads, self.log().splitlines())
                 if what == "text"]
        return texts[-1] if texts else ""


def tell_systemd(*arguments):
    return subprocess.run(["systemctl", "--user", *arguments], capture_output=True,
                          text=True).stdout.strip()


@pytest.fixture(name="shell", scope="module")
def fixture_shell():
    shell = Shell()
    wait_until(shell.is_there, "GNOME's shell", 180)
    subprocess.run(["gsettings", "set", "org.gnome.desktop.session", "idle-delay", "0"], check=True)
    shell.evaluate("Main.overview.hide()")
    wait_until(lambda: not shell.evaluate("Main.overview.visible"), "the end of the overview")
    return shell


@pytest.fixture(name="person", scope="module")
def fixture_person(shell):
    person = Person() if IS_WAYLAND else PersonAtXServer()
    yield person
    person.end()


@pytest.fixture(name="service")
def fixture_service(tmp_path):
    service = Service(tmp_path / "service")
    yield service
    service.tell("clear-all")
    wait_until(lambda: not Shell().boxes(), "the end of all boxes")
    service.end()


@pytest.fixture(name="editor")
def fixture_editor(shell, tmp_path):
    editor = Editor(tmp_path / "editor")
    wait_until(lambda: shell.evaluate("""global.get_window_actors().some(
        actor => actor.meta_window.title === 'Editor')"""), "the editor")
    shell.turn_to(Editor.TITLE)
    shell.evaluate("Main.messageTray.getSources().forEach(source => source.destroy())")
    yield editor
    editor.end()


def settle(service):
    """Waits as long as somebody who stops and looks up, by the service's clock."""
    before = service.log().count("expectation")
    service.tell("expect no command for 1500ms")
    wait_until(lambda: service.log().count("expectation") > before, "the end of the pause")


def report(service, shell, name, job=17):
    service.tell(f"error '{name}' {job} 110 3")
    wait_until(lambda: name in shell.titles(), f"the box of {name}")


def test_the_session_starts_the_program(shell):  # pylint: disable=unused-argument
    wait_until(lambda: tell_systemd("is-active", PROGRAM) == "active", "the unit")
    assert tell_systemd("show", "--value", "-p", "NRestarts", PROGRAM) == "0"


def test_all_letters_arrive_and_nothing_says_that_the_printer_is_ready(
        shell, person, service, editor):
    person.type("dear ann\nyes  no")
    report(service, shell, "Front desk")
    person.type(LETTER)
    wait_until(lambda: editor.text() == "dear ann\nyes  no" + LETTER, editor.text)
    settle(service)
    (box,) = shell.boxes()
    shell.wait_for_stop_sign("typed")
    assert shell.notifications() == []
    assert service.commands() == []
    assert box["x11"] and box["above"] and box["everywhere"] and not box["focused"]
    x, y, width, height = box["frame"]
    assert abs(x + width / 2 - 960) < 2 and abs(y + height / 2 - 540) < 40  # there is a top bar


def test_the_overview_has_all_boxes_by_the_name_of_the_program(shell, service, editor):
    names = [f"Printer {number}" for number in range(1, 6)]
    for name in names:
        report(service, shell, name)
    settle(service)
    assert sorted(box["title"] for box in shell.boxes() if box["listed"]) == names
    assert {box["application"] for box in shell.boxes()} == {"Card Printer Errors"}
    assert shell.notifications() == []
    shell.evaluate("Main.overview.show()")
    wait_until(lambda: shell.evaluate(
        "Main.overview.visible && !Main.overview.animationInProgress"), "the overview")
    shell.take_picture("overview")
    shell.evaluate("Main.overview.hide()")
    wait_until(lambda: not shell.evaluate("Main.overview.visible"), "the end of the overview")
    assert service.commands() == []


def test_nobody_sees_or_answers_a_box_of_a_locked_screen(shell, person, service, editor):
    report(service, shell, "Front desk")
    shell.lock()
    person.type("\t  \n\t\t  \n")
    report(service, shell, "Back office", job=18)
    person.type("\t  \n\t\t  \n")
    assert not shell.shows_stop_sign("locked")
    shell.unlock()
    person.type(LETTER)  # somebody goes on at once
    settle(service)
    shell.wait_for_stop_sign("unlocked")
    assert service.commands() == []
    if IS_WAYLAND:  # on an X server GNOME gives the new box the keyboard
        assert editor.text().endswith(LETTER[-10:])


@on_wayland  # the other has no screen that can be scaled
@pytest.mark.parametrize("backend", ["x11", "wayland"])
def test_a_box_is_whole_where_everything_is_twice_as_big(shell, service, backend):
    tell_systemd("set-environment", f"GDK_BACKEND={backend}")
    shell.set_scale(2)
    tell_systemd("restart", PROGRAM)
    try:
        service.tell(f"error 'Front desk' 17 {LONGEST} 3")
        wait_until(shell.boxes, "the box")
        settle(service)
        shell.wait_for_stop_sign(f"twice-as-big-{backend}")
        (box,) = shell.boxes()
        assert box["x11"] == (backend == "x11")
        left, top, width, height = box["frame"]
        x, y, room_width, room_height = shell.room_for_windows()
        assert x <= left and left + width <= x + room_width
        assert y <= top and top + height <= y + room_height
    finally:
        shell.set_scale(1)
        tell_systemd("unset-environment", "GDK_BACKEND")
        tell_systemd("restart", PROGRAM)


@on_wayland
def test_letters_that_a_native_box_gets_answer_nothing(shell, person, service, editor):
    tell_systemd("set-environment", "GDK_BACKEND=wayland")
    tell_systemd("restart", PROGRAM)
    try:
        person.type("dear ann\nyes  no")
        report(service, shell, "Front desk")
        person.type(LETTER)
        (box,) = shell.boxes()
        assert not box["x11"]
        assert box["focused"] and len(editor.text()) < len(LETTER)  # else this is no test of it
        settle(service)
        assert service.commands() == []
        shell.take_picture("native")
        settle(service)
        person.type("\t ")  # who has stopped and looked up means it
        wait_until(service.commands, "an answer")
        assert 'printer="Front desk" job="17" action=102' in service.commands()[0]
    finally:
        tell_systemd("unset-environment", "GDK_BACKEND")
        tell_systemd("restart", PROGRAM)


def test_the_program_ends_with_the_session(shell):
    assert tell_systemd("is-active", PROGRAM) == "active"
    subprocess.run(["gnome-session-quit", "--logout", "--no-prompt"], check=True,
                   env=os.environ | {"XDG_CURRENT_DESKTOP": "GNOME"})
    wait_until(lambda: not shell.is_there(), "the end of GNOME's shell")
    # GNOME's X server may go first, which the program calls an error: but it is not started again.
    wait_until(lambda: tell_systemd("is-active", PROGRAM) in ("inactive", "failed"),
               "the end of the program")
