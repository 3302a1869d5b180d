"""The box as a person meets it: title, text, size, place, and what a screen reader finds."""

import pytest
from PIL import Image

from harness.sandbox import build_directory
from harness.waiting import wait_until

SHORTEST, LONGEST, UNKNOWN = 317, 210, 99999  # error codes, by the length of their texts
TITLE_BAR = 40  # pixels, the tallest of the window managers


def show_box(desktop, printer="Front desk", code=110, severity=3, **program):
    desktop.start_polling_program(**program)
    desktop.service.report(printer, "1", code, severity)
    return desktop.person.wait_for_box(printer)


def look_up(desktop, number):
    """A text of the catalogue."""
    program = build_directory() / "zor-card-printer-error-ui"
    return desktop.sandbox.run([program, "--getstring", number])[1].decode()[:-1]


def check_readable(box, screen):
    """The whole box is on the screen, its parts within it, its text at least by scrolling."""
    width, height = screen
    frame = box.window.client
    assert 0 <= frame.x and frame.x + frame.width <= width
    assert 0 <= frame.y and frame.y + frame.height <= height
    for part in [box.icon, *box.buttons]:
        assert frame.contains(part.extents), part.name or part.role
    pane = box.root.all("scroll pane")[0].extents
    assert frame.contains(pane)
    assert pane.x <= box.text_area.extents.x
    assert box.text_area.extents.width <= pane.width
    bar_shown = any("showing" in bar.states for bar in box.root.all("scroll bar"))
    last = box.text_area.last_character
    assert last.x + last.width <= pane.x + pane.width
    assert bar_shown == (last.y + last.height > pane.y + pane.height)
    return bar_shown


def check_centered(window, screen):
    client = window.client
    assert abs(client.x + client.width / 2 - screen[0] / 2) <= TITLE_BAR
    assert abs(client.y + client.height / 2 - screen[1] / 2) <= TITLE_BAR


def test_the_text_is_a_title_an_empty_line_and_what_to_do(desktop):
    desktop.start_polling_program()
    texts = {code: look_up(desktop, code) + "\n\n" + look_up(desktop, body)
             for code, body in ((110, 1110), (504, 1502), (SHORTEST, 1317), (LONGEST, 1210))}
    # A code without texts of its own names a text and nothing else.
    texts |= {UNKNOWN: "UNEXPECTED_TEXT_KEY:99999\n\n", -5: "UNEXPECTED_TEXT_KEY:-5\n\n",
              36: "OK\n\n", "36abc": "OK\n\n"}
    for code, text in texts.items():
        desktop.service.report(f"Printer {code}", code=code)
        assert desktop.person.wait_for_box(f"Printer {code}").text == text
        desktop.service.withdraw(f"Printer {code}")


@pytest.mark.parametrize("window_manager", ["openbox", "metacity", "xfwm4", None])
def test_the_box_is_centered_above_and_in_the_task_bar_and_has_no_way_to_close_it(
        start_desktop, window_manager):
    desktop = start_desktop(window_manager=window_manager, screen="1024x768")
    window = show_box(desktop).window
    # Without a title bar the box gets a line for the printer's name once it is on the screen.
    check_centered(window, (1024, 768))
    assert window.icon_sizes
    has_functions, functions = window.motif_hints[0] & 1, window.motif_hints[1]
    everything, close = 1, 32  # with "everything" the others say what there is not
    assert has_functions and (functions & everything) and (functions & close)
    assert "_NET_WM_STATE_MODAL" not in window.states
    def printer_name():
        labels = desktop.person.wait_for_box("Front desk").root.all("label")
        return [label.name for label in labels if "showing" in label.states]

    if window_manager:
        assert "_NET_WM_STATE_ABOVE" in window.states
        assert window.id in desktop.person.task_bar()
        assert "Front desk" not in printer_name()
    else:
        wait_until(lambda: "Front desk" in printer_name(), "the name above the text")


