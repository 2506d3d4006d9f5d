#include "cards/CardFace.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "cards/ZNCardButtonFooter.h"
#include "cards/ZNCardImageView.h"
#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {

namespace {

// Far more than a card can show, far less than what would be felt.
constexpr qsizetype titleLimit = 1000;
constexpr qsizetype notesLimit = 8000;
constexpr double roundSide = 2 * tokens::roundButtonRadius;
constexpr double bannerGap = 6;  // between the picture and the footer

QRgb colorOf(Lateness lateness) {
    switch (lateness) {
        case Lateness::None:
            return tokens::latenessNoneText;
        case Lateness::Ahead:
            return tokens::latenessAheadText;
        case Lateness::Today:
            return tokens::latenessTodayText;
        case Lateness::Yesterday:
            return tokens::latenessYesterdayText;
        case Lateness::Older:
            return tokens::latenessOlderText;
    }
    return tokens::latenessNoneText;
}

TextStyle dateStyle(int preferred, Lateness lateness) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::AllCaps, preferred, QFont::Medium);
    style.color = QColor::fromRgba(colorOf(lateness));
    style.kerning = tokens::capsKerning;
    style.lineLimit = 1;
    return style;
}

TextStyle titleStyle(int preferred, int lineLimit) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::Title, preferred, QFont::DemiBold);
    style.color = QColor::fromRgba(tokens::cardTitle);
    style.lineHeight = tokens::titleLineHeight;
    style.lineLimit = lineLimit;
    return style;
}

TextStyle notesStyle(int preferred, double heightLimit) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::Paragraph, preferred);
    style.color = QColor::fromRgba(tokens::cardNotes);
    style.lineHeight = tokens::notesLineHeight;
    style.heightLimit = heightLimit;
    style.findsLinks = true;
    style.linkColor = QColor::fromRgba(tokens::cardLink);
    return style;
}

QString singleLine(QString text) {
    return text.replace(u'\n', u' ').trimmed();
}

// Lines in which nothing is seen must not push the picture away.
QString withoutEmptyEnd(QString text) {
    while (!text.isEmpty() && text.back().isSpace())
        text.chop(1);
    return text;
}

}  // namespace

CardContent CardContent::of(const ZNReminderObject& reminder, const CardTexts& texts) {
    const ReminderAttributes attributes = reminder.attributes();
    CardContent content;
    content.title = singleLine(displayText(attributes.title, titleLimit));
    content.notes = withoutEmptyEnd(displayText(attributes.notes.value_or(std::string()), notesLimit));
    content.dateText = singleLine(displayText(texts.dateText(reminder), titleLimit)).toUpper();
    content.pictureName = QString::fromStdString(texts.topicPictureName(reminder));
    content.lateness = texts.lateness(reminder);
    content.hasChecklist = attributes.checklist && !attributes.checklist->empty();
    content.hasShare = attributes.shareURL.has_value();
    return content;
}

bool CardFace::update(const CardContent& content, const CardSetting& setting) {
    if (content == _content && setting == _setting) return false;
    _content = content;
    _setting = setting;
    layOut();
    return true;
}

void CardFace::layOut() {
    const QSizeF size = _setting.size;
    _measures = cardMeasures(_setting.windowLayoutMode, _setting.windowWidth);
    _mirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    const int preferred = preferredFontSizeForWindowSize(_setting.windowWidth);
    const bool hasRoundButtons = _content.hasChecklist || _content.hasShare;
    const double given = hasRoundButtons ? CardMeasures::roundButtonsInset : 0;
    const double width = size.width() - 2 * _measures.margin - given;
    const double left = _measures.margin + (_mirrored ? given : 0);
    const double bottom = size.height() - _measures.footerHeight;

    double y = _measures.dateTop;
    const auto place = [&](Placed& placed, double height) {
        placed.rect = QRectF(left, y, width, height);
        y += height;
    };
    const TextStyle date = dateStyle(preferred, _content.lateness);
    _date.text = TextBlock(_content.dateText, date, width);
    place(_date, heightOfLines(date, 1));

    y += CardMeasures::titleTop;
    const auto hasNotes = _content.notes.isEmpty() ? HasNotes::No : HasNotes::Yes;
    const TextStyle title = titleStyle(preferred, titleLineLimit(size.height(), hasNotes));
    _title.text = TextBlock(_content.title, title, width);
    place(_title, zun::titleHeight(_title.text.height(), heightOfLines(title, title.lineLimit)));

    y += CardMeasures::notesTop;
    const double notesSpace = std::max(0.0, bottom - y);
    _notes.text = TextBlock(_content.notes, notesStyle(preferred, notesSpace + 1), width);
    place(_notes, std::min(_notes.text.height(), notesSpace));

    const TextHeights heights{_date.rect.height(), _title.rect.height(), _notes.text.height()};
    _fadesNotes = !notesFit(heights, size.height(), _measures.footerHeight) || _notes.text.height() > notesSpace;
    _bannerAlpha = zun::bannerAlpha(heights, size.height(), _measures.footerHeight, _measures.bannerSide);
}

