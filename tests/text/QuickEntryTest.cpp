#include "text/QuickEntry.h"

#include <gtest/gtest.h>

#include "text/QuickEntryWorld.h"

namespace zun {
namespace {

struct Reading {
    const char* title;
    const char* expected;
};

template <std::size_t count>
void expectReadings(const QuickEntryWorld& world, const Reading (&readings)[count]) {
    for (const auto& reading : readings)
        EXPECT_EQ(world.read(reading.title), reading.expected) << reading.title;
}

TEST(QuickEntry, ReadsDaysAndTimesInEnglish) {
    const QuickEntryWorld world;
    expectReadings(world, {
                              {"call mum tomorrow at 9", "call mum | 2026-01-15 09:00"},
                              {"CALL MUM TOMORROW AT 9", "CALL MUM | 2026-01-15 09:00"},
                              {"tea in 20 minutes", "tea | 2026-01-14 10:20"},
                              {"pie out in half an hour", "pie out | 2026-01-14 10:30"},
                              {"call back in a quarter of an hour", "call back | 2026-01-14 10:15"},
                              {"renew in 2 weeks", "renew | 2026-01-28 08:00"},
                              {"renew in a month at 5pm", "renew | 2026-02-14 17:00"},
                              {"Movie tonight", "Movie | 2026-01-14 18:00"},
                              {"Movie tonight at 8", "Movie | 2026-01-14 20:00"},
                              {"Buy milk Friday", "Buy milk | 2026-01-16 08:00"},
                              {"Buy milk on fri.", "Buy milk | 2026-01-16 08:00"},
                              {"Buy milk Wednesday", "Buy milk | 2026-01-21 08:00"},
                              {"Buy milk Wednesday at 9:59", "Buy milk | 2026-01-21 09:59"},
                              {"Buy milk Wednesday 10:15", "Buy milk | 2026-01-14 10:15"},
                              {"Dentist next Tuesday", "Dentist | 2026-01-20 08:00"},
                              {"Dentist next Friday", "Dentist | 2026-01-23 08:00"},
                              {"Dentist this Friday", "Dentist | 2026-01-16 08:00"},
                              {"Dentist Friday next week at noon", "Dentist | 2026-01-23 12:00"},
                              {"Plan trip next week", "Plan trip | 2026-01-19 08:00"},
                              {"Mow this weekend", "Mow | 2026-01-17 08:00"},
                              {"Sleep the day after tomorrow", "Sleep | 2026-01-16 08:00"},
                              {"Report due Friday", "Report | 2026-01-16 08:00"},
                              {"Pay tax by 31 July", "Pay tax | 2026-07-31 08:00"},
                              {"Pay tax by tomorrow 5 p.m.", "Pay tax | 2026-01-15 17:00"},
                              {"Wrap gifts on 24 December", "Wrap gifts | 2026-12-24 08:00"},
                              {"Wrap gifts on the 24th of December 2027", "Wrap gifts | 2027-12-24 08:00"},
                              {"Party Jan 3rd", "Party | 2027-01-03 08:00"},
                              {"Leap February 29", "Leap | 2028-02-29 08:00"},
                              {"Concert Fri, Mar 13", "Concert | 2026-03-13 08:00"},
                              {"party 3/14 5pm", "party | 2026-03-14 17:00"},
                              {"Trip 2026-12-24", "Trip | 2026-12-24 08:00"},
                              {"Trip 2026-12-24 07:30", "Trip | 2026-12-24 07:30"},
                              {"Pay on the 3rd", "Pay | 2026-02-03 08:00"},
                              {"lunch at noon", "lunch | 2026-01-14 12:00"},
                              {"fireworks at midnight", "fireworks | 2026-01-15 00:00"},
                              {"Meeting quarter past eight", "Meeting | 2026-01-15 08:15"},
                              {"Meeting at half past 8 in the evening", "Meeting | 2026-01-14 20:30"},
                              {"Meeting 11:30", "Meeting | 2026-01-14 11:30"},
                              {"Meeting at nine", "Meeting | 2026-01-15 09:00"},
                              {"Walk tomorrow morning", "Walk | 2026-01-15 08:00"},
                              // A clock of twelve hours leaves the small ones of the night out.
                              {"Tea at 5", "Tea | 2026-01-14 17:00"},
                              {"Flight at 5am", "Flight | 2026-01-15 05:00"},
                              {"Flight at 05:10", "Flight | 2026-01-15 05:10"},
                          });
}

TEST(QuickEntry, ReadsDaysAndTimesInGerman) {
    const QuickEntryWorld world("de_DE");
    expectReadings(world, {
                              {"Mama morgen um 9 anrufen", "Mama anrufen | 2026-01-15 09:00"},
                              {"Heute Milch kaufen", "Milch kaufen | 2026-01-14 18:00"},
                              {"Kino heute Abend", "Kino | 2026-01-14 18:00"},
                              {"Kino heute Abend um 8", "Kino | 2026-01-14 20:00"},
                              {"Kino Freitagabend um halb 9", "Kino | 2026-01-16 20:30"},
                              {"Anruf übermorgen früh", "Anruf | 2026-01-16 08:00"},
                              {"Anruf UEBERMORGEN frueh um 6", "Anruf | 2026-01-16 06:00"},
                              {"Anruf u\u0308bermorgen", "Anruf | 2026-01-16 08:00"},
                              {"Putzen am Wochenende", "Putzen | 2026-01-17 08:00"},
                              {"Tanken in einer Woche", "Tanken | 2026-01-21 08:00"},
                              {"Tanken in zwei Tagen um 18 Uhr", "Tanken | 2026-01-16 18:00"},
                              {"Kuchen in 20 Min. rausholen", "Kuchen rausholen | 2026-01-14 10:20"},
                              {"Kuchen in einer halben Stunde", "Kuchen | 2026-01-14 10:30"},
                              {"Kuchen in einer Viertelstunde", "Kuchen | 2026-01-14 10:15"},
                              {"Treffen um halb acht", "Treffen | 2026-01-15 07:30"},
                              {"Treffen um halb eins", "Treffen | 2026-01-14 12:30"},
                              {"Treffen Viertel nach acht", "Treffen | 2026-01-15 08:15"},
                              {"Treffen um fünf vor halb neun abends", "Treffen | 2026-01-14 20:25"},
                              {"Treffen dreiviertel acht", "Treffen | 2026-01-15 07:45"},
                              {"Treffen um 18 Uhr 30", "Treffen | 2026-01-14 18:30"},
                              {"Treffen 3 Uhr nachts", "Treffen | 2026-01-15 03:00"},
                              {"Treffen um 5", "Treffen | 2026-01-15 05:00"},
                              {"Tabletten morgens", "Tabletten | 2026-01-15 08:00"},
                              {"Rechnung bis Freitag bezahlen", "Rechnung bezahlen | 2026-01-16 08:00"},
                              {"Steuer bis zum 31.7.", "Steuer | 2026-07-31 08:00"},
                              {"Zahnarzt 24.12. um 8", "Zahnarzt | 2026-12-24 08:00"},
                              {"Zahnarzt am 24.12.27 8.30 Uhr", "Zahnarzt | 2027-12-24 08:30"},
                              {"Geschenke am 3. M\u00e4rz", "Geschenke | 2026-03-03 08:00"},
                              {"Geschenke am 3. Maerz", "Geschenke | 2026-03-03 08:00"},
                              {"Konzert Freitag, den 13. März um 20 Uhr", "Konzert | 2026-03-13 20:00"},
                              {"Buch nächste Woche Dienstag", "Buch | 2026-01-20 08:00"},
                              {"Buch am kommenden Freitag abgeben", "Buch abgeben | 2026-01-16 08:00"},
                              {"Essen So um 13 Uhr", "Essen | 2026-01-18 13:00"},
                              // The other language is known too.
                              {"Mama tomorrow at 9", "Mama | 2026-01-15 09:00"},
                          });
}

TEST(QuickEntry, ReadsRepeats) {
    expectReadings(QuickEntryWorld(),
                   {
                       {"water plants every 2 weeks on Mon and Fri from 3 March",
                        "water plants | 2026-03-06 08:00 | weekly 2 on 2 6"},
                       {"pills every day until June 1", "pills | 2026-01-15 08:00 | daily | until 2026-06-01 23:59"},
                       {"pills every day at 11", "pills | 2026-01-14 11:00 | daily"},
                       {"meds every weekday at 11pm", "meds | 2026-01-14 23:00 | weekly 1 on 2 3 4 5 6"},
                       {"rent every month on the 3rd", "rent | 2026-02-03 08:00 | monthly"},
                       {"rent on the 31st of every month", "rent | 2026-01-31 08:00 | monthly"},
                       {"Review every other Monday", "Review | 2026-01-19 08:00 | weekly 2 on 2"},
                       {"Jog every Sat, Sun and Wed", "Jog | 2026-01-17 08:00 | weekly 1 on 4 7 1"},
                       {"Stand up every Mon-Fri at 9:15", "Stand up | 2026-01-15 09:15 | weekly 1 on 2 3 4 5 6"},
                       {"Gym on Mondays and Fridays", "Gym | 2026-01-16 08:00 | weekly 1 on 2 6"},
                       {"Card every 24 December", "Card | 2026-12-24 08:00 | yearly"},
                       {"walk every evening", "walk | 2026-01-14 18:00 | daily"},
                       {"Invoice quarterly from 1 Feb", "Invoice | 2026-02-01 08:00 | monthly 3"},
                   });
    expectReadings(QuickEntryWorld("de_DE"),
                   {
                       {"Müll raus jeden Freitag um 18 Uhr", "Müll raus | 2026-01-16 18:00 | weekly 1 on 6"},
                       {"Yoga jeden zweiten Montag", "Yoga | 2026-01-19 08:00 | weekly 2 on 2"},
                       {"Filter alle 14 Tage", "Filter | 2026-01-15 08:00 | daily 14"},
                       {"Miete monatlich", "Miete | 2026-01-15 08:00 | monthly"},
                       {"Miete am 3. jeden Monats", "Miete | 2026-02-03 08:00 | monthly"},
                       {"Bericht werktags um 8", "Bericht | 2026-01-15 08:00 | weekly 1 on 2 3 4 5 6"},
                       {"Lauf montags und donnerstags um 7", "Lauf | 2026-01-15 07:00 | weekly 1 on 2 5"},
                       {"Sport montags bis mittwochs", "Sport | 2026-01-19 08:00 | weekly 1 on 2 3 4"},
                       {"Kurs jeden Mo + Do 18:30 Uhr ab 3. März bis Juni 1", "-"},
                       {"Kurs jeden Mo + Do 18:30 Uhr ab 3. März bis 1. Juni",
                        "Kurs | 2026-03-05 18:30 | weekly 1 on 2 5 | until 2026-06-01 23:59"},
                   });
}

TEST(QuickEntry, FollowsTheOrderOfTheRegion) {
    expectReadings(QuickEntryWorld("en_GB"), {
                                                 {"party 3/4 5pm", "party | 2026-04-03 17:00"},
                                                 {"party 3/14 5pm", "-"},
                                                 {"party 3/4/2026", "party | 2026-04-03 08:00"},
                                                 {"Tea at 5", "Tea | 2026-01-15 05:00"},
                                                 {"Update to 22.04.", "-"},
                                             });
    expectReadings(QuickEntryWorld("en_US"), {{"party 3/4/26", "party | 2026-03-04 08:00"}, {"party 14/3 5pm", "-"}});
}

TEST(QuickEntry, CutsThePhraseOutCleanly) {
    const struct {
        const char* title;
        const char* phrase;
        const char* rest;
    } cases[] = {
        {"tomorrow at 9 call mum", "tomorrow at 9", "call mum"},
        {"Tomorrow: call mum", "Tomorrow", "call mum"},
        {"Call mum, tomorrow at 9, about house", "tomorrow at 9", "Call mum, about house"},
        {"Call mum (tomorrow) about house", "tomorrow", "Call mum about house"},
        {"Call mum (tomorrow at 9)!", "tomorrow at 9", "Call mum!"},
        {"Call mum \u2013 tomorrow.", "tomorrow", "Call mum."},
        {"  Call mum  tomorrow\u00a0at\u202f9  about house ", "tomorrow\u00a0at\u202f9", "  Call mum about house "},
        {"\U0001F382 tomorrow", "tomorrow", "\U0001F382"},
        {"M\u00fcll \u00fcbermorgen", "\u00fcbermorgen", "M\u00fcll"},
        {"Standup 9 o\u2019clock", "9 o\u2019clock", "Standup"},
        // The later of two, unless more was written for the other one.
        {"Today call Tom tomorrow", "tomorrow", "Today call Tom"},
        {"Every Friday at 9 ask Tom tomorrow", "Every Friday at 9", "ask Tom tomorrow"},
    };
    const QuickEntryWorld world;
    for (const auto& c : cases) {
        const auto entry = world.reader.read(c.title);
        ASSERT_TRUE(entry) << c.title;
        EXPECT_EQ(std::string(c.title).substr(entry->phraseStart, entry->phraseLength), c.phrase);
        EXPECT_EQ(entry->title, c.rest);
    }
}

TEST(QuickEntry, KeepsToTheUsersHoursAndTheClockOfTheDay) {
    QuickEntryWorld world;
    world.settings.setMorningHour(6);
    world.settings.setEveningHour(21);
    expectReadings(world, {
                              {"Tidy tomorrow", "Tidy | 2026-01-15 06:00"},
                              {"Tidy tomorrow evening", "Tidy | 2026-01-15 21:00"},
                              {"Tidy today", "Tidy | 2026-01-14 21:00"},
                              {"Tidy today at 9", "-"},
                              {"Tidy this morning", "-"},
                          });
    world.environment.setNow("2026-01-14T22:30:00");
    expectReadings(world, {
                              {"Tidy today", "Tidy | 2026-01-14 23:00"},
                              {"Tidy tonight", "Tidy | 2026-01-14 23:00"},
                              {"Tidy on 14 January", "Tidy | 2026-01-14 23:00"},
                              {"Tidy in the evening", "Tidy | 2026-01-15 21:00"},
                              {"Tidy in 2 hours", "Tidy | 2026-01-15 00:30"},
                          });
    world.environment.setNow("2026-01-14T23:30:00");
    EXPECT_EQ(world.read("Tidy tonight"), "Tidy | 2026-01-14 23:30");
}

TEST(QuickEntry, KeepsItsFeetWhereTheClockJumps) {
    // Berlin skips from two to three on 29 March and repeats two to three on 25 October.
    QuickEntryWorld spring("de_DE", "Europe/Berlin", "2026-03-28T12:00:00");
    expectReadings(spring, {
                               {"Wecker morgen um 2:30", "Wecker | 2026-03-29 03:30"},
                               {"Wecker jeden Tag um 2:30", "Wecker | 2026-03-29 03:30 | daily"},
                               {"Wecker morgen um 8", "Wecker | 2026-03-29 08:00"},
                           });
    spring.environment.setNow("2026-03-29T01:45:00");
    EXPECT_EQ(spring.read("Tee in 30 Minuten"), "Tee | 2026-03-29 03:15");
    EXPECT_EQ(spring.read("Tee um 2:50"), "Tee | 2026-03-29 03:50");

    QuickEntryWorld autumn("en_GB", "Europe/Berlin", "2026-10-25T00:30:00Z");
    EXPECT_EQ(autumn.reader.read("Tea in 60 minutes")->start_date, autumn.environment.date("2026-10-25T01:30:00Z"));
    EXPECT_EQ(autumn.reader.read("Tea at 2:45")->start_date, autumn.environment.date("2026-10-25T00:45:00Z"));
    autumn.environment.setNow("2026-10-25T01:30:00Z");
    EXPECT_EQ(autumn.read("Tea at 2:45"), "Tea | 2026-10-26 02:45");

    // A day that starts at one, a day that there never was, and quarters of an hour from UTC.
    QuickEntryWorld beirut("en_GB", "Asia/Beirut", "2026-03-28T12:00:00");
    EXPECT_EQ(beirut.read("Tea tomorrow at midnight"), "Tea | 2026-03-30 00:00");
    EXPECT_EQ(beirut.read("Tea at midnight"), "Tea | 2026-03-29 01:00");
    const QuickEntryWorld samoa("en_GB", "Pacific/Apia", "2011-12-29T12:00:00");
    EXPECT_EQ(samoa.read("Tea tomorrow"), "Tea | 2011-12-31 08:00");
    const QuickEntryWorld nepal("en_GB", "Asia/Kathmandu", "2026-01-14T23:50:00");
    EXPECT_EQ(nepal.read("Tea in 20 minutes"), "Tea | 2026-01-15 00:10");
}

TEST(QuickEntry, IsAppliedAsTheEditorWould) {
    const QuickEntryWorld world;
    ReminderAttributes attributes;
    attributes.notes = "kept";
    attributes.earlyReminderType = 2;
    attributes.earlyReminderInterval = 1;
    attributes.repeat_type = RepeatType::atLocation;
    attributes.locationLatitude = attributes.locationLongitude = 1;
    attributes.locationName = "Home";
    ZNReminderObject reminder(attributes);
    world.reader.apply(*world.reader.read("gym every Friday at 9 until 1 June"), reminder);

    const auto result = reminder.attributes();
    EXPECT_EQ(result.title, "gym");
    EXPECT_EQ(result.notes, "kept");
    EXPECT_EQ(world.wall(*result.start_date), "2026-01-16 09:00");
    EXPECT_EQ(result.due_date, result.start_date);
    EXPECT_EQ(world.wall(*result.fire_date), "2026-01-16 08:00");
    EXPECT_EQ(world.wall(*result.end_date), "2026-06-01 23:59");
    EXPECT_EQ(result.repeat_type, RepeatType::weekly);
    EXPECT_EQ(result.customRepeatDayOrdinals, DayOrdinals{6});
    EXPECT_FALSE(isLocationBased(result));
    EXPECT_FALSE(result.locationName);

    // A single date takes an older repeat away.
    world.reader.apply(*world.reader.read("gym tomorrow"), reminder);
    EXPECT_EQ(reminder.repeat_type(), RepeatType::none);
    EXPECT_FALSE(reminder.end_date());
    EXPECT_FALSE(reminder.hasCustomRepeat());
}

}  // namespace
}  // namespace zun