def test_a_screen_reader_finds_an_alert_with_its_parts(desktop):
    box = show_box(desktop)
    assert (box.root.role, box.root.name) == ("alert", "Front desk")
    assert box.icon.description == look_up(desktop, 110)
    assert [button.name for button in box.buttons] == ["Retry", "Cancel"]
    assert "editable" not in box.text_area.states
    assert box.icon.extents.x < box.text_area.extents.x
    assert abs(box.icon.extents.y - box.text_area.extents.y) <= 4
    right = box.window.client.x + box.window.client.width
    assert right - 20 <= box.buttons[-1].extents.x + box.buttons[-1].extents.width <= right


def test_the_text_cannot_be_changed_but_selected_and_copied(desktop):
    box = show_box(desktop)
    desktop.person.turn_to(box)
    for keys in (["x"], ["BackSpace"], ["Delete"], ["Control_L", "a"], ["Control_L", "x"],
                 ["Control_L", "c"]):
        desktop.person.press(*keys)
    paste = ("import gi; gi.require_version('Gtk', '3.0'); from gi.repository import Gtk, Gdk; "
             "print(Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).wait_for_text() or '', end='')")
    wait_until(lambda: desktop.sandbox.run(["/usr/bin/python3", "-c", paste])[1].decode()
               == box.text, "the text in the clipboard")
    assert desktop.person.wait_for_box("Front desk").text == box.text


def test_no_text_cursor_blinks_in_the_box(desktop):
    """For longer than a blink takes, two pictures a time apart are the same."""
    box = show_box(desktop)
    desktop.person.turn_to(box)
    wait_until(lambda: desktop.person.boxes()[0].focused is not None, "the focus in the box")
    pictures = set()
    for _ in range(4):  # a blink is 1.2 s; this is some 2 s
        desktop.service.wait_for_replies(5)
        area = box.text_area.extents
        picture = desktop.sandbox.directory / "picture.png"
        desktop.person.take_screenshot(picture)
        pictures.add(crop(picture, area))
    assert len(pictures) == 1


def crop(picture, area):
    with Image.open(picture) as image:
        return image.crop((area.x, area.y, area.x + area.width, area.y + area.height)).tobytes()


@pytest.mark.parametrize("screen, text_scale", [("1920x1080", 1), ("1024x768", 2)])
def test_a_box_keeps_its_shape_when_somebody_turns_to_it(start_desktop, screen, text_scale):
    desktop = start_desktop(screen=screen, text_scale=text_scale)
    desktop.start_polling_program()
    for code in (110, 111, 128, LONGEST):
        title = f"Printer {code}"
        desktop.service.report(title, "1", code, 3)
        shape = parts(desktop.person.wait_for_box(title))
        desktop.person.turn_to(desktop.person.boxes(title)[0])
        for _ in range(3):  # over both buttons, and back to the text
            desktop.person.press("Tab")
            desktop.settle()
            assert parts(desktop.person.boxes(title)[0]) == shape, title
        desktop.service.withdraw(title)
        desktop.person.wait_until_gone(title)


def parts(box):
    """Where everything stands within the box's window."""
    area = box.window.client
    return (area.width, area.height,
            [(node.extents.x - area.x, node.extents.y - area.y, node.extents.width,
              node.extents.height) for node in [box.icon, box.text_area, *box.buttons]])


# tests/unit/box_fit_test.cpp has every text, screen, scale and theme; here it is the real desktop's.
@pytest.mark.parametrize("screen, text_scale, theme", [("800x600", 2, "HighContrast"),
                                                       ("1920x1080", 1, "Adwaita:dark")])
def test_the_shortest_and_longest_texts_are_readable(start_desktop, screen, text_scale, theme):
    desktop = start_desktop(screen=screen, text_scale=text_scale, theme=theme)
    desktop.start_polling_program()
    size = desktop.person.screen_size()
    for name, code in (("shortest", SHORTEST), ("longest", LONGEST)):
        desktop.service.report(name, "1", code, 3)
        box = desktop.person.wait_for_box(name)
        desktop.take_screenshot(f"{name}-{screen}-scale-{text_scale}-{theme.replace(':', '-')}")
        scrolls = check_readable(box, size)
        check_centered(box.window, size)
        assert box.window.client.height <= 0.85 * size[1] + TITLE_BAR
        assert scrolls == (name == "longest" and screen == "800x600")
        desktop.person.click(box, "Retry")
        desktop.person.wait_until_gone(name)
