#include "editor/LocationSection.h"

#include <QLabel>
#include <algorithm>

#include "editor/PopoverControls.h"
#include "editor/ZNSwitch.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int rowHeight = 36;
constexpr int controlHeight = tokens::minimumHitSize + 2 * FocusRing::room;
constexpr int buttonSide = tokens::minimumHitSize + 2 * ZNButton::ringMargin;
constexpr int iconSide = 24;
constexpr int labelGap = 10;

}  // namespace

LocationSection::LocationSection(const EditorContext& context, EditorModel& model, QWidget* parent)
    : ZNView(parent), _with(context), _model(model) {
    setAccessibilityElement(false);
    _locationLabel = makeLabel(text("Card_Location_Label"), tokens::editorLabel);
    _selectedLocationLabel = makeLabel({}, tokens::editorValue);
    _setLocationButton = new ZNButton(_with.cards.pictures, ZNButton::Shape::Round, this);
    _setLocationButton->setIconNamed(QStringLiteral("moreIcon"), iconSide);
    _setLocationButton->setTexts(text("Location_selection_label"), text("Location_selection_label"));
    _setLocationButton->setEnabled(false);
    _activationLabel = makeLabel(text("Card_Activation_Type_Label"), tokens::editorLabel);
    _activationButton = new ZNPopUpButton(this);
    _activationButton->addItems({text("Location_activation_arriving"), text("Location_activation_leaving")});
    _repeatsLabel = makeLabel(text("Card_Repeat_Label"), tokens::editorLabel);
    _repeatLocationToggle = new ZNSwitch(_with.cards.animations, this);

    connect(_activationButton, &QComboBox::activated, this,
            [this](int row) { _model.onChangeLocationActivation(row); });
    connect(_repeatLocationToggle, &QAbstractButton::clicked, this,
            [this](bool isOn) { _model.onToggleLocationRepeat(isOn); });
}

QString LocationSection::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

QLabel* LocationSection::makeLabel(const QString& words, QRgb color) {
    auto* label = new QLabel(words, this);
    label->setFont(appFont(13));
    label->setTextFormat(Qt::PlainText);
    alignToLayout(*label);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(color));
    label->setPalette(colors);
    return label;
}

void LocationSection::configureAccessibilityValues() {
    _activationButton->setAccessibleName(_activationLabel->text());
    _repeatLocationToggle->setAccessibleName(_repeatsLabel->text());
}

void LocationSection::setLocationFields() {
    const QString place = QString::fromStdString(_model.locationText());
    _selectedLocationLabel->setToolTip(place);
    _selectedLocationLabel->setText(
        _selectedLocationLabel->fontMetrics().elidedText(place, Qt::ElideRight, _selectedLocationLabel->width()));
    _selectedLocationLabel->setAccessibleName(_locationLabel->text() + QStringLiteral(": ") + place);
    _repeatLocationToggle->setChecked(_model.repeatsAtLocation());
    _activationButton->setCurrentIndex(_model.locationActivationRow());
    setVisible(_model.activeReminderType() == EditorModel::ReminderType::Location);
}

void LocationSection::resizeEvent(QResizeEvent*) {
    const int left = sectionSideRoom;
    const int right = width() - sectionSideRoom;
    const int buttonLeft = right + (buttonSide - iconSide) / 2 - buttonSide;
    const int start =
        left + std::max(_locationLabel->sizeHint().width(), _activationLabel->sizeHint().width()) + labelGap;
    int top = 1;
    const auto place = [&](QWidget& child, int from, int childWidth, int height) {
        placeInParent(child, {from, top + (rowHeight - height) / 2, childWidth, height});
    };
    place(*_locationLabel, left, start - left, rowHeight);
    place(*_selectedLocationLabel, start, buttonLeft - start, rowHeight);
    place(*_setLocationButton, buttonLeft, buttonSide, buttonSide);
    top += rowHeight;
    place(*_activationLabel, left, start - left, rowHeight);
    place(*_activationButton, start - FocusRing::room, std::min(_activationButton->sizeHint().width(), right - start),
          controlHeight);
    top += rowHeight;
    const int switchWidth = _repeatLocationToggle->sizeHint().width();
    const int switchLeft = right - switchWidth + FocusRing::room;
    place(*_repeatsLabel, left, switchLeft - left, rowHeight);
    place(*_repeatLocationToggle, switchLeft, switchWidth, tokens::minimumHitSize);
    setLocationFields();
}

}  // namespace zun
