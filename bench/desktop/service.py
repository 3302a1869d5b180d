"""The simulated printer service, driven through its standard input."""

import re

from processes import Process


class Service(Process):
    """Lines begin with the monotonic clock in microseconds."""

    def __init__(self, simulator):
        super().__init__(simulator, "--verbose", "--timestamps")
        self.lines.wait(r"^\d+ ready ")

    def polls_since(self, position):
        return sum(" reply status " in line for line in self.lines.since(position))

    def wait_for_polls(self, count, position, deadline=30.0):
        """Waits for so many answered status requests and returns the time of the last one."""
        for _ in range(count):
            match = self.lines.wait(r"^(\d+) reply status connection=(\d+)", position, deadline)
            position = self._behind(match, position)
        return int(match.group(1))

    def _behind(self, match, position):
        return position + self.lines.since(position).index(match.string) + 1

    def report(self, printer, job, severity, code=110):
        """Publishes an error and returns when the service held it."""
        position = self.lines.position()
        self.write_line(f'error "{printer}" {job} {code} {severity} Made for a benchmark.')
        return int(self.lines.wait(r"^(\d+) event published", position).group(1))

    def withdraw(self, printer, job):
        self.write_line(f'clear "{printer}" {job}')

    def wait_for_command(self, position):
        """When the last byte of a job command was there."""
        return int(self.lines.wait(r"^(\d+) request command ", position).group(1))


def first_request_us(service, position):
    match = service.lines.wait(r"^(\d+) request status ", position)
    return int(re.match(r"\d+", match.string).group(0))
