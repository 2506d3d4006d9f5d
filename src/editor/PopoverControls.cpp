#include "editor/PopoverControls.h"

#include <QSignalBlocker>
#include <QStyle>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {

QLabel* makePopoverLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(appFont(11, QFont::Medium));
    label->setTextFormat(Qt::PlainText);
    alignToLayout(*label);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(tokens::editorTint));
    label->setPalette(colors);
    return label;
}

void alignToLayout(QLabel& label, Qt::Alignment vertical) {
    const bool isMirrored = label.layoutDirection() == Qt::RightToLeft;
    label.setAlignment(vertical | Qt::AlignAbsolute | (isMirrored ? Qt::AlignRight : Qt::AlignLeft));
}

IntervalInput* makeIntervalInput(const LocalizedStrings& strings, QWidget* parent) {
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    return new IntervalInput({text("Interval_Field_Accessibility_Label"), text("Interval_More_Accessibility_Label"),
                              text("Interval_Less_Accessibility_Label")},
                             parent);
}

void setRows(ZNPopUpButton& selector, const QStringList& texts, int selected) {
    const QSignalBlocker silence(&selector);
    for (int row = 0; row < texts.size(); ++row) {
        if (row >= selector.count()) {
            selector.addItem(texts[row]);
        } else if (selector.itemText(row) != texts[row]) {
            selector.setItemText(row, texts[row]);
        }
    }
    selector.setCurrentIndex(selected);
    selector.update();
}

void placeInParent(QWidget& child, const QRect& leftToRight) {
    const QWidget& parent = *child.parentWidget();
    child.setGeometry(QStyle::visualRect(parent.layoutDirection(), parent.rect(), leftToRight));
}

}  // namespace zun
