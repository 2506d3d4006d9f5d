#include "checklist/ChecklistLayout.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

#include "checklist/ChecklistLines.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

// What may be measured at once: a few milliseconds' worth.
constexpr int promptCharacters = 20'000;
constexpr std::size_t promptLines = 500;
// A slice of idle measuring in milliseconds: well below a frame.
constexpr int sliceDuration = 6;
// Characters of an average width, of which an estimate takes a row to consist.
constexpr double averageCharacter = 0.55;
// Looking for a place to break a word takes the square of its length; such a word is broken anywhere.
constexpr int longestWord = 1000;

bool hasEndlessWord(const QString& text) {
    if (text.size() <= longestWord) return false;
    int length = 0;
    for (const QChar unit : text) {
        length = unit.isSpace() ? 0 : length + 1;
        if (length > longestWord) return true;
    }
    return false;
}

}  // namespace

ChecklistLayout::ChecklistLayout(QTextDocument& document, const ChecklistLines& lines)
    : QAbstractTextDocumentLayout(&document), _checklist(lines) {
    _option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setLeftToRight(true);
    _idle.setInterval(0);
    connect(&_idle, &QTimer::timeout, this, &ChecklistLayout::measureSlice);
}

void ChecklistLayout::setLeftToRight(bool isLeftToRight) {
    _option.setAlignment((isLeftToRight ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute);
    _option.setTextDirection(Qt::LayoutDirectionAuto);
    _width = 0;
    documentChanged(0, 0, document()->characterCount());
}

// ---- measuring

float ChecklistLayout::estimate(int characters) const {
    const double row = std::max(1.0, std::floor(_width / (averageCharacter * _fontSize)));
    const double rows = std::max(1.0, std::ceil(characters / row));
    return static_cast<float>(rows * (singleLineHeight() + _spacing) + _spacing);
}

ChecklistLayout::Line ChecklistLayout::estimated(const QTextBlock& block) const {
    return {estimate(block.length() - 1), false, false};
}

double ChecklistLayout::singleLineHeight() const {
    return std::ceil(QFontMetricsF(_font).height());
}

double ChecklistLayout::layOutText(QTextLayout& layout, const QString& text, double width) const {
    // Rows of one height: an emoji, or a script of another font, must not push its neighbours about.
    const double row = singleLineHeight();
    const double ascent = std::ceil(QFontMetricsF(_font).ascent());
    double y = 0;
    QTextOption option = _option;
    if (hasEndlessWord(text)) option.setWrapMode(QTextOption::WrapAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(1.0, width));
        line.setPosition({0, y + ascent - line.ascent()});
        y += row + _spacing;
    }
    layout.endLayout();
    return y + _spacing;
}

void ChecklistLayout::layOutBlock(const QTextBlock& block, int line) const {
    auto& entry = _lines[static_cast<std::size_t>(line)];
    const bool isChecked = _checklist.isChecked(line);
    if (entry.isMeasured && entry.isChecked == isChecked && block.layout()->lineCount() > 0) return;

    QTextLayout& layout = *block.layout();
    const int preeditStart = layout.preeditAreaPosition();
    const auto preeditLength = static_cast<int>(layout.preeditAreaText().size());
    QList<QTextLayout::FormatRange> formats = emojiFormats(block.text(), _fontSize);
    if (isChecked) {
        QTextLayout::FormatRange whole{0, block.length() - 1, {}};
        whole.format.setFontStrikeOut(true);
        whole.format.setForeground(QColor::fromRgba(tokens::checklistCheckedText));
        for (auto& range : formats)
            range.format.merge(whole.format);
        formats.prepend(whole);
    }
    if (preeditLength > 0) {
        // What is being composed is shown as the input method wants it, and lies in between the text's own characters.
        for (auto& range : formats)
            if (range.start >= preeditStart) range.start += preeditLength;
        for (const auto& range : layout.formats())
            if (range.start >= preeditStart && range.start + range.length <= preeditStart + preeditLength)
                formats.append(range);
    }
    layout.setFont(_font);
    layout.setFormats(formats);
    layout.setCacheEnabled(true);
    const auto height = static_cast<float>(layOutText(layout, block.text(), _width));
    if (!entry.isMeasured) --_unmeasured;
    if (entry.height != height) _validTops = std::min(_validTops, static_cast<std::size_t>(line) + 1);
    entry = {height, true, isChecked};
}

