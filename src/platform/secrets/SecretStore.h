#pragma once

// Where a password-like text is kept between runs: in the desktop's Secret Service, which locks it away with the user's
// session, or, where there is none, in a file that only the user can read. Keys name the owner's entries; a text is
// found again under its key alone, wherever it was put. Every operation may block for seconds, while the desktop asks
// the user to unlock the keyring for minutes: never call it on the main thread. Any other thread, one at a time.
//
// A locked keyring has three ends:
//
//   the user gives its password      the operation goes on
//   the user turns the question      `find` gives nothing; `save` takes the file, since it is the keyring that was
//   away, or lets minutes pass       declined and not what the text is for
//   withdraw()                       the operation ends empty-handed, and nothing is kept anywhere

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace zun {

enum class SecretPlace { SecretService, File };
enum class SecretRefusal { CannotKeep, Withdrawn };
// What the desktop asks the user: the password of a locked keyring.
enum class KeyringQuestion { Asked, Over };

struct Secret {
    std::string text;
    SecretPlace place = SecretPlace::File;
};
using SavedSecret = std::variant<SecretPlace, SecretRefusal>;

class SecretStore {
  public:
    virtual ~SecretStore() = default;
    // Absent if there is none, or if its place refuses to give it (a keyring that stays locked).
    [[nodiscard]] virtual std::optional<Secret> find(const std::string& key) = 0;
    // Where it was put. The label is shown by the desktop's keyring program.
    [[nodiscard]] virtual SavedSecret save(const std::string& key, const std::string& text,
                                           const std::string& label) = 0;
    virtual void remove(const std::string& key) = 0;

    // The block runs on the thread of the operation, under no lock of the store's. Set before the first operation.
    virtual void setQuestionBlock(std::function<void(KeyringQuestion)> block) = 0;
    // Takes the question back that the operation under way asks, or is about to ask. Any thread; never blocks.
    virtual void withdraw() = 0;
};

// Tries the Secret Service first. `folder` is for the file and is made when it is needed.
[[nodiscard]] std::unique_ptr<SecretStore> makeSecretStore(std::filesystem::path folder);

}  // namespace zun
