"""A text editor for the person to work in: one big window, which says what is done to it.

It takes its window's title and, to fill the screen, "maximized". Each line that it prints is one
event as JSON.
"""

import json
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def say(what, value=None):
    print(json.dumps([what, value]), flush=True)


def main(title, *options):
    window = Gtk.Window(title=title, default_width=600, default_height=400)
    column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
    text = Gtk.TextView()
    button = Gtk.Button(label="Count words")
    column.pack_start(text, True, True, 0)
    column.pack_start(button, False, False, 0)
    window.add(column)
    text.get_buffer().connect("changed", lambda buffer: say("text", buffer.props.text))
    button.connect("clicked", lambda _: say("clicked"))
    window.connect("delete-event", lambda *_: say("asked to close"))
    window.connect("destroy", Gtk.main_quit)
    if "maximized" in options:
        window.maximize()
    window.show_all()
    text.grab_focus()
    Gtk.main()


main(*sys.argv[1:])
