"""The program under test."""

import os
import re
import shlex
import signal


class Program:
    """One start of the program inside a sandbox."""

    def __init__(self, sandbox, path, arguments, environment, directory=None):
        wrapper = shlex.split(os.environ.get("ZOR_PROGRAM_WRAPPER", ""))
        self._process = sandbox.start([*wrapper, path, *arguments], name="program",
                                      environment=environment, directory=directory)
        self._sandbox = sandbox
        self._expected_problems = []
        self._end_is_expected = False

    @property
    def pid(self):
        return self._process.pid

    def expect_problem(self, pattern):
        """Lines on standard error in which the pattern is found do not fail the test."""
        self._expected_problems.append(re.compile(pattern))

    def is_running(self):
        return self._process.poll() is None

    def wait_for_end(self, deadline=10.0):
        """Waits for the end, which the test expects, and returns the exit status."""
        self._end_is_expected = True
        return self._process.wait(deadline)

    def send_signal(self, number):
        self._process.send_signal(number)

    def stderr(self):
        return self._process.stderr().decode(errors="replace")

    def stdout(self):
        return self._process.stdout()

    def threads(self):
        """The number of its threads."""
        return len(self._sandbox.call("list_directory", path=f"/proc/{self.pid}/task"))

    def problems(self):
        """Lines on standard error that nobody expects: who is well has nothing to say."""
        return [line for line in self.stderr().splitlines()
                if line and not any(pattern.search(line) for pattern in self._expected_problems)]

    def finish(self):
        """Ends the program; returns what was wrong with its run."""
        wrong = []
        status = self._process.poll()
        if status is None:
            self._process.send_signal(signal.SIGTERM)
            self._process.wait()
        elif not self._end_is_expected:
            wrong.append(f"the program ended with {status}: {self.stderr()}")
        return wrong + self.problems()
