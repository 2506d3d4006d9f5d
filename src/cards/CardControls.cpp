#include "cards/CardControls.h"

#include <QDesktopServices>
#include <algorithm>
#include <utility>

#include "toolkit/Tokens.h"

namespace zun {

namespace {

// More links than this in one short text are not a list that anyone tabs through; the rest is text.
constexpr std::size_t linkLimit = 6;

void place(QWidget& widget, const QRectF& rect, double margin = 0) {
    widget.setGeometry(rect.adjusted(-margin, -margin, margin, margin).toAlignedRect());
}

}  // namespace

CardControls::CardControls(Pictures& pictures, const CardTexts& texts, ZNView& card, const Actions& actions)
    : _card(card) {
    const auto text = [&texts](std::string_view key) { return QString::fromStdString(texts.text(key)); };
    const auto connectClick = [](ZNButton* button, const std::function<void()>& action) {
        QObject::connect(button, &ZNButton::clicked, button, [action] { action(); });
    };
    // The order of creation is the order of the tab key.
    _editButton = new ZNButton(pictures, ZNButton::Shape::Text, &card);
    _editButton->setTexts(text("Edit_Card_Title"), {});
    connectClick(_editButton, actions.edit);
    _date = new ZNSpokenText(&card);
    _title = new ZNSpokenText(&card);
    _notes = new ZNSpokenText(&card);
    _date->setAccessibleDescription(text("Date_Label_Accessibility_Label"));
    _title->setAccessibleDescription(text("Title_Label_Accessibility_Label"));
    _notes->setAccessibleDescription(text("Notes_Label_Accessibility_Label"));
    for (std::size_t i = 0; i < linkLimit; ++i) {
        auto* link = new ZNButton(pictures, ZNButton::Shape::Text, &card);
        link->setAccessibilityRole(QAccessible::Link);
        link->hide();
        QObject::connect(link, &ZNButton::clicked, link,
                         [link] { QDesktopServices::openUrl(link->property("url").toUrl()); });
        _links.push_back(link);
    }

    const auto makeRound = [&](const char* icon, const QString& name, const std::function<void()>& action) {
        auto* button = new ZNButton(pictures, ZNButton::Shape::Round, &card);
        button->setIconNamed(QString::fromLatin1(icon), static_cast<int>(CardMeasures::footerIconSide));
        button->setGround(tokens::roundButtonGround);
        button->setFace(ZNButton::Face::Parents);
        button->setTexts(name, name);
        connectClick(button, action);
        return button;
    };
    _sharingButton = makeRound("card_share_icon", text("Sharing_Card_Title"), actions.share);
    _checklistButton = makeRound("checklistIcon", text("Checklist_Card_Tooltip"), actions.checklist);

    _footer = new ZNCardButtonFooter(pictures, &card);
    _footer->completeButton().setTexts(text("Complete_Button_Accessibility_Label"), text("Complete_Action"));
    _footer->snoozeButton().setTexts(text("Snooze_Button_Accessibility_Label"), text("Snooze_Action"));
    _footer->skipButton().setTexts(text("Skip_Button_Accessibility_Label"), text("Skip_Action"));
    connectClick(&_footer->completeButton(), actions.complete);
    connectClick(&_footer->snoozeButton(), actions.snooze);
    connectClick(&_footer->skipButton(), actions.skip);
    QObject::connect(&_footer->snoozeButton(), &ZNButton::rightClicked, _footer, actions.snoozeMenu);
}

void CardControls::follow(const CardFace& face) {
    place(*_editButton, face.textArea());
    place(*_date, face.dateRect());
    place(*_title, face.titleRect());
    place(*_notes, face.notesRect());
    _date->setAccessibilityLabel(face.content().dateText);
    _title->setAccessibilityLabel(face.content().title);
    _notes->setAccessibilityLabel(face.content().notes);
    _notes->setVisible(!face.content().notes.isEmpty());
    place(*_sharingButton, face.sharingButtonRect(), ZNButton::ringMargin);
    place(*_checklistButton, face.checklistButtonRect(), ZNButton::ringMargin);
    _sharingButton->setVisible(face.content().hasShare);
    _checklistButton->setVisible(face.content().hasChecklist);
    place(*_footer, face.footerRect());
    followLinks(face);
}

void CardControls::followLinks(const CardFace& face) {
    const std::vector<CardFace::Link> links = face.links();
    for (std::size_t i = 0; i < _links.size(); ++i) {
        ZNButton& button = *_links[i];
        button.setVisible(i < links.size());
        if (i >= links.size()) continue;
        button.setProperty("url", links[i].url);
        const QString address = links[i].url.toDisplayString();
        button.setTexts(address, address);
        place(button, links[i].rect, 3);
    }
}

void CardControls::setEnabled(bool enabled) {
    for (ZNButton* button : {&_footer->completeButton(), &_footer->snoozeButton(), &_footer->skipButton()}) {
        button->setEnabled(enabled);
    }
    for (ZNButton* link : _links)
        link->setEnabled(enabled);
}

void CardControls::setAccessible(bool accessible) {
    for (ZNButton* button : buttons())
        button->setAccessibilityElement(accessible);
    for (ZNView* text : {_date, _title, _notes})
        text->setAccessibilityElement(accessible);
    _checklistButton->setEnabled(accessible);
    _editButton->setEnabled(accessible);
}

void CardControls::setShowsStates(bool shows) {
    for (ZNButton* button : buttons())
        button->setShowsStates(shows);
}

std::vector<ZNButton*> CardControls::buttons() const {
    std::vector<ZNButton*> all{_editButton};
    all.insert(all.end(), _links.begin(), _links.end());
    all.insert(all.end(), {_sharingButton, _checklistButton, &_footer->completeButton(), &_footer->snoozeButton(),
                           &_footer->skipButton()});
    return all;
}

int CardControls::focusedControl() const {
    const auto all = buttons();
    const auto focused =
        std::find_if(all.begin(), all.end(), [](const ZNButton* button) { return button->hasFocus(); });
    return focused == all.end() ? -1 : static_cast<int>(focused - all.begin());
}

void CardControls::focusControl(int control) {
    const auto all = buttons();
    if (control < 0 || control >= static_cast<int>(all.size())) return;
    ZNButton* button = all[static_cast<std::size_t>(control)];
    // What this card does not have gives way to the card itself.
    (button->isVisibleTo(&_card) ? button : _editButton)->setFocus(Qt::TabFocusReason);
}

}  // namespace zun
