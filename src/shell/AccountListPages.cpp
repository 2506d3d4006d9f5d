#include "shell/AccountListPages.h"

#include <QVBoxLayout>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int rowPadding = 10;
constexpr int longestNotes = 160;  // letters; the rest is there again once it is brought back

class Rule final : public QWidget {
  public:
    explicit Rule(QWidget* parent) : QWidget(parent) {
        setFixedHeight(1);
        setAutoFillBackground(true);
        QPalette colors = palette();
        colors.setColor(QPalette::Window, QColor::fromRgba(tokens::settingsButtonGround));
        setPalette(colors);
    }
};

QString shortened(const QString& words) {
    const auto line = words.simplified();
    return line.size() <= longestNotes ? line : line.left(longestNotes).trimmed() + u'…';
}

}  // namespace

// ---- rows

void AccountListPage::prepareList(const char* moreButton) {
    _list = new QVBoxLayout;
    _list->setSpacing(0);
    column().addLayout(_list);
    _more = new ZNPushButton(text("Account_Show_More_Action"), &content());
    _more->setObjectName(moreButton);
    _more->hide();
    column().addWidget(_more, 0, Qt::AlignHCenter);
    addNoticeAndButtons({});
    connect(_more, &QAbstractButton::clicked, this, [this] {
        const auto first = _limit;
        _limit += rowsAtOnce;
        showRows(std::move(_rows));
        if (first < _rowButtons.size()) _rowButtons[first]->setFocus(Qt::OtherFocusReason);
    });
}

QWidget* AccountListPage::firstControl() const {
    return _rowButtons.empty() ? nullptr : _rowButtons.front();
}

QWidget* AccountListPage::makeRow(std::size_t index) {
    const auto& row = _rows[index];
    auto* view = new QWidget(&content());
    view->setObjectName("row");
    view->setAccessibleName(row.title);
    auto* across = new QHBoxLayout(view);
    across->setContentsMargins(FocusRing::room, rowPadding, 0, rowPadding);
    across->setSpacing(8);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    auto* title = makeAccountLabel(breakable(row.title), 13, tokens::settingsText, view);
    title->setFont(appFont(13, QFont::DemiBold));
    words->addWidget(title);
    if (!row.notes.isEmpty()) words->addWidget(makeAccountLabel(breakable(row.notes), 13, tokens::settingsText, view));
    words->addWidget(makeAccountLabel(row.details, 12, tokens::settingsTextSecondary, view));
    across->addLayout(words, 1);
    auto* button = new ZNPushButton(row.button, view);
    button->setAccessibleName(row.buttonName);
    connect(button, &QAbstractButton::clicked, this, [this, index] {
        // The row may go with it.
        if (index < _rows.size()) std::function<void()>(_rows[index].action)();
    });
    across->addWidget(button, 0, Qt::AlignTop);
    _rowButtons.push_back(button);

    auto* framed = new QWidget(&content());
    auto* column = new QVBoxLayout(framed);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    if (index > 0) column->addWidget(new Rule(framed));
    column->addWidget(view);
    return framed;
}

// Rows that read as before stay, and the focus with them.
void AccountListPage::showRows(std::vector<Row> rows) {
    const auto shown = std::min(rows.size(), _limit);
    bool isSame = shown == _views.size() && rows.size() == _rows.size();
    for (std::size_t i = 0; isSame && i < shown; ++i) {
        const auto& before = _rows[i];
        isSame = rows[i].title == before.title && rows[i].details == before.details && rows[i].notes == before.notes;
    }
    _rows = std::move(rows);
    if (!isSame) {
        for (auto* view : _views)
            delete view;
        _views.clear();
        _rowButtons.clear();
        for (std::size_t i = 0; i < shown; ++i) {
            _views.push_back(makeRow(i));
            _list->addWidget(_views.back());
            _views.back()->show();
        }
    }
    for (std::size_t i = 0; i < shown; ++i) {
        _rowButtons[i]->setText(_rows[i].button);
        _rowButtons[i]->setAccessibleName(_rows[i].buttonName);
        _rowButtons[i]->setEnabled(_rows[i].isEnabled && !model().isBusy());
        _rowButtons[i]->updateGeometry();
    }
    _more->setVisible(_rows.size() > shown);
}

// ---- devices

AccountDevicesPage::AccountDevicesPage(const AccountPageContext& context, QWidget* parent)
    : AccountListPage(context, parent) {
    addTitle(text("Account_Devices_Title"));
    _text = addText({});
    _text->setObjectName("devicesText");
    prepareList("moreDevicesButton");
}

void AccountDevicesPage::refresh() {
    AccountListPage::refresh();
    const auto& problem = model().devicesProblem();
    const auto& devices = model().devices();
    _text->setText(!model().isSignedIn() ? text("Account_Devices_Signed_Out")
                   : !problem.empty()    ? QString::fromStdString(problem)
                   : !devices            ? text("Account_Reading")
                                         : text("Account_Devices_Text"));
    std::vector<Row> rows;
    if (devices && model().isSignedIn()) {
        for (const auto& device : *devices) {
            const auto date = [&](NSDate each) { return _with.labels.dateAsShortStringWithWeekdayDayMonthYear(each); };
            const auto name = QString::fromStdString(device.name);
            rows.push_back({device.isThisOne ? text("Account_This_Device_Format", name) : name,
                            QString::fromStdString(stringWithFormat(_with.strings.string("Account_Device_Dates_Format"),
                                                                    {date(device.signedIn), date(device.lastSeen)})),
                            {},
                            text("Account_Sign_Out_Device_Action"),
                            text("Account_Sign_Out_Device_Format", name),
                            true,
                            [this, id = device.deviceID] { model().signOutDevice(id); }});
        }
    }
    showRows(std::move(rows));
}

// ---- kept versions

AccountVersionsPage::AccountVersionsPage(const AccountPageContext& context, QWidget* parent)
    : AccountListPage(context, parent) {
    addTitle(text("Account_Versions_Title"));
    _text = addText({});
    _text->setObjectName("versionsText");
    prepareList("moreVersionsButton");
}

void AccountVersionsPage::refresh() {
    AccountListPage::refresh();
    const auto& versions = model().keptVersions();
    _text->setText(!versions           ? text("Account_Reading")
                   : versions->empty() ? text("Account_Versions_None")
                                       : text("Account_Versions_Text"));
    std::vector<Row> rows;
    if (versions) {
        for (const auto& version : *versions) {
            const auto& record = version.record;
            const auto title =
                record.title.empty() ? text("Account_Untitled") : shortened(QString::fromStdString(record.title));
            const auto date = _with.labels.dateAsShortStringWithWeekdayDayMonthYear(version.date);
            const bool isBack = model().wasBroughtBack(version);
            rows.push_back(
                {title,
                 text(version.reason == KeptReason::Replaced ? "Account_Replaced_Format" : "Account_Deleted_Format",
                      QString::fromStdString(date)),
                 shortened(QString::fromStdString(record.notes.value_or(""))),
                 text(isBack ? "Account_Brought_Back" : "Account_Bring_Back_Action"),
                 isBack ? text("Account_Brought_Back") : text("Account_Bring_Back_Format", title), !isBack,
                 [this, version] { model().bringBack(version); }});
        }
    }
    showRows(std::move(rows));
}

}  // namespace zun
