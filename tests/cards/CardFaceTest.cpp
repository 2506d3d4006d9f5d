#include "cards/CardFace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <set>

#include "cards/CardSkin.h"
#include "cards/CardWorld.h"
#include "cards/DeckToolbar.h"
#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr CardSetting smallCard{{301, 360}, 400, 1};
constexpr CardSetting largeCard{{576, 800}, 2560, 3};

CardContent content(const QString& title, const QString& notes = {}) {
    CardContent made;
    made.title = title;
    made.notes = notes;
    made.dateText = "DUE TOMORROW";
    made.pictureName = "coffeeImage.jpg";
    made.lateness = Lateness::Ahead;
    return made;
}

CardFace faceOf(const CardContent& content, const CardSetting& setting = smallCard) {
    CardFace face;
    face.update(content, setting);
    return face;
}

// Also for a rectangle without a height.
bool isInside(const QRectF& rect, QSizeF card) {
    return rect.left() >= 0 && rect.top() >= 0 && rect.right() <= card.width() && rect.bottom() <= card.height();
}

// Where anything is painted at all.
QRect inkOf(const QImage& image) {
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 8) found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

class CardPictures : public testing::Test {
  protected:
    QImage render(const CardFace& face) { return face.render(pictures, 1).toImage(); }

    // The columns and rows of a rectangle where anything but white is.
    static QRect ink(const QImage& image, const QRectF& where) {
        QRect found;
        const QRect area = where.toAlignedRect() & image.rect();
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                if (qGray(image.pixel(x, y)) < 200) found |= QRect(x, y, 1, 1);
            }
        }
        return found;
    }

    Pictures pictures;
};

TEST_F(CardPictures, HoldsEverythingApart) {
    const QString words = QStringLiteral("Call the dentist about the appointment of next week ").repeated(40);
    CardContent full = content(words, words);
    full.hasChecklist = full.hasShare = true;
    const CardContent contents[] = {content({}), content("Short"), content("Short", "Some notes"), full};
    const CardSetting settings[] = {
        {{260, 340}, 340, 0}, smallCard, {{400, 520}, 980, 2}, {{533, 720}, 1600, 3}, largeCard};
    for (const CardSetting& setting : settings) {
        for (const CardContent& each : contents) {
            SCOPED_TRACE(testing::Message() << setting.size.width() << " wide, title of " << each.title.size());
            const CardFace face = faceOf(each, setting);
            for (const QRectF& rect : {face.dateRect(), face.titleRect(), face.notesRect(), face.footerRect(),
                                       face.bannerRect(), face.sharingButtonRect(), face.checklistButtonRect()})
                EXPECT_TRUE(isInside(rect, setting.size)) << rect.top() << " to " << rect.bottom();
            EXPECT_LE(face.dateRect().bottom(), face.titleRect().top());
            EXPECT_LE(face.titleRect().bottom(), face.notesRect().top());
            EXPECT_LE(face.notesRect().bottom(), face.footerRect().top());
            EXPECT_LE(face.bannerRect().bottom(), face.footerRect().top());
            if (!each.hasShare) continue;
            for (const QRectF& text : {face.dateRect(), face.titleRect(), face.notesRect()})
                EXPECT_FALSE(text.intersects(face.sharingButtonRect() | face.checklistButtonRect()));
            EXPECT_FALSE(face.sharingButtonRect().intersects(face.checklistButtonRect()));
        }
    }
}

TEST_F(CardPictures, CutsWhatIsTooLongBeforeItCosts) {
    const struct {
        const char* name;
        std::string title;
    } cases[] = {
        {"no place to break", std::string(1 << 20, 'w')},
        {"words",
         [] {
             std::string words;
             while (words.size() < 1 << 20)
                 words += "dentist ";
             return words;
         }()},
        {"emoji",
         [] {
             std::string joined;
             while (joined.size() < 1 << 20)
                 joined += "\U0001F468\u200D\U0001F469\u200D\U0001F467";
             return joined;
         }()},
        {"marks on one letter",
         [] {
             std::string marks = "a";
             while (marks.size() < 1 << 20)
                 marks += "\u0301";
             return marks;
         }()},
        {"broken bytes", std::string(1 << 20, '\xf0')},
        {"breaks", std::string(1 << 20, '\n') + "x"},
    };
    const PlainTexts texts;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ReminderAttributes attributes;
        attributes.title = c.title;
        attributes.notes = c.title;
        const ZNReminderObject reminder(attributes);
        const CardContent cut = CardContent::of(reminder, texts);
        EXPECT_LE(cut.title.size(), 1000);
        EXPECT_LE(cut.notes.size(), 8000);
        EXPECT_FALSE(cut.title.contains(u'\n'));
        EXPECT_FALSE(!cut.title.isEmpty() && cut.title.back().isHighSurrogate());
        const CardFace face = faceOf(cut);
        EXPECT_LE(face.titleRect().height(), 3 * std::ceil(24 * tokens::titleLineHeight));
        EXPECT_FALSE(render(face).isNull());
    }
}

