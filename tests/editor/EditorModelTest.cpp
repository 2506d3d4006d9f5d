#include "editor/EditorModel.h"

#include <gtest/gtest.h>

#include <boost/json/serialize.hpp>
#include <fstream>

#include "core/ManagerWorld.h"
#include "editor/EditorDrafts.h"
#include "editor/RecordMerge.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

using Segment = EditorModel::Segment;

class EditorModelTest : public testing::Test, public ManagerWorld {
  protected:
    EditorModel modelOf(const ReminderPtr& reminder = nullptr) { return {{environment, strings, settings}, reminder}; }
};

TEST_F(EditorModelTest, SwitchingTheDateOnWritesTomorrowsMorningAndOffDropsAllThatDependsOnIt) {
    settings.setMorningHour(7);
    auto model = modelOf();
    model.toggleDateOptionsWithVisibility(true);
    const ReminderAttributes on = model.reminder().attributes();
    const auto tomorrow = OptionalDate(at("2026-01-15T07:00:00Z"));
    EXPECT_EQ(on.start_date, tomorrow);
    EXPECT_EQ(on.due_date, tomorrow);
    EXPECT_EQ(on.fire_date, tomorrow);

    model.reminder().setEarlyReminderType(2);
    model.reminder().setEarlyReminderInterval(3);
    model.didChangeDateSettings();
    EXPECT_EQ(model.reminder().fire_date(), OptionalDate(at("2026-01-15T04:00:00Z")));
    model.didSelectDate(at("2026-02-01T12:00:00Z"));
    EXPECT_EQ(model.reminder().due_date(), OptionalDate(at("2026-02-01T12:00:00Z")));
    EXPECT_EQ(model.reminder().fire_date(), OptionalDate(at("2026-02-01T09:00:00Z")));

    model.reminder().setRepeat_type(RepeatType::weekly);
    model.reminder().setCustomRepeatInterval(2);
    model.reminder().setCustomRepeatDayOrdinals(DayOrdinals{2, 6});
    model.addEndDate();
    model.toggleDateOptionsWithVisibility(false);
    EXPECT_EQ(model.reminder().attributes(), ReminderAttributes());
    model.toggleDateOptionsWithVisibility(true);
    EXPECT_EQ(model.reminder().attributes(), on);
}

TEST_F(EditorModelTest, RowsAndRepeatTypesFollowEachOther) {
    struct Case {
        std::uint64_t type, interval;
        std::optional<DayOrdinals> ordinals;
        int row;
        const char* customRow;
    };
    const std::vector<Case> cases = {
        {0, 0, {}, 0, "Custom…"},
        {3, 1, {}, 3, "Custom…"},
        {2, 1, DayOrdinals{}, 2, "Custom…"},
        {1, 2, {}, 5, "Every 2 days"},
        {2, 1, DayOrdinals{2, 6}, 5, "Every week on Mon, Fri"},
        {5, 0, {}, 5, "Custom…"},  // nothing to name yet
        {6, 0, {}, 0, "Custom…"},
        {99, 0, {}, 0, "Custom…"},
    };
    for (const auto& each : cases) {
        auto model = modelOf();
        model.reminder().setRepeat_type(each.type);
        model.reminder().setCustomRepeatInterval(each.interval);
        model.reminder().setCustomRepeatDayOrdinals(each.ordinals);
        EXPECT_EQ(model.rowForRepeatType(), each.row) << each.type;
        EXPECT_EQ(model.repeatRows()[5], each.customRow) << each.type;
    }
}

