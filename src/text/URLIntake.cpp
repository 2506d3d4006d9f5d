#include "text/URLIntake.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

constexpr std::string_view schemeAndSlashes = "zun.create://";
constexpr std::string_view replacementCharacter = "\uFFFD";
constexpr std::int64_t longestInterval = 999;
constexpr std::int64_t defaultRadius = 300;

constexpr URLIntakeError noURLError{.localizedFailureReason = "There was an error creating a URL from the given string",
                                    .localizedRecoverySuggestion = "Please make sure your URL is valid"};
constexpr URLIntakeError noTitleError{
    .localizedFailureReason = "There was an error parsing the URL",
    .localizedRecoverySuggestion = "Please check your URL parameter names and syntax"};

// Everything about letters and digits here is ASCII, whatever the locale of the process.
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
int hexValue(char c) {
    return isDigit(c) ? c - '0' : (lower(c) >= 'a' && lower(c) <= 'f' ? lower(c) - 'a' + 10 : -1);
}

bool isPercentEscape(std::string_view text, std::size_t at) {
    return at + 2 < text.size() && text[at] == '%' && hexValue(text[at + 1]) >= 0 && hexValue(text[at + 2]) >= 0;
}

bool isURL(std::string_view text) {
    if (text.size() > maximumURLSize || text.size() < schemeAndSlashes.size()) return false;
    const auto scheme = text.substr(0, schemeAndSlashes.size());
    if (!std::equal(scheme.begin(), scheme.end(), schemeAndSlashes.begin(),
                    [](char a, char b) { return lower(a) == b; })) {
        return false;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte <= ' ' || byte == 0x7F) return false;
        if (byte == '%' && !isPercentEscape(text, at)) return false;
    }
    return true;
}

std::string_view hostAndRest(std::string_view url) {
    return url.substr(std::min(url.size(), schemeAndSlashes.size()));
}

std::string_view hostOf(std::string_view url) {
    const auto rest = hostAndRest(url);
    return rest.substr(0, rest.find_first_of("/?#"));
}

// With its "?", or empty.
std::string_view queryOf(std::string_view url) {
    auto rest = hostAndRest(url);
    rest = rest.substr(0, rest.find('#'));
    return rest.substr(std::min(rest.size(), rest.find('?')));
}

std::string validUTF8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    const auto size = static_cast<int64_t>(bytes.size());
    for (int64_t at = 0; at < size;) {
        const auto begin = at;
        UChar32 character = 0;
        U8_NEXT(data, at, size, character);
        text += character > 0 ? bytes.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(at - begin))
                              : replacementCharacter;
    }
    return text;
}

std::string withoutPercentEncoding(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isPercentEscape(text, at)) {
            bytes += static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2]));
            at += 2;
        } else {
            bytes += text[at];
        }
    }
    return validUTF8(bytes);
}

std::string_view afterLeadingBlanks(std::string_view text) {
    return text.substr(std::min(text.size(), text.find_first_not_of(" \t\n\v\f\r")));
}

// Saturating, and never below 0.
std::uint64_t unsignedValue(std::string_view text, std::int64_t most = std::numeric_limits<std::int64_t>::max()) {
    text = afterLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    std::int64_t value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + std::min(text.size(), text.find_first_of("-+")), value);
    if (error == std::errc::result_out_of_range) value = std::numeric_limits<std::int64_t>::max();
    return isNegative ? 0 : static_cast<std::uint64_t>(std::min(value, most));
}

std::optional<double> coordinate(const std::optional<std::string>& text, double bound) {
    if (!text) return std::nullopt;
    auto number = afterLeadingBlanks(*text);
    if (number.starts_with('+')) number.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || !std::isfinite(value) || std::abs(value) > bound) return std::nullopt;
    return value;
}

// The parameters of one URL, each read as its kind.
class Parameters {
  public:
    explicit Parameters(std::string_view url) : _url(url) {}

    [[nodiscard]] std::optional<std::string> text(std::string_view name) const {
        return stringForQueryParam(name, _url);
    }
    [[nodiscard]] OptionalDate date(std::string_view name) const {
        return dateFromInternetFormat(text(name).value_or(""));
    }
    [[nodiscard]] std::uint64_t integer(std::string_view name, std::int64_t whenAbsent = 0) const {
        const auto value = text(name);
        return value ? unsignedValue(*value) : static_cast<std::uint64_t>(whenAbsent);
    }
    [[nodiscard]] std::uint64_t interval(std::string_view name) const {
        return unsignedValue(text(name).value_or(""), longestInterval);
    }
    // 0 for a value that the attribute does not know.
    [[nodiscard]] std::uint64_t choice(std::string_view name, std::uint64_t last) const {
        const auto value = integer(name);
        return value <= last ? value : 0;
    }

