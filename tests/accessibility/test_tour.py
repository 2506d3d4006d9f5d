"""A tour of the application by a screen reader alone: every control is found by its name, used, and the store is asked
what has come of it.

test_tour.py PROGRAMS FOLDER: the folder of the programs, and one for what the tests write.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from screen_reader import ScreenReader, State, has, name_of

PROGRAMS, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
HOME = WORK / "home"


class Tour(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.manager = subprocess.Popen(["openbox"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.manager.terminate()
        cls.manager.wait(10)

    def setUp(self):
        shutil.rmtree(WORK, ignore_errors=True)
        HOME.mkdir(parents=True)
        self.zunctl("add", "Pay rent", "--date", "2026-01-02T09:00")
        self.zunctl("add", "Call mum", "--date", "2026-02-02T09:00", "--checklist", "[ ]flowers\n[x]cake")
        self.addCleanup(self.end)
        self.start()

    def start(self):
        self.process = subprocess.Popen([PROGRAMS / "zun", "--home", HOME], env=os.environ | {
            "QT_QPA_PLATFORM": "xcb", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "LC_ALL": "C.UTF-8"})
        self.reader = ScreenReader(self.process)
        self.card("Call mum")

    def end(self):
        self.process.terminate()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()

    def zunctl(self, *words):
        ended = subprocess.run([PROGRAMS / "zunctl", "--home", HOME, "--json", *words], check=True, text=True,
                               stdout=subprocess.PIPE, timeout=60)
        return json.loads(ended.stdout)

    def titles(self, *words):
        return [each["title"] for each in self.zunctl("list", *words)]

    def await_titles(self, titles, *words):
        self.reader.wait(lambda: self.titles(*words) == titles, f"the store does not come to hold {titles}")

    def card(self, title):
        """The card with that title, once it is the only one: the one before has flown away."""
        def resting():
            cards = [node for node in self.reader.showing()
                     if node.get_role_name() == "panel" and self.reader.seen("label", title, node)]
            others = self.reader.names("push button").count("Complete this reminder")
            return cards[0] if len(cards) == others == 1 else None
        return self.reader.wait(resting, f"the card {title!r} does not come")

    def deal_with(self, title, button):
        """A press that comes while cards still move is not answered, and nothing tells: press again, as people do."""
        self.card(title)

        def is_gone():
            if self.reader.seen("label", title):
                self.reader.press(button, within=self.card(title))
                self.reader.pause()
            return not self.reader.seen("label", title)
        self.reader.wait(is_gone, f"{title!r} stays in spite of {button!r}")

    def all_have_names(self):
        self.assertEqual(self.reader.nameless(), [])

    def tab_names(self, most=40):
        """What Tab goes through, once around."""
        names = []
        for _ in range(most):
            before = self.reader.focused()
            self.reader.key("Tab")
            focused = self.reader.wait(
                lambda: (now := self.reader.focused()) and now != before and now, "Tab leads nowhere")
            name = name_of(focused)
            self.assertTrue(name.strip(), f"Tab comes to a nameless {focused.get_role_name()} after {names}")
            if name in names:
                return names
            names.append(name)
        raise AssertionError(f"Tab comes to no end: {names}")

    def test_cards_are_read_and_dealt_with(self):
        reader = self.reader
        reader.find("frame", "2 reminders")
        self.all_have_names()
        card = self.card("Call mum")
        self.assertIn("Call mum", name_of(card))
        self.assertEqual([label.split()[0] for label in reader.names("label", card)], ["DUE", "Call"])
        for button in ("Complete this reminder", "Snooze this reminder", "Skip to the next reminder"):
            self.assertTrue(has(reader.find("push button", button, card), State.FOCUSABLE))

        self.deal_with("Call mum", "Skip to the next reminder")
        self.await_titles(["Pay rent", "Call mum"])
        self.deal_with("Pay rent", "Complete this reminder")
        reader.find("frame", "1 reminder")
        self.await_titles(["Call mum"])
        self.await_titles(["Pay rent"], "--completed")
        self.deal_with("Call mum", "Snooze this reminder")
        reader.find("label", "All clear, nothing is due, Press Ctrl+N to add a reminder")
        self.await_titles([])
        self.all_have_names()

    def test_tab_goes_through_the_card_screen_in_the_order_of_reading(self):
        names = self.tab_names()
        cards = ["Edit Reminder", "Show checklist", "Complete this reminder", "Snooze this reminder",
                 "Skip to the next reminder"]
        self.assertEqual([name for name in names if name in cards], cards)
        for button in ("Show your cards", "Show the list of reminders", "Add a reminder", "Open the settings"):
            self.assertIn(button, names)

    def open_settings(self):
        self.reader.choose("Edit", "Settings…")
        self.reader.await_state(self.reader.find("radio button", "General"), State.CHECKED)

    def test_settings_say_what_they_are_and_are_kept(self):
        self.open_settings()
        returns = self.reader.find("check box", "Return key saves")
        self.assertTrue(returns.get_description())
        self.assertFalse(has(returns, State.CHECKED))
        self.reader.act(returns, "Toggle")
        self.reader.await_state(returns, State.CHECKED)
        self.all_have_names()
        self.reader.act(self.reader.find("radio button", "Defaults"), "Toggle")
        for box in ("Snooze for", "Morning starts at", "Evening starts at"):
            self.assertTrue(has(self.reader.find("combo box", box), State.FOCUSABLE))
        self.all_have_names()

        self.end()
        self.start()
        self.open_settings()
        self.reader.await_state(self.reader.find("check box", "Return key saves"), State.CHECKED)

    def test_keys_are_a_table(self):
        reader = self.reader
        reader.choose("Help", "Keyboard Shortcuts")
        table = reader.find("table", "Keyboard Shortcuts")
        self.assertEqual(reader.names("table column header", table), ["Action", "Keys"])
        cells = reader.names("table cell", table)
        self.assertEqual(cells[cells.index("New reminder") + 1], "Ctrl+N")
        self.assertNotIn("", cells)
        self.all_have_names()

    def test_list_is_read_searched_and_left(self):
        reader = self.reader
        reader.press("Show the list of reminders")
        table = reader.find("list", "Upcoming")
        reader.wait(lambda: len(reader.names("list item", table)) == 2, "the list shows no rows")
        self.assertEqual([name.split(",")[0] for name in reader.names("list item", table)], ["Call mum", "Pay rent"])
        self.assertTrue(reader.names("heading", table))
        self.all_have_names()

        reader.press("Search")
        field = reader.find("text", "Search")
        reader.type(field, "rent")
        reader.wait(lambda: [name.split(",")[0] for name in reader.names("list item", table)] == ["Pay rent"],
                    "the search finds something else")
        reader.press("Cancel")
        reader.wait(lambda: len(reader.names("list item", table)) == 2, "the rows do not come back")
        reader.act(reader.find("radio button", "Completed"), "Toggle")
        reader.find("list", "Completed")
        reader.await_gone("list", "Upcoming")
        reader.press("Show your cards")
        reader.find("push button", "Complete this reminder")

    def test_a_reminder_is_written(self):
        reader = self.reader
        reader.press("Add a reminder")
        reader.type(reader.find("text", "Title"), "Water plants")
        dated = reader.find("check box", "Remind me on a date")
        self.all_have_names()
        reader.act(dated, "Toggle")
        reader.await_state(dated, State.CHECKED)
        self.all_have_names()
        reader.press("Save")
        self.reader.wait(lambda: "Water plants" in self.titles("--upcoming"), "the reminder is not stored")
        stored = next(each for each in self.zunctl("list", "--upcoming") if each["title"] == "Water plants")
        self.assertIsNotNone(stored["start_date"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
