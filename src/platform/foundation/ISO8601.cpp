#include "platform/foundation/ISO8601.h"

#include <fmt/format.h>

#include "platform/foundation/CivilDate.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr int firstPlainYear = 1;
constexpr int lastPlainYear = 9999;

bool isPlainYear(std::int64_t year) {
    return year >= firstPlainYear && year <= lastPlainYear;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Takes pieces from the front of a text.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : _rest(text) {}

    [[nodiscard]] bool atEnd() const { return _rest.empty(); }

    bool take(char c) {
        if (!_rest.starts_with(c)) return false;
        _rest.remove_prefix(1);
        return true;
    }

    // Exactly that many digits.
    std::optional<int> takeNumber(std::size_t digits, int least, int most) {
        if (_rest.size() < digits) return std::nullopt;
        int value = 0;
        for (const char c : _rest.substr(0, digits)) {
            if (!isDigit(c)) return std::nullopt;
            value = value * 10 + (c - '0');
        }
        if (value < least || value > most) return std::nullopt;
        _rest.remove_prefix(digits);
        return value;
    }

    // The digits after a point; those below a microsecond are dropped.
    std::optional<microseconds> takeFraction() {
        if (_rest.empty() || !isDigit(_rest.front())) return std::nullopt;
        std::int64_t value = 0;
        std::int64_t unit = 1'000'000;
        for (; !_rest.empty() && isDigit(_rest.front()); _rest.remove_prefix(1)) {
            unit /= 10;
            value += (_rest.front() - '0') * unit;
        }
        return microseconds{value};
    }

    // Four digits, or a sign and six for the years that four cannot say.
    std::optional<int> takeYear() {
        const bool isNegative = take('-');
        if (!isNegative && !take('+')) return takeNumber(4, firstPlainYear, lastPlainYear);
        // The years that a date holds in full.
        constexpr int farthest = 290'000;
        const auto digits = takeNumber(6, 0, farthest);
        if (!digits) return std::nullopt;
        const int year = isNegative ? -*digits : *digits;
        return isPlainYear(year) ? std::nullopt : std::optional(year);
    }

    std::optional<LocalTime> takeDay() {
        const auto year = takeYear();
        if (!year || !take('-')) return std::nullopt;
        const auto month = takeNumber(2, 1, 12);
        if (!month || !take('-')) return std::nullopt;
        const auto day = takeNumber(2, 1, 31);
        if (!day || *day > daysInMonth(*year, *month)) return std::nullopt;
        return LocalTime{days{dayNumber({*year, *month, *day})}};
    }

    // "hh:mm"
    std::optional<minutes> takeHourAndMinute() {
        const auto hour = takeNumber(2, 0, 23);
        if (!hour || !take(':')) return std::nullopt;
        const auto minute = takeNumber(2, 0, 59);
        if (!minute) return std::nullopt;
        return hours{*hour} + minutes{*minute};
    }

    // "Z", "+hh:mm", and "+hhmm" and "+hh" as other programs print them
    std::optional<minutes> takeOffset() {
        if (take('Z')) return minutes::zero();
        const bool west = take('-');
        if (!west && !take('+')) return std::nullopt;
        const auto hour = takeNumber(2, 0, 23);
        if (!hour) return std::nullopt;
        std::optional<int> minute = 0;
        if (take(':') || !atEnd()) minute = takeNumber(2, 0, 59);
        if (!minute) return std::nullopt;
        const minutes offset = hours{*hour} + minutes{*minute};
        return west ? -offset : offset;
    }

  private:
    std::string_view _rest;
};

std::string dayAndTime(NSDate date) {
    const auto day = floor<days>(date);
    const auto civil = civilDate(day.time_since_epoch().count());
    const std::chrono::hh_mm_ss time{floor<seconds>(date) - day};
    const auto year = isPlainYear(civil.year) ? fmt::format("{:04}", civil.year) : fmt::format("{:+07}", civil.year);
    return fmt::format("{}-{:02}-{:02}T{:02}:{:02}:{:02}", year, civil.month, civil.day, time.hours().count(),
                       time.minutes().count(), time.seconds().count());
}

}  // namespace

OptionalDate dateFromISO8601(std::string_view text, const NSTimeZone& zone) {
    Scanner scanner(text);
    const auto day = scanner.takeDay();
    if (!day) return std::nullopt;
    if (scanner.atEnd()) return zone.instant(*day, NSTimeZone::SkippedTime::EndOfGap);

    if (!scanner.take('T')) return std::nullopt;
    const auto time = scanner.takeHourAndMinute();
    if (!time) return std::nullopt;
    auto wall = *day + *time;
    if (scanner.take(':')) {
        const auto second = scanner.takeNumber(2, 0, 59);
        if (!second) return std::nullopt;
        wall += seconds{*second};
        if (scanner.take('.')) {
            const auto fraction = scanner.takeFraction();
            if (!fraction) return std::nullopt;
            wall += *fraction;
        }
    }
    if (scanner.atEnd()) return zone.instant(wall);
    const auto offset = scanner.takeOffset();
    if (!offset || !scanner.atEnd()) return std::nullopt;
    return NSDate{wall.time_since_epoch() - *offset};
}

OptionalDate dateFromInternetFormat(std::string_view text) {
    constexpr std::size_t lengthUpToSeconds = std::string_view("2026-02-01T09:00:00").size();
    constexpr std::size_t lengthWithOffset = std::string_view("2026-02-01T09:00:00+01:00").size();
    // The shape leaves only two lengths; what is neither too short nor has a fraction is then read as above.
    if (text.size() != lengthUpToSeconds + 1 && text.size() != lengthWithOffset) return std::nullopt;
    if (!isDigit(text.front()) || text[lengthUpToSeconds] == '.') return std::nullopt;
    return dateFromISO8601(text, *NSTimeZone::utc());
}

std::string iso8601FromDate(NSDate date) {
    auto text = dayAndTime(date);
    if (const auto fraction = date - floor<seconds>(date); fraction != microseconds::zero()) {
        text += fmt::format(".{:06}", fraction.count());
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + 'Z';
}

std::string iso8601WithMillisecondsFromDate(NSDate date) {
    const auto fraction = floor<milliseconds>(date) - floor<seconds>(date);
    return fmt::format("{}.{:03}Z", dayAndTime(date), fraction.count());
}

}  // namespace zun
