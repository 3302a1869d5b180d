"""Text from outside is text: names of any kind, and translations in any locale."""

import subprocess

import pytest

from harness.service import RETRY, command_document
from harness.waiting import wait_until

NAMES = {
    "markup": b"<b>Desk</b> &amp; <span size='1'>x</span>",
    "formats": b"%s%n%d %1$s {}",
    "quotes": b"""Desk "A" & 'B' <1>""",
    "line-breaks": b"one\ntwo\r\nthree\n",
    "blanks": b"  Desk  ",
    "control": b"bell \x07 escape \x1b[31m",
    "latin-1": b"B\xfcro \xff\xfe",
    "cut-off-utf-8": "Büro".encode()[:2],
    "right-to-left": "מדפסת".encode(),
    "colons": b"A:::1:::",
    "emoji": "🖨️ printer".encode(),
}


def answer(desktop, box, printer, job="1"):
    desktop.person.click(box, "Retry")
    commands = desktop.service.wait_for_commands()
    assert commands == [command_document(printer, RETRY, job)]


@pytest.mark.parametrize("name", NAMES.values(), ids=NAMES.keys())
def test_an_odd_printer_name_gives_a_usable_box_and_comes_back_as_it_was(desktop, name):
    program = desktop.start_polling_program()
    desktop.service.report(name)
    window = wait_until(desktop.person.windows, "a box")[0]
    box = desktop.person.wait_for_box(window.title)
    assert box.labels == ["Retry", "Cancel"]
    if b"\r" not in name and b"\x1b" not in name and name.decode(errors="replace").encode() == name:
        assert box.title == name.decode()
    answer(desktop, box, name)
    assert program.is_running()


@pytest.mark.parametrize("job", NAMES.values(), ids=NAMES.keys())
def test_an_odd_job_id_comes_back_as_it_was(desktop, job):
    desktop.start_polling_program()
    desktop.service.report("A", job)
    answer(desktop, desktop.person.wait_for_box("A"), "A", job)


def test_names_that_differ_only_in_bytes_that_are_not_text_are_two_printers(desktop):
    desktop.start_polling_program()
    for count, printer in enumerate((b"Desk \xfe", b"Desk \xff"), 1):
        desktop.service.report(printer)
        wait_until(lambda number=count: len(desktop.person.windows()) == number, f"{count} boxes")
    desktop.service.withdraw(b"Desk \xfe")
    wait_until(lambda: len(desktop.person.windows()) == 1, "one box")


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


def test_a_printer_without_a_name_has_no_box(desktop):
    desktop.start_polling_program()
    desktop.service.report("")
    desktop.service.wait_for("event published")
    desktop.settle()
    assert desktop.person.windows() == []


@pytest.mark.parametrize("text", ["<b>", "%s%n", "x" * 5000])
def test_the_services_own_words_are_logged_not_shown(desktop, text):
    desktop.start_polling_program()
    desktop.service.report("A", text=text)
    box = desktop.person.wait_for_box("A")
    assert text not in box.text
    assert desktop.log.messages("present_error_box begin")[0].text.endswith(f" str={text}")


# ---- Translations -------------------------------------------------------------------------------

GERMAN = {"Retry": "Nochmals prüfen", "Cancel": "Abbrechen"}


def install_translation(directory, domain, texts):
    """Makes a catalogue of texts for German, with msgfmt."""
    folder = directory / "locale/de/LC_MESSAGES"
    folder.mkdir(parents=True, exist_ok=True)
    source = folder / f"{domain}.po"
    source.write_text('msgid ""\nmsgstr "Content-Type: text/plain; charset=UTF-8\\n"\n' + "".join(
        f'\nmsgid "{text}"\nmsgstr "{translated}"\n' for text, translated in texts.items()))
    subprocess.run(["msgfmt", "-o", folder / f"{domain}.mo", source], check=True)
    return directory / "locale"


@pytest.mark.parametrize("charset", ["UTF-8", "ISO-8859-1"])
def test_a_translated_label_is_shown_in_any_locale(start_desktop, tmp_path, charset):
    translations = install_translation(tmp_path, "messages", GERMAN)
    desktop = start_desktop(replaced={"/usr/share/locale": translations})
    locales = desktop.sandbox.directory / "locales"
    locales.mkdir()
    status, _, errors = desktop.sandbox.run(
        ["localedef", "-i", "de_DE", "-f", charset, locales / f"de_DE.{charset}"], deadline=60)
    assert status == 0, errors
    program = desktop.start_polling_program(
        environment={"LOCPATH": str(locales), "LANG": f"de_DE.{charset}"})
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    assert box.labels == ["Nochmals prüfen", "Abbrechen"]
    desktop.take_screenshot(f"translated-buttons-{charset}")
    assert program.is_running()


def test_a_right_to_left_locale_mirrors_the_box(start_desktop, tmp_path):
    translations = install_translation(tmp_path, "gtk30", {"default:LTR": "default:RTL"})
    desktop = start_desktop(replaced={"/usr/share/locale": translations})
    locales = desktop.sandbox.directory / "locales"
    locales.mkdir()
    desktop.sandbox.run(["localedef", "-i", "de_DE", "-f", "UTF-8", locales / "de_DE.UTF-8"],
                        deadline=60)
    desktop.start_polling_program(environment={"LOCPATH": str(locales), "LANG": "de_DE.UTF-8"})
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    desktop.take_screenshot("right-to-left-locale")
    assert box.icon.extents.x > box.text_area.extents.x
    left = box.window.client.x
    assert box.buttons[0].extents.x - left <= 20
    assert box.labels == ["Cancel", "Retry"]