TEST_F(EditorModelTest, ChoosingARowKeepsARefinedCustomRepeatAndDropsWhatNoLongerFits) {
    auto model = modelOf();
    model.reminder().setRepeat_type(RepeatType::weekly);
    model.reminder().setCustomRepeatInterval(2);
    model.reminder().setCustomRepeatDayOrdinals(DayOrdinals{2});
    model.addEndDate();
    model.onToggleRepeat(EditorModel::customRepeatRow);
    EXPECT_EQ(model.reminder().repeat_type(), RepeatType::weekly);
    model.onToggleRepeat(4);
    EXPECT_EQ(model.reminder().repeat_type(), RepeatType::yearly);
    EXPECT_EQ(model.reminder().customRepeatInterval(), 0U);
    EXPECT_FALSE(model.reminder().customRepeatDayOrdinals());
    EXPECT_TRUE(model.reminder().end_date());
    model.onToggleRepeat(EditorModel::customRepeatRow);
    EXPECT_EQ(model.reminder().repeat_type(), RepeatType::customUnrefined);
    model.onToggleRepeat(0);
    EXPECT_EQ(model.reminder().repeat_type(), RepeatType::none);
    EXPECT_FALSE(model.reminder().end_date());
}

TEST_F(EditorModelTest, WhatIsSeenAndHowHighItIs) {
    using Visible = EditorModel::VisibleControls;
    auto model = modelOf();
    EXPECT_EQ(model.visibleControls(Segment::Notes),
              (Visible{true, false, true, false, false, false, false, false, false, false}));
    EXPECT_EQ(model.dateContainerHeight(), 44);
    model.toggleDateOptionsWithVisibility(true);
    EXPECT_EQ(model.visibleControls(Segment::Checklist),
              (Visible{false, true, true, false, true, false, false, false, false, false}));
    EXPECT_EQ(model.dateContainerHeight(), 125);
    model.onToggleRepeat(1);
    EXPECT_EQ(model.visibleControls(Segment::Notes),
              (Visible{true, false, true, false, true, true, false, true, false, true}));
    EXPECT_EQ(model.dateContainerHeight(), 155);
    model.addEndDate();
    EXPECT_EQ(model.visibleControls(Segment::Notes),
              (Visible{true, false, true, false, true, true, true, false, true, true}));
    model.toggleReminderType();
    EXPECT_EQ(model.visibleControls(Segment::Notes),
              (Visible{true, false, false, true, false, false, false, false, false, false}));
    EXPECT_EQ(model.dateContainerHeight(), 110);
    EXPECT_EQ(model.reminder().locationActivationRadius(), 150U);
}

TEST_F(EditorModelTest, OnlyATitleAndAWholePlaceCanBeSaved) {
    struct Case {
        const char* title;
        double latitude, longitude;
        bool isPlace, isValid;
    };
    const std::vector<Case> cases = {{"", 0, 0, false, false},  {" ", 0, 0, false, true},  {"a", 0, 0, false, true},
                                     {"a", 0, 0, true, false},  {"a", 52, 13, true, true}, {"a", 0, 13, true, false},
                                     {"a", 52, 0, true, false}, {"", 52, 13, true, false}};
    for (const auto& each : cases) {
        auto model = modelOf();
        if (each.isPlace) model.toggleReminderType();
        model.reminder().setTitle(each.title);
        model.reminder().setLocationName("Home");
        model.reminder().setLocationLatitude(each.latitude);
        model.reminder().setLocationLongitude(each.longitude);
        EXPECT_EQ(model.isValid(), each.isValid) << each.title << each.latitude << each.longitude;
    }
    auto unnamed = modelOf();
    unnamed.toggleReminderType();
    unnamed.reminder().setTitle("a");
    unnamed.reminder().setLocationLatitude(52);
    unnamed.reminder().setLocationLongitude(13);
    EXPECT_FALSE(unnamed.isValid());
}

