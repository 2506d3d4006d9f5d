#include "platform/loginitem/DesktopEntryFile.h"

#include <algorithm>
#include <utility>

namespace zun {
namespace {

constexpr std::string_view groupName = "[Desktop Entry]";
constexpr std::string_view blanks = " \t\r";
constexpr std::pair<char, char> escapes[] = {{'s', ' '}, {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'\\', '\\'}};

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isBlankOrComment(std::string_view line) {
    const auto text = trimmed(line);
    return text.empty() || text.front() == '#';
}

std::string_view keyOf(std::string_view line) {
    const auto equals = line.find('=');
    return equals == std::string_view::npos || isBlankOrComment(line) ? std::string_view()
                                                                      : trimmed(line.substr(0, equals));
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto* escape = text[i] == '\\' && i + 1 < text.size()
                                 ? std::find_if(std::begin(escapes), std::end(escapes),
                                                [&](const auto& each) { return each.first == text[i + 1]; })
                                 : std::end(escapes);
        if (escape == std::end(escapes)) {
            result += text[i];
        } else {
            result += escape->second;
            ++i;
        }
    }
    return result;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto* escape = std::find_if(std::begin(escapes), std::end(escapes),
                                          [&](const auto& each) { return each.second == c && c != ' '; });
        if (escape == std::end(escapes)) {
            result += c;
        } else {
            result += {'\\', escape->first};
        }
    }
    return result;
}

}  // namespace

DesktopEntryFile::DesktopEntryFile() : _lines{std::string(groupName)} {}

std::optional<DesktopEntryFile> DesktopEntryFile::parse(std::string_view text) {
    DesktopEntryFile file;
    file._lines.clear();
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        file._lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    const auto first = std::find_if_not(file._lines.begin(), file._lines.end(), isBlankOrComment);
    if (first == file._lines.end() || trimmed(*first) != groupName) return std::nullopt;
    file._group = static_cast<std::size_t>(first - file._lines.begin());
    return file;
}

bool DesktopEntryFile::isGroupLine(std::string_view key, std::size_t line) const {
    return line > _group && line < endOfGroup() && keyOf(_lines[line]) == key;
}

std::size_t DesktopEntryFile::endOfGroup() const {
    auto line = _group + 1;
    while (line < _lines.size() && !trimmed(_lines[line]).starts_with('['))
        ++line;
    return line;
}

std::optional<std::string> DesktopEntryFile::value(std::string_view key) const {
    for (auto line = _group + 1; line < endOfGroup(); ++line) {
        if (!isGroupLine(key, line)) continue;
        const std::string_view text = _lines[line];
        return unescaped(trimmed(text.substr(text.find('=') + 1)));
    }
    return std::nullopt;
}

void DesktopEntryFile::setValue(std::string_view key, std::string_view value) {
    const auto text = std::string(key) + '=' + escaped(value);
    for (auto line = _group + 1; line < endOfGroup(); ++line) {
        if (!isGroupLine(key, line)) continue;
        _lines[line] = text;
        return;
    }
    auto place = endOfGroup();
    // Blank lines that part this group from the next stay between them.
    while (place > _group + 1 && trimmed(_lines[place - 1]).empty())
        --place;
    _lines.insert(_lines.begin() + static_cast<std::ptrdiff_t>(place), text);
}

void DesktopEntryFile::removeValue(std::string_view key) {
    for (auto line = endOfGroup(); line-- > _group + 1;) {
        if (isGroupLine(key, line)) _lines.erase(_lines.begin() + static_cast<std::ptrdiff_t>(line));
    }
}

bool DesktopEntryFile::hasOnly(const std::vector<std::string_view>& keys) const {
    return std::all_of(_lines.begin(), _lines.end(), [&](const std::string& line) {
        const auto key = keyOf(line);
        return trimmed(line).empty() || trimmed(line) == groupName ||
               std::find(keys.begin(), keys.end(), key) != keys.end();
    });
}

std::string DesktopEntryFile::text() const {
    std::string result;
    for (const auto& line : _lines)
        result += line + '\n';
    return result;
}

std::string execValue(const std::vector<std::string>& command) {
    constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
    std::string result;
    for (const auto& word : command) {
        if (!result.empty()) result += ' ';
        const bool quoted = word.empty() || word.find_first_of(reserved) != std::string::npos;
        if (quoted) result += '"';
        for (const char c : word) {
            if (quoted && std::string_view("\"`$\\").find(c) != std::string_view::npos) result += '\\';
            if (c == '%') result += '%';  // a single one would begin a field code
            result += c;
        }
        if (quoted) result += '"';
    }
    return result;
}

}  // namespace zun
