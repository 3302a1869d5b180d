"""Orca, the desktop's screen reader, and what it says."""

import re
import sys

from .sandbox import INSIDE
from .waiting import wait_until

SPEECH = re.compile(r"^[\d:.]+ - SPEECH OUTPUT: '(.*?)'(?: voice=\w+)?\s?\{",
                    re.MULTILINE | re.DOTALL)
DISPATCHER = """
AudioOutputMethod "alsa"
AudioALSADevice "null"
AddModule "dummy" "sd_dummy" ""
DefaultModule dummy
"""


class ScreenReader:
    """Speaks to a speech service that makes no sound; ready when the constructor returns."""

    def __init__(self, desktop):
        folder = desktop.sandbox.home / ".config/speech-dispatcher"
        folder.mkdir(parents=True)
        (folder / "speechd.conf").write_text(DISPATCHER)
        self._service = desktop.sandbox.start(["speech-dispatcher", "--run-single"])
        socket = desktop.sandbox.runtime / "speech-dispatcher/speechd.sock"
        wait_until(socket.exists, lambda: f"the speech service: {self._service.stderr()}", 20)
        self._log = desktop.sandbox.directory / "orca.out"
        self._process = desktop.sandbox.start(
            [sys.executable, INSIDE / "start_orca.py", "--debug-file", self._log, "--disable", "braille",
             "--enable", "speech"], name="orca")
        self.wait_for("Screen reader on.", deadline=60)

    def said(self, since=0):
        """What it has said, from number `since` on: what is spoken in one breath each."""
        text = self._log.read_text(errors="replace") if self._log.exists() else ""
        return SPEECH.findall(text)[since:]

    def wait_for(self, *texts, since=0, deadline=20.0):
        """Waits until it has said these, in this order; returns all that it has said."""
        def all_said():
            return re.search(".*".join(map(re.escape, texts)), " ".join(self.said(since)), re.DOTALL)
        wait_until(all_said, lambda: f"{texts}; said: {self.said(since)}", deadline)
        return self.said(since)
