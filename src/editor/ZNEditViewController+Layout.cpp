#include <QEvent>
#include <QScrollArea>
#include <QStyle>
#include <algorithm>
#include <cmath>

#include "cards/ScreenBar.h"
#include "cards/ZNCardView.h"
#include "editor/LocationSection.h"
#include "editor/PopoverControls.h"
#include "editor/SuggestionChip.h"
#include "editor/ZNEditSegmentControl.h"
#include "editor/ZNEditViewController.h"
#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int marginInLargeWindow = 40;
constexpr int marginElsewhere = 26;
constexpr int textInset = 72;       // what the card is wider than its texts
constexpr int smallestHeight = 50;  // of notes and checklist
constexpr int fullDateHeight = 155;
constexpr int footerHeight = 48;
constexpr int gap = 12;
constexpr int bottomMargin = 16;

}  // namespace

int ZNEditViewController::margin() const {
    return _with.cards.settings.windowLayoutMode() == 3 ? marginInLargeWindow : marginElsewhere;
}

int ZNEditViewController::textFieldWidth() const {
    return std::max(1, static_cast<int>(std::floor(_cardView->panelRect().width())) - textInset);
}

void ZNEditViewController::updateViewsForWindowResize() {
    ZNBaseViewController::updateViewsForWindowResize();
    updateFontsAndSizing();
}

void ZNEditViewController::updateFontsAndSizing() {
    if (!_cardView) return;
    const QSizeF window = _with.cards.windowSize();
    if (window.width() > 0 && window.height() > 0) {
        const int size = preferredFontSizeForWindowSize(window.width());
        _reminderTitle->setTextStyle(appFontWithSizeStyle(SizeStyle::LargeText, size, QFont::DemiBold),
                                     QColor::fromRgba(tokens::cardTitle), tokens::titleLineHeight);
        const QFont body = appFontWithSizeStyle(SizeStyle::Text, size);
        _reminderNotes->setTextStyle(body, QColor::fromRgba(tokens::cardTitle), tokens::notesLineHeight);
        _checklist->onSetFont(body);
    }
    layOutContents();
}

void ZNEditViewController::layOutContents() {
    if (!_cardView) return;
    const QSizeF panel = _cardView->panelRect().size();
    const int width = static_cast<int>(panel.width()) + 2;  // the surface reaches one point beyond the panel
    const int height = static_cast<int>(panel.height()) + 2;
    QWidget& surface = _cardView->additionCard();
    const QRect whole(0, 0, width, height);
    const auto onSurface = [&](QWidget& child, const QRect& place) {
        child.setGeometry(QStyle::visualRect(surface.layoutDirection(), whole, place));
    };
    const int bar = toolbarTop() + tokens::barHeight;
    const int footer = height - footerHeight;
    onSurface(*_scrollView, {1, bar, width - 2, std::max(0, footer - bar)});
    const int scrollBar = GroundScrollBar::thickness;
    onSurface(*_scrollBar, {width - 1 - scrollBar, bar + 3, scrollBar, std::max(0, footer - bar - 6)});
    onSurface(*_rules[2], {margin(), footer, width - 2 * margin(), 1});
    const QSize toggle = _toggleTypeButton->sizeHint();
    onSurface(*_toggleTypeButton, {(width - toggle.width()) / 2, footer + (footerHeight - toggle.height()) / 2,
                                   toggle.width(), toggle.height()});

    const int contentWidth = width - 2;
    const QRect content(0, 0, contentWidth, 1);
    const int left = margin();
    const int inner = contentWidth - 2 * left;
    int top = 4;
    const auto place = [&](QWidget& child, const QRect& rect) {
        child.setGeometry(QStyle::visualRect(layoutDirection(), content, rect));
    };
    const auto placeText = [&](ZNTextView& view, int least) {
        const int needed = std::max(least, view.heightOfTextWithWidth(textFieldWidth()));
        constexpr int ring = ZNTextView::ringMargin;
        place(view, {left - ring, top - ring, textFieldWidth() + 2 * ring, needed + 2 * ring});
        return needed;
    };
    top += placeText(*_reminderTitle, 0) + gap;
    if (!_chip->isHidden()) {
        place(*_chip, {left, top - 2, std::min(_chip->sizeHint().width(), inner), SuggestionChip::chipHeight});
        top += SuggestionChip::chipHeight + gap - 4;
    }
    place(*_rules[0], {left, top, inner, 1});
    const int container = static_cast<int>(std::round(_containerHeight.shown()));
    place(*_dateContainer, {left - sectionSideRoom, top + 1, inner + 2 * sectionSideRoom, container});
    for (QWidget* section : std::initializer_list<QWidget*>{_dateSection, _locationSection})
        section->setGeometry(0, 0, _dateContainer->width(), fullDateHeight);
    top += 1 + container;
    place(*_rules[1], {left, top, inner, 1});
    top += 1 + gap;
    const QSize segments = _segmentControl->sizeHint();
    place(*_segmentControl, {left, top, std::min(segments.width(), inner), segments.height()});
    top += segments.height() + gap;
    if (_checklist->isHidden()) {
        top += placeText(*_reminderNotes, smallestHeight);
    } else {
        const int needed = std::max(smallestHeight, _checklist->heightOfTextWithSize(panel));
        place(*_checklist, {left, top, textFieldWidth(), needed});
        top += needed;
    }
    _scrollContentView->resize(contentWidth, top + bottomMargin);
}

void ZNEditViewController::scrollToCursor(QWidget& view, const QRect& cursor) {
    if (!view.hasFocus() || !isVisible()) return;
    layOutContents();
    const QPoint place = view.mapTo(_scrollContentView, cursor.center());
    _scrollView->ensureVisible(place.x(), place.y(), 0, cursor.height() / 2 + 8);
}

bool ZNEditViewController::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) layOutContents();
    return ZNBaseViewController::eventFilter(watched, event);
}

void ZNEditViewController::changeEvent(QEvent* event) {
    // The clock's zone and the region may be others when the user comes back to the window.
    const bool comesBack = event->type() == QEvent::ActivationChange && isActiveWindow();
    if (_dateSection && (comesBack || event->type() == QEvent::LocaleChange)) _dateSection->surroundingsDidChange();
    ZNBaseViewController::changeEvent(event);
}

}  // namespace zun
