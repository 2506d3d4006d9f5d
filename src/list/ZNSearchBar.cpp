#include "list/ZNSearchBar.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>

#include "cards/ZNCardImageView.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int iconSide = 16;
constexpr int iconRoom = 32;
constexpr int clearSide = 26;
constexpr int clearIcon = 14;
constexpr int narrowestField = 200;
constexpr int longestText = 300;

}  // namespace

ZNSearchBar::ZNSearchBar(Pictures& pictures, const LocalizedStrings& strings, ZNSearchBarDelegate& delegate,
                         QWidget* parent)
    : ZNView(parent),
      _pictures(pictures),
      _delegate(delegate),
      _searchField(new QLineEdit(this)),
      _clearButton(new ZNButton(pictures, ZNButton::Shape::Round, this)),
      _cancelButton(new ZNBarButton(this)) {
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    setAccessibilityElement(false);
    setFixedHeight(height);
    _searchField->setFrame(false);
    _searchField->setFont(appFont(sizeOfStyle(SizeStyle::Paragraph, 4)));
    _searchField->setPlaceholderText(text("Search_Shortcut"));
    _searchField->setAccessibleName(text("Search_Shortcut"));
    _searchField->setMaxLength(longestText);
    _searchField->installEventFilter(this);
    QPalette palette = _searchField->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, QColor::fromRgba(tokens::groundText));
    palette.setColor(QPalette::PlaceholderText, QColor::fromRgba(tokens::groundTextSecondary));
    palette.setColor(QPalette::Highlight, QColor::fromRgba(tokens::listSelection));
    _searchField->setPalette(palette);
    _clearButton->setIconNamed("searchClearIcon", clearIcon);
    _clearButton->setTexts(text("List_Search_Clear_Label"), text("List_Search_Clear_Label"));
    _clearButton->hide();
    _cancelButton->setText(text("Cancel_Action"));
    _cancelButton->setInk(tokens::groundText);
    connect(_searchField, &QLineEdit::textChanged, this, [this](const QString& now) {
        _clearButton->setVisible(!now.isEmpty());
        _delegate.searchViewTextDidChange(*this, now);
    });
    connect(_clearButton, &ZNButton::clicked, this, [this] {
        onClear();
        _searchField->setFocus();
    });
    connect(_cancelButton, &QPushButton::clicked, this, [this] { onCancel(); });
}

void ZNSearchBar::onClear() {
    _searchField->clear();
}

void ZNSearchBar::onCancel() {
    onClear();
    _delegate.searchViewDidCancel(*this);
}

int ZNSearchBar::smallestWidth() const {
    return narrowestField + _cancelButton->sizeHint().width();
}

QRect ZNSearchBar::fieldRect() const {
    return {0, 1, width() - _cancelButton->sizeHint().width(), height - 2};
}

void ZNSearchBar::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    const auto place = [this](QWidget* each, const QRect& where) {
        each->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
    };
    const QRect field = fieldRect();
    const int clear = clearSide + 2 * ZNButton::ringMargin;
    place(_searchField, field.adjusted(iconRoom, 0, -clear, 0));
    place(_clearButton, QRect(field.right() - clear, (height - clear) / 2, clear, clear));
    const QSize cancel = _cancelButton->sizeHint();
    place(_cancelButton,
          QRect(width() - cancel.width(), (height - cancel.height()) / 2, cancel.width(), cancel.height()));
}

bool ZNSearchBar::eventFilter(QObject* watched, QEvent* event) {
    const bool isFocusChange = event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut;
    if (watched == _searchField && isFocusChange) update();
    if (watched != _searchField || event->type() != QEvent::KeyPress) return ZNView::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Escape:
            onCancel();
            return true;
        case Qt::Key_Down:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            _delegate.searchViewShouldShowResults(*this);
            return true;
        default:
            return false;
    }
}

void ZNSearchBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect field = QStyle::visualRect(layoutDirection(), rect(), fieldRect());
    const bool isFocused = _searchField->hasFocus();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(isFocused ? tokens::listFieldGroundFocused : tokens::listFieldGround));
    painter.drawRoundedRect(field, field.height() / 2.0, field.height() / 2.0);
    const QRect icon((iconRoom - iconSide) / 2 + 2, (height - iconSide) / 2, iconSide, iconSide);
    ZNCardImageView::paintPicture(painter, _pictures, "searchIcon", QStyle::visualRect(layoutDirection(), rect(), icon),
                                  devicePixelRatioF());
}

}  // namespace zun
