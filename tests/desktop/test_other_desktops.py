"""The desktops that people have besides the usual one: nobody who types answers a box on any.

What a box can promise there is not the same everywhere (docs/administrator.md has the table). Mutter,
which needs neither a screen nor a session, belongs to every run; the others take longer.
"""

import pytest

from harness.compositor import TypedAtEditor
from harness.person import Rectangle
from harness.pictures import RED
from harness.service import RETRY, command_document
from harness.waiting import wait_until

PACE = 0.04  # seconds for a letter
FIRST_WORDS = "dear ann\nyes  no"
# With all that answers a box that has the keyboard: a Tab and a blank, say.
LETTER = "\ni am well and so are we all\n\ta b c\n\t\td e f \n\tg h i j k l m\n\nyours ed"
SCREEN = Rectangle(0, 0, 1920, 1080)
LONGEST = 210  # the error code with the longest text
LONG_PAUSE = 14  # statuses, of which there are ten in a second
SHORT_PAUSE = 5

slow = pytest.mark.slow

# Where the box takes nothing from who types: the desktop does what the box asks for.
POLITE = [
    pytest.param({"compositor": "mutter"}, id="mutter"),
    pytest.param({"compositor": "kwin"}, id="kwin", marks=slow),
    pytest.param({"window_manager": "i3"}, id="i3", marks=slow),
]
# Where the desktop gives it the keyboard all the same.
PUSHING = [
    pytest.param({"compositor": "mutter", "native": True}, id="mutter-native"),
    *(pytest.param({"compositor": name, "native": native}, id=name + "-native" * native,
                   marks=slow)
      for name, native in (("kwin", True), ("sway", False), ("sway", True), ("weston", False),
                           ("weston", True), ("cage", True))),
    pytest.param({"window_manager": "awesome"}, id="awesome", marks=slow),
    pytest.param({"window_manager": "dwm"}, id="dwm", marks=slow),
]
# How a person asks each for the end of the window that has the keyboard.
CLOSING = [
    pytest.param({"compositor": "kwin"}, ("Alt_L", "F4"), id="kwin"),
    pytest.param({"compositor": "kwin", "native": True}, ("Alt_L", "F4"), id="kwin-native"),
    pytest.param({"compositor": "sway"}, "swaymsg kill", id="sway"),
    pytest.param({"compositor": "sway", "native": True}, "swaymsg kill", id="sway-native"),
    pytest.param({"window_manager": "i3"}, "i3-msg kill", id="i3"),
    pytest.param({"window_manager": "awesome"}, ("Super_L", "Shift_L", "c"), id="awesome"),
    pytest.param({"window_manager": "dwm"}, ("Alt_L", "Shift_L", "c"), id="dwm"),
]


def type_while_a_box_appears(desktop):
    """Types a letter to the end, while an error is reported; returns how many keys were lost."""
    desktop.start_polling_program()
    # What a compositor draws for the first time takes it long.
    desktop.service.report("Back office", code=111)
    wait_until(desktop.boxes, "the first box")
    desktop.service.withdraw("Back office")
    wait_until(lambda: not desktop.boxes(), "its end")
    editor = TypedAtEditor(desktop)
    desktop.type_text(FIRST_WORDS, PACE)
    desktop.service.report("Front desk")
    desktop.type_text(LETTER, PACE)
    wait_until(desktop.boxes, "a box")
    desktop.settle()
    desktop.take_screenshot()
    return len(FIRST_WORDS + LETTER) - len(editor.new_text())


@pytest.mark.parametrize("settings", POLITE)
def test_all_letters_arrive_and_answer_nothing(start_desktop, settings):
    desktop = start_desktop(**usual(settings))
    lost = type_while_a_box_appears(desktop)
    assert (lost, desktop.service.commands()) == (0, [])


@pytest.mark.parametrize("settings", PUSHING)
def test_letters_that_a_box_gets_answer_nothing(start_desktop, settings):
    desktop = start_desktop(**usual(settings))
    lost = type_while_a_box_appears(desktop)
    print(f"after {len(FIRST_WORDS + LETTER)} keys: {lost} lost")
    assert desktop.service.commands() == []
    assert lost > 10  # else this is no test of it
    # Who stops, looks up and presses a button means it.
    desktop.settle(LONG_PAUSE)
    answer_by_keyboard(desktop, "Front desk")
    assert desktop.service.wait_for_commands() == [command_document("Front desk", RETRY)]


