"""A desktop of its own for a test: an X server, a window manager, a session bus and the bus of assistive technology, and
the application on it. What is on the screen is found as a screen reader finds it, by name and role; what is done to it is
done by the X server's own mouse and keys, or by the actions that a screen reader calls.

Every wait is bounded. Whatever goes wrong leaves a picture of the screen in the work folder.
"""

import contextlib
import datetime
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time
import warnings

LONGEST_WAIT = 20.0
LOOK_AGAIN_AFTER = 0.05
# Pure silence on the screen for this long counts as settled.
SETTLED_AFTER = 0.35
BETWEEN_PICTURES = 0.03  # whoever is looked at without pause has no time to move
# What nobody can use who is not told what it is.
NAMED_ROLES = {"push button", "toggle button", "check box", "radio button", "combo box", "text", "list", "list item", "table",
               "link", "frame", "window", "dialog", "heading", "label", "spin button", "menu item"}

# The bindings name their own accessors deprecated.
warnings.simplefilter("ignore", DeprecationWarning)


class Failure(AssertionError):
    """Something on the screen, or in the store, is not as it should be."""


def expect(what, actual, wanted):
    if actual != wanted:
        raise Failure(f"{what}: {actual!r} where {wanted!r} was expected")


def moment(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))


def wait_until(what, condition, seconds=LONGEST_WAIT):
    end = time.monotonic() + seconds
    while True:
        try:
            result = condition()
        except Exception as error:
            # What was just there has gone while it was looked at.
            if not type(error).__module__.startswith("gi."):
                raise
            result = None
        if result:
            return result
        if time.monotonic() > end:
            raise Failure(f"waited in vain for {what}")
        time.sleep(LOOK_AGAIN_AFTER)


class Control:
    """Something that assistive technology knows."""

    def __init__(self, desktop, accessible):
        self.desktop = desktop
        self.accessible = accessible

    def _fresh(self):
        # What the library remembers may be of a moment ago.
        self.accessible.clear_cache()
        return self.accessible

    @property
    def name(self):
        """Its own, or that of what labels it."""
        own = self._fresh().get_name()
        if own:
            return own
        labelled = self.desktop.atspi.RelationType.LABELLED_BY
        return " ".join(relation.get_target(i).get_name() or "" for relation in self.accessible.get_relation_set()
                        if relation.get_relation_type() == labelled for i in range(relation.get_n_targets()))

    @property
    def role(self):
        return self._fresh().get_role_name()

    @property
    def description(self):
        return self._fresh().get_description() or ""

    def has(self, state):
        return self._fresh().get_state_set().contains(getattr(self.desktop.atspi.StateType, state))

    @property
    def is_shown(self):
        return self.has("SHOWING") and self.has("VISIBLE")

    @property
    def text(self):
        return self.desktop.atspi.Text.get_text(self.accessible, 0, -1)

    @property
    def place(self):
        """x, y, width and height on the screen."""
        box = self._fresh().get_component_iface().get_extents(self.desktop.atspi.CoordType.SCREEN)
        return box.x, box.y, box.width, box.height

    @property
    def centre(self):
        x, y, width, height = self.place
        return x + width // 2, y + height // 2

    def children(self):
        accessible = self._fresh()
        found = (accessible.get_child_at_index(i) for i in range(accessible.get_child_count()))
        return [Control(self.desktop, child) for child in found if child]

    def walk(self, shown=False):
        """Itself and all in it, in the order of reading; what is not shown can be left out with all that it holds."""
        if shown and not self.is_shown:
            return
        yield self
        for child in self.children():
            yield from child.walk(shown)

    def actions(self):
        if not self.accessible.get_action_iface():
            return []
        return [self.accessible.get_action_name(i) for i in range(self.accessible.get_n_actions())]

    # ---- by assistive technology; nothing here waits for what comes of it

    def do(self, *names):
        """Calls the first of these actions that it has."""
        if not self.has("ENABLED"):
            raise Failure(f"{self} is disabled")
        actions = self.actions()
        for name in names or ("Press", "Toggle"):
            if name in actions:
                self.accessible.do_action(actions.index(name))
                return self
        raise Failure(f"{self} has none of the actions {names}, only {actions}")

    def write(self, text):
        if not self.has("EDITABLE") or not self.desktop.atspi.EditableText.set_text_contents(self.accessible, text):
            raise Failure(f"{self} takes no text")
        return self

    def expect(self, state, wanted=True):
        wait_until(f"{self} to be {'' if wanted else 'not '}{state}", lambda: self.has(state) == wanted)
        return self

    # ---- by hand

    def click(self, button=1):
        self.desktop.click(*self.centre, button=button)

    def double_click(self):
        self.desktop.click(*self.centre, times=2)

    def __str__(self):
        return f'{self.role} "{self.name}"'


