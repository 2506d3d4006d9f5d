#pragma once

// The widgets over the picture of the top card: the footer's buttons, the two round ones, the area that edits, the
// links, and texts that are only heard. They paint nothing but their states. Owned by their card. Main thread.

#include <QWidget>
#include <functional>
#include <vector>

#include "cards/CardFace.h"
#include "cards/CardTexts.h"
#include "cards/ZNCardButtonFooter.h"
#include "toolkit/ZNView.h"

namespace zun {

class CardControls {
  public:
    struct Actions {
        std::function<void()> complete, snooze, skip, edit, checklist, share;
        std::function<void(QPoint)> snoozeMenu;
    };

    CardControls(Pictures& pictures, const CardTexts& texts, ZNView& card, const Actions& actions);

    // Places everything where the face has it.
    void follow(const CardFace& face);
    void setEnabled(bool enabled);
    void setAccessible(bool accessible);
    void setShowsStates(bool shows);

    // Which control has the keyboard focus, as a number that means the same on every card; -1 for none.
    [[nodiscard]] int focusedControl() const;
    void focusControl(int control);

    [[nodiscard]] ZNButton& snoozeButton() const { return _footer->snoozeButton(); }
    // Everything that can be pressed.
    [[nodiscard]] std::vector<ZNButton*> buttons() const;
    [[nodiscard]] ZNButton& editButton() const { return *_editButton; }
    [[nodiscard]] ZNButton& checklistButton() const { return *_checklistButton; }
    [[nodiscard]] ZNButton& sharingButton() const { return *_sharingButton; }
    [[nodiscard]] ZNCardButtonFooter& footer() const { return *_footer; }
    [[nodiscard]] const std::vector<ZNButton*>& linkButtons() const { return _links; }

  private:
    void followLinks(const CardFace& face);

    ZNView& _card;
    ZNButton* _editButton;
    ZNSpokenText* _date;
    ZNSpokenText* _title;
    ZNSpokenText* _notes;
    ZNButton* _sharingButton;
    ZNButton* _checklistButton;
    ZNCardButtonFooter* _footer;
    std::vector<ZNButton*> _links;
};

}  // namespace zun
