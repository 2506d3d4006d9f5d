#pragma once

// A suite of persisted keys in one JSON file, shared between processes. Every setter is durable when it returns
// (written to a new file, synced, renamed over the old one, under a lock between processes, so that two programs never
// lose each other's keys). Readers see other processes' changes: a long-running program watches the file and calls
// reload(). Safe from any thread; a setter blocks for one fdatasync, readers never do.
//
// The file is one JSON object. Booleans, numbers and strings stand as they are; a date is {"date":
// "2026-01-14T10:00:00Z"}, bytes are {"data": "<hexadecimal>"}. Anything else that stands in the file is kept, and
// reads as unset.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/foundation/Bytes.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

class NSUserDefaults {
  public:
    using Value = std::variant<bool, std::int64_t, double, std::string, NSDate, Bytes>;

    // `suiteName` names the file below `folder`; neither need exist. A file that cannot be parsed is set aside and
    // logged.
    NSUserDefaults(std::filesystem::path folder, std::string_view suiteName);

    // An unset boolean reads NO, an unset number 0, any other unset key null. A value of another type counts as unset.
    [[nodiscard]] bool boolForKey(std::string_view key) const;
    [[nodiscard]] std::uint64_t unsignedForKey(std::string_view key) const;
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const;
    [[nodiscard]] OptionalDate dateForKey(std::string_view key) const;
    [[nodiscard]] std::optional<Bytes> dataForKey(std::string_view key) const;

    // Stores the value durably; an empty optional removes the key. False, with a log line and memory unchanged, if the
    // file cannot be written. Setting what is already stored writes nothing.
    bool setValue(std::string_view key, std::optional<Value> value);

    [[nodiscard]] const std::filesystem::path& file() const { return _file; }
    // Reads the file again. True if any key differs. A file that cannot be read or parsed changes nothing.
    bool reload();

  private:
    using Values = std::map<std::string, Value, std::less<>>;
    struct File;

    template <typename T>
    [[nodiscard]] std::optional<T> valueForKey(std::string_view key) const;
    // Makes the folder where it is missing, and runs the change while no other process runs one.
    bool withLock(const std::function<bool()>& change) const;
    void setAside() const;

    std::filesystem::path _file;
    // One change at a time, so that a reload cannot put old values over newer ones. Taken before _mutex.
    std::mutex _changing;
    mutable std::mutex _mutex;
    Values _values;
};

}  // namespace zun