void ChecklistLayout::layOut(double top, double bottom) {
    if (_lines.empty()) return;
    int line = lineAt(top);
    for (QTextBlock block = document()->findBlockByNumber(line); block.isValid(); block = block.next(), ++line) {
        layOutBlock(block, line);
        if (topOfLine(line) + heightOfLine(line) > bottom) break;
    }
    tellSize();
}

void ChecklistLayout::measureSlice() {
    QElapsedTimer clock;
    clock.start();
    QTextBlock block = document()->findBlockByNumber(static_cast<int>(_nextSlice));
    while (block.isValid() && _unmeasured > 0 && clock.elapsed() < sliceDuration) {
        if (!_lines[_nextSlice].isMeasured) {
            layOutBlock(block, static_cast<int>(_nextSlice));
            // The height is all that is wanted of lines that nobody sees yet.
            if (_lines.size() > promptLines) block.layout()->clearLayout();
        }
        ++_nextSlice;
        block = block.next();
    }
    if (_unmeasured == 0) {
        _idle.stop();
    } else if (!block.isValid()) {
        _nextSlice = 0;
    }
    tellSize();
}

void ChecklistLayout::documentChanged(int from, int charsRemoved, int charsAdded) {
    const QTextDocument& text = *document();
    const double width = text.pageSize().width() > 0 ? text.pageSize().width() : _width;
    const bool isWhole = from == 0 && charsRemoved == 0 && charsAdded >= text.characterCount();
    const auto count = static_cast<std::size_t>(text.blockCount());
    const bool isSame = width == _width && text.defaultFont() == _font;
    if (isWhole && isSame && count == _lines.size()) return;

    std::size_t first = 0;
    std::size_t last = count - 1;
    if (isSame && !isWhole) {
        first = static_cast<std::size_t>(text.findBlock(from).blockNumber());
        const QTextBlock end = text.findBlock(std::min(from + charsAdded, text.characterCount() - 1));
        last = static_cast<std::size_t>(end.blockNumber());
    }
    _width = width;
    _font = text.defaultFont();
    _fontSize = QFontInfo(_font).pixelSize();
    const auto changed = static_cast<std::ptrdiff_t>(last - first + 1);
    const auto old = changed - (static_cast<std::ptrdiff_t>(count) - static_cast<std::ptrdiff_t>(_lines.size()));
    const auto begin = _lines.begin() + static_cast<std::ptrdiff_t>(std::min(first, _lines.size()));
    if (!isSame || isWhole || old < 0 || old > _lines.end() - begin) {
        first = 0;
        last = count - 1;
        _lines.assign(count, {});
    } else {
        _lines.insert(_lines.erase(begin, begin + old), static_cast<std::size_t>(changed), {});
    }
    _validTops = std::min(_validTops, first);

    QTextBlock block = text.findBlockByNumber(static_cast<int>(first));
    int characters = 0;
    for (std::size_t line = first; line <= last; ++line, block = block.next()) {
        _lines[line] = estimated(block);
        characters += block.length();
    }
    _unmeasured = static_cast<std::size_t>(
        std::count_if(_lines.begin(), _lines.end(), [](const Line& line) { return !line.isMeasured; }));
    if (characters <= promptCharacters && last - first < promptLines) {
        block = text.findBlockByNumber(static_cast<int>(first));
        for (std::size_t line = first; line <= last; ++line, block = block.next())
            layOutBlock(block, static_cast<int>(line));
    }
    if (_unmeasured > 0) {
        _nextSlice = 0;
        _idle.start();
    }
    tellSize();
    emit update();
}

void ChecklistLayout::tellSize() {
    const QSizeF size = documentSize();
    if (size == _toldSize) return;
    _toldSize = size;
    emit documentSizeChanged(size);
}

// ---- places

void ChecklistLayout::updateTops() const {
    if (_validTops > _lines.size()) _validTops = 0;
    _tops.resize(_lines.size() + 1);
    if (_validTops == 0) _tops[0] = topMargin;
    for (std::size_t line = std::max<std::size_t>(_validTops, 1); line <= _lines.size(); ++line)
        _tops[line] = _tops[line - 1] + static_cast<double>(_lines[line - 1].height);
    _validTops = _lines.size() + 1;
}

double ChecklistLayout::topOfLine(int line) const {
    updateTops();
    return _tops[std::min(static_cast<std::size_t>(std::max(line, 0)), _lines.size())];
}

