#include "list/ZNTableViewCell.h"

#include <QPainter>
#include <cmath>

#include "cards/ZNCardImageView.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double textLeading = 22;
constexpr double topWithoutLabel = 22;
constexpr double labelTop = 19;
constexpr double gapBelowLabel = 3;
constexpr double gapBelowTitle = 3;
constexpr double bottomMargin = 22;
constexpr double sideOfThumbnail = 60;
constexpr double thumbnailTrailing = 12;
constexpr double optionSide = 28;
constexpr double optionEdge = 6;
constexpr double optionIcon = 18;
constexpr double dragWidth = 22;
constexpr double dragIcon = 16;
// More than anyone reads in a list; a card has room for the rest.
constexpr int titleLines = 12;
constexpr int subtitleLines = 2;

TextStyle titleStyle(const ListMeasures& measures) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::Text, measures.preferredSize, QFont::Medium);
    style.color = QColor::fromRgba(tokens::listCellTitle);
    style.lineHeight = tokens::listTitleLineHeight;
    style.lineLimit = titleLines;
    return style;
}

TextStyle subtitleStyle(const ListMeasures& measures) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::Paragraph, measures.preferredSize);
    style.color = QColor::fromRgba(tokens::listCellSubtitle);
    style.lineHeight = tokens::listSubtitleLineHeight;
    style.lineLimit = subtitleLines;
    return style;
}

TextStyle labelStyle(const ListMeasures& measures) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::AllCaps, measures.preferredSize, QFont::Medium);
    style.color = QColor::fromRgba(tokens::listSnoozeLabel);
    style.kerning = tokens::capsKerning;
    style.lineLimit = 1;
    return style;
}

int heightOf(double top, double title, double subtitle) {
    return static_cast<int>(
        std::ceil(top + title + gapBelowTitle + subtitle + bottomMargin + ListMeasures::spaceAroundCell));
}

}  // namespace

ZNTableViewCell::ZNTableViewCell(CellContent content, const ListMeasures& measures)
    : _content(std::move(content)),
      _measures(measures),
      _title(_content.title, titleStyle(measures), measures.textWidth),
      _subtitle(_content.subtitle, subtitleStyle(measures), measures.textWidth),
      _snoozeLabel(_content.snoozeLabel, labelStyle(measures), measures.textWidth),
      _titleTop(_content.snoozeLabel.isEmpty() ? topWithoutLabel
                                               : std::ceil(_snoozeLabel.height()) + labelTop + gapBelowLabel) {
    // A row without words is still a row.
    const double title = std::max(_title.height(), heightOfLines(titleStyle(measures), 1));
    _rowHeight = heightOf(_titleTop, title, _subtitle.height());
}

int ZNTableViewCell::heightOfPlainRow(const ListMeasures& measures) {
    return heightOf(topWithoutLabel, heightOfLines(titleStyle(measures), 1), heightOfLines(subtitleStyle(measures), 1));
}

QRectF ZNTableViewCell::cardImageRect() const {
    const double height = size().height();
    const QRectF rect(_measures.cellWidth - thumbnailTrailing - sideOfThumbnail,
                      std::round((height - sideOfThumbnail) / 2), sideOfThumbnail, sideOfThumbnail);
    return _measures.placed(rect, _measures.cellWidth);
}

QRectF ZNTableViewCell::optionButtonRect() const {
    const QRectF rect(_measures.cellWidth - optionEdge - optionSide, optionEdge, optionSide, optionSide);
    return _measures.placed(rect, _measures.cellWidth);
}

QRectF ZNTableViewCell::dragButtonRect() const {
    return _measures.placed(QRectF(0, 0, dragWidth, size().height()), _measures.cellWidth);
}

ZNTableViewCell::Part ZNTableViewCell::partAt(QPointF position) const {
    if (!QRectF(QPointF(), QSizeF(size())).contains(position)) return Part::None;
    constexpr double slack = (tokens::minimumHitSize - optionSide) / 2;
    if (optionButtonRect().adjusted(-slack, -slack, slack, slack).contains(position)) return Part::OptionButton;
    return dragButtonRect().contains(position) ? Part::DragButton : Part::Body;
}

// A selected row shows the handle whether it may move or not.
bool ZNTableViewCell::showsDragButton(const State& state) {
    return state.isSelected || (state.isHovered && state.canDrag);
}

bool ZNTableViewCell::showsSharedIndicator(const State& state) const {
    return _content.isShared && !showsDragButton(state);
}

QString ZNTableViewCell::spokenText() const {
    QStringList parts{_content.title};
    for (const QString& part : {_content.subtitle, _content.snoozeLabel})
        if (!part.isEmpty()) parts << part;
    return parts.join(QStringLiteral(", "));
}

void ZNTableViewCell::paintFace(QPainter& painter, Pictures& pictures, double scale) const {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tokens::cardGround));
    painter.drawRoundedRect(QRectF(QPointF(), QSizeF(size())), tokens::cardRadius, tokens::cardRadius);
    ZNCardImageView::paintPicture(painter, pictures, _content.pictureName, cardImageRect(), scale);
    const QRectF text = _measures.placed(QRectF(textLeading, 0, _measures.textWidth, 0), _measures.cellWidth);
    _snoozeLabel.paint(painter, {text.left(), labelTop});
    _title.paint(painter, {text.left(), _titleTop});
    _subtitle.paint(painter, {text.left(), _titleTop + _title.height() + gapBelowTitle});
}

const QPixmap& ZNTableViewCell::picture(Pictures& pictures, double scale) {
    if (_picture.isNull() || _picture.devicePixelRatio() != scale) {
        QPixmap made((QSizeF(size()) * scale).toSize());
        made.setDevicePixelRatio(scale);
        made.fill(Qt::transparent);
        QPainter painter(&made);
        paintFace(painter, pictures, scale);
        painter.end();
        _picture = std::move(made);
    }
    return _picture;
}

void ZNTableViewCell::paintIcon(QPainter& painter, Pictures& pictures, const char* name, QRectF rect,
                                double scale) const {
    ZNCardImageView::paintPicture(painter, pictures, QString::fromLatin1(name), rect, scale);
}

void ZNTableViewCell::paint(QPainter& painter, QPointF corner, Pictures& pictures, double scale, const State& state) {
    painter.drawPixmap(corner, picture(pictures, scale));
    const bool showsOptions = state.isHovered || state.showsOptions;
    const bool showsHandle = showsDragButton(state);
    const bool showsShared = showsSharedIndicator(state);
    if (!showsOptions && !showsHandle && !showsShared) return;
    painter.save();
    painter.translate(corner);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF icon(0, 0, dragIcon, dragIcon);
    icon.moveCenter(dragButtonRect().center());
    if (showsHandle) paintIcon(painter, pictures, "dragIcon", icon, scale);
    if (showsShared) paintIcon(painter, pictures, "card_share_icon", icon, scale);
    if (showsOptions) {
        const QRectF disc = optionButtonRect();
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromRgba(tokens::listOptionGround));
        painter.drawEllipse(disc);
        const double side = state.optionsArePressed ? optionSide : optionIcon;
        QRectF dots(0, 0, side, side);
        dots.moveCenter(disc.center());
        paintIcon(painter, pictures, state.optionsArePressed ? "optionsIconPressed" : "optionsIcon", dots, scale);
    }
    painter.restore();
}

}  // namespace zun
