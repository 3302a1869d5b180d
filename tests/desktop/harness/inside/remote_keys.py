"""Presses keys of a mutter without a screen, through its interface for remote desktops.

Reads requests from standard input, one JSON object a line: the X names of keys, pressed one after
the other, and the seconds that the person takes for each. Prints a line when it is ready and for
each request that is done, with the longest time in seconds from one key to the next.
"""

import json
import sys
import time

import gi

gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, Gio, GLib  # noqa: E402

NAME = "org.gnome.Mutter.RemoteDesktop"


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def call(path, interface, method, arguments=None):
        return bus.call_sync(NAME, path, interface, method, arguments, None, 0, 10000)

    session = call("/org/gnome/Mutter/RemoteDesktop", NAME, "CreateSession").unpack()[0]
    call(session, f"{NAME}.Session", "Start")

    def press(name):
        for is_down in (True, False):
            call(session, f"{NAME}.Session", "NotifyKeyboardKeysym",
                 GLib.Variant("(ub)", (Gdk.keyval_from_name(name), is_down)))

    press("Shift_L")  # the first key makes the keyboard, and is lost
    print("ready", flush=True)
    for line in sys.stdin:
        request = json.loads(line)
        longest, last = 0, time.monotonic()
        for name in request["keys"]:
            press(name)
            time.sleep(request["pace"])
            now = time.monotonic()
            longest, last = max(longest, now - last), now
        print("done", longest, flush=True)


main()
