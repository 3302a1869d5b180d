"""The screen, mouse and keyboard as the X server has them. Geometry is in pixels of the screen."""

import time

import Xlib.display
import Xlib.error
import Xlib.ext.xtest
import Xlib.X
import Xlib.Xatom
import Xlib.XK
import Xlib.Xutil
import Xlib.protocol.event

FROM_A_PAGER = 2  # source indication of a task bar
MOTIF_FUNCTIONS, MOTIF_DECORATIONS = 1, 2
STRIP = 256  # lines of a screenshot fetched at a time


class Screen:
    """One connection to the X server. For one thread."""

    def __init__(self, display_name):
        self.display = Xlib.display.Display(display_name)
        self.root = self.display.screen().root
        # A window that goes while it is looked at is no news.
        self.display.set_error_handler(lambda *_: None)

    # ---- Windows --------------------------------------------------------------------------------

    def windows(self):
        """The windows of programs that are on the screen, the lowest first."""
        found = []
        for outer in self.root.query_tree().children:
            try:
                client = self._find_client(outer)
                if client is not None and self._is_viewable(client):
                    found.append(self._describe(client, outer))
            except Xlib.error.XError:
                pass  # it has just gone
        return found

    def _is_viewable(self, window):
        try:
            return window.get_attributes().map_state == Xlib.X.IsViewable
        except Xlib.error.XError:
            return False  # it has just gone

    def _find_client(self, outer):
        """The program's window within a frame, or the window itself when it has none."""
        if not self._is_viewable(outer):
            return None
        wm_state = self._atom("WM_STATE")
        level = [outer]
        for _ in range(4):
            for window in level:
                if window.get_property(wm_state, Xlib.X.AnyPropertyType, 0, 0) is not None:
                    return window
            level = [child for window in level for child in window.query_tree().children]
        unmanaged = outer.get_attributes().override_redirect or not self.window_manager()
        return outer if unmanaged and outer.get_wm_class() else None

    def _describe(self, client, outer):
        return {
            "id": client.id,
            "title": self._title(client),
            "client": self._extents(client),
            "frame": self._extents(outer),
            "states": self._atom_names(client, "_NET_WM_STATE"),
            "types": self._atom_names(client, "_NET_WM_WINDOW_TYPE"),
            "protocols": self._atom_names(client, "WM_PROTOCOLS"),
            "motif_hints": self._numbers(client, "_MOTIF_WM_HINTS"),
            "process": next(iter(self._numbers(client, "_NET_WM_PID")), None),
            "user_time": next(iter(self._numbers(client, "_NET_WM_USER_TIME")), None),
            "icon_sizes": self._icon_sizes(client),
            "class": list(client.get_wm_class() or ()),
            "menu": bool(client.get_attributes().override_redirect),
        }

    def _title(self, window):
        for name in ("_NET_WM_NAME", "WM_NAME"):
            value = window.get_full_property(self._atom(name), Xlib.X.AnyPropertyType)
            if value is not None:
                data = value.value
                return data if isinstance(data, str) else data.decode(errors="surrogateescape")
        return ""

    def _extents(self, window):
        geometry = window.get_geometry()
        corner = self.root.translate_coords(window, 0, 0)
        border = geometry.border_width
        return [corner.x - border, corner.y - border, geometry.width + 2 * border,
                geometry.height + 2 * border]

    def _icon_sizes(self, window):
        sizes, place = [], 0
        while len(size := self._numbers(window, "_NET_WM_ICON", place, 2)) == 2:
            sizes.append(size)
            place += 2 + size[0] * size[1]
        return sizes

    def count_everything(self):
        """The number of windows on the screen, the window manager's own among them."""
        return sum(map(self._is_viewable, self.root.query_tree().children))

    def active_window(self):
        """What the window manager calls active; 0 for none."""
        return next(iter(self._numbers(self.root, "_NET_ACTIVE_WINDOW")), 0)

    def focused_window(self):
        """The id of the program's window that gets the keys; 0 for none."""
        window = self.display.get_input_focus().focus
        if isinstance(window, int):
            return 0
        wm_state = self._atom("WM_STATE")
        try:
            while window != self.root and window:
                if window.get_property(wm_state, Xlib.X.AnyPropertyType, 0, 0) is not None:
                    return window.id
                window = window.query_tree().parent
        except Xlib.error.XError:
            pass
        return 0

    def task_bar(self):
        """The ids of the windows that a task bar lists."""
        found = []
        for number in self._numbers(self.root, "_NET_CLIENT_LIST"):
            window = self.display.create_resource_object("window", number)
            try:
                if "_NET_WM_STATE_SKIP_TASKBAR" not in self._atom_names(window, "_NET_WM_STATE"):
                    found.append(number)
            except Xlib.error.XError:
                pass
        return found

    def activate(self, window):
        """Turns to a window as a click in the task bar does."""
        now = 0
        self._send(window, "_NET_ACTIVE_WINDOW", [FROM_A_PAGER, now, 0, 0, 0], to_root=True)

    def switch_workspace(self, number):
        now = 0
        self._send(self.root.id, "_NET_CURRENT_DESKTOP", [number, now, 0, 0, 0], to_root=True)

    def request_close(self, window):
        """Asks the window manager to close a window, as a task bar does."""
        self._send(window, "_NET_CLOSE_WINDOW", [0, FROM_A_PAGER, 0, 0, 0], to_root=True)

    def delete_window(self, window):
        """Sends a window WM_DELETE_WINDOW, as a window manager does."""
        self._send(window, "WM_PROTOCOLS", [self._atom("WM_DELETE_WINDOW"), 0, 0, 0, 0],
                   to_root=False)

    def destroy_window(self, window):
        """Takes a window away from its program."""
        self.display.create_resource_object("window", window).destroy()
        self.display.sync()

    def _send(self, window, message, numbers, to_root):
        target = self.display.create_resource_object("window", window)
        event = Xlib.protocol.event.ClientMessage(window=target, client_type=self._atom(message),
                                                  data=(32, numbers))
        if to_root:
            mask = Xlib.X.SubstructureRedirectMask | Xlib.X.SubstructureNotifyMask
            self.root.send_event(event, event_mask=mask)
        else:
            target.send_event(event, event_mask=Xlib.X.NoEventMask)
        self.display.sync()

    # ---- The screen -----------------------------------------------------------------------------

    def size(self):
        geometry = self.root.get_geometry()
        return [geometry.width, geometry.height]

    def set_dots_per_inch(self, number):
        self.root.change_property(self._atom("RESOURCE_MANAGER"), Xlib.Xatom.STRING, 8,
                                  f"Xft.dpi:\t{number}\n".encode())
        self.display.sync()

    def window_manager(self):
        """The window manager's name, once it is at work; empty for none."""
        for number in self._numbers(self.root, "_NET_SUPPORTING_WM_CHECK"):
            window = self.display.create_resource_object("window", number)
            try:
                return self._title(window)
            except Xlib.error.XError:
                pass
        return ""

    def take_screenshot(self, path):
        from PIL import Image  # the test that the packages bring needs no pictures
        width, height = self.size()
        image = Image.new("RGB", (width, height))
        for top in range(0, height, STRIP):
            lines = min(STRIP, height - top)
            strip = self.root.get_image(0, top, width, lines, Xlib.X.ZPixmap, 0xFFFFFFFF)
            image.paste(Image.frombytes("RGB", (width, lines), strip.data, "raw", "BGRX"),
                        (0, top))
        image.save(path)

    def window_at(self, x, y):
        """The id of the program's window that shows the point; 0 for none."""
        number = 0
        for window in self.windows():  # the uppermost is the last
            left, top, width, height = window["frame"]
            if left <= x < left + width and top <= y < top + height:
                number = window["id"]
        return number

    def any_window_at(self, x, y):
        """Whether any window, managed or not, covers the point."""
        for window in self.root.query_tree().children:
            left, top, width, height = self._extents(window)
            if (self._is_viewable(window) and left <= x < left + width
                    and top <= y < top + height):
                return True
        return False

    # ---- Mouse and keyboard ---------------------------------------------------------------------

    def move_pointer(self, x, y):
        Xlib.ext.xtest.fake_input(self.display, Xlib.X.MotionNotify, x=x, y=y)
        self.display.sync()

    def enter_again(self):
        """Has the pointer leave the window that it is in and enter it again, where it is."""
        where = self.root.query_pointer()
        other = self.root.create_window(where.root_x, where.root_y, 1, 1, 0, Xlib.X.CopyFromParent,
                                        Xlib.X.InputOnly, override_redirect=True)
        other.map()
        other.destroy()
        self.display.sync()

    def pointer(self):
        where = self.root.query_pointer()
        return [where.root_x, where.root_y]

    def press_mouse_button(self, number=1):
        Xlib.ext.xtest.fake_input(self.display, Xlib.X.ButtonPress, number)
        self.display.sync()

    def release_mouse_button(self, number=1):
        Xlib.ext.xtest.fake_input(self.display, Xlib.X.ButtonRelease, number)
        self.display.sync()

    def click_after(self, milliseconds):
        """Clicks where the pointer is after each of these pauses; the X server keeps the time."""
        for pause in milliseconds:
            Xlib.ext.xtest.fake_input(self.display, Xlib.X.ButtonPress, 1, time=pause)
            Xlib.ext.xtest.fake_input(self.display, Xlib.X.ButtonRelease, 1)
        self.display.sync()

    def click_when_covered(self, x, y, milliseconds, seconds):
        """Clicks where the pointer is, so long after another window has come up at a point.

        Returns the milliseconds that have passed since then at most, which are more on a busy
        machine; None when no window came in so many seconds.
        """
        last_look = time.monotonic()
        end = last_look + seconds
        before = self.window_at(x, y)
        while True:
            look = time.monotonic()
            if self.window_at(x, y) != before:
                break
            if look > end:
                return None
            last_look = look
        self.click_after([milliseconds])
        return (time.monotonic() - last_look) * 1000

    def press_keys(self, keys):
        """Presses keys given by their X names, and releases them in the opposite order."""
        codes = [self._key_code(key) for key in keys]
        for code in codes:
            Xlib.ext.xtest.fake_input(self.display, Xlib.X.KeyPress, code)
        for code in reversed(codes):
            Xlib.ext.xtest.fake_input(self.display, Xlib.X.KeyRelease, code)
        self.display.sync()

    def hold_key(self, key):
        Xlib.ext.xtest.fake_input(self.display, Xlib.X.KeyPress, self._key_code(key))
        self.display.sync()

    def let_go_of_key(self, key):
        Xlib.ext.xtest.fake_input(self.display, Xlib.X.KeyRelease, self._key_code(key))
        self.display.sync()

    def type_text(self, text, pace=0):
        """Types letters, digits, blanks, tabs and line feeds, one after so many seconds."""
        for character in text:
            key = {" ": "space", "\n": "Return", "\t": "Tab"}.get(character, character)
            self.press_keys(["Shift_L", key.lower()] if character.isupper() else [key])
            time.sleep(pace)

    def _key_code(self, name):
        code = self.display.keysym_to_keycode(Xlib.XK.string_to_keysym(name))
        if code == 0:
            raise ValueError(f"no key for {name!r}")
        return code

    # ---- Properties -----------------------------------------------------------------------------

    def _atom(self, name):
        return self.display.intern_atom(name)  # python-xlib keeps them

    def _numbers(self, window, name, first=0, most=1000):
        value = window.get_property(self._atom(name), Xlib.X.AnyPropertyType, first, most)
        return list(value.value) if value is not None else []

    def _atom_names(self, window, name):
        return [self.display.get_atom_name(atom) for atom in self._numbers(window, name)]
