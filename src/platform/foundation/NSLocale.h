#pragma once

// What the user reads and how the user writes dates: two separate things on this platform.

#include <string>
#include <vector>

namespace zun {

struct NSLocale {
    // ICU locale of date formats, weekday names and weekend rules ("de_DE"), from LC_ALL, LC_TIME, LANG.
    std::string formats = "en_US";
    // Languages of texts, most wanted first, with likely script ("en-US", "zh-Hans-CN"), from LANGUAGE, LC_ALL,
    // LC_MESSAGES, LANG.
    std::vector<std::string> preferredLanguages = {"en-US"};

    bool operator==(const NSLocale&) const = default;
};

}  // namespace zun
