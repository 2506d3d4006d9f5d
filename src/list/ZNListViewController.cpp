#include "list/ZNListViewController.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <cmath>

#include "core/NotificationNames.h"
#include "list/BulkActionsBar.h"
#include "list/ZNSegmentControl.h"
#include "platform/foundation/NSCurrentLocale.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int searchIconSide = 20;
constexpr double hiddenSearchOffset = -15;
constexpr int barTop = 6;
constexpr int gapBelowSegments = 8;
constexpr int sideMargin = 16;

// Half of what is left between the margins, as far as the column reaches.
int widthOfControls(int containerWidth) {
    return static_cast<int>(std::ceil(std::ceil((containerWidth - 80) * 0.5) * 0.86));
}

// The effect paints into a picture each time, so it is there only while it is needed.
void showWithAlpha(QWidget& widget, double alpha) {
    if (alpha >= 1) return widget.setGraphicsEffect(nullptr);
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(widget.graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(&widget);
        widget.setGraphicsEffect(effect);
    }
    effect->setOpacity(alpha);
}

}  // namespace

ZNListViewController::ZNListViewController(const Collaborators& collaborators, Type initWithTableViewType,
                                           QWidget* parent)
    : ListScreen(collaborators.cards, parent),
      _with(collaborators),
      _tableViewType(initWithTableViewType),
      _helper(collaborators.environment, collaborators.strings),
      _loader({collaborators.manager, collaborators.labels, collaborators.strings, collaborators.environment,
               collaborators.cards.dispatch}),
      _workQueue(collaborators.cards.dispatch.makeSerialQueue("list", QualityOfService::Utility)) {
    loadView();
    addObservers();
    setTableViewPosition(false);
    fetchData();
}

ZNListViewController::~ZNListViewController() {
    _with.cards.dispatch.waitUntil([work = _blocksUnderWay] { return *work == 0; });
}

void ZNListViewController::prepareViews() {
    (void)toolbar();  // keys reach it first
    _segmentControl = new ZNSegmentControl(
        _with.cards.animations, {text("List_Upcoming_Segment_Title"), text("List_Completed_Segment_Title")}, this);
    _segmentControl->setShouldAnimateSegmentChange(false);
    _segmentControl->onSetSelectedSegment(static_cast<int>(index()));
    _segmentControl->setShouldAnimateSegmentChange(true);
    _searchBar = new ZNSearchBar(_with.cards.pictures, _with.strings, *this, this);
    _tableContainer = new ZNView(this);
    static_cast<ZNView*>(_tableContainer)->setAccessibilityElement(false);
    for (std::size_t i = 0; i < _tables.size(); ++i) {
        _tables[i] = new ZNListTableView({_with.cards, _with.manager, _helper}, *this, _tableContainer);
        _zeroStates[i] = new QLabel(text("List_Zero_State"), _tableContainer);
    }
    _actionsBar = new BulkActionsBar(_with.cards.pictures, _with.cards.animations, _with.strings, this);
    connect(_segmentControl, &ZNSegmentControl::didChangeSegment, this, [this](int to) { didChangeSegment(to); });
    connect(&_actionsBar->bulkDeleteButton(), &ZNButton::clicked, this, [this] { onBulkDelete(); });
    connect(&_actionsBar->bulkCompleteButton(), &ZNButton::clicked, this, [this] { onBulkComplete(); });
}

void ZNListViewController::customizeViews() {
    controllerTitle().setText(text("List_Controller_Title"));
    leftButton().setIconNamed("searchIcon", searchIconSide);
    leftButton().setTexts(text("Search_Shortcut"), text("Search_Shortcut"));
    _searchBar->hide();
    _searchBar->raise();
    _searchOffset.jump(hiddenSearchOffset);
    for (auto* zeroState : _zeroStates) {
        QPalette palette = zeroState->palette();
        palette.setColor(QPalette::WindowText, QColor::fromRgba(tokens::groundTextSecondary));
        zeroState->setPalette(palette);
        zeroState->setFont(appFont(sizeOfStyle(SizeStyle::Text, 4), QFont::Medium));
        zeroState->setAlignment(Qt::AlignCenter);
        zeroState->setAttribute(Qt::WA_TransparentForMouseEvents);
        zeroState->hide();
    }
    _tables[0]->setAccessibleName(text("List_Upcoming_Segment_Title"));
    _tables[1]->setAccessibleName(text("List_Completed_Segment_Title"));
    configureEditingToolbar();
    _frames = _with.cards.animations.observeFrames([this] {
        if (_tableOffset.shown() != _tableOffset.value() || _tableFade.shown() != _tableFade.value()) placeTables();
        if (_searchAlpha.shown() != _searchAlpha.value() || _searchOffset.shown() != _searchOffset.value())
            showSearchAlpha();
    });
}

