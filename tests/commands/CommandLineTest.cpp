#include "commands/CommandLine.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <fstream>

#include "core/NoCloud.h"
#include "platform/foundation/SystemDispatch.h"
#include "platform/usernotifications/StoredNotificationCenter.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

namespace json = boost::json;

// One home and the commands typed there; each command opens the store anew, as a process would.
class CommandLineTest : public testing::Test {
  protected:
    TestEnvironment environment{"2026-01-14T10:00:00Z"};
    TemporaryFolder folder;
    std::vector<std::string> handedOver;
    bool applicationRuns = false;
    bool outputIsFull = false;
    bool errorIsTerminal = false;
    std::string out, err;

    int zunctl(std::vector<std::string> words) {
        words.insert(words.begin(), "zunctl");
        std::vector<const char*> argv;
        for (const auto& word : words)
            argv.push_back(word.c_str());
        CommandLine line;
        out.clear();
        err.clear();
        if (const auto status = parseCommandLine(static_cast<int>(argv.size()), argv.data(), line)) return *status;

        SystemDispatch dispatch(std::make_shared<LoopQueue>());
        NSNotificationCenter notifications;
        ZNUserDefaults defaults(folder.path() / "config");
        ZNSettingsObject settings(defaults, nullptr, nullptr);
        settings.setDefaultsIfNecessary();
        const LocalizedStrings strings({"en"});
        const DateLabels labels(environment, strings);
        const ZNReminderHelper helper(environment, strings);
        ZNDatabase database(folder.path() / "data", {dispatch, notifications, environment});
        NoCloud cloud;
        const ClockWitness clock(folder.path() / "state", environment);
        StoredNotificationCenter userNotifications(folder.path() / "data", {dispatch, environment});
        ZNReminderManager manager({database, settings, dispatch, notifications, environment, cloud, userNotifications,
                                   labels, strings, clock});
        const QuickEntryReader quickEntry(environment, settings, strings);
        CommandContext context{environment,
                               database,
                               manager,
                               userNotifications,
                               strings,
                               labels,
                               helper,
                               quickEntry,
                               [&](const std::string& url) {
                                   if (applicationRuns) handedOver.push_back(url);
                                   return applicationRuns;
                               }};
        context.json = line.json;
        context.showsHints = errorIsTerminal;
        const int status = runCommand(line, context, [&](const std::string& answer) {
            out = answer;
            return !outputIsFull;
        });
        err = context.err;
        return status;
    }

    json::value zunctlJSON(std::vector<std::string> words) {
        words.insert(words.begin(), "--json");
        EXPECT_EQ(zunctl(words), 0) << err;
        return json::parse(out);
    }
    std::string add(std::vector<std::string> words) {
        words.insert(words.begin(), "add");
        return std::string(zunctlJSON(words).at("reminderID").as_string());
    }
    std::string titles(const json::value& list) {
        std::string text;
        for (const auto& each : list.as_array())
            text += std::string(each.at("title").as_string()) + " ";
        return text;
    }
};

TEST_F(CommandLineTest, AMonthlySeriesIsCompletedAndTakenBack) {
    EXPECT_EQ(zunctl({"open", "zun.create://Pay%20rent?d=2026-01-01T09:00:00Z&a=1&r=3&silent=0"}), 0);
    const auto id = std::string(zunctlJSON({"list"}).at(0).at("reminderID").as_string());

    const auto copy = zunctlJSON({"complete", id});
    const auto copyID = std::string(copy.at("reminderID").as_string());
    EXPECT_EQ(copyID, id + "+2026-01-14T10:00:00.000Z");
    EXPECT_EQ(copy.at("completed_date"), "2026-01-14T10:00:00Z");
    EXPECT_EQ(zunctlJSON({"show", id}).at("due_date"), "2026-02-01T09:00:00Z");
    EXPECT_EQ(titles(zunctlJSON({"list"})), "");
    EXPECT_EQ(zunctl({"complete", copyID}), 1);

    EXPECT_EQ(zunctlJSON({"uncomplete", copyID}).at("due_date"), "2026-01-01T09:00:00Z");
    EXPECT_EQ(zunctl({"show", copyID}), 1);
    EXPECT_EQ(zunctl({"uncomplete", id}), 1);
}

