"""What Orca says of the boxes to somebody who does not see them."""

import pytest

from harness.screen_reader import ScreenReader
from harness.service import RETRY, command_document

pytestmark = pytest.mark.slow
FIRST = ("notification", "Error, Front Desk", "Message 110: Print ribbon out or missing.")
SECOND = ("notification", "Warning, Back Office", "Message 113: ")


@pytest.fixture
def desktop(start_desktop):
    return start_desktop(window_manager="metacity")


@pytest.fixture
def reader(desktop):
    reader = ScreenReader(desktop)
    desktop.start_polling_program()
    return reader


def show_box(desktop, reader):
    desktop.service.report("Front Desk", "1", 110, 3)
    reader.wait_for(*FIRST)
    return desktop.person.wait_for_box("Front Desk")


def press(desktop, reader, *keys):
    """Presses a key and returns the number of what is said from then on."""
    since = len(reader.said())
    desktop.person.press(*keys)
    return since


def test_boxes_are_said_when_they_appear_though_nobody_turns_to_them(desktop, reader):
    show_box(desktop, reader)
    since = len(reader.said())
    desktop.service.report("Back Office", "2", 113, 4)
    said = reader.wait_for(*SECOND, since=since)
    assert not [text for text in said if "Front Desk" in text or "110" in text]
    assert desktop.person.focused_window() not in [box.window.id for box in desktop.person.boxes()]


def test_a_box_is_read_line_by_line_and_answered(desktop, reader):
    box = show_box(desktop, reader)
    since = len(reader.said())
    desktop.person.turn_to(box)
    reader.wait_for("Front Desk", "read only text", FIRST[-1], since=since)
    for line in box.text.split("\n")[1:5]:
        since = press(desktop, reader, "Down")
        reader.wait_for(line[:30] if line else "blank", since=since)
    for label in ("Retry", "Cancel"):
        since = press(desktop, reader, "Tab")
        said = reader.wait_for(label, "button", since=since)
        assert not [text for text in said if "Message 110" in text], "the text once more"
    since = press(desktop, reader, "Shift_L", "Tab")
    reader.wait_for("Retry", "button", since=since)
    desktop.person.press("space")
    assert desktop.service.wait_for_commands() == [command_document("Front Desk", RETRY)]


def test_the_withdrawal_of_a_box_that_nobody_is_in_disturbs_nobody(desktop, reader):
    box = show_box(desktop, reader)
    desktop.service.report("Back Office", "2", 113, 4)
    reader.wait_for(*SECOND)
    desktop.person.turn_to(box)
    reader.wait_for("Front Desk", "read only text")
    since = len(reader.said())
    desktop.service.withdraw("Back Office", "2")
    desktop.person.wait_until_gone("Back Office")
    desktop.settle()
    desktop.person.press("Tab")
    said = reader.wait_for("Retry", "button", since=since)
    assert not [text for text in said if "Back Office" in text or "113" in text]
