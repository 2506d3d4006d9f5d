#include "platform/foundation/LocalizedStrings.h"

#include <unicode/udata.h>
#include <unicode/uenum.h>
#include <unicode/uloc.h>
#include <unicode/unistr.h>
#include <unicode/ures.h>

#include <algorithm>
#include <mutex>
#include <optional>

extern "C" const char zun_strings_package[];

namespace zun {
namespace {

constexpr const char* packageName = "zun";
constexpr std::string_view fallbackLanguage = "en";

struct BundleCloser {
    void operator()(UResourceBundle* bundle) const { ures_close(bundle); }
};
using Bundle = std::unique_ptr<UResourceBundle, BundleCloser>;

void registerPackage() {
    static std::once_flag once;
    std::call_once(once, [] {
        UErrorCode status = U_ZERO_ERROR;
        udata_setAppData(packageName, zun_strings_package, &status);
    });
}

// The plain open would go through the process's own locale before it gives up.
Bundle openLanguage(std::string language) {
    registerPackage();
    std::replace(language.begin(), language.end(), '-', '_');
    UErrorCode status = U_ZERO_ERROR;
    Bundle bundle(ures_openDirect(packageName, language.c_str(), &status));
    return U_SUCCESS(status) ? std::move(bundle) : nullptr;
}

Bundle openTable(const UResourceBundle* bundle, std::string_view table) {
    if (!bundle) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    Bundle found(ures_getByKey(bundle, std::string(table).c_str(), nullptr, &status));
    return U_SUCCESS(status) ? std::move(found) : nullptr;
}

std::optional<std::string> find(const UResourceBundle* bundle, const std::string& key) {
    if (!bundle) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    const UChar* text = ures_getStringByKey(bundle, key.c_str(), &length, &status);
    if (U_FAILURE(status)) return std::nullopt;
    std::string result;
    icu::UnicodeString(false, text, length).toUTF8String(result);
    return result;
}

std::vector<std::string> textKeys(UResourceBundle* bundle) {
    std::vector<std::string> keys;
    if (!bundle) return keys;
    UErrorCode status = U_ZERO_ERROR;
    ures_resetIterator(bundle);
    Bundle entry;
    while (ures_hasNext(bundle)) {
        entry.reset(ures_getNextResource(bundle, entry.release(), &status));
        if (U_FAILURE(status)) break;
        if (ures_getType(entry.get()) == URES_STRING) keys.emplace_back(ures_getKey(entry.get()));
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

}  // namespace

struct LocalizedStrings::Bundles {
    Bundle language;
    Bundle english;  // null where the language is English
};

LocalizedStrings::LocalizedStrings(const std::vector<std::string>& preferredLanguages)
    : _language(fallbackLanguage), _bundles(std::make_unique<Bundles>()) {
    const auto available = availableLanguages();
    const auto serve = [&](std::string wanted) {
        for (;;) {
            if (std::find(available.begin(), available.end(), wanted) != available.end()) {
                _language = wanted;
                return true;
            }
            const auto lastPart = wanted.rfind('-');
            if (lastPart == std::string::npos) return false;
            wanted.resize(lastPart);
        }
    };
    for (const auto& wanted : preferredLanguages) {
        if (serve(wanted)) break;
    }
    _bundles->language = openLanguage(_language);
    if (_language != fallbackLanguage) _bundles->english = openLanguage(std::string(fallbackLanguage));
}

LocalizedStrings::~LocalizedStrings() = default;

std::string LocalizedStrings::string(std::string_view key) const {
    std::string name(key);
    if (auto text = find(_bundles->language.get(), name)) return *std::move(text);
    if (auto text = find(_bundles->english.get(), name)) return *std::move(text);
    return name;
}

std::string LocalizedStrings::string(std::string_view key, std::string_view table) const {
    std::string name(key);
    for (const auto* bundle : {&_bundles->language, &_bundles->english}) {
        if (auto text = find(openTable(bundle->get(), table).get(), name)) return *std::move(text);
    }
    return name;
}

bool LocalizedStrings::isRightToLeft() const {
    return uloc_isRightToLeft(_language.c_str());
}

std::vector<std::string> LocalizedStrings::availableLanguages() {
    registerPackage();
    UErrorCode status = U_ZERO_ERROR;
    std::vector<std::string> languages;
    UEnumeration* names = ures_openAvailableLocales(packageName, &status);
    while (const char* name = uenum_next(names, nullptr, &status)) {
        languages.emplace_back(name);
        std::replace(languages.back().begin(), languages.back().end(), '_', '-');
    }
    uenum_close(names);
    std::sort(languages.begin(), languages.end());
    return languages;
}

std::vector<std::string> LocalizedStrings::keys() const {
    // A bundle carries its iterator, which threads must not share.
    return textKeys(openLanguage(_language).get());
}

std::vector<std::string> LocalizedStrings::keys(std::string_view table) const {
    return textKeys(openTable(_bundles->language.get(), table).get());
}

std::string stringWithFormat(std::string_view format, std::initializer_list<std::string_view> arguments) {
    std::string result;
    std::size_t nextArgument = 0;
    std::size_t at = 0;
    while (at < format.size()) {
        const auto percent = format.find('%', at);
        result += format.substr(at, percent - at);
        if (percent == std::string_view::npos) break;
        at = percent + 1;
        if (format.substr(at, 1) == "%") {
            result += '%';
            ++at;
            continue;
        }
        auto end = at;
        std::optional<std::size_t> position;
        if (format.size() > at + 1 && format[at] >= '1' && format[at] <= '9' && format[at + 1] == '$') {
            position = static_cast<std::size_t>(format[at] - '1');
            end += 2;
        }
        const auto rest = format.substr(end);
        if (rest.starts_with("@") || rest.starts_with("d")) {
            end += 1;
        } else if (rest.starts_with("lu") || rest.starts_with("ld")) {
            end += 2;
        } else {
            result += '%';
            continue;
        }
        const auto index = position ? *position : nextArgument++;
        result += index < arguments.size() ? arguments.begin()[index] : format.substr(percent, end - percent);
        at = end;
    }
    return result;
}

}  // namespace zun
