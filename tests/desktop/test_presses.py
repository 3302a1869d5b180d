"""A press of the mouse is an answer only when the person could have aimed it at the box."""

from harness.editor import Editor
from harness.service import RETRY, command_document
from harness.waiting import wait_until

NOT_COUNTED = "the press does not count"
CARRIED_OUT_AFTER = 600     # milliseconds, as a printer takes that moves its card
DOUBLE_CLICK_TIME = 400     # GTK's, without a desktop that says otherwise
ELSEWHERE = (5, 5)


def find_place(desktop, label="Retry"):
    """Where a button of a box comes up: that of an error that is withdrawn again."""
    desktop.service.report("First", "1")
    place = desktop.person.wait_for_box("First").button(label).extents.center
    desktop.service.withdraw("First", "1")
    desktop.person.wait_until_gone("First")
    return place


def test_a_double_click_is_one_answer(desktop):
    """The service tells the error until it has carried the command out: a fresh box comes."""
    desktop.start_polling_program()
    desktop.service.carry_out(CARRIED_OUT_AFTER)
    wanted = []
    for pause in (80, 120, 160, 200, 260, 320):
        desktop.person.move_pointer(*ELSEWHERE)
        desktop.service.report("A", str(pause))
        box = desktop.person.wait_for_box("A")
        desktop.person.move_pointer(*box.button("Retry").extents.center)
        desktop.person.click_after(DOUBLE_CLICK_TIME + 100, pause)
        wanted.append(command_document("A", RETRY, str(pause)))
        desktop.service.wait_for("command carried out", len(wanted))
        desktop.person.wait_until_gone("A")
        desktop.settle()
        assert desktop.service.commands() == wanted


def test_a_double_click_on_a_stack_of_boxes_answers_one(desktop):
    desktop.start_polling_program()
    for printer in ("A", "B"):
        desktop.service.report(printer)
        desktop.person.wait_for_box(printer)
    upper = desktop.person.boxes()[-1]
    desktop.person.move_pointer(*upper.button("Retry").extents.center)
    desktop.person.click_after(DOUBLE_CLICK_TIME + 100, 100)
    desktop.person.wait_until_gone(upper.title)
    desktop.log.wait_for(NOT_COUNTED)
    desktop.settle()
    assert desktop.service.commands() == [command_document(upper.title, RETRY)]
    desktop.person.click_after(DOUBLE_CLICK_TIME + 100)
    assert len(desktop.service.wait_for_commands(2)) == 2


def test_a_click_that_was_on_its_way_answers_nothing(desktop):
    desktop.start_polling_program()
    place = find_place(desktop)
    Editor(desktop, "maximized")
    desktop.person.move_pointer(*place)

    def is_not_counted(pause):
        """Whether a click in time was no answer; nothing when a busy machine clicked too late."""
        since, commands = desktop.log.count(), desktop.service.commands()
        desktop.service.report("A")
        in_time = desktop.person.click_when_covered(pause) < DOUBLE_CLICK_TIME
        if in_time:
            desktop.log.wait_for(NOT_COUNTED, since=since)
            desktop.settle()
            assert desktop.service.commands() == commands
            assert [box.labels for box in desktop.person.boxes("A")] == [["Retry", "Cancel"]]
        desktop.service.withdraw_all()
        desktop.person.wait_until_gone("A")
        return in_time

    for pause in (20, 40, 60, 80, 100, 130, 160, 190, 220, 250):
        wait_until(lambda after=pause: is_not_counted(after), f"a click after {pause} ms", 60)


def test_after_the_double_click_time_a_pointer_that_rested_counts(desktop):
    desktop.start_polling_program()
    desktop.person.move_pointer(*find_place(desktop))
    desktop.service.report("A")
    desktop.person.click_when_covered(DOUBLE_CLICK_TIME + 300)
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]


def test_a_pointer_that_comes_onto_the_button_counts_at_once(desktop):
    desktop.start_polling_program()
    place = find_place(desktop)
    desktop.person.move_pointer(*ELSEWHERE)
    desktop.service.report("A")
    wait_until(lambda: desktop.person.windows("A"), "the box")
    desktop.person.move_pointer(*place)
    desktop.person.click_after(50)
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]
    assert desktop.log.messages(NOT_COUNTED) == []


def test_an_assistive_tool_is_not_held_up(desktop):
    desktop.start_polling_program()
    desktop.person.move_pointer(*find_place(desktop))
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.person.press_as_assistive_tool(box, "Retry")
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY)]
    assert desktop.log.messages(NOT_COUNTED) == []
