#!/usr/bin/env python3
"""A tour of every screen as somebody makes it who does not see: each control is found by its name, says what it is and
how it stands, and is used by what assistive technology offers. The store is asked after each step. Keys are pressed where
a reader's user has nothing else: in menus that have opened, and to go on by Tab.

usage: tour.py PROGRAMS_FOLDER WORK_FOLDER
"""

import json
import re
import sys
import time
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

from desktop import Desktop, Failure, expect, moment, wait_until

BERLIN = ZoneInfo("Europe/Berlin")
TABS = ["Show your cards", "Show the list of reminders", "Add a reminder", "Open the settings"]


def starting(text):
    return re.compile("^" + re.escape(text))


class Tour:
    def __init__(self, desktop):
        self.desktop = desktop

    # ---- what a step is made of

    def press(self, name, role="push button"):
        return self.desktop.find(name, role).do("Press")

    def switch(self, name, role="check box", on=True):
        return self.desktop.find(name, role).do("Toggle").expect("CHECKED", on)

    def all_is_named(self):
        expect("what has no name", self.desktop.nameless(), [])

    def await_deck(self, *titles):
        wait_until(f"the deck {titles}, now {self.desktop.titles_of_deck()}",
                   lambda: self.desktop.titles_of_deck() == list(titles))

    def rows(self):
        """Also those below the window's edge: a reader goes there."""
        table = next(iter(self.desktop.all(None, "list")), None)
        return [each.name.split(",")[0] for each in self.desktop.all(None, "list item", False, table)] if table else []

    def await_rows(self, *titles):
        wait_until(f"the rows {titles}, now {self.rows()}", lambda: self.rows() == list(titles))

    def row(self, title):
        return self.desktop.find(starting(title), "list item", False, self.desktop.find(None, "list"))

    def setting(self, key, value):
        file = next((self.desktop.home / "config").glob("*.json"))
        wait_until(f"{key} to be kept as {value}", lambda: json.loads(file.read_text()).get(key) == value)

    def leave_window(self, name):
        self.desktop.tap("Escape")
        self.desktop.expect_gone(name, "frame")
        self.desktop.windows()[0].expect("ACTIVE")

    # ---- the steps, in their order

    def nothing_is_due(self):
        desktop = self.desktop
        desktop.find("0 reminders", "frame")
        desktop.find("All clear, nothing is due, Press Ctrl+N to add a reminder", "label")
        expect("cards", desktop.all("Complete this reminder"), [])
        self.all_is_named()

    def settings(self):
        desktop = self.desktop
        self.press("Open the settings")
        desktop.find("Settings", "frame")
        desktop.find("General", "radio button").expect("CHECKED")
        self.all_is_named()
        if not self.switch("Return key saves").description:
            raise Failure("nobody is told what a return key that saves means")
        self.setting("znReturnToSaveKey", True)
        self.switch("Return key saves", on=False)
        self.setting("znReturnToSaveKey", False)
        self.switch("Defaults", "radio button")
        for name, key, value in (("Snooze for", "znSnoozeSetting", 1), ("Morning starts at", "znMorningHourKey", 9),
                                 ("Evening starts at", "znEveningHourKey", 19)):
            desktop.find(name, "combo box").expect("FOCUSABLE").do("Increase")
            self.setting(key, value)
        self.all_is_named()
        self.leave_window("Settings")

    def keys(self):
        desktop = self.desktop
        desktop.menu_bar("Help", "Keyboard Shortcuts")
        table = desktop.find("Keyboard Shortcuts", "table")
        expect("columns", desktop.names("table column header", table), ["Action", "Keys"])
        cells = desktop.names("table cell", table)
        expect("the key of a new reminder", cells[cells.index("New reminder") + 1], "Ctrl+N")
        expect("empty cells", cells.count(""), 0)
        self.all_is_named()
        self.leave_window("Keyboard Shortcuts")

    def cards(self):
        desktop = self.desktop
        desktop.zunctl("add", "Buy stamps")
        desktop.zunctl("add", "Pay rent", "--date", "2026-01-02T09:00")
        desktop.zunctl("add", "Call mum", "--date", "2026-02-02T09:00", "--checklist", "[ ]flowers\n[x]cake",
                       "--notes", "about https://example.org/cake")
        self.await_deck("Call mum", "Pay rent", "Buy stamps")
        card = desktop.find(re.compile("Call mum"), "panel")
        expect("what the card says", desktop.names("label", card)[1:], ["Call mum", "about https://example.org/cake"])
        desktop.find("https://example.org/cake", "link", within=card)
        self.all_is_named()
        card = ["Edit Reminder", "https://example.org/cake", "Show checklist", "Complete this reminder",
                "Snooze this reminder", "Skip to the next reminder"]
        expect("the order of Tab", desktop.tab_order(desktop.find(card[0], "push button")), card + TABS)

        # While cards fly there is nothing to press; the next one's buttons come when they answer.
        self.press("Skip to the next reminder")
        desktop.expect_gone(re.compile("Call mum"), "panel")
        self.press("Complete this reminder")
        self.await_deck("Buy stamps", "Call mum")
        desktop.find("2 reminders", "frame")
        desktop.menu_bar("Edit", "Undo Complete")
        self.await_deck("Pay rent", "Buy stamps", "Call mum")
        expect("its date of completion", desktop.reminders()["Pay rent"]["completed_date"], None)
        desktop.menu_bar("Edit", "Undo Skip")
        self.await_deck("Call mum", "Pay rent", "Buy stamps")

    def snooze_menu_and_picker(self):
        desktop = self.desktop
        desktop.find(re.compile("Call mum"), "panel")
        desktop.find("Snooze this reminder").do("ShowMenu")
        desktop.choose("15 minutes")
        away = moment(desktop.record("Call mum", lambda record: record["isSnoozed"])["fire_date"])
        if not timedelta(minutes=13) < away - datetime.now(timezone.utc) <= timedelta(minutes=15):
            raise Failure(f"snoozed until {away}, not for a quarter of an hour")
        self.await_deck("Pay rent", "Buy stamps")

        desktop.find(re.compile("Pay rent"), "panel")
        desktop.find("Snooze this reminder").do("ShowMenu")
        desktop.choose("Pick a date…")
        desktop.find("Pick a date…", "dialog").expect("SHOWING")
        self.all_is_named()
        dialog = desktop.find("Pick a date…", "dialog")
        today = datetime.now(BERLIN)
        later = (today.replace(day=1) + timedelta(days=31)).replace(day=17)
        for step, month in (("Next month", later), ("Previous month", today), ("Next month", later)):
            desktop.find(step, "push button", within=dialog).do("Press")
            desktop.find(f"{month:%B %Y}", "panel", within=dialog)
        day = wait_until("the days of next month", lambda: next((
            each for each in desktop.all(within=dialog) if each.name == f"{later:%a}, 17 {later:%b %Y}"), None))
        day.do("Toggle", "Press")
        self.press("Snooze")
        desktop.expect_gone("Pick a date…", "dialog")
        until = moment(desktop.record("Pay rent", lambda record: record["isSnoozed"])["fire_date"])
        expect("the day it comes back", until.astimezone(BERLIN).strftime("%m-%d"),
               f"{later:%m}-17")
        self.await_deck("Buy stamps")

    def list(self):
        desktop = self.desktop
        for title in ("Water plants", "Write letter"):
            desktop.zunctl("add", title)
        self.press("Show the list of reminders")
        desktop.find("Upcoming", "radio button").expect("CHECKED")
        desktop.find("Upcoming", "list").expect("FOCUSED").expect("MULTISELECTABLE")
        self.await_rows("Buy stamps", "Water plants", "Write letter", "Pay rent", "Call mum")
        expect("the first heading", desktop.names("heading")[0], "In your stack")
        self.all_is_named()

        self.press("Search")
        field = desktop.find("Search", "text").expect("FOCUSED").write("RENT")
        self.await_rows("Pay rent")
        self.all_is_named()
        self.press("Clear the search")
        wait_until("an empty field", lambda: field.text == "")
        self.press("Cancel")
        self.await_rows("Buy stamps", "Water plants", "Write letter", "Pay rent", "Call mum")

        self.row("Write letter").do("MoveUp")
        self.await_deck("Buy stamps", "Write letter", "Water plants")
        self.await_rows("Buy stamps", "Write letter", "Water plants", "Pay rent", "Call mum")
        self.row("Call mum").do("ShowMenu")
        desktop.choose("Cancel Snooze")
        desktop.record("Call mum", lambda record: not record["isSnoozed"])

        for title in ("Buy stamps", "Water plants"):
            self.row(title).do("Toggle").expect("SELECTED")
        desktop.find("2 selected", "label")
        self.all_is_named()
        self.press("Complete")
        for title in ("Buy stamps", "Water plants"):
            desktop.record(title, lambda record: record["completed_date"])
        self.switch("Completed", "radio button")
        desktop.find("Completed", "list").expect("FOCUSABLE")
        wait_until("the completed rows", lambda: sorted(self.rows()) == ["Buy stamps", "Water plants"])
        self.all_is_named()
        self.row("Buy stamps").do("ShowMenu")
        desktop.choose("Mark as Not Done")
        desktop.record("Buy stamps", lambda record: not record["completed_date"])
        self.await_rows("Water plants")
        self.row("Water plants").do("ShowMenu")
        desktop.choose("Delete")
        wait_until("the deletion", lambda: "Water plants" not in desktop.reminders())
        self.switch("Upcoming", "radio button")
        desktop.expect_gone("Completed", "list")
        # The rows are one stop, which is heard as the row at which it stands.
        order = [name.split(",")[0] for name in desktop.tab_order(desktop.find("Search", "push button"))]
        expect("the order of Tab", order, ["Search", "Upcoming", self.rows()[0]] + TABS)

    def calendar(self):
        desktop = self.desktop
        today = datetime.now(BERLIN)
        desktop.zunctl("add", "Visit the dentist", "--date", f"{today:%Y-%m-%d}T23:59")
        self.press("Show your cards")
        desktop.resize(1300, 900)
        month = desktop.find(f"{today:%B %Y}", "panel")
        self.all_is_named()
        self.press("Next month")
        later = today.replace(day=1) + timedelta(days=31)
        desktop.find(f"{later:%B %Y}", "panel")
        day = desktop.find(f"{later:%B} 17, 1 reminder", "check box").expect("CHECKED", False)
        day.do("Toggle").expect("CHECKED")
        desktop.find(starting("Pay rent"), "list item", within=desktop.find(f"{later:%B} 17", "list"))
        self.press("Previous month")
        desktop.find(f"{today:%B %Y}", "panel")
        day = desktop.find(starting(f"{today:%B} {today.day}, today, "), "check box").do("Toggle").expect("CHECKED")
        expect("what the day says", day.name, f"{today:%B} {today.day}, today, 1 reminder")
        self.all_is_named()
        # The grid is one stop, and the day's reminders are the next.
        order = [name.split(",")[0] for name in desktop.tab_order(desktop.find("Skip to the next reminder"))]
        expect("the order of Tab", order[:5], ["Skip to the next reminder", "Previous month", "Next month",
                                               f"{today:%B} {today.day}", "Visit the dentist"])
        expect("the order of Tab", order[5:9], TABS)
        day.do("SetFocus").expect("FOCUSED")
        desktop.tap("Tab")
        desktop.find(starting("Visit the dentist"), "list item").expect("FOCUSED")
        desktop.tap("Return")
        expect("what is edited", desktop.find("Title", "text").text, "Visit the dentist")
        self.press("Close")
        desktop.expect_gone("Title", "text")

    def editor(self):
        desktop = self.desktop
        desktop.resize(700, 900)
        self.press("Add a reminder")
        title = desktop.find("Title", "text").expect("FOCUSED").expect("EDITABLE")
        self.all_is_named()
        title.write("Dentist tomorrow at 9")
        desktop.find(re.compile("^Suggestion: .*09:00"), "push button").do("Press")
        wait_until("the title without its date", lambda: title.text == "Dentist")
        desktop.find("Remind me on a date", "check box").expect("CHECKED")
        self.all_is_named()
        expect("the order of Tab", desktop.tab_order(title),
               ["Title", "Remind me on a date", "Date", "Time", "Alert options", "Repeat", "Repeat options", "Notes",
                "Notes", "Close", "Use a place instead", "Save"])
        day = desktop.find("Date", "spin button")
        before = day.text
        day.do("Increase")
        wait_until("another day", lambda: day.text != before)
        desktop.find("Time", "spin button").write("10:30")

        self.press("Alert options")
        self.switch("Keep nagging me")
        desktop.find("Remind me", "combo box", within=desktop.find("Alert options", "dialog")).do("Increase")
        self.all_is_named()
        desktop.tap("Escape")
        desktop.expect_gone("Alert options", "dialog")

        desktop.find("Repeat", "combo box").do("Increase").do("Increase")
        self.press("Repeat options")
        desktop.find("Number", "text").write("4")
        self.press("Less")
        self.switch("Monday")
        self.switch("Friday")
        self.all_is_named()
        desktop.tap("Escape")
        desktop.expect_gone("Repeat options", "dialog")
        self.press("Add an end date")
        desktop.find("Ends", "spin button").expect("FOCUSED").do("Increase")
        self.all_is_named()
        self.press("Remove the end date")
        desktop.expect_gone("Ends", "spin button")

        desktop.find("Notes", "text").write("bring the card")
        self.switch("Checklist", "radio button")
        desktop.find("Checklist", "text").write("insurance\nx-ray")
        self.switch("x-ray")
        self.all_is_named()
        self.press("Save")
        desktop.expect_gone("Title", "text")
        record = desktop.record("Dentist")
        for attribute, wanted in (("notes", "bring the card"), ("checklist", "[ ]insurance\n[x]x-ray"),
                                  ("naggingNotifications", True), ("earlyReminderType", 1), ("repeat_type", 2),
                                  ("customRepeatInterval", 3), ("customRepeatDayOrdinals", [2, 6]),
                                  ("end_date", None)):
            expect(attribute, record[attribute], wanted)
        due = moment(record["due_date"]).astimezone(BERLIN)
        tomorrow = datetime.now(BERLIN) + timedelta(days=1)
        expect("the time of day", f"{due:%H:%M}", "10:30")
        expect("the day after tomorrow's", (due.date() - tomorrow.date()).days, 1)

    def editor_of_a_place_and_left(self):
        """What is not saved is not stored, and waits as a draft."""
        desktop = self.desktop
        self.press("Add a reminder")
        desktop.find("Title", "text").write("Post the letter")
        self.switch("Use a place instead")
        desktop.find("When", "combo box").do("Increase")
        self.switch("Repeat every time")
        expect("a place can be chosen", desktop.find("Choose a place…", "push button").has("ENABLED"), False)
        self.all_is_named()
        self.press("Save")
        # Without a place the card shakes its head, and stays.
        desktop.settle()
        desktop.find("Title", "text")
        desktop.find("Use a date instead", "check box").do("Toggle")
        desktop.find("Remind me on a date", "check box").expect("CHECKED", False)
        self.press("Close")
        desktop.expect_gone("Title", "text")
        expect("what was not saved", "Post the letter" in desktop.reminders(), False)

    def checklist_card(self):
        desktop = self.desktop
        for title in desktop.titles_of_deck():
            if title != "Call mum":
                desktop.zunctl("complete", desktop.reminders()[title]["reminderID"])
        desktop.find(re.compile("Call mum"), "panel")
        self.press("Show checklist")
        desktop.find("1 item left", "label")
        desktop.find("cake", "check box").expect("CHECKED")
        self.all_is_named()
        expect("the order of Tab", desktop.tab_order(desktop.find("Done", "push button")),
               ["Done", "Checklist", "Checklist options"])
        self.switch("cake", on=False)
        desktop.find("2 items left", "label")
        self.switch("flowers")
        self.press("Checklist options")
        desktop.choose("Move Open Items to the Top")
        desktop.record("Call mum", lambda record: record["checklist"] == "[ ]cake\n[x]flowers")
        self.press("Checklist options")
        desktop.choose("Make Cards from Open Items")
        desktop.find("Complete", "push button").expect("FOCUSABLE")
        self.all_is_named()
        self.press("Complete")
        desktop.record("cake")
        desktop.record("Call mum", lambda record: record["completed_date"])
        self.await_deck("cake")
        desktop.find(re.compile("cake"), "panel")

    def main(self):
        for step in (self.nothing_is_due, self.settings, self.keys, self.cards, self.snooze_menu_and_picker, self.list,
                     self.calendar, self.editor, self.editor_of_a_place_and_left, self.checklist_card):
            begun = time.monotonic()
            step()
            print(f"{step.__name__.replace('_', ' ')}: {time.monotonic() - begun:.1f} s", flush=True)


if __name__ == "__main__":
    with Desktop(*sys.argv[1:]) as desktop:
        Tour(desktop).main()
