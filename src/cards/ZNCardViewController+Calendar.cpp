// The calendar beside the stack. It is made when the window is first wide
// enough, so that a narrow one neither builds nor fetches anything for it.

#include <QResizeEvent>
#include <cmath>

#include "calendar/ZNCalendarViewController.h"
#include "cards/DeckToolbar.h"
#include "cards/StackGeometry.h"
#include "cards/ZNCardViewController.h"
#include "cards/ZNStackView.h"
#include "cards/ZNZeroStateView.h"

namespace zun {

void ZNCardViewController::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    _stackView->setGeometry(rect());
    _toolbar->setGeometry(0, 0, width(), DeckToolbar::height);
    updateViewsForWindowResize();
}

void ZNCardViewController::makeCalendar() {
    const auto& cards = _with.cards;
    _calendarController =
        new ZNCalendarViewController({cards.dispatch, cards.notifications, cards.settings, cards.pictures,
                                      _with.manager, _with.environment, _with.strings, cards.windowSize},
                                     this);
    // Over the stack, whose bounds reach under it: its days must be there for the mouse.
    _calendarController->show();
}

void ZNCardViewController::updateViewsForWindowResize() {
    const auto window = _with.cards.windowSize();
    if (window.width() <= 0 || window.height() <= 0) return;
    const auto mode = _with.cards.settings.windowLayoutMode();
    const auto place = calendarPlace(window, mode);
    const int onwards = isMirrored() ? -1 : 1;
    const auto zeroOffset = onwards * static_cast<int>(zeroStateXOffset(window.width(), mode));
    _zeroState->move((width() - ZNZeroStateView::size.width()) / 2 + zeroOffset,
                     (height() - ZNZeroStateView::size.height()) / 2 + ZNZeroStateView::verticalOffset);
    if (place.isHidden) {
        if (_calendarController) _calendarController->hide();
        return;
    }
    if (!_calendarController) makeCalendar();
    const int calendarWidth = static_cast<int>(place.width);
    const int calendarHeight = static_cast<int>(place.height);
    const double centre = width() / 2.0 + onwards * place.xOffset;
    _calendarController->setGeometry(static_cast<int>(std::lround(centre - place.width / 2)),
                                     height() - CalendarPlace::bottomMargin - calendarHeight, calendarWidth,
                                     calendarHeight);
    _calendarController->show();
}

void ZNCardViewController::lockDidChange() {
    if (_calendarController) _calendarController->lockDidChange();
}

}  // namespace zun
