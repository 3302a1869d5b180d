"""A process that a test started, wherever it runs."""

import pathlib
import signal
import subprocess
import tempfile
import time

from .waiting import wait_until


class Process:
    """Its output goes to files that anybody may read at any time."""

    def __init__(self, name, pid, stdin, stdout_path, stderr_path):
        self.name = name
        self.pid = pid
        self.stdin = stdin
        self.stdout_path = stdout_path
        self.stderr_path = stderr_path

    def poll(self):
        """The exit status, negative for a signal; None while it runs."""
        raise NotImplementedError

    def send_signal(self, number):
        raise NotImplementedError

    def wait(self, deadline=10.0):
        """Waits for the end and returns the exit status."""
        wait_until(lambda: self.poll() is not None, f"the end of {self.name}", deadline)
        return self.poll()

    def kill(self):
        if self.poll() is None:
            self.send_signal(signal.SIGKILL)
        return self.wait()

    def write(self, data):
        self.stdin.write(data)
        self.stdin.flush()

    def stdout(self):
        return self.stdout_path.read_bytes()

    def stderr(self):
        return self.stderr_path.read_bytes()


class Here:
    """Starts processes as a Sandbox does, but beside the test: for one that is in a sandbox already."""

    def __init__(self):
        self._directory = tempfile.TemporaryDirectory(prefix="zor-")
        self._processes_started = 0

    def start(self, arguments, name=None, stdout=None):
        """Standard output goes to the descriptor `stdout` when there is one, instead of a file."""
        self._processes_started += 1
        name = name or pathlib.Path(arguments[0]).name
        stem = pathlib.Path(self._directory.name) / f"{self._processes_started:02}-{name}"
        process = _ProcessHere([str(word) for word in arguments], name, stem, stdout)
        process.directory = self._directory  # its output stays as long as it does
        return process


class _ProcessHere(Process):
    def __init__(self, arguments, name, stem, stdout):
        stdout_path, stderr_path = stem.with_suffix(".out"), stem.with_suffix(".err")
        with open(stdout_path, "ab") as out, open(stderr_path, "ab") as err:
            self.started = time.monotonic()  # seconds
            self._process = subprocess.Popen(arguments, bufsize=0, stdin=subprocess.PIPE,
                                             stdout=stdout or out, stderr=err)
        super().__init__(name, self._process.pid, self._process.stdin, stdout_path, stderr_path)

    def poll(self):
        return self._process.poll()

    def send_signal(self, number):
        self._process.send_signal(number)