TEST_F(CommandLineTest, ATitleSaysWhenOnlyIfItMay) {
    const auto stored = [&] { return zunctlJSON({"list", "--upcoming"}).at(0); };
    const auto afresh = [&] { zunctl({"delete", std::string(stored().at("reminderID").as_string())}); };

    EXPECT_EQ(zunctl({"add", "--parse", "call mum tomorrow at 9"}), 0);
    EXPECT_EQ(out, "id-1\ncall mum \u00b7 Thu, Jan 15, 9:00\u202fAM\n");
    EXPECT_EQ(err, "");
    EXPECT_EQ(stored().at("title"), "call mum");
    EXPECT_EQ(stored().at("fire_date"), "2026-01-15T09:00:00Z");
    afresh();

    // Never in silence, and never a word to a script.
    for (const bool isTerminal : {false, true}) {
        errorIsTerminal = isTerminal;
        EXPECT_EQ(zunctl({"add", "call mum tomorrow at 9"}), 0);
        EXPECT_EQ(out.find('\n'), out.size() - 1) << out;
        EXPECT_EQ(err.find("call mum \u00b7 Thu, Jan 15") != std::string::npos, isTerminal) << err;
        EXPECT_EQ(stored().at("title"), "call mum tomorrow at 9");
        EXPECT_TRUE(stored().at("start_date").is_null());
        afresh();
    }
    EXPECT_EQ(zunctl({"add", "call mum tomorrow at 9", "--date", "2026-02-01"}), 0);
    EXPECT_EQ(err, "");
    afresh();

    // What is named wins, and may lean on the date in the title.
    const auto named = zunctlJSON({"add", "--parse", "gym every Friday at 6pm", "--every", "3", "--early", "1h"});
    EXPECT_EQ(named.at("customRepeatInterval"), 3);
    EXPECT_EQ(named.at("customRepeatDayOrdinals"), json::array{6});
    EXPECT_EQ(named.at("start_date"), "2026-01-16T18:00:00Z");
    EXPECT_EQ(named.at("fire_date"), "2026-01-16T17:00:00Z");
    afresh();
    const auto moved = zunctlJSON(
        {"add", "--parse", "gym every Friday until 1 June", "--date", "2026-02-01T09:00", "--repeat", "none"});
    EXPECT_EQ(moved.at("title"), "gym");
    EXPECT_EQ(moved.at("start_date"), "2026-02-01T09:00:00Z");
    EXPECT_EQ(moved.at("repeat_type"), 0);
    EXPECT_TRUE(moved.at("end_date").is_null());
    afresh();

    EXPECT_EQ(zunctl({"add", "--parse", "apples"}), 0);
    EXPECT_NE(err, "");
    EXPECT_EQ(stored().at("title"), "apples");
    EXPECT_EQ(zunctl({"add", "--parse", "apples", "--repeat", "daily"}), 2);
}

TEST_F(CommandLineTest, DeckIsSnoozedAndSkipped) {
    const auto first = add({"first", "--date", "2026-01-13T09:00"});
    EXPECT_EQ(zunctl({"skip"}), 1);
    const auto second = add({"second", "--date", "2026-01-14T09:00"});
    EXPECT_EQ(titles(zunctlJSON({"list"})), "second first ");
    EXPECT_EQ(zunctlJSON({"skip"}).at("reminderID"), json::value(second));
    EXPECT_EQ(titles(zunctlJSON({"list", "--deck"})), "first second ");

    const auto later = add({"later", "--date", "2026-02-01T09:00"});
    EXPECT_EQ(zunctlJSON({"snooze", later, "--until", "2026-01-31T09:00"}).at("isSnoozed"), false);
    EXPECT_EQ(zunctlJSON({"unsnooze", later}).at("fire_date"), "2026-02-01T09:00:00Z");
    EXPECT_EQ(zunctl({"delete", later}), 0);
    const auto snoozed = zunctlJSON({"snooze", first, "--until", "2026-01-20T08:00"});
    EXPECT_EQ(snoozed.at("fire_date"), "2026-01-20T08:00:00Z");
    EXPECT_EQ(snoozed.at("isSnoozed"), true);
    EXPECT_EQ(titles(zunctlJSON({"list"})), "second ");
    EXPECT_EQ(zunctlJSON({"unsnooze", first}).at("isSnoozed"), false);
    EXPECT_EQ(zunctlJSON({"snooze", first}).at("fire_date"), "2026-01-15T09:00:00Z");
    EXPECT_EQ(zunctlJSON({"count"}), (json::object{{"active", 1}, {"total", 2}}));
}

