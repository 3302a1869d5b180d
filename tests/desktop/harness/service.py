"""The simulated printer service of a test."""

import dataclasses
import re

from .sandbox import build_directory
from .waiting import wait_until

FIELD = re.compile(r'([a-z_]+)=("(?:[^"\\]|\\.)*"|\S*)')
ESCAPES = {"n": b"\n", "r": b"\r", "t": b"\t", '"': b'"', "\\": b"\\"}
ESCAPE = re.compile(r"\\(x[0-9A-Fa-f]{2}|[0-7]{1,3}|.)")


def quote(text):
    """A name as the service's commands take it, whatever bytes it holds."""
    data = text if isinstance(text, bytes) else str(text).encode()
    plain = b"".join(bytes([byte]) if 32 <= byte < 127 and byte not in b'"\\'
                     else b"\\%03o" % byte for byte in data)
    return '"' + plain.decode() + '"'


def unquote(text):
    """The bytes that the service has put into quotes."""
    def replace(match):
        code = match[1]
        if code in ESCAPES:
            return ESCAPES[code].decode()
        return chr(int(code[1:], 16) if code[0] == "x" else int(code, 8))
    return ESCAPE.sub(replace, text[1:-1]).encode("latin-1")


def command_document(printer, action, job="1", code=110):
    """The request that the service must get for an answer to an error."""
    def escaped(value):
        data = value if isinstance(value, bytes) else str(value).encode()
        for character, entity in (("&", "amp"), ("<", "lt"), (">", "gt"), ('"', "quot"),
                                  ("'", "apos")):
            data = data.replace(character.encode(), f"&{entity};".encode())
        return data
    return (b'<?xml version="1.0" encoding="utf-8"?>\n<PrinterAction>\n'
            b"    <PrinterName>%s</PrinterName>\n    <Action>%d</Action>\n"
            b"    <PrinterJobID>%s</PrinterJobID>\n    <ErrorCode>%s</ErrorCode>\n"
            b"</PrinterAction>\n" % (escaped(printer), action, escaped(job), escaped(code)))


CANCEL, RESUME, RETRY = 100, 101, 102  # the actions in such a request


@dataclasses.dataclass(frozen=True)
class Line:
    """One thing that happened to the service, as it says: its words, then its fields."""
    words: str
    fields: dict
    time: int | None = None  # of the monotonic clock, in microseconds

    @staticmethod
    def parse(line):
        time = None
        if line[:1].isdecimal():
            stamp, line = line.split(" ", 1)
            time = int(stamp)
        words = line.split("=")[0].rsplit(" ", 1)[0] if "=" in line else line
        fields = {name: unquote(value) if value.startswith('"') else value
                  for name, value in FIELD.findall(line)}
        return Line(words, fields, time)


class Service:
    """Listens where the program expects it, from the moment that the constructor returns.

    `place` starts its process: a Sandbox, or a Here. `command` is for one that is not in the build.
    """

    def __init__(self, place, command=None):
        self._process = place.start(
            [*(command or [build_directory() / "zor-printer-service-simulator"]), "--verbose",
             "--timestamps"], name="service")
        self._lines = {None: []}  # by their words, and all of them
        self._unread = b""
        self._offset = 0
        wait_until(lambda: self.lines("ready"), "the printer service")

    # ---- What happened --------------------------------------------------------------------------

    def lines(self, words=None):
        """What the service has said so far, or the lines that consist of these words and fields."""
        self._read()
        return list(self._lines.get(words, []))

    def count(self, words):
        """The number of these lines so far."""
        self._read()
        return len(self._lines.get(words, []))

    def _read(self):
        with open(self._process.stdout_path, "rb") as file:
            file.seek(self._offset)
            new = file.read()
        self._offset += len(new)
        *whole, self._unread = (self._unread + new).split(b"\n")
        for line in whole:
            parsed = Line.parse(line.decode("latin-1"))
            self._lines[None].append(parsed)
            self._lines.setdefault(parsed.words, []).append(parsed)

    def commands(self):
        """The job commands received so far: requests as they came, bytes."""
        return [line.fields["text"] for line in self.lines("request command")]

    def wait_for_commands(self, count=1, deadline=10.0):
        """Waits until so many job commands have come in all; returns all."""
        wait_until(lambda: self.count("request command") >= count,
                   lambda: f"{count} commands; there are {self.commands()}", deadline)
        return self.commands()

    def replies(self):
        """The number of status requests answered so far."""
        return self.count("reply status")

    def wait_for_replies(self, count, deadline=10.0):
        """Waits until so many more status requests have been answered."""
        wanted = self.replies() + count
        wait_until(lambda: self.replies() >= wanted, f"{count} more status replies", deadline)

    def wait_for(self, words, count=1, deadline=10.0):
        """Waits until the service has said something so many times in all; returns the lines."""
        wait_until(lambda: self.count(words) >= count,
                   lambda: f"{count} times {words!r}; it said {self.complaints()}", deadline)
        return self.lines(words)

    def complaints(self):
        """What the service did not understand, which is a fault of the test."""
        return self._process.stderr().decode()

    def kill(self):
        """Ends it as a crash would."""
        self._process.kill()

    # ---- What it is to do -----------------------------------------------------------------------

    def say(self, command):
        self._process.write(command.encode() + b"\n")

    def report(self, printer, job="1", code=110, severity=3, text=""):
        """Reports an error to whoever asks."""
        self.say(f"error {quote(printer)} {quote(job)} {quote(code)} {quote(severity)}"
                 + (f" {quote(text)}" if text else ""))

    def withdraw(self, printer, job="1"):
        self.say(f"clear {quote(printer)} {quote(job)}")

    def withdraw_all(self):
        self.say("clear-all")

    def publish(self, document):
        """Publishes a text as the next event, whatever it is."""
        self.say(f"raw {quote(document)}")

    def fault(self, fault):
        self.say(f"fault {fault}")

    def retell(self, on):
        """Whether it tells its newest event again when there is none newer, as it does by default."""
        self._set(f"retell {'on' if on else 'off'}")

    def hold(self, milliseconds):
        """How long a status request without news waits for some; 0 by default."""
        self._set(f"hold {int(milliseconds)}")

    def carry_out(self, milliseconds):
        """How long after its arrival a job command takes effect; 0 by default."""
        self._set(f"carry-out {int(milliseconds)}")

    def _set(self, command):
        # What comes over the net right afterwards must find it done.
        count = self.count("settings")
        self.say(command)
        self.wait_for("settings", count + 1)

    def stop(self):
        """Stops listening, and waits until it has."""
        count = self.count("service stopped")
        self.say("stop")
        self.wait_for("service stopped", count + 1)

    def go_on(self):
        """Listens again after stop(), and waits until it does."""
        count = self.count("service started")
        self.say("start")
        self.wait_for("service started", count + 1)
