"""What the pages show, held against the program: log excerpts, commands with their output."""

import pathlib
import re
import signal

import pytest

from harness.sandbox import TREE, Sandbox, build_directory
from harness.service import RETRY, Service, command_document
from harness.waiting import wait_until

NAME = "zor-card-printer-error-ui"
INSTALLED = f"/usr/libexec/{NAME}/{NAME}"
PLACE = re.compile(r"^([\w-]+\.cpp):\d+ ")
ADMINISTRATOR = TREE / "docs/administrator.md"
PROTOCOL = TREE / "docs/protocol.md"


@pytest.fixture(name="sandbox")
def fixture_sandbox():
    """A place without a desktop, for what needs none."""
    sandbox = Sandbox()
    yield sandbox
    sandbox.close()


def listing(page, mark):
    """The lines of the fenced block behind the comment with this mark."""
    return re.search(rf"^<!-- {mark} -->\n```\w+\n(.*?)^```$", page.read_text(),
                     re.MULTILINE | re.DOTALL)[1].splitlines()


def without_line_number(text):
    return PLACE.sub(r"\1:NNN ", text)


def test_a_start_logs_what_the_page_shows(start_desktop):
    desktop = start_desktop(log_level=1)
    program = desktop.start_program()
    path = str(build_directory() / NAME)
    shown = [line.replace("[2153]", f"[{program.pid}]").replace(INSTALLED, path)
             for line in listing(ADMINISTRATOR, "log of a start")]
    desktop.service.wait_for_replies(2)
    for line in shown:
        desktop.log.wait_for(line.partition(":NNN ")[2])
    logged = [f"{message.identity}[{message.pid}]: {without_line_number(message.text)}"
              for message in desktop.log.messages()]
    # The new thread writes its line at any moment behind "starting printer io".
    thread = [line for line in shown if " printer_io_thread_proc " in line]
    assert [line for line in logged if line not in thread] == shown[:-1]
    assert [line for line in logged if line in thread] == thread == shown[-1:]


def test_a_failed_poll_logs_what_the_manual_page_shows(start_desktop):
    desktop = start_desktop(log_level=1, service=False)
    program = desktop.start_program()
    desktop.log.wait_for("caught c++ exception")
    message = desktop.log.messages("caught c++ exception")[0]
    page = (TREE / "docs/man/zor-card-printer.conf.5").read_text()
    example = page.split("A line of the log", 1)[1].split(".RS\n", 1)[1].split(".RE\n", 1)[0]
    shown = example.replace("\\-", "-").split()
    logged = f"{message.identity}[{program.pid}]: {without_line_number(message.text)}".split()
    assert [shown[0].replace("[1702]", f"[{program.pid}]"), *shown[1:]] == logged


def test_an_answer_logs_what_the_page_shows(start_desktop):
    desktop = start_desktop(log_level=1)
    desktop.start_program()
    desktop.service.report("Front Desk", job="17", code=110, severity=3,
                           text="Print ribbon out or missing.")
    desktop.person.click(desktop.person.wait_for_box("Front Desk"), "Retry")
    assert desktop.service.wait_for_commands() == [command_document("Front Desk", RETRY, "17")]
    desktop.log.wait_for("finished action")
    logged = [PLACE.sub("", message.text) for message in desktop.log.messages()]
    shown = listing(ADMINISTRATOR, "log of an answer, in part")
    assert len(shown) > 5
    # The button's worker sends the answer while the box closes.
    assert [line for line in logged if line in shown] == shown


def test_commands_print_what_the_pages_show(sandbox):
    path = f"PATH={build_directory()}:$PATH; "
    commands = 0
    for page in TREE.glob("docs/*.md"):
        for block in re.findall(r"<!-- a command and its output -->\n```text\n(.*?)```",
                                page.read_text(), re.DOTALL):
            for entry in block.split("$ ")[1:]:
                command, output = entry.split("\n", 1)
                commands += 1
                done = sandbox.run(["bash", "-c", path + command])
                assert done == (0, output.encode(), b""), f"{page.name}: {command}"
    assert commands


