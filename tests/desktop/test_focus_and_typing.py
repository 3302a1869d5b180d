"""Boxes come up on top, yet whoever is typing goes on typing."""

import itertools

import pytest

from harness.editor import Editor
from harness.service import CANCEL, RETRY, command_document
from harness.waiting import wait_until

WINDOW_MANAGERS = ["openbox", "metacity", "xfwm4"]
SENTENCE = "Dear Ann\nyes  no\nI am well\n\n"  # full of keys that press buttons


@pytest.fixture(params=WINDOW_MANAGERS)
def desktop(start_desktop, request):
    return start_desktop(window_manager=request.param)


def raised(desktop):
    """The titles of the windows, the lowest first."""
    return [window.title for window in desktop.person.windows()]


def find_uncovered(desktop, window):
    """A point within a window that no other one covers."""
    area = window.client
    return next(point for point in itertools.product(
        range(area.x + 2, area.x + area.width, 20), range(area.y + 2, area.y + area.height, 20))
        if desktop.person.window_at(*point) == window.id)


@pytest.mark.parametrize("options", [(), ("maximized",)])
def test_typing_while_boxes_appear_answers_none(desktop, options):
    desktop.start_polling_program()
    editor = Editor(desktop, *options)
    typed = ""
    for number in range(1, 5):
        desktop.service.report(f"Printer {number}", severity=number)
        desktop.person.type_text(SENTENCE)
        typed += SENTENCE
        # Of two errors between two ticks only the later one would be seen.
        desktop.person.wait_for_box(f"Printer {number}")
    for _ in range(4):  # and while they stand there
        desktop.person.type_text(SENTENCE)
        typed += SENTENCE
    editor.wait_for_text(typed)
    desktop.settle()
    assert desktop.service.commands() == []
    assert desktop.person.focused_window() == editor.window.id
    assert len([title for title in raised(desktop) if title.startswith("Printer")]) == 4


def test_typing_while_a_box_goes_and_another_comes_answers_none(desktop):
    desktop.start_polling_program()
    editor = Editor(desktop, "maximized")
    typed = ""
    for number in range(1, 5):
        desktop.service.report("A", str(number))
        box = desktop.person.wait_for_box("A")
        desktop.person.type_text("a b\n")
        desktop.service.withdraw("A", str(number))
        desktop.person.type_text("c d\n")
        wait_until(lambda gone=box.window.id: gone not in
                   [window.id for window in desktop.person.windows()], "the end of the box")
        typed += "a b\nc d\n"
    editor.wait_for_text(typed)
    assert desktop.service.commands() == []


@pytest.mark.parametrize("options", [(), ("maximized",)])
def test_a_box_is_above_the_window_in_use(desktop, options):
    desktop.start_polling_program()
    editor = Editor(desktop, *options)
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    assert raised(desktop).index("A") > raised(desktop).index(Editor.TITLE)
    x, y, size = box.window.client.x, box.window.client.y, box.window.client
    for corner in ((x + 2, y + 2), (x + size.width - 2, y + size.height - 2)):
        assert desktop.person.window_at(*corner) == box.window.id
    desktop.person.click_at(*find_uncovered(desktop, editor.window))
    desktop.person.type_text("x")
    editor.wait_for_text("x")
    assert raised(desktop).index("A") > raised(desktop).index(Editor.TITLE)


def turn_by_mouse(desktop, box):
    desktop.person.click_at(*box.text_area.extents.center)


def turn_by_alt_tab(desktop, box):
    # A person looks first. The focus that a switch of windows brings looks like one that the window
    # manager gives by itself, so within a blink of the box's appearing it is taken for that.
    desktop.settle(6)
    desktop.person.switch_window()


def turn_by_task_bar(desktop, box):
    desktop.person.turn_to(box)


@pytest.mark.parametrize("turn", [turn_by_mouse, turn_by_alt_tab, turn_by_task_bar])
def test_a_person_may_turn_to_the_box_and_answer_it_by_keyboard(desktop, turn):
    desktop.start_polling_program()
    Editor(desktop)
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    turn(desktop, box)
    wait_until(lambda: desktop.person.focused_window() == box.window.id, "the keyboard focus")
    wait_until(lambda: focused_in(desktop, "A") == "text", "the focus on the text")
    desktop.person.press("Return")  # on the text it answers nothing
    desktop.person.press("space")
    desktop.person.press("Tab")
    wait_until(lambda: focused_in(desktop, "A") == "Retry", "the focus on Retry")
    desktop.settle()
    assert desktop.service.commands() == []
    desktop.person.press("Right")
    wait_until(lambda: focused_in(desktop, "A") == "Cancel", "the focus on Cancel")
    desktop.person.press("Shift_L", "Tab")
    wait_until(lambda: focused_in(desktop, "A") in ("Retry", "text"), "the focus further back")
    desktop.person.press("Tab")
    wait_until(lambda: focused_in(desktop, "A") in ("Retry", "Cancel"), "the focus on a button")
    label = focused_in(desktop, "A")
    desktop.person.press("space")
    action = {"Retry": RETRY, "Cancel": CANCEL}[label]
    assert desktop.service.wait_for_commands() == [command_document("A", action)]


def focused_in(desktop, title):
    """The name of the focused part of a box, or its role when it has no name."""
    boxes = desktop.person.boxes(title)
    part = boxes[0].focused if boxes else None
    return part and (part.name or part.role)


def test_after_an_answer_the_keyboard_goes_back_to_the_window_in_use(desktop):
    desktop.start_polling_program()
    editor = Editor(desktop)
    desktop.service.report("A")
    desktop.person.click(desktop.person.wait_for_box("A"), "Cancel")
    desktop.person.wait_until_gone("A")
    wait_until(lambda: desktop.person.focused_window() == editor.window.id, "the focus back")
    desktop.person.type_text("well")
    editor.wait_for_text("well")


def test_escape_answers_nothing(desktop):
    desktop.start_polling_program()
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.person.turn_to(box)
    desktop.person.press("Escape")
    desktop.settle()
    assert desktop.service.commands() == []
    assert [window.id for window in desktop.person.windows("A")] == [box.window.id]
