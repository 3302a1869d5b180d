"""Starts the program and the yardsticks, and reads from /proc what they cost."""

import os
import re
import signal
import subprocess
import tempfile
import time

from harness.process import Here
from harness.waiting import wait_until

START_DEADLINE = 30.0  # seconds


def monotonic_us():
    """The clock of all time stamps here, in microseconds; the simulator writes the same one."""
    return time.clock_gettime_ns(time.CLOCK_MONOTONIC) / 1000


class Process:
    """A running program. Ends with the with-statement."""

    def __init__(self, *command):
        self._process = Here().start(command)
        self.pid = self._process.pid
        self.started_us = self._process.started * 1e6

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()

    def wait_for_line(self, pattern):
        """The match of the pattern in what the program has written."""
        return wait_until(lambda: re.search(pattern, self._process.stdout().decode(), re.M),
                          f"a line with {pattern}", START_DEADLINE)

    def _threads(self, name):
        for thread in os.listdir(f"/proc/{self.pid}/task"):
            try:
                with open(f"/proc/{self.pid}/task/{thread}/{name}") as file:
                    yield file.read()
            except (FileNotFoundError, ProcessLookupError):
                pass  # a thread that has just ended

    def cpu_us(self):
        """Processor time of all threads that are there, in microseconds."""
        return sum(int(text.split()[0]) for text in self._threads("schedstat")) / 1000

    def main_thread_cpu_us(self):
        with open(f"/proc/{self.pid}/task/{self.pid}/schedstat") as file:
            return int(file.read().split()[0]) / 1000

    def context_switches(self):
        return sum(int(number) for text in self._threads("status")
                   for number in re.findall(r"voluntary_ctxt_switches:\s+(\d+)", text))

    def memory_kib(self):
        """Resident and proportional memory."""
        with open(f"/proc/{self.pid}/smaps_rollup") as file:
            text = file.read()
        return {name: int(re.search(rf"^{key}:\s+(\d+) kB", text, re.M).group(1))
                for name, key in (("resident", "Rss"), ("proportional", "Pss"),
                                  ("private", "Private_Dirty"))}

    def system_calls(self, seconds):
        """The number of calls of each name that all threads make in so much time."""
        with tempfile.NamedTemporaryFile("r") as table:
            tracer = subprocess.Popen(
                ["strace", "-f", "-c", "-o", table.name, "-p", str(self.pid)],
                stderr=subprocess.PIPE, text=True)
            tracer.stderr.readline()  # it says when it is attached
            time.sleep(seconds)
            tracer.send_signal(signal.SIGINT)
            tracer.communicate()
            return parse_strace_table(table.read())


def parse_strace_table(text):
    calls = {}
    for line in text.splitlines():
        words = line.split()
        if len(words) >= 5 and words[0].replace(".", "").isdigit() and words[-1] != "total":
            calls[words[-1]] = int(words[3])
    return calls
