#include "checklist/ChecklistLines.h"

#include <QStringList>
#include <algorithm>

#include "text/ChecklistText.h"

namespace zun {
namespace {

constexpr QChar lineFeed = u'\n';

// 0 for a text in one line, although that is a line too: the arithmetic of deletions is written for it.
qsizetype lineCountOf(QStringView text) {
    const qsizetype breaks = text.count(lineFeed);
    return breaks == 0 ? 0 : breaks + 1;
}

bool endsLineElsewhere(char16_t unit) {
    return unit == 0x0b || unit == 0x0c || unit == 0x85 || unit == 0x2028 || unit == 0x2029 || unit == 0xfdd0 ||
           unit == 0xfdd1;
}

// One item on one line, whatever another program has put into it.
QString displayed(const std::string& item) {
    QString line = ChecklistLines::withPlainLineEnds(QString::fromStdString(item));
    while (line.endsWith(lineFeed))
        line.chop(1);
    return line.replace(lineFeed, u' ');
}

QString sanitized(const std::string& text) {
    return QString::fromStdString(sanitizeStringForChecklistAndStripSyntax(text, StripSyntax::No));
}

}  // namespace

QString ChecklistLines::withPlainLineEnds(QString text) {
    const auto isPlain = [](QChar unit) {
        return unit != u'\r' && !endsLineElsewhere(unit.unicode()) && unit != QChar::Null;
    };
    if (std::all_of(text.cbegin(), text.cend(), isPlain)) return text;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (QChar& unit : text) {
        if (unit == u'\r' || endsLineElsewhere(unit.unicode())) unit = lineFeed;
        if (unit == QChar::Null) unit = u' ';
    }
    return text;
}

void ChecklistLines::reset() {
    _checks = {false};
}

void ChecklistLines::setChecklist(std::string_view checklist) {
    reset();
    _text.clear();
    bool isFirst = true;
    for (const ChecklistItem& item : checklistItems(checklist)) {
        if (isFirst) {
            _checks[0] = item.isDone;
        } else {
            _checks.append(item.isDone);
            _text += lineFeed;
        }
        _text += displayed(item.text);
        isFirst = false;
    }
}

std::string ChecklistLines::formattedChecklist() const {
    const std::string plain = _text.toStdString();
    std::string_view rest = trimmedOfLineEnds(plain);
    std::string checklist;
    if (rest.empty()) return checklist;
    checklist.reserve(rest.size() + 3 * static_cast<std::size_t>(_checks.size()));
    for (qsizetype line = 0; line < _checks.size(); ++line) {
        const auto lineEnd = rest.find('\n');
        const bool isLast = lineEnd == std::string_view::npos;
        if (const auto item = rest.substr(0, lineEnd); !item.empty()) {
            checklist += stringWithChecklistFormatting(item, ShouldUseMarkdownFormatting::No,
                                                       _checks[line] ? IsChecked::Yes : IsChecked::No,
                                                       isLast ? ShouldAppendLineBreak::No : ShouldAppendLineBreak::Yes);
        }
        if (isLast) break;
        rest.remove_prefix(lineEnd + 1);
    }
    return checklist;
}

void ChecklistLines::setChecked(qsizetype line, bool isChecked) {
    if (line >= 0 && line < _checks.size()) _checks[line] = isChecked;
}

void ChecklistLines::restore(const QString& text, const QList<bool>& checks) {
    _text = text;
    _checks = checks;
    matchChecksToLines(_checks.size(), {});
}

ChecklistLines::Outcome ChecklistLines::replace(Range range, const QString& replacement) {
    range.location = std::clamp<qsizetype>(range.location, 0, _text.size());
    range.length = std::clamp<qsizetype>(range.length, 0, _text.size() - range.location);
    if (replacement.size() >= 2 && replacement.contains(lineFeed)) return insertLines(range, replacement);

    Outcome outcome;
    if (range.length > 0) {
        const qsizetype checksBefore = _checks.size();
        const bool wasFirstChecked = _checks[0];
        removeRange(range);
        outcome = {Change::Allowed, _checks.size() != checksBefore || _checks[0] != wasFirstChecked, range.location};
    }
    if (replacement == lineFeed) {
        const Outcome inserted = insertReturn(range.location);
        if (inserted.change != Change::Refused) outcome = {Change::Allowed, true, inserted.cursor};
    } else if (!replacement.isEmpty()) {
        _text.insert(range.location, replacement);
        outcome.change = Change::Allowed;
        outcome.cursor = range.location + replacement.size();
    }
    return outcome;
}

void ChecklistLines::removeRange(Range range) {
    const QString gone = _text.mid(range.location, range.length);
    const QList<bool> checksBefore = _checks;
    const qsizetype line = QStringView(_text).first(range.location).count(lineFeed);
    if (gone == lineFeed) {
        if (line + 1 < _checks.size()) _checks.removeAt(line + 1);
    } else if (range.length == _text.size()) {
        reset();
    } else if (range.length >= 2 && gone.contains(lineFeed)) {
        removeChecksOfLines(range, gone);
    }
    _text.remove(range.location, range.length);
    matchChecksToLines(line + 1, checksBefore);
}

void ChecklistLines::removeChecksOfLines(const Range& range, const QString& gone) {
    const QStringView all(_text);
    qsizetype first = lineCountOf(all.first(range.location));
    if (gone.startsWith(lineFeed)) --first;
    qsizetype last = lineCountOf(all) - lineCountOf(all.sliced(range.location + range.length));
    first = std::max<qsizetype>(first, 1);
    last = std::max<qsizetype>(last, 1);
    if (first == last) ++last;
    const qsizetype end = std::min(last, _checks.size());
    if (first < end) _checks.remove(first, end - first);
}

// The arithmetic above takes one check too many from some selections that reach the end, and one too few from others.
// Evened out where the lines went, neither does a line lose its check nor a check its line.
void ChecklistLines::matchChecksToLines(qsizetype at, const QList<bool>& before) {
    const qsizetype lines = _text.count(lineFeed) + 1;
    const qsizetype from = std::clamp<qsizetype>(at, 1, std::min(lines, _checks.size()));
    if (_checks.size() > lines) _checks.remove(std::min(from, lines), _checks.size() - lines);
    while (_checks.size() < lines)
        _checks.insert(from, before.value(from));
}

ChecklistLines::Outcome ChecklistLines::insertReturn(qsizetype location) {
    if (_text.isEmpty()) return {};
    const bool isOneLine = !_text.contains(lineFeed);
    if (!isOneLine && (location == 0 || _text[location - 1] == lineFeed)) return {};
    const qsizetype line = QStringView(_text).first(location).count(lineFeed);
    _checks.insert(std::min(line + 1, _checks.size()), false);
    _text.insert(location, lineFeed);
    return {Change::Allowed, true, location + 1};
}

ChecklistLines::Outcome ChecklistLines::insertLines(Range range, const QString& lines) {
    const QString clean = sanitized(lines.toStdString());
    const qsizetype pastedLines = clean.count(lineFeed) + 1;
    qsizetype at = 0;
    if (range.length == _text.size()) {
        setChecklist(clean.toStdString());
    } else {
        QStringList present = sanitized(formattedChecklist()).split(lineFeed);
        const auto before = removeExraneousNewLinesAndWhiteSpace(_text.first(range.location).toStdString());
        if (!before.empty()) at = std::count(before.begin(), before.end(), '\n') + 1;
        at = std::min(at, present.size());
        present.insert(at, clean);
        setChecklist(present.join(lineFeed).toStdString());
    }
    // Behind the last line that was pasted.
    qsizetype cursor = 0;
    for (qsizetype line = 0; line < at + pastedLines && cursor >= 0; ++line)
        cursor = _text.indexOf(lineFeed, line == 0 ? 0 : cursor + 1);
    return {Change::Reloaded, true, cursor < 0 ? _text.size() : cursor};
}

qsizetype ChecklistLines::numberOfActiveItems() const {
    return _checks.count(false);
}

qsizetype ChecklistLines::numberOfInactiveItems() const {
    return _checks.count(true);
}

QStringList ChecklistLines::activeItems() const {
    QStringList items;
    const QStringList lines = _text.split(lineFeed);
    for (qsizetype line = 0; line < lines.size(); ++line) {
        if (!isChecked(line)) items.append(lines[line]);
    }
    return items;
}

void ChecklistLines::moveActiveItemsToTheTop() {
    QString open;
    QString checked;
    const QStringList lines = _text.split(lineFeed);
    for (qsizetype line = 0; line < lines.size(); ++line) {
        QString& group = isChecked(line) ? checked : open;
        group += (isChecked(line) ? QStringLiteral("[x]") : QStringLiteral("[ ]")) + lines[line] + lineFeed;
    }
    const QString all = open + checked;
    setChecklist(QStringView(all).chopped(1).toString().toStdString());
}

void ChecklistLines::removeCompletedItems() {
    QStringList open;
    for (const QString& line : activeItems())
        open.append(QStringLiteral("[ ]") + line);
    setChecklist(open.join(lineFeed).toStdString());
}

}  // namespace zun
