"""What a screen reader knows of one application, and what it can do with it: find by role and name, act, type, press
keys. Nothing else is looked at, so what cannot be done from here cannot be done by somebody who does not see."""

import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

# The bindings name their own accessors deprecated.
warnings.simplefilter("ignore", DeprecationWarning)

State = Atspi.StateType
PATIENCE = 20  # seconds; a loaded machine is slow, an application that does not answer is broken
KEYS = {"Tab": 0xFF09}  # X's numbers


def has(node, *states):
    owned = node.get_state_set()
    return all(owned.contains(state) for state in states)


def name_of(node):
    """Its name, or that of what labels it, which is how boxes to choose from are named."""
    for relation in node.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            return " ".join(relation.get_target(i).get_name() for i in range(relation.get_n_targets()))
    return node.get_name()


def children(node):
    for number in range(node.get_child_count()):
        child = node.get_child_at_index(number)
        if child:
            yield child


def actions(node):
    interface = node.get_action_iface()
    return [interface.get_action_name(i) for i in range(interface.get_n_actions())] if interface else []


class ScreenReader:
    def __init__(self, process):
        Atspi.init()
        self.process = process
        self.application = self.wait(self._find_application, "the application is not there")

    def wait(self, condition, complaint):
        """What the condition gives, once it gives something."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            assert self.process.poll() is None, "the application has ended"
            try:
                found = condition()
            except GLib.Error:  # what was looked at has just gone
                found = None
            if found:
                return found
            time.sleep(0.05)
        raise AssertionError(f"{complaint}\n{self.outline()}")

    @staticmethod
    def pause():
        """Until an animation has gone by."""
        time.sleep(0.7)

    def showing(self, within=None):
        """Everything that shows, in the order in which it is read."""
        for node in children(within or self.application):
            if has(node, State.SHOWING):
                yield node
                yield from self.showing(node)

    def find(self, role, name, within=None):
        return self.wait(lambda: self.seen(role, name, within), f"no {role} {name!r}")

    def seen(self, role, name, within=None):
        return next((node for node in self.showing(within)
                     if node.get_role_name() == role and name_of(node) == name), None)

    def await_gone(self, role, name):
        self.wait(lambda: not self.seen(role, name), f"the {role} {name!r} stays")

    def await_state(self, node, state, wanted=True):
        self.wait(lambda: has(node, state) == wanted, f"{name_of(node)!r} does not change its state {state}")

    def act(self, node, action="Press"):
        assert has(node, State.ENABLED), f"{name_of(node)!r} is disabled"
        assert action in actions(node), f"{name_of(node)!r} offers {actions(node)}, not {action}"
        node.get_action_iface().do_action(actions(node).index(action))

    def press(self, name, role="push button", within=None):
        self.act(self.find(role, name, within))

    def choose(self, menu, item):
        """An item of the menu bar, without the menu being opened for those who see it."""
        def offered():
            for node in self._all(self.application):
                if node.get_role_name() == "menu item" and node.get_name() == menu:
                    for entry in self._all(node):
                        if entry.get_name() == item and has(entry, State.ENABLED):
                            return entry
            return None
        self.act(self.wait(offered, f"the menu {menu} does not offer {item!r}"))

    def type(self, node, text):
        assert has(node, State.EDITABLE), f"{name_of(node)!r} cannot be written in"
        node.get_editable_text_iface().set_text_contents(text)

    def key(self, name):
        Atspi.generate_keyboard_event(KEYS[name], None, Atspi.KeySynthType.SYM)

    def focused(self):
        return next((node for node in self.showing() if has(node, State.FOCUSED, State.FOCUSABLE)), None)

    def names(self, role, within=None):
        return [name_of(node) for node in self.showing(within) if node.get_role_name() == role]

    def nameless(self):
        """What can be used, and does not say what it is."""
        return [f"{node.get_role_name()} {actions(node)}" for node in self.showing()
                if not name_of(node).strip() and
                (node.get_role_name() in NAMED_ROLES or {"Press", "Toggle"} & set(actions(node)))]

    def outline(self):
        try:
            return "\n".join(f"{node.get_role_name()} {name_of(node)!r} {actions(node)}" for node in self.showing())
        except (AttributeError, GLib.Error):
            return ""

    def _all(self, node):
        for child in children(node):
            yield child
            yield from self._all(child)

    def _find_application(self):
        return next((each for each in children(Atspi.get_desktop(0))
                     if each.get_process_id() == self.process.pid and each.get_child_count()), None)


NAMED_ROLES = {"push button", "toggle button", "check box", "radio button", "combo box", "text", "list", "list item",
               "table", "link", "frame", "heading", "spin button", "page tab", "menu item"}
