"""What a severity means: icon, buttons, and what each of them tells the service.

tests/unit/error_box_test.cpp has every row of the table; here it is drawn, clicked and typed at.
"""

import pytest

from harness.pictures import most_similar
from harness.sandbox import build_directory
from harness.service import CANCEL, RESUME, RETRY, command_document
from harness.waiting import wait_until

CODE = "105"
ICONS = [build_directory() / "Data/Assets" / name for name in ("caution.png", "stop.png")]

# severity, icon, buttons from left to right with the action that each one sends
SEVERITIES = [
    ("0", "stop.png", [("Cancel", CANCEL)]),
    ("2", "stop.png", [("OK", CANCEL)]),
    ("3", "stop.png", [("Retry", RETRY), ("Cancel", CANCEL)]),
    ("4", "caution.png", [("OK", RESUME), ("Cancel", CANCEL)]),
    ("6", "caution.png", [("Cancel", CANCEL)]),
]


def by_mouse(desktop, box, number):
    desktop.person.click(box, box.labels[number])


def by_key(key):
    def press(desktop, box, number):
        desktop.person.turn_to(box)
        for _ in range(number + 1):  # the text has the focus at first
            desktop.person.press("Tab")
        wait_until(lambda: any(shown.focused and shown.focused.name == box.labels[number]
                               for shown in desktop.person.boxes()), f"the focus, for {key}")
        desktop.person.press(key)
    return press


@pytest.mark.parametrize("answer", [by_mouse, by_key("Return"), by_key("space")],
                         ids=["mouse", "Return", "space"])
def test_each_button_sends_its_answer_once_and_the_box_is_gone_for_good(desktop, answer):
    desktop.start_polling_program()
    wanted = []
    for severity, icon, buttons in SEVERITIES:
        for number, (label, action) in enumerate(buttons):
            # A printer each: asked before the answer arrives, the service may show the box once more.
            printer = f"{severity} {label}"
            desktop.service.report(printer, code=CODE, severity=severity)
            box = desktop.person.wait_for_box(printer)
            assert box.labels == [button for button, _ in buttons], severity
            if number == 0:
                picture = desktop.take_screenshot(f"severity-{severity}")
                assert most_similar(picture, box.icon.extents, ICONS).name == icon, severity
            answer(desktop, box, number)
            wanted.append(command_document(printer, action, code=CODE))
            assert desktop.service.wait_for_commands(len(wanted)) == wanted
            desktop.person.wait_until_gone(printer)
    desktop.settle()
    assert desktop.service.commands() == wanted
    assert desktop.person.windows() == []
