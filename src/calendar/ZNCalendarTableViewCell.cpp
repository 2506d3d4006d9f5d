#include "calendar/ZNCalendarTableViewCell.h"

#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <cmath>

#include "calendar/DayReminders.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double widthLeft = 80;  // what the texts leave of the calendar's width
constexpr double widthShare = 0.96;
constexpr double heightAdded = 25;
constexpr double rowGap = 5;    // below each row, of what is added
constexpr double listTop = 15;  // above the first row
constexpr double radius = 6;
constexpr double textTop = 10;
constexpr double dotSide = 6;
constexpr double dotStart = 14;
constexpr int titleLines = 3;
constexpr int subtitleLines = 2;

// A text of a few lines that begin where its own direction begins, the last one cut short where there are more.
class Lines {
  public:
    Lines(const QString& text, const QFont& font, double width, int limit)
        : _layout(withJoinableEmoji(text), font), _width(width) {
        _side = text.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
        QTextOption option(_side);
        option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        _layout.setTextOption(option);
        _layout.setFormats(emojiFormats(_layout.text(), font.pixelSize()));
        _layout.beginLayout();
        while (_layout.lineCount() < limit) {
            auto line = _layout.createLine();
            if (!line.isValid()) break;
            line.setLineWidth(width);
            line.setPosition(QPointF(0, _height));
            _height += line.height();
            _shown = line.textStart() + line.textLength();
        }
        _layout.endLayout();
    }
    [[nodiscard]] double height() const { return std::ceil(_height); }
    void draw(QPainter& painter, QPointF at) const {
        const bool isCut = _shown < _layout.text().size();
        const int whole = _layout.lineCount() - (isCut ? 1 : 0);
        for (int i = 0; i < whole; ++i)
            _layout.lineAt(i).draw(&painter, at);
        if (!isCut || whole < 0) return;
        const auto last = _layout.lineAt(whole);
        const QFontMetricsF metrics(_layout.font());
        const auto rest =
            metrics.elidedText(_layout.text().mid(last.textStart(), 2 * last.textLength() + 8), Qt::ElideRight, _width);
        painter.save();
        painter.setFont(_layout.font());
        painter.setLayoutDirection(_layout.textOption().textDirection());
        painter.drawText(QRectF(at + QPointF(0, last.y()), QSizeF(_width, last.height())),
                         static_cast<int>(_side | Qt::AlignAbsolute | Qt::AlignVCenter), rest);
        painter.restore();
    }

  private:
    QTextLayout _layout;
    double _width;
    Qt::AlignmentFlag _side;
    double _height = 0;
    qsizetype _shown = 0;
};

QFont titleFont(int preferred) {
    return appFontWithSizeStyle(SizeStyle::Paragraph, preferred, QFont::DemiBold);
}
QFont subtitleFont(int preferred) {
    return appFontWithSizeStyle(SizeStyle::Paragraph, preferred);
}

}  // namespace

double ZNCalendarTableViewCell::widthForCell() const {
    return std::max(1.0, (_calendarWidth - widthLeft) * widthShare);
}

QSize ZNCalendarTableViewCell::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
    const double width = widthForCell();
    const Lines title(index.data(DayReminders::Title).toString(), titleFont(_preferredSize), width, titleLines);
    const Lines subtitle(index.data(DayReminders::Subtitle).toString(), subtitleFont(_preferredSize), width,
                         subtitleLines);
    const double above = index.row() == 0 ? listTop : 0;
    return {static_cast<int>(width), static_cast<int>(above + title.height() + subtitle.height() + heightAdded)};
}

void ZNCalendarTableViewCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF row = QRectF(option.rect).adjusted(0, index.row() == 0 ? listTop : 0, 0, -rowGap);
    const bool isHovered = option.state & QStyle::State_MouseOver;
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgba(isHovered ? tokens::calendarRowHover : tokens::calendarRow));
    painter->drawRoundedRect(row, radius, radius);
    if (_showsFocus && (option.state & QStyle::State_HasFocus)) {
        const double half = tokens::focusRingWidth / 2;
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(QColor::fromRgba(tokens::focusRing), tokens::focusRingWidth));
        painter->drawRoundedRect(row.adjusted(half, half, -half, -half), radius, radius);
    }

    const double width = widthForCell();
    // The texts stand in the middle of the row, the dot before them.
    const double start = std::round((row.width() - width) / 2);
    const bool isMirrored = option.direction == Qt::RightToLeft;
    const double left = isMirrored ? row.right() - start - width : row.left() + start;
    const Lines title(index.data(DayReminders::Title).toString(), titleFont(_preferredSize), width, titleLines);
    const Lines subtitle(index.data(DayReminders::Subtitle).toString(), subtitleFont(_preferredSize), width,
                         subtitleLines);
    const QPointF top(left, row.top() + textTop);
    const QColor tint = index.data(DayReminders::Tint).value<QColor>();
    if (tint.isValid()) {
        const double middle = top.y() + QFontMetricsF(titleFont(_preferredSize)).height() / 2;
        const double dot = isMirrored ? row.right() - dotStart - dotSide : row.left() + dotStart;
        painter->setPen(Qt::NoPen);
        painter->setBrush(tint);
        painter->drawEllipse(QRectF(dot, middle - dotSide / 2, dotSide, dotSide));
    }
    painter->setPen(QColor::fromRgba(tokens::groundText));
    title.draw(*painter, top);
    painter->setPen(QColor::fromRgba(tokens::calendarSubtitle));
    subtitle.draw(*painter, top + QPointF(0, title.height()));
    painter->restore();
}

}  // namespace zun