class Desktop:
    def __init__(self, programs, work, language="en_GB.UTF-8", size="1400x1000", scale="1"):
        self.programs = pathlib.Path(programs).resolve()
        self.work = pathlib.Path(work).resolve()
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        self.home = self.work / "home"
        self.size = size
        self.environment = dict(
            os.environ, LANG=language, LC_ALL=language, LANGUAGE=language.split(".")[0], TZ="Europe/Berlin",
            ZUN_HOME=str(self.home), QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_SCALE_FACTOR=scale,
            QT_QPA_PLATFORM="xcb", XDG_RUNTIME_DIR=str(self.work), XDG_CURRENT_DESKTOP="openbox")
        self.environment.pop("WAYLAND_DISPLAY", None)
        self._children = contextlib.ExitStack()

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self._children.close()
            raise
        return self

    def __exit__(self, kind, error, trace):
        if error:
            self.picture("failure")
            (self.work / "failure.txt").write_text(self.outline())
        self._children.close()

    def _spawn(self, words, **options):
        child = subprocess.Popen(words, env=self.environment, stdout=subprocess.DEVNULL, stderr=self._log, **options)
        self._children.callback(self._end, child)
        return child

    @staticmethod
    def _end(child):
        child.send_signal(signal.SIGTERM)
        try:
            child.wait(5)
        except subprocess.TimeoutExpired:
            child.kill()
            child.wait()

    def _start(self):
        self._log = self._children.enter_context(open(self.work / "log.txt", "ab"))
        reader, writer = os.pipe()
        # By itself the server starts anew when its last client goes, and throws out who is just coming.
        self._spawn(["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{self.size}x24", "-nolisten", "tcp",
                     "-noreset"], pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as answer:
            self.environment["DISPLAY"] = ":" + answer.readline().strip()
        bus = f"unix:path={self.work}/bus"
        self._spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--address={bus}"])
        wait_until("the session bus", (self.work / "bus").exists)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus
        self._spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
        self._spawn(["openbox"])
        # A window that comes before its manager is never given the focus.
        wait_until("the window manager", lambda: subprocess.run(
            ["xdotool", "get_desktop"], env=self.environment, capture_output=True, check=False).returncode == 0)
        # The library reads these when it is loaded, so it cannot stand at the top.
        os.environ.update({key: self.environment[key] for key in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")})
        os.environ["XDG_RUNTIME_DIR"] = str(self.work)
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
        self.atspi = Atspi
        wait_until("the bus of assistive technology", lambda: Atspi.init() in (0, 1))
        from gi.repository import GLib
        self._events = GLib.MainContext.default()
        self._spoken = []
        self._listener = Atspi.EventListener.new(
            lambda event: event.detail1 and self._spoken.append(Control(self, event.source)))
        self._listener.register("object:state-changed:focused")
        self.start_application()

    # ---- the application and its store

    def start_application(self):
        self.application = self._spawn([str(self.programs / "zun")])
        wait_until("the application on the bus of assistive technology", self._application)
        wait_until("its window", lambda: self.windows())
        self.settle()

    def stop_application(self):
        self._end(self.application)
        wait_until("its end", lambda: not self._application())

    def zunctl(self, *words):
        ended = subprocess.run([str(self.programs / "zunctl"), *words], env=self.environment, capture_output=True,
                               text=True, timeout=LONGEST_WAIT)
        if ended.returncode != 0:
            raise Failure(f"zunctl {' '.join(words)}: {ended.stderr}")
        return ended.stdout

    def json(self, *words):
        return json.loads(self.zunctl("--json", *words))

    def reminders(self):
        """All records of the store, by title."""
        lines = self.zunctl("export").splitlines()
        return {record["title"]: record for record in map(json.loads, filter(None, lines))}

    def record(self, title, condition=lambda record: True):
        """The stored record of this title, once it is as wanted."""
        return wait_until(f'"{title}" as wanted in the store',
                          lambda: (record := self.reminders().get(title)) and condition(record) and record)

    def titles_of_deck(self):
        return [line["title"] for line in self.json("list", "--deck")]

    # ---- looking

    def _application(self):
        if self.application.poll() is not None:
            raise Failure(f"the application has ended with {self.application.returncode}")
        desktop = self.atspi.get_desktop(0)
        desktop.clear_cache()
        for i in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(i)
            if child and child.get_process_id() == self.application.pid:
                return Control(self, child)
        return None

    def windows(self):
        application = self._application()
        return [window for window in application.children() if window.is_shown] if application else []

    def all(self, name=None, role=None, shown=True, within=None):
        """What matches: a text is the whole name, a pattern is searched in it."""
        found = []
        for root in [within] if within else self.windows():
            for control in root.walk(shown):
                if role and control.role != role:
                    continue
                if isinstance(name, re.Pattern):
                    if not name.search(control.name):
                        continue
                elif name is not None and control.name != name:
                    continue
                found.append(control)
        return found

    def find(self, name=None, role=None, shown=True, within=None):
        return wait_until(f'{role or "something"} named {name}',
                          lambda: next(iter(self.all(name, role, shown, within)), None))

    def names(self, role, within=None):
        return [control.name for control in self.all(None, role, within=within)]

    def nameless(self):
        """What can be used, or should be read, and does not say what it is."""
        usable = {"Press", "Toggle", "SetFocus"}
        return [f"{control.role} {control.actions()}" for control in self.all()
                if (control.role in NAMED_ROLES or usable & set(control.actions())) and not control.name.strip()]

    def outline(self):
        """All that a reader can come to, a line each."""
        lines = []
        with contextlib.suppress(Exception):
            for control in self.all():
                lines.append(f"{control} {control.actions()}{' FOCUSED' if control.has('FOCUSED') else ''}")
        return "\n".join(lines)

    def _heard(self):
        while self._events.pending():
            self._events.iteration(False)
        spoken, self._spoken[:] = list(self._spoken), []
        return spoken

    def heard(self):
        """The names of what took the focus since the last call, as a reader is told."""
        return [control.name for control in self._heard()]

    def choose(self, name):
        """Goes down an open menu by key until the reader hears this item, and takes it."""
        self.settle()
        self.heard()
        seen = [None]
        for _ in range(20):
            self.tap("Down")
            seen += wait_until(f"something to be heard after {seen[1:]}",
                               lambda: [said for said in self.heard() if said != seen[-1]])
            if seen[-1] == name:
                self.keys("Return")
                return
        raise Failure(f'no item "{name}" was heard in the menu, only {seen[1:]}')

    def tab_order(self, start, most=60):
        """The names of what Tab goes through, once around from this control."""
        start.do("SetFocus").expect("FOCUSED")
        stops = [start]
        self._heard()
        while len(stops) < most:
            self.tap("Tab")
            stop = wait_until(f"Tab to lead on from {stops[-1]}", lambda: next(
                (each for each in self._heard() if each.has("FOCUSED") and each.has("FOCUSABLE")), None))
            if stop.accessible == start.accessible:
                return [each.name for each in stops]
            if not stop.name.strip() or any(stop.accessible == each.accessible for each in stops):
                raise Failure(f"Tab comes to {stop} after {[str(each) for each in stops]}")
            stops.append(stop)
        raise Failure(f"Tab comes to no end: {[str(each) for each in stops]}")

    def menu_bar(self, menu, item):
        """Takes an item of the menu bar, without the menu being opened for those who see it."""
        def offered():
            return next((entry for title in self.all(menu, "menu item") for entry in title.walk()
                         if entry.name == item and entry.has("ENABLED")), None)
        wait_until(f'"{item}" in the menu "{menu}"', offered).do("Press")

    def expect_gone(self, name=None, role=None):
        wait_until(f'{role or "something"} named {name} to go', lambda: not self.all(name, role))

    def settle(self):
        """Waits until the picture on the screen rests."""
        end = time.monotonic() + LONGEST_WAIT
        before, since = None, time.monotonic()
        while time.monotonic() < end:
            now = subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], env=self.environment,
                                 capture_output=True, check=True).stdout
            if now != before:
                before, since = now, time.monotonic()
            elif time.monotonic() - since >= SETTLED_AFTER:
                return
            time.sleep(BETWEEN_PICTURES)

    def picture(self, name):
        file = self.work / f"{name}.png"
        subprocess.run(["import", "-window", "root", str(file)], env=self.environment, check=False)
        return file

    # ---- acting by hand

    def xdotool(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env=self.environment, check=True, timeout=LONGEST_WAIT)

    def resize(self, width, height):
        """The active window."""
        self.xdotool("getactivewindow", "windowmove", 100, 60, "windowsize", width, height)
        self.settle()

    def click(self, x, y, button=1, times=1):
        self.xdotool("mousemove", x, y)
        self.xdotool("click", "--repeat", times, "--delay", 60, button)
        self.settle()

    def tap(self, name):
        self.xdotool("key", "--clearmodifiers", name)

    def keys(self, *names):
        for name in names:
            self.tap(name)
        self.settle()

    def type(self, text):
        self.xdotool("type", "--delay", 12, text)
        self.settle()

    def drag(self, start, end, steps=12):
        self.xdotool("mousemove", *start, "mousedown", 1)
        for step in range(1, steps + 1):
            self.xdotool("mousemove", *(a + (b - a) * step // steps for a, b in zip(start, end)))
            time.sleep(0.02)
        self.xdotool("mouseup", 1)
        self.settle()
