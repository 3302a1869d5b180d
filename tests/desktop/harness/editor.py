"""The editor that the person works in."""

import json
import sys

from .sandbox import INSIDE
from .waiting import wait_until


class Editor:
    """Runs inside the sandbox; has the keyboard from the moment that the constructor returns."""

    TITLE = "Letter to a friend"

    def __init__(self, desktop, *options):
        self._process = desktop.sandbox.start(
            [sys.executable, "-Es", INSIDE / "editor.py", self.TITLE, *options], name="editor")
        self.window = desktop.person.wait_for_window(self.TITLE)
        desktop.person.turn_to(self.window)

    def events(self):
        """What was done to it: [what, value] each."""
        *whole, _ = self._process.stdout().decode().split("\n")
        return [json.loads(line) for line in whole]

    def text(self):
        texts = [value for what, value in self.events() if what == "text"]
        return texts[-1] if texts else ""

    def wait_for_text(self, text):
        wait_until(lambda: self.text() == text, lambda: f"{text!r}, not {self.text()!r}")
