#pragma once

// What this device remembers of the account it is signed in with, all but the secret: a small JSON file beside the
// settings. Any thread; blocks on the disk.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zun {

struct StoredAccount {
    std::string serviceURL;  // without a slash at its end
    std::string accountID;   // the service's name for it, which never changes
    std::string name, displayName, emailAddress;
    std::string deviceID;      // of this device at the service
    std::string serviceEpoch;  // as last seen
    // As in ServiceAddress.
    std::string certificateFingerprint;
    std::string secretKey;  // under which the keyring has the device's token

    bool operator==(const StoredAccount&) const = default;
};

class AccountFile {
  public:
    explicit AccountFile(const std::filesystem::path& folder) : _file(folder / "account.json") {}

    // Absent without a file, or with one that does not say what an account needs.
    [[nodiscard]] std::optional<StoredAccount> read() const;
    // False if it could not be written; then the file is as before.
    [[nodiscard]] bool write(const StoredAccount& account) const;
    void remove() const;
    [[nodiscard]] const std::filesystem::path& path() const { return _file; }

  private:
    std::filesystem::path _file;
};

}  // namespace zun
