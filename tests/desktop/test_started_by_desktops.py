"""What docs/administrator.md says for desktops that start the program by neither unit nor autostart
entry, word for word; and what a desktop finds the program's name and icon by.
"""

import json
import os
import re

import pytest

from harness.compositor import COMPOSITORS, NOT_AS_ROOT, SWAY
from harness.person import Rectangle
from harness.pictures import RED
from harness.sandbox import TREE, build_directory
from harness.waiting import wait_until

pytestmark = pytest.mark.slow

NAME = "zor-card-printer-error-ui"


def advice(desktop_name):
    """The texts in back quotes of a row of the table of desktops."""
    page = (TREE / "docs/administrator.md").read_text()
    (row,) = re.findall(rf"^\| {desktop_name}\b.*$", page, re.MULTILINE)
    return [text for text in re.findall("`([^`]+)`", row) if NAME in text]


def write(desktop, path, text):
    path = desktop.sandbox.home / path
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def write_script(desktop, name, line):
    write(desktop, f"bin/{name}", f"#!/bin/sh\n{line}\n")
    (desktop.sandbox.home / "bin" / name).chmod(0o755)


def start_with_program_on_path(desktop, command, **environment):
    """Starts a desktop as an administrator does who has the program installed."""
    write_script(desktop, NAME, f'exec "{build_directory() / NAME}" "$@"')
    path = f"{desktop.sandbox.home}/bin:{desktop.sandbox.environment['PATH']}"
    desktop.sandbox.start(command, environment=environment | {"PATH": path})


def wait_for_box(desktop):
    """The stop sign: who is another user for the session's bus is shown to no screen reader."""
    wait_until(lambda: desktop.find_color(RED), "a box on the screen", 30)
    desktop.take_screenshot()


def count_programs(desktop):
    """How many there are, without those that hand over to one in the background."""
    return len([process for process in desktop.sandbox.processes()
                if process["arguments"] and os.path.basename(process["arguments"][0]) == NAME])


def start_i3(desktop):
    (line,) = advice("i3")
    write(desktop, ".config/i3/config", f"# i3 config file (v4)\nfont pango:monospace 8\n{line}\n")
    start_with_program_on_path(desktop, ["i3"])


def start_awesome(desktop):
    (line,) = advice("awesome")
    with open("/etc/xdg/awesome/rc.lua", encoding="utf-8") as usual:
        write(desktop, ".config/awesome/rc.lua", f"{usual.read()}\n{line}\n")
    start_with_program_on_path(desktop, ["awesome"])


def start_dwm(desktop):
    line = advice("dwm")[0]
    write(desktop, ".xinitrc", f"{line}\nexec dwm\n")
    start_with_program_on_path(desktop, ["sh", ".xinitrc"])


def start_sway(desktop, settings="", **environment):
    line, natively = advice("sway")
    write(desktop, ".config/sway/config", f"{SWAY}{line}\n{natively}\n{settings}")
    start_with_program_on_path(desktop, [*NOT_AS_ROOT, "sway"],
                               **COMPOSITORS["sway"].environment, **environment)


def start_sway_natively(desktop, settings="", **environment):
    start_sway(desktop, settings, GDK_BACKEND="wayland", **environment)


def start_cage(desktop):
    (line,) = advice("cage")
    write_script(desktop, "kiosk", "exec sleep infinity")
    start_with_program_on_path(desktop, [*NOT_AS_ROOT, "sh", "-c", f"exec {line}"],
                               **COMPOSITORS["cage"].environment)


@pytest.mark.parametrize("start", [start_i3, start_awesome, start_dwm, start_sway,
                                   start_sway_natively, start_cage])
def test_the_advice_for_a_desktop_starts_the_program(start_desktop, start):
    desktop = start_desktop(window_manager=None)
    start(desktop)
    desktop.service.report("Front desk")
    wait_for_box(desktop)
    assert count_programs(desktop) == 1


def tell_sway(desktop, *words):
    (socket,) = desktop.sandbox.runtime.glob("sway-ipc.*")
    status, answer, errors = desktop.sandbox.run(["swaymsg", "--raw", *words],
                                                 environment={"SWAYSOCK": str(socket)})
    assert status == 0, errors
    return json.loads(answer)


def nodes(tree):
    """A node of sway's tree of windows and all below it."""
    yield tree
    for child in tree["nodes"] + tree["floating_nodes"]:
        yield from nodes(child)


def find_sway_window(desktop):
    found = [node for node in nodes(tell_sway(desktop, "-t", "get_tree"))
             if node["name"] == "Front desk" and node["rect"]["width"] > 1]
    return found and found[0]


@pytest.mark.parametrize("start", [start_sway, start_sway_natively])
def test_boxes_float_in_sway_on_each_workspace_and_have_the_name_of_their_entry(start_desktop,
                                                                               start):
    desktop = start_desktop(window_manager=None)
    start(desktop)
    desktop.service.report("Front desk")
    wait_for_box(desktop)
    window = wait_until(lambda: find_sway_window(desktop), "the box")
    natively = start is start_sway_natively
    entry = TREE / f"packaging/{NAME}.windows.desktop.in"
    assert f"StartupWMClass={NAME}\n" in entry.read_text()
    assert window["type"] == "floating_con"
    assert (window["app_id"] if natively else window["window_properties"]["class"]).lower() == NAME
    if natively:
        tell_sway(desktop, "workspace", "7")
        wait_until(lambda: find_sway_window(desktop)["visible"], "the box on the other workspace")


def rectangle(of):
    return Rectangle(of["x"], of["y"], of["width"], of["height"])


@pytest.mark.parametrize("scale", ["1.5", "2"])
@pytest.mark.parametrize("start", [start_sway, start_sway_natively])
def test_a_box_is_whole_on_one_of_two_scaled_monitors(start_desktop, start, scale):
    desktop = start_desktop(window_manager=None)
    start(desktop, f"output * scale {scale}\noutput X11-2 mode --custom 1366x768\n",
          WLR_X11_OUTPUTS="2")
    desktop.service.report("Front desk")
    wait_for_box(desktop)
    outputs = tell_sway(desktop, "-t", "get_outputs")
    assert [output["scale"] for output in outputs] == [float(scale)] * 2
    window = wait_until(lambda: find_sway_window(desktop), "the box")
    place = rectangle(window["rect"])
    assert any(rectangle(output["rect"]).contains(place) for output in outputs), (place, outputs)
    picture = desktop.sandbox.home / "picture.png"
    (wayland,) = desktop.sandbox.runtime.glob("wayland-?")
    status, _, errors = desktop.sandbox.run(["grim", picture],
                                            environment={"WAYLAND_DISPLAY": wayland.name})
    assert status == 0, errors
    desktop.keep_picture(picture)
