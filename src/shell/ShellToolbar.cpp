#include "shell/ShellToolbar.h"

#include <QPainter>

namespace zun {
namespace {

constexpr int iconSide = 24;
constexpr int margin = 12;

}  // namespace

ShellToolbar::ShellToolbar(Pictures& pictures, const LocalizedStrings& strings, QWidget* parent)
    : ZNView(parent), _pictures(pictures), _strings(strings) {
    setAccessibilityRole(QAccessible::ToolBar);
    setFixedHeight(height);
    // Made in the order of the tab keys, which is the order for the eye.
    _cardViewButton = makeButton("cardsIcon", "Stack_Icon_Tooltip", "Card_Button_Accessibility_Label");
    _listViewButton = makeButton("seeAllIcon", "List_Icon_Tooltip", "List_Button_Accessibility_Label");
    _addButton = makeButton("addIcon", "Add_Button_Tooltip", "Add_Button_Accessibility_Label");
    _settingsButton = makeButton("settingsIcon", "Settings_Icon_Tooltip", "Settings_Button_Accessibility_Label");
}

ZNButton* ShellToolbar::makeButton(const char* icon, const char* tooltipKey, const char* labelKey) {
    auto* button = new ZNButton(_pictures, ZNButton::Shape::Bare, this);
    button->setIconNamed(icon, iconSide);
    button->setTexts(QString::fromStdString(_strings.string(labelKey)),
                     QString::fromStdString(_strings.string(tooltipKey)));
    button->resize(buttonSide, buttonSide);
    button->setFace(ZNButton::Face::Parents);
    return button;
}

void ShellToolbar::setActiveTab(int tab) {
    _cardViewButton->setIconNamed(tab == 0 ? "cardsIconSelected" : "cardsIcon", iconSide);
    _listViewButton->setIconNamed(tab == 1 ? "seeAllIconSelected" : "seeAllIcon", iconSide);
}

void ShellToolbar::paintFaces(QPainter& painter, const QRect& dirty) const {
    for (const auto* button : {_cardViewButton, _listViewButton, _addButton, _settingsButton}) {
        if (button->geometry().intersects(dirty)) button->paintFace(painter, button->geometry(), devicePixelRatioF());
    }
}

void ShellToolbar::resizeEvent(QResizeEvent*) {
    const int top = (height - buttonSide) / 2;
    const auto place = [&](ZNButton* button, int x) {
        button->move(layoutDirection() == Qt::RightToLeft ? width() - x - buttonSide : x, top);
    };
    place(_cardViewButton, margin);
    place(_listViewButton, margin + buttonSide);
    place(_addButton, width() - margin - 2 * buttonSide);
    place(_settingsButton, width() - margin - buttonSide);
}

}  // namespace zun
