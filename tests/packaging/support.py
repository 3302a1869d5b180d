"""What the packaging tests share: an installation, and an error that gets its box and its answer."""

import contextlib
import functools
import os
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "desktop"))
from harness.person import Person  # noqa: E402
from harness.process import Here  # noqa: E402
from harness.service import RETRY, Service, command_document  # noqa: E402
from harness.waiting import wait_until  # noqa: E402,F401

TREE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("ZOR_BUILD_DIR", TREE / "build"))
NAME = "zor-card-printer-error-ui"
TRANSLATIONS = f"{NAME}-l10n"
SIMULATOR = "zor-printer-service-simulator"
PACKAGES = (NAME, TRANSLATIONS, SIMULATOR)


def run(*command, **options):
    """Runs a command to its end and returns its output; fails with the output when it fails."""
    done = subprocess.run(
        [str(word) for word in command],
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    assert done.returncode == 0, f"{command} ended with {done.returncode}:\n{done.stdout}"
    return done.stdout


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


@contextlib.contextmanager
def simulated_service(command):
    """The simulated printer service, started by this command."""
    service = Service(Here(), command)
    try:
        yield service
    finally:
        service.kill()


@functools.cache
def person():
    """Who sits at the display that there is."""
    somebody = Person(Here())
    somebody.connect(os.environ["DISPLAY"], os.environ["DBUS_SESSION_BUS_ADDRESS"])
    return somebody


def press_first_button(title):
    """Goes to the box with the keyboard, from its text to its first button, and presses it."""
    person().turn_to(person().wait_for_window(title))
    person().press("Tab")
    person().press("Return")


def answer_an_error(service, printer="Front Desk", text=None):
    """Reports an error, waits for its box, presses Retry; the service must get the answer. With a
    text, the box must show it."""
    answered = service.count("request command")
    service.report(printer, "17", 110, 3, "Print ribbon out or missing.")
    person().wait_for_window(printer, 30)
    if text is not None:
        assert person().wait_for_box(printer).text == text
    press_first_button(printer)
    assert service.wait_for_commands(answered + 1, 20)[-1] == command_document(printer, RETRY, "17")
    person().wait_until_gone(printer)
