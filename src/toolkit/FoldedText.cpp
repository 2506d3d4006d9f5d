#include "toolkit/FoldedText.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int objectType = QTextFormat::UserObject + 1;
constexpr int textProperty = QTextFormat::UserProperty + 1;
constexpr double sidePadding = 7;
constexpr int labelSize = 12;

QString label(const QTextFormat& format) {
    return QStringLiteral("… +") + QLocale().toString(format.property(textProperty).toString().size());
}

}  // namespace

void FoldedText::install(QTextDocument& document) {
    document.documentLayout()->registerHandler(objectType, new FoldedText(&document));
}

void FoldedText::insert(QTextCursor cursor, const QString& text) {
    QTextCharFormat format;
    format.setObjectType(objectType);
    format.setProperty(textProperty, text);
    format.setVerticalAlignment(QTextCharFormat::AlignBottom);
    cursor.insertText(QString(QChar::ObjectReplacementCharacter), format);
}

QString FoldedText::unfolded(const QTextDocument& document, int start, int end) {
    QString text;
    for (QTextBlock block = document.findBlock(start); block.isValid() && block.position() <= end;
         block = block.next()) {
        if (block.position() > start) text.append(u'\n');
        for (auto each = block.begin(); !each.atEnd(); ++each) {
            const QTextFragment part = each.fragment();
            const int from = std::max(start, part.position());
            const int length = std::min(end, part.position() + part.length()) - from;
            if (length <= 0) continue;
            if (part.charFormat().objectType() == objectType) {
                for (int i = 0; i < length; ++i)
                    text.append(part.charFormat().property(textProperty).toString());
            } else {
                text.append(QStringView(part.text()).mid(from - part.position(), length));
            }
        }
    }
    text.replace(QChar::LineSeparator, u'\n');
    return text;
}

QSizeF FoldedText::intrinsicSize(QTextDocument*, int, const QTextFormat& format) {
    const QFontMetricsF metrics(appFont(labelSize));
    return {metrics.horizontalAdvance(label(format)) + 2 * sidePadding, metrics.height()};
}

void FoldedText::drawObject(QPainter* painter, const QRectF& rect, QTextDocument*, int, const QTextFormat& format) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgba(tokens::editorChipGround));
    painter->drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
    painter->setFont(appFont(labelSize));
    painter->setPen(QColor::fromRgba(tokens::editorChipText));
    painter->drawText(rect, Qt::AlignCenter, label(format));
    painter->restore();
}

}  // namespace zun
