"""Every error that the service tells comes to the screen, with a service that tells each one once."""

import multiprocessing

import pytest

from harness.service import RETRY, command_document
from harness.waiting import wait_until

NEVER = 600000  # milliseconds; longer than any test


@pytest.fixture
def desktop(start_desktop):
    desktop = start_desktop()
    desktop.service.retell(False)
    return desktop


def answer(desktop, label="Retry"):
    """Answers the box of printer A, and moves on as a person does."""
    desktop.person.click(desktop.person.wait_for_box("A"), label)
    desktop.person.move_pointer(5, 5)
    desktop.person.wait_until_gone("A")
    desktop.service.wait_for_commands()


@pytest.mark.parametrize("code, text", [(111, "another error"), (110, "the same error"),
                                        (110, "again")])
def test_news_that_comes_while_the_service_holds_a_request_is_shown(desktop, code, text):
    desktop.service.carry_out(NEVER)
    desktop.start_polling_program()
    desktop.service.report("A", "17", 110, text="the same error")
    desktop.person.wait_for_box("A")
    desktop.service.hold(NEVER)
    wait_until(lambda: desktop.service.lines("request held"), "a request that is held")
    answer(desktop)
    desktop.service.report("A", "17", code, text=text)
    box = desktop.person.wait_for_box("A")
    assert box.text.startswith(f"Message {code}: ")


def test_news_in_a_slow_reply_is_shown(desktop):
    desktop.service.carry_out(NEVER)
    desktop.start_polling_program()
    desktop.service.report("A", "17")
    desktop.person.wait_for_box("A")
    desktop.service.fault("delay 1500ms on status")
    desktop.service.wait_for_replies(1)
    answer(desktop)
    desktop.service.report("A", "17")
    desktop.person.wait_for_box("A", deadline=20)


def burn(stop):
    while not stop.is_set():
        pass


def test_a_burst_on_a_busy_machine_loses_nothing(desktop):
    desktop.start_polling_program()
    stop = multiprocessing.Event()
    burners = [multiprocessing.Process(target=burn, args=(stop,)) for _ in range(6)]
    for burner in burners:
        burner.start()
    try:
        for number in range(1, 61):
            desktop.service.report(f"P{number}")
            if number % 2 == 0:
                desktop.service.withdraw(f"P{number}")
        expected = {f"P{number}" for number in range(1, 61, 2)}
        wait_until(lambda: {window.title for window in desktop.person.windows()} == expected,
                   lambda: f"boxes of {expected}; there are "
                           f"{[window.title for window in desktop.person.windows()]}", 90)
    finally:
        stop.set()
        for burner in burners:
            burner.join()
    assert desktop.service.commands() == []


@pytest.mark.parametrize("fault", ["cut 0", "reset"])
def test_a_lost_answer_brings_the_box_back_at_once(desktop, fault):
    desktop.service.carry_out(NEVER)  # as if it had not arrived
    desktop.start_polling_program()
    desktop.service.report("A", "17")
    box = desktop.person.wait_for_box("A")
    desktop.service.fault(f"{fault} times 1 on commands")
    desktop.person.click(box, "Retry")
    desktop.person.move_pointer(5, 5)  # at the same place it would be a double click
    desktop.log.wait_for("printer job exception: ")
    fresh = wait_until(lambda: [each for each in desktop.person.boxes("A")
                                if each.window.id != box.window.id], "a fresh box", 8)[0]
    assert fresh.labels == ["Retry", "Cancel"]
    assert len(desktop.service.commands()) == 1
    desktop.person.click(fresh, "Retry")
    assert desktop.service.wait_for_commands(2)[-1] == command_document("A", RETRY, "17")
