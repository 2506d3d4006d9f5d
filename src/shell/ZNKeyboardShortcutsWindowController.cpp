#include "shell/ZNKeyboardShortcutsWindowController.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int margin = 24;
constexpr int headerHeight = 96;
constexpr int pictureSide = 64;
constexpr int pictureInset = 3;  // from the picture's edge to what is seen of it
constexpr int headHeight = 28;
constexpr int rowHeight = 26;
constexpr int keysWidth = 190;

// The key beside Ctrl, which is named as the language names it; a name of its own stands alone.
enum class With { Control, Nothing };
struct Shortcut {
    std::string_view labelKey;
    With with;
    std::string_view key;
    std::string_view otherKey = {};
};
constexpr Shortcut shortcuts[] = {
    {"Create_New_Reminder_Shortcut", With::Control, "N"},  {"Save_Reminder_Shortcut", With::Control, "S"},
    {"Edit_Top_Card_Shortcut", With::Control, "`"},        {"Complete_Top_Card_Shortcut", With::Control, "↑"},
    {"Skip_Top_Card_Shortcut", With::Control, "←", "→"},   {"Snooze_Top_Card_Shortcut", With::Control, "↓"},
    {"Undo_Last_Action_Shortcut", With::Control, "Z"},     {"Search_Shortcut", With::Control, "F"},
    {"List_Toggle_Shortcut", With::Control, "L"},          {"Exit_Action_Shortcut", With::Nothing, "Esc"},
    {"Open_Zun_Preferences_Shortcut", With::Control, ","},
};

std::string valueOf(const Shortcut& shortcut, const LocalizedStrings& strings) {
    const auto named = [&](std::string_view key) {
        return shortcut.with == With::Control ? stringWithFormat(strings.string("Shortcut_Control_Format"), {key})
                                              : std::string(key);
    };
    if (shortcut.otherKey.empty()) return named(shortcut.key);
    return stringWithFormat(strings.string("Shortcut_Alternatives_Format"),
                            {named(shortcut.key), named(shortcut.otherKey)});
}

// A row is one thing: its two cells have one ground, and a line parts it from the next.
class RowDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        if (option.state & QStyle::State_Selected)
            painter->fillRect(option.rect, QColor::fromRgba(tokens::keysCurrentRowGround));
        const bool isLast = index.row() + 1 == index.model()->rowCount();
        if (!isLast) {
            const QRect line(option.rect.left(), option.rect.bottom(), option.rect.width(), 1);
            painter->fillRect(line, QColor::fromRgba(tokens::keysSeparator));
        }
        painter->setFont(option.font);
        painter->setPen(QColor::fromRgba(tokens::keysText));
        painter->drawText(textRect(option, index), static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading),
                          index.data().toString());
    }

  private:
    static QRect textRect(const QStyleOptionViewItem& option, const QModelIndex& index) {
        const int start = index.column() == 0 ? margin : 0;
        return QStyle::visualRect(option.direction, option.rect, option.rect.adjusted(start, 0, 0, 0));
    }
};

class TableHead final : public QHeaderView {
  public:
    explicit TableHead(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
        setSectionsClickable(false);
        setFont(appFont(11, QFont::DemiBold));
        setFixedHeight(headHeight);
    }

  protected:
    void paintSection(QPainter* painter, const QRect& rect, int section) const override {
        painter->fillRect(rect, QColor::fromRgba(tokens::keysGround));
        painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), QColor::fromRgba(tokens::keysSeparator));
        painter->setPen(QColor::fromRgba(tokens::keysHeadText));
        painter->setFont(font());
        const QRect words =
            QStyle::visualRect(layoutDirection(), rect, rect.adjusted(section == 0 ? margin : 0, 0, 0, 0));
        painter->drawText(words, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading),
                          model()->headerData(section, Qt::Horizontal).toString());
    }
};

QLabel* makeLabel(const QString& text, const QFont& font, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(font);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(tokens::keysText));
    label->setPalette(colors);
    label->setWordWrap(true);
    return label;
}

}  // namespace

ZNKeyboardShortcutsWindowController::ZNKeyboardShortcutsWindowController(const LocalizedStrings& strings,
                                                                         Pictures& pictures)
    : FixedWindow(QString::fromStdString(strings.string("Zun_KeyboardShortcuts_Title")), windowSize,
                  tokens::keysGround) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader(strings, pictures));
    auto* table = makeTable(strings);
    column->addWidget(table);
    setFocusProxy(table);
}

QWidget* ZNKeyboardShortcutsWindowController::makeHeader(const LocalizedStrings& strings, Pictures& pictures) {
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    auto* header = new QWidget(this);
    header->setFixedHeight(headerHeight);
    QPalette colors = header->palette();
    colors.setColor(QPalette::Window, QColor::fromRgba(tokens::keysHeaderGround));
    header->setPalette(colors);
    header->setAutoFillBackground(true);

    auto* picture = new QLabel(header);
    picture->setPixmap(pictures.pixmap("zun_icon_large", QSizeF(pictureSide, pictureSide), devicePixelRatioF()));
    picture->setFixedSize(pictureSide, pictureSide);
    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addStretch();
    words->addWidget(makeLabel(text("Zun_KeyboardShortcuts_Title"), appFont(22, QFont::DemiBold), header));
    words->addWidget(makeLabel(text("Zun_Keyboard_Shortcut_Description"), appFont(13), header));
    words->addStretch();
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(margin - pictureInset, 0, margin, 0);
    row->setSpacing(16 - pictureInset);
    row->addWidget(picture);
    row->addLayout(words, 1);
    return header;
}

QTableWidget* ZNKeyboardShortcutsWindowController::makeTable(const LocalizedStrings& strings) {
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    auto* table = new QTableWidget(static_cast<int>(std::size(shortcuts)), 2, this);
    table->setAccessibleName(text("Zun_KeyboardShortcuts_Title"));
    table->setFont(appFont(13));
    table->setHorizontalHeader(new TableHead(table));
    table->setHorizontalHeaderLabels({text("Shortcut_name_label"), text("Shortcut_value_label")});
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Fixed);
    table->setColumnWidth(1, keysWidth);
    table->verticalHeader()->hide();
    table->verticalHeader()->setMinimumSectionSize(rowHeight);
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->setItemDelegate(new RowDelegate(table));
    table->setFrameShape(QFrame::NoFrame);
    table->setShowGrid(false);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setTabKeyNavigation(false);
    table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QPalette colors = table->palette();
    colors.setColor(QPalette::Base, QColor::fromRgba(tokens::keysGround));
    table->setPalette(colors);

    int row = 0;
    for (const auto& shortcut : shortcuts) {
        table->setItem(row, 0, new QTableWidgetItem(text(shortcut.labelKey)));
        table->setItem(row, 1, new QTableWidgetItem(QString::fromStdString(valueOf(shortcut, strings))));
        ++row;
    }
    return table;
}

}  // namespace zun
