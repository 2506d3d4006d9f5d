#pragma once

// A suggestion in a rounded frame below the title: what it offers, and the key that accepts it. A click accepts it too.
// The tab key passes it by, since its key works from the title. Owned by its parent widget. Main thread.

#include <QPushButton>

#include "platform/foundation/LocalizedStrings.h"

namespace zun {

class SuggestionChip final : public QPushButton {
    Q_OBJECT
  public:
    SuggestionChip(const LocalizedStrings& strings, QWidget* parent);

    // Shows this suggestion and tells assistive technology of it.
    void offer(const QString& suggestion);
    [[nodiscard]] const QString& suggestion() const { return _suggestion; }
    // The sentence that is read aloud.
    [[nodiscard]] QString spokenText() const { return accessibleName(); }
    [[nodiscard]] QSize sizeHint() const override;

    static constexpr int chipHeight = 32;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] static QString key();

    const LocalizedStrings& _strings;
    QString _suggestion;
};

}  // namespace zun
