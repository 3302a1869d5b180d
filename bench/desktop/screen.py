"""Watches the X server for boxes that come and go, and plays the hand on the mouse."""

import select
import time

from Xlib import X

from harness.inside import screen
from processes import monotonic_us

LEAST_BOX_WIDTH = 300  # pixels; what is smaller is no box


class NotSeen(RuntimeError):
    """What was awaited did not come in time."""


class Box:
    """A box on the screen: its frame's window id, place, and the time of its mapping."""

    def __init__(self, window, geometry, mapped_us):
        self.window = window
        self.x, self.y = geometry.x, geometry.y
        self.width, self.height = geometry.width, geometry.height
        self.mapped_us = mapped_us


class Screen(screen.Screen):
    """The desktop tests' screen, with the time at which each box was mapped."""

    def __init__(self):
        super().__init__(None)
        self.root.change_attributes(event_mask=X.SubstructureNotifyMask)
        self.display.sync()
        self._boxes = {}

    def _next_event(self, end):
        """The next event and when it was read, or nothing when the time has come."""
        while not self.display.pending_events():
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.display.fileno()], [], [], left)[0]:
                return None, 0
        return self.display.next_event(), monotonic_us()

    def _note(self, event, now):
        """The box that the event brought, or the window of the one that it took, else nothing."""
        if event.type == X.MapNotify:
            geometry = event.window.get_geometry()
            if geometry.width >= LEAST_BOX_WIDTH:
                self._boxes[event.window.id] = Box(event.window.id, geometry, now)
                return self._boxes[event.window.id]
        if event.type in (X.UnmapNotify, X.DestroyNotify):
            return self._boxes.pop(event.window.id, None)
        return None

    def wait_for_box(self, deadline=10.0):
        """The next box that is mapped."""
        end = time.monotonic() + deadline
        while True:
            event, now = self._next_event(end)
            if event is None:
                raise NotSeen("no box was mapped")
            if self._note(event, now) and event.type == X.MapNotify:
                return self._boxes[event.window.id]

    def count(self):
        return len(self._boxes)

    def wait_for_count(self, count, deadline):
        """Waits until so many boxes are on the screen."""
        end = time.monotonic() + deadline
        while len(self._boxes) != count:
            event, now = self._next_event(end)
            if event is None:
                raise NotSeen(f"{len(self._boxes)} boxes on the screen, not {count}")
            self._note(event, now)

    def press_at(self, x, y):
        """Presses the left button there and lets it go; returns the time of the release."""
        self.move_pointer(x, y)
        self.press_mouse_button()
        time.sleep(0.03)  # as long as a finger stays on it
        released = monotonic_us()
        self.release_mouse_button()
        return released
