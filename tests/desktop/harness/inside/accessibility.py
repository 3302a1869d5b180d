"""What a screen reader finds, through AT-SPI."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

CALL_TIMEOUT = 2000  # milliseconds
STATES = ("ACTIVE", "ARMED", "EDITABLE", "FOCUSABLE", "FOCUSED", "MULTI_LINE", "READ_ONLY",
          "SENSITIVE", "SHOWING", "VISIBLE")


class Accessibility:
    """One client of the accessibility bus, which is found through the session bus."""

    def __init__(self):
        Atspi.set_timeout(CALL_TIMEOUT, CALL_TIMEOUT)
        Atspi.init()

    def windows(self, process=None):
        """The trees of all top-level windows of programs, or of one program."""
        trees = []
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()  # what it remembers, and below it
        for application in self._children(desktop):
            try:
                if process is None or application.get_process_id() == process:
                    trees += [self._tree(window) for window in self._children(application)]
            except GLib.Error:
                pass  # it has just gone
        return [tree for tree in trees if tree is not None]

    def press_button(self, process, window, label):
        """Does the action of a button, as a screen reader or a switch does."""
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for application in self._children(desktop):
            if application.get_process_id() == process:
                for top in self._children(application):
                    if top.get_name() == window and self._press_below(top, label):
                        return
        raise LookupError(f"no button {label!r} in {window!r}")

    def _press_below(self, node, label):
        if node.get_name() == label and node.get_action_iface() is not None:
            return Atspi.Action.do_action(node, 0)
        return any(self._press_below(child, label) for child in self._children(node))

    def _children(self, node):
        found = []
        for number in range(node.get_child_count()):
            child = node.get_child_at_index(number)
            if child is not None:
                found.append(child)
        return found

    def _tree(self, node):
        """One node and all below it; None when it has just gone."""
        try:
            children = [self._tree(child) for child in self._children(node)]
            states = node.get_state_set()
            tree = {
                "role": self._role(node),
                "name": node.get_name() or "",
                "description": node.get_description() or "",
                "states": [name.lower() for name in STATES
                           if states.contains(getattr(Atspi.StateType, name))],
                "extents": self._extents(node),
                "children": [child for child in children if child is not None],
            }
            self._add_text(tree, node)
            self._add_image(tree, node)
            return tree
        except GLib.Error:
            return None

    def _role(self, node):
        # By number, because its name has changed: "push button" became "button".
        if node.get_role() == Atspi.Role.PUSH_BUTTON:
            return "push button"
        return node.get_role_name()

    def _extents(self, node):
        component = node.get_component_iface()
        if component is None:
            return None
        area = component.get_extents(Atspi.CoordType.SCREEN)
        return [area.x, area.y, area.width, area.height]

    def _add_text(self, tree, node):
        text = node.get_text_iface()
        if text is not None:
            count = text.get_character_count()
            # By the interface's name: the node has other methods of these names, which hide them.
            tree["text"] = Atspi.Text.get_text(text, 0, count)
            tree["caret"] = text.get_caret_offset()
            if text.get_n_selections():
                selected = Atspi.Text.get_selection(text, 0)
                tree["selection"] = [selected.start_offset, selected.end_offset]
            last = text.get_character_extents(max(count - 1, 0), Atspi.CoordType.SCREEN)
            tree["last_character"] = [last.x, last.y, last.width, last.height]

    def _add_image(self, tree, node):
        image = node.get_image_iface()
        if image is not None:
            size = image.get_image_size()
            tree["image_size"] = [size.x, size.y]
            tree["image_description"] = image.get_image_description() or ""