TEST_F(EditorModelTest, MergingTakesTouchedFieldsFromTheEditorAndTheRestFromTheFreshRow) {
    ReminderAttributes opened = dated("a", "2026-01-20T09:00:00Z");
    opened.repeat_type = RepeatType::weekly;
    opened.end_date = at("2026-06-01T00:00:00Z");
    using Change = void (*)(ReminderAttributes&);
    const auto day = [](ReminderAttributes& record, int number) {
        record.start_date = record.due_date = record.fire_date = referenceDate + std::chrono::days(number);
    };
    struct Case {
        const char* name;
        Change inEditor, elsewhere, expected;  // each on a copy of what was opened
    };
    static const auto setDay = day;
    const std::vector<Case> cases = {
        {"different fields", [](auto& r) { r.title = "mine"; }, [](auto& r) { r.notes = "theirs"; },
         [](auto& r) { r.title = "mine", r.notes = "theirs"; }},
        {"the same field", [](auto& r) { r.title = "mine"; }, [](auto& r) { r.title = "theirs"; },
         [](auto& r) { r.title = "mine"; }},
        {"completed elsewhere", [](auto& r) { r.title = "mine"; }, [](auto& r) { r.completed_date = referenceDate; },
         [](auto& r) { r.title = "mine", r.completed_date = referenceDate; }},
        {"nothing typed into absent notes", [](auto& r) { r.notes = ""; }, [](auto& r) { r.notes = "theirs"; },
         [](auto& r) { r.notes = "theirs"; }},
        {"series moved on, title edited", [](auto& r) { r.title = "mine"; }, [](auto& r) { setDay(r, 9); },
         [](auto& r) { r.title = "mine", setDay(r, 9); }},
        {"both moved the date", [](auto& r) { setDay(r, 5); }, [](auto& r) { setDay(r, 9); },
         [](auto& r) { setDay(r, 5); }},
        {"alert an hour before a date that was moved elsewhere",
         [](auto& r) {
             r.earlyReminderType = 2, r.earlyReminderInterval = 1, r.fire_date = *r.due_date - std::chrono::hours(1);
         },
         [](auto& r) { setDay(r, 9); },
         [](auto& r) {
             setDay(r, 9);
             r.earlyReminderType = 2, r.earlyReminderInterval = 1, r.fire_date = *r.due_date - std::chrono::hours(1);
         }},
        {"interval here, weekdays there", [](auto& r) { r.customRepeatInterval = 3; },
         [](auto& r) { r.repeat_type = RepeatType::daily, r.customRepeatDayOrdinals = DayOrdinals{2}; },
         [](auto& r) { r.customRepeatInterval = 3; }},
        {"no repeat here, other end there", [](auto& r) { r.repeat_type = 0, r.end_date.reset(); },
         [](auto& r) { r.end_date = referenceDate; }, [](auto& r) { r.repeat_type = 0, r.end_date.reset(); }},
        {"place here, name there", [](auto& r) { r.locationLatitude = 1, r.locationLongitude = 2; },
         [](auto& r) { r.locationName = "theirs"; }, [](auto& r) { r.locationLatitude = 1, r.locationLongitude = 2; }},
    };
    for (const auto& each : cases) {
        ReminderAttributes edited = opened, fresh = opened, expected = opened;
        each.inEditor(edited);
        each.elsewhere(fresh);
        each.expected(expected);
        EXPECT_TRUE(mergeEdits(opened, edited, fresh) == expected) << each.name;
    }
}

class EditorDraftsTest : public EditorModelTest {
  protected:
    std::filesystem::path state() const { return folder.path() / "state"; }
    static ReminderAttributes titled(const std::string& title, std::optional<std::string> reminderID = {}) {
        ReminderAttributes record;
        record.title = title;
        record.reminderID = std::move(reminderID);
        return record;
    }
    std::string latest(EditorDrafts& drafts) const {
        const auto draft = drafts.draftForNewReminder([](const std::string&) { return true; });
        return draft ? draft->edited.title : "none";
    }
};

