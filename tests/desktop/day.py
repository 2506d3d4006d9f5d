#!/usr/bin/env python3
"""A person's day with the application, by mouse and keys on a real display, with a look into the store after each step.

usage: day.py PROGRAMS_FOLDER WORK_FOLDER
"""

import re
import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

from desktop import Desktop, Failure, expect, moment, wait_until

BERLIN = ZoneInfo("Europe/Berlin")


class Day:
    def __init__(self, desktop):
        self.desktop = desktop

    # ---- the steps, in their order

    def write_a_reminder_with_date_alert_and_checklist(self):
        desktop = self.desktop
        desktop.find("Add a reminder").click()
        desktop.type("Pack for the trip")
        desktop.find("Remind me on a date", "check box").click()
        desktop.find("Alert options").click()
        desktop.find("Remind me", "combo box").click()
        desktop.find("1 hour before", "list item").click()
        desktop.keys("Escape")
        desktop.find("Checklist", "radio button").click()
        for item in ("passport", "charger", "book"):
            desktop.type(item)
            desktop.keys("Return")
        desktop.type("scarf")
        desktop.find("Save").click()
        record = desktop.record("Pack for the trip")
        expect("lines of the checklist", record["checklist"], "[ ]passport\n[ ]charger\n[ ]book\n[ ]scarf")
        expect("early alert", (record["earlyReminderType"], record["earlyReminderInterval"]), (2, 1))
        expect("fires before it is due", moment(record["due_date"]) - moment(record["fire_date"]), timedelta(hours=1))

    def let_it_repeat_every_two_weeks(self):
        desktop = self.desktop
        desktop.find("Show the list of reminders").click()
        desktop.find(re.compile("Pack for the trip"), "list item").double_click()
        desktop.find("Repeat options").click()
        weeks = desktop.find("Number", "text")
        weeks.click()
        desktop.keys("ctrl+a")
        desktop.type("2")
        desktop.find("Monday", "check box").click()
        desktop.find("Friday", "check box").click()
        desktop.keys("Escape")
        desktop.find("Save").click()
        record = desktop.record("Pack for the trip", lambda record: record["repeat_type"] == 2)
        expect("interval", record["customRepeatInterval"], 2)
        expect("days", record["customRepeatDayOrdinals"], [2, 6])

    def look_at_its_day_in_the_calendar(self):
        desktop = self.desktop
        desktop.find("Show your cards").click()
        desktop.resize(1200, 800)
        due = moment(self.desktop.record("Pack for the trip")["due_date"]).astimezone(BERLIN)
        # The day may be of the month after the one that is shown.
        desktop.find(re.compile(f"^{due.strftime('%B')} {due.day}(,|$)"), "check box").click()
        desktop.find(re.compile("^Pack for the trip"), "list item").click()
        desktop.find("Edit Reminder")
        desktop.keys("Escape")
        desktop.find("Show the list of reminders").click()

    def put_the_due_ones_in_order_by_hand(self):
        desktop = self.desktop
        desktop.resize(900, 720)
        for title in ("Water the plants", "Call the bank", "Buy stamps", "Read the contract"):
            desktop.zunctl("add", title)
        before = desktop.titles_of_deck()
        first, third = (desktop.find(re.compile("^" + title), "list item") for title in (before[0], before[2]))
        x, y, width, _ = first.place
        desktop.drag(third.centre, (x + width // 2, y + 6))
        wanted = [before[2], before[0], before[1], before[3]]
        wait_until(f"the order {wanted}", lambda: desktop.titles_of_deck() == wanted)
        reminders = desktop.reminders()
        expect("ranks", [reminders[title]["rank"] for title in wanted], [4, 3, 2, 1])

    def search(self):
        desktop = self.desktop
        desktop.keys("ctrl+f")
        desktop.type("STAMPS")
        desktop.find(re.compile("^Buy stamps"), "list item")
        desktop.expect_gone(re.compile("^Call the bank"), "list item")
        desktop.keys("Escape")
        desktop.find(re.compile("^Call the bank"), "list item")

    def complete_two_at_once_and_take_one_back(self):
        desktop = self.desktop
        desktop.find(re.compile("^Buy stamps"), "list item").click()
        desktop.xdotool("keydown", "ctrl")
        desktop.find(re.compile("^Call the bank"), "list item").click()
        desktop.xdotool("keyup", "ctrl")
        desktop.find("2 selected")
        desktop.find("Complete", "push button").click()
        for title in ("Buy stamps", "Call the bank"):
            desktop.record(title, lambda record: record.get("completed_date"))
        desktop.find("Completed", "radio button").click()
        desktop.find(re.compile("^Buy stamps"), "list item").click(button=3)
        desktop.choose("Mark as Not Done")
        desktop.record("Buy stamps", lambda record: not record.get("completed_date"))
        expect("the other one stays done", bool(desktop.reminders()["Call the bank"].get("completed_date")), True)

    def skip_and_undo(self):
        desktop = self.desktop
        desktop.find("Show your cards").click()
        before = desktop.titles_of_deck()
        desktop.find("Skip to the next reminder").click()
        wait_until("the skip in the store", lambda: desktop.titles_of_deck() == before[1:] + before[:1])
        desktop.keys("ctrl+z")
        wait_until("the undone skip in the store", lambda: desktop.titles_of_deck() == before)

    def snooze_until_a_chosen_moment(self):
        desktop = self.desktop
        title = desktop.titles_of_deck()[0]
        desktop.find("Snooze this reminder").click(button=3)
        desktop.choose("Pick a date…")
        desktop.find("Choose the time").click()
        desktop.keys("Home", "Up", "Return")
        fires = desktop.record(title, lambda record: record.get("fire_date"))["fire_date"]
        away = moment(fires) - datetime.now(timezone.utc)
        if not timedelta(minutes=50) < away < timedelta(minutes=61):
            raise Failure(f"snoozed by {away}, not by the hour that was chosen")
        wait_until("the card to go", lambda: title not in desktop.titles_of_deck())

    def tick_a_checklist_and_make_cards_of_it(self):
        desktop = self.desktop
        # Due at once, so that it is a card.
        identifier = desktop.reminders()["Pack for the trip"]["reminderID"]
        desktop.zunctl("edit", identifier, "--no-date")
        for title in desktop.titles_of_deck():
            if title != "Pack for the trip":
                desktop.zunctl("complete", desktop.reminders()[title]["reminderID"])
        desktop.settle()
        desktop.find("Show checklist").click()
        desktop.find("charger", "check box").click()
        desktop.find("Checklist options").click()
        desktop.choose("Make Cards from Open Items")
        desktop.find("Complete", "push button").click()
        for item in ("passport", "book", "scarf"):
            desktop.record(item)
        record = desktop.record("Pack for the trip", lambda record: record.get("completed_date"))
        expect("the tick", "[x]charger" in record["checklist"], True)
        expect("nothing was made of what was ticked", "charger" in desktop.reminders(), False)
        expect("the deck", sorted(desktop.titles_of_deck()), ["book", "passport", "scarf"])


def main():
    programs, work = sys.argv[1:]
    with Desktop(programs, work) as desktop:
        day = Day(desktop)
        for step in (day.write_a_reminder_with_date_alert_and_checklist, day.let_it_repeat_every_two_weeks,
                     day.look_at_its_day_in_the_calendar,
                     day.put_the_due_ones_in_order_by_hand, day.search, day.complete_two_at_once_and_take_one_back,
                     day.skip_and_undo, day.snooze_until_a_chosen_moment, day.tick_a_checklist_and_make_cards_of_it):
            print(step.__name__.replace("_", " "), flush=True)
            step()


if __name__ == "__main__":
    main()
