"""The printer service is down, goes away, is silent or slow: boxes stay, polling resumes.

After a failure the program rests for ten seconds, so these tests take their time.
"""

from harness.service import CANCEL, command_document
from harness.waiting import wait_until

FAILED = "caught c++ exception: "
REST = 10  # seconds


def status_requests(desktop, quoted):
    return [line for line in desktop.service.lines("request status")
            if line.fields["quoted"] == quoted]


def wait_for_fresh_start(desktop, count):
    """Waits for the count-th status request without a previous reply."""
    wait_until(lambda: len(status_requests(desktop, "none")) >= count,
               f"{count} requests without a previous reply", REST + 10)


def test_a_service_that_is_down_at_the_start_is_tried_again_after_a_rest(start_desktop):
    desktop = start_desktop(service=False)
    program = desktop.start_program()
    failure = desktop.log.wait_for(FAILED)[0]
    assert failure.text.endswith(FAILED + "Failed to connect socket.")
    desktop.log.wait_for(FAILED, 2, deadline=REST + 5)
    assert desktop.person.windows() == [] and program.is_running()
    assert desktop.log.messages("handling updated status") == []
    desktop.start_service()
    desktop.service.report("A")
    desktop.person.wait_for_box("A", deadline=REST + 5)
    assert status_requests(desktop, "none")


def test_boxes_stay_while_the_service_is_away_and_polling_begins_afresh(desktop):
    desktop.start_polling_program()
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.service.stop()
    desktop.log.wait_for(FAILED)  # in whatever it was about: a connection, a request, a reply
    assert [window.id for window in desktop.person.windows("A")] == [box.window.id]
    desktop.service.go_on()
    wait_for_fresh_start(desktop, 2)
    desktop.settle()
    assert [window.id for window in desktop.person.windows("A")] == [box.window.id]
    desktop.service.withdraw("A")
    desktop.person.wait_until_gone("A")


def test_an_answer_that_the_service_cannot_take_is_logged_and_not_repeated(desktop):
    program = desktop.start_polling_program()
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.service.stop()
    desktop.person.click(box, "Cancel")
    desktop.person.wait_until_gone("A")
    desktop.log.wait_for("printer job exception: Failed to connect socket.")
    desktop.log.wait_for("finished action")
    desktop.service.go_on()
    # The service still has the error, so the person is asked again.
    again = desktop.person.wait_for_box("A", deadline=REST + 5)
    assert desktop.service.commands() == []
    desktop.person.click(again, "Cancel")
    assert desktop.service.wait_for_commands() == [command_document("A", CANCEL)]
    assert program.is_running()


def test_boxes_can_be_answered_while_a_status_reply_is_awaited(desktop):
    desktop.start_polling_program()
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    requests = desktop.service.count("request status")
    desktop.service.fault("silent times 1 on status")
    wait_until(lambda: desktop.service.count("request status") > requests, "a request")
    desktop.person.click(box, "Cancel")
    desktop.person.wait_until_gone("A", deadline=3)
    assert desktop.service.wait_for_commands(deadline=3) == [command_document("A", CANCEL)]


def test_a_service_that_is_slow_with_an_answer_gets_each_answer_once(desktop):
    desktop.start_polling_program()
    desktop.service.fault("delay 1500 on commands")
    for printer in ("A", "B"):
        desktop.service.report(printer)
        desktop.person.wait_for_box(printer)
    for _ in range(2):
        box = desktop.person.boxes()[-1]
        desktop.person.click(box, "Cancel")
        desktop.person.wait_until_gone(box.title, deadline=1)
    desktop.log.wait_for("finished action", 2)
    assert sorted(desktop.service.commands()) == [command_document("A", CANCEL),
                                                  command_document("B", CANCEL)]