TEST_F(EditorDraftsTest, SurviveTheProgramAndStayWithTheirReminder) {
    {
        EditorDrafts drafts(state(), environment, dispatch);
        drafts.keep({}, titled("first"));
        drafts.keep(titled("old", "a"), titled("of a", "a"));
        drafts.keep(titled("old", "a"), titled("of a again", "a"));
        drafts.keep({}, titled("second\nwith \"all\" kinds 😀"));
    }
    EditorDrafts drafts(state(), environment, dispatch);
    EXPECT_EQ(latest(drafts), "second\nwith \"all\" kinds 😀");
    ASSERT_TRUE(drafts.draftForReminder("a"));
    EXPECT_EQ(drafts.draftForReminder("a")->edited.title, "of a again");
    EXPECT_EQ(drafts.draftForReminder("a")->opened.title, "old");
    EXPECT_FALSE(drafts.draftForReminder("b"));

    // One that was gone on with is replaced, not doubled.
    const auto second = drafts.draftForNewReminder([](const std::string&) { return true; });
    drafts.keep({}, titled("second, longer"), second->draftID);
    drafts.remove(drafts.draftForNewReminder([](const std::string&) { return true; })->draftID);
    EXPECT_EQ(latest(drafts), "first");

    // The reminder of a draft has gone: it is offered as a new one.
    const auto orphan = drafts.draftForNewReminder([](const std::string&) { return false; });
    ASSERT_TRUE(orphan);
    EXPECT_EQ(orphan->edited.title, "of a again");
    EXPECT_FALSE(orphan->edited.reminderID);
}

TEST_F(EditorDraftsTest, WhatIsBeingWrittenFollowsOnAQueueAndNeverComesLate) {
    EditorDrafts drafts(state(), environment, dispatch);
    const auto onDisk = [&] {
        EditorDrafts next(state(), environment, dispatch);
        const auto draft = next.draftForReminder("a");
        return draft ? draft->edited.title : "none";
    };
    drafts.keep(titled("old", "a"), titled("left", "a"));
    auto draftID = drafts.keepForNow(titled("old", "a"), titled("typed", "a"), {});
    EXPECT_EQ(onDisk(), "left");
    dispatch.runUntilIdle();
    EXPECT_EQ(onDisk(), "typed");
    EXPECT_EQ(drafts.keepForNow(titled("old", "a"), titled("typed more", "a"), draftID), draftID);
    drafts.remove(draftID);
    dispatch.runUntilIdle();
    EXPECT_EQ(onDisk(), "left") << "saved before the queue came to it; the draft of another day stays";
    draftID = drafts.keepForNow(titled("old", "a"), titled("typed", "a"), {});
    drafts.keep(titled("old", "a"), titled("left again", "a"), draftID);
    dispatch.runUntilIdle();
    EXPECT_EQ(onDisk(), "left again");
}

TEST_F(EditorDraftsTest, TheOldestMakeRoomAndUnreadableLinesStay) {
    std::filesystem::create_directories(state());
    std::ofstream(state() / "drafts.jsonl") << "{\"half a li";
    EditorDrafts drafts(state(), environment, dispatch);
    for (int i = 0; i < 19; ++i)
        drafts.keep({}, titled(std::to_string(i)));
    EXPECT_EQ(latest(drafts), "18");
    std::ifstream file(state() / "drafts.jsonl");
    std::string first;
    std::getline(file, first);
    EXPECT_EQ(first, "{\"half a li");
    for (int i = 19; i < 40; ++i)
        drafts.keep({}, titled(std::to_string(i)));
    for (int i = 39; i >= 20; --i) {
        const auto draft = drafts.draftForNewReminder([](const std::string&) { return true; });
        ASSERT_TRUE(draft);
        EXPECT_EQ(draft->edited.title, std::to_string(i));
        drafts.remove(draft->draftID);
    }
    EXPECT_EQ(latest(drafts), "none");
}

TEST_F(EditorDraftsTest, RemindersThatLinksLeftAreTakenOver) {
    std::filesystem::create_directories(state());
    ZNReminderObject left(titled("from a link"));
    std::ofstream(state() / "kept-reminders.jsonl")
        << boost::json::serialize(jsonFromRecord(left.attributes())) << "\n";
    EditorDrafts drafts(state(), environment, dispatch);
    EXPECT_EQ(latest(drafts), "from a link");
    EXPECT_FALSE(std::filesystem::exists(state() / "kept-reminders.jsonl"));
    EditorDrafts again(state(), environment, dispatch);
    EXPECT_EQ(latest(again), "from a link");
}

}  // namespace
}  // namespace zun
