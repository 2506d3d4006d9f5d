#pragma once

// The editor's rows about the place: which one, whether coming or going counts, and whether each time. It shows what
// the model holds and hands what the user does to the model. Choosing a place is not offered: its button is disabled.
// Owned by the editor. Main thread.

#include "editor/EditorContext.h"
#include "editor/EditorModel.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

class QLabel;

namespace zun {

class ZNPopUpButton;
class ZNSwitch;

class LocationSection final : public ZNView {
    Q_OBJECT
  public:
    LocationSection(const EditorContext& context, EditorModel& model, QWidget* parent);

    void setLocationFields();
    void configureAccessibilityValues();

    [[nodiscard]] QLabel& selectedLocationLabel() const { return *_selectedLocationLabel; }
    [[nodiscard]] ZNButton& setLocationButton() const { return *_setLocationButton; }
    [[nodiscard]] ZNPopUpButton& activationButton() const { return *_activationButton; }
    [[nodiscard]] ZNSwitch& repeatLocationToggle() const { return *_repeatLocationToggle; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] QString text(std::string_view key) const;
    QLabel* makeLabel(const QString& words, QRgb color);

    EditorContext _with;
    EditorModel& _model;
    QLabel* _locationLabel;
    QLabel* _selectedLocationLabel;
    ZNButton* _setLocationButton;
    QLabel* _activationLabel;
    ZNPopUpButton* _activationButton;
    QLabel* _repeatsLabel;
    ZNSwitch* _repeatLocationToggle;
};

}  // namespace zun
