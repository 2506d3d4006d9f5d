#include "text/QuickEntryRegion.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <memory>

namespace zun {
namespace {

icu::UnicodeString patternOf(icu::DateFormat* format) {
    const std::unique_ptr<icu::DateFormat> owner(format);
    icu::UnicodeString pattern;
    if (const auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format)) simple->toPattern(pattern);
    return pattern;
}

QuickEntryRegion readRegion(const icu::Locale& locale) {
    const auto date = patternOf(icu::DateFormat::createDateInstance(icu::DateFormat::kShort, locale));
    const auto time = patternOf(icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, locale));
    return {date.indexOf(u'M') < date.indexOf(u'd'), date.indexOf(u'.') >= 0,
            time.indexOf(u'h') >= 0 || time.indexOf(u'K') >= 0};
}

}  // namespace

const QuickEntryRegion& QuickEntryRegion::forLocale(const std::string& localeIdentifier) {
    struct Known {
        std::string localeIdentifier;
        QuickEntryRegion region;
    };
    thread_local std::unique_ptr<Known> known;
    if (!known || known->localeIdentifier != localeIdentifier) {
        known = std::make_unique<Known>(
            Known{localeIdentifier, readRegion(icu::Locale::createCanonical(localeIdentifier.c_str()))});
    }
    return known->region;
}

}  // namespace zun
