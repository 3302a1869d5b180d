"""The manual pages: free of warnings, and complete against the sources."""

import os
import re
import subprocess

import pytest

from support import BUILD, NAME, SIMULATOR, TREE, run

MAN = TREE / "docs/man"
PAGES = sorted(MAN.glob("*.[1-8]"))
SOURCES = sorted(TREE.glob("linux_gui/*.cpp"))
MAIN_SOURCE = (TREE / f"linux_gui/{NAME}.cpp").read_text()


def rendered(page):
    """The page as a person reads it, without line breaks."""
    text = subprocess.run(
        ["man", "--encoding", "UTF-8", "--local-file", str(page)], check=True, text=True,
        stdout=subprocess.PIPE, env=dict(os.environ, MANWIDTH="200", MAN_KEEP_FORMATTING="")).stdout
    return re.sub(r"\s+", " ", re.sub(".\b", "", text))


def section(page, title):
    return re.search(rf'^\.SH "?{title}"?\n(.*?)(?=^\.SH |\Z)', page.read_text(), re.M | re.S)[1]


def documented_options(page):
    """The option strings at the head of each entry, as they are typed, without their values."""
    tags = re.findall(r"^\.(?:B|BI|BR|TP|TQ)\b(.*)$", section(page, "OPTIONS"), re.M)
    heads = [tag for tag in tags if re.match(r'\s*"?\\-', tag)]
    text = " ".join(heads).replace("\\-", "-")
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", text))


def test_there_are_three_pages():
    assert [page.name for page in PAGES] == [
        f"{NAME}.1", "zor-card-printer.conf.5", f"{SIMULATOR}.1"]


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_page_renders_without_a_warning(page):
    groff = subprocess.run(
        ["groff", "-t", "-man", "-ww", "-z", "-K", "utf8", str(page)], capture_output=True,
        text=True)
    man = subprocess.run(
        ["man", "--warnings", "--encoding", "UTF-8", "--local-file", str(page)],
        capture_output=True, text=True, env=dict(os.environ, MANWIDTH="80"))
    assert (groff.returncode, groff.stdout + groff.stderr) == (0, "")
    assert (man.returncode, man.stderr) == (0, "")


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_page_can_be_found_by_what_it_is_about(page):
    said = run("lexgrog", page)
    assert re.search(rf'"{re.escape(page.stem)} - \S', said), said


def test_options_of_the_program_are_those_of_its_page():
    body = MAIN_SOURCE.split("int main(", 1)[1].split("\n}\n", 1)[0]
    options = {text.rstrip("=") for text in re.findall(r'"(--?[a-z][a-z-]*=?)"', body)}
    assert len(options) > 5
    assert documented_options(MAN / f"{NAME}.1") == options


def test_options_of_the_simulator_are_those_of_its_page():
    said = run(BUILD / SIMULATOR, "--help")
    options = set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", said.split("Options:", 1)[1]))
    assert len(options) > 5
    assert documented_options(MAN / f"{SIMULATOR}.1") == options


def test_default_number_of_boxes_is_as_documented():
    default = re.search(r"int valgrind_num_boxes = (\d+);\n    const", MAIN_SOURCE)[1]
    assert f"How many boxes that is, by default {default}." in rendered(MAN / f"{NAME}.1")


def test_failure_texts_of_the_sources_stand_in_the_page():
    text = rendered(MAN / f"{NAME}.1")
    messages = set()
    for source in SOURCES:
        code = source.read_text()
        messages.update(re.findall(r'runtime_error\(\s*"([^"]+)"', code))
        for logged in re.findall(r'GUI_LOG\(NORMAL,\s*"([^"]+)"', code):
            if re.search(r"fail|exception|terminating", logged, re.I):
                messages.add(logged)
    messages.add(re.search(r'"(failed to initialize logging)\\n"', "".join(
        source.read_text() for source in SOURCES))[1])
    assert len(messages) > 15
    assert sorted(message for message in messages if message.strip() not in text) == []


def test_exit_statuses_of_the_source_stand_in_the_page():
    returned = set(re.findall(r"^\s+return (\d+);$", MAIN_SOURCE, re.M))
    documented = set(re.findall(r"^\.TP\n(\d+)$", section(MAN / f"{NAME}.1", "EXIT STATUS"), re.M))
    assert returned <= documented
    # What GTK ends with when there is no display, and what the shell shows for SIGABRT.
    assert documented - returned == {"1", "134"}


def test_settings_of_the_sources_are_those_of_the_configuration_page():
    code = (TREE / "linux_gui/gui_config.cpp").read_text()
    keys = set(re.findall(r'read_config_int_setting\("([^"]+)", (\d+)\)', code))
    page = MAN / "zor-card-printer.conf.5"
    documented = re.findall(r"^\.BI (\S+)= N\n.*by default (\d+)", section(page, "SETTINGS"), re.M)
    assert set(documented) == keys and keys
    limit = re.search(r"CONFIG_LINE_BUFFER_SIZE = (\d+)",
                      (TREE / "linux_gui/gui_config.h").read_text())[1]
    assert str(int(limit) - 1) in rendered(page)


def test_identity_and_file_in_the_pages_are_those_of_the_sources():
    logger = (TREE / "linux_gui/gui_logger.cpp").read_text()
    identity = re.search(r'openlog\("([^"]+)"', logger)[1]
    file = re.search(r'path = "([^"]+)"',
                     (TREE / "linux_gui/gui_config.cpp").read_text())[1]
    for page in (MAN / f"{NAME}.1", MAN / "zor-card-printer.conf.5"):
        assert identity in rendered(page)
        assert file in rendered(page)


def test_pages_referred_to_among_themselves_exist():
    named = {f"{name}.{number}" for page in PAGES
             for name, number in re.findall(r"\b(zor-[a-z.-]+)\((\d)\)", rendered(page))}
    assert named == {page.name for page in PAGES}
