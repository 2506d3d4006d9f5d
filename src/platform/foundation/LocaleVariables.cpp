#include "platform/foundation/LocaleVariables.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace zun {
namespace {

constexpr const char* fallback = "en_US";

struct PosixLocale {
    std::string identifier;  // "sr_Latn_RS", for ICU
    bool plain = false;      // "C" or "POSIX" and nothing else, not even an encoding
};

// What the modifier of a POSIX locale ("sr_RS@latin") says of its script.
std::string_view scriptOfModifier(std::string_view modifier) {
    if (modifier == "latin") return "Latn";
    if (modifier == "cyrillic") return "Cyrl";
    if (modifier == "devanagari") return "Deva";
    return "";
}

// One of ICU's operations that write an identifier; empty if it fails.
template <typename Operation>
std::string written(Operation operation) {
    std::array<char, ULOC_FULLNAME_CAPACITY> buffer{};
    UErrorCode status = U_ZERO_ERROR;
    operation(buffer.data(), static_cast<int32_t>(buffer.size()), &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING) return "";
    return buffer.data();
}

std::string part(const std::string& identifier, int32_t (*get)(const char*, char*, int32_t, UErrorCode*)) {
    return written([&](char* text, int32_t size, UErrorCode* status) { get(identifier.c_str(), text, size, status); });
}

// "language[_territory][.encoding][@modifier]"; empty if the text is not of that form.
std::optional<PosixLocale> parse(std::string_view text) {
    const auto at = text.find('@');
    const auto script = at == std::string_view::npos ? "" : scriptOfModifier(text.substr(at + 1));
    const auto name = text.substr(0, std::min(at, text.find('.')));
    if (name == "C" || name == "POSIX") return PosixLocale{fallback, name.size() == text.size()};
    const bool readable =
        !name.empty() && std::isalpha(static_cast<unsigned char>(name.front())) &&
        std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; });
    if (!readable || name.size() >= ULOC_FULLNAME_CAPACITY) return std::nullopt;
    std::string identifier(name);
    identifier = written([&](char* buffer, int32_t size, UErrorCode* status) {
        uloc_getName(std::string(name).c_str(), buffer, size, status);
    });
    const auto language = part(identifier, uloc_getLanguage);
    if (language.size() < 2 || language.size() > 3) return std::nullopt;
    if (!script.empty() && part(identifier, uloc_getScript).empty()) {
        const auto region = part(identifier, uloc_getCountry);
        identifier = language + '_' + std::string(script) + (region.empty() ? "" : '_' + region);
    }
    return PosixLocale{identifier, false};
}

// Whether texts come in several scripts for this language: ICU then has data for the language with this script by name.
bool needsScript(const std::string& language, const std::string& script) {
    const auto wanted = language + '_' + script;
    for (int32_t i = 0; i < uloc_countAvailable(); ++i) {
        if (wanted == uloc_getAvailable(i)) return true;
    }
    return false;
}

// "zh_CN" as "zh-Hans-CN", "de_DE" as "de-DE".
std::string languageTag(const std::string& identifier) {
    const auto language = part(identifier, uloc_getLanguage);
    const auto region = part(identifier, uloc_getCountry);
    auto script = part(identifier, uloc_getScript);
    if (script.empty()) {
        const auto likely = written([&](char* text, int32_t size, UErrorCode* status) {
            uloc_addLikelySubtags(identifier.c_str(), text, size, status);
        });
        script = part(likely, uloc_getScript);
        if (!needsScript(language, script)) script.clear();
    }
    return language + (script.empty() ? "" : '-' + script) + (region.empty() ? "" : '-' + region);
}

std::optional<PosixLocale> firstSet(const VariableReader& variable, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const auto text = variable(name)) return parse(*text).value_or(PosixLocale{fallback, false});
    }
    return std::nullopt;
}

}  // namespace

NSLocale localeFromVariables(const VariableReader& variable) {
    NSLocale locale;
    locale.formats = firstSet(variable, {"LC_ALL", "LC_TIME", "LANG"}).value_or(PosixLocale{fallback, true}).identifier;

    locale.preferredLanguages.clear();
    const auto add = [&](const std::string& identifier) {
        auto tag = languageTag(identifier);
        auto& list = locale.preferredLanguages;
        if (std::find(list.begin(), list.end(), tag) == list.end()) list.push_back(std::move(tag));
    };
    const auto messages = firstSet(variable, {"LC_ALL", "LC_MESSAGES", "LANG"});
    if (!messages || !messages->plain) {
        std::string_view list;
        const auto languages = variable("LANGUAGE");
        if (languages) list = *languages;
        while (!list.empty()) {
            const auto colon = std::min(list.find(':'), list.size());
            if (const auto language = parse(list.substr(0, colon)); language) add(language->identifier);
            list.remove_prefix(std::min(colon + 1, list.size()));
        }
    }
    if (messages || locale.preferredLanguages.empty()) add(messages ? messages->identifier : fallback);
    return locale;
}

}  // namespace zun
