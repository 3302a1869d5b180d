"""Errors come, stay, are answered or withdrawn, and come again."""

from harness.service import CANCEL, RETRY, command_document
from harness.waiting import wait_until


def printers(count):
    return [f"Printer {number}" for number in range(1, count + 1)]


def place(words, wanted, count):
    """Where the wanted words stand for the count-th time."""
    return [number for number, word in enumerate(words) if word == wanted][count - 1]


def show_boxes(desktop, count):
    """One after the other: of two errors between two ticks only the later one would be seen."""
    for printer in printers(count):
        since = desktop.log.count()
        desktop.service.report(printer)
        desktop.log.wait_for(f"present_error_box begin; printer={printer} ", since=since)
    wait_until(lambda: {window.title for window in desktop.person.windows()}
               >= set(printers(count)), f"{count} boxes")


def test_an_error_is_shown_once_while_it_is_reported_on_and_on(desktop):
    desktop.start_polling_program()
    desktop.service.report("A", "1", 110, 3)
    first = desktop.person.wait_for_box("A")
    desktop.settle(rounds=10)
    assert [window.id for window in desktop.person.windows("A")] == [first.window.id]
    assert len(desktop.log.messages("present_error_box begin")) == 1


def test_another_report_for_the_same_printer_and_job_leaves_the_box_alone(desktop):
    desktop.start_polling_program()
    desktop.service.report("A", "1", 110, 3)
    before = desktop.person.wait_for_box("A")
    desktop.service.report("A", "1", 105, 4)
    desktop.service.wait_for("event published", 2)
    desktop.settle()
    boxes = desktop.person.boxes("A")
    assert [box.window.id for box in boxes] == [before.window.id]
    assert (boxes[0].text, boxes[0].labels) == (before.text, ["Retry", "Cancel"])
    desktop.person.click(boxes[0], "Retry")  # what is sent is what is shown
    assert desktop.service.wait_for_commands() == [command_document("A", RETRY, "1", 110)]


def test_a_withdrawal_closes_just_its_box_and_sends_nothing(desktop):
    desktop.start_polling_program()
    show_boxes(desktop, 3)
    desktop.service.withdraw("Printer 2")
    desktop.person.wait_until_gone("Printer 2")
    desktop.settle()
    assert sorted(window.title for window in desktop.person.windows()) == ["Printer 1", "Printer 3"]
    assert desktop.service.commands() == []


def test_boxes_are_all_withdrawn(desktop):
    program = desktop.start_polling_program()
    for count in (0, 1, 2, 20):
        show_boxes(desktop, count)
        desktop.service.withdraw_all()
        wait_until(lambda: not desktop.person.windows(), "no boxes", 20)
        desktop.settle()
        assert desktop.person.windows() == [] and desktop.service.commands() == []
    assert program.is_running()


def test_an_answered_error_is_shown_afresh_when_it_is_reported_again(desktop):
    desktop.start_polling_program()
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.service.say('fail-again "A" 1 1')  # the retry fails, so the error comes again
    desktop.person.click(box, "Retry")
    again = wait_until(lambda: [other for other in desktop.person.boxes("A")
                                if other.window.id != box.window.id], "a fresh box")[0]
    desktop.person.click(again, "Cancel")
    assert desktop.service.wait_for_commands(2) == [command_document("A", RETRY),
                                                    command_document("A", CANCEL)]


def test_an_answered_error_that_is_still_the_news_comes_back(desktop):
    """A service that takes no notice of the answer goes on reporting the error."""
    desktop.start_polling_program()
    desktop.service.publish("<PrinterStatus><PrinterName>A</PrinterName><PrinterJobID>1"
                            "</PrinterJobID><ErrorCode>110</ErrorCode><ErrorSeverity>3"
                            "</ErrorSeverity></PrinterStatus>")
    for count in range(1, 4):
        desktop.person.click(desktop.person.wait_for_box("A"), "Retry")
        desktop.service.wait_for_commands(count)
        desktop.log.wait_for("present_error_box end", count + 1)


def test_an_answered_error_does_not_flash_up_again(desktop):
    """The service withdraws what is answered; a status from before the answer is old news.

    One that is asked for between the press and the arrival of the command is none: it may show the
    box anew, until the withdrawal.
    """
    desktop.start_polling_program()
    shown = 0
    for count in range(1, 13):
        desktop.service.report("A", job=str(count))
        box = desktop.person.wait_for_box("A")
        requests = desktop.service.count("request status")
        desktop.person.click(box, "Retry")
        desktop.service.wait_for_commands(count)
        desktop.service.wait_for("event published", 2 * count)
        events = [line.words for line in desktop.service.lines()]
        later = events[:place(events, "request command", count)].count("request status") - requests
        desktop.settle()
        desktop.person.wait_until_gone("A")
        again = len(desktop.log.messages("present_error_box begin")) - shown - 1
        assert 0 <= again <= later
        shown += again + 1


def test_many_boxes_are_answered_in_turn(desktop):
    count = 20
    program = desktop.start_polling_program()
    show_boxes(desktop, count)
    # All boxes look alike and stand at the same place.
    x, y = desktop.person.boxes(desktop.person.windows()[-1].title)[0].button(
        "Retry").extents.center
    for left in range(count, 0, -1):
        uppermost = desktop.person.windows()[-1].id
        # Two clicks at one place would be a double click.
        desktop.person.click_at(x + (15 if left % 2 else -15), y)
        wait_until(lambda gone=uppermost: gone not in
                   [window.id for window in desktop.person.windows()], f"{left - 1} boxes")
    wanted = sorted(command_document(printer, RETRY) for printer in printers(count))
    assert sorted(desktop.service.wait_for_commands(count)) == wanted
    desktop.settle()
    assert sorted(desktop.service.commands()) == wanted and program.is_running()
