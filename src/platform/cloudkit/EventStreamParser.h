#pragma once

// Server-sent events out of bytes that arrive in any pieces. One thread.

#include <functional>
#include <string>
#include <string_view>

namespace zun {

class EventStreamParser {
  public:
    struct Event {
        std::string name;  // "message" unless it has one
        std::string data;
        std::string identifier;  // of this event or the last one that had one
    };

    explicit EventStreamParser(std::function<void(const Event&)> handler) : _handler(std::move(handler)) {}

    // False, and of no use after that, if a line or an event grows beyond the limit.
    [[nodiscard]] bool take(std::string_view bytes);

  private:
    void takeLine(std::string_view line);

    static constexpr std::size_t limit = 64 << 10;
    std::function<void(const Event&)> _handler;
    std::string _line;
    Event _event;
    bool _hasData = false;
    bool _endedWithReturn = false;
};

}  // namespace zun