TEST_F(CommandLineTest, ListsSearchBlindToCaseAndAccents) {
    add({"Caf\u00e9 with Ana", "--date", "2026-01-16T09:00"});
    add({"coffee"});
    EXPECT_EQ(titles(zunctlJSON({"list", "--upcoming", "--search", "CAFE"})), "Caf\u00e9 with Ana ");
    EXPECT_EQ(zunctl({"list", "--upcoming"}), 0);
    EXPECT_NE(out.find("Friday"), std::string::npos) << out;
    EXPECT_EQ(zunctl({"list", "--deck", "--all"}), 2);
}

TEST_F(CommandLineTest, OccurrencesObeyIntervalWeekdaysAndEnd) {
    const auto id =
        add({"gym", "--date", "2026-01-07T09:00", "--every", "2", "--on", "wed,fri", "--until", "2026-02-06"});
    EXPECT_EQ(zunctlJSON({"occurrences", id, "--from", "2026-01-01", "--to", "2027-01-01"}),
              (json::array{"2026-01-07T09:00:00Z", "2026-01-09T09:00:00Z", "2026-01-21T09:00:00Z",
                           "2026-01-23T09:00:00Z", "2026-02-04T09:00:00Z", "2026-02-06T09:00:00Z"}));
    EXPECT_EQ(zunctl({"occurrences", id, "--from", "soon", "--to", "2027-01-01"}), 1);
    EXPECT_EQ(zunctl({"occurrences", id, "--from", "2026-01-01"}), 2);
}

TEST_F(CommandLineTest, ExportAndImportLoseNothing) {
    add({"one", "--date", "2026-01-20T09:00", "--checklist", "a\nb", "--nag"});
    const auto second = add({"two"});
    ASSERT_EQ(zunctl({"export"}), 0);
    const auto exported = out;

    EXPECT_EQ(zunctl({"edit", second, "--title", "changed"}), 0);
    const auto file = folder.path() / "records.jsonl";
    std::ofstream(file) << "{broken\n" << exported << "{\"title\": \"no identifier\"}\n";
    EXPECT_EQ(zunctl({"import", file}), 1);
    EXPECT_NE(err.find("Line 1 "), std::string::npos) << err;
    EXPECT_NE(err.find("Line 4 "), std::string::npos) << err;
    ASSERT_EQ(zunctl({"export"}), 0);
    EXPECT_EQ(out, exported);
    EXPECT_EQ(zunctl({"import", folder.path() / "missing"}), 1);
    outputIsFull = true;
    EXPECT_EQ(zunctl({"export"}), 1);
    EXPECT_EQ(err, "zunctl: The answer could not be written.\n");
}

TEST_F(CommandLineTest, TextsThatNoServiceWouldTakeAreRefusedAtOnce) {
    const auto id = add({"short"});
    const std::string longest(1'000'000, 'x');
    EXPECT_EQ(zunctl({"edit", id, "--notes", longest}), 0) << err;
    EXPECT_EQ(zunctl({"edit", id, "--notes", longest + "x"}), 1);
    EXPECT_EQ(err, "zunctl: The notes are longer than 1,000,000 bytes.\n");
    EXPECT_EQ(zunctl({"add", longest + "x"}), 1);
    EXPECT_EQ(zunctl({"open", "zun.create://" + longest + "x?silent=0"}), 1);
    EXPECT_NE(err.find("longer than"), std::string::npos) << err;
    const auto file = folder.path() / "records.jsonl";
    std::ofstream(file) << R"({"reminderID": "a", "title": "a", "checklist": ")" << longest << "x\"}\n"
                        << R"({"reminderID": "b", "title": "b"})";
    EXPECT_EQ(zunctl({"import", file}), 1);
    EXPECT_NE(err.find("Line 1 was left out: its \"checklist\" is longer"), std::string::npos) << err;
    EXPECT_EQ(zunctlJSON({"list", "--all"}).as_array().size(), 2);
}

TEST_F(CommandLineTest, LinksForTheEditorGoToTheRunningApplication) {
    EXPECT_EQ(zunctl({"open", "zun.create://Call%20mom"}), 1);
    EXPECT_NE(err.find("not running"), std::string::npos);
    applicationRuns = true;
    EXPECT_EQ(zunctl({"open", "zun.create://Call%20mom"}), 0);
    EXPECT_EQ(handedOver, std::vector<std::string>{"zun.create://Call%20mom"});

    EXPECT_EQ(zunctl({"open", "not a link"}), 1);
    EXPECT_EQ(
        err,
        "Zun was unable to create a reminder using the URL scheme zun.create: There was an error creating a URL from "
        "the "
        "given string\n"
        "Zun was unable to create a reminder using the URL scheme zun.create: There was an error parsing the URL\n");
    EXPECT_EQ(titles(zunctlJSON({"list", "--all"})), "");
}

