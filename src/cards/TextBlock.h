#pragma once

// A paragraph of plain text laid out for one width: lines of a fixed height, emoji in colour, direction by its own
// first strong character, a last line that ends in an ellipsis where lines are limited, and links. Control characters
// become spaces. A plain value shared by copying; painting does not lay out again.

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

class QPainter;
class QTextLayout;

namespace zun {

// Text that is safe to lay out: cut to a length without splitting a character, without control characters.
[[nodiscard]] QString displayText(std::string_view utf8, qsizetype limit);

struct TextStyle {
    QFont font;
    QColor color;
    double lineHeight = 1.2;  // of the font's size
    double kerning = 0;
    int lineLimit = 0;       // 0 for none
    double heightLimit = 0;  // 0 for none; lines that begin below it are not laid out
    bool findsLinks = false;
    QColor linkColor;
    std::optional<Qt::AlignmentFlag> side;  // where lines begin; by the text's own direction if absent
};

class TextBlock {
  public:
    TextBlock() = default;
    TextBlock(const QString& text, const TextStyle& style, double width);

    // Rounded up; 0 for an empty text.
    [[nodiscard]] double height() const { return _height; }
    // Whether text was left out at the end.
    [[nodiscard]] bool isCut() const { return _isCut; }
    [[nodiscard]] bool isRightToLeft() const;

    struct Link {
        QUrl url;
        QRectF rect;  // of its first line, relative to the block
    };
    [[nodiscard]] const std::vector<Link>& links() const { return _links; }

    void paint(QPainter& painter, QPointF topLeft) const;

  private:
    std::shared_ptr<const TextStyle> _style;
    std::vector<std::shared_ptr<QTextLayout>> _layouts;  // one a paragraph
    std::vector<Link> _links;
    double _height = 0;
    bool _isCut = false;
};

// The height of that many lines in this style.
[[nodiscard]] double heightOfLines(const TextStyle& style, int lines);

}  // namespace zun
