"""The files beside the program are missing, broken or changed while it runs."""

import shutil

import pytest

from harness.sandbox import build_directory
from harness.service import CANCEL, RETRY, command_document

BOX_FILE = "error-ui-message-box.glade"
LOAD_FAILED = "Failed to load error ui xml: "
OBJECTS = ["error-message-box", "buttonbox1", "button1", "button2", "textview1", "image1"]


@pytest.fixture
def copy(desktop):
    """The path of a copy of the program, whose data files may be changed."""
    return desktop.copy_program()


# GTK takes a file that is cut off for one without objects, and says so.
@pytest.mark.parametrize("contents, sign, problem", [
    ([None, "no XML", "<interface><object/></interface>"], LOAD_FAILED, "^$"),
    (["", "<interface>", "<interface/>"], "present_error_box end", "CRITICAL|WARNING")])
def test_a_box_that_cannot_be_built_is_tried_again_until_it_can(desktop, copy, contents, sign,
                                                                problem):
    box_file = copy.parent / "Data" / BOX_FILE
    good = box_file.read_bytes()
    program = desktop.start_polling_program(path=copy)
    program.expect_problem(problem)
    for count, content in enumerate(contents, 1):
        if content is None:
            box_file.unlink()
        else:
            box_file.write_text(content)
        since = desktop.log.count()
        desktop.service.report("A", str(count))
        desktop.log.wait_for(sign, 3, since)
        assert desktop.person.windows() == [] and program.is_running()
        box_file.write_bytes(good)
        desktop.person.click(desktop.person.wait_for_box("A"), "Retry")
        commands = desktop.service.wait_for_commands(count)
        assert commands[-1] == command_document("A", RETRY, str(count))
        desktop.person.wait_until_gone("A")


def test_an_object_that_is_missing_does_not_end_the_program(desktop, copy):
    box_file = copy.parent / "Data" / BOX_FILE
    text = box_file.read_text()
    program = desktop.start_polling_program(path=copy)
    program.expect_problem("CRITICAL|WARNING")
    for missing in OBJECTS:
        assert text.count(f'id="{missing}"') == 1
        box_file.write_text(text.replace(f'id="{missing}"', 'id="renamed"'))
        since, said = desktop.log.count(), program.stderr().count("CRITICAL")
        desktop.service.report(missing, severity=2)  # which needs them all
        desktop.log.wait_for("present_error_box end", since=since)
        desktop.settle()
        assert program.is_running()
        assert program.stderr().count("CRITICAL") > said, missing
        desktop.service.withdraw(missing)


def test_a_box_without_its_icon_is_as_good_as_any(desktop, copy):
    desktop.start_polling_program(path=copy)
    for count, content in enumerate((b"", b"no picture", b"\x89PNG\r\n\x1a\n", None), 1):
        severity, name = ((3, "stop.png"), (4, "caution.png"))[count % 2]
        icon = copy.parent / "Data/Assets" / name
        if content is None:
            icon.unlink()
        else:
            icon.write_bytes(content)
        since = desktop.log.count()
        desktop.service.report("A", str(count), severity=severity)
        box = desktop.person.wait_for_box("A")
        assert f"{icon}: " in desktop.log.wait_for("failed to load file ", since=since)[0].text
        assert box.icon.extents.width > 0
        desktop.person.click(box, "Cancel")
        commands = desktop.service.wait_for_commands(count)
        assert commands[-1] == command_document("A", CANCEL, str(count))
        desktop.person.wait_until_gone("A")


def test_a_program_path_without_a_slash_names_a_directory_in_the_working_directory(desktop):
    name = "zor-card-printer-error-ui"
    working = desktop.sandbox.directory / "working"
    shutil.copytree(build_directory() / "Data", working / name / "Data")
    since = desktop.log.count()
    desktop.start_program(
        path=name, directory=working,
        environment={"PATH": f"{build_directory()}:{desktop.sandbox.environment['PATH']}"})
    desktop.log.wait_for("handling updated status", since=since)
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
    assert desktop.log.messages(f"data_dir={name}/Data")


def test_a_program_found_through_a_relative_path_finds_its_data_files(desktop, copy):
    desktop.start_polling_program(path="copy/zor-card-printer-error-ui",
                                  directory=copy.parent.parent)
    desktop.service.report("A")
    desktop.person.wait_for_box("A")
