#include "text/QuickEntry.h"

#include <unicode/utf8.h>

#include <algorithm>

#include "platform/foundation/NSCalendar.h"
#include "text/QuickEntryGrammar.h"
#include "text/QuickEntryPlacement.h"
#include "text/QuickEntryResolution.h"
#include "text/ZNReminderHelper.h"

namespace zun {
namespace {

// Of longer titles only this much at each end is looked at: it grows what a key in the editor costs.
constexpr std::size_t mostBytes = 2048;

bool isASCIIBlank(char c) {
    return c == ' ' || c == '\n' || c == '\t';
}

std::vector<QuickEntryStretch> stretchesOf(std::string_view title) {
    if (title.size() <= 2 * mostBytes) return {{quickEntryTokens(title, 0, title.size())}};
    // Cut at blanks, so that no half word looks like one.
    const auto* const firstCut =
        std::find_if(std::make_reverse_iterator(title.begin() + mostBytes), title.rend(), isASCIIBlank).base();
    const auto* const lastCut = std::find_if(title.end() - mostBytes, title.end(), isASCIIBlank);
    const auto firstEnd = static_cast<std::size_t>(firstCut - title.begin());
    const auto lastStart = static_cast<std::size_t>(lastCut - title.begin());
    return {{quickEntryTokens(title, 0, firstEnd), true, false},
            {quickEntryTokens(title, lastStart, title.size()), false, true}};
}

struct Found {
    QuickEntryPhrase phrase;
    QuickEntryDates dates;
    std::size_t begin;
    std::size_t end;

    [[nodiscard]] std::size_t length() const { return end - begin; }
};

// The one that more was written for; of equal ones the later, since that is where a date is usually put.
bool isBetter(const Found& found, const std::optional<Found>& best) {
    if (!best) return true;
    const bool overlaps = found.begin < best->end && best->begin < found.end;
    if (overlaps) return found.length() > best->length();
    if (found.phrase.confidence != best->phrase.confidence) return found.phrase.confidence > best->phrase.confidence;
    return found.begin > best->begin;
}

DayOrdinals ordinalsOf(int weekdays) {
    DayOrdinals ordinals;
    for (const int ordinal : {2, 3, 4, 5, 6, 7, 1}) {
        if (weekdays & 1 << ordinal) ordinals.push_back(ordinal);
    }
    return ordinals;
}

QuickEntry entryOf(const Found& found, std::string title) {
    QuickEntry entry;
    entry.title = std::move(title);
    entry.phraseStart = found.begin;
    entry.phraseLength = found.length();
    entry.start_date = found.dates.start;
    entry.end_date = found.dates.end;
    if (const auto& repeat = found.phrase.meaning.repeat) {
        entry.repeat_type = repeat->type;
        if (repeat->interval > 1 || repeat->weekdays) {
            entry.customRepeatInterval = static_cast<std::uint64_t>(repeat->interval);
        }
        if (repeat->weekdays) entry.customRepeatDayOrdinals = ordinalsOf(repeat->weekdays);
    }
    return entry;
}

class Search {
  public:
    Search(std::string_view title, const QuickEntryResolver& resolver, const QuickEntryRegion& region)
        : _title(title), _resolver(resolver), _region(region) {}

    void lookInto(const QuickEntryStretch& stretch, const QuickEntryWords& words) {
        for (std::size_t begin = 0; begin < stretch.tokens.size(); ++begin) {
            const auto phrase = quickEntryPhraseAt(stretch.tokens, begin, words, _region);
            if (!phrase || !isBelievable(*phrase, stretch, words)) continue;
            const auto first = stretch.tokens[phrase->begin].start;
            const auto last = stretch.tokens[phrase->end - 1].end();
            const auto dates = _resolver.dates(phrase->meaning);
            if (!dates) continue;
            const Found found{*phrase, *dates, first, last};
            if (isBetter(found, _best)) _best = found;
        }
    }

    [[nodiscard]] std::optional<QuickEntry> result() const {
        if (!_best) return std::nullopt;
        auto rest = titleWithout(_title, _best->begin, _best->end);
        if (!rest) return std::nullopt;
        return entryOf(*_best, *std::move(rest));
    }

  private:
    std::string_view _title;
    const QuickEntryResolver& _resolver;
    const QuickEntryRegion& _region;
    std::optional<Found> _best;
};

int hourOf(std::uint64_t hour) {
    return static_cast<int>(std::min<std::uint64_t>(hour, 23));
}

}  // namespace

std::optional<QuickEntry> QuickEntryReader::read(std::string_view title) const {
    const auto locale = _environment.locale();
    const auto& region = QuickEntryRegion::forLocale(locale.formats);
    const auto calendar = NSCalendar::current(_environment);
    const auto choices = _settings.choices();
    const QuickEntryResolver resolver(calendar, _environment.now(),
                                      {hourOf(choices.morningHour), hourOf(choices.eveningHour), region.twelveHours});
    const bool isGerman = _strings.language() == "de";
    const auto& first = isGerman ? QuickEntryWords::german() : QuickEntryWords::english();
    const auto& second = isGerman ? QuickEntryWords::english() : QuickEntryWords::german();

    Search search(title, resolver, region);
    for (const auto& stretch : stretchesOf(title)) {
        search.lookInto(stretch, first);
        search.lookInto(stretch, second);
    }
    return search.result();
}

void QuickEntryReader::apply(const QuickEntry& entry, ZNReminderObject& reminder) const {
    auto attributes = reminder.attributes();
    if (isLocationBased(attributes)) {
        attributes.locationLatitude = attributes.locationLongitude = 0;
        attributes.locationName.reset();
        attributes.locationActivation = attributes.locationActivationRadius = 0;
    }
    attributes.title = entry.title;
    attributes.start_date = attributes.due_date = entry.start_date;
    attributes.repeat_type = entry.repeat_type;
    attributes.customRepeatInterval = entry.customRepeatInterval;
    attributes.customRepeatDayOrdinals = entry.customRepeatDayOrdinals;
    attributes.end_date = entry.end_date;
    attributes.fire_date = ZNReminderObject(attributes).dateAdjustedForEarlyReminderType(entry.start_date);
    reminder.setAttributes(std::move(attributes));
}

}  // namespace zun