double ChecklistLayout::heightOfLine(int line) const {
    const auto index = static_cast<std::size_t>(line);
    return index < _lines.size() ? static_cast<double>(_lines[index].height) : 0;
}

int ChecklistLayout::lineAt(double y) const {
    updateTops();
    const auto after = std::upper_bound(_tops.begin(), _tops.begin() + static_cast<std::ptrdiff_t>(_lines.size()), y);
    return std::max(0, static_cast<int>(after - _tops.begin()) - 1);
}

QSizeF ChecklistLayout::documentSize() const {
    updateTops();
    return {_width, std::ceil(_tops.back())};
}

QRectF ChecklistLayout::frameBoundingRect(QTextFrame*) const {
    return {QPointF(0, 0), documentSize()};
}

QRectF ChecklistLayout::blockBoundingRect(const QTextBlock& block) const {
    const int line = block.blockNumber();
    if (!block.isValid() || static_cast<std::size_t>(line) >= _lines.size()) return {};
    layOutBlock(block, line);
    return {0, topOfLine(line), _width, heightOfLine(line)};
}

double ChecklistLayout::heightOfText(QStringView text, double width) const {
    double height = topMargin;
    int characters = 0;
    for (const QStringView line : text.split(u'\n')) {
        characters += static_cast<int>(line.size());
        if (characters > promptCharacters) {
            height += static_cast<double>(estimate(static_cast<int>(line.size())));
            continue;
        }
        QTextLayout layout(line.isEmpty() ? QStringLiteral("A") : line.toString(), _font);
        layout.setFormats(emojiFormats(layout.text(), _fontSize));
        height += layOutText(layout, layout.text(), width);
    }
    return std::ceil(height);
}

// ---- on screen

void ChecklistLayout::draw(QPainter* painter, const PaintContext& context) {
    const QRectF clip = context.clip.isValid() ? context.clip : QRectF(QPointF(0, 0), documentSize());
    int line = lineAt(clip.top());
    for (QTextBlock block = document()->findBlockByNumber(line); block.isValid(); block = block.next(), ++line) {
        layOutBlock(block, line);
        const QPointF origin(0, topOfLine(line));
        if (origin.y() > clip.bottom()) break;
        QList<QTextLayout::FormatRange> selections;
        for (const auto& selection : context.selections) {
            const int start = std::max(selection.cursor.selectionStart() - block.position(), 0);
            const int end = std::min(selection.cursor.selectionEnd() - block.position(), block.length() - 1);
            const bool takesLineEnd = selection.cursor.selectionEnd() - block.position() >= block.length();
            if (start > end || (start == end && !takesLineEnd)) continue;
            QTextLayout::FormatRange range{start, end - start, selection.format};
            // An empty line shows that it is selected, too.
            if (start == end) range.length = 1;
            selections.append(range);
        }
        painter->setPen(context.palette.color(QPalette::Text));
        block.layout()->draw(painter, origin, selections, clip);
        const int cursor = context.cursorPosition;
        if (cursor >= block.position() && cursor < block.position() + block.length()) {
            block.layout()->drawCursor(painter, origin, cursor - block.position());
        } else if (cursor < -1 && !block.layout()->preeditAreaText().isEmpty()) {
            // The cursor stands inside what is being composed.
            block.layout()->drawCursor(painter, origin, block.layout()->preeditAreaPosition() - (cursor + 2));
        }
    }
}

int ChecklistLayout::hitTest(const QPointF& point, Qt::HitTestAccuracy accuracy) const {
    if (_lines.empty()) return -1;
    if (accuracy == Qt::ExactHit && !QRectF(QPointF(0, 0), documentSize()).contains(point)) return -1;
    const int number = lineAt(point.y());
    const QTextBlock block = document()->findBlockByNumber(number);
    layOutBlock(block, number);
    const QTextLayout& layout = *block.layout();
    const double y = point.y() - topOfLine(number);
    const double row = singleLineHeight() + _spacing;
    const int index = std::clamp(static_cast<int>(y / row), 0, layout.lineCount() - 1);
    const QTextLine line = layout.lineAt(index);
    int cursor = line.xToCursor(point.x());
    // Behind the last character of a row that wraps, the cursor would be drawn at the beginning of the next one.
    if (index + 1 < layout.lineCount() && cursor == line.textStart() + line.textLength()) --cursor;
    return block.position() + cursor;
}

}  // namespace zun
