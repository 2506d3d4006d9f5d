#pragma once

// Where cards stand and how large they are: pure arithmetic in logical pixels, without a widget. Offsets are from the
// stack's centre, downwards and rightwards positive. Sums that are rounded are rounded up in single precision, as the
// stored layouts were made.

#include <QSizeF>
#include <cstdint>

namespace zun {

struct StackMetrics {
    double windowWidth = 0;  // 0 while there is no window yet
    QSizeF bounds;           // of the stack
    double superviewWidth = 0;
    std::uint64_t windowLayoutMode = 0;
    // The calendar stands left of the cards, not right.
    bool isMirrored = false;
};

enum class SkipLeft { No, Yes };

class StackGeometry {
  public:
    static constexpr int itemCount = 5;
    static constexpr int shownCount = 3;
    static constexpr double startingYOffset = 13;
    static constexpr double skippedAlpha = 0.8;
    static constexpr double completeOffset = -1000;
    static constexpr double snoozeOffset = 1000;
    static constexpr double skipDistance = 200;

    explicit StackGeometry(const StackMetrics& metrics) : _metrics(metrics) {}

    [[nodiscard]] QSizeF cardSize() const;
    // How far the cards stand from the centre to make room for the calendar: left of it, or right where it is mirrored.
    [[nodiscard]] double cardXOffset() const;
    [[nodiscard]] double verticalStep() const;
    [[nodiscard]] double widthStep() const;

    // At rest, by index in the stack.
    [[nodiscard]] double verticalOffset(int index) const { return startingYOffset + index * verticalStep(); }
    [[nodiscard]] double horizontalOffset() const;
    [[nodiscard]] double width(int index) const;
    [[nodiscard]] static double alpha(double index) { return 1 - 0.4 * index; }
    // The alpha of a card on its way to the depth above it.
    [[nodiscard]] static double alphaMovingUp(double index, double percentage);

    // Where a skipped card flies, given where it is now.
    [[nodiscard]] double skipTarget(SkipLeft skipLeft, double horizontalOffset) const;

  private:
    [[nodiscard]] bool isLarge() const { return _metrics.windowLayoutMode == 3; }
    [[nodiscard]] double restOffset() const { return _metrics.isMirrored ? cardXOffset() : -cardXOffset(); }
    StackMetrics _metrics;
};

// How far the zero state stands right of the centre; negative where it makes room for the calendar, as the cards do.
[[nodiscard]] double zeroStateXOffset(double windowWidth, std::uint64_t windowLayoutMode);

// The calendar beside the cards, for a window of this size. Heights below 1 become 1.
struct CalendarPlace {
    bool isHidden;
    double width;
    double height;
    double xOffset;  // of its centre, from the centre towards the end of the line

    static constexpr double narrowestWindow = 900;
    static constexpr int bottomMargin = 20;
    bool operator==(const CalendarPlace&) const = default;
};
[[nodiscard]] CalendarPlace calendarPlace(QSizeF windowSize, std::uint64_t windowLayoutMode);

// The measures inside a card that depend on the layout mode.
struct CardMeasures {
    double margin;
    double bannerSide;
    double dateTop;
    double footerHeight;
    bool operator==(const CardMeasures&) const = default;

    static constexpr double titleTop = 4;
    static constexpr double notesTop = 12;
    static constexpr double roundButtonsInset = 42;    // what texts give up at their trailing side
    static constexpr double checklistBelowShare = 44;  // how far the checklist button moves down to make room
    static constexpr double footerIconSide = 18;
    static constexpr double dividerHeightShare = 0.7;
    static constexpr double buttonWidthShare = 0.33;
    static constexpr double glowWidthShare = 0.8;
    static constexpr double glowHeight = 14;
    static constexpr double fadeHeight = 30;
    static constexpr double footerShadowHeight = 10;
};

[[nodiscard]] CardMeasures cardMeasures(std::uint64_t windowLayoutMode, double windowWidth);

enum class HasNotes { No, Yes };

// The most lines a title may take.
[[nodiscard]] int titleLineLimit(double cardHeight, HasNotes hasNotes);
[[nodiscard]] double titleHeight(double textHeight, double templateHeight);

struct TextHeights {
    double date;
    double title;
    double notes;  // 0 without notes
};
[[nodiscard]] bool notesFit(const TextHeights& heights, double cardHeight, double footerHeight);
// 0.1 where the text runs up into the picture, else 1.
[[nodiscard]] double bannerAlpha(const TextHeights& heights, double cardHeight, double footerHeight,
                                 double bannerHeight);

}  // namespace zun
