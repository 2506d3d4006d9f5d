#pragma once

// A number from 1 to 999: a field to type it into and a stepper beside it. What is typed is clipped at every key, as
// the number that the text begins with; a text without one counts as 1. The arrow keys up and down step. Owned by its
// parent widget. Main thread.

#include <QLineEdit>
#include <cstdint>

#include "toolkit/PlainControls.h"
#include "toolkit/ZNView.h"

class QAbstractButton;

namespace zun {

class IntervalInput final : public ZNView {
    Q_OBJECT
  public:
    struct Texts {
        QString field, more, less;  // names for assistive technology
    };
    IntervalInput(const Texts& texts, QWidget* parent);

    [[nodiscard]] std::uint64_t value() const { return _value; }
    // Tells of no change.
    void setValue(std::uint64_t value);
    [[nodiscard]] QLineEdit& stepperInput() const { return *_field; }
    [[nodiscard]] QAbstractButton& stepperUp() const { return *_up; }
    [[nodiscard]] QAbstractButton& stepperDown() const { return *_down; }
    [[nodiscard]] QSize sizeHint() const override;

  signals:
    // The user asked for another number.
    void didChange();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void step(int by);

    QLineEdit* _field;
    QAbstractButton* _up;
    QAbstractButton* _down;
    std::uint64_t _value = 1;
};

}  // namespace zun