TEST_F(CardPictures, KeepsItsPictureOverEmptyLines) {
    ReminderAttributes attributes;
    attributes.notes = "Said" + std::string(500, '\n') + " \t";
    const CardContent made = CardContent::of(ZNReminderObject(attributes), PlainTexts());
    EXPECT_EQ(made.notes, "Said");
    EXPECT_EQ(faceOf(made).bannerAlpha(), 1);
}

TEST_F(CardPictures, EndsATitleThatIsTooLongInAnEllipsis) {
    // Without notes on a short card four lines are shown; what does not fit is told apart from what does.
    const QImage fitting = render(faceOf(content("one two three four")));
    const CardFace cut = faceOf(content(QStringLiteral("dentist ").repeated(60)));
    EXPECT_EQ(cut.titleRect().height(), 4 * std::ceil(24 * tokens::titleLineHeight));
    const QRect inked = ink(render(cut), cut.titleRect());
    EXPECT_GE(inked.left(), cut.titleRect().left() - 1);
    EXPECT_LE(inked.right(), cut.titleRect().right());
    EXPECT_GT(inked.bottom(), cut.titleRect().bottom() - 24);
    EXPECT_TRUE(ink(render(cut), QRectF(cut.titleRect().bottomLeft(), QSizeF(cut.titleRect().width(), 12))).isEmpty())
        << "nothing hangs out below";
}

TEST_F(CardPictures, FadesNotesThatDoNotFit) {
    const CardFace fitting = faceOf(content("Title", "Two lines\nof notes"));
    EXPECT_FALSE(fitting.fadesNotes());
    EXPECT_EQ(fitting.bannerAlpha(), 1);

    const CardFace tooLong = faceOf(content("Title", QStringLiteral("More to be said. ").repeated(80)));
    EXPECT_TRUE(tooLong.fadesNotes());
    EXPECT_EQ(tooLong.bannerAlpha(), 0.1);
    const QImage image = render(tooLong);
    const double bottom = tooLong.footerRect().top();
    EXPECT_FALSE(ink(image, {0, bottom - 60, 301, 30}).isEmpty());
    EXPECT_TRUE(ink(image, {0, bottom - 5, 301, 5}).isEmpty()) << "gone before the footer, not cut by it";

    // In between the text stands over a picture that has made way.
    const CardFace over = faceOf(content("Title", QStringLiteral("More to be said. ").repeated(18)));
    EXPECT_FALSE(over.fadesNotes());
    EXPECT_EQ(over.bannerAlpha(), 0.1);
}

TEST_F(CardPictures, RunsFromTheRightWhereTheTextDoes) {
    const QString arabic = QString::fromUtf8("اتصل بالطبيب");
    CardFace face = faceOf(content(arabic, arabic));
    const QRectF title = face.titleRect();
    const QRect inked = ink(render(face), title);
    EXPECT_GT(inked.left(), title.left() + 20) << "a right to left title on a left to right desktop";
    EXPECT_GT(inked.right(), title.right() - 4);

    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    CardContent shared = content(arabic);
    shared.hasShare = true;
    const CardFace mirrored = faceOf(shared);
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    EXPECT_LT(mirrored.sharingButtonRect().right(), mirrored.titleRect().left());
    EXPECT_EQ(mirrored.sharingButtonRect().left(), 301 - faceOf(shared).sharingButtonRect().right());
}

TEST_F(CardPictures, DrawsEmojiInColour) {
    const CardFace face = faceOf(content(QString::fromUtf8("\U0001F389 1 \u2764\uFE0F")));
    const QImage image = render(face);
    std::set<int> hues;
    const QRect area = face.titleRect().toAlignedRect();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor color = image.pixelColor(x, y);
            if (color.saturation() > 120) hues.insert(color.hue() / 30);
        }
    }
    EXPECT_GE(hues.size(), 3u);
}

TEST_F(CardPictures, DrawsJoinedEmojiAsOne) {
    const auto widthOf = [](const char* emoji) {
        TextStyle style;
        style.font = appFont(24);
        const QString text = displayText(emoji, 100);
        QTextLayout layout(text, style.font);
        layout.setFormats(emojiFormats(text, 24));
        layout.beginLayout();
        const double width = layout.createLine().naturalTextWidth();
        layout.endLayout();
        return width;
    };
    const double one = widthOf("\U0001F389");
    for (const char* emoji : {"\U0001F3F3\uFE0F\u200D\U0001F308", "1\uFE0F\u20E3", "\u2764\uFE0F\u200D\U0001F525",
                              "\U0001F468\u200D\U0001F469\u200D\U0001F467", "\u2600\uFE0F"}) {
        EXPECT_NEAR(widthOf(emoji), one, one / 4) << emoji;
    }
}

