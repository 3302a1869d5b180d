"""What the packaging tests share: waiting, the simulated printer service, boxes on the screen."""

import contextlib
import os
import pathlib
import re
import subprocess
import threading
import time

TREE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("ZOR_BUILD_DIR", TREE / "build"))
NAME = "zor-card-printer-error-ui"
TRANSLATIONS = f"{NAME}-l10n"
SIMULATOR = "zor-printer-service-simulator"
PACKAGES = (NAME, TRANSLATIONS, SIMULATOR)
DEADLINE_SCALE = float(os.environ.get("ZOR_DEADLINE_SCALE", "1"))


def run(*command, **options):
    """Runs a command to its end and returns its output; fails with the output when it fails."""
    done = subprocess.run(
        [str(word) for word in command],
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    assert done.returncode == 0, f"{command} ended with {done.returncode}:\n{done.stdout}"
    return done.stdout


def wait_for(what, condition, seconds=20):
    """Returns the first true result of condition; fails after that many seconds."""
    end = time.monotonic() + seconds * DEADLINE_SCALE
    while True:
        result = condition()
        if result:
            return result
        assert time.monotonic() < end, f"not seen within {seconds} s: {what}"
        time.sleep(0.05)


def install(prefix, destdir=None, component=None):
    """Installs the build, or one component; returns the directory that the prefix became."""
    environment = dict(os.environ, DESTDIR=str(destdir or ""))
    part = ["--component", component] if component else []
    run("cmake", "--install", BUILD, "--prefix", prefix, *part, env=environment)
    return pathlib.Path(f"{destdir or ''}{prefix}")


def list_files(root):
    """All files below a directory, with their paths from there, sorted."""
    return sorted(
        f"/{path.relative_to(root)}" for path in root.rglob("*")
        if path.is_symlink() or not path.is_dir())


class SimulatedService:
    """The simulated printer service on port 1753, driven over its standard input."""

    def __init__(self, command):
        self.lines = []
        self.process = subprocess.Popen(
            [str(word) for word in command], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            text=True)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()
        self.wait_for_line("^ready port=1753")

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def command(self, line):
        """Gives the simulator a command; returns the mark of the lines that come after it."""
        mark = len(self.lines)
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return mark

    def wait_for_line(self, pattern, mark=0, seconds=20):
        """Returns the first line after the mark that matches."""
        return wait_for(
            f"the simulator's line {pattern}",
            lambda: next((line for line in self.lines[mark:] if re.search(pattern, line)), None),
            seconds)

    def wait_until_told(self, kind, mark, seconds=30):
        """Waits until the program has got the event of this kind that was published since."""
        published = self.wait_for_line(rf"^event published event=\d+ kind={kind}", mark)
        event = re.search(r"event=(\d+)", published)[1]
        self.wait_for_line(rf"^reply status .* event={event} ", mark, seconds)

    def stop(self):
        self.process.kill()
        self.process.wait()
        self.reader.join()
        self.process.stdin.close()
        self.process.stdout.close()


@contextlib.contextmanager
def simulated_service(command):
    service = SimulatedService(command)
    try:
        yield service
    finally:
        service.stop()


def boxes(title):
    """The windows with this title on the screen."""
    found = subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    return found.stdout.split()


def is_active(window):
    """Asks the window manager to give the window the keyboard, and whether it has it."""
    subprocess.run(["xdotool", "windowactivate", window], stderr=subprocess.DEVNULL)
    active = subprocess.run(["xdotool", "getactivewindow"], stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, text=True)
    return active.stdout.strip() == window


def turn_to(title):
    """Goes to the box with the keyboard, which is then in its text."""
    (box,) = boxes(title)
    # xdotool's own wait gives up where no window has been active before.
    wait_for("the keyboard in the box", lambda: is_active(box))


def press_first_button(title):
    """Goes to the box with the keyboard, from its text to its first button, and presses it."""
    turn_to(title)
    run("xdotool", "key", "--window", "0", "Tab", "Return")


def read_box(title):
    """Goes to the box with the keyboard, marks its text, and returns what is marked."""
    turn_to(title)
    run("xdotool", "key", "--window", "0", "ctrl+a")
    return wait_for("the marked text", lambda: run(
        "/usr/bin/python3", "-c", "import gi\ngi.require_version('Gdk', '3.0')\n"
        "gi.require_version('Gtk', '3.0')\n"
        "from gi.repository import Gdk, Gtk\n"
        "marked = Gtk.Clipboard.get(Gdk.SELECTION_PRIMARY).wait_for_text()\n"
        "print(marked or '', end='')"))


def answer_an_error(service, printer="Front Desk", text=None):
    """Reports an error, waits for its box, presses Retry; the service must get the answer. With a
    text, the box must show it."""
    mark = service.command(f'error "{printer}" 17 110 3 Print ribbon out or missing.')
    wait_for(f"the box of {printer}", lambda: boxes(printer), 30)
    if text is not None:
        shown = read_box(printer)
        assert shown == text, f"the box of {printer} shows: {shown}"
    press_first_button(printer)
    service.wait_for_line(rf'^request command .*printer="{printer}" job="17" .*=retry ', mark)
    wait_for("the end of the box", lambda: not boxes(printer))
