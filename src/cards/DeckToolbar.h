#pragma once

// The logo over the deck with the number of its cards beside it. With an empty deck the number fades and the logo moves
// to the middle. While the cloud is synced, both slide up and uncover a line that says so. Paints all of it itself;
// lets the mouse through. Owned by its parent widget. Main thread.

#include "cards/CardContext.h"
#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNView.h"

namespace zun {

class DeckToolbar final : public ZNView {
    Q_OBJECT
  public:
    static constexpr int height = 90;
    static constexpr QSizeF logoSize{38, 13};
    // The smallest badge, and what a badge is wider than its number.
    static constexpr double smallestBadge = 20;
    static constexpr double badgePadding = 12;

    explicit DeckToolbar(const CardContext& context, QWidget* parent = nullptr);

    void setItemCount(std::size_t count);
    [[nodiscard]] std::size_t itemCount() const { return _count; }
    // The line under the logo, which is heard as well as seen while it is shown.
    void setSyncingText(const QString& text);
    void setShowsSyncing(bool shows);
    [[nodiscard]] const QString& syncingText() const { return _syncingText; }
    // As seen now, 0 to 1.
    [[nodiscard]] double syncingAlpha() const { return _syncingAlpha.shown(); }
    // The height on which logo and number are centred.
    void setCentreLine(double centreLine);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] double textAndPadding() const;
    [[nodiscard]] QRect syncingPlace() const;
    void paintBadge(QPainter& painter, QPointF logoCorner, double centreLine) const;

    CardContext _context;
    std::size_t _count = 0;
    double _centreLine = height / 2.0;
    AnimatedValue _logoOffset{AnimatedValue::Kind::Movement};
    AnimatedValue _badgeAlpha{AnimatedValue::Kind::Fade};
    QString _syncingText;
    ZNSpokenText* _spokenSyncing;
    AnimatedValue _syncingAlpha{AnimatedValue::Kind::Fade};
    AnimatedValue _lift{AnimatedValue::Kind::Movement};
    Observation _frames;
};

}  // namespace zun