void ZNListViewController::addObservers() {
    const QPointer<ZNListViewController> self(this);
    auto& notifications = _with.cards.notifications;
    auto& dispatch = _with.cards.dispatch;
    // Store notifications come on the store's queue; a guard made here may only be asked on the main thread.
    const auto onMain = [&](std::string_view name, void (ZNListViewController::*action)()) {
        auto act = gatheredOnMainThread(dispatch, [self, action] {
            if (self) (*self.*action)();
        });
        _observations.push_back(
            notifications.addObserver(name, [act = std::move(act)](const NSNotification&) { act(); }));
    };
    onMain(ZNListViewShouldSearchNotification, &ZNListViewController::onLeftButtonPress);
    for (const auto name : {ZNReminderObjectRemovedNotification, ZNReminderObjectUpdatedNotification,
                            ZNReminderObjectAddedNotification, ZNDatabaseDeDupedNotification})
        onMain(name, &ZNListViewController::fetchData);
    onMain(NSCurrentLocaleDidChangeNotification, &ZNListViewController::minutePassed);
}

// ---- rows

void ZNListViewController::fetchData() {
    // Changes come in bursts, and each fetch reads everything.
    if (_isLoading || _worksUnderWay > 0 || !isVisible()) {
        _fetchIsWanted = true;
        return;
    }
    load();
}

void ZNListViewController::load() {
    _isLoading = true;
    _fetchIsWanted = false;
    _discardsLoad = false;
    _loader.fetch(_tableViewType, _isSearchActive ? _activeSearchString : std::string(),
                  [this](ListRows rows) { takeRows(std::move(rows)); });
}

void ZNListViewController::takeRows(ListRows rows) {
    _isLoading = false;
    // Instead of rows from before the user's last action come those that the store tells of after it.
    if (!std::exchange(_discardsLoad, false)) {
        tableView().setRows(std::move(rows));
        showZeroStateIfNecessary();
    }
    if (_fetchIsWanted) fetchData();
}

void ZNListViewController::showZeroStateIfNecessary() {
    for (auto* zeroState : _zeroStates)
        zeroState->setVisible(tableView().rows().empty());
}

bool ZNListViewController::showsZeroState() const {
    return !_zeroStates[index()]->isHidden();
}

void ZNListViewController::minutePassed() {
    if (isVisible()) tableView().refreshWords();
    fetchData();
}

void ZNListViewController::showEvent(QShowEvent* event) {
    ListScreen::showEvent(event);
    updateViewsForWindowResize();
    if (!_isSearchActive) tableView().setFocus();
    if (_fetchIsWanted) fetchData();
}

// Not a focus proxy: the screen would be a second stop of the tab key before the first one.
void ZNListViewController::focusInEvent(QFocusEvent*) {
    tableView().setFocus();
}

// ---- tables side by side

void ZNListViewController::didChangeSegment(int segment) {
    _tableViewType = segment == 0 ? Type::Upcoming : Type::Completed;
    for (auto* table : _tables) {
        table->cancelDrag();
        table->deselectAll();
    }
    updateUIForSelectionCount(0);
    if (isVisible()) {
        load();
    } else {
        _fetchIsWanted = true;
    }
    setTableViewPosition(true);
}

void ZNListViewController::setTableViewPosition(bool animated) {
    const double target = static_cast<double>(index());
    _tables[index()]->show();
    tableView().scrollToTop();
    if (_tableOffset.value() == target && animated) return;
    const QPointer<ZNListViewController> self(this);
    _with.cards.animations.runGroup(
        animated ? tokens::listSlide : tokens::listSlide.zero(), Easing::InOut,
        [&](ZNAnimationGroup& group) {
            group.set(_tableOffset, target);
            group.set(_tableFade, target);
        },
        [self] {
            if (!self) return;
            self->placeTables();
            self->configureEditingToolbar();
        });
    placeTables();
}

void ZNListViewController::placeTables() {
    const int width = _tableContainer->width();
    const int direction = isRightToLeft() ? -1 : 1;
    for (std::size_t i = 0; i < _tables.size(); ++i) {
        const double place = static_cast<double>(i) - _tableOffset.shown();
        const double alpha = 1 - std::abs(static_cast<double>(i) - _tableFade.shown());
        const QRect where(direction * static_cast<int>(std::round(place * width)), 0, width, _tableContainer->height());
        _tables[i]->setGeometry(where);
        _tables[i]->setAlpha(alpha);
        _zeroStates[i]->setGeometry(where);
        // Also out of reach for keys and assistive technology.
        _tables[i]->setVisible(i == index() || alpha > 0);
    }
}

void ZNListViewController::configureEditingToolbar() {
    _actionsBar->setOffersCompleting(_tableViewType == Type::Upcoming);
}

