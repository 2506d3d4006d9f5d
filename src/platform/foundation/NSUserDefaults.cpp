#include "platform/foundation/NSUserDefaults.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/algorithm/hex.hpp>
#include <boost/json.hpp>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/foundation/DurableFile.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

constexpr std::string_view dateTag = "date";
constexpr std::string_view dataTag = "data";

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

void logFailure(std::string_view what, const fs::path& path, int error) {
    NSLog(fmt::format("The settings file {} could not be {}: {}", path.string(), what, std::strerror(error)));
}

json::value encoded(const NSUserDefaults::Value& value) {
    return std::visit(Overloaded{
                          [](NSDate date) {
                              return json::value{{dateTag, iso8601FromDate(date)}};
                          },
                          [](const Bytes& bytes) {
                              std::string text;
                              boost::algorithm::hex_lower(bytes, std::back_inserter(text));
                              return json::value{{dataTag, text}};
                          },
                          [](const auto& plain) { return json::value(plain); },
                      },
                      value);
}

std::optional<NSUserDefaults::Value> decoded(const json::value& value) {
    if (const auto* flag = value.if_bool()) return *flag;
    if (const auto* number = value.if_int64()) return *number;
    if (const auto* number = value.if_double()) return *number;
    if (const auto* text = value.if_string()) return std::string(*text);
    const auto* object = value.if_object();
    if (!object || object->size() != 1 || !object->begin()->value().is_string()) return std::nullopt;
    const std::string_view tag = object->begin()->key();
    const std::string_view text = object->begin()->value().get_string();
    if (tag == dateTag) {
        if (const auto date = dateFromISO8601(text, *NSTimeZone::utc())) return *date;
    } else if (tag == dataTag) {
        try {
            Bytes bytes;
            boost::algorithm::unhex(text, std::back_inserter(bytes));
            return bytes;
        } catch (const boost::algorithm::hex_decode_error&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

// One key a line, so that people can read the file and compare two of them.
std::string serialized(const json::object& object) {
    std::string text = "{";
    const char* separator = "\n";
    for (const auto& [key, value] : object) {
        text += fmt::format("{}  {}: {}", separator, json::serialize(json::string(key)), json::serialize(value));
        separator = ",\n";
    }
    return text + "\n}\n";
}

bool replaceDurably(const fs::path& file, std::string_view text) {
    // Tokens of the account stand in it: nobody else's to read.
    const auto error = replaceFileDurably(file, text, 0600);
    if (error) logFailure("written", file, error.value());
    return !error;
}

}  // namespace

struct NSUserDefaults::File {
    enum class State { Read, Missing, Damaged, Unreadable } state = State::Missing;
    json::object object;

    static File read(const fs::path& path) {
        const FileDescriptor in(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!in.isOpen()) {
            if (errno == ENOENT || errno == ENOTDIR) return {};
            logFailure("read", path, errno);
            return {State::Unreadable, {}};
        }
        std::string text;
        std::array<char, 4096> piece;
        while (true) {
            const auto size = ::read(in.number(), piece.data(), piece.size());
            if (size < 0 && errno == EINTR) continue;
            if (size < 0) {
                logFailure("read", path, errno);
                return {State::Unreadable, {}};
            }
            if (size == 0) break;
            text.append(piece.data(), static_cast<std::size_t>(size));
        }
        json::error_code error;
        auto value = json::parse(text, error);
        if (error || !value.is_object()) return {State::Damaged, {}};
        return {State::Read, std::move(value.get_object())};
    }

    [[nodiscard]] Values values() const {
        Values values;
        for (const auto& [key, value] : object) {
            if (auto known = decoded(value)) values.insert_or_assign(std::string(key), *std::move(known));
        }
        return values;
    }
};

NSUserDefaults::NSUserDefaults(fs::path folder, std::string_view suiteName)
    : _file(std::move(folder) / fmt::format("{}.json", suiteName)) {
    const auto first = File::read(_file);
    _values = first.values();
    if (first.state != File::State::Damaged) return;
    // Another process may be setting the same file aside; whoever has the lock second finds it gone or whole.
    withLock([this] {
        const auto again = File::read(_file);
        if (again.state == File::State::Damaged) setAside();
        _values = again.values();
        return true;
    });
}

bool NSUserDefaults::withLock(const std::function<bool()>& change) const {
    std::error_code error;
    fs::create_directories(_file.parent_path(), error);
    const FileDescriptor lock(::open((fs::path(_file) += ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.isOpen()) {
        logFailure("locked", _file, errno);
        return false;
    }
    while (::flock(lock.number(), LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        logFailure("locked", _file, errno);
        return false;
    }
    return change();
}

void NSUserDefaults::setAside() const {
    for (int number = 1;; ++number) {
        const auto place = fs::path(_file) += fmt::format(".damaged-{}", number);
        std::error_code error;
        if (fs::exists(place, error)) continue;
        fs::rename(_file, place, error);
        NSLog(error ? fmt::format("The settings file {} is damaged and could not be set aside: {}", _file.string(),
                                  error.message())
                    : fmt::format("The settings file {} is damaged; it was set aside as {}", _file.string(),
                                  place.string()));
        return;
    }
}

template <typename T>
std::optional<T> NSUserDefaults::valueForKey(std::string_view key) const {
    const std::lock_guard lock(_mutex);
    const auto entry = _values.find(key);
    const auto* value = entry == _values.end() ? nullptr : std::get_if<T>(&entry->second);
    return value ? std::optional<T>(*value) : std::nullopt;
}

bool NSUserDefaults::boolForKey(std::string_view key) const {
    return valueForKey<bool>(key).value_or(false);
}

std::uint64_t NSUserDefaults::unsignedForKey(std::string_view key) const {
    // A negative number can only have come from elsewhere.
    return static_cast<std::uint64_t>(std::max<std::int64_t>(valueForKey<std::int64_t>(key).value_or(0), 0));
}

std::optional<std::string> NSUserDefaults::stringForKey(std::string_view key) const {
    return valueForKey<std::string>(key);
}

OptionalDate NSUserDefaults::dateForKey(std::string_view key) const {
    return valueForKey<NSDate>(key);
}
std::optional<Bytes> NSUserDefaults::dataForKey(std::string_view key) const {
    return valueForKey<Bytes>(key);
}

bool NSUserDefaults::setValue(std::string_view key, std::optional<Value> value) {
    const std::lock_guard changing(_changing);
    return withLock([&] {
        auto file = File::read(_file);
        if (file.state == File::State::Unreadable) return false;
        if (file.state == File::State::Damaged) {
            setAside();
            for (const auto& [known, kept] : _values)
                file.object[known] = encoded(kept);
        }
        const auto* stored = file.object.if_contains(key);
        const auto wanted = value ? std::optional(encoded(*value)) : std::nullopt;
        if (file.state == File::State::Damaged || (stored ? std::optional(*stored) : std::nullopt) != wanted) {
            if (wanted) {
                file.object[key] = *wanted;
            } else {
                file.object.erase(key);
            }
            if (!replaceDurably(_file, serialized(file.object))) return false;
        }
        auto values = file.values();
        const std::lock_guard lock(_mutex);
        _values = std::move(values);
        return true;
    });
}

bool NSUserDefaults::reload() {
    const std::lock_guard changing(_changing);
    const auto file = File::read(_file);
    if (file.state == File::State::Damaged || file.state == File::State::Unreadable) return false;
    auto values = file.values();
    const std::lock_guard lock(_mutex);
    if (values == _values) return false;
    _values = std::move(values);
    return true;
}

}  // namespace zun
