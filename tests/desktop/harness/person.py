"""A person at the desktop: sees windows and boxes, moves the mouse, presses keys."""

import dataclasses
import json
import os
import select
import sys

from .sandbox import INSIDE
from .waiting import DeadlineMissed, scaled, wait_until


@dataclasses.dataclass(frozen=True)
class Rectangle:
    """A part of the screen, in pixels."""
    x: int
    y: int
    width: int
    height: int

    @property
    def center(self):
        return self.x + self.width // 2, self.y + self.height // 2

    def contains(self, other):
        return (self.x <= other.x and other.x + other.width <= self.x + self.width
                and self.y <= other.y and other.y + other.height <= self.y + self.height)


@dataclasses.dataclass(frozen=True)
class Window:
    """A window of a program on the screen."""
    id: int
    title: str
    client: Rectangle        # without the window manager's frame
    frame: Rectangle
    states: list             # _NET_WM_STATE, as _NET_WM_STATE_ABOVE
    types: list              # _NET_WM_WINDOW_TYPE
    protocols: list          # WM_PROTOCOLS
    motif_hints: list        # flags, functions, decorations, ...; empty for none
    process: int | None      # _NET_WM_PID
    user_time: int | None    # _NET_WM_USER_TIME; 0 asks for no focus
    icon_sizes: list         # [width, height] of each icon in _NET_WM_ICON
    menu: bool               # not for the window manager: a menu, a tool tip

    @staticmethod
    def of(seen):
        known = {field.name for field in dataclasses.fields(Window)}
        values = {name: value for name, value in seen.items() if name in known}
        values["client"] = Rectangle(*seen["client"])
        values["frame"] = Rectangle(*seen["frame"])
        return Window(**values)


@dataclasses.dataclass(frozen=True)
class Node:
    """One part of a window as a screen reader finds it."""
    role: str
    name: str
    description: str
    states: list
    extents: Rectangle | None
    children: list
    text: str | None = None
    last_character: Rectangle | None = None  # of the text; may be out of sight
    caret: int | None = None  # the number of characters before it
    selection: tuple | None = None  # the first character and the one after the last
    image_size: tuple | None = None
    image_description: str | None = None

    @staticmethod
    def of(seen):
        extents = Rectangle(*seen["extents"]) if seen["extents"] else None
        children = [Node.of(child) for child in seen["children"]]
        last = Rectangle(*seen["last_character"]) if "last_character" in seen else None
        return Node(**(seen | {"extents": extents, "children": children,
                               "last_character": last}))

    def all(self, role=None):
        """This node and all below it, of one role or of any, from left to right."""
        found = [self] if role in (None, self.role) else []
        return found + [node for child in self.children for node in child.all(role)]


@dataclasses.dataclass(frozen=True)
class Box:
    """An error message box: a window and what a screen reader finds in it."""
    window: Window
    root: Node

    @property
    def title(self):
        return self.window.title

    @property
    def text(self):
        return self.root.all("text")[0].text

    @property
    def text_area(self):
        return self.root.all("text")[0]

    @property
    def icon(self):
        return self.root.all("icon")[0]

    @property
    def buttons(self):
        """The buttons, in the order in which they stand on the screen from left to right."""
        buttons = [node for node in self.root.all("push button") if "showing" in node.states]
        return sorted(buttons, key=lambda button: button.extents.x)

    @property
    def labels(self):
        return [button.name for button in self.buttons]

    @property
    def focused(self):
        """What has the keyboard focus within the box, or None."""
        return next((node for node in self.root.all() if "focused" in node.states), None)

    def button(self, label):
        return next(button for button in self.buttons if button.name == label)


HAND = 10  # pixels; a hand that moves further does not just tremble