TEST_F(CommandLineTest, WhatIsPrintedCanBeReadBack) {
    EXPECT_EQ(zunctlJSON({"add", "bad \xff"}).at("title"), "bad \uFFFD");
    const auto last = add({"last", "--date", "9999-12-31T09:00:00Z", "--repeat", "daily"});
    add({"first", "--date", "0001-01-01T00:00:00+01:00"});
    EXPECT_EQ(zunctlJSON({"complete", last}).at("due_date"), "9999-12-31T09:00:00Z");
    ASSERT_EQ(zunctl({"export"}), 0);
    const auto exported = out;
    EXPECT_NE(exported.find("+010000-01-01T09:00:00Z"), std::string::npos) << exported;
    std::ofstream(folder.path() / "records.jsonl") << exported;
    EXPECT_EQ(zunctl({"import", folder.path() / "records.jsonl"}), 0) << err;
    ASSERT_EQ(zunctl({"export"}), 0);
    EXPECT_EQ(out, exported);
}

TEST_F(CommandLineTest, PrintsNothingThatATerminalObeys) {
    const auto id = add({"a\x1b[31m\u009b\u202eb\nc " + std::string(300, 'x')});
    ASSERT_EQ(zunctl({"list"}), 0);
    EXPECT_EQ(out, id + "  a [31m b c " + std::string(200 - 12, 'x') + "...  (Added now)\n");
    ASSERT_EQ(zunctl({"show", id}), 0);
    EXPECT_EQ(out, id + "  Added now\na [31m b\nc " + std::string(300, 'x') + "\n");
    ASSERT_EQ(zunctl({"copy", id}), 0);
    EXPECT_EQ(out, "a\x1b[31m\u009b\u202eb\nc " + std::string(300, 'x') + "\n");
}

TEST_F(CommandLineTest, TellsOnceThatTheStoreIsOfANewerVersion) {
    const auto id = add({"old", "--date", "2026-01-01T09:00", "--repeat", "daily"});
    SQLite::Database(folder.path() / "data" / "reminders.sqlite", SQLite::OPEN_READWRITE)
        .exec("PRAGMA user_version = 1000");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"add", "new"}, {"complete", id}, {"edit", id, "--title", "new"}}) {
        EXPECT_EQ(zunctl(words), 1);
        EXPECT_EQ(out, "");
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
        EXPECT_NE(err.find("newer version"), std::string::npos) << err;
    }
    EXPECT_EQ(zunctl({"show", id}), 0);
}

TEST_F(CommandLineTest, AlertsAreListedInTheOrderOfTheirMoments) {
    EXPECT_EQ(zunctlJSON({"alerts"}), json::array());
    add({"\u6b6f\u533b\u8005 \x1b[31m", "--date", "2026-01-20T09:30", "--early", "2h", "--nag"});
    const auto first = add({"first", "--date", "2026-01-14T12:00"});
    add({"past", "--date", "2026-01-14T09:00"});
    add({"silent", "--date", "2026-01-15T09:00", "--quiet"});

    const auto alerts = zunctlJSON({"alerts"});
    ASSERT_EQ(alerts.as_array().size(), 5u);
    EXPECT_EQ(alerts.at(0), (json::object{{"deliveryDate", "2026-01-14T12:00:00Z"},
                                          {"title", "first"},
                                          {"subtitle", "Due now"},
                                          {"NOTIFICATION_REMINDER_ID", first}}));
    EXPECT_EQ(alerts.at(1).at("deliveryDate"), "2026-01-20T07:30:00Z");
    EXPECT_EQ(alerts.at(4).at("deliveryDate"), "2026-01-20T08:00:00Z");
    ASSERT_EQ(zunctl({"alerts"}), 0);
    EXPECT_EQ(out.substr(0, out.find('\n')), "Wed, Jan 14, 2026, 12:00\u202fPM  " + first + "  first  (Due now)");
    EXPECT_EQ(out.find('\x1b'), std::string::npos);

    {
        AlertStore store(folder.path() / "data" / "alerts", environment);
        environment.setNow("2026-01-14T12:00:03Z");
        ASSERT_TRUE(store.recordShown(environment.now(), store.due(environment.now(), 1), std::nullopt, {}));
    }
    EXPECT_EQ(zunctlJSON({"alerts"}).as_array().size(), 4u);
    EXPECT_EQ(zunctlJSON({"alerts", "--delivered"}),
              (json::array{json::object{{"deliveryDate", "2026-01-14T12:00:00Z"},
                                        {"actualDeliveryDate", "2026-01-14T12:00:03Z"},
                                        {"title", "first"},
                                        {"subtitle", "Due now"},
                                        {"NOTIFICATION_REMINDER_ID", first}}}));
}