def broken_layout(desktop):
    path = desktop.copy_program()
    (path.parent / "Data/error-ui-message-box.glade").write_text("no layout")
    desktop.service.report("A")
    return desktop.start_program(path=path)


def program_with(action):
    def start(desktop):
        action(desktop.service)
        return desktop.start_program()
    return start


def ends_with_x(desktop):
    desktop.service.report("A", severity="X")
    program = desktop.start_program()
    program.expect_problem("terminate called|what\\(\\)")
    assert program.wait_for_end(30) == -signal.SIGABRT
    return program


# What an administrator finds in the log, by the situation in which it appears.
FINDINGS = {
    "caught c++ exception: Failed to connect socket.": program_with(
        lambda service: service.stop()),
    "caught c++ exception: Receive failed.": program_with(
        lambda service: service.say("fault reset on status")),
    "caught c++ exception: Empty receive.": program_with(
        lambda service: service.say("fault cut 20 on status")),
    "Failed to load error ui xml:": broken_layout,
    "terminating: Failed to parse X.": ends_with_x,
    "end; num errors=0": program_with(lambda service: None),
}


@pytest.mark.parametrize("text", FINDINGS, ids=lambda text: re.sub("[^a-zA-Z]+", "-", text))
def test_a_finding_in_the_page_is_logged_in_its_situation(start_desktop, text):
    desktop = start_desktop(log_level=2 if "num errors" in text else 1)
    FINDINGS[text](desktop)
    desktop.log.wait_for(text, deadline=30)


def test_every_finding_in_the_page_is_tried():
    section = ADMINISTRATOR.read_text().split("## When no box appears", 1)[1]
    rows = re.findall(r"^\| (?:the log at level \d:|\.\.\.) `([^`]+)`", section, re.MULTILINE)
    assert rows == list(FINDINGS)


def test_the_exchanges_by_hand_reach_the_service(sandbox):
    """Each block of commands in the page about the protocol, as somebody types it."""
    section = PROTOCOL.read_text().split("## Trying it by hand", 1)[1]
    simulator, *blocks = re.findall(r"^```sh\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
    service = Service(sandbox)
    service.say(simulator.splitlines()[1])
    service.wait_for("event published")
    expected = ["first", "first", "command"]
    assert len(blocks) == len(expected)
    for block, kind in zip(blocks, expected):
        status, output, errors = sandbox.run(["bash", "-c", block], directory=TREE)
        assert (status, errors) == (0, b"")
        if kind == "command":
            assert b"<Result>accepted</Result>" in output
            assert len(service.wait_for_commands()) == 1
        else:
            assert b"Front Desk" in output


def test_the_poller_in_the_page_prints_each_event_once(sandbox):
    (source,) = re.findall(r"^```python\n(.*?)^```$", PROTOCOL.read_text(),
                           re.MULTILINE | re.DOTALL)
    service = Service(sandbox)
    poller = sandbox.start(["/usr/bin/python3", "-u", "-c", source], name="poller")
    service.report("Front Desk")
    wait_until(lambda: b"Front Desk" in poller.stdout(), "the event in the poller's output")
    service.wait_for_replies(5)
    assert poller.stdout().count(b"Front Desk") == 1
    poller.kill()


def test_the_template_holds_what_the_translators_page_shows():
    page = (TREE / "docs/translating.md").read_text()
    (shown,) = re.findall(r"^    (#\. Message id: .*?)^    \.\.\.$", page,
                          re.MULTILINE | re.DOTALL)
    assert shown.replace("\n    ", "\n").rstrip(" ") in (TREE / "po/messages.pot").read_text()


def test_the_table_of_tests_names_every_file():
    here = pathlib.Path(__file__).parent
    named = re.findall(r"^\| `(test_\w+\.py)`", (here / "README.md").read_text(), re.MULTILINE)
    assert sorted(named) == sorted(path.name for path in here.glob("test_*.py"))