QRectF CardFace::footerRect() const {
    const double height = _measures.footerHeight;
    return {0, _setting.size.height() - height, _setting.size.width(), height};
}

QRectF CardFace::bannerRect() const {
    const double side = _measures.bannerSide;
    return {std::round((_setting.size.width() - side) / 2), footerRect().top() - side - bannerGap, side, side};
}

QRectF CardFace::textArea() const {
    return {0, 0, _setting.size.width(), footerRect().top()};
}

QRectF CardFace::footerButtonRect(int button) const {
    return ZNCardButtonFooter::buttonRect(footerRect(), button);
}

QRectF CardFace::glowRect(int button) const {
    const QRectF under = footerButtonRect(button);
    QRectF glow(0, 0, under.width() * CardMeasures::glowWidthShare, CardMeasures::glowHeight);
    glow.moveCenter(under.center());
    glow.moveBottom(footerRect().bottom());
    return glow;
}

QRectF CardFace::sharingButtonRect() const {
    const double inset = _measures.margin - 5;
    const double left = _mirrored ? inset : _setting.size.width() - inset - roundSide;
    return {left, _measures.dateTop, roundSide, roundSide};
}

QRectF CardFace::checklistButtonRect() const {
    return sharingButtonRect().translated(0, _content.hasShare ? CardMeasures::checklistBelowShare : 0);
}

std::vector<CardFace::Link> CardFace::links() const {
    std::vector<Link> links;
    for (const TextBlock::Link& link : _notes.text.links()) {
        const QRectF rect = link.rect.translated(_notes.rect.topLeft()).intersected(_notes.rect);
        if (!rect.isEmpty()) links.push_back({link.url, rect});
    }
    return links;
}

QPixmap CardFace::render(Pictures& pictures, double scale) const {
    QPixmap picture((_setting.size * scale).toSize().expandedTo({1, 1}));
    picture.setDevicePixelRatio(scale);
    picture.fill(QColor::fromRgba(tokens::cardGround));
    QPainter painter(&picture);
    painter.setOpacity(_bannerAlpha);
    ZNCardImageView::paintPicture(painter, pictures, _content.pictureName, bannerRect(), scale);
    painter.setOpacity(1);

    _date.text.paint(painter, _date.rect.topLeft());
    _title.text.paint(painter, _title.rect.topLeft());
    if (!_notes.rect.isEmpty()) {
        painter.setClipRect(_notes.rect.adjusted(-4, 0, 4, 0));
        _notes.text.paint(painter, _notes.rect.topLeft());
        painter.setClipping(false);
        if (_fadesNotes) {
            const QRectF fade(0, footerRect().top() - CardMeasures::fadeHeight, _setting.size.width(),
                              CardMeasures::fadeHeight);
            const QPixmap gradient =
                pictures.pixmap(QStringLiteral("white_gradient"), {1, fade.height()}, scale, Pictures::Fit::Stretch);
            painter.drawPixmap(fade, gradient, gradient.rect());
        }
    }
    if (_content.hasShare)
        paintRoundButton(painter, pictures, sharingButtonRect(), QStringLiteral("card_share_icon"), scale);
    if (_content.hasChecklist)
        paintRoundButton(painter, pictures, checklistButtonRect(), QStringLiteral("checklistIcon"), scale);
    paintFooter(painter, pictures, scale);
    return picture;
}

void CardFace::paintFooter(QPainter& painter, Pictures& pictures, double scale) const {
    const QRectF footer = footerRect();
    const QRectF shadow(0, footer.top() - CardMeasures::footerShadowHeight, footer.width(),
                        CardMeasures::footerShadowHeight);
    QLinearGradient gradient(shadow.topLeft(), shadow.bottomLeft());
    QColor edge = QColor::fromRgba(tokens::cardFooterEdge);
    gradient.setColorAt(1, edge);
    edge.setAlphaF(edge.alphaF() / 4);
    gradient.setColorAt(0.5, edge);
    edge.setAlpha(0);
    gradient.setColorAt(0, edge);
    painter.fillRect(shadow, gradient);
    ZNCardButtonFooter::paintFooter(painter, footer, pictures, scale);
}

void CardFace::paintRoundButton(QPainter& painter, Pictures& pictures, const QRectF& rect, const QString& icon,
                                double scale) const {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tokens::roundButtonGround));
    painter.drawEllipse(rect);
    QRectF inner(0, 0, CardMeasures::footerIconSide, CardMeasures::footerIconSide);
    inner.moveCenter(rect.center());
    painter.drawPixmap(inner.topLeft(), pictures.pixmap(icon, inner.size(), scale));
}

}  // namespace zun
