"""A person without a mouse: where the focus is, how it moves, what the keys do in the box."""

import pytest

from harness.service import CANCEL, RETRY, command_document
from harness.waiting import wait_until
from test_translation import SYSTEM, english, translations, write_translation  # noqa: F401

LONG = 210  # an error code whose text scrolls at 800x600
BUTTONS = {"Retry": "_Wiederholen", "Cancel": "_Abbrechen", "OK": "O_K"}


def show_box(desktop, code=LONG, **program):
    desktop.start_polling_program(**program)
    desktop.service.report("A", "1", code, 3)
    desktop.person.turn_to(desktop.person.wait_for_box("A"))
    wait_for_focus(desktop, "text")
    return desktop.person.boxes("A")[0]


def focused(desktop):
    boxes = desktop.person.boxes("A")
    part = boxes[0].focused if boxes else None
    return part and (part.name or part.role)


def wait_for_focus(desktop, name):
    wait_until(lambda: focused(desktop) == name, lambda: f"the focus on {name}, not on "
               f"{focused(desktop)}")


def caret(desktop):
    return desktop.person.boxes("A")[0].text_area.caret


def press_and_wait_for_caret(desktop, *keys):
    before = caret(desktop)
    desktop.person.press(*keys)
    wait_until(lambda: caret(desktop) != before, f"the caret moving at {keys}")
    return caret(desktop)


def test_tab_goes_from_the_text_over_the_buttons_and_round(desktop):
    show_box(desktop)
    for name in ("Retry", "Cancel", "text", "Retry"):
        desktop.person.press("Tab")
        wait_for_focus(desktop, name)
    desktop.person.press("Shift_L", "Tab")
    wait_for_focus(desktop, "text")
    desktop.person.press("Control_L", "Tab")
    wait_for_focus(desktop, "Retry")


def test_the_arrows_move_a_caret_from_line_to_line(desktop):
    box = show_box(desktop)
    assert caret(desktop) == 0
    lines = [0]
    for _ in range(3):
        lines.append(press_and_wait_for_caret(desktop, "Down"))
    assert lines == sorted(lines)
    assert box.text[lines[1]] == "\n", "the empty line below the title"
    press_and_wait_for_caret(desktop, "Up")
    assert caret(desktop) == lines[2]


def test_a_page_is_turned_and_stays_where_it_is(start_desktop):
    """What has no caret jumps back to its beginning at Space or Return."""
    desktop = start_desktop(screen="800x600", text_scale=2)
    box = show_box(desktop)
    top = scrolled_to(desktop)
    press_and_wait_for_caret(desktop, "Page_Down")
    wait_until(lambda: scrolled_to(desktop) < top - 50, "the text further down")
    desktop.settle()
    place = scrolled_to(desktop)
    for key in ("space", "Return", "Escape"):
        desktop.person.press(key)
    desktop.settle()
    assert scrolled_to(desktop) == place
    assert desktop.service.commands() == []
    press_and_wait_for_caret(desktop, "Control_L", "End")
    assert caret(desktop) == len(box.text)


def scrolled_to(desktop):
    """Where on the screen the text ends, in sight or not."""
    return desktop.person.boxes("A")[0].text_area.last_character.y


@pytest.mark.parametrize("key, action", [("w", RETRY), ("a", CANCEL)])
def test_a_translation_gives_the_buttons_keys(start_desktop, translations, english, key, action):
    write_translation(translations, "de", lambda text: BUTTONS.get(text, text))
    desktop = start_desktop(replaced={SYSTEM: translations})
    box = show_box(desktop, environment=english | {"LANGUAGE": "de"})
    assert box.labels == ["Wiederholen", "Abbrechen"]
    desktop.person.press("Alt_L", key)
    assert desktop.service.wait_for_commands() == [command_document("A", action, code=LONG)]


def test_english_buttons_have_no_keys_of_their_own(desktop):
    show_box(desktop)
    for key in ("r", "c"):
        desktop.person.press("Alt_L", key)
    desktop.settle()
    assert desktop.service.commands() == []


@pytest.mark.parametrize("window_manager", ["openbox", "metacity", "xfwm4"])
def test_a_new_box_does_not_hide_the_one_that_is_being_answered(start_desktop, window_manager):
    desktop = start_desktop(window_manager=window_manager)
    box = show_box(desktop)
    desktop.person.press("Tab")
    wait_for_focus(desktop, "Retry")
    for printer in ("B", "C"):
        desktop.service.report(printer)
        desktop.person.wait_for_box(printer)
        desktop.settle()
        assert desktop.person.window_at(*box.button("Retry").extents.center) == box.window.id
    desktop.person.press("space")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY, code=LONG)]
    desktop.person.wait_until_gone("A")
    others = [window.id for window in desktop.person.windows() if window.title in "BC"]
    assert desktop.person.window_at(*box.window.client.center) in others
