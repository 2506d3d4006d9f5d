#pragma once

// What a card shows and where: the layout of its texts, picture and buttons for one size, and the painting of it. A
// plain value without a widget. Texts are cut before they are laid out, so that a title of a megabyte costs no more
// than a long one.

#include <QPixmap>
#include <QRectF>
#include <QString>
#include <QUrl>
#include <vector>

#include "cards/CardTexts.h"
#include "cards/StackGeometry.h"
#include "cards/TextBlock.h"

namespace zun {

class Pictures;

// Everything that decides what a card looks like, size and scale aside. Equal contents have equal pictures.
struct CardContent {
    QString title;
    QString notes;
    QString dateText;
    QString pictureName;
    Lateness lateness = Lateness::None;
    bool hasChecklist = false;
    bool hasShare = false;
    bool operator==(const CardContent&) const = default;

    static CardContent of(const ZNReminderObject& reminder, const CardTexts& texts);
};

struct CardSetting {
    QSizeF size;
    double windowWidth = 0;
    std::uint64_t windowLayoutMode = 0;
    bool operator==(const CardSetting&) const = default;
};

class CardFace {
  public:
    // A link in the notes and where it is seen.
    struct Link {
        QUrl url;
        QRectF rect;
    };

    // Lays out anew if anything differs; answers whether it did.
    bool update(const CardContent& content, const CardSetting& setting);

    [[nodiscard]] const CardContent& content() const { return _content; }
    [[nodiscard]] const CardMeasures& measures() const { return _measures; }
    [[nodiscard]] QSizeF size() const { return _setting.size; }

    // Places inside the card, its top left corner being 0, 0.
    [[nodiscard]] QRectF dateRect() const { return _date.rect; }
    [[nodiscard]] QRectF titleRect() const { return _title.rect; }
    [[nodiscard]] QRectF notesRect() const { return _notes.rect; }
    [[nodiscard]] QRectF bannerRect() const;
    [[nodiscard]] QRectF footerRect() const;
    [[nodiscard]] QRectF textArea() const;
    // Complete, snooze, skip: 0, 1, 2.
    [[nodiscard]] QRectF footerButtonRect(int button) const;
    [[nodiscard]] QRectF glowRect(int button) const;
    [[nodiscard]] QRectF sharingButtonRect() const;
    [[nodiscard]] QRectF checklistButtonRect() const;
    [[nodiscard]] std::vector<Link> links() const;
    [[nodiscard]] double bannerAlpha() const { return _bannerAlpha; }
    [[nodiscard]] bool fadesNotes() const { return _fadesNotes; }

    // The whole card without its shadow and rounded corners, opaque, at this scale.
    [[nodiscard]] QPixmap render(Pictures& pictures, double scale) const;

  private:
    struct Placed {
        TextBlock text;
        QRectF rect;
    };

    void layOut();
    void paintFooter(QPainter& painter, Pictures& pictures, double scale) const;
    void paintRoundButton(QPainter& painter, Pictures& pictures, const QRectF& rect, const QString& icon,
                          double scale) const;

    CardContent _content;
    CardSetting _setting;
    CardMeasures _measures{};
    Placed _date, _title, _notes;
    double _bannerAlpha = 1;
    bool _fadesNotes = false;
    bool _mirrored = false;  // for texts that run from right to left
};

}  // namespace zun
