#pragma once

// Lays out the lines of a checklist: wrapped at the width of the page, with the stated room below each row and each
// item, emoji in colour, checked items struck through in grey. An item is laid out when it is seen or asked for; until
// then its height is estimated, and the rest is measured a slice at a time while the loop is idle. So a list of any
// length shows at once, and typing in it costs one item.
//
// Owned by its document. Main thread. The lines outlive it.

#include <QAbstractTextDocumentLayout>
#include <QColor>
#include <QTextOption>
#include <QTimer>
#include <vector>

class QTextLayout;

namespace zun {

class ChecklistLines;

class ChecklistLayout final : public QAbstractTextDocumentLayout {
    Q_OBJECT
  public:
    // Above the first line, so that text and check button stand on one axis.
    static constexpr int topMargin = 2;

    ChecklistLayout(QTextDocument& document, const ChecklistLines& lines);

    void setLineSpacing(double spacing) { _spacing = spacing; }
    // From which side lines begin, whatever their own direction.
    void setLeftToRight(bool isLeftToRight);

    // Where item `line` begins, and its height with the room below it. Items above may still be estimated.
    [[nodiscard]] double topOfLine(int line) const;
    [[nodiscard]] double heightOfLine(int line) const;
    // The item at this height, the nearest one where there is none.
    [[nodiscard]] int lineAt(double y) const;
    // Measures what lies between the two heights.
    void layOut(double top, double bottom);
    // True once no height is an estimate.
    [[nodiscard]] bool isMeasured() const { return _unmeasured == 0; }
    // The height of these lines wrapped at this width, without touching what is laid out.
    [[nodiscard]] double heightOfText(QStringView text, double width) const;
    // One row without the room below it.
    [[nodiscard]] double singleLineHeight() const;

    void draw(QPainter* painter, const PaintContext& context) override;
    [[nodiscard]] int hitTest(const QPointF& point, Qt::HitTestAccuracy accuracy) const override;
    [[nodiscard]] int pageCount() const override { return 1; }
    [[nodiscard]] QSizeF documentSize() const override;
    [[nodiscard]] QRectF frameBoundingRect(QTextFrame* frame) const override;
    [[nodiscard]] QRectF blockBoundingRect(const QTextBlock& block) const override;

  protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

  private:
    struct Line {
        float height = 0;
        bool isMeasured = false;
        bool isChecked = false;
    };

    void measureSlice();
    void layOutBlock(const QTextBlock& block, int line) const;
    double layOutText(QTextLayout& layout, const QString& text, double width) const;
    [[nodiscard]] float estimate(int characters) const;
    [[nodiscard]] Line estimated(const QTextBlock& block) const;
    void updateTops() const;
    void tellSize();

    const ChecklistLines& _checklist;
    double _spacing = 0;
    double _width = 0;
    QFont _font;
    int _fontSize = 13;
    QTextOption _option;
    // Measuring is a matter of looking, so it happens in const functions too.
    mutable std::vector<Line> _lines;
    mutable std::vector<double> _tops;  // of line i, valid below _validTops
    mutable std::size_t _validTops = 0;
    mutable std::size_t _unmeasured = 0;
    std::size_t _nextSlice = 0;
    QSizeF _toldSize;
    QTimer _idle;
};

}  // namespace zun