# Where the focus falls to a box when the window that had it goes: the desktop gives boxes the
# keyboard, or there is nothing else that it could give it to.
FALLING = [
    pytest.param({"compositor": "mutter", "native": True}, id="mutter-native"),
    pytest.param({"compositor": "mutter"}, id="mutter", marks=slow),
    *(pytest.param({"compositor": name, "native": native}, id=name + "-native" * native,
                   marks=slow)
      for name, native in (("kwin", False), ("kwin", True), ("sway", False), ("sway", True),
                           ("weston", False), ("weston", True))),
    *(pytest.param({"window_manager": name}, id=name, marks=slow)
      for name in ("openbox", "i3", "awesome", "dwm")),
]


@pytest.mark.parametrize("settings", FALLING)
def test_letters_that_an_old_box_gets_when_a_window_goes_answer_nothing(start_desktop, settings):
    desktop = start_desktop(**usual(settings))
    desktop.start_polling_program()
    for name in ("Front desk", "Back office"):
        desktop.service.report(name)
        wait_until(lambda seen=name: seen in [box.name for box in desktop.boxes()], name)
    desktop.settle(LONG_PAUSE)  # neither is new, and a key in them would count
    editor = TypedAtEditor(desktop)
    desktop.type_text(FIRST_WORDS, PACE)
    editor.end()
    desktop.type_text(LETTER, PACE)
    # And while the box that has the keyboard goes as well.
    with_keyboard = next(iter(desktop.focused()), ("Back office", None))[0]
    desktop.service.withdraw(with_keyboard)
    desktop.type_text(LETTER, PACE)
    wait_until(lambda: len(desktop.boxes()) == 1, "the end of the box")
    desktop.settle()
    desktop.take_screenshot()
    print(f"the keyboard is at {desktop.focused()}")
    assert desktop.service.commands() == []


def usual(settings):
    return {"window_manager": None} | settings


def tell(desktop, command):
    """Has sway or i3 do something."""
    environment = {}
    for variable, pattern in (("SWAYSOCK", "sway-ipc.*"), ("I3SOCK", "i3/ipc-socket.*")):
        found = list(desktop.sandbox.runtime.glob(pattern))
        environment |= {variable: str(found[0])} if found else {}
    status, _, errors = desktop.sandbox.run(command.split(), environment=environment)
    assert status == 0, errors


def answer_by_keyboard(desktop, title):
    wait_until(lambda: (title, "text") in desktop.focused(), lambda: f"{desktop.focused()}")
    desktop.press("Tab")
    wait_until(lambda: (title, "Retry") in desktop.focused(), lambda: f"{desktop.focused()}")
    desktop.press("space")


@slow
def test_a_kiosk_shows_whose_box_it_is_and_has_all_answered(start_desktop):
    desktop = start_desktop(compositor="cage", native=True, window_manager=None)
    desktop.start_polling_program()
    names = [f"Printer {number}" for number in range(1, 6)]
    for name in names:
        desktop.service.report(name)
        wait_until(lambda seen=name: seen in [box.name for box in desktop.boxes()], name)
    for name in reversed(names):
        wait_until(lambda seen=name: (seen, "text") in desktop.focused(), f"{name} on the screen")
        desktop.settle(LONG_PAUSE if name == names[-1] else SHORT_PAUSE)
        (box,) = [box for box in desktop.boxes() if box.name == name]
        assert name in [label.name for label in box.all("label") if "showing" in label.states]
        desktop.take_screenshot()
        answer_by_keyboard(desktop, name)
        wait_until(lambda gone=name: gone not in [box.name for box in desktop.boxes()], "its end")
    assert desktop.service.wait_for_commands(5) == [
        command_document(name, RETRY) for name in reversed(names)]


@pytest.mark.parametrize("settings", [
    pytest.param({"compositor": "mutter", "native": True}, id="mutter-native"),
    pytest.param({"compositor": "sway"}, id="sway", marks=slow),
    pytest.param({"window_manager": "awesome"}, id="awesome", marks=slow)])
def test_who_answers_boxes_with_the_keyboard_waits_only_for_the_first(start_desktop, settings):
    desktop = start_desktop(**usual(settings))
    desktop.start_polling_program()
    names = ["Front desk", "Back office", "Cellar"]
    for name in names:
        desktop.service.report(name)
        wait_until(lambda seen=name: seen in [box.name for box in desktop.boxes()], name)
    answered = []
    pause = LONG_PAUSE
    while len(answered) < len(names):
        wait_until(desktop.focused, "a box with the keyboard")
        desktop.settle(pause)
        name = desktop.focused()[0][0]
        answer_by_keyboard(desktop, name)
        wait_until(lambda gone=name: gone not in [box.name for box in desktop.boxes()], "its end")
        answered.append(name)
        pause = SHORT_PAUSE
    assert desktop.service.wait_for_commands(3) == [command_document(name, RETRY)
                                                    for name in answered]


