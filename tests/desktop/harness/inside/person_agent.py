"""The person's eyes and hands: looks at the screen, moves the mouse, presses keys.

Reads requests from standard input, one JSON object a line, and answers with one line each. The
first request is `connect`: until then the modules load while the desktop starts.
"""

import json
import os
import sys
import traceback

from screen import Screen

try:
    from accessibility import Accessibility
except (ImportError, ValueError):
    Accessibility = None  # the test that the packages bring needs windows and keys only


class Person:
    """Methods by the names that requests use."""

    def __init__(self):
        self._screen = None
        self._accessibility = None

    def connect(self, display, session_bus):
        os.environ |= {"DISPLAY": display, "DBUS_SESSION_BUS_ADDRESS": session_bus}
        self._screen = Screen(display)

    def accessible_windows(self, **which):
        if self._accessibility is None:
            self._accessibility = Accessibility()
        return self._accessibility.windows(**which)

    def press_button(self, **which):
        if self._accessibility is None:
            self._accessibility = Accessibility()
        return self._accessibility.press_button(**which)

    def answer(self, name, arguments):
        method = getattr(self, name, None) or getattr(self._screen, name)
        return method(**arguments)


def main():
    person = Person()
    for line in sys.stdin:
        request = json.loads(line)
        try:
            answer = {"result": person.answer(request["call"], request["with"])}
        except Exception:  # whatever it is, the test is to hear of it
            answer = {"problem": traceback.format_exc()}
        print(json.dumps(answer), flush=True)


main()
