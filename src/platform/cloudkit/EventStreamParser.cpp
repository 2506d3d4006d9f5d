#include "platform/cloudkit/EventStreamParser.h"

#include <utility>

namespace zun {

bool EventStreamParser::take(std::string_view bytes) {
    for (const char byte : bytes) {
        // A line ends with a return, a line feed, or both.
        const bool isSecondOfPair = std::exchange(_endedWithReturn, byte == '\r') && byte == '\n';
        if (isSecondOfPair) continue;
        if (byte == '\r' || byte == '\n') {
            takeLine(_line);
            _line.clear();
        } else {
            _line += byte;
        }
        if (_line.size() + _event.data.size() > limit) return false;
    }
    return true;
}

void EventStreamParser::takeLine(std::string_view line) {
    if (line.empty()) {
        if (_hasData) {
            _event.data.pop_back();
            if (_event.name.empty()) _event.name = "message";
            _handler(_event);
        }
        _event.name.clear();
        _event.data.clear();
        _hasData = false;
        return;
    }
    const auto colon = line.find(':');
    const auto field = line.substr(0, colon);
    auto value = colon == std::string_view::npos ? std::string_view() : line.substr(colon + 1);
    if (value.starts_with(' ')) value.remove_prefix(1);
    if (field == "event") {
        _event.name = value;
    } else if (field == "data") {
        _event.data.append(value) += '\n';
        _hasData = true;
    } else if (field == "id") {
        _event.identifier = value;
    }
}

}  // namespace zun