TEST_F(CommandLineTest, ABackupIsImportedAndAnotherDatabaseIsNot) {
    const auto milk = add({"Milk", "--date", "2026-01-20T09:00"});
    add({"Bread"});
    ASSERT_EQ(zunctl({"export"}), 0);
    std::ofstream(folder.path() / "records.jsonl") << out;
    // Which backs the store up first.
    ASSERT_EQ(zunctl({"import", folder.path() / "records.jsonl"}), 0) << err;
    const auto backup = std::filesystem::directory_iterator(folder.path() / "data" / "backups")->path();
    ASSERT_EQ(zunctl({"delete", milk}), 0);

    EXPECT_EQ(zunctlJSON({"import", backup}), (json::object{{"imported", 2}}));
    EXPECT_EQ(zunctlJSON({"show", milk}).at("due_date"), "2026-01-20T09:00:00Z");
    SQLite::Database(folder.path() / "other.sqlite", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
        .exec("CREATE TABLE reminders (title TEXT)");
    EXPECT_EQ(zunctl({"import", folder.path() / "other.sqlite"}), 1);
    EXPECT_NE(err.find("no store of reminders"), std::string::npos) << err;
}

TEST_F(CommandLineTest, SweepingSaysWhatWent) {
    std::ofstream(folder.path() / "records.jsonl")
        << R"({"reminderID": "old", "title": "old", "completed_date": "2025-01-01T09:00:00Z"})"
        << "\n"
        << R"({"reminderID": "recent", "title": "recent", "completed_date": "2026-01-01T09:00:00Z"})"
        << "\n";
    ASSERT_EQ(zunctl({"import", folder.path() / "records.jsonl"}), 0) << err;
    NSUserNotification stale;
    stale.userInfo = {{NOTIFICATION_REMINDER_ID, "gone"}};
    stale.deliveryDate = environment.date("2026-02-01T09:00");
    AlertStore(folder.path() / "data" / "alerts", environment).apply({AlertChange::Schedule{stale}});

    EXPECT_EQ(zunctlJSON({"sweep"}),
              (json::object{{"doubles", 0}, {"completed", 1}, {"staleAlerts", 1}, {"clockHasJumped", false}}));
    EXPECT_EQ(titles(zunctlJSON({"list", "--all"})), "recent ");
    ASSERT_EQ(zunctl({"sweep"}), 0);
    EXPECT_EQ(out, "removed: 0 doubles, 0 old completed, 0 stale alerts\n");

    environment.setNow("2027-01-14T10:00:00Z");
    ASSERT_EQ(zunctl({"sweep"}), 0);
    EXPECT_NE(out.find("jumped"), std::string::npos) << out;
    EXPECT_EQ(titles(zunctlJSON({"list", "--all"})), "recent ");
}

TEST_F(CommandLineTest, JudgesATextByItsWordsAndLines) {
    EXPECT_EQ(zunctlJSON({"check", "Water the plants"}), (json::object{{"complex", false}}));
    EXPECT_EQ(zunctlJSON({"check", "a", "1\n2\n3\n4\n5"}), (json::object{{"complex", true}}));
    ASSERT_EQ(zunctl({"check", "one two three four five six seven eight"}), 0);
    EXPECT_EQ(out, "complex\n");
    EXPECT_EQ(zunctl({"check"}), 2);
}

TEST_F(CommandLineTest, SaysInOneSentenceWhatIsNotPossible) {
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"show", "nobody"},
                                               {"edit", "nobody", "--title", "a"},
                                               {"complete", "nobody"},
                                               {"delete", "nobody"},
                                               {"add", " "}}) {
        EXPECT_EQ(zunctl(words), 1);
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    }
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{},
                                               {"fly"},
                                               {"add"},
                                               {"show"},
                                               {"add", "a", "--early", "10m"},
                                               {"conflicts", "--restore", "0"},
                                               {"conflicts", "--restore", "-1"},
                                               {"conflicts", "--restore", "1.5"},
                                               {"conflicts", "--restore", "one"},
                                               {"account", "devices", "--revoke", "0"}}) {
        EXPECT_EQ(zunctl(words), 2);
    }
}

}  // namespace
}  // namespace zun
