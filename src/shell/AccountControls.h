#pragma once

// What the pages of the account window are made of besides the plain controls: a field to type into, a notice, and a
// column of words and controls that scrolls where it has no room. Owned by their parent widget. Main thread.

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <vector>

#include "toolkit/PlainControls.h"

class QVBoxLayout;

namespace zun {

class AccountField final : public QLineEdit {
    Q_OBJECT
  public:
    enum class Shows { Text, Dots };

    AccountField(Shows shows, QWidget* parent);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    FocusRing _ring;
};

// What came of something, or what is under way. Told to assistive technology when it changes.
class AccountNotice final : public QLabel {
    Q_OBJECT
  public:
    enum class Tone { Progress, Good, Bad };

    explicit AccountNotice(QWidget* parent);
    // Without a text it takes no room.
    void show(Tone tone, const QString& text);
    [[nodiscard]] Tone tone() const { return _tone; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Tone _tone = Tone::Good;
};

class AccountColumn : public QScrollArea {
    Q_OBJECT
  public:
    static constexpr int margin = 28;

    explicit AccountColumn(QWidget* parent);

    QLabel* addTitle(const QString& text);
    QLabel* addText(const QString& text);
    // A label with its field under it.
    AccountField* addField(const char* name, const QString& label, AccountField::Shows shows);
    // A label with words under it, which can be selected and copied.
    QLabel* addFact(const char* name, const QString& label);
    AccountNotice* addNotice();
    // In a row that ends at the trailing edge; the last is the default one.
    std::vector<ZNPushButton*> addButtons(const std::vector<std::pair<const char*, QString>>& namesAndTexts);
    void addSpace(int height);
    void addWidget(QWidget* widget);
    [[nodiscard]] QWidget& content() const { return *widget(); }
    [[nodiscard]] QVBoxLayout& column() const { return *_column; }

  private:
    QVBoxLayout* _column;
};

// The text with places to break in words that are longer than a line may be. For what other people have written.
[[nodiscard]] QString breakable(const QString& text);
[[nodiscard]] QLabel* makeAccountLabel(const QString& text, int size, QRgb color, QWidget* parent);

}  // namespace zun
