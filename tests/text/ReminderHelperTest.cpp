#include "text/ZNReminderHelper.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/TestEnvironment.h"

namespace zun {
namespace {

// A British reader on Wednesday the 14th of January 2026, ten in the morning.
class ReminderHelper : public testing::Test {
  protected:
    ReminderHelper() { environment.setLocale({"en_GB", {"en-GB"}}); }

    [[nodiscard]] NSDate date(std::string_view text) const { return environment.date(text); }
    [[nodiscard]] ReminderAttributes dated(std::string_view text) const {
        ReminderAttributes attributes;
        attributes.title = "Pay rent";
        attributes.created_date = date("2026-01-11T10:00");
        attributes.start_date = attributes.due_date = attributes.fire_date = date(text);
        return attributes;
    }
    [[nodiscard]] std::string subtitle(const ReminderAttributes& attributes) const {
        return helper.subtitleStringForReminder(ZNReminderObject(attributes));
    }
    [[nodiscard]] std::string asString(const ReminderAttributes& attributes) const {
        return helper.reminderAsString(ZNReminderObject(attributes));
    }

    TestEnvironment environment{"2026-01-14T10:00:00Z"};
    LocalizedStrings strings{{"en"}};
    ZNReminderHelper helper{environment, strings};
};

TEST_F(ReminderHelper, SaysInOneLineHowAReminderStands) {
    const struct {
        const char* expected;
        std::function<void(ReminderAttributes&)> changes;
    } cases[] = {
        {"Due today at 12:00", [](auto&) {}},
        {"Due tomorrow at 08:00", [&](auto& r) { r.fire_date = date("2026-01-15T08:00"); }},
        {"Completed an hour ago", [&](auto& r) { r.completed_date = date("2026-01-14T09:00"); }},
        // A snooze outweighs the completion.
        {"Due tomorrow at 08:00",
         [&](auto& r) { r.completed_date = date("2026-01-14T09:00"), r.fire_date = date("2026-01-15T08:00"); }},
        {"Added 3 days ago", [](auto& r) { r.start_date = r.due_date = r.fire_date = std::nullopt; }},
        {"Added ", [](auto& r) { r.start_date = r.due_date = r.fire_date = r.created_date = std::nullopt; }},
        {"When I arrive at Home",
         [](auto& r) { r.locationName = "Home", r.locationLatitude = 1, r.locationLongitude = 1; }},
        {"When I leave Home",
         [](auto& r) {
             r.locationName = "Home", r.locationLatitude = 1, r.locationLongitude = -1, r.locationActivation = 9;
         }},
        {"When I arrive at ", [](auto& r) { r.locationLatitude = r.locationLongitude = 1; }},
        // Neither on the equator nor on the prime meridian.
        {"Due today at 12:00", [](auto& r) { r.locationName = "Quito", r.locationLongitude = -78; }},
    };
    for (const auto& c : cases) {
        auto attributes = dated("2026-01-14T12:00");
        c.changes(attributes);
        EXPECT_EQ(subtitle(attributes), c.expected);
    }
    EXPECT_EQ(helper.dateStringFromCompletionDate(ZNReminderObject()), "");
}

TEST_F(ReminderHelper, PutsAWholeReminderIntoWords) {
    ReminderAttributes attributes;
    attributes.title = "Pay rent";
    EXPECT_EQ(asString(attributes), "Pay rent");
    attributes.notes = "";
    attributes.checklist = "\n";
    EXPECT_EQ(asString(attributes), "Pay rent");

    attributes = dated("2026-02-01T09:00");
    attributes.notes = "two\nlines";
    attributes.checklist = "[ ]transfer\n[x]ask";
    attributes.repeat_type = RepeatType::weekly;
    attributes.customRepeatInterval = 2;
    attributes.customRepeatDayOrdinals = {6, 2};
    attributes.end_date = date("2026-12-31T00:00");
    attributes.locationName = "Bank";
    EXPECT_EQ(asString(attributes),
              "Pay rent\nDue Sun, 1 Feb 2026, 09:00\nDue Sun, 1 Feb, 09:00\ntwo\nlines\n- [ ] transfer\n- [x] ask\n"
              "Every 2 weeks on Friday, Monday\n" +
                  strings.string("Card_EndDate_Label_Mac") + " Thu, 31 Dec 2026, 00:00");

    ReminderAttributes place;
    place.title = "Shop";
    place.repeat_type = RepeatType::atLocation;
    place.locationName = "Market";
    place.locationLatitude = place.locationLongitude = 1;
    EXPECT_EQ(asString(place), "Shop\nWhen I arrive at Market\nEvery ");
}

TEST_F(ReminderHelper, NamesRepeats) {
    EXPECT_EQ(helper.stringForRepeatType(1), "Daily");
    EXPECT_EQ(helper.stringForRepeatType(4), "Yearly");
    EXPECT_EQ(helper.stringForRepeatType(6), helper.stringForRepeatType(0));

    struct Case {
        std::uint64_t type, interval;
        std::optional<DayOrdinals> ordinals;
        ShowOrdinals show;
        UseShortStrings useShort;
        const char* expected;
    };
    const Case cases[] = {
        {1, 0, {}, ShowOrdinals::Yes, UseShortStrings::No, "Every day"},
        {2, 1, DayOrdinals{}, ShowOrdinals::Yes, UseShortStrings::No, "Every week"},
        {3, 2, {}, ShowOrdinals::Yes, UseShortStrings::No, "Every 2 months"},
        {4, 999, {}, ShowOrdinals::No, UseShortStrings::No, "Every 999 years"},
        {2, 3, DayOrdinals{6, 2}, ShowOrdinals::Yes, UseShortStrings::No, "Every 3 weeks on Friday, Monday"},
        {2, 1, DayOrdinals{7, 1}, ShowOrdinals::Yes, UseShortStrings::Yes, "Every week on Sat, Sun"},
        {2, 3, DayOrdinals{2, 6}, ShowOrdinals::No, UseShortStrings::No, "Every 3 weeks"},
        {2, 1, DayOrdinals{0, 4, 8, -1}, ShowOrdinals::Yes, UseShortStrings::No, "Every week on Wednesday"},
        {2, 1, DayOrdinals{0, 8}, ShowOrdinals::Yes, UseShortStrings::No, "Every week"},
        {6, 0, {}, ShowOrdinals::Yes, UseShortStrings::No, "Every "},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(helper.stringForRepeatType(c.type, c.interval, c.ordinals, c.show, c.useShort), c.expected);
    }
}

}  // namespace
}  // namespace zun