@slow
@pytest.mark.parametrize("settings, way", CLOSING)
def test_a_request_to_close_leaves_the_box_open(start_desktop, settings, way):
    desktop = start_desktop(**usual(settings))
    desktop.start_polling_program()
    desktop.service.report("Front desk")
    wait_until(desktop.boxes, "a box")
    if settings in ({"compositor": "kwin"}, {"window_manager": "i3"},
                    {"window_manager": "awesome"}):
        # These may give it the keyboard only when asked to.
        text = find_on_screen(desktop)["scroll pane"]
        desktop.person.click_at(*text.center)
    wait_until(desktop.focused, "the keyboard in the box")
    if isinstance(way, str):
        tell(desktop, way)
    else:
        desktop.press(*way)
    desktop.settle(6)
    assert [box.name for box in desktop.boxes()] == ["Front desk"]
    assert len(desktop.log.messages("present_error_box begin")) == 1  # it is no second one
    desktop.service.withdraw("Front desk")
    wait_until(lambda: not desktop.boxes(), "the end of the box")
    assert desktop.service.commands() == []


# Where the person has a mouse: of mutter nobody sees the screen.
WITH_MOUSE = [
    *(pytest.param({"compositor": name, "native": native}, id=name + "-native" * native)
      for name, native in (("kwin", False), ("kwin", True), ("sway", False), ("sway", True),
                           ("weston", False), ("weston", True), ("cage", True))),
    *(pytest.param({"window_manager": name}, id=name) for name in ("i3", "awesome", "dwm")),
]


def find_on_screen(desktop, scale=1):
    """Where each part of the only box is on the screen, which natively no program is told.

    The stop sign shows where the box is, and the screen reader where its parts are within it, in
    units that have so many pixels.
    """
    def find_sign_at_rest():  # some desktops let windows grow, or put them elsewhere at once
        before = desktop.find_color(RED)
        desktop.settle(2)
        return before if before == desktop.find_color(RED) else None

    found = wait_until(find_sign_at_rest, "the box at rest on the screen")
    (box,) = desktop.boxes()  # no earlier: one part would be where it was, another where it is
    icon = box.all("icon")[0].extents.center
    sign = (found[0] + found[2]) // 2, (found[1] + found[3]) // 2

    def place(extents):
        return Rectangle(int(sign[0] + scale * (extents.x - icon[0])),
                         int(sign[1] + scale * (extents.y - icon[1])),
                         int(scale * extents.width), int(scale * extents.height))

    return {(part.name or part.role): place(part.extents)
            for part in box.all() if part.role in ("icon", "push button", "scroll pane")
            and "showing" in part.states}


def show_alone(desktop, name):
    desktop.service.report(name)
    wait_until(lambda: [box.name for box in desktop.boxes()] == [name], "the box")


@slow
@pytest.mark.parametrize("settings", WITH_MOUSE)
def test_a_box_is_whole_on_the_screen_and_answered_with_the_mouse(start_desktop, settings):
    desktop = start_desktop(**usual(settings))
    desktop.start_polling_program()
    show_alone(desktop, "Front desk")
    places = find_on_screen(desktop)
    assert {"Retry", "Cancel"} < set(places)
    for name, place in places.items():
        assert SCREEN.contains(place), (name, place)
    x, y = places["Retry"].center
    desktop.person.move_pointer(x, y - 100)  # or the box would be one that came up under it
    desktop.person.click_at(x, y)
    assert desktop.service.wait_for_commands() == [command_document("Front desk", RETRY)]
    wait_until(lambda: not desktop.boxes(), "the end of the box")
    wait_until(lambda: not desktop.find_color(RED), "its end on the screen")
    show_alone(desktop, "Back office")
    find_on_screen(desktop)
    desktop.service.withdraw("Back office")
    wait_until(lambda: not desktop.boxes(), "the end of the withdrawn box")
    wait_until(lambda: not desktop.find_color(RED), "its end on the screen")
    assert desktop.service.commands() == [command_document("Front desk", RETRY)]