class Person:
    """Works through an agent inside the sandbox. `connect` comes first."""

    def __init__(self, sandbox):
        self._last_click = (-HAND, -HAND)
        answer_read, answer_write = os.pipe()
        self._answers = os.fdopen(answer_read, "rb")
        self.agent = sandbox.start([sys.executable, "-Es", INSIDE / "person_agent.py"],
                                   name="person",
                                   stdout=answer_write)
        os.close(answer_write)

    def _ask(self, call, **arguments):
        self.agent.write(json.dumps({"call": call, "with": arguments}).encode() + b"\n")
        if not select.select([self._answers], [], [], scaled(20))[0]:
            raise DeadlineMissed(f"the person does not come back from {call}")
        line = self._answers.readline()
        if not line:
            raise RuntimeError(self.agent.stderr().decode())
        answer = json.loads(line)
        if "problem" in answer:
            raise RuntimeError(f"{call}({arguments}): {answer['problem']}")
        return answer["result"]

    def connect(self, display, session_bus):
        self._ask("connect", display=display, session_bus=session_bus)

    def set_dots_per_inch(self, number):
        """How big programs that start from now on make their text."""
        self._ask("set_dots_per_inch", number=number)

    # ---- Looks ----------------------------------------------------------------------------------

    def windows(self, title=None, process=None):
        """The windows on the screen, the lowest first."""
        return [window for window in map(Window.of, self._ask("windows"))
                if title in (None, window.title) and process in (None, window.process)]

    def accessible_windows(self, process=None):
        return [Node.of(seen) for seen in self._ask("accessible_windows", process=process)]

    def boxes(self, title=None):
        """The message boxes that are on the screen and have come to rest, the lowest first.

        A window and what the screen reader has are the same box when they are at the same place.
        (Whether the screen reader's extents hold the frame is up to the window manager.)
        """
        windows = [window for window in self.windows(title) if not window.menu]
        roots = [root for process in {window.process for window in windows}
                 for root in self.accessible_windows(process) if root.role == "alert"]
        boxes = []
        for window in windows:
            root = next((root for root in roots if root.name == window.title
                         and root.extents.contains(window.client)
                         and window.frame.contains(root.extents)), None)
            if root is not None:
                roots.remove(root)
                boxes.append(Box(window, root))
        return boxes

    def wait_for_box(self, title=None, deadline=10.0):
        """Waits for a box (with a title) and returns it."""
        return wait_until(lambda: self.boxes(title), lambda: self._seen(f"a box {title!r}"),
                          deadline)[0]

    def wait_for_window(self, title, deadline=10.0):
        return wait_until(lambda: self.windows(title), lambda: self._seen(f"a window {title!r}"),
                          deadline)[0]

    def wait_until_gone(self, title, deadline=10.0):
        wait_until(lambda: not self.windows(title), f"the end of window {title!r}", deadline)

    def _seen(self, wanted):
        return f"{wanted}; there are {[window.title for window in self.windows()]}"

    def window_at(self, x, y):
        """The id of the program's window that shows a point of the screen; 0 for none."""
        return self._ask("window_at", x=x, y=y)

    def any_window_at(self, x, y):
        """Whether any window, managed or not, covers the point."""
        return self._ask("any_window_at", x=x, y=y)

    def active_window(self):
        return self._ask("active_window")

    def focused_window(self):
        return self._ask("focused_window")

    def task_bar(self):
        return self._ask("task_bar")

    def window_manager(self):
        return self._ask("window_manager")

    def screen_size(self):
        return tuple(self._ask("size"))

    def take_screenshot(self, path):
        self._ask("take_screenshot", path=str(path))

    # ---- Does -----------------------------------------------------------------------------------

    def click(self, box, label, times=1):
        """Clicks a button where it is, which must not be covered.

        Neither where the pointer rests nor where the last click was: a box takes no press that
        nobody aimed at it, and no second half of a double click.
        """
        x, y = box.button(label).extents.center
        taken = [self._ask("pointer"), self._last_click]
        x = next(x + aside for aside in (0, 2 * HAND, -2 * HAND)
                 if all(max(abs(x + aside - other[0]), abs(y - other[1])) > HAND
                        for other in taken))
        self._last_click = x, y
        uppermost = self.window_at(x, y)
        assert uppermost == box.window.id, f"{label} of {box.title!r} is covered"
        self.click_at(x, y, times=times)

    def click_at(self, x, y, button=1, times=1):
        self.move_pointer(x, y)
        for _ in range(times):
            self.press_mouse_button(button)
            self.release_mouse_button(button)

    def click_after(self, *milliseconds):
        """Clicks where the pointer is, once after each of these pauses."""
        self._ask("click_after", milliseconds=list(milliseconds))

    def click_when_covered(self, milliseconds, deadline=10.0):
        """Clicks where the pointer is, so long after a window has come up under it.

        Returns the milliseconds that it took at most: more where the machine was busy.
        """
        x, y = self._ask("pointer")
        taken = self._ask("click_when_covered", x=x, y=y, milliseconds=milliseconds,
                          seconds=scaled(deadline))
        assert taken is not None, "no window came up under the pointer"
        return taken

    def press_as_assistive_tool(self, box, label):
        """Presses a button through the accessibility bus, without mouse or key."""
        self._ask("press_button", process=box.window.process, window=box.title, label=label)

    def move_pointer(self, x, y):
        self._ask("move_pointer", x=x, y=y)

    def enter_again(self):
        """Has the pointer leave the window that it is in and enter it again, where it is."""
        self._ask("enter_again")

    def press_mouse_button(self, number=1):
        self._ask("press_mouse_button", number=number)

    def release_mouse_button(self, number=1):
        self._ask("release_mouse_button", number=number)

    def press(self, *keys):
        """Presses keys by their X names; together, as in press("Alt_L", "Tab")."""
        self._ask("press_keys", keys=list(keys))

    def switch_window(self):
        """Alt and Tab, with Alt held until the window manager's list of windows is there."""
        before = self._ask("count_everything")
        self._ask("hold_key", key="Alt_L")
        try:
            self.press("Tab")
            wait_until(lambda: self._ask("count_everything") > before, "the list of windows")
        finally:
            self._ask("let_go_of_key", key="Alt_L")

    def type_text(self, text, pace=0):
        """Types a text, one letter after so many seconds."""
        self._ask("type_text", text=text, pace=pace)

    def turn_to(self, window, deadline=10.0):
        """Turns to a window through the task bar, and waits until it has the keyboard."""
        window = window.window if isinstance(window, Box) else window
        self._ask("activate", window=window.id)
        wait_until(lambda: self.focused_window() == window.id,
                   f"the keyboard focus in {window.title!r}", deadline)

    def switch_workspace(self, number):
        """Asks the window manager for a workspace, by its number from 0, as a pager does."""
        self._ask("switch_workspace", number=number)

    def request_close(self, window):
        """Asks the window manager to close a window, as a task bar does."""
        self._ask("request_close", window=window.id)

    def delete_window(self, window):
        """Sends WM_DELETE_WINDOW, as a window manager's close button does."""
        self._ask("delete_window", window=window.id)

    def destroy_window(self, window):
        """Takes a window away from its program."""
        self._ask("destroy_window", window=window.id)
