"""What closes a box, and what does not."""

import signal

import pytest

from harness.service import CANCEL, RETRY, command_document
from harness.waiting import wait_until

WINDOW_MANAGERS = ["openbox", "metacity", "xfwm4"]


def show_box(desktop, printer="A", **error):
    desktop.service.report(printer, **error)
    return desktop.person.wait_for_box(printer)


def ids(desktop, title=None):
    return [window.id for window in desktop.person.windows(title)]


def by_task_bar(desktop, window):
    desktop.person.request_close(window)


def by_message(desktop, window):
    desktop.person.delete_window(window)


def by_keys(desktop, window):
    desktop.person.turn_to(window)
    desktop.person.press("Alt_L", "F4")


@pytest.mark.parametrize("window_manager", WINDOW_MANAGERS)
def test_a_request_to_close_leaves_the_box_open_and_answerable(start_desktop, window_manager):
    desktop = start_desktop(window_manager=window_manager)
    program = desktop.start_polling_program()
    box = show_box(desktop)
    for ask in (by_task_bar, by_message, by_keys):
        for _ in range(3):
            ask(desktop, box.window)
        desktop.settle()
        assert ids(desktop, "A") == [box.window.id] and program.is_running(), ask.__name__
    assert desktop.service.commands() == []
    desktop.person.click(desktop.person.wait_for_box("A"), "Retry")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]
    desktop.person.wait_until_gone("A")


def test_an_error_whose_window_was_destroyed_is_shown_again(desktop):
    program = desktop.start_polling_program()
    program.expect_problem("unexpectedly destroyed")
    box = show_box(desktop)
    desktop.person.destroy_window(box.window)
    again = wait_until(lambda: [other for other in desktop.person.boxes("A")
                                if other.window.id != box.window.id], "a new box")[0]
    desktop.person.click(again, "Retry")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]
    assert program.is_running()


def test_clicks_that_have_to_wait_for_the_program_answer_once(desktop):
    program = desktop.start_polling_program()
    wanted = []
    for labels in (("Retry", "Retry"), ("Retry", "Cancel"), ("Cancel", "Retry")):
        job = "+".join(labels)
        box = show_box(desktop, job=job)
        program.send_signal(signal.SIGSTOP)
        for label in labels:
            desktop.person.click(box, label)
        program.send_signal(signal.SIGCONT)
        desktop.person.wait_until_gone("A")
        wanted.append(command_document("A", {"Retry": RETRY, "Cancel": CANCEL}[labels[0]], job))
        desktop.service.wait_for_commands(len(wanted))
        desktop.settle()
        assert desktop.service.commands() == wanted
    assert program.is_running()


def test_a_key_that_is_pressed_again_and_again_answers_once(desktop):
    program = desktop.start_polling_program()
    box = show_box(desktop)
    desktop.person.turn_to(box)
    desktop.person.press("Tab")
    for _ in range(5):
        desktop.person.press("Return")
        desktop.person.press("space")
    desktop.service.wait_for_commands()
    desktop.person.wait_until_gone("A")
    desktop.settle()
    assert desktop.service.commands() == [command_document("A", RETRY)] and program.is_running()


def open_menu(desktop, box):
    desktop.person.click_at(*box.text_area.extents.center, button=3)
    wait_until(lambda: [window for window in desktop.person.windows() if window.menu], "a menu")


def hold_button(desktop, box):
    desktop.person.move_pointer(*box.button("Cancel").extents.center)
    desktop.person.press_mouse_button()
    wait_until(lambda: "armed" in desktop.person.wait_for_box(box.title).button("Cancel").states,
               "the pressed button")


def drag_selection(desktop, box):
    area = box.text_area.extents
    desktop.person.move_pointer(area.x + 10, area.y + 10)
    desktop.person.press_mouse_button()
    desktop.person.move_pointer(area.x + area.width // 2, area.y + area.height // 2)
    wait_until(lambda: desktop.person.wait_for_box(box.title).text_area.selection, "a selection")


BUSY = [open_menu, hold_button, drag_selection]


@pytest.mark.parametrize("be_busy", BUSY)
def test_a_withdrawal_closes_a_box_that_the_person_is_busy_with(desktop, be_busy):
    program = desktop.start_polling_program()
    box = show_box(desktop)
    be_busy(desktop, box)
    desktop.service.withdraw("A")
    wait_until(lambda: ids(desktop) == [], "no window")
    desktop.person.release_mouse_button()
    desktop.settle()
    assert desktop.service.commands() == [] and program.is_running()
    show_box(desktop)


def test_a_button_released_elsewhere_answers_nothing(desktop):
    desktop.start_polling_program()
    box = show_box(desktop)
    hold_button(desktop, box)
    desktop.person.move_pointer(*box.text_area.extents.center)
    desktop.person.release_mouse_button()
    desktop.settle()
    assert desktop.service.commands() == [] and ids(desktop, "A") == [box.window.id]