@slow
@pytest.mark.parametrize("scale", [1.5, 2])
@pytest.mark.parametrize("native", [False, True])
def test_a_box_on_a_scaled_screen_is_whole_and_answered_with_the_mouse(start_desktop, native,
                                                                       scale):
    # It takes the size of its screen in units that it makes so many times bigger.
    screen = Rectangle(0, 0, int(scale * SCREEN.width), int(scale * SCREEN.height))
    desktop = start_desktop(compositor="kwin", native=native, window_manager=None,
                            screen=f"{screen.width}x{screen.height}", scale=scale)
    desktop.start_polling_program()
    desktop.service.report("Front desk", code=LONGEST)
    wait_until(desktop.boxes, "the box")
    places = find_on_screen(desktop, scale)
    desktop.take_screenshot()
    for name, place in places.items():
        assert screen.contains(place), (name, place)
    x, y = places["Retry"].center
    desktop.person.move_pointer(x, y - 100)
    desktop.person.click_at(x, y)
    assert desktop.service.wait_for_commands() == [
        command_document("Front desk", RETRY, code=LONGEST)]


def titles(desktop):
    return [window.title for window in desktop.person.windows()]


@slow
@pytest.mark.parametrize("window_manager", ["openbox", "metacity", "xfwm4", "i3", "awesome"])
def test_a_box_is_on_every_workspace_and_typed_keys_answer_none(start_desktop, window_manager):
    desktop = start_desktop(window_manager=window_manager)
    desktop.start_polling_program()
    desktop.service.report("Front desk")
    wait_until(lambda: desktop.find_color(RED), "the box")
    desktop.settle(LONG_PAUSE)  # the box is no new one, and a key in it would count
    TypedAtEditor(desktop)
    wait_until(lambda: TypedAtEditor.TITLE in titles(desktop), "the editor")
    if window_manager == "i3":  # makes one when somebody goes there
        tell(desktop, "i3-msg workspace 2")
    else:
        desktop.person.switch_workspace(1)
    desktop.type_text(LETTER, PACE)  # the box may have the keyboard now
    wait_until(lambda: TypedAtEditor.TITLE not in titles(desktop), "the other workspace")
    wait_until(lambda: "Front desk" in titles(desktop), "the box on the other workspace")
    desktop.settle()
    assert desktop.find_color(RED)
    assert desktop.service.commands() == []


@pytest.mark.parametrize("compositor", ["mutter", pytest.param("sway", marks=slow),
                                        pytest.param("weston", marks=slow),
                                        pytest.param("kwin", marks=slow)])
def test_the_program_ends_with_a_message_when_the_compositor_goes(start_desktop, compositor):
    desktop = start_desktop(compositor=compositor, native=True, window_manager=None)
    program = desktop.start_polling_program()
    desktop.service.report("Front desk")
    wait_until(desktop.boxes, "a box")
    problem = "lost the connection to the Wayland compositor"
    program.expect_problem(problem)
    desktop.compositor.kill()
    assert program.wait_for_end() == 1
    desktop.log.wait_for(f"terminating: {problem}")
    assert program.stderr().count(problem) == 1


def test_without_the_x_server_of_its_desktop_the_program_runs_natively(start_desktop):
    desktop = start_desktop(compositor="mutter", window_manager=None)
    desktop.start_polling_program(environment={"DISPLAY": ":77"})
    desktop.service.report("Front desk")
    wait_until(desktop.boxes, "a box")


# In a row, in the order that the desktop likes.
MONITORS = [Rectangle(0, 0, 1920, 1080), Rectangle(1920, 0, 800, 600),
            Rectangle(0, 0, 800, 600), Rectangle(800, 0, 1920, 1080)]


@pytest.mark.parametrize("native", [False, pytest.param(True, marks=slow)])
def test_a_box_of_two_monitors_is_whole_on_one(start_desktop, native):
    desktop = start_desktop(compositor="mutter", native=native, window_manager=None,
                            monitors=("1920x1080", "800x600"))
    desktop.start_polling_program(environment={"GDK_DPI_SCALE": "2"})
    desktop.service.report("Front desk", code=LONGEST)

    def box_at_rest():  # mutter tells later that its frame is wider than what is seen of it
        before = desktop.boxes()
        desktop.settle(2)
        return before if before == desktop.boxes() else None

    (box,) = wait_until(box_at_rest, "the box in its place")
    shadow = 2 * 26 if native else 0  # which GTK draws there, left and right
    if not native:  # else no program is told where it is
        assert any(monitor.contains(box.extents) for monitor in MONITORS), box.extents
    # Up to 60 % of the lower one, whichever the box is on.
    pane = box.all("scroll pane")[0].extents
    assert 300 < pane.height <= 360, pane
    assert pane.width <= box.extents.width - shadow <= 2720 // 3