void ZNListViewController::updateViewsForWindowResize() {
    ListScreen::updateViewsForWindowResize();
    const double window = _with.cards.windowSize().width() > 0 ? _with.cards.windowSize().width() : width();
    if (width() == 0 || height() == 0 || !_tableContainer) return;
    const ListMeasures measures = ListMeasures::forWindowWidth(window);
    const int most = std::max(1, width() - 2 * sideMargin);
    const int controls = widthOfControls(measures.containerWidth);
    const auto centred = [&](QWidget* each, int wanted, int top) {
        const int fitting = std::min(wanted, most);
        each->setGeometry((width() - fitting) / 2, top, fitting, each->height());
    };
    toolbar().setGeometry(0, barTop, width(), toolbar().height());
    centred(_searchBar, std::max(controls, _searchBar->smallestWidth()),
            barTop + (toolbar().height() - ZNSearchBar::height) / 2);
    centred(_segmentControl, std::max(controls, _segmentControl->widthForTitles()), toolbar().geometry().bottom() + 1);
    const int top = _segmentControl->geometry().bottom() + 1 + gapBelowSegments;
    _tableContainer->setGeometry(0, top, width(), std::max(1, height() - top));
    for (auto* table : _tables)
        table->setMeasures(measures);
    placeTables();
    _actionsBar->place();
    showSearchAlpha();
}

// ---- selection

void ZNListViewController::tableViewSelectionDidChange(ZNListTableView& table) {
    if (&table == &tableView()) updateUIForSelectionCount(table.numberOfSelectedRows());
}

void ZNListViewController::updateUIForSelectionCount(std::size_t count) {
    const bool isMany = count >= 2;
    const QString title = isMany
                              ? QString::fromStdString(stringWithFormat(
                                    _with.strings.string("List_Controller_Selection_Title"), {std::to_string(count)}))
                              : text("List_Controller_Title");
    controllerTitle().setText(title);
    if (isMany) _actionsBar->setAccessibilityLabel(title);
    for (auto* table : _tables)
        table->setBottomInset(isMany ? ListMeasures::bulkBarInset : ListMeasures::restingInset);
    _actionsBar->setShown(isMany);
}

// ---- search

void ZNListViewController::onLeftButtonPress() {
    onSetIsSearchActive(true);
}

bool ZNListViewController::handleCancelOperation() {
    if (tableView().isDragging()) {
        tableView().cancelDrag();
    } else if (_isSearchActive) {
        _searchBar->onCancel();
    } else if (tableView().numberOfSelectedRows() > 1) {
        tableView().deselectAll();
    } else {
        return false;
    }
    return true;
}

void ZNListViewController::onSetIsSearchActive(bool isActive) {
    _isSearchActive = isActive;
    animateSearchWithVisibility(isActive);
}

void ZNListViewController::animateSearchWithVisibility(bool visible) {
    if (visible) {
        _searchBar->show();
        _searchBar->searchField().setFocus(Qt::ShortcutFocusReason);
        _searchBar->searchField().selectAll();
    } else {
        toolbar().show();
    }
    const QPointer<ZNListViewController> self(this);
    _with.cards.animations.runGroup(
        tokens::listSlide, Easing::InOut,
        [&](ZNAnimationGroup& group) {
            group.set(_searchAlpha, visible ? 1 : 0);
            group.set(_searchOffset, visible ? 0 : hiddenSearchOffset);
        },
        [self] {
            if (!self) return;
            self->showSearchAlpha();
            // Another turn may have come before the end of this one.
            self->toolbar().setVisible(!self->_isSearchActive);
            self->_searchBar->setVisible(self->_isSearchActive);
        });
    showSearchAlpha();
}

void ZNListViewController::showSearchAlpha() {
    const int direction = isRightToLeft() ? -1 : 1;
    const int middle = (width() - _searchBar->width()) / 2;
    _searchBar->move(middle + direction * static_cast<int>(std::round(_searchOffset.shown())), _searchBar->y());
    showWithAlpha(*_searchBar, _searchAlpha.shown());
    showWithAlpha(toolbar(), 1 - _searchAlpha.shown());
}

void ZNListViewController::searchViewTextDidChange(ZNSearchBar&, const QString& withText) {
    _activeSearchString = withText.toStdString();
    _isLoading = true;
    // What was taken out of the table is not found either.
    _discardsLoad = false;
    _loader.search(_activeSearchString, [this](ListRows rows) { takeRows(std::move(rows)); });
}

void ZNListViewController::searchViewDidCancel(ZNSearchBar&) {
    onSetIsSearchActive(false);
    leftButton().setFocus();
    _activeSearchString.clear();
}

QString ZNListViewController::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

void ZNListViewController::post(std::string_view name, const ReminderPtr& reminder) {
    _with.cards.notifications.postNotificationName(name, reminder ? std::any(reminder) : std::any());
}

}  // namespace zun
