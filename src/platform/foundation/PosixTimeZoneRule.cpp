#include "platform/foundation/PosixTimeZoneRule.h"

#include <cctype>
#include <utility>

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using Moment = PosixTimeZoneRule::Moment;

// Takes tokens from the front of a text. A take that fails leaves the scanner at an undefined place.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : _rest(text) {}

    [[nodiscard]] bool atEnd() const { return _rest.empty(); }
    [[nodiscard]] char peek() const { return _rest.empty() ? '\0' : _rest.front(); }

    bool take(char c) {
        if (peek() != c || _rest.empty()) return false;
        _rest.remove_prefix(1);
        return true;
    }

    bool takeName() {
        std::size_t length = 0;
        if (take('<')) {
            const auto end = _rest.find('>');
            if (end == std::string_view::npos) return false;
            for (const unsigned char c : _rest.substr(0, end)) {
                if (!std::isalnum(c) && c != '+' && c != '-') return false;
            }
            _rest.remove_prefix(end + 1);
            return end >= 3;
        }
        while (length < _rest.size() && std::isalpha(static_cast<unsigned char>(_rest[length])))
            ++length;
        _rest.remove_prefix(length);
        return length >= 3;
    }

    std::optional<int> takeNumber(int least, int most) {
        int value = 0;
        std::size_t length = 0;
        for (; length < _rest.size() && length < 4 && std::isdigit(static_cast<unsigned char>(_rest[length]));
             ++length) {
            value = value * 10 + (_rest[length] - '0');
        }
        if (length == 0 || value < least || value > most) return std::nullopt;
        _rest.remove_prefix(length);
        return value;
    }

    // "[+-]hh[:mm[:ss]]"
    std::optional<seconds> takeTime(int mostHours) {
        const bool negative = take('-');
        if (!negative) take('+');
        const auto h = takeNumber(0, mostHours);
        if (!h) return std::nullopt;
        seconds time = hours{*h};
        if (take(':')) {
            const auto m = takeNumber(0, 59);
            if (!m) return std::nullopt;
            time += minutes{*m};
            if (take(':')) {
                const auto s = takeNumber(0, 59);
                if (!s) return std::nullopt;
                time += seconds{*s};
            }
        }
        return negative ? -time : time;
    }

    std::optional<Moment> takeMoment() {
        Moment moment;
        if (take('M')) {
            const auto month = takeNumber(1, 12);
            if (!month || !take('.')) return std::nullopt;
            const auto week = takeNumber(1, 5);
            if (!week || !take('.')) return std::nullopt;
            const auto weekday = takeNumber(0, 6);
            if (!weekday) return std::nullopt;
            moment.month = *month;
            moment.week = *week;
            moment.weekday = *weekday;
        } else {
            const bool julian = take('J');
            moment.kind = julian ? Moment::Kind::JulianDayWithoutLeapDay : Moment::Kind::DayOfYear;
            const auto day = takeNumber(julian ? 1 : 0, 365);
            if (!day) return std::nullopt;
            moment.day = *day;
        }
        if (take('/')) {
            const auto time = takeTime(167);
            if (!time) return std::nullopt;
            moment.time = *time;
        }
        return moment;
    }

  private:
    std::string_view _rest;
};

}  // namespace

std::chrono::sys_seconds Moment::inYear(int year) const {
    using namespace std::chrono;
    const auto newYear = sys_days{std::chrono::year{year} / 1 / 1};
    sys_days date;
    switch (kind) {
        case Kind::JulianDayWithoutLeapDay:
            date = newYear + days{day - 1 + (std::chrono::year{year}.is_leap() && day >= 60 ? 1 : 0)};
            break;
        case Kind::DayOfYear:
            date = newYear + days{day};
            break;
        case Kind::WeekdayOfMonth: {
            const auto inMonth = std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)};
            const std::chrono::weekday wanted{static_cast<unsigned>(weekday)};
            date =
                week == 5 ? sys_days{inMonth / wanted[last]} : sys_days{inMonth / wanted[static_cast<unsigned>(week)]};
            break;
        }
    }
    return date + time;
}

std::optional<PosixTimeZoneRule> PosixTimeZoneRule::parse(std::string_view text) {
    Scanner scanner(text);
    PosixTimeZoneRule rule;
    if (!scanner.takeName()) return std::nullopt;
    // The sign of these strings is west-positive.
    const auto standard = scanner.takeTime(24);
    if (!standard) return std::nullopt;
    rule.standardOffset = -*standard;
    if (scanner.atEnd()) return rule;

    if (!scanner.takeName()) return std::nullopt;
    DaylightSaving saving;
    saving.offset = rule.standardOffset + hours{1};
    if (!scanner.atEnd() && scanner.peek() != ',') {
        const auto offset = scanner.takeTime(24);
        if (!offset) return std::nullopt;
        saving.offset = -*offset;
    }
    if (scanner.atEnd()) {
        saving.begins = {.month = 3, .week = 2, .weekday = 0};
        saving.ends = {.month = 11, .week = 1, .weekday = 0};
    } else {
        if (!scanner.take(',')) return std::nullopt;
        const auto begins = scanner.takeMoment();
        if (!begins || !scanner.take(',')) return std::nullopt;
        const auto ends = scanner.takeMoment();
        if (!ends || !scanner.atEnd()) return std::nullopt;
        saving.begins = *begins;
        saving.ends = *ends;
    }
    rule.daylightSaving = saving;
    return rule;
}

std::array<PosixTimeZoneRule::Change, 2> PosixTimeZoneRule::changesInYear(int year) const {
    const auto& saving = daylightSaving.value();
    std::array<Change, 2> changes{Change{saving.begins.inYear(year) - standardOffset, saving.offset},
                                  Change{saving.ends.inYear(year) - saving.offset, standardOffset}};
    if (changes[1].at < changes[0].at) std::swap(changes[0], changes[1]);
    return changes;
}

}  // namespace zun
