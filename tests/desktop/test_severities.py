"""What a severity means: icon, buttons, and what each of them tells the service."""

import pytest

from harness.pictures import most_similar
from harness.sandbox import build_directory
from harness.service import CANCEL, RESUME, RETRY, command_document
from harness.waiting import wait_until

PRINTER, JOB, CODE = "Front desk", "17", "105"
ICONS = [build_directory() / "Data/Assets" / name for name in ("caution.png", "stop.png")]

OK_CANCELS = [("OK", CANCEL)]
RETRY_OR_CANCEL = [("Retry", RETRY), ("Cancel", CANCEL)]
RESUME_OR_CANCEL = [("OK", RESUME), ("Cancel", CANCEL)]
ONLY_CANCEL = [("Cancel", CANCEL)]

# severity, icon, buttons from left to right with the action that each one sends
SEVERITIES = [
    ("-1", "stop.png", ONLY_CANCEL),
    ("0", "stop.png", ONLY_CANCEL),
    ("1", "stop.png", OK_CANCELS),
    ("2", "stop.png", OK_CANCELS),
    ("3", "stop.png", RETRY_OR_CANCEL),
    ("4", "caution.png", RESUME_OR_CANCEL),
    ("5", "caution.png", RESUME_OR_CANCEL),
    ("6", "caution.png", ONLY_CANCEL),
    ("99", "caution.png", ONLY_CANCEL),
]
ANSWERS = [pytest.param(severity, buttons, number, id=f"{severity}-{buttons[number][0]}")
           for severity, _, buttons in SEVERITIES for number in range(len(buttons))]


def show_box(desktop, severity):
    desktop.start_polling_program()
    desktop.service.report(PRINTER, JOB, CODE, severity)
    return desktop.person.wait_for_box(PRINTER)


def check_answer(desktop, action):
    """The service gets this answer and no other, and the box is gone for good."""
    wanted = [command_document(PRINTER, action, JOB, CODE)]
    assert desktop.service.wait_for_commands() == wanted
    desktop.person.wait_until_gone(PRINTER)
    desktop.settle()
    assert desktop.service.commands() == wanted
    assert desktop.person.windows(PRINTER) == []


@pytest.mark.parametrize("severity, icon, buttons", SEVERITIES)
def test_a_severity_has_its_icon_and_buttons(desktop, severity, icon, buttons):
    box = show_box(desktop, severity)
    assert box.labels == [label for label, _ in buttons]
    picture = desktop.take_screenshot(f"severity-{severity}")
    assert most_similar(picture, box.icon.extents, ICONS).name == icon


@pytest.mark.parametrize("severity, buttons, number", ANSWERS)
def test_a_mouse_click_sends_the_answer_once(desktop, severity, buttons, number):
    label, action = buttons[number]
    desktop.person.click(show_box(desktop, severity), label)
    check_answer(desktop, action)


@pytest.mark.parametrize("key", ["Return", "space"])
@pytest.mark.parametrize("severity, buttons, number", ANSWERS)
def test_a_key_press_sends_the_answer_once(desktop, severity, buttons, number, key):
    label, action = buttons[number]
    desktop.person.turn_to(show_box(desktop, severity))
    for _ in range(number + 1):  # the text has the focus at first
        desktop.person.press("Tab")
    wait_until(lambda: any(box.focused and box.focused.name == label
                           for box in desktop.person.boxes()), f"the focus on {label}")
    desktop.person.press(key)
    check_answer(desktop, action)
