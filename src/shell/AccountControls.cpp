#include "shell/AccountControls.h"

#include <QAccessible>
#include <QFocusEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double radius = 6;
constexpr int textSize = 13;
constexpr int labelSize = 12;
constexpr int titleSize = 18;
constexpr int noticePadding = 10;
constexpr int fieldPadding = 7;
constexpr int longestWord = 20;  // letters; the widest still fit into a row beside its button

QColor color(QRgb value) {
    return QColor::fromRgba(value);
}

struct NoticeColors {
    QRgb ground, text;
};

NoticeColors colorsOf(AccountNotice::Tone tone) {
    switch (tone) {
        case AccountNotice::Tone::Progress:
            return {tokens::settingsButtonGround, tokens::settingsButtonText};
        case AccountNotice::Tone::Good:
            return {tokens::accountGoodGround, tokens::accountGoodText};
        case AccountNotice::Tone::Bad:
            break;
    }
    return {tokens::accountBadGround, tokens::accountBadText};
}

}  // namespace

QString breakable(const QString& text) {
    QString result;
    int inWord = 0;
    for (const QChar letter : text) {
        inWord = letter.isSpace() ? 0 : inWord + 1;
        if (inWord > longestWord && !letter.isLowSurrogate() && !letter.isMark()) {
            result += QChar(0x200b);
            inWord = 1;
        }
        result += letter;
    }
    return result;
}

QLabel* makeAccountLabel(const QString& text, int size, QRgb textColor, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(appFont(size));
    label->setWordWrap(true);
    // One long word must not make the page wider than the window.
    label->setMinimumWidth(1);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, color(textColor));
    label->setPalette(colors);
    return label;
}

// ---- field

AccountField::AccountField(Shows shows, QWidget* parent) : QLineEdit(parent) {
    setFont(appFont(textSize));
    setFrame(false);
    setAttribute(Qt::WA_Hover);
    setTextMargins(FocusRing::room + fieldPadding, 0, FocusRing::room + fieldPadding, 0);
    setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);
    if (shows == Shows::Dots) setEchoMode(QLineEdit::Password);
    QPalette clear = palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    clear.setColor(QPalette::Text, color(tokens::settingsText));
    setPalette(clear);
}

QSize AccountField::sizeHint() const {
    return {120, tokens::minimumHitSize + 2 * FocusRing::room};
}

void AccountField::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(tokens::disabledAlpha);
    const double room = FocusRing::room;
    const QRectF face = QRectF(rect()).adjusted(room, room, -room, -room);
    painter.setPen(QPen(color(hasFocus() ? tokens::selection : tokens::settingsOutline), 1));
    painter.setBrush(color(tokens::settingsFieldGround));
    painter.drawRoundedRect(face.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    _ring.paint(painter, *this, face, radius);
    painter.end();
    QLineEdit::paintEvent(event);
}

void AccountField::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QLineEdit::focusInEvent(event);
}

// ---- notice

AccountNotice::AccountNotice(QWidget* parent) : QLabel(parent) {
    setObjectName("notice");
    setTextFormat(Qt::PlainText);
    setFont(appFont(textSize));
    setWordWrap(true);
    setContentsMargins(noticePadding + FocusRing::room, noticePadding, noticePadding + FocusRing::room, noticePadding);
    hide();
}

void AccountNotice::show(Tone tone, const QString& words) {
    const bool isNew = tone != _tone || words != text();
    _tone = tone;
    setText(words);
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, color(colorsOf(tone).text));
    setPalette(colors);
    setVisible(!words.isEmpty());
    if (!isNew || words.isEmpty()) return;
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void AccountNotice::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color(colorsOf(_tone).ground));
        painter.drawRoundedRect(QRectF(rect()).adjusted(FocusRing::room, 0, -FocusRing::room, 0), radius, radius);
    }
    QLabel::paintEvent(event);
}

// ---- column

AccountColumn::AccountColumn(QWidget* parent) : QScrollArea(parent) {
    auto* inside = new QWidget(this);
    _column = new QVBoxLayout(inside);
    // The controls bring their room for the ring with them.
    _column->setContentsMargins(margin - FocusRing::room, 8, margin - FocusRing::room, 16);
    _column->setSpacing(0);
    setWidget(inside);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBar(new GroundScrollBar(GroundScrollBar::On::Panel, this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    for (auto* ground : {static_cast<QWidget*>(this), viewport(), inside})
        ground->setAutoFillBackground(false);
}

void AccountColumn::addWidget(QWidget* widget) {
    _column->addWidget(widget);
}

void AccountColumn::addSpace(int height) {
    _column->addSpacing(height);
}

QLabel* AccountColumn::addTitle(const QString& words) {
    auto* label = makeAccountLabel(words, titleSize, tokens::settingsText, widget());
    label->setFont(appFont(titleSize, QFont::DemiBold));
    label->setContentsMargins(FocusRing::room, 0, FocusRing::room, 6);
    _column->addWidget(label);
    return label;
}

QLabel* AccountColumn::addText(const QString& words) {
    auto* label = makeAccountLabel(words, textSize, tokens::settingsTextSecondary, widget());
    label->setContentsMargins(FocusRing::room, 0, FocusRing::room, 8);
    _column->addWidget(label);
    return label;
}

AccountField* AccountColumn::addField(const char* name, const QString& words, AccountField::Shows shows) {
    auto* label = makeAccountLabel(words, labelSize, tokens::settingsTextSecondary, widget());
    label->setContentsMargins(FocusRing::room, 4, FocusRing::room, 0);
    auto* field = new AccountField(shows, widget());
    field->setObjectName(name);
    field->setAccessibleName(words);
    label->setBuddy(field);
    _column->addWidget(label);
    _column->addWidget(field);
    return field;
}

QLabel* AccountColumn::addFact(const char* name, const QString& words) {
    auto* label = makeAccountLabel(words, labelSize, tokens::settingsTextSecondary, widget());
    label->setContentsMargins(FocusRing::room, 0, FocusRing::room, 0);
    auto* fact = makeAccountLabel({}, textSize, tokens::settingsText, widget());
    fact->setObjectName(name);
    fact->setContentsMargins(FocusRing::room, 1, FocusRing::room, 8);
    fact->setTextInteractionFlags(Qt::TextSelectableByMouse);
    _column->addWidget(label);
    _column->addWidget(fact);
    return fact;
}

AccountNotice* AccountColumn::addNotice() {
    auto* notice = new AccountNotice(widget());
    _column->addSpacing(8);
    _column->addWidget(notice);
    return notice;
}

std::vector<ZNPushButton*> AccountColumn::addButtons(
    const std::vector<std::pair<const char*, QString>>& namesAndTexts) {
    auto* row = new QHBoxLayout;
    row->setSpacing(2);
    row->addStretch();
    std::vector<ZNPushButton*> buttons;
    for (const auto& [name, words] : namesAndTexts) {
        buttons.push_back(new ZNPushButton(words, widget()));
        buttons.back()->setObjectName(name);
        row->addWidget(buttons.back());
    }
    buttons.back()->setDefault(true);
    _column->addSpacing(8);
    _column->addLayout(row);
    return buttons;
}

}  // namespace zun