TEST_F(CardPictures, OffersOnlyLinksThatAreSeenAndSafe) {
    const auto urls = [](const QString& notes) {
        std::vector<std::string> all;
        for (const CardFace::Link& link : faceOf(content("T", notes)).links())
            all.push_back(link.url.toString().toStdString());
        return all;
    };
    EXPECT_THAT(urls("(see https://example.org/a?b=c), or www.example.org."),
                ElementsAre("https://example.org/a?b=c", "http://www.example.org"));
    EXPECT_THAT(urls("mail ann@example.org!"), ElementsAre("mailto:ann@example.org"));
    EXPECT_THAT(urls("file:///etc/passwd javascript:alert(1) ftp://example.org zun.create://x @ www."), IsEmpty());
    EXPECT_THAT(urls(QStringLiteral("line\n").repeated(40) + "https://example.org"), IsEmpty()) << "below the fade";

    const CardFace face = faceOf(content("T", "https://example.org/a"));
    EXPECT_TRUE(face.notesRect().contains(face.links().front().rect));
}

// The sides of a card are its panel, the middle is its picture; at no scale may a step be seen between them.
TEST_F(CardPictures, MeetTheirPanelInEachRow) {
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
        for (const CardSetting& setting : {smallCard, largeCard}) {
            const CardFace face = faceOf(content("Title"), setting);
            const QRectF card(QPointF(60, 60), setting.size);
            QImage image(((setting.size + QSizeF(120, 120)) * scale).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            image.fill(Qt::black);
            QPainter painter(&image);
            CardSkin().paint(painter, card, face.measures().footerHeight, face.render(pictures, scale), scale);
            painter.end();
            const auto at = [scale](double point) { return static_cast<int>(std::lround(point * scale)); };
            for (int y = at(card.top()); y < at(card.bottom() - 12); ++y) {
                const int step =
                    qGray(image.pixel(at(card.left() + 8), y)) - qGray(image.pixel(at(card.left() + 16), y));
                ASSERT_LE(std::abs(step), 2) << "row " << y << " of " << image.height() << " at scale " << scale;
            }
        }
    }
}

// Relative luminance and contrast as the accessibility guidelines define them.
double luminance(QRgb color) {
    const auto linear = [](int channel) {
        const double share = channel / 255.0;
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

double contrast(QRgb a, QRgb b) {
    const double one = luminance(a);
    const double other = luminance(b);
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

class Badge : public CardWorld {};

TEST_F(Badge, KeepsItsPlaceWhileTheNumberChanges) {
    DeckToolbar toolbar(context);
    toolbar.resize(400, DeckToolbar::height);
    const auto painted = [&](std::size_t count) {
        toolbar.setItemCount(count);
        advance(300);
        QImage image(toolbar.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        toolbar.render(&image, {}, {}, QWidget::DrawChildren);
        return std::pair(inkOf(image), image);
    };
    const auto [eleven, first] = painted(11);
    const auto [twenty, second] = painted(20);
    EXPECT_EQ(eleven, twenty);
    EXPECT_NE(first, second);
    // Logo and badge together stand in the middle.
    EXPECT_NEAR(eleven.center().x(), 199.5, 1.5);
    EXPECT_GE(painted(1234).first.width(), eleven.width() + 8);
}

TEST(CardColours, CanBeRead) {
    using namespace tokens;
    const struct {
        const char* what;
        QRgb text, ground;
        double least;
    } cases[] = {
        {"title", cardTitle, cardGround, 7},
        {"notes", cardNotes, cardGround, 4.5},
        {"link", cardLink, cardGround, 4.5},
        {"no date", latenessNoneText, cardGround, 4.5},
        {"ahead", latenessAheadText, cardGround, 4.5},
        {"today", latenessTodayText, cardGround, 4.5},
        {"yesterday", latenessYesterdayText, cardGround, 4.5},
        {"older", latenessOlderText, cardGround, 4.5},
        {"text on the lightest ground", groundText, groundTop, 4.5},
        {"second text in the middle", groundTextSecondary, groundMiddle, 4.5},
        {"icons of the footer", 0xffffffff, cardFooter, 3},
    };
    for (const auto& c : cases)
        EXPECT_GE(contrast(c.text, c.ground), c.least) << c.what;
}

}  // namespace
}  // namespace zun