  private:
    std::string_view _url;
};

ReminderAttributes attributesFrom(std::string title, const Parameters& parameters) {
    constexpr std::uint64_t lastEarlyReminderType = 4;
    ReminderAttributes attributes;
    attributes.title = std::move(title);
    attributes.notes = parameters.text("n");
    attributes.checklist = parameters.text("c");
    attributes.start_date = attributes.due_date = attributes.fire_date = parameters.date("d");
    attributes.end_date = parameters.date("ed");
    attributes.shouldSuppressNotifications = parameters.integer("a") == 0;
    attributes.naggingNotifications = parameters.integer("nag") != 0;
    attributes.repeat_type = parameters.choice("r", RepeatType::atLocation);
    attributes.customRepeatInterval = parameters.interval("rint");
    attributes.customRepeatDayOrdinals = dayOrdinalsFromString(parameters.text("ord").value_or(""));
    if (attributes.customRepeatDayOrdinals) attributes.repeat_type = RepeatType::weekly;
    // The fire date stays with the due date: an early reminder takes effect from the next occurrence on.
    attributes.earlyReminderType = parameters.choice("eat", lastEarlyReminderType);
    attributes.earlyReminderInterval = parameters.interval("eaint");
    return attributes;
}

// A place needs its name and both coordinates; with fewer, none of them counts.
void placeReminder(ZNReminderObject& reminder, const Parameters& parameters) {
    const auto name = parameters.text("loc");
    const auto latitude = coordinate(parameters.text("lat"), 90);
    const auto longitude = coordinate(parameters.text("long"), 180);
    if (!name || !latitude || !longitude) return;
    reminder.reset();
    reminder.setLocationName(name);
    reminder.setLocationLatitude(*latitude);
    reminder.setLocationLongitude(*longitude);
    reminder.setLocationActivation(parameters.integer("lact"));
    reminder.setLocationActivationRadius(parameters.integer("lrad", defaultRadius));
}

}  // namespace

void reminderFromURL(std::string_view url, const URLIntakeBlock& withCompletion) {
    if (!isURL(url)) {
        withCompletion(false, nullptr, &noURLError);
        url = {};
    }
    auto title = withoutPercentEncoding(hostOf(url));
    if (title.empty()) {
        withCompletion(false, nullptr, &noTitleError);
        return;
    }
    const Parameters parameters(url);
    const auto reminder = std::make_shared<ZNReminderObject>(attributesFrom(std::move(title), parameters));
    placeReminder(*reminder, parameters);
    // The name promises the opposite, but only 0 is silent.
    withCompletion(parameters.integer("silent", 1) != 0, reminder, nullptr);
}

std::optional<std::string> stringForQueryParam(std::string_view name, std::string_view withURL) {
    const auto search = queryOf(withURL);
    auto form = "?" + std::string(name) + "=";
    auto found = search.rfind(form);
    if (found == std::string_view::npos) {
        form.front() = '&';
        found = search.rfind(form);
    }
    if (found == std::string_view::npos) return std::nullopt;

    const auto piece = search.substr(found + form.size());
    auto value = withoutPercentEncoding(piece.substr(0, piece.find('&')));
    if (name == "c") boost::replace_all(value, "\\n", "\n");
    if (value.empty()) return std::nullopt;
    return value;
}

std::optional<DayOrdinals> dayOrdinalsFromString(std::string_view string) {
    constexpr std::uint64_t daysOfWeek = 7;
    DayOrdinals ordinals;
    while (!string.empty()) {
        const auto comma = string.find(',');
        const auto ordinal = unsignedValue(string.substr(0, comma));
        const auto day = static_cast<int>(std::min(ordinal, daysOfWeek + 1));
        if (ordinal >= 1 && ordinal <= daysOfWeek &&
            std::find(ordinals.begin(), ordinals.end(), day) == ordinals.end()) {
            ordinals.push_back(day);
        }
        string = comma == std::string_view::npos ? std::string_view() : string.substr(comma + 1);
    }
    if (ordinals.empty()) return std::nullopt;
    return ordinals;
}

std::string urlIntakeLogLine(const URLIntakeError* error) {
    std::string line = "Zun was unable to create a reminder using the URL scheme zun.create";
    if (error) line.append(": ").append(error->localizedFailureReason);
    return line;
}

}  // namespace zun
