#pragma once

// The bar over the screens: cards and list at its leading side, adding and settings at its trailing one. Only the
// buttons: the veil under them is painted by what lies below the cards. Owned by its parent widget. Main thread.

#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/Pictures.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

namespace zun {

class ShellToolbar final : public ZNView {
    Q_OBJECT
  public:
    static constexpr int height = 80;
    static constexpr int buttonSide = 48;

    ShellToolbar(Pictures& pictures, const LocalizedStrings& strings, QWidget* parent);

    [[nodiscard]] ZNButton& addButton() { return *_addButton; }
    [[nodiscard]] ZNButton& cardViewButton() { return *_cardViewButton; }
    [[nodiscard]] ZNButton& listViewButton() { return *_listViewButton; }
    [[nodiscard]] ZNButton& settingsButton() { return *_settingsButton; }
    // 0 is the card tab, 1 the list.
    void setActiveTab(int tab);
    // Paints the icons, in the toolbar's coordinates. The buttons paint only their states: a card that flies passes
    // between the two.
    void paintFaces(QPainter& painter, const QRect& dirty) const;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    ZNButton* makeButton(const char* icon, const char* tooltipKey, const char* labelKey);

    Pictures& _pictures;
    const LocalizedStrings& _strings;
    ZNButton* _cardViewButton;
    ZNButton* _listViewButton;
    ZNButton* _addButton;
    ZNButton* _settingsButton;
};

}  // namespace zun
