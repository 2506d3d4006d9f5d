#pragma once

// Where a password-like text is kept between runs: in the desktop's Secret Service, which locks it away with the user's
// session, or, where there is none, in a file that only the user can read. Keys name the owner's entries; a text is
// found again under its key alone, wherever it was put. Every operation may block for seconds, while the desktop asks
// the user to unlock the keyring for minutes: never call it on the main thread. Any other thread, one at a time.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace zun {

enum class SecretPlace { SecretService, File };

struct Secret {
    std::string text;
    SecretPlace place = SecretPlace::File;
};

class SecretStore {
  public:
    virtual ~SecretStore() = default;
    // Absent if there is none, or if its place refuses to give it (a keyring that stays locked).
    [[nodiscard]] virtual std::optional<Secret> find(const std::string& key) = 0;
    // Where it was put; absent if nothing could keep it. The label is shown by the desktop's keyring program.
    [[nodiscard]] virtual std::optional<SecretPlace> save(const std::string& key, const std::string& text,
                                                          const std::string& label) = 0;
    virtual void remove(const std::string& key) = 0;
};

// Tries the Secret Service first. `folder` is for the file and is made when it is needed.
[[nodiscard]] std::unique_ptr<SecretStore> makeSecretStore(std::filesystem::path folder);

}  // namespace zun
