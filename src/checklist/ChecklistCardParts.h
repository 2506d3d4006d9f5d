#pragma once

// The small widgets of the checklist card: text that is painted and heard, the button that completes, and the question
// before cards are made of items. Owned by their parent widgets. Main thread.

#include <QPushButton>

#include "cards/TextBlock.h"
#include "toolkit/PlainControls.h"
#include "toolkit/ZNBasePopoverViewController.h"

namespace zun {

class Pictures;

class ChecklistLabel final : public ZNView {
    Q_OBJECT
  public:
    ChecklistLabel(const TextStyle& style, QWidget* parent);

    // The second text is what is heard, where that differs from what is seen.
    void setText(const QString& text, const QString& spoken);
    void setTextStyle(const TextStyle& style);
    // Lays the text out for the width of this widget and gives its height; 0 without a text.
    int layOutWithWidth(int width);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    TextStyle _style;
    QString _text;
    TextBlock _block;
};

// Fades as a whole.
class ChecklistCompleteButton final : public QPushButton {
    Q_OBJECT
  public:
    ChecklistCompleteButton(Pictures& pictures, const QString& text, QWidget* parent);

    void setAlpha(double alpha);
    [[nodiscard]] double alpha() const { return _alpha; }
    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    Pictures& _pictures;
    double _alpha = 0;
    FocusRing _ring;
};

class CreateCardsQuestion final : public ZNBasePopoverViewController {
    Q_OBJECT
  public:
    struct Texts {
        QString question, complete, remove, cancel;
    };
    static constexpr int width = 260;

    explicit CreateCardsQuestion(const Texts& texts);
    [[nodiscard]] QWidget* initialFocus() override { return _complete; }
    [[nodiscard]] int height() const { return _height; }

  signals:
    void completeChosen();
    void removeChosen();
    void cancelChosen();

  private:
    ZNPushButton* _complete;
    int _height;
};

}  // namespace zun
