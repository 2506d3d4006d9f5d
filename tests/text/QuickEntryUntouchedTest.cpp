#include <gtest/gtest.h>

#include <regex>
#include <vector>

#include "text/QuickEntryWorld.h"

namespace zun {
namespace {

// Titles in which words of dates and times stand for something else, or for nothing that can be. Nobody who reads them
// in either language may be offered a date. A stroke or the end of a line between two.
constexpr std::string_view untouched = R"(
May / March for science / Sun / Sun cream / Sit in the sun / second / Second opinion / am / I am / Meeting 9
buy 2 apples / Call at 9th Street / Meet at 10 Downing Street / Black Friday / Black Friday deals
Watch Saturday Night Live / Saturday Night Fever / Friday the 13th / Friday night lights / Monday blues playlist
Read tomorrow's newspaper / Return Friday's book / Ask about tomorrow / Plan for Friday
Prepare slides for next Friday / Notes of the day / Daily standup notes / Weekly review / Every day is a gift
Learn to say no / Read "Tomorrow at 9" / Buy The Daily / May 3 people join / march 3 miles / 25:00 / Call at 25:00
Meeting on 31 February / Meeting Feb 30 / Party on 30.2.2026 / Invoice 2020-12-24 / 24/7 support / Support 24/7
9/11 documentary / Read 3/4 of it / Add 1/2 / Drink 2 l water / John 3:16 / Ratio 16:9 / Ubuntu 22.04
Version 24.12 / Pay 8.30 / Route 66 / Drive 10 to 12 hours / drink water every 2 hours
Meeting every third Friday of the month / Vacation Monday to Friday / Vacation Mon-Fri / Holiday 3 - 5 March
Call mum or dad / Monday or Tuesday: call mum / at / on / in / next / every / tomorrow / tomorrow at 9
Every Friday / 9 / Table for 2 / 50% off on / Sat nav update / He sat down / do it / Dec / Mar / Fix bug 2026
Buy 12 eggs / One day / Some day / This is it / This week / Last Friday / Notes from last Friday / Since Monday
Photos of Monday / Read chapter 5 at home / 10 mins / Wait 20 minutes / 5 minutes meditation / Book: Half past dead
Good morning / Good night / Morning / Evening dress / noon / High Noon / A day / An hour / in time / in 5 / in the
Look at me / Look at 3 houses / by / by the way / On second thought / Wait a second / today's special / Until Friday
Learn 3rd chapter / Go to the 3rd floor / Meet on the 3rd floor / Fire at 7-Eleven / #9 tomorrow's
mail@tomorrow.com / tomorrow-land tickets / Ticket 9am-5pm / Shift 9-5 / 12:99 / Fri / Tues / sat / wed / Get wed
Jan / Call Jan / Call April / Ask June / Meet August / Mai / Montag ist Ruhetag / Sonntag / So / so / am so
Das mache ich so / Mo / Do / Die Sonne / die / Mi / Sa / Fr / Mit Fr Müller reden / Guten Morgen / Morgen
Der Morgen / Abend / Guten Abend / Heute-Show aufnehmen / Schwarzer Freitag / Brief an Mai / Treffen 9
Kaufe 2 Äpfel / 2 Kilo Mehl / Zimmer 8 / Uhr reparieren / Um 8 Euro feilschen / 31. Februar feiern / Feier am 31.2.
Um 25 Uhr / Treffen um 25 Uhr / Demo zum 1. Mai / Fotos vom 3. März / Jeder Tag zählt / Alle Tage Buch
Urlaub Montag bis Freitag / Urlaub 3. bis 5. März / Montag oder Dienstag Mama anrufen / Alle 2 Stunden trinken
Jeden dritten Freitag im Monat / Stammtisch jeden dritten Freitag im Monat / Zweite Meinung / Nach acht
Kurz vor acht / 5 vor 12 / Es ist 5 vor 12 / Acht Äpfel / halb leer / halb 8 / Viertel / Kapitel 3 bis morgen
Preis 8.30 / Rechnung 24.12.2020 / Wochenende / Am Wochenendhaus / Tagesschau / Mittag / Mittagessen / Nachtisch
Abends / Wecker 7 / In Woche 3 / Im Mai / Im März / Nächste / Letzten Freitag / Notizen von Freitag
Brief für Montag / Termin seit Montag / Freitag der 13. schauen / Morgenmuffel / Sonntagszeitung / Montagsauto
März / Sekunde / bis / um / 3. Stock / am 3. Tag / Am 3. Stock klingeln / 1:0 / 3:2 / Psalm 23 / Wir um acht Ecken
"Every Friday" / Meeting on 31 February at 5pm / Feb 30 at 9 / Party 30.2. um 8 / today at 9 / Tidy today at 9am
Fix the 9:30 train bug / Sing May it be / June Carter biography / Order 12 May flowers / Chapter 4/12
iPhone 15 in 128 GB / Bus 9 to town / Learn 5 words every hour / Log in to 24.com / e.g. at / Half the cake
quarter / Two weeks notice / Ten past / Rock around the clock / Eight o'clocks / Day trip / Nightly build
Due diligence / Next / Next up: plan / Coming home / It's midnight in Paris / Midnight in Paris / The Morning After
After / Second Sunday of the month / On call / At work / Call 5551234 / Call 2026 / 1984 / Read 1984 again / Sum 3+4
3.5 km run / Buy 9 V battery / Set temp to 20 / Size 9 am shoes are small / Tuesday's child
Wednesday Addams costume / Friday I'm in love / Manic Monday / See Ruby Tuesday / Thursday Murder Club
Sunday roast recipe
)";

std::vector<std::string> titlesOf(std::string_view table) {
    static const std::regex separator(" / |\n");
    const std::string text(table);
    return {std::sregex_token_iterator(text.begin(), text.end(), separator, -1), {}};
}

TEST(QuickEntry, LeavesOrdinaryTitlesAlone) {
    for (const auto* locale : {"en_US", "en_GB", "de_DE", "ja_JP"}) {
        const QuickEntryWorld world(locale);
        for (const auto& title : titlesOf(untouched)) {
            EXPECT_EQ(world.read(title), "-") << title << " in " << locale;
        }
    }
}

// Whatever is neither text nor title: answered, and with places that lie between characters.
TEST(QuickEntry, LooksAtNoMoreThanTheEndsOfALongTitle) {
    const QuickEntryWorld world;
    const std::string megabyte = [] {
        std::string text;
        while (text.size() < 1'000'000)
            text += "we met tomorrow at 9 in D\u00fcsseldorf ";
        return text;
    }();
    EXPECT_FALSE(world.reader.read(megabyte + "x"));
    const auto entry = world.reader.read(megabyte + "x on 3 March at 7");
    ASSERT_TRUE(entry);
    EXPECT_EQ(world.wall(entry->start_date), "2026-03-03 07:00");
    EXPECT_EQ(entry->title, megabyte + "x");

    for (const std::string& odd :
         {std::string(1'000'000, 'x'), std::string(1'000'000, ' '), std::string(1'000'000, '9'),
          std::string(1'000'000, '\xC3'), std::string("\0 tomorrow\0", 11), std::string()}) {
        EXPECT_FALSE(world.reader.read(odd)) << odd.substr(0, 20);
    }
    const auto broken = world.reader.read("\xFF\xC3 tomorrow");
    ASSERT_TRUE(broken);
    EXPECT_EQ(broken->title, "\xFF\xC3");
}

}  // namespace
}  // namespace zun
