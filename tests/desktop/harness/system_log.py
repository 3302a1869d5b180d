"""The system log as the test sees it: the other end of /dev/log."""

import dataclasses
import re
import socket
import threading

from .waiting import wait_until

DATAGRAM = re.compile(rb"<(\d+)>(\w{3} [ \d]\d \d\d:\d\d:\d\d) ([^\[:]*)(?:\[(\d+)\])?: ?(.*)",
                      re.DOTALL)
MAX_DATAGRAM = 1 << 20


@dataclasses.dataclass(frozen=True)
class LogMessage:
    """One message, whatever line feeds it holds."""
    priority: int
    identity: str
    pid: int | None
    text: str

    @staticmethod
    def parse(datagram):
        match = DATAGRAM.fullmatch(datagram.rstrip(b"\0"))
        if match is None:
            raise ValueError(f"not a message of syslog(): {datagram!r}")
        priority, _, identity, pid, text = match.groups()
        return LogMessage(int(priority), identity.decode(), int(pid) if pid else None,
                          text.decode(errors="surrogateescape"))


class SystemLog:
    """Collects the messages of a bound datagram socket until close().

    A thread reads them, because a full socket stops whoever writes to it.
    """

    def __init__(self, log_socket):
        self._socket = log_socket
        self._lock = threading.Lock()
        self._messages = []
        self._malformed = []
        self._thread = threading.Thread(target=self._collect, daemon=True)
        self._thread.start()

    def _collect(self):
        while True:
            try:
                datagram = self._socket.recv(MAX_DATAGRAM)
            except OSError:
                return
            if not datagram:
                return
            with self._lock:
                try:
                    self._messages.append(LogMessage.parse(datagram))
                except ValueError:
                    self._malformed.append(datagram)

    def messages(self, text="", since=0):
        """The messages from number `since` on that hold `text`."""
        with self._lock:
            return [message for message in self._messages[since:] if text in message.text]

    def malformed(self):
        with self._lock:
            return list(self._malformed)

    def count(self):
        """How many messages have come: a mark for `since`."""
        with self._lock:
            return len(self._messages)

    def wait_for(self, text, count=1, since=0, deadline=10.0):
        """Waits until `count` messages from number `since` on hold `text`; returns them."""
        wait_until(lambda: len(self.messages(text, since)) >= count,
                   f"{count} log messages with {text!r}", deadline)
        return self.messages(text, since)

    def close(self):
        try:
            self._socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self._thread.join()
