"""Text from outside is text: names of any kind, and the service's own words."""

from harness.service import RETRY, command_document
from harness.waiting import wait_until

NAMES = [
    b"<b>Desk</b> &amp; <span size='1'>x</span>",
    b"%s%n%d %1$s {}",
    b"""Desk "A" & 'B' <1>""",
    b"one\ntwo\n\nthree\n",  # no carriage return: a reader of XML takes it away
    b"  Desk  ",
    b"bell \x07 escape \x1b[31m",
    b"B\xfcro \xff\xfe",
    "Büro".encode()[:2],
    "מדפסת".encode(),
    b"A:::1:::",
    "🖨️ printer".encode(),
]


def answer(desktop, box, *wanted):
    desktop.person.click(box, "Retry")
    assert desktop.service.wait_for_commands(len(wanted)) == list(wanted)
    wait_until(lambda: not desktop.person.windows(), "the end of the box")


def test_an_odd_printer_name_is_the_title_and_comes_back_as_it_was(desktop):
    program = desktop.start_polling_program()
    wanted = []
    for name in NAMES:
        desktop.service.report(name)
        # What is no text has a sign in its place.
        box = desktop.person.wait_for_box(name.decode(errors="replace"))
        assert box.labels == ["Retry", "Cancel"], name
        wanted.append(command_document(name, RETRY))
        answer(desktop, box, *wanted)
    assert program.is_running()


def test_a_very_long_printer_name_gives_a_usable_box(desktop):
    program = desktop.start_polling_program()
    name = b"long name " * 100_000
    path = desktop.sandbox.directory / "document"
    path.write_bytes(b"<PrinterStatus><PrinterName>" + name + b"</PrinterName><PrinterJobID>1"
                     b"</PrinterJobID><ErrorCode>110</ErrorCode><ErrorSeverity>3</ErrorSeverity>"
                     b"</PrinterStatus>")
    desktop.service.say(f"raw-file {path}")
    window = wait_until(desktop.person.windows, "a box", 20)[0]
    screen = desktop.person.screen_size()
    assert window.frame.width <= screen[0] and window.frame.height <= screen[1]
    desktop.person.turn_to(window)
    desktop.person.press("Tab")
    desktop.person.press("Return")
    assert desktop.service.wait_for_commands() == [command_document(name, RETRY)]
    assert program.is_running()


def test_the_services_own_words_are_logged_not_shown(desktop):
    desktop.start_polling_program()
    for text in ("<b>", "%s%n", "x" * 5000):
        since = desktop.log.count()
        desktop.service.report("A", text=text)
        box = desktop.person.wait_for_box("A")
        assert text not in box.text
        assert desktop.log.messages("present_error_box begin", since)[0].text.endswith(f" str={text}")
        desktop.service.withdraw("A")
        desktop.person.wait_until_gone("A")
